-- The control-view conventions every control shares, tried on a button.
require 'vyrlua.vyrcontrols'
require 'vyrlua.luaTestingSupport'
local T = luaTestingSupport

local function button() return vyrcontrols.NewButton('b', vyrlua_CreateNewRectF32(0, 0, 80, 24), 'OK') end

return {
  {'optional booleans take their own defaults', function()
    local b = button()
    b:SetEnabled(false) assert(not b:GetEnabled())
    b:SetEnabled() assert(b:GetEnabled())
    b:SetDownState(true) assert(b:GetDownState())
    b:SetDownState() assert(not b:GetDownState())
    b:SetSuppressFocusDrawing() assert(b:GetSuppressFocusDrawing())
    b:SetWantsKeyboardFocus(false) assert(not b:GetWantsKeyboardFocus())
    b:SetWantsKeyboardFocus() assert(b:GetWantsKeyboardFocus())
    b:SetEnabled(nil) assert(not b:GetEnabled(), 'nil is present, and false')
  end},
  {'a value leaves the unknown state', function()
    local b = button()
    b:SetValueUnknown() assert(b:IsValueUnknown())
    b:SetValue(1) assert(not b:IsValueUnknown())
  end},
  {'only the first attached function hears a change, with no arguments', function()
    local b, calls = button(), {}
    assert(b:NotifyWhenChanged(function(...) calls[#calls + 1] = 'f' .. select('#', ...) end))
    assert(b:NotifyWhenChanged(function() calls[#calls + 1] = 'g' end))
    T.SendControlValueChangeMessage(b)
    assert(table.concat(calls, ',') == 'f0', table.concat(calls, ','))
    b:ClearNotifications()
    b:NotifyWhenChanged(function() calls[#calls + 1] = 'g' end)
    T.SendControlValueChangeMessage(b)
    assert(table.concat(calls, ',') == 'f0,g')
  end},
  {'the callbacks belong to the control, not to one wrapper', function()
    local b, n = button(), 0
    b:NotifyWhenChanged(function() n = n + 1 end)
    local again = b:UI_GetRootNode() -- a second wrapper of the same control
    b = nil collectgarbage()
    T.SendControlValueChangeMessage(again)
    assert(n == 1)
  end},
  {'bad arguments and receivers', function()
    local b = button()
    local ok, err = pcall(function() b:NotifyWhenChanged(42) end)
    assert(not ok and err:find('bad argument #1 to \'NotifyWhenChanged\' %(function expected, got number%)'), err)
    assert(b.NotifyWhenChanged(vyrcontrols.NewNode(), print) == false, 'a plain node is no control')
    ok, err = pcall(b.GetDownState, vyrcontrols.NewNode())
    assert(not ok and err == 'Invalid type conversion.', err)
    ok, err = pcall(b.GetDownState, {})
    assert(not ok and err:find('Bad user data'), err)
    b:Release()
    assert(select('#', b:GetDownState()) == 0 and b:NotifyWhenChanged(print) == false)
  end},
  {'arguments read before the control is used: a table that releases it', function()
    local b = button()
    local sneaky = setmetatable({}, {__index = function(_, k) b:Release() collectgarbage() return 3 end})
    b:SetContentOffset(sneaky) -- the receiver went away while its argument was read
    assert(select('#', b:GetCornerRadius()) == 0)
  end},
  {'metatables hold every method of their bases', function()
    local c = vyrcontrols.NewCheckbox()
    for _, name in ipairs{'UI_GetNodeID', 'GetLayoutBinding', 'SetEnabled', 'NotifyWhenChangedInteractively',
                          'SetLabelText', 'IsChecked'} do
      assert(type(c[name]) == 'function', name)
    end
    local t = vyrcontrols.NewStaticText()
    assert(t.SetLabelText and not t.NotifyWhenChangedInteractively and not t.SetValue)
    assert(getmetatable(t) ~= getmetatable(c))
  end},
}
