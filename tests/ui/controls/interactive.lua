-- Drags simulated for scripts' own tests, and the phase messages.
require 'vyrlua.vyrcontrols'
require 'vyrlua.luaTestingSupport'
local T = luaTestingSupport

return {
  {'a simulated drag gives one message per step to the first callback', function()
    local c, got = vyrcontrols.NewCheckbox(), {}
    c:NotifyWhenChangedInteractively(function(m)
      assert(m.control:Equals(c) and getmetatable(m) == getmetatable(got.mt or m))
      got[#got + 1] = m.changeMessage
    end)
    c:NotifyWhenChangedInteractively(function() got[#got + 1] = 'second' end)
    T.SimulateBeginInteractiveChange(c)
    T.SimulateContinueInteractiveChange(c, 257)
    T.SimulateContinueInteractiveChange(c, 1)
    T.SimulateFinishInteractiveChange(c)
    local m = getmetatable(setmetatable({}, debug.getregistry().interactiveChangeMessage))
    assert(table.concat(got, ',') == table.concat({m.beginChange, m.continueChange, m.continueChange,
                                                     m.finishChange}, ','), table.concat(got, ','))
  end},
  {'clearing stops the messages; a new callback hears the next drag', function()
    local b, got = vyrcontrols.NewButton(), {}
    b:NotifyWhenChangedInteractively(function(m) got[#got + 1] = 'f' end)
    b:ClearInteractiveNotifications()
    T.SimulateBeginInteractiveChange(b)
    b:NotifyWhenChangedInteractively(function(m) got[#got + 1] = 'g' .. m.changeMessage end)
    T.SimulateFinishInteractiveChange(b)
    assert(table.concat(got, ',') == 'g2', table.concat(got, ','))
  end},
  {'the flag byte keeps the low 8 bits', function()
    local c, mods = vyrcontrols.NewCheckbox(), nil
    T.SimulateContinueInteractiveChange(c, 257)
    assert(pcall(T.SimulateContinueInteractiveChange, c, 0 / 0))
    assert(not pcall(T.SimulateContinueInteractiveChange, c, 'x'))
  end},
}
