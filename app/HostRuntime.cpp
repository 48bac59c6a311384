#include "app/HostRuntime.h"

#include "app/HostUndo.h"
#include "app/Inspect.h"
#include "app/ImageWriter.h"
#include "app/InputModule.h"
#include "vyrcore/config.h"
#include "vyrlua/exo/src/LuaAppPaths.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaProtectedCall.h"
#include "vyrui/EventLoop.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>

namespace vyrhost {

namespace {

// Adds the folder of the loaded vyrlua.so to package.cpath, so require finds
// the library's modules where an installation puts it (lib/lua/5.1), not
// only beside the program. Behind the boundary: C strings only.
void AddLibraryDirToLuaCPath(lua_State* L)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&luaopen_vyrlua), &info) == 0 || info.dli_fname == nullptr)
        return;
    char dir[4096];
    std::snprintf(dir, sizeof dir, "%s", info.dli_fname);
    char* slash = std::strrchr(dir, '/');
    if (slash == nullptr)
        return;
    *slash = '\0';
    lua_getglobal(L, "package");
    if (!lua_istable(L, -1)) {
        lua_pop(L, 1);
        return;
    }
    lua_getfield(L, -1, "cpath");
    const char* cpath = lua_tostring(L, -1);
    lua_pushfstring(L, "%s/?.so", dir);
    if (cpath != nullptr && std::strstr(cpath, lua_tostring(L, -1)) == nullptr) {
        lua_pushfstring(L, "%s;%s", cpath, lua_tostring(L, -1));
        lua_setfield(L, -4, "cpath");
    }
    lua_pop(L, 3);
}

} // namespace

std::string DefaultResourceDir()
{
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path program = fs::read_symlink("/proc/self/exe", ec).parent_path();
    fs::path installed = program / ".." / "share" / "vyrlua" / "resources";
    if (!ec && fs::is_directory(installed, ec))
        return installed.lexically_normal().string();
    return VYRLUA_DEFAULT_RESOURCES;
}

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
    try {
        mUndo = std::make_unique<HostUndo>(mL);
    } catch (...) {
        Close();
        throw;
    }
}

// Runs behind the error boundary: host exceptions become the Lua error that
// lua_cpcall returns. Holds nothing with a destructor, so an allocation
// failure inside a step unwinds cleanly.
namespace {
constexpr int kRegistryRefSlots = 256;
}

int HostRuntime::StartUp(lua_State* L)
{
    const auto* options = static_cast<const HostOptions*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    RegisterDeferredLuaStateLocator(L, KzKernel_CurrentLuaState);
    // Lua 5.1 hides a table's integer keys when a resize fails for memory
    // after the array part grew (the keys stay in the old hash part, where
    // lookups no longer go). The registry's array part is grown once here,
    // with its slots left on the free list, so that the references made
    // later reuse it instead of resizing it.
    int refs[kRegistryRefSlots];
    for (int& ref : refs) {
        lua_pushboolean(L, 1);
        ref = luaL_ref(L, LUA_REGISTRYINDEX);
    }
    for (int i = kRegistryRefSlots - 1; i >= 0; --i)
        luaL_unref(L, LUA_REGISTRYINDEX, refs[i]);
    vyrlua::InitLua(L);
    if (options->tracebacks)
        vyrlua::utility::SetCallTracebacks(L, true);

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
    PreloadInputModule(L);
    PreloadInspectModule(L);
    // The loader is needed before the library is on package.cpath.
    vyrlua::SetPreloadedModule(L, "vyrlua.EmbeddedCodeLoader", luaopen_vyrlua_EmbeddedCodeLoader);
    vyrlua::InitEmbeddedCodeLoader(L, options->embeddedFirst);
    vyrlua::exo::AddAppDirToLuaCPath(L);
    AddLibraryDirToLuaCPath(L);
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
    // The history holds references into the state: dropped while it is open.
    mUndo.reset();
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
        bool traced = vyrlua::utility::InsertTracebackHandler(mL, 1);
        for (const std::string& a : args)
            lua_pushlstring(mL, a.data(), a.size());
        if (lua_pcall(mL, static_cast<int>(args.size()), 0, traced ? 1 : 0) != 0) {
            const char* text = lua_tostring(mL, -1);
            error = text ? text : "(error object is not a string)";
            if (traced) {
                vyrlua::utility::KeepCallTraceback(mL);
                std::string traceback = vyrlua::utility::TakeCallTraceback(error);
                if (!traceback.empty())
                    error += "\n" + traceback;
            }
        }
    }
    lua_settop(mL, 0);
    return error;
}

int RequireWithHostFunctions(lua_State* L, const char* resource, const luaL_Reg* functions)
{
    lua_getglobal(L, "require");
    lua_pushstring(L, resource);
    lua_call(L, 1, 1);
    lua_getfield(L, -1, "_attach");
    if (lua_isfunction(L, -1)) {
        vyrlua::RegisterModule(L, functions);
        lua_call(L, 1, 0);
    } else {
        lua_pop(L, 1);
    }
    return 1;
}

bool HostRuntime::Settle(int maxPasses)
{
    vyrui::EventLoop& loop = mApp->GetEventLoop();
    LoopRunScope running;
    bool idle = false;
    for (int pass = 0; pass < maxPasses && !idle; ++pass)
        idle = loop.RunOnce() == 0;
    if (mUndo)
        mUndo->RunRequests();
    return idle;
}

} // namespace vyrhost
