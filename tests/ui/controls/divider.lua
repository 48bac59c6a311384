-- The divider: a line between groups of controls, with the control-view
-- methods and nothing else; clicks pass through it to the script.
require 'vyrlua.vyrcontrols'
local R, E = vyrlua_CreateNewRectF32, vyrlua_CreateNewVYRUIMouseEvent

local function keys(t)
  local list = {}
  for k in pairs(t) do list[#list + 1] = k end
  table.sort(list)
  return table.concat(list, ' ')
end

return {
  {'it holds exactly the control-view methods, takes no press and no focus', function()
    local w, d = vyrcontrols.NewWindow('w', R(0, 0, 120, 40)), vyrcontrols.NewDivider('d', R(10, 10, 100, 8))
    assert(keys(getmetatable(d)) == keys(debug.getregistry().vyrControlView))
    w:ChildPushBack(d)
    local changed, seen = 0, 0
    d:NotifyWhenChanged(function() changed = changed + 1 end)
    d:BindVyrOperation('OnDoMouseEvent', function(e) if e.type ~= 'enter' then seen = seen + 1 end end)
    host.mouse(w, E{type = 'down', x = 50, y = 14, button = 1, buttons = 1})
    host.mouse(w, E{type = 'up', x = 50, y = 14, button = 1})
    assert(changed == 0 and seen == 2 and not d:UI_GainKeyboardFocus(0), changed .. ' ' .. seen)
  end},
}
