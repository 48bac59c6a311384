// The userdata of this library's UI kinds (events, captures) hold one
// pointer. A block of another size under one of their metatables (the debug
// library can make one) is not one of them, and is never read.
#pragma once

#include "vyrlua/utility/LuaArgs.h"

namespace vyrlua::ui {

// The block of the value at `narg` when it is a userdata of kind `tname`
// one pointer wide; null otherwise.
// `tname` is the metatable's name: text, or an InternedName.
template <typename T, typename Name>
T** TestPointerBlock(lua_State* L, int narg, const Name& tname)
{
    void* block = utility::TestUData(L, narg, tname);
    return block && lua_objlen(L, narg) == sizeof(T*) ? static_cast<T**>(block) : nullptr;
}

// The same, failing with the standard argument error ("tname expected, got
// userdata") for a value of another kind, and with "Bad user data" for a
// block of the wrong size under the kind's metatable.
template <typename T, typename Name>
T** CheckPointerBlock(lua_State* L, int narg, const Name& tname)
{
    void* block = utility::CheckUData(L, narg, tname);
    if (lua_objlen(L, narg) != sizeof(T*))
        throw utility::LuaError("Bad user data");
    return static_cast<T**>(block);
}

// Pushes a new block of kind `tname` holding `object`, with a use count taken
// for the block; a null object leaves the block empty.
template <typename T>
int PushPointerBlock(lua_State* L, T* object, const char* tname)
{
    auto** block = static_cast<T**>(lua_newuserdata(L, sizeof(T*)));
    *block = nullptr;
    luaL_getmetatable(L, tname);
    lua_setmetatable(L, -2);
    if (object) {
        object->AddUseCount();
        *block = object;
    }
    return 1;
}

// Pushes a block of kind `tname` holding a new T(args...). The userdata is
// made first: running out of Lua memory while pushing it must not strand an
// object that nothing owns.
template <typename T, typename... Args>
int PushNewPointerBlock(lua_State* L, const char* tname, Args... args)
{
    PushPointerBlock<T>(L, nullptr, tname);
    auto** block = static_cast<T**>(lua_touserdata(L, -1));
    auto* object = new T(args...);
    object->AddUseCount();
    *block = object;
    return 1;
}

// __gc of a pointer block: drops the block's use count once. Safe to run
// twice and on values of any other kind.
template <typename T>
int CollectPointerBlock(lua_State* L, const char* tname)
{
    if (T** block = TestPointerBlock<T>(L, 1, tname)) {
        T* object = *block;
        *block = nullptr;
        if (object)
            object->ReleaseUseCount();
    }
    return 0;
}

} // namespace vyrlua::ui
