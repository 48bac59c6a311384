#include "vyrlua/ui/KeyboardUtils.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/events/KeyCodes.h"

namespace vyrlua::ui {

namespace {

using namespace vyrui::events;

// (text) -> key code of its first character, or nothing.
int GetKeyboardCodeValueFromFirstCharacterBody(lua_State* L)
{
    std::string_view text = utility::CheckLString(L, 1);
    if (text.empty())
        return 0;
    std::optional<KeyCode> code = KeyCodeFromCharacter(text.front());
    if (!code)
        return 0;
    lua_pushinteger(L, *code);
    return 1;
}

// (name) -> key code of a control key ("Enter", "Left", "F3"), or nothing.
int GetKeyboardCodeValueFromControlCodeBody(lua_State* L)
{
    std::optional<KeyCode> code = KeyCodeFromName(utility::CheckLString(L, 1));
    if (!code)
        return 0;
    lua_pushinteger(L, *code);
    return 1;
}

// (code) -> printable text of the key ("A", ";", "Enter"), or nothing.
int GetPrintableStringFromKeyboardCodeBody(lua_State* L)
{
    lua_Integer code = utility::CheckInteger(L, 1);
    std::string name = code >= INT32_MIN && code <= INT32_MAX
                           ? KeyCodeName(static_cast<int32_t>(code))
                           : std::string();
    if (name.empty())
        return 0;
    lua_pushlstring(L, name.data(), name.size());
    return 1;
}

const luaL_Reg kKeyboardUtilsFunctions[] = {
    {"getKeyboardCodeValueFromFirstCharacter",
     utility::LuaBoundary<GetKeyboardCodeValueFromFirstCharacterBody>},
    {"getKeyboardCodeValueFromControlCode",
     utility::LuaBoundary<GetKeyboardCodeValueFromControlCodeBody>},
    {"getPrintableStringFromKeyboardCode",
     utility::LuaBoundary<GetPrintableStringFromKeyboardCodeBody>},
    {nullptr, nullptr},
};

int OpenKeyboardUtilsBody(lua_State* L)
{
    return RegisterModule(L, kKeyboardUtilsFunctions);
}

} // namespace

int OpenKeyboardUtils(lua_State* L)
{
    return utility::LuaBoundary<OpenKeyboardUtilsBody>(L);
}

} // namespace vyrlua::ui
