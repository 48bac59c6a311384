// What LuaAction and LuaStateRestorer share: a handler table held by a
// registry reference and called by method name from the top level.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::undo {

// The state an undo object was given, checked against the host's locator
// when one is registered: a closed (or replaced) state is never touched.
class HeldState {
public:
    explicit HeldState(lua_State* L);
    // The state, or null when it is gone.
    lua_State* Get() const;

private:
    lua_State* mL;
    KzDeferredLuaStateLocator mLocator;
};

// Calls table:method() for the table under registry reference `ref`, with the
// table as its only argument. Errors (a failing or missing method, a value
// that is no longer a table) are dropped. Then empties the stack when called
// at the top level (the undo service's case), else leaves it as it was
// (utility::EndHostCall).
void CallHandlerMethod(lua_State* L, int ref, const char* method);

// Creates (or reuses) the global table `name` with no functions, leaving the
// stack as found. Throws HostException when Lua refuses (the name holds a
// value that is not a table).
void RegisterNamespaceTable(lua_State* L, const char* name);

} // namespace vyrlua::undo
