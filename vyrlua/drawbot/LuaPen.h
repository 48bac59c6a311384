// Pen objects (metatable "vyrlua.drawbot.PenInterface", module PenInterface).
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

extern "C" int luaopen_vyrlua_drawbot_PenInterface(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kPenMetatable = "vyrlua.drawbot.PenInterface";

struct PenObject {
    vyrui::drawbot::PenInterface* pen; // one use count; null once released
};

void RegisterPenMetatable(lua_State* L);
int OpenPenModule(lua_State* L);
bool TestPenObject(lua_State* L, int narg);
// The pen of the pen object at `narg` (checked), null once released.
vyrui::drawbot::PenInterface* CheckPen(lua_State* L, int narg);

} // namespace vyrlua::drawbot
