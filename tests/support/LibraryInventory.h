// What vyrlua.so registers, found without a hand-kept list: the exported
// luaopen_* symbols read from the library's dynamic symbol table, each opener
// run in a fresh host state, and the Lua registry compared before and after
// to find the named metatables it created. Modules the host preloads are
// found through package.preload the same way.
//
// Robustness tools walk this inventory, so a module or method added to the
// library later is covered without editing them.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>
#include <vector>

namespace vyrtest {

struct Opener {
    std::string name;    // require name: "vyrlua.drawbot.vyrDrawbot"
    std::string symbol;  // "luaopen_vyrlua_drawbot_vyrDrawbot"; empty when preloaded
    lua_CFunction function = nullptr;
};

// Where a registered function sits, relative to a root value.
struct Location {
    enum class Root { Module, Global, Metatable };
    Root root = Root::Module;
    std::string owner;              // module name, global name or metatable name
    std::vector<std::string> keys;  // one or two field names
};

// One distinct C function (closures with upvalues count once per location).
struct Callable {
    std::string label;  // "vyrString.Trim", "vyrUINode:Release"
    lua_CFunction function = nullptr;
    bool method = false;  // lives in a named metatable: argument 1 is self
    std::vector<Location> locations;  // the first one is used to fetch it
    // Metatables the same function is registered in (methods only).
    std::vector<std::string> metatables;
};

struct OpenerResult {
    Opener opener;
    std::string error;  // the opener failed in a fresh state
    std::string resultType;
    std::vector<std::string> newGlobals;
    std::vector<std::string> newMetatables;
};

struct Inventory {
    std::string libraryPath;
    std::vector<OpenerResult> openers;
    std::vector<std::string> metatables;  // every named metatable, sorted
    std::vector<Callable> callables;

    size_t FunctionCount() const;  // module functions
    size_t MethodCount() const;    // functions found in metatables (metamethods too)
};

// The exported luaopen_* functions of the loaded vyrlua.so, in symbol-name
// order. Throws std::runtime_error when the library file cannot be read.
std::vector<Opener> ExportedOpeners(std::string* libraryPath = nullptr);

// Runs every opener (exported and preloaded) in its own fresh host state and
// collects what they registered. Needs the host free: no HostRuntime may be
// alive while it runs.
Inventory TakeInventory();
// One inventory taken on first use and kept for the process.
const Inventory& SharedInventory();

// Opens every module of the inventory in `L`, keeping each opener's result in
// the registry table "vyrtest.modules". Returns the errors, one per failing
// opener ("name: message").
std::vector<std::string> OpenAll(lua_State* L, const Inventory& inventory);

// Pushes the callable's function as registered in `L` (after OpenAll), or
// nil when it cannot be found there.
void PushCallable(lua_State* L, const Callable& callable);

} // namespace vyrtest
