// "vyrlua.guid": new GUIDs for scripts (guid.GenerateGuid()).
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_guid(lua_State* L);
