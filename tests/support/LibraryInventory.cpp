#include "support/LibraryInventory.h"

#include "app/HostRuntime.h"
#include "app/LibraryExports.h"
#include "vyrlua/utility/LuaModules.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>

namespace vyrtest {

namespace {

constexpr const char* kModulesKey = "vyrtest.modules";

// A fresh host state for one opener.
std::unique_ptr<vyrhost::HostRuntime> FreshRuntime()
{
    return std::make_unique<vyrhost::HostRuntime>();
}

std::set<std::string> StringKeys(lua_State* L, int index)
{
    std::vector<std::string> keys = vyrhost::StringKeys(L, index);
    return {keys.begin(), keys.end()};
}

struct Found {
    Location location;
    lua_CFunction function;
    bool method;
    std::string metatable;
};

// Records the C functions of the table on top, and those of tables nested one
// level deeper (vyrlua.numeric), sorted by key so the order is stable.
void CollectFunctions(lua_State* L, const Location& base, bool method, std::vector<Found>& out,
                      int depth = 0)
{
    const int table = lua_gettop(L);
    std::set<std::string> keys = StringKeys(L, table);
    for (const std::string& key : keys) {
        lua_getfield(L, table, key.c_str());
        Location location = base;
        location.keys.push_back(key);
        if (lua_iscfunction(L, -1)) {
            out.push_back({location, lua_tocfunction(L, -1), method,
                           method ? base.owner : std::string()});
        } else if (lua_istable(L, -1) && depth == 0 && !lua_rawequal(L, -1, table)) {
            CollectFunctions(L, location, method, out, depth + 1);
        }
        lua_pop(L, 1);
    }
}

std::string LabelOf(const Location& location, bool method)
{
    std::string label = location.owner;
    for (size_t i = 0; i < location.keys.size(); ++i)
        label += (method && i == 0 ? ":" : ".") + location.keys[i];
    return label;
}

// Runs one opener in a fresh state and diffs the registry and the globals.
OpenerResult Explore(const Opener& opener, std::vector<Found>& found)
{
    OpenerResult result;
    result.opener = opener;
    auto runtime = FreshRuntime();
    lua_State* L = runtime->State();
    lua_settop(L, 0);
    std::set<std::string> registryBefore = StringKeys(L, LUA_REGISTRYINDEX);
    std::set<std::string> globalsBefore = StringKeys(L, LUA_GLOBALSINDEX);

    lua_pushcfunction(L, opener.function);
    lua_pushstring(L, opener.name.c_str());
    if (lua_pcall(L, 1, 1, 0) != 0) {
        result.error = lua_isstring(L, -1) ? lua_tostring(L, -1) : "(non-string error)";
        return result;
    }
    result.resultType = lua_typename(L, lua_type(L, -1));
    Location moduleRoot{Location::Root::Module, opener.name, {}};
    if (lua_istable(L, -1)) {
        CollectFunctions(L, moduleRoot, false, found);
    } else if (lua_iscfunction(L, -1)) {
        found.push_back({moduleRoot, lua_tocfunction(L, -1), false, {}});
    }
    lua_settop(L, 0);

    for (const std::string& key : StringKeys(L, LUA_GLOBALSINDEX)) {
        if (globalsBefore.count(key))
            continue;
        result.newGlobals.push_back(key);
        lua_getfield(L, LUA_GLOBALSINDEX, key.c_str());
        if (lua_istable(L, -1))
            CollectFunctions(L, {Location::Root::Global, key, {}}, false, found);
        lua_pop(L, 1);
    }
    for (const std::string& key : StringKeys(L, LUA_REGISTRYINDEX)) {
        if (registryBefore.count(key))
            continue;
        lua_getfield(L, LUA_REGISTRYINDEX, key.c_str());
        if (lua_istable(L, -1)) {
            result.newMetatables.push_back(key);
            CollectFunctions(L, {Location::Root::Metatable, key, {}}, true, found);
        }
        lua_pop(L, 1);
    }
    return result;
}

// The shared object that holds `function`.
std::string ObjectOf(lua_CFunction function)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(function), &info) == 0 || info.dli_fname == nullptr)
        return {};
    return info.dli_fname;
}

// Entries of package.preload whose function is this library's, as openers
// (not the host program's own, nor LuaJIT's ffi, which scripts may not
// have and which writes into any userdata by design).
std::vector<Opener> PreloadedOpeners(const std::string& libraryPath)
{
    std::vector<Opener> openers;
    auto runtime = FreshRuntime();
    lua_State* L = runtime->State();
    lua_getfield(L, LUA_GLOBALSINDEX, "package");
    lua_getfield(L, -1, "preload");
    for (const std::string& name : StringKeys(L, lua_gettop(L))) {
        lua_getfield(L, -1, name.c_str());
        if (lua_iscfunction(L, -1) && ObjectOf(lua_tocfunction(L, -1)) == libraryPath)
            openers.push_back({name, {}, lua_tocfunction(L, -1)});
        lua_pop(L, 1);
    }
    lua_settop(L, 0);
    return openers;
}

} // namespace

