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

// `index` as a positive stack index (pseudo-indices unchanged), so that it
// stays valid while values are pushed.
inline int AbsoluteIndex(lua_State* L, int index)
{
    return index > 0 || index <= LUA_REGISTRYINDEX ? index : lua_gettop(L) + index + 1;
}

// After the host called into Lua: at the top level (no function running on
// L) the stack is the host's and is emptied; otherwise it belongs to a
// running frame (a method dispatching from Lua code, or coroutine.resume
// when the call came from inside a coroutine) and goes back to `entryTop`,
// what it held before the call.
inline void EndHostCall(lua_State* L, int entryTop)
{
    lua_Debug ar;
    lua_settop(L, lua_getstack(L, 0, &ar) != 0 ? entryTop : 0);
}

} // namespace vyrlua::utility
