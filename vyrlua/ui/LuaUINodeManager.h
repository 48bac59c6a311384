// The "vyrlua.UINodeManager" module: the global table "UINodeManager", a
// facade over the host's node manager (input and touch capture, modal
// state, mouse-event filters, tool tips).
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_UINodeManager(lua_State* L);
