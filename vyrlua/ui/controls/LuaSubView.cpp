#include "vyrlua/ui/controls/LuaSubView.h"

namespace vyrlua::ui {

using vyrui::ui::UI_NotifyBinder;

void LuaSubView::UI_DrawSelf(vyrui::drawbot::Drawbot& drawbot)
{
    UI_NotifyBinder(*this, kOp_Draw, {&drawbot});
}

void LuaSubView::UI_OnSizeChanged(vyrcore::geom::PointF oldSize)
{
    UI_NotifyBinder(*this, kOp_SizeChanged, {oldSize});
}

void LuaSubView::UI_LayoutChildren()
{
    if (!UI_NotifyBinder(*this, kOp_LayoutChildren, {}))
        UI_SubView::UI_LayoutChildren();
}

} // namespace vyrlua::ui
