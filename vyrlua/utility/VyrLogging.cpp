// "vyrlua.vyrLogging": scripts log by category and level through the host's
// logging (vyrcore/debug.h), global table "vyrLogging".
#include "vyrcore/debug.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

namespace vyrlua::utility {

namespace {

using vyrcore::debug::Level;

Level LevelArg(lua_State* L, int narg)
{
    lua_Integer level = CheckInteger(L, narg);
    if (level < static_cast<lua_Integer>(Level::Error) ||
        level > static_cast<lua_Integer>(Level::Trace))
        ThrowArgError(narg, "level must be 0 (error) to 3 (trace)");
    return static_cast<Level>(level);
}

int LogBody(lua_State* L)
{
    std::string_view category = CheckLString(L, 1);
    Level level = LevelArg(L, 2);
    std::string_view message = CheckLString(L, 3);
    vyrcore::debug::Log(category, level, message);
    return 0;
}

template <Level level>
int LogAtBody(lua_State* L)
{
    std::string_view category = CheckLString(L, 1);
    std::string_view message = CheckLString(L, 2);
    vyrcore::debug::Log(category, level, message);
    return 0;
}

int SetLevelBody(lua_State* L)
{
    std::string_view category = CheckLString(L, 1);
    vyrcore::debug::SetLevel(category, LevelArg(L, 2));
    return 0;
}

int GetLevelBody(lua_State* L)
{
    lua_pushinteger(L, static_cast<lua_Integer>(vyrcore::debug::GetLevel(CheckLString(L, 1))));
    return 1;
}

int IsEnabledBody(lua_State* L)
{
    std::string_view category = CheckLString(L, 1);
    Level level = LevelArg(L, 2);
    lua_pushboolean(L, level <= vyrcore::debug::GetLevel(category));
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"Log", LuaBoundary<LogBody>},
    {"Error", LuaBoundary<LogAtBody<Level::Error>>},
    {"Warning", LuaBoundary<LogAtBody<Level::Warning>>},
    {"Info", LuaBoundary<LogAtBody<Level::Info>>},
    {"Trace", LuaBoundary<LogAtBody<Level::Trace>>},
    {"SetLevel", LuaBoundary<SetLevelBody>},
    {"GetLevel", LuaBoundary<GetLevelBody>},
    {"IsEnabled", LuaBoundary<IsEnabledBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    luaL_register(L, "vyrLogging", kFunctions);
    SetIntegerField(L, "kLevel_Error", static_cast<lua_Integer>(Level::Error));
    SetIntegerField(L, "kLevel_Warning", static_cast<lua_Integer>(Level::Warning));
    SetIntegerField(L, "kLevel_Info", static_cast<lua_Integer>(Level::Info));
    SetIntegerField(L, "kLevel_Trace", static_cast<lua_Integer>(Level::Trace));
    return 1;
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_vyrLogging(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
