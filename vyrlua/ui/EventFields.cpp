#include "vyrlua/ui/EventFields.h"

#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaStack.h"

#include <string>
#include <string_view>

namespace vyrlua::ui {

void RefuseUnknownFields(lua_State* L, int index, const char* who, EventFieldNames fields)
{
    if (lua_type(L, index) != LUA_TTABLE)
        return;
    index = utility::AbsoluteIndex(L, index);
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING) {
            std::string type = lua_typename(L, lua_type(L, -1));
            lua_pop(L, 1);
            throw utility::LuaError(std::string(who) + ": unknown field of type " + type +
                                    " (fields have names)");
        }
        size_t length = 0;
        const char* key = lua_tolstring(L, -1, &length);
        std::string_view name(key, length);
        bool known = false;
        for (const char* field : fields)
            known = known || name == field;
        if (!known) {
            std::string message = std::string(who) + ": unknown field '" + std::string(name) +
                                  "' (fields: ";
            const char* separator = "";
            for (const char* field : fields) {
                message += separator;
                message += field;
                separator = ", ";
            }
            lua_pop(L, 1);
            throw utility::LuaError(message + ")");
        }
    }
}

} // namespace vyrlua::ui
