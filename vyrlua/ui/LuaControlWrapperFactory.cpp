#include "vyrlua/ui/LuaControlWrapperFactory.h"

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/utility/LuaBoundary.h"

#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace vyrlua::ui {

namespace {

using vyrui::ui::UI_Node;

// ---------------------------------------------------------------------------
// The wrapper classes. Adding a control is adding its entries here.

// Every class with a metatable, in creation order.
struct WrapperMetatable {
    const char* (*name)();
    void (*registerMethods)(lua_State*);
};

template <typename Wrapper>
constexpr WrapperMetatable MetatableOf()
{
    return {Wrapper::GetMetatableName, Wrapper::RegisterMethods};
}

const WrapperMetatable kWrapperMetatables[] = {
    MetatableOf<LuaUI_NodeWrapper>(),
};

// The factory's class list: the first entry whose host class the node is
// an instance of wins, so a subclass stands before its base. The last
// entry, with no test, is the plain node.
struct WrapperClass {
    bool (*matches)(const UI_Node&);
    LuaControlWrapperBase* (*push)(const NodePtr&, lua_State*);
};

template <typename HostClass>
bool IsA(const UI_Node& node)
{
    return dynamic_cast<const HostClass*>(&node) != nullptr;
}

const WrapperClass kWrapperClasses[] = {
    {nullptr, PushControlWrapper<LuaUI_NodeWrapper>},
};

// ---------------------------------------------------------------------------

struct Factory {
    std::vector<LuaControlWrapperFactoryFunction> installed;
    // The class-list decision per dynamic type: the list is fixed, so the
    // answer for a type never changes, and an event dispatch costs one hash
    // look-up however far down the list the node's class sits. Keyed by the
    // type_info's address: hashing that is free where hashing a type_index
    // hashes the type's name. One type may have more than one type_info
    // (one per shared object); each then gets the same decision.
    std::unordered_map<const std::type_info*, const WrapperClass*> decided;
};

Factory& TheFactory()
{
    static Factory factory;
    return factory;
}

const WrapperClass& Decide(const UI_Node& node)
{
    Factory& factory = TheFactory();
    const std::type_info* type = &typeid(node);
    if (auto it = factory.decided.find(type); it != factory.decided.end())
        return *it->second;
    const WrapperClass* chosen = nullptr;
    for (const WrapperClass& entry : kWrapperClasses) {
        if (!entry.matches || entry.matches(node)) {
            chosen = &entry;
            break;
        }
    }
    factory.decided.emplace(type, chosen);
    return *chosen;
}

} // namespace

namespace {

struct PushRequest {
    const NodePtr* node;
    LuaControlWrapperBase* wrapper;
};

// Runs protected: leaves the new userdata (or nil) on top.
int PushWrapperBody(lua_State* L)
{
    auto* request = static_cast<PushRequest*>(lua_touserdata(L, 1));
    const NodePtr& node = *request->node;
    for (const LuaControlWrapperFactoryFunction& function : TheFactory().installed) {
        // An empty function object throws std::bad_function_call.
        if ((request->wrapper = function(node, L)))
            return 1;
    }
    request->wrapper = Decide(*node).push(node, L);
    return 1;
}

} // namespace

LuaControlWrapperBase* LuaControlWrapperFactory(const NodePtr& node, lua_State* L)
{
    if (!node)
        return nullptr;
    // Callers hold node pointers: running out of Lua memory while the
    // userdata is made must throw past them, not longjmp.
    PushRequest request{&node, nullptr};
    utility::PushFromProtectedCall(L, utility::LuaBoundary<PushWrapperBody>, &request);
    return request.wrapper;
}

void InstallLuaControlWrapperFactoryFunction(LuaControlWrapperFactoryFunction function)
{
    TheFactory().installed.push_back(std::move(function));
}

void CreateControlMetatables(lua_State* L)
{
    if (!lua_checkstack(L, 3))
        throw utility::LuaError("Cannot grow stack for controls metatables");
    lua_getfield(L, LUA_REGISTRYINDEX, LuaUI_NodeWrapper::GetMetatableName());
    bool exists = !lua_isnil(L, -1);
    lua_pop(L, 1);
    if (exists)
        return;
    for (const WrapperMetatable& wrapper : kWrapperMetatables) {
        if (!lua_checkstack(L, 2))
            throw utility::LuaError("Cannot grow stack for controls metatables");
        luaL_newmetatable(L, wrapper.name());
        lua_pushvalue(L, -1);
        lua_setfield(L, -2, "__index");
        wrapper.registerMethods(L);
        lua_pop(L, 1);
    }
}

void PushControlMetatable(lua_State* L, const char* metatableName)
{
    lua_getfield(L, LUA_REGISTRYINDEX, metatableName);
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        CreateControlMetatables(L);
        lua_getfield(L, LUA_REGISTRYINDEX, metatableName);
    }
}

void PushControlMetatable(lua_State* L, const utility::InternedName& metatableName)
{
    utility::PushRegistryEntry(L, metatableName);
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        CreateControlMetatables(L);
        utility::PushRegistryEntry(L, metatableName);
    }
}

} // namespace vyrlua::ui
