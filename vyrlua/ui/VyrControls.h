// The "vyrlua.vyrcontrols" module: creates every wrapper metatable (once per
// state) and the global constructor table "vyrcontrols", through which
// scripts build node trees. Constructors return wrappers made by the
// wrapper factory, so each node arrives as its most specific class.
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_vyrcontrols(lua_State* L);
