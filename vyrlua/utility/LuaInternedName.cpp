#include "vyrlua/utility/LuaInternedName.h"

namespace vyrlua::utility::detail {

void InternName(lua_State* L, const InternedName& name)
{
    lua_pushlstring(L, name.CStr(), name.Length());
    lua_pushlightuserdata(L, const_cast<InternedName*>(&name));
    lua_pushvalue(L, -2);
    lua_rawset(L, LUA_REGISTRYINDEX);
}

} // namespace vyrlua::utility::detail
