#include "vyrlua/ui/controls/LuaUI_SubViewWrapper.h"

#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/ui/LuaWrapperMethods.h"

namespace vyrlua::ui {

using vyrui::ui::UI_Node;
using vyrui::ui::UI_SubView;

namespace {

// UI_DispatchDrawToChild(child, drawbot): inside a draw callback, draws the
// child there and then. Nothing for a released drawbot or child.
int DispatchDrawToChildBody(lua_State* L)
{
    if (!NodeAt(L, 1))
        return 0;
    UI_Node* child = NodeAt(L, 2);
    vyrui::drawbot::Drawbot* drawbot = drawbot::CheckDrawbot(L, 3);
    auto* self = SelfAs<UI_SubView>(L);
    if (self && child && drawbot) {
        NodePtr held(self);
        self->UI_DispatchDrawToChild(*child, *drawbot);
    }
    return 0;
}

} // namespace

const luaL_Reg LuaUI_SubViewWrapper::methods[] = {
    {"GetLayoutsChildren", Method<UI_SubView, &UI_SubView::GetLayoutsChildren>},
    {"SetLayoutsChildren", Method<UI_SubView, &UI_SubView::SetLayoutsChildren, OptBool<true>>},
    {"GetLayoutBinding", Method<UI_SubView, &UI_SubView::GetLayoutBinding>},
    {"SetLayoutBinding", Method<UI_SubView, &UI_SubView::SetLayoutBinding, Int>},
    {"UI_DispatchDrawToChild", utility::LuaBoundary<DispatchDrawToChildBody>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
