// The wrapper of a plain UI_Node, and the method table that every wrapper
// class inherits: tree navigation and editing, geometry, visibility,
// enabling, focus, tool tips, invalidation, timers, theme and scaling.
#pragma once

#include "vyrlua/ui/LuaWrapperClass.h"

namespace vyrlua::ui {

class LuaUI_NodeWrapper : public LuaWrapperClass<LuaUI_NodeWrapper, vyrui::ui::UI_Node> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrUINode";
    static constexpr const char* kConstructorName = "NewNode";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
