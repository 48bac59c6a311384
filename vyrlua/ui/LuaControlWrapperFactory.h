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

// One wrapper class's metatable: made its own __index, holding the class's
// flattened methods.
struct WrapperMetatable {
    const char* (*name)();
    void (*registerMethods)(lua_State*);
};
template <typename Wrapper>
inline constexpr WrapperMetatable kMetatableOf{Wrapper::GetMetatableName, Wrapper::RegisterMethods};

// Pushes the wrapper class's metatable, creating it when the state lacks it.
void PushControlMetatable(lua_State* L, const WrapperMetatable& wrapper,
                          const utility::InternedName& name);

// Pushes a userdata holding a new Wrapper(node, L) with Wrapper's metatable.
// Raises Lua's memory error: callers hold nothing with a destructor, or push
// through LuaControlWrapperFactory, which is protected.
template <typename Wrapper>
LuaControlWrapperBase* PushControlWrapper(const NodePtr& node, lua_State* L)
{
    // Every push looks the metatable up by name: interned, it is not hashed.
    static const utility::InternedName metatableName(Wrapper::GetMetatableName());
    // The block starts empty, so a failure before it is filled leaves
    // nothing for __gc to free.
    auto** block = static_cast<void**>(lua_newuserdata(L, sizeof(void*)));
    *block = nullptr;
    PushControlMetatable(L, kMetatableOf<Wrapper>, metatableName);
    lua_setmetatable(L, -2);
    LuaControlWrapperBase* wrapper = new Wrapper(node, L);
    try {
        utility::FillBlock(L, -1, wrapper, kWrapperKind);
    } catch (...) {
        delete wrapper;
        throw;
    }
    return wrapper;
}

// For other libraries: gives nodes of Wrapper's host class that wrapper
// class, before every built-in one, with its metatable made on first use.
template <typename Wrapper>
void InstallLuaWrapperClass()
{
    InstallLuaControlWrapperFactoryFunction([](const NodePtr& node, lua_State* L) {
        return dynamic_cast<typename Wrapper::HostClass*>(node.get()) != nullptr
                   ? PushControlWrapper<Wrapper>(node, L)
                   : nullptr;
    });
}

} // namespace vyrlua::ui
