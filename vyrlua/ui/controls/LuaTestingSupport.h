// "luaTestingSupport": makes a control behave as if the user had changed
// it, so the same notifications reach a script's callbacks.
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_luaTestingSupport(lua_State* L);

namespace vyrlua::ui {

class LuaTestingSupport {
public:
    // Registers the module table "luaTestingSupport"; returns 1.
    static int InitLua(lua_State* L);
};

} // namespace vyrlua::ui
