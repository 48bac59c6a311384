// "vyrlua.exo.app": the application object for scripts (global "App",
// handles of kind "vyrlua.exo.App").
#pragma once

#include "exo/app/App.h"
#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_exo_app(lua_State* L);

namespace vyrlua::exo {

inline constexpr char kAppMetatable[] = "vyrlua.exo.App";

// Pushes a handle holding `app` (null gives a handle whose methods do
// nothing, and whose preference calls raise the host assertion).
int PushAppToLua(lua_State* L, ::exo::app::App* app);

} // namespace vyrlua::exo
