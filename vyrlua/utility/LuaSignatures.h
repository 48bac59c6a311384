// The Lua types of registered functions, for the API reference and the
// editor definitions that the host program writes from a live state. The
// method templates record each method they make as they are instantiated,
// so the types come from the same description the method is registered
// from; functions written by hand have none.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::utility {

// Lua type names: "boolean", "integer", "number", "string", or a value or
// object type ("PointF32", "vyrUINode"); a parameter ending in "?" may be
// left out. Parameters are those after self.
struct LuaSignature {
    const char* const* params;
    int paramCount;
    const char* result; // null: the function returns nothing
};

// Records the signature of `f` (the first record wins; every record of one
// function is the same). Returns true, for use in static initialisers.
bool RecordLuaSignature(lua_CFunction f, const LuaSignature& signature);

// Null when `f` has no recorded signature.
const LuaSignature* FindLuaSignature(lua_CFunction f);

} // namespace vyrlua::utility
