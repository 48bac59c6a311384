#include "vyrlua/utility/LuaGuid.h"

#include "vyrcore/utility/Guid.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"

#include <string>

namespace vyrlua::utility {

namespace {

int GenerateGuidBody(lua_State* L)
{
    std::string text = vyrcore::utility::Guid::CreateUnique().ToUTF8String();
    PushLString(L, text);
    return 1;
}

const luaL_Reg kGuidMethods[] = {
    {nullptr, nullptr},
};

const luaL_Reg kGuidFunctions[] = {
    {"GenerateGuid", LuaBoundary<GenerateGuidBody>},
    {nullptr, nullptr},
};

int OpenGuid(lua_State* L)
{
    RegisterMetatable(L, "vyrlua.guid", kGuidMethods);
    luaL_register(L, "guid", kGuidFunctions);
    return 1;
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_guid(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenGuid>(L);
}
