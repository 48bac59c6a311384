#include "vyrlua/ui/LuaControlWrapperFactory.h"

#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/controls/LuaWrapperClasses.h"
#include "vyrlua/utility/LuaBoundary.h"

#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace vyrlua::ui {

namespace {

using vyrui::ui::UI_Node;

// A class of the list: the test of the node's host class and the push.
struct WrapperClassEntry {
    bool (*matches)(const UI_Node&);
    LuaControlWrapperBase* (*push)(const NodePtr&, lua_State*);
    const WrapperMetatable* metatable;
};

template <typename Wrapper>
bool IsA(const UI_Node& node)
{
    if constexpr (std::is_same_v<typename Wrapper::HostClass, UI_Node>)
        return true;
    else
        return dynamic_cast<const typename Wrapper::HostClass*>(&node) != nullptr;
}

template <typename... Wrappers>
struct Entries {
    static constexpr WrapperClassEntry kList[] = {
        {IsA<Wrappers>, PushControlWrapper<Wrappers>, &kMetatableOf<Wrappers>}...};
};

// In factory order: the first entry whose host class the node is an
// instance of wins; the last, the plain node, matches every node.
template <typename... Wrappers>
constexpr const WrapperClassEntry* ListOf(WrapperClassList<Wrappers...>)
{
    return Entries<Wrappers...>::kList;
}
constexpr const WrapperClassEntry* kClasses = ListOf(AllWrapperClasses{});
constexpr size_t kClassCount = AllWrapperClasses::kCount;

struct Factory {
    std::vector<LuaControlWrapperFactoryFunction> installed;
    // The class-list decision per dynamic type: the list is fixed, so the
    // answer for a type never changes, and an event dispatch costs one hash
    // look-up however far down the list the node's class sits. Keyed by the
    // type_info's address: hashing that is free where hashing a type_index
    // hashes the type's name. One type may have more than one type_info
    // (one per shared object); each then gets the same decision.
    std::unordered_map<const std::type_info*, const WrapperClassEntry*> decided;
};

Factory& TheFactory()
{
    static Factory factory;
    return factory;
}

const WrapperClassEntry& Decide(const UI_Node& node)
{
    Factory& factory = TheFactory();
    const std::type_info* type = &typeid(node);
    if (auto it = factory.decided.find(type); it != factory.decided.end())
        return *it->second;
    const WrapperClassEntry* chosen = &kClasses[kClassCount - 1];
    for (size_t i = 0; i < kClassCount; ++i) {
        if (kClasses[i].matches(node)) {
            chosen = &kClasses[i];
            break;
        }
    }
    factory.decided.emplace(type, chosen);
    return *chosen;
}

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
            break;
    }
    if (!request->wrapper)
        request->wrapper = Decide(*node).push(node, L);
    // Every wrapper userdata of a node reaches the node's anchor, where its
    // references are parked while no tree holds it.
    if (LuaBindingTable* table = GetLuaBindingTable(*node, true))
        table->AnchorWrapper(L);
    return 1;
}

void CreateMetatable(lua_State* L, const WrapperMetatable& wrapper)
{
    if (!lua_checkstack(L, 2))
        throw utility::LuaError("Cannot grow stack for controls metatables");
    luaL_newmetatable(L, wrapper.name());
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    wrapper.registerMethods(L);
    lua_pop(L, 1);
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
    // The plain node's table comes last in the list: it marks that all
    // were made.
    for (size_t i = 0; i < kClassCount; ++i)
        CreateMetatable(L, *kClasses[i].metatable);
}

void PushControlMetatable(lua_State* L, const WrapperMetatable& wrapper,
                          const utility::InternedName& name)
{
    utility::PushRegistryEntry(L, name);
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        CreateControlMetatables(L);
        utility::PushRegistryEntry(L, name);
        // A class installed by another library is not in the list.
        if (lua_isnil(L, -1)) {
            lua_pop(L, 1);
            CreateMetatable(L, wrapper);
            utility::PushRegistryEntry(L, name);
        }
    }
}

} // namespace vyrlua::ui
