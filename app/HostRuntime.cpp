#include "app/HostRuntime.h"

#include "app/ImageWriter.h"
#include "vyrcore/config.h"
#include "vyrlua/exo/src/LuaAppPaths.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaProtectedCall.h"

namespace vyrhost {

HostRuntime::HostRuntime(const HostOptions& options) : mApp(std::make_unique<exo::app::App>())
{
    mApp->SetResourceDirectory(vyrcore::filesupport::Dir::FromUTF8(options.resourceDir));
    mL = KzKernel_NewLuaState();
    if (mL == nullptr)
        throw vyrcore::config::HostException("cannot create the Lua state");
    try {
        RegisterDeferredLuaStateLocator(mL, KzKernel_CurrentLuaState);
        vyrlua::InitLua(mL);

        // The master module, opened directly and recorded as loaded, so a
        // later require "vyrlua" returns the same table.
        lua_pushcfunction(mL, luaopen_vyrlua);
        lua_pushliteral(mL, "vyrlua");
        vyrlua::utility::CallLuaFromCpp(mL, 1, 1);
        lua_getfield(mL, LUA_GLOBALSINDEX, "package");
        lua_getfield(mL, -1, "loaded");
        lua_pushvalue(mL, -3);
        lua_setfield(mL, -2, "vyrlua");
        lua_pop(mL, 3);

        vyrlua::PreloadLuaModules(mL);
        PreloadImageWriter(mL);
        // The loader is needed before the library is on package.cpath.
        vyrlua::SetPreloadedModule(mL, "vyrlua.EmbeddedCodeLoader",
                                   luaopen_vyrlua_EmbeddedCodeLoader);
        vyrlua::InitEmbeddedCodeLoader(mL, options.embeddedFirst);
        vyrlua::exo::AddAppDirToLuaCPath(mL);
        vyrlua::RequireLuaModule(mL, "vyrlua.host.valuetypes", false);
    } catch (...) {
        Close();
        throw;
    }
}

HostRuntime::~HostRuntime()
{
    Close();
}

void HostRuntime::Close()
{
    if (mL == nullptr)
        return;
    KzKernel_CloseLuaState(mL);
    mL = nullptr;
}

std::string HostRuntime::RunFile(const std::string& path, const std::vector<std::string>& args)
{
    if (mL == nullptr)
        return "the Lua state is closed";
    lua_settop(mL, 0);
    lua_createtable(mL, static_cast<int>(args.size()), 1);
    lua_pushlstring(mL, path.data(), path.size());
    lua_rawseti(mL, -2, 0);
    for (size_t i = 0; i < args.size(); ++i) {
        lua_pushlstring(mL, args[i].data(), args[i].size());
        lua_rawseti(mL, -2, static_cast<int>(i + 1));
    }
    lua_setglobal(mL, "arg");

    std::string error;
    if (luaL_loadfile(mL, path.c_str()) != 0) {
        error = lua_tostring(mL, -1) ? lua_tostring(mL, -1) : "cannot load " + path;
    } else {
        for (const std::string& a : args)
            lua_pushlstring(mL, a.data(), a.size());
        if (lua_pcall(mL, static_cast<int>(args.size()), 0, 0) != 0) {
            const char* text = lua_tostring(mL, -1);
            error = text ? text : "(error object is not a string)";
        }
    }
    lua_settop(mL, 0);
    return error;
}

} // namespace vyrhost
