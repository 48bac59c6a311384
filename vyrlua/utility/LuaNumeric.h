// vyrlua.numeric: matrix helpers for scripts.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::numeric {

// Sets the table field "numeric" (unmatrix, invertMatrix) on the table on top.
int OpenLuaNumeric(lua_State* L);

} // namespace vyrlua::numeric
