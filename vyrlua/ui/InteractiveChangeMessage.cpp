#include "vyrlua/ui/InteractiveChangeMessage.h"

#include "vyrlua/utility/LuaBoundary.h"

#include <utility>

namespace vyrlua::ui {

void CreateInteractiveChangeMessageMetatable(lua_State* L)
{
    if (!lua_checkstack(L, 2))
        throw utility::LuaError("Cannot grow stack for message metatables");
    luaL_newmetatable(L, kInteractiveChangeMessageMetatable);
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    constexpr std::pair<const char*, int> kPhases[] = {
        {"beginChange", kBeginChange},
        {"continueChange", kContinueChange},
        {"finishChange", kFinishChange},
        {"cancelChange", kCancelChange},
    };
    for (auto [name, value] : kPhases) {
        lua_pushinteger(L, value);
        lua_setfield(L, -2, name);
    }
    lua_pop(L, 1);
}

} // namespace vyrlua::ui
