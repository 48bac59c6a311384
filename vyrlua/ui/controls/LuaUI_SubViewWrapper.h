// The sub-view wrapper ("vyrSubView"): the node methods plus layout of
// children and drawing a child on demand. The root of every control chain.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrui/ui/UI_SubView.h"

namespace vyrlua::ui {

class LuaUI_SubViewWrapper
    : public LuaWrapperClass<LuaUI_SubViewWrapper, vyrui::ui::UI_SubView, LuaUI_NodeWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrSubView";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
