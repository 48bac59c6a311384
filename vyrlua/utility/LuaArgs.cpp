#include "vyrlua/utility/LuaArgs.h"

#include "vyrcore/string.h"

#include <cmath>
#include <limits>

namespace vyrlua::utility {

void ThrowTypeError(lua_State* L, int narg, const char* expected)
{
    throw ArgumentError(narg, std::string(expected) + " expected, got " +
                                  lua_typename(L, lua_type(L, narg)));
}

void ThrowArgError(int narg, const std::string& message)
{
    throw ArgumentError(narg, message);
}

std::string_view CheckLString(lua_State* L, int narg)
{
    size_t length = 0;
    const char* s = lua_tolstring(L, narg, &length);
    if (s == nullptr)
        ThrowTypeError(L, narg, lua_typename(L, LUA_TSTRING));
    return {s, length};
}

std::string_view OptLString(lua_State* L, int narg, std::string_view def)
{
    return lua_isnoneornil(L, narg) ? def : CheckLString(L, narg);
}

std::string_view CheckUTF8(lua_State* L, int narg, const char* what)
{
    std::string_view text = CheckLString(L, narg);
    if (!vyrcore::string::IsValidUTF8CharacterString(text))
        ThrowArgError(narg, std::string(what) + " is not valid UTF-8");
    return text;
}

std::string_view OptUTF8(lua_State* L, int narg, const char* what, std::string_view def)
{
    return lua_isnoneornil(L, narg) ? def : CheckUTF8(L, narg, what);
}

lua_Number CheckNumber(lua_State* L, int narg)
{
    lua_Number n = lua_tonumber(L, narg);
    if (n == 0 && !lua_isnumber(L, narg))
        ThrowTypeError(L, narg, lua_typename(L, LUA_TNUMBER));
    return n;
}

lua_Number OptNumber(lua_State* L, int narg, lua_Number def)
{
    return lua_isnoneornil(L, narg) ? def : CheckNumber(L, narg);
}

namespace {

template <typename Int>
Int ToIntegral(lua_Number n, int narg)
{
    n = std::trunc(n);
    // Both bounds are exact powers of two in a double; the upper one is
    // exclusive because max() itself rounds up to it.
    constexpr lua_Number low = static_cast<lua_Number>(std::numeric_limits<Int>::min());
    constexpr lua_Number high = -low;
    if (!(n >= low && n < high))
        ThrowArgError(narg, "number has no integer representation");
    return static_cast<Int>(n);
}

} // namespace

float ToFloat(lua_Number n)
{
    constexpr lua_Number kMax = std::numeric_limits<float>::max();
    if (n > kMax)
        return std::numeric_limits<float>::infinity();
    if (n < -kMax)
        return -std::numeric_limits<float>::infinity();
    return static_cast<float>(n);
}

int ToInt(lua_Number n, int narg)
{
    return ToIntegral<int>(n, narg);
}

lua_Integer CheckInteger(lua_State* L, int narg)
{
    return ToIntegral<lua_Integer>(CheckNumber(L, narg), narg);
}

lua_Integer OptInteger(lua_State* L, int narg, lua_Integer def)
{
    return lua_isnoneornil(L, narg) ? def : CheckInteger(L, narg);
}

int CheckInt(lua_State* L, int narg)
{
    return ToIntegral<int>(CheckNumber(L, narg), narg);
}

int OptInt(lua_State* L, int narg, int def)
{
    return lua_isnoneornil(L, narg) ? def : CheckInt(L, narg);
}

void CheckType(lua_State* L, int narg, int type)
{
    if (lua_type(L, narg) != type)
        ThrowTypeError(L, narg, lua_typename(L, type));
}

void CheckAny(lua_State* L, int narg)
{
    if (lua_type(L, narg) == LUA_TNONE)
        ThrowArgError(narg, "value expected");
}

namespace {

void PushRegistryName(lua_State* L, const char* tname)
{
    lua_getfield(L, LUA_REGISTRYINDEX, tname);
}

void PushRegistryName(lua_State* L, const InternedName& tname)
{
    PushRegistryEntry(L, tname);
}

const char* NameText(const char* tname)
{
    return tname;
}

const char* NameText(const InternedName& tname)
{
    return tname.CStr();
}

template <typename Name>
void* TestUDataOf(lua_State* L, int narg, const Name& tname)
{
    void* p = lua_touserdata(L, narg);
    if (p == nullptr || lua_type(L, narg) != LUA_TUSERDATA || !lua_getmetatable(L, narg))
        return nullptr;
    PushRegistryName(L, tname);
    bool same = lua_rawequal(L, -1, -2);
    lua_pop(L, 2);
    return same && lua_objlen(L, narg) >= sizeof(void*) ? p : nullptr;
}

template <typename Name>
void* CheckUDataOf(lua_State* L, int narg, const Name& tname)
{
    void* p = TestUDataOf(L, narg, tname);
    if (p != nullptr)
        return p;
    if (lua_type(L, narg) == LUA_TUSERDATA && lua_getmetatable(L, narg)) {
        PushRegistryName(L, tname);
        bool same = lua_rawequal(L, -1, -2);
        lua_pop(L, 2);
        if (same)
            throw LuaError("Bad user data");
    }
    ThrowTypeError(L, narg, NameText(tname));
}

} // namespace

void* TestUData(lua_State* L, int narg, const char* tname)
{
    return TestUDataOf(L, narg, tname);
}

void* CheckUData(lua_State* L, int narg, const char* tname)
{
    return CheckUDataOf(L, narg, tname);
}

void* TestUData(lua_State* L, int narg, const InternedName& tname)
{
    return TestUDataOf(L, narg, tname);
}

void* CheckUData(lua_State* L, int narg, const InternedName& tname)
{
    return CheckUDataOf(L, narg, tname);
}

} // namespace vyrlua::utility
