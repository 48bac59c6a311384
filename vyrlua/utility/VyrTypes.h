// "vyrlua.vyrcore.vyrTypes": the platform flags scripts test masks with.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::utility {

// The running platform's flag. Windows is 1 and macOS 2; Linux, this host's
// platform, takes the next free bit.
constexpr int kVyrOSFlagWin = 1;
constexpr int kVyrOSFlagMac = 2;
constexpr int kVyrOSFlagLinux = 4;
constexpr int kVyrOSFlagThisOne = kVyrOSFlagLinux;
constexpr int kVyrOSFlagAll = -1;

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_vyrcore_vyrTypes(lua_State* L);
