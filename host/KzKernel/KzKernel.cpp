#include "KzKernel/KzKernel.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {

// The one host state; the locator answers with it until it is closed.
std::atomic<lua_State*> gHostState{nullptr};
std::atomic<KzRunProtectedCallHook> gProtectedCallHook{nullptr};

constexpr const char* kLocatorKey = "dlsl-fn";

// Every locator ever registered (a handful at most).
std::mutex gLocatorsMutex;
std::vector<KzDeferredLuaStateLocator>& RegisteredLocators()
{
    static auto* locators = new std::vector<KzDeferredLuaStateLocator>();
    return *locators;
}

} // namespace

namespace {

int OpenLibraries(lua_State* L)
{
    luaL_openlibs(L);
    return 0;
}

// What luaL_newstate installs, for states made with another allocator.
int Panic(lua_State* L)
{
    const char* message = lua_tostring(L, -1);
    std::fprintf(stderr, "PANIC: unprotected error in call to Lua API (%s)\n",
                 message ? message : "?");
    return 0;
}

lua_State* AdoptNewState(lua_State* L)
{
    if (L == nullptr)
        return nullptr;
    lua_atpanic(L, Panic);
    // Protected: with a failing allocator, opening the libraries may run out
    // of memory, and that must not end the process.
    if (lua_cpcall(L, OpenLibraries, nullptr) != 0) {
        lua_close(L);
        return nullptr;
    }
    gHostState.store(L);
    return L;
}

} // namespace

lua_State* KzKernel_NewLuaState()
{
    if (gHostState.load() != nullptr)
        return nullptr;
    return AdoptNewState(luaL_newstate());
}

lua_State* KzKernel_NewLuaStateWithAllocator(lua_Alloc allocator, void* data)
{
    if (gHostState.load() != nullptr)
        return nullptr;
    return AdoptNewState(lua_newstate(allocator, data));
}

void KzKernel_CloseLuaState(lua_State* L)
{
    if (L == nullptr)
        return;
    // Cleared first: __gc metamethods that run during lua_close must already
    // see the state as gone, so nothing calls back into a dying state.
    lua_State* expected = L;
    gHostState.compare_exchange_strong(expected, nullptr);
    lua_close(L);
}

lua_State* KzKernel_CurrentLuaState()
{
    return gHostState.load();
}

const char* KzKernel_LuaName()
{
    return VYRLUA_LUA_NAME;
}

bool KzKernel_IsRegisteredLuaStateLocator(KzDeferredLuaStateLocator locator)
{
    std::lock_guard<std::mutex> lock(gLocatorsMutex);
    const auto& locators = RegisteredLocators();
    return locator != nullptr &&
           std::find(locators.begin(), locators.end(), locator) != locators.end();
}

void RegisterDeferredLuaStateLocator(lua_State* L, KzDeferredLuaStateLocator locator)
{
    {
        // Recorded before anything can raise: a recorded locator that never
        // reached the registry is harmless.
        std::lock_guard<std::mutex> lock(gLocatorsMutex);
        auto& locators = RegisteredLocators();
        if (std::find(locators.begin(), locators.end(), locator) == locators.end())
            locators.push_back(locator);
    }
    lua_pushlstring(L, kLocatorKey, 7);
    auto* block = static_cast<KzDeferredLuaStateLocator*>(
        lua_newuserdata(L, sizeof(KzDeferredLuaStateLocator)));
    *block = locator;
    lua_settable(L, LUA_REGISTRYINDEX);
}

void KzLua_loadChunkFromBuffer(lua_State* L, const char* bytes, std::size_t length,
                               const char* chunkName)
{
    if (luaL_loadbuffer(L, bytes, length, chunkName) != 0) {
        lua_remove(L, -2); // the environment table
        lua_error(L);
    }
    lua_pushvalue(L, -2);
    lua_setfenv(L, -2);
    lua_remove(L, -2);
}

void KzExceptions_setRunProtectedCallHook(KzRunProtectedCallHook hook)
{
    gProtectedCallHook.store(hook);
}

KzRunProtectedCallHook KzExceptions_getRunProtectedCallHook()
{
    return gProtectedCallHook.load();
}

int KzExceptions_runProtected(lua_State* L, KzProtectedFunction fn, void* ud)
{
    if (KzRunProtectedCallHook hook = gProtectedCallHook.load())
        return hook(L, fn, ud);
    fn(L, ud);
    return 0;
}
