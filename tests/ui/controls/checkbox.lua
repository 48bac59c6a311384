-- The check box: clicks toggle it, its label is UTF-8 in and out.
require 'vyrlua.vyrcontrols'
local R, E = vyrlua_CreateNewRectF32, vyrlua_CreateNewVYRUIMouseEvent

local function click(w, x, y)
  host.mouse(w, E{type = 'down', x = x, y = y, button = 1, buttons = 1})
  host.mouse(w, E{type = 'up', x = x, y = y, button = 1})
end

return {
  {'a click on the box or its label toggles it and tells the script', function()
    local w = vyrcontrols.NewWindow('w', R(0, 0, 200, 60))
    local c = vyrcontrols.NewCheckbox('c', R(10, 10, 150, 20), 'Loop playback')
    w:ChildPushBack(c)
    local states = {}
    c:NotifyWhenChanged(function() states[#states + 1] = tostring(c:IsChecked()) end)
    click(w, 15, 18) click(w, 120, 18)
    assert(table.concat(states, ',') == 'true,false', table.concat(states, ','))
  end},
  {'checking from a script shows the state and leaves the unknown state', function()
    local c = vyrcontrols.NewCheckbox()
    c:SetValueUnknown()
    c:SetChecked(true)
    assert(c:IsChecked() and not c:IsValueUnknown())
    c:SetChecked(false) assert(not c:IsChecked())
  end},
  {'labels keep every character', function()
    local c = vyrcontrols.NewCheckbox('c', nil, 'Übergang – 映像')
    assert(c:GetLabelText() == 'Übergang – 映像')
    c:SetLabelText('naïve\0end') assert(c:GetLabelText() == 'naïve\0end')
    local r = c:GetLabelTextRect()
    assert(r.width >= 0 and r.height >= 0)
  end},
  {'alignment and size class take only their values', function()
    local c = vyrcontrols.NewCheckbox()
    c:SetTextAlignment(2) c:SetFontSizeId(1)
    assert(not pcall(c.SetTextAlignment, c, 7))
    assert(not pcall(c.SetFontSizeId, c, -1))
  end},
}
