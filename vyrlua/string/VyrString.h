// The vyrString module: byte-position string functions, case mapping,
// localisation, regular expressions and dates for scripts.
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_vyrString(lua_State* L);

namespace vyrlua::string {

// The 43 functions in table order; the master opener registers them too.
extern const luaL_Reg kVyrStringFunctions[];

} // namespace vyrlua::string
