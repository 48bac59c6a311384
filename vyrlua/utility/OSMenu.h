// "vyrlua.OSMenu": the application's menus (exo::app::PlatformMenu) as Lua
// objects of kind "vyrlua.OSMenu", with the global table "OSMenu".
#pragma once

#include "exo/app/PlatformMenu.h"
#include "vyrlua/utility/LuaApi.h"

#include <functional>

extern "C" int luaopen_vyrlua_OSMenu(lua_State* L);

namespace vyrlua::utility {

inline constexpr char kOSMenuMetatable[] = "vyrlua.OSMenu";

// Pushes an OS menu object for the platform menu `make` returns (made after
// the userdata, so a failing allocation strands nothing), or nil for null.
int CreateOSMenuFromPlatformMenu(lua_State* L,
                                 const std::function<::exo::app::PlatformMenuPtr()>& make);

} // namespace vyrlua::utility
