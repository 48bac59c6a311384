// The one way to push any host node to Lua: the wrapper factory, its
// installable extension functions, and the per-state creation of every
// wrapper class's metatable.
#pragma once

#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrlua/utility/LuaInternedName.h"

#include <functional>

namespace vyrlua::ui {

using LuaControlWrapperFactoryFunction =
    std::function<LuaControlWrapperBase*(const NodePtr& node, lua_State* L)>;

// Pushes one new userdata for `node` with the wrapper of its most specific
// class and returns the wrapper; for a null node pushes nothing and returns
// null. Installed factory functions are asked first, in installation order.
// Every call makes a new userdata: compare two with "Equals", not ==.
LuaControlWrapperBase* LuaControlWrapperFactory(const NodePtr& node, lua_State* L);

// Adds a factory function for other libraries' node classes. One that
// recognises the node pushes its userdata (PushControlWrapper) and returns
// the wrapper; otherwise it returns null and pushes nothing. Install at
// start-up, before scripts run.
void InstallLuaControlWrapperFactoryFunction(LuaControlWrapperFactoryFunction function);

// Creates the metatable of every wrapper class, once per state (the registry
// entry "vyrUINode" tells that it was done). Throws LuaError("Cannot grow
// stack for controls metatables") when the stack cannot grow.
void CreateControlMetatables(lua_State* L);

// Pushes the named wrapper metatable, creating the metatables if needed.
void PushControlMetatable(lua_State* L, const char* metatableName);
void PushControlMetatable(lua_State* L, const utility::InternedName& metatableName);

// Pushes a userdata holding a new Wrapper(node, L) with Wrapper's metatable.
template <typename Wrapper>
LuaControlWrapperBase* PushControlWrapper(const NodePtr& node, lua_State* L)
{
    // Every push looks the metatable up by name: interned, it is not hashed.
    static const utility::InternedName metatableName(Wrapper::GetMetatableName());
    // The block starts empty, so a failure before it is filled leaves
    // nothing for __gc to free.
    auto** block = static_cast<LuaControlWrapperBase**>(lua_newuserdata(L, sizeof(void*)));
    *block = nullptr;
    PushControlMetatable(L, metatableName);
    lua_setmetatable(L, -2);
    LuaControlWrapperBase* wrapper = new Wrapper(node, L);
    *block = wrapper;
    return wrapper;
}

} // namespace vyrlua::ui
