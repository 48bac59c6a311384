// Where the library and the shared Lua scripts are found.
#pragma once

#include "vyrcore/filesupport.h"
#include "vyrlua/utility/LuaApi.h"

#include <string>

namespace vyrlua::exo {

// Appends "<application directory>/?.so" to package.cpath, so that any
// "vyrlua." module is found in this library next to the program.
void AddAppDirToLuaCPath(lua_State* L);

} // namespace vyrlua::exo

namespace vyr::lua::utility {

// The directory of the shared Lua scripts joined with `subfolder`; an empty
// directory when none exists. The directory is found once (again when
// `recompute` is true) from, in order: the host's override directories, the
// folder holding this library, and the application's
// "Frameworks/vyrlua.framework".
vyrcore::filesupport::Dir GetCommonLuaScriptsDir(const std::string& subfolder, bool recompute);

// Host overrides consulted first, in slot order 0, 1, 2 (empty to unset).
void SetCommonLuaScriptsDirOverride(int slot, const vyrcore::filesupport::Dir& dir);

} // namespace vyr::lua::utility
