// The sub-view wrapper ("vyrSubView"): the node methods plus layout of
// children and drawing a child on demand. The root of every control chain.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/controls/LuaSubView.h"

namespace vyrlua::ui {

class LuaUI_SubViewWrapper
    : public LuaWrapperClass<LuaUI_SubViewWrapper, vyrui::ui::UI_SubView, LuaUI_NodeWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrSubView";
    // Scripts get a view they draw.
    static constexpr const char* kConstructorName = "NewSubView";
    using ConstructedNode = LuaSubView;
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
