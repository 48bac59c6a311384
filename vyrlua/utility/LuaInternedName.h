// Names the library looks up on every call (the wrapper type mark, the value
// constructor globals, metatable names), kept as Lua strings in the
// registry under the address of their InternedName. Pushing one is a raw
// look-up keyed by a pointer, where lua_pushstring would measure and hash
// the text each time; after the first push in a state nothing is allocated,
// so the push cannot raise.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <cstddef>
#include <string_view>

namespace vyrlua::utility {

class InternedName {
public:
    // `text` must end in a NUL and outlive the object (a string literal).
    constexpr explicit InternedName(std::string_view text)
        : mText(text.data()), mLength(text.size())
    {
    }
    InternedName(const InternedName&) = delete;
    InternedName& operator=(const InternedName&) = delete;

    const char* CStr() const { return mText; }
    std::size_t Length() const { return mLength; }

private:
    const char* mText;
    std::size_t mLength;
};

namespace detail {
// Makes the string, records it in the registry and leaves it pushed. May
// raise Lua's memory error.
void InternName(lua_State* L, const InternedName& name);
} // namespace detail

// Pushes the name as a Lua string.
inline void PushName(lua_State* L, const InternedName& name)
{
    lua_pushlightuserdata(L, const_cast<InternedName*>(&name));
    lua_rawget(L, LUA_REGISTRYINDEX);
    if (lua_type(L, -1) != LUA_TSTRING) {
        lua_pop(L, 1);
        detail::InternName(L, name);
    }
}

// Pushes the registry's entry under the name: lua_getfield on the registry,
// without hashing the text.
inline void PushRegistryEntry(lua_State* L, const InternedName& name)
{
    PushName(L, name);
    lua_rawget(L, LUA_REGISTRYINDEX);
}

} // namespace vyrlua::utility
