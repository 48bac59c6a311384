// Path objects (metatable "vyrlua.vyrPathInterface", module PathInterface).
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

extern "C" int luaopen_vyrlua_drawbot_vyrPathInterface(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kPathMetatable = "vyrlua.vyrPathInterface";

// The small owned holder the userdata points to; deleting it drops the path.
struct PathHolder {
    boost::intrusive_ptr<vyrui::drawbot::PathInterface> path;
};

struct PathObject {
    PathHolder* holder; // null once released
};

void RegisterPathMetatable(lua_State* L);
int OpenPathModule(lua_State* L);
// The path of the path object at `narg` (checked), null once released.
vyrui::drawbot::PathInterface* CheckPath(lua_State* L, int narg);

} // namespace vyrlua::drawbot
