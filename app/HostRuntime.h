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

struct HostOptions {
    // Where the host's Lua resources are served from.
    std::string resourceDir = VYRLUA_DEFAULT_RESOURCES;
    // Resource-held modules are found before Lua files on disk.
    bool embeddedFirst = true;
    // Where the state's memory comes from; null for Lua's own allocator.
    // A Lua that refuses custom allocators makes the constructor throw.
    lua_Alloc allocator = nullptr;
    void* allocatorData = nullptr;
};

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
    // Closes the Lua state; the application lives on. Safe to call twice.
    void Close();

    // Runs a script file with `args` as arg[1..] and as the chunk's "...".
    // Returns an empty string on success, else the error text.
    std::string RunFile(const std::string& path, const std::vector<std::string>& args);

private:
    static int StartUp(lua_State* L);

    std::unique_ptr<exo::app::App> mApp;
    lua_State* mL = nullptr;
};

} // namespace vyrhost
