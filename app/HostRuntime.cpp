#include "app/HostRuntime.h"

#include "app/ImageWriter.h"
#include "vyrcore/config.h"
#include "vyrlua/exo/src/LuaAppPaths.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaProtectedCall.h"

namespace vyrhost {

HostRuntime::HostRuntime(const HostOptions& options) : mApp(std::make_unique<exo::app::App>())
{
    mApp->SetResourceDirectory(vyrcore::filesupport::Dir::FromUTF8(options.resourceDir));
    mL = options.allocator
             ? KzKernel_NewLuaStateWithAllocator(options.allocator, options.allocatorData)
             : KzKernel_NewLuaState();
    if (mL == nullptr)
        throw vyrcore::config::HostException("cannot create the Lua state");
    // The start-up runs as a protected call, so that running out of Lua
    // memory in any step is an error this constructor throws, not a panic.
    if (lua_cpcall(mL, vyrlua::utility::LuaBoundary<StartUp>,
                   const_cast<HostOptions*>(&options)) != 0) {
        const char* text = lua_tostring(mL, -1);
        std::string message = text ? text : "the host start-up failed";
        Close();
        throw vyrcore::config::HostException(message);
    }
}

// Runs behind the error boundary: host exceptions become the Lua error that
// lua_cpcall returns. Holds nothing with a destructor, so an allocation
// failure inside a step unwinds cleanly.
int HostRuntime::StartUp(lua_State* L)
{
    const auto* options = static_cast<const HostOptions*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    RegisterDeferredLuaStateLocator(L, KzKernel_CurrentLuaState);
    vyrlua::InitLua(L);

    // The master module, opened directly and recorded as loaded, so a
    // later require "vyrlua" returns the same table.
    lua_pushcfunction(L, luaopen_vyrlua);
    lua_pushliteral(L, "vyrlua");
    vyrlua::utility::CallLuaFromCpp(L, 1, 1);
    lua_getfield(L, LUA_GLOBALSINDEX, "package");
    lua_getfield(L, -1, "loaded");
    lua_pushvalue(L, -3);
    lua_setfield(L, -2, "vyrlua");
    lua_pop(L, 3);

    vyrlua::PreloadLuaModules(L);
    PreloadImageWriter(L);
    // The loader is needed before the library is on package.cpath.
    vyrlua::SetPreloadedModule(L, "vyrlua.EmbeddedCodeLoader", luaopen_vyrlua_EmbeddedCodeLoader);
    vyrlua::InitEmbeddedCodeLoader(L, options->embeddedFirst);
    vyrlua::exo::AddAppDirToLuaCPath(L);
    vyrlua::RequireLuaModule(L, "vyrlua.host.valuetypes", false);
    return 0;
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
