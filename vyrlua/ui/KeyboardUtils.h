// The preloaded "vyrlua.keyboardUtils" module: key codes from characters and
// control names, and printable names of key codes.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::ui {

// Opener registered in package.preload by PreloadLuaModules.
int OpenKeyboardUtils(lua_State* L);

} // namespace vyrlua::ui
