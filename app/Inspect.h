// "vyrhost.inspect": what a node is, as a table, for tests and bug reports;
// --dump-tree prints it for every window.
//
//   local inspect = require "vyrhost.inspect"
//   inspect(node) --> {id = "louder", metatable = "vyrButton",
//                      rect = {left = 122, top = 148, width = 96, height = 28},
//                      theme = "dark", operations = {"OnDoMouseEvent"},
//                      children = {...}}
//   inspect.tree(node) --> the same as indented text, one node a line
//   inspect.dump()     --> the trees of all shown top-level windows
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>

namespace vyrhost {

// Puts "vyrhost.inspect" into package.preload.
void PreloadInspectModule(lua_State* L);

// The tree of every shown top-level window, as inspect.tree writes it.
// Throws vyrcore::config::HostException when the state fails to.
std::string DumpWindowTrees(lua_State* L);

} // namespace vyrhost
