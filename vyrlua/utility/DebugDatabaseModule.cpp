// "vyrlua.DebugDatabase": scripts read the host's debug switches
// (vyrcore/DebugDatabase.h). An anonymous module of four functions.
#include "vyrcore/DebugDatabase.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

#include <optional>
#include <string>

namespace vyrlua::utility {

namespace {

using vyrcore::debug::DebugDatabase;

// Pushes the value of an entry by its own type: boolean, number (int
// entries too) or string.
int PushEntry(lua_State* L, const std::optional<DebugDatabase::Value>& value)
{
    if (!value) {
        lua_pushnil(L);
        return 1;
    }
    if (const bool* b = std::get_if<bool>(&*value))
        lua_pushboolean(L, *b);
    else if (const long long* i = std::get_if<long long>(&*value))
        lua_pushnumber(L, static_cast<lua_Number>(*i));
    else if (const double* d = std::get_if<double>(&*value))
        lua_pushnumber(L, *d);
    else
        PushLString(L, std::get<std::string>(*value));
    return 1;
}

// getBool / getNumber / getString (name [, default]): the entry when it has
// that type, else the default (nil when none is given).
template <int LuaType>
int GetTypedBody(lua_State* L)
{
    std::string_view name = CheckLString(L, 1);
    if (!lua_isnoneornil(L, 2))
        CheckType(L, 2, LuaType);
    std::optional<DebugDatabase::Value> value = DebugDatabase::Get().Find(name);
    bool matches = value && (LuaType == LUA_TBOOLEAN ? std::holds_alternative<bool>(*value)
                             : LuaType == LUA_TSTRING
                                 ? std::holds_alternative<std::string>(*value)
                                 : (std::holds_alternative<double>(*value) ||
                                    std::holds_alternative<long long>(*value)));
    if (!matches) {
        lua_settop(L, 2);
        return 1;
    }
    return PushEntry(L, value);
}

int GetValueBody(lua_State* L)
{
    return PushEntry(L, DebugDatabase::Get().Find(CheckLString(L, 1)));
}

const luaL_Reg kFunctions[] = {
    {"getBool", LuaBoundary<GetTypedBody<LUA_TBOOLEAN>>},
    {"getNumber", LuaBoundary<GetTypedBody<LUA_TNUMBER>>},
    {"getString", LuaBoundary<GetTypedBody<LUA_TSTRING>>},
    {"getValue", LuaBoundary<GetValueBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    return RegisterModule(L, kFunctions);
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_DebugDatabase(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
