-- Static text: a label that shows a string and takes no presses.
require 'vyrlua.vyrcontrols'
require 'vyrlua.luaTestingSupport'
local R, E = vyrlua_CreateNewRectF32, vyrlua_CreateNewVYRUIMouseEvent

return {
  {'its string round-trips and is its label', function()
    local t = vyrcontrols.NewStaticText('t', R(0, 0, 100, 20), 'Clip 1')
    assert(t:GetStringValue() == 'Clip 1')
    t:SetStringValue('Ünïcödé ✓') assert(t:GetStringValue() == 'Ünïcödé ✓' and t:GetLabelText() == 'Ünïcödé ✓')
  end},
  {'clicks pass through it to the script', function()
    local w = vyrcontrols.NewWindow('w', R(0, 0, 100, 40))
    local t = vyrcontrols.NewStaticText('t', R(0, 0, 100, 20), 'label')
    w:ChildPushBack(t)
    local changed, seen = 0, 0
    t:NotifyWhenChanged(function() changed = changed + 1 end)
    t:BindVyrOperation('OnDoMouseEvent', function(e) if e.type ~= 'enter' then seen = seen + 1 end end)
    host.mouse(w, E{type = 'down', x = 5, y = 5, button = 1, buttons = 1})
    host.mouse(w, E{type = 'up', x = 5, y = 5, button = 1})
    assert(changed == 0 and seen == 2, changed .. ' ' .. seen)
  end},
  {'the drag simulations do nothing to it; a value message reaches its callback', function()
    local t, n = vyrcontrols.NewStaticText(), 0
    t:NotifyWhenChanged(function() n = n + 1 end)
    luaTestingSupport.SimulateBeginInteractiveChange(t)
    luaTestingSupport.SimulateContinueInteractiveChange(t)
    luaTestingSupport.SimulateFinishInteractiveChange(t)
    luaTestingSupport.SendControlValueChangeMessage(t)
    assert(n == 1)
  end},
  {'look settings check their values', function()
    local t = vyrcontrols.NewStaticText()
    t:SetCustomTextColor(vyrlua_CreateNewRGBA(1, 0, 0, 1))
    t:SetIsMultiline(true) t:SetCustomFontSize(18) t:SetCustomFontStyle(1) t:SetTextTruncation(0)
    assert(not pcall(t.SetCustomTextColor, t, 'red'))
    assert(not pcall(t.SetAlignment, t, 99))
    assert(not pcall(t.SetCustomFontStyle, t, 2))
    local ok, err = pcall(t.SetTextTruncation, t, 4)
    assert(not ok and err:find('(invalid kTextTruncation)', 1, true), err)
  end},
}
