// Runs the control API tests written in Lua: every tests/ui/controls/*.lua
// returns a list of cases, {name, function} pairs, each a few lines of Lua
// and an assertion. A case fails by raising; its name and message are
// reported. The scripts see the host through `host`:
//   host.mouse(root, event)   the mouse event (global coordinates) through
//                             the node manager: hit-testing, capture, routing
//   host.key(event)           the keyboard event to the focused node
//   host.render(window)       draws the window once, as the host would
//   host.errors()             the texts the host's error service reported
#include "support/LuaFixture.h"

#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using vyrlua::utility::LuaBoundary;

std::vector<std::string>* gReported = nullptr;

int MouseBody(lua_State* L)
{
    vyrui::ui::UI_Node* root = vyrlua::ui::NodeAt(L, 1);
    auto event = vyrlua::ui::GetMouseEventFromLua(L, 2);
    if (!root || !event)
        throw vyrlua::utility::LuaError("host.mouse: a node and a mouse event");
    vyrui::ui::UI_Node::Ptr held(root);
    lua_pushboolean(L, vyrui::ui::UI_NodeManager::Get()->DispatchMouseEvent(*root, *event));
    return 1;
}

int KeyBody(lua_State* L)
{
    auto event = vyrlua::ui::GetKeyboardEventFromLua(L, 1);
    if (!event)
        throw vyrlua::utility::LuaError("host.key: a keyboard event");
    lua_pushboolean(L, vyrui::ui::UI_NodeManager::Get()->DispatchKeyboardEvent(*event));
    return 1;
}

int RenderBody(lua_State* L)
{
    auto* window = dynamic_cast<vyrui::ui::OS_Window*>(vyrlua::ui::NodeAt(L, 1));
    if (!window)
        throw vyrlua::utility::LuaError("host.render: a window");
    vyrui::ui::UI_Node::Ptr held(window);
    lua_pushboolean(L, window->RenderToSurface() != nullptr);
    return 1;
}

int ErrorsBody(lua_State* L)
{
    lua_createtable(L, 0, 0);
    for (size_t i = 0; gReported && i < gReported->size(); ++i) {
        lua_pushlstring(L, (*gReported)[i].data(), (*gReported)[i].size());
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    return 1;
}

const luaL_Reg kHost[] = {
    {"mouse", LuaBoundary<MouseBody>},
    {"key", LuaBoundary<KeyBody>},
    {"render", LuaBoundary<RenderBody>},
    {"errors", LuaBoundary<ErrorsBody>},
    {nullptr, nullptr},
};

std::vector<std::string> Scripts()
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(VYRLUA_CONTROL_SCRIPTS))
        if (entry.path().extension() == ".lua")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Runs each case of the list on top; failures as "name: message".
int RunCases(lua_State* L)
{
    int list = lua_gettop(L);
    lua_newtable(L);
    int failures = lua_gettop(L);
    int count = 0;
    for (int i = 1;; ++i) {
        lua_rawgeti(L, list, i);
        if (lua_isnil(L, -1))
            break;
        lua_rawgeti(L, -1, 1);
        lua_rawgeti(L, -2, 2);
        if (lua_pcall(L, 0, 0, 0) != 0) {
            lua_pushfstring(L, "%s: %s", lua_tostring(L, -2), lua_tostring(L, -1));
            lua_rawseti(L, failures, ++count);
            lua_pop(L, 1);
        }
        lua_pop(L, 2);
    }
    lua_pop(L, 1);
    return 1;
}

class ControlScript : public vyrtest::LuaTest, public ::testing::WithParamInterface<std::string> {
};

TEST_P(ControlScript, Cases)
{
    gReported = &reportedErrors;
    luaL_register(L(), "host", kHost);
    lua_pop(L(), 1);
    const std::string path = std::string(VYRLUA_CONTROL_SCRIPTS) + "/" + GetParam() + ".lua";
    ASSERT_EQ(luaL_loadfile(L(), path.c_str()), 0) << lua_tostring(L(), -1);
    ASSERT_EQ(lua_pcall(L(), 0, 1, 0), 0) << lua_tostring(L(), -1);
    ASSERT_TRUE(lua_istable(L(), -1)) << path << " returns no list of cases";
    lua_pushcfunction(L(), RunCases);
    lua_insert(L(), -2);
    ASSERT_EQ(lua_pcall(L(), 1, 1, 0), 0) << lua_tostring(L(), -1);
    for (int i = 1;; ++i) {
        lua_rawgeti(L(), -1, i);
        if (lua_isnil(L(), -1))
            break;
        ADD_FAILURE() << lua_tostring(L(), -1);
        lua_pop(L(), 1);
    }
    lua_settop(L(), 0);
    gReported = nullptr;
}

INSTANTIATE_TEST_SUITE_P(Controls, ControlScript, ::testing::ValuesIn(Scripts()),
                         [](const auto& info) { return info.param; });

} // namespace
