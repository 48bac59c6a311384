#include "app/Inspect.h"

#include "app/HostRuntime.h"
#include "app/InputModule.h"
#include "vyrcore/config.h"
#include "vyrlua/ui/LuaBinder.h"
#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/VyrBinder.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaProtectedCall.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <vector>

namespace vyrhost {

namespace {

using vyrlua::utility::LuaBoundary;
using vyrui::ui::UI_Node;

struct Facts {
    std::string metatable;
    std::string theme;
    std::vector<std::string> operations;
};

// The registry's name for the metatable of the value at `index`; empty
// when it has none there. Raw walk: nothing allocates.
std::string MetatableName(lua_State* L, int index)
{
    std::string name;
    if (!lua_getmetatable(L, index))
        return name;
    const int meta = lua_gettop(L);
    lua_pushnil(L);
    while (lua_next(L, LUA_REGISTRYINDEX) != 0) {
        if (lua_type(L, -2) == LUA_TSTRING && lua_rawequal(L, -1, meta))
            name = lua_tostring(L, -2);
        lua_pop(L, 1);
    }
    lua_settop(L, meta - 1);
    return name;
}

// Pushes the facts as a table; protected, holds nothing with a destructor.
int PushFacts(lua_State* L)
{
    const auto* facts = static_cast<const Facts*>(lua_touserdata(L, 1));
    lua_createtable(L, 0, 3);
    lua_pushstring(L, facts->metatable.c_str());
    lua_setfield(L, -2, "metatable");
    lua_pushstring(L, facts->theme.c_str());
    lua_setfield(L, -2, "theme");
    lua_createtable(L, static_cast<int>(facts->operations.size()), 0);
    for (size_t i = 0; i < facts->operations.size(); ++i) {
        lua_pushstring(L, facts->operations[i].c_str());
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_setfield(L, -2, "operations");
    return 1;
}

// facts(node): what only the host knows of a node.
int FactsBody(lua_State* L)
{
    Facts facts;
    {
        UI_Node::Ptr node = CheckNode(L, 1);
        facts.theme = vyrui::ui::ResolvedTheme(*node).GetName();
        vyrlua::ui::LuaBindingTable* table = vyrlua::ui::GetLuaBindingTable(*node, false);
        if (table && table->GetBinder())
            for (const auto& [operation, function] : table->GetBinder()->Operations())
                facts.operations.push_back(operation);
    }
    facts.metatable = MetatableName(L, 1);
    vyrlua::utility::PushFromProtectedCall(L, PushFacts, &facts);
    return 1;
}

struct Windows {
    std::vector<UI_Node::Ptr> nodes;
};

int PushWindows(lua_State* L)
{
    const auto* windows = static_cast<const Windows*>(lua_touserdata(L, 1));
    lua_createtable(L, static_cast<int>(windows->nodes.size()), 0);
    int n = 0;
    for (const UI_Node::Ptr& node : windows->nodes) {
        if (vyrlua::ui::LuaControlWrapperFactory(node, L))
            lua_rawseti(L, -2, ++n);
    }
    return 1;
}

// windows(): the shown top-level windows, in creation order.
int WindowsBody(lua_State* L)
{
    Windows windows;
    if (auto* manager = vyrui::ui::UI_NodeManager::Get(false)) {
        for (const UI_Node::Ptr& node : manager->GetWindows()) {
            auto* window = dynamic_cast<vyrui::ui::OS_Window*>(node.get());
            if (window && !window->UI_GetParentNode() && window->UI_IsShown())
                windows.nodes.push_back(node);
        }
    }
    vyrlua::utility::PushFromProtectedCall(L, PushWindows, &windows);
    return 1;
}

const luaL_Reg kHostFunctions[] = {
    {"facts", LuaBoundary<FactsBody>},
    {"windows", LuaBoundary<WindowsBody>},
    {nullptr, nullptr},
};

int OpenInspect(lua_State* L)
{
    return RequireWithHostFunctions(L, "vyrlua.host.inspect", kHostFunctions);
}

int DumpBody(lua_State* L)
{
    lua_getglobal(L, "require");
    lua_pushliteral(L, "vyrhost.inspect");
    lua_call(L, 1, 1);
    lua_getfield(L, -1, "dump");
    lua_call(L, 0, 1);
    return 1;
}

} // namespace

void PreloadInspectModule(lua_State* L)
{
    vyrlua::SetPreloadedModule(L, "vyrhost.inspect", LuaBoundary<OpenInspect>);
}

std::string DumpWindowTrees(lua_State* L)
{
    lua_pushcfunction(L, LuaBoundary<DumpBody>);
    vyrlua::utility::CallLuaFromCpp(L, 0, 1);
    size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    std::string result(text ? text : "", text ? length : 0);
    lua_pop(L, 1);
    return result;
}

} // namespace vyrhost
