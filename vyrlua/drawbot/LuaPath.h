// Path objects (metatable "vyrlua.vyrPathInterface", module PathInterface).
#pragma once

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/utility/LuaKind.h"

extern "C" int luaopen_vyrlua_drawbot_vyrPathInterface(lua_State* L);

namespace vyrlua::drawbot {

struct PathKind : HeldKind<vyrui::drawbot::PathInterface> {
    static constexpr const char* kMetatable = "vyrlua.vyrPathInterface";
    static constexpr const char* kWord = "vyrPathInterface";
    static void MakeMetatable(lua_State* L);
};
using LuaPath = utility::LuaKind<PathKind>;

int OpenPathModule(lua_State* L);
// The path of the path object at `narg` (checked), null once released.
vyrui::drawbot::PathInterface* CheckPath(lua_State* L, int narg);

} // namespace vyrlua::drawbot
