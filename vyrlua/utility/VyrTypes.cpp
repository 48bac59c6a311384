#include "vyrlua/utility/VyrTypes.h"

#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"

namespace vyrlua::utility {

namespace {

const luaL_Reg kVyrTypesMethods[] = {
    {nullptr, nullptr},
};

const luaL_Reg kVyrTypesFunctions[] = {
    {nullptr, nullptr},
};

int OpenVyrTypes(lua_State* L)
{
    RegisterMetatable(L, "vyrlua.core.vyrTypes", kVyrTypesMethods);
    luaL_register(L, "vyrTypes", kVyrTypesFunctions);
    SetIntegerField(L, "VYR_OS_Flag_WIN", kVyrOSFlagWin);
    SetIntegerField(L, "VYR_OS_Flag_MAC", kVyrOSFlagMac);
    SetIntegerField(L, "VYR_OS_Flag_THIS_ONE", kVyrOSFlagThisOne);
    SetIntegerField(L, "VYR_OS_Flag_ALL", kVyrOSFlagAll);
    return 1;
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_vyrcore_vyrTypes(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenVyrTypes>(L);
}
