#include "vyrlua/utility/LuaModules.h"

#include "vyrcore/string.h"
#include "vyrlua/string/VyrString.h"
#include "vyrlua/ui/KeyboardUtils.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaNumeric.h"
#include "vyrlua/utility/LuaProtectedCall.h"

namespace vyrlua {

using utility::CallLuaFromCpp;

int RegisterModule(lua_State* L, const luaL_Reg* functions)
{
    lua_createtable(L, 0, 0);
    luaL_register(L, nullptr, functions);
    return 1;
}

void RegisterMetatable(lua_State* L, const char* name, const luaL_Reg* methods)
{
    luaL_newmetatable(L, name);
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    luaL_register(L, nullptr, methods);
    lua_pop(L, 1);
}

void SetIntegerField(lua_State* L, const char* name, lua_Integer value)
{
    lua_pushinteger(L, value);
    lua_setfield(L, -2, name);
}

void SetPreloadedModule(lua_State* L, const char* name, lua_CFunction opener)
{
    lua_getfield(L, LUA_GLOBALSINDEX, "package");
    lua_getfield(L, -1, "preload");
    lua_pushcclosure(L, opener, 0);
    lua_setfield(L, -2, name);
    lua_pop(L, 2);
}

void PreloadLuaModules(lua_State* L)
{
    SetPreloadedModule(L, "vyrlua.keyboardUtils", ui::OpenKeyboardUtils);
}

void RequireLuaModule(lua_State* L, const char* name, bool keepResult)
{
    lua_getfield(L, LUA_GLOBALSINDEX, "require");
    lua_pushstring(L, name);
    CallLuaFromCpp(L, 1, keepResult ? 1 : 0);
}

void PrepareLuaModuleCall(lua_State* L, const char* module, const char* function)
{
    RequireLuaModule(L, module, true);
    lua_getfield(L, -1, function);
    lua_remove(L, -2);
}

void InitLua(lua_State*)
{
    KzExceptions_setRunProtectedCallHook(utility::RunProtectedCallHook);
}

void InitEmbeddedCodeLoader(lua_State* L, bool embeddedFirst)
{
    lua_pushfstring(L, "table.insert(package.loaders, %d, require 'vyrlua.EmbeddedCodeLoader')",
                    embeddedFirst ? 2 : 3);
    size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    // The status is not checked: on failure the error text is what gets
    // called, and the resulting error is reported like any other.
    luaL_loadstring(L, text);
    lua_remove(L, -2);
    CallLuaFromCpp(L, 0, 0);
}

void CollectLuaGarbage(lua_State* L)
{
    lua_getfield(L, LUA_GLOBALSINDEX, "collectgarbage");
    CallLuaFromCpp(L, 0, 0);
}

std::string GetUTF8Arg(lua_State* L, int index)
{
    return std::string(utility::CheckLString(L, index));
}

std::u16string GetUTF16Arg(lua_State* L, int index)
{
    return vyrcore::string::UTF8to16(utility::CheckLString(L, index));
}

} // namespace vyrlua

namespace vyrlua {
namespace {

int OpenMaster(lua_State* L)
{
    static const luaL_Reg kNoFunctions[] = {{nullptr, nullptr}};
    luaL_register(L, "vyrlua", kNoFunctions);
    numeric::OpenLuaNumeric(L);
    lua_pop(L, 1);
    // The vyrString table, left on top, is the module's value.
    luaL_register(L, "vyrString", string::kVyrStringFunctions);
    return 1;
}

} // namespace
} // namespace vyrlua

extern "C" int luaopen_vyrlua(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::OpenMaster>(L);
}
