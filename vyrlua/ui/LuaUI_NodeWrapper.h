// The wrapper of a plain UI_Node, and the method table that every wrapper
// class inherits: tree navigation and editing, geometry, visibility,
// enabling, focus, tool tips, invalidation, timers, theme and scaling.
#pragma once

#include "vyrlua/ui/LuaControlWrapperBase.h"

namespace vyrlua::ui {

class LuaUI_NodeWrapper : public LuaControlWrapperBase {
public:
    LuaUI_NodeWrapper(const NodePtr& node, lua_State* L) : LuaControlWrapperBase(node, L) {}

    static const char* GetMetatableName() { return kMetatableName; }
    // Registers the node methods into the table on top of the stack.
    static void RegisterMethods(lua_State* L);

    static const luaL_Reg methods[];

private:
    static const char* const kMetatableName;
};

} // namespace vyrlua::ui
