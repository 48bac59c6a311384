// Room on the Lua stack, asked of Lua only when it might be missing.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::utility {

// lua_checkstack(L, n) for the hot paths. Every frame, the host's outermost
// one included, starts with LUA_MINSTACK free slots above its arguments and
// loses them only by pushing: with gettop + n within LUA_MINSTACK the room
// is there already, and the call into Lua (which costs more than the push it
// guards) is skipped.
inline bool EnsureStack(lua_State* L, int n)
{
    return lua_gettop(L) + n <= LUA_MINSTACK || lua_checkstack(L, n) != 0;
}

} // namespace vyrlua::utility
