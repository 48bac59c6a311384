// The host kernel: owns the host's Lua state and the few Lua services the
// scripting library relies on (chunk loading from memory, the protected-call
// hook, the deferred Lua state locator).
#pragma once

#include <cstddef>

extern "C" {
#include <lua.h>
#include <lauxlib.h>
#include <lualib.h>
}

// Function the kernel wants run protected, and the hook that runs it.
using KzProtectedFunction = void (*)(lua_State*, void*);
using KzRunProtectedCallHook = int (*)(lua_State*, KzProtectedFunction, void*);

// Returns the live host state, or null once it is closed.
using KzDeferredLuaStateLocator = lua_State* (*)();

// Creates the host's state with the standard libraries open. Only one host
// state lives at a time; creating a second while one is open returns null.
lua_State* KzKernel_NewLuaState();
// The same with the state's memory coming from `allocator` (lua_newstate).
// Null when the Lua in use refuses a custom allocator (LuaJIT on 64-bit
// targets may) or when a host state is already open.
lua_State* KzKernel_NewLuaStateWithAllocator(lua_Alloc allocator, void* data);
// Closes the state made by KzKernel_NewLuaState; safe to call with null.
void KzKernel_CloseLuaState(lua_State* L);
// The locator the host registers: the open host state or null.
lua_State* KzKernel_CurrentLuaState();
// Name of the Lua the kernel is linked with ("Lua 5.1" or "LuaJIT 2.1").
const char* KzKernel_LuaName();

// Stores `locator` in the registry under "dlsl-fn" as a full userdata
// holding the function pointer.
void RegisterDeferredLuaStateLocator(lua_State* L, KzDeferredLuaStateLocator locator);
// Whether `locator` is a value RegisterDeferredLuaStateLocator stored: what
// the registry holds under "dlsl-fn" is called only when it is (scripts can
// reach the registry through the debug library and plant anything there).
bool KzKernel_IsRegisteredLuaStateLocator(KzDeferredLuaStateLocator locator);

// Compiles `length` bytes of Lua source named `chunkName`. Expects the
// environment table for the chunk on top of the stack; replaces it with the
// compiled function. A compile error is raised as a Lua error.
void KzLua_loadChunkFromBuffer(lua_State* L, const char* bytes, std::size_t length,
                               const char* chunkName);

// Installs the process-wide hook through which the kernel runs its
// protected calls; null restores the plain run.
void KzExceptions_setRunProtectedCallHook(KzRunProtectedCallHook hook);
KzRunProtectedCallHook KzExceptions_getRunProtectedCallHook();
// Runs fn(L, ud) through the hook. Returns 0 on success; a non-zero status
// is what the hook reported (an exception turned into an error).
int KzExceptions_runProtected(lua_State* L, KzProtectedFunction fn, void* ud);

// Pushes the line-coverage support for scripts: a table of functions
// start(), stop(), reset(), isRunning(), getCoverage() ({[source] = {[line]
// = count}}) and getLcov([testName]) (an LCOV tracefile of the chunks loaded
// from files). Counts are process-wide.
void KrLuaCoverage_push(lua_State* L);
