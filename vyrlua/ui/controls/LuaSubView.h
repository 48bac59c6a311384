// A view a script draws: its drawing, size changes and layout are Lua
// functions bound with BindVyrOperation under the names below. Scripts make
// one with vyrcontrols.NewSubView; it reaches Lua as a "vyrSubView".
//
//   "OnDraw"(drawbot, view)            draws the view (local coordinates);
//                                      the drawbot object is good for the
//                                      call only
//   "OnSizeChanged"(oldSize, view)     the size changed from oldSize (a point:
//                                      x is the width, y the height)
//   "OnLayoutChildren"(view)           lays the children out; returning true
//                                      skips the children's layout bindings
#pragma once

#include "vyrui/ui/UI_SubView.h"

namespace vyrlua::ui {

class LuaSubView : public vyrui::ui::UI_SubView {
public:
    static constexpr const char* kOp_Draw = "OnDraw";
    static constexpr const char* kOp_SizeChanged = "OnSizeChanged";
    static constexpr const char* kOp_LayoutChildren = "OnLayoutChildren";

    using UI_SubView::UI_SubView;

    void UI_DrawSelf(vyrui::drawbot::Drawbot& drawbot) override;
    void UI_OnSizeChanged(vyrcore::geom::PointF oldSize) override;
    void UI_LayoutChildren() override;
};

} // namespace vyrlua::ui
