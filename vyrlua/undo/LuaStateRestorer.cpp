#include "vyrlua/undo/LuaStateRestorer.h"

namespace vyrlua::undo {

LuaStateRestorer::LuaStateRestorer(const int& ref, lua_State* L) : mRef(ref), mState(L) {}

LuaStateRestorer::~LuaStateRestorer()
{
    if (mRef != 0) {
        if (lua_State* L = mState.Get())
            luaL_unref(L, LUA_REGISTRYINDEX, mRef);
        mRef = 0;
    }
}

void LuaStateRestorer::RestoreState()
{
    if (mDisabled)
        return;
    if (lua_State* L = mState.Get())
        CallHandlerMethod(L, mRef, "restoreState");
}

void LuaStateRestorer::DisableRestorer(const bool& disable)
{
    mDisabled = disable;
}

void LuaStateRestorer::InitLua(lua_State* L)
{
    RegisterNamespaceTable(L, "vyrLuaStateRestorer");
}

} // namespace vyrlua::undo
