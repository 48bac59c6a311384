// "vyrlua.proplist": property lists (vyrcore/PropList.h) as Lua objects of
// kind "vyrlua.core.PropList", with the global table "PropList".
#pragma once

#include "vyrcore/PropList.h"
#include "vyrlua/utility/LuaApi.h"

#include <functional>

extern "C" int luaopen_vyrlua_proplist(lua_State* L);

namespace vyrlua::utility {

inline constexpr char kPropListMetatable[] = "vyrlua.core.PropList";

// Pushes a property-list object for what `make` returns (made after the
// userdata, so a failing allocation strands nothing), or nil for null.
int PushPropList(lua_State* L, const std::function<vyrcore::proplist::PropListPtr()>& make);

} // namespace vyrlua::utility
