// The Lua module openers vyrlua.so exports, read from the loaded library's
// dynamic symbol table: the one list of the library's modules, so nothing
// that walks them (the API dump, the robustness tools) keeps its own.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>
#include <vector>

namespace vyrhost {

struct ExportedOpener {
    std::string name;   // require name: "vyrlua.drawbot.vyrDrawbot"
    std::string symbol; // "luaopen_vyrlua_drawbot_vyrDrawbot"
    lua_CFunction function = nullptr;
};

// The exported luaopen_* functions of the loaded vyrlua.so, in symbol-name
// order. Throws std::runtime_error when the library file cannot be read.
std::vector<ExportedOpener> ExportedOpeners(std::string* libraryPath = nullptr);

// The string keys of the table at `index` (absolute), by a raw walk that
// runs no metamethod; in the table's order.
std::vector<std::string> StringKeys(lua_State* L, int index);

} // namespace vyrhost
