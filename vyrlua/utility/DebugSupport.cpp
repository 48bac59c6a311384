// "vyrlua.debugSupport": running a chunk while capturing what it prints,
// and the kernel's line coverage (KrLuaCoverage_push) as the field
// "coverageSupport". Global table "debugSupport".
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

namespace vyrlua::utility {

namespace {

// print as Lua's own does (tostring of each argument, tabs between, a
// newline after), into the table that is upvalue 1.
int CapturePrintBody(lua_State* L)
{
    int n = lua_gettop(L);
    if (!lua_checkstack(L, n + 4))
        throw LuaError("print: no room on the Lua stack");
    lua_getfield(L, LUA_GLOBALSINDEX, "tostring");
    const int tostring = lua_gettop(L);
    // The line so far stays one string above `tostring`.
    for (int i = 1; i <= n; ++i) {
        if (i > 1)
            lua_pushliteral(L, "\t");
        lua_pushvalue(L, tostring);
        lua_pushvalue(L, i);
        lua_call(L, 1, 1);
        if (!lua_isstring(L, -1))
            throw LuaError("'tostring' must return a string to 'print'");
        lua_concat(L, lua_gettop(L) - tostring);
    }
    lua_pushliteral(L, "\n");
    lua_concat(L, lua_gettop(L) - tostring);
    lua_rawseti(L, lua_upvalueindex(1), static_cast<int>(lua_objlen(L, lua_upvalueindex(1))) + 1);
    return 0;
}

// loadAndCapture(code [, chunkName]): compiles and runs `code` with the
// global print writing into a buffer. Returns true, the output and the
// chunk's results; or false, the output so far and the error (a compile
// error gives an empty output). print is restored in every case.
int LoadAndCaptureBody(lua_State* L)
{
    std::string_view code = CheckLString(L, 1);
    std::string_view name = OptLString(L, 2, "=loadAndCapture");
    lua_settop(L, 2);
    lua_pushlstring(L, name.data(), name.size());  // 3: the chunk name as a C string
    if (luaL_loadbuffer(L, code.data(), code.size(), lua_tostring(L, 3)) != 0) {
        lua_pushboolean(L, false);
        lua_pushliteral(L, "");
        lua_pushvalue(L, -3);
        return 3;
    }
    // 4: the chunk. 5: the output pieces, 6: the old print.
    lua_newtable(L);
    lua_pushliteral(L, "print");
    lua_rawget(L, LUA_GLOBALSINDEX);
    lua_pushliteral(L, "print");
    lua_pushvalue(L, 5);
    lua_pushcclosure(L, LuaBoundary<CapturePrintBody>, 1);
    lua_rawset(L, LUA_GLOBALSINDEX);

    lua_pushvalue(L, 4);
    int status = lua_pcall(L, 0, LUA_MULTRET, 0);
    const int results = lua_gettop(L) - 6;

    // Restored before anything else can fail.
    lua_pushliteral(L, "print");
    lua_pushvalue(L, 6);
    lua_rawset(L, LUA_GLOBALSINDEX);

    // The output replaces the old print in slot 6; the chunk in slot 4
    // becomes the status.
    luaL_checkstack(L, 4, "loadAndCapture: no room on the Lua stack");
    int pieces = static_cast<int>(lua_objlen(L, 5));
    lua_pushliteral(L, "");
    for (int i = 1; i <= pieces; ++i) {
        lua_rawgeti(L, 5, i);
        lua_concat(L, 2);
    }
    lua_replace(L, 6);
    lua_pushboolean(L, status == 0);
    lua_replace(L, 5);
    return results + 2;
}

const luaL_Reg kFunctions[] = {
    {"loadAndCapture", LuaBoundary<LoadAndCaptureBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    luaL_register(L, "debugSupport", kFunctions);
    KrLuaCoverage_push(L);
    lua_setfield(L, -2, "coverageSupport");
    return 1;
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_debugSupport(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
