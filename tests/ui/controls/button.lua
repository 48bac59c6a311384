-- The push button as a user works it: mouse, keyboard, drags, and the
-- script's own handlers in front of it.
require 'vyrlua.vyrcontrols'
local R, E, K = vyrlua_CreateNewRectF32, vyrlua_CreateNewVYRUIMouseEvent, vyrlua_CreateNewVYRUIKeyboardEvent

-- A window with one button at (10, 10), 80 x 24, and what it told.
local function setup()
  local w = vyrcontrols.NewWindow('w', R(0, 0, 200, 100))
  local b = vyrcontrols.NewButton('b', R(10, 10, 80, 24), 'Apply')
  w:ChildPushBack(b)
  local log = {}
  b:NotifyWhenChanged(function() log[#log + 1] = 'changed' end)
  b:NotifyWhenChangedInteractively(function(m) log[#log + 1] = 'phase' .. m.changeMessage end)
  return w, b, log
end
local function press(w, x, y, kind) return host.mouse(w, E{type = kind, x = x, y = y, button = 1, buttons = 1}) end
local function said(log) return table.concat(log, ' ') end

return {
  {'a click inside changes the value once, with the phases of a press', function()
    local w, b, log = setup()
    press(w, 20, 20, 'down') press(w, 30, 22, 'up')
    assert(said(log) == 'phase0 phase2 changed', said(log))
  end},
  {'a press released outside changes nothing', function()
    local w, b, log = setup()
    press(w, 20, 20, 'down') press(w, 20, 20, 'drag') press(w, 150, 80, 'drag') press(w, 150, 80, 'up')
    assert(not said(log):find('changed'), said(log))
    assert(said(log):find('phase3'), 'the change was cancelled: ' .. said(log))
    assert(not b:GetDownState())
  end},
  {'the mouse is held from press to release', function()
    local w, b, log = setup()
    local other = vyrcontrols.NewSubView('other', R(100, 0, 100, 100))
    w:ChildPushBack(other)
    local seen = 0
    other:BindVyrOperation('OnDoMouseEvent', function() seen = seen + 1 return true end)
    press(w, 20, 20, 'down') press(w, 150, 50, 'drag') press(w, 30, 20, 'drag') press(w, 30, 20, 'up')
    assert(seen == 0, 'a drag over another view stays with the button')
    assert(said(log) == 'phase0 phase1 phase1 phase2 changed', said(log))
  end},
  {'space and return activate the focused button', function()
    local w, b, log = setup()
    assert(b:UI_GainKeyboardFocus(0))
    host.key(K{type = 'keyDown', keyCode = 32}) host.key(K{type = 'keyUp', keyCode = 32})
    host.key(K{type = 'keyDown', keyCode = 13})
    local n = 0 for _ in said(log):gmatch('changed') do n = n + 1 end
    assert(n == 2, said(log))
  end},
  {'a disabled button, or one in a disabled view, takes no clicks', function()
    local w, b, log = setup()
    b:SetEnabled(false)
    press(w, 20, 20, 'down') press(w, 20, 20, 'up')
    b:SetEnabled() w:UI_SetEnabled(false)
    press(w, 20, 20, 'down') press(w, 20, 20, 'up')
    assert(#log == 0, said(log))
  end},
  {'a script handler sees the press first, and may take it', function()
    local w, b, log = setup()
    local answer
    b:BindVyrOperation('OnDoMouseEvent', function(e, node)
      if e.type == 'down' or e.type == 'up' then log[#log + 1] = e.type end
      return answer
    end)
    press(w, 20, 20, 'down') press(w, 20, 20, 'up')
    answer = true
    press(w, 20, 20, 'down') press(w, 20, 20, 'up')
    assert(said(log) == 'down phase0 up phase2 changed down up', said(log))
  end},
  {'an error in a callback is reported and the button goes on', function()
    local w, b = setup()
    b:ClearNotifications()
    b:NotifyWhenChanged(function() error('callback broke') end)
    press(w, 20, 20, 'down') press(w, 20, 20, 'up')
    local errors = host.errors()
    assert(#errors == 1 and errors[1]:find('callback broke'), errors[1])
    assert(not b:GetDownState())
  end},
}
