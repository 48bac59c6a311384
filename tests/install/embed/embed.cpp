// Embeds vyrlua the way docs/embedding.md describes: the application object,
// the host state, the start-up order, a script, and a host event delivered
// to the script's handler.
#include "exo/app/App.h"
#include "vyrcore/filesupport.h"
#include "vyrlua/exo/src/LuaAppPaths.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <cstdio>

namespace {

// The start-up order, run protected (a Lua error must not unwind C++ frames).
int StartUp(lua_State* L)
{
    RegisterDeferredLuaStateLocator(L, KzKernel_CurrentLuaState);
    vyrlua::InitLua(L);
    lua_pushcfunction(L, luaopen_vyrlua);
    lua_pushliteral(L, "vyrlua");
    lua_call(L, 1, 1);
    lua_getglobal(L, "package");
    lua_getfield(L, -1, "loaded");
    lua_pushvalue(L, -3);
    lua_setfield(L, -2, "vyrlua");
    lua_pop(L, 3);
    vyrlua::PreloadLuaModules(L);
    vyrlua::SetPreloadedModule(L, "vyrlua.EmbeddedCodeLoader", luaopen_vyrlua_EmbeddedCodeLoader);
    vyrlua::InitEmbeddedCodeLoader(L, true);
    vyrlua::exo::AddAppDirToLuaCPath(L);
    // The application's value constructors (here: the ones vyrlua-host ships).
    vyrlua::RequireLuaModule(L, "vyrlua.host.valuetypes", false);
    return 0;
}

const char* kScript = R"(
    package.cpath = MODULE_DIR .. '/?.so;' .. package.cpath
    require 'vyrlua.vyrcontrols'
    window = vyrcontrols.NewWindow('embedded', vyrlua_CreateNewRectF32(0, 0, 100, 50), 'Embedded')
    local button = vyrcontrols.NewNode('button', vyrlua_CreateNewRectF32(10, 10, 30, 20))
    window:ChildPushBack(button)
    button:BindVyrOperation('OnDoMouseEvent', function(e)
      if e.type == 'down' then print('clicked at', e.x, e.y) end
      return true
    end)
)";

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: embed RESOURCE_DIR MODULE_DIR\n");
        return 2;
    }
    exo::app::App app;
    app.SetResourceDirectory(vyrcore::filesupport::Dir::FromUTF8(argv[1]));
    lua_State* L = KzKernel_NewLuaState();
    if (L == nullptr || lua_cpcall(L, vyrlua::utility::LuaBoundary<StartUp>, nullptr) != 0) {
        std::fprintf(stderr, "start-up failed: %s\n", L ? lua_tostring(L, -1) : "no state");
        return 1;
    }
    lua_pushstring(L, argv[2]);
    lua_setglobal(L, "MODULE_DIR");
    if (luaL_loadstring(L, kScript) != 0 || lua_pcall(L, 0, 0, 0) != 0) {
        std::fprintf(stderr, "script failed: %s\n", lua_tostring(L, -1));
        return 1;
    }
    // The host delivers a click to the window: it reaches the script.
    bool handled = false;
    for (const auto& window : vyrui::ui::UI_NodeManager::Get(true)->GetWindows()) {
        vyrui::events::MouseEvent down;
        down.type = vyrui::events::MouseEventType::Down;
        down.position = {15, 12};
        down.button = vyrui::events::kMouseButton_Left;
        handled = vyrui::ui::UI_NodeManager::Get(true)->DispatchMouseEvent(*window, down) || handled;
    }
    KzKernel_CloseLuaState(L);
    std::printf("handled %s\n", handled ? "yes" : "no");
    return handled ? 0 : 1;
}
