// The host side of an embedding: the application object, the host's Lua
// state and the start-up sequence that makes the library usable in it.
// vyrlua-host and the tests both start through this.
#pragma once

#include "exo/app/App.h"
#include "vyrlua/utility/LuaApi.h"

#include <memory>
#include <string>
#include <vector>

namespace vyrhost {

// The host's Lua resources: beside the program ("resources", as in the build
// tree), else where an installation puts them ("../share/vyrlua/resources").
std::string DefaultResourceDir();

struct HostOptions {
    // Where the host's Lua resources are served from.
    std::string resourceDir = DefaultResourceDir();
    // Resource-held modules are found before Lua files on disk.
    bool embeddedFirst = true;
    // Where the state's memory comes from; null for Lua's own allocator.
    // A Lua that refuses custom allocators makes the constructor throw.
    lua_Alloc allocator = nullptr;
    void* allocatorData = nullptr;
    // Keep the traceback of every error in a call from native code for the
    // error report (vyrlua::utility::TakeCallTraceback).
    bool tracebacks = false;
};

class HostUndo;

// In a module opener (behind the boundary): requires the Lua resource
// module `resource` and, the first time, hands its _attach function a table
// of the host's `functions`; leaves the module on the stack and returns 1.
int RequireWithHostFunctions(lua_State* L, const char* resource, const luaL_Reg* functions);

class HostRuntime {
public:
    // Creates the application and the state, then runs the start-up order:
    // locator, InitLua, the master module, PreloadLuaModules,
    // InitEmbeddedCodeLoader, AddAppDirToLuaCPath, the value constructors.
    // Throws vyrcore::config::HostException when a step fails.
    explicit HostRuntime(const HostOptions& options = {});
    ~HostRuntime();
    HostRuntime(const HostRuntime&) = delete;
    HostRuntime& operator=(const HostRuntime&) = delete;

    // The open state, or null after Close.
    lua_State* State() const { return mL; }
    exo::app::App& Application() { return *mApp; }
    // The undo stack behind the global "hostUndo"; null after Close.
    HostUndo* Undo() { return mUndo.get(); }
    // Closes the Lua state; the application lives on. Safe to call twice.
    void Close();

    // Runs a script file with `args` as arg[1..] and as the chunk's "...".
    // Returns an empty string on success, else the error text (with the
    // traceback on the lines after it when tracebacks are on).
    std::string RunFile(const std::string& path, const std::vector<std::string>& args);

    // The top level, after a callback returned: runs the event loop's
    // passes while they find work due now (posted tasks, undo requests,
    // timers due), at most `maxPasses`, then closes what a script left
    // half-done. Returns whether the loop went idle.
    bool Settle(int maxPasses = 10000);

private:
    static int StartUp(lua_State* L);

    std::unique_ptr<exo::app::App> mApp;
    lua_State* mL = nullptr;
    std::unique_ptr<HostUndo> mUndo;
};

} // namespace vyrhost