size_t Inventory::FunctionCount() const
{
    return std::count_if(callables.begin(), callables.end(),
                         [](const Callable& c) { return !c.method; });
}

size_t Inventory::MethodCount() const
{
    return callables.size() - FunctionCount();
}

std::vector<Opener> ExportedOpeners(std::string* libraryPath)
{
    std::vector<Opener> openers;
    for (const vyrhost::ExportedOpener& o : vyrhost::ExportedOpeners(libraryPath))
        openers.push_back({o.name, o.symbol, o.function});
    return openers;
}

const Inventory& SharedInventory()
{
    static const Inventory inventory = TakeInventory();
    return inventory;
}

Inventory TakeInventory()
{
    Inventory inventory;
    std::vector<Opener> openers = ExportedOpeners(&inventory.libraryPath);
    for (Opener& preloaded : PreloadedOpeners(inventory.libraryPath)) {
        bool exported = std::any_of(openers.begin(), openers.end(), [&](const Opener& o) {
            return o.function == preloaded.function;
        });
        if (!exported)
            openers.push_back(preloaded);
    }

    std::vector<Found> found;
    std::set<std::string> metatables;
    for (const Opener& opener : openers) {
        inventory.openers.push_back(Explore(opener, found));
        for (const std::string& name : inventory.openers.back().newMetatables)
            metatables.insert(name);
    }
    inventory.metatables.assign(metatables.begin(), metatables.end());

    // One callable per distinct function; a method is told apart from a
    // module function of the same C function, since self changes the call.
    std::map<std::pair<lua_CFunction, bool>, size_t> index;
    for (const Found& f : found) {
        auto key = std::make_pair(f.function, f.method);
        auto it = index.find(key);
        if (it == index.end()) {
            Callable callable;
            callable.label = LabelOf(f.location, f.method);
            callable.function = f.function;
            callable.method = f.method;
            it = index.emplace(key, inventory.callables.size()).first;
            inventory.callables.push_back(std::move(callable));
        }
        Callable& callable = inventory.callables[it->second];
        callable.locations.push_back(f.location);
        if (f.method && std::find(callable.metatables.begin(), callable.metatables.end(),
                                  f.metatable) == callable.metatables.end())
            callable.metatables.push_back(f.metatable);
    }
    return inventory;
}

std::vector<std::string> OpenAll(lua_State* L, const Inventory& inventory)
{
    std::vector<std::string> errors;
    const int top = lua_gettop(L);
    lua_newtable(L);
    for (const OpenerResult& o : inventory.openers) {
        lua_pushcfunction(L, o.opener.function);
        lua_pushstring(L, o.opener.name.c_str());
        if (lua_pcall(L, 1, 1, 0) != 0) {
            errors.push_back(o.opener.name + ": " +
                             (lua_isstring(L, -1) ? lua_tostring(L, -1) : "(non-string error)"));
            lua_pop(L, 1);
            continue;
        }
        lua_setfield(L, top + 1, o.opener.name.c_str());
    }
    lua_setfield(L, LUA_REGISTRYINDEX, kModulesKey);
    lua_settop(L, top);
    return errors;
}

void PushCallable(lua_State* L, const Callable& callable)
{
    const int top = lua_gettop(L);
    for (const Location& location : callable.locations) {
        switch (location.root) {
        case Location::Root::Module:
            lua_getfield(L, LUA_REGISTRYINDEX, kModulesKey);
            if (lua_istable(L, -1))
                lua_getfield(L, -1, location.owner.c_str());
            break;
        case Location::Root::Global:
            lua_getfield(L, LUA_GLOBALSINDEX, location.owner.c_str());
            break;
        case Location::Root::Metatable:
            lua_getfield(L, LUA_REGISTRYINDEX, location.owner.c_str());
            break;
        }
        for (const std::string& key : location.keys) {
            if (!lua_istable(L, -1))
                break;
            lua_pushstring(L, key.c_str());
            lua_rawget(L, -2);
        }
        if (lua_iscfunction(L, -1) && lua_tocfunction(L, -1) == callable.function) {
            lua_replace(L, top + 1);
            lua_settop(L, top + 1);
            return;
        }
        lua_settop(L, top);
    }
    lua_pushnil(L);
}

} // namespace vyrtest
