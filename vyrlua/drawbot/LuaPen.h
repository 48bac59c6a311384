// Pen objects (metatable "vyrlua.drawbot.PenInterface", module PenInterface).
#pragma once

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/utility/LuaKind.h"

extern "C" int luaopen_vyrlua_drawbot_PenInterface(lua_State* L);

namespace vyrlua::drawbot {

struct PenKind : HeldKind<vyrui::drawbot::PenInterface> {
    static constexpr const char* kMetatable = "vyrlua.drawbot.PenInterface";
    static constexpr const char* kWord = "PenInterface";
    static void MakeMetatable(lua_State* L);
};
using LuaPen = utility::LuaKind<PenKind>;

int OpenPenModule(lua_State* L);
// The pen of the pen object at `narg` (checked), null once released.
vyrui::drawbot::PenInterface* CheckPen(lua_State* L, int narg);

} // namespace vyrlua::drawbot
