#include "vyrlua/utility/LuaFieldReaders.h"

#include "vyrlua/utility/LuaException.h"
#include "vyrlua/utility/LuaStack.h"

#include <climits>
#include <cmath>

namespace vyrlua::utility {

namespace {

// Arguments: the value and the key. Any error it raises is caught by the
// lua_pcall in PushField.
int IndexValue(lua_State* L)
{
    lua_gettable(L, 1);
    return 1;
}

void PushKey(lua_State* L, const char* name)
{
    lua_pushstring(L, name);
}

void PushKey(lua_State* L, const InternedName& name)
{
    PushName(L, name);
}

const char* KeyText(const char* name)
{
    return name;
}

const char* KeyText(const InternedName& name)
{
    return name.CStr();
}

template <typename Name>
void PushFieldOf(lua_State* L, int index, const Name& name)
{
    index = AbsoluteIndex(L, index);
    if (lua_type(L, index) == LUA_TTABLE) {
        // A field the table holds is what lua_getfield finds too, metatable
        // or not: only a missing one can reach __index. Value tables carry
        // the scripts' metatables, so this is the common case.
        PushKey(L, name);
        lua_rawget(L, index);
        if (!lua_isnil(L, -1) || !lua_getmetatable(L, index))
            return;
        lua_pop(L, 2);
    }
    lua_pushcfunction(L, IndexValue);
    lua_pushvalue(L, index);
    PushKey(L, name);
    if (lua_pcall(L, 2, 1, 0) != 0) {
        const char* text = lua_tostring(L, -1);
        std::string message =
            text != nullptr ? text : "error reading field '" + std::string(KeyText(name)) + "'";
        lua_pop(L, 1);
        throw LuaException(message);
    }
}

} // namespace

void PushField(lua_State* L, int index, const char* name)
{
    PushFieldOf(L, index, name);
}

void PushField(lua_State* L, int index, const InternedName& name)
{
    PushFieldOf(L, index, name);
}

bool GetBoolField(lua_State* L, int index, const char* name)
{
    PushField(L, index, name);
    bool value = lua_toboolean(L, -1) != 0;
    lua_pop(L, 1);
    return value;
}

int GetIntegerField(lua_State* L, int index, const char* name)
{
    PushField(L, index, name);
    // lua_tointeger itself would convert out-of-range numbers with undefined
    // behaviour; the same reading, done safely.
    lua_Number n = lua_tonumber(L, -1);
    lua_pop(L, 1);
    if (std::isnan(n))
        return 0;
    n = std::trunc(n);
    if (n >= static_cast<lua_Number>(INT_MAX))
        return INT_MAX;
    if (n <= static_cast<lua_Number>(INT_MIN))
        return INT_MIN;
    return static_cast<int>(n);
}

std::string GetStringField(lua_State* L, int index, const char* name)
{
    PushField(L, index, name);
    size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    std::string value = text != nullptr ? std::string(text, length) : std::string();
    lua_pop(L, 1);
    return value;
}

} // namespace vyrlua::utility
