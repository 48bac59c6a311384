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

} // namespace vyrlua::ui
