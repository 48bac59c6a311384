-- A view the script draws: OnDraw, OnSizeChanged and OnLayoutChildren.
require 'vyrlua.vyrcontrols'
local R = vyrlua_CreateNewRectF32

return {
  {'the window draws the view through its draw function', function()
    local w = vyrcontrols.NewWindow('w', R(0, 0, 100, 60))
    local v = vyrcontrols.NewSubView('v', R(10, 10, 50, 30))
    w:ChildPushBack(v)
    local kept, got
    v:BindVyrOperation('OnDraw', function(drawbot, view)
      kept = drawbot
      got = view:Equals(v) and tostring(drawbot):match('^vyrDrawbot')
      drawbot:GetSurface():PaintRect(R(0, 0, 50, 30), vyrlua_CreateNewRGBA(1, 0, 0, 1))
    end)
    assert(host.render(w) and got, 'drawn')
    -- Kept past the call, the drawbot object is out of scope, not dangling.
    assert(select('#', kept:GetSurface()) == 0 or not pcall(function() kept:GetSurface():PaintRect(R(0, 0, 1, 1), vyrlua_CreateNewRGBA(0, 0, 0, 1)) end))
  end},
  {'size changes and layout reach the script', function()
    local v, log = vyrcontrols.NewSubView('v', R(0, 0, 100, 50)), {}
    v:SetLayoutsChildren(true)
    local child = vyrcontrols.NewSubView('c', R(10, 10, 80, 30))
    child:SetLayoutBinding(15)
    v:ChildPushBack(child)
    v:BindVyrOperation('OnSizeChanged', function(old, view) log[#log + 1] = old.x .. 'x' .. old.y end)
    v:UI_SetLocalRectF(R(0, 0, 120, 60))
    assert(child:UI_GetLocalRectF().width == 100, 'the binding stretched the child')
    v:BindVyrOperation('OnLayoutChildren', function(view) log[#log + 1] = 'layout' return true end)
    v:UI_SetLocalRectF(R(0, 0, 200, 60))
    assert(child:UI_GetLocalRectF().width == 100, 'the script took the layout')
    assert(table.concat(log, ' ') == '100x50 120x60 layout', table.concat(log, ' '))
  end},
  {'an error in a draw function is reported and drawing goes on', function()
    local w = vyrcontrols.NewWindow('w', R(0, 0, 100, 60))
    local v, drawn = vyrcontrols.NewSubView('v', R(0, 0, 50, 30)), false
    local after = vyrcontrols.NewSubView('after', R(50, 0, 50, 30))
    w:ChildPushBack(v) w:ChildPushBack(after)
    v:BindVyrOperation('OnDraw', function() error('draw broke') end)
    after:BindVyrOperation('OnDraw', function() drawn = true end)
    host.render(w)
    assert(drawn and host.errors()[1]:find('draw broke'))
  end},
}
