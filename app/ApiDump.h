// vyrlua-host --dump-api: the library's modules (with their functions and
// constants), object kinds (metatable names and flattened method lists) and
// globals, read from a live state rather than kept by hand, as Markdown or
// as Lua language server definitions.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>

namespace vyrhost {

// `format` is "markdown" or "lua". Opens every module in `L` (a host state
// from HostRuntime). Throws std::runtime_error when the dump fails.
std::string DumpApi(lua_State* L, const std::string& format);

} // namespace vyrhost
