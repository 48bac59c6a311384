#include "vyrlua/ui/LuaUINodeModule.h"

#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/skins/Skins.h"
#include "vyrui/ui/UI_NodeManager.h"

namespace vyrlua::ui {

namespace {

using vyrui::ui::UI_NodeManager;

int TextEditControlHasFocusBody(lua_State* L)
{
    lua_pushboolean(L, vyrui::ui::UI_Node::UI_TextEditControlHasFocus());
    return 1;
}

int GetKeyboardFocusLeafNodeBody(lua_State* L)
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    if (!manager)
        return 0;
    return LuaControlWrapperFactory(manager->GetKeyboardFocusLeafNode(), L) ? 1 : 0;
}

int GetPreviousKeyboardFocusNodeBody(lua_State* L)
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    if (!manager)
        return 0;
    return LuaControlWrapperFactory(manager->GetPreviousKeyboardFocusNode(), L) ? 1 : 0;
}

int IsRunningV7OrBeyondBody(lua_State* L)
{
    lua_pushboolean(L, vyrui::skins::IsRunningV7OrBeyond());
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"UI_TextEditControlHasFocus", utility::LuaBoundary<TextEditControlHasFocusBody>},
    {"UI_GetKeyboardFocusLeafNode", utility::LuaBoundary<GetKeyboardFocusLeafNodeBody>},
    {"UI_GetPreviousKeyboardFocusNode", utility::LuaBoundary<GetPreviousKeyboardFocusNodeBody>},
    {"UI_IsRunningV7OrBeyond", utility::LuaBoundary<IsRunningV7OrBeyondBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    OpenUIEvents(L);
    return RegisterModule(L, kFunctions);
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_vyrUINode(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
