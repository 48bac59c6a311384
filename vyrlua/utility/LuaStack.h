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

// Pushes the registry's table under `key`, made on first use with weak keys
// or values (`mode`: "k" or "v"). May raise for memory: callers run protected.
inline void PushWeakRegistryTable(lua_State* L, const char* key, const char* mode)
{
    lua_getfield(L, LUA_REGISTRYINDEX, key);
    if (lua_istable(L, -1))
        return;
    lua_pop(L, 1);
    lua_newtable(L);
    lua_createtable(L, 0, 1);
    lua_pushstring(L, mode);
    lua_setfield(L, -2, "__mode");
    lua_setmetatable(L, -2);
    lua_pushvalue(L, -1);
    lua_setfield(L, LUA_REGISTRYINDEX, key);
}

} // namespace vyrlua::utility
