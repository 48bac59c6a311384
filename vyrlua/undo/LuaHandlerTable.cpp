#include "vyrlua/undo/LuaHandlerTable.h"

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaFieldReaders.h"
#include "vyrlua/utility/LuaReference.h"
#include "vyrlua/utility/LuaStack.h"

#include <exception>
#include <string>

namespace vyrlua::undo {

HeldState::HeldState(lua_State* L)
    : mL(L), mLocator(L != nullptr ? utility::FindDeferredLuaStateLocator(L) : nullptr)
{
}

lua_State* HeldState::Get() const
{
    if (mL == nullptr || mLocator == nullptr)
        return mL;
    return mLocator() == mL ? mL : nullptr;
}

void CallHandlerMethod(lua_State* L, int ref, const char* method)
{
    const int entryTop = lua_gettop(L);
    if (!lua_checkstack(L, 3))
        return;
    lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
    if (lua_type(L, -1) == LUA_TTABLE) {
        bool found = true;
        try {
            // An __index on the table may fail; that counts as a failing
            // method, and is dropped like one.
            utility::PushField(L, -1, method);
        } catch (const std::exception&) {
            found = false;
        }
        if (found) {
            lua_pushvalue(L, -2);
            lua_pcall(L, 1, 0, 0);
        }
    }
    utility::EndHostCall(L, entryTop);
}

namespace {

// Run through lua_cpcall: luaL_register may raise.
int RegisterEmptyTable(lua_State* L)
{
    static const luaL_Reg kNoFunctions[] = {{nullptr, nullptr}};
    luaL_register(L, static_cast<const char*>(lua_touserdata(L, 1)), kNoFunctions);
    return 0;
}

} // namespace

void RegisterNamespaceTable(lua_State* L, const char* name)
{
    if (lua_cpcall(L, RegisterEmptyTable, const_cast<char*>(name)) != 0) {
        const char* text = lua_tostring(L, -1);
        std::string message = text != nullptr ? text : std::string("cannot create ") + name;
        lua_pop(L, 1);
        throw vyrcore::config::HostException(message);
    }
}

} // namespace vyrlua::undo
