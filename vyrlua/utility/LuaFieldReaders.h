// Reading fields of tables that scripts pass (option tables, value tables,
// results of call-backs).
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrlua/utility/LuaInternedName.h"

#include <string>

namespace vyrlua::utility {

// Pushes value[name] as lua_getfield does, metamethods included. A plain
// table is read directly; anything else is read in a protected call, so an
// erroring __index (or indexing a non-table) throws LuaException with Lua's
// message instead of unwinding through the caller. Pseudo-indices are fine.
void PushField(lua_State* L, int index, const char* name);
// The same with an interned name (one looked up on every call).
void PushField(lua_State* L, int index, const InternedName& name);

// The field's truth: nil and false give false, any other value true.
bool GetBoolField(lua_State* L, int index, const char* name);
// The field as lua_tointeger reads it (numbers and numeric strings, truncated
// toward zero); 0 when absent or not a number. Values beyond int saturate.
int GetIntegerField(lua_State* L, int index, const char* name);
// The field's text as lua_tolstring gives it (strings and numbers); empty
// when absent or of another type.
std::string GetStringField(lua_State* L, int index, const char* name);

} // namespace vyrlua::utility
