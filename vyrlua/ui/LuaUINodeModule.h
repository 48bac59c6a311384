// The "vyrlua.vyrUINode" module: node functions that need no node (focus
// queries, the skin generation), returned as an anonymous table.
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_vyrUINode(lua_State* L);
