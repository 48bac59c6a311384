// "vyrlua.BetaFeature": whether an unfinished feature is switched on
// (vyrcore/BetaFeatures.h). An anonymous module.
#include "vyrcore/BetaFeatures.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

namespace vyrlua::utility {

namespace {

int IsFeatureEnabledBody(lua_State* L)
{
    lua_pushboolean(L, vyrcore::config::IsBetaFeatureEnabled(CheckLString(L, 1)));
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"isFeatureEnabled", LuaBoundary<IsFeatureEnabledBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    return RegisterModule(L, kFunctions);
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_BetaFeature(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
