// Library entry: the master opener, module registration helpers and the
// start-up and call-into-Lua entry points the host calls.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>

extern "C" {
// require "vyrlua": the global tables vyrlua (with numeric) and vyrString.
int luaopen_vyrlua(lua_State* L);
// require "vyrlua.EmbeddedCodeLoader": the resource loader function.
int luaopen_vyrlua_EmbeddedCodeLoader(lua_State* L);
}

namespace vyrlua {

// A new table holding `functions`; returns 1.
int RegisterModule(lua_State* L, const luaL_Reg* functions);
// A class module's metatable: luaL_newmetatable(name) (new or existing),
// made its own __index, with `methods` registered into it. Leaves the stack
// as it was.
void RegisterMetatable(lua_State* L, const char* name, const luaL_Reg* methods);
// Sets the integer constant `name` on the table on top.
void SetIntegerField(lua_State* L, const char* name, lua_Integer value);
// package.preload[name] = opener.
void SetPreloadedModule(lua_State* L, const char* name, lua_CFunction opener);
// Preloads the modules that have no opener of their own ("vyrlua.keyboardUtils").
void PreloadLuaModules(lua_State* L);
// require(name) through CallLuaFromCpp; with keepResult the module stays on top.
void RequireLuaModule(lua_State* L, const char* name, bool keepResult);
// Leaves require(module)[function] on the stack, ready for arguments.
void PrepareLuaModuleCall(lua_State* L, const char* module, const char* function);
// Installs the kernel's protected-call hook for the process.
void InitLua(lua_State* L);
// Inserts the resource loader into package.loaders: at 2 (before Lua files
// on disk) when embeddedFirst, else at 3 (before the C searchers).
void InitEmbeddedCodeLoader(lua_State* L, bool embeddedFirst);
// A full collection through the script-visible collectgarbage.
void CollectLuaGarbage(lua_State* L);
// String arguments as luaL_checklstring reads them (ArgumentError otherwise).
std::string GetUTF8Arg(lua_State* L, int index);
std::u16string GetUTF16Arg(lua_State* L, int index);

} // namespace vyrlua
