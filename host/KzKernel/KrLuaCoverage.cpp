// Line coverage of Lua chunks: a line hook counts the lines that run, and a
// call hook records, once per function entered, the lines that can run
// (its active lines), so the lines never reached show as 0.
//
// KrLuaCoverage_push hands scripts a table of functions to drive it. The
// counts are process-wide and survive a state; reset() empties them.
#include "KzKernel/KzKernel.h"

#include <cstdio>
#include <exception>
#include <cstring>
#include <map>
#include <set>
#include <string>

namespace {

struct Coverage {
    bool running = false;
    // source -> line -> count (active lines not yet run hold 0)
    std::map<std::string, std::map<int, long long>> counts;
    std::set<std::pair<std::string, int>> functionsSeen;  // (source, linedefined)
};

Coverage& Data()
{
    static auto* data = new Coverage;
    return *data;
}

// Whether the function (source, linedefined) is new to the counts; C++
// only, no Lua call while its strings live.
bool FirstEntry(const char* source, int linedefined) noexcept
{
    try {
        return Data().functionsSeen.emplace(source, linedefined).second;
    } catch (const std::exception&) {
        return false;
    }
}

// Not noexcept: a Lua error raised by lua_next (a LuaJIT one unwinds as an
// exception) must reach the protected call around it.
void RecordLines(lua_State* L, const char* source, int table)
{
    try {
        auto& lines = Data().counts[source];
        lua_pushnil(L);
        while (lua_next(L, table) != 0) {
            lua_pop(L, 1);
            if (lua_type(L, -1) == LUA_TNUMBER)
                lines.emplace(static_cast<int>(lua_tointeger(L, -1)), 0);
        }
    } catch (const std::exception&) {
        Data().running = false;
    }
}

// Runs protected (lua_cpcall): lua_getinfo's table of active lines may run
// out of memory.
int CollectActiveLines(lua_State* L)
{
    auto* ar = static_cast<lua_Debug*>(lua_touserdata(L, 1));
    lua_getinfo(L, "L", ar);
    if (lua_istable(L, -1))
        RecordLines(L, ar->source, lua_gettop(L));
    return 0;
}

void CountLine(const char* source, int line) noexcept
{
    try {
        ++Data().counts[source][line];
    } catch (const std::exception&) {
        Data().running = false;
    }
}

// Holds nothing with a destructor: Lua calls here may raise.
void CoverageHook(lua_State* L, lua_Debug* ar)
{
    if (!Data().running) {
        // A coroutine made while coverage ran keeps the hook until here.
        lua_sethook(L, nullptr, 0, 0);
        return;
    }
    if (!lua_getinfo(L, "S", ar) || ar->what == nullptr || std::strcmp(ar->what, "C") == 0 ||
        ar->source == nullptr)
        return;
    if (ar->event == LUA_HOOKCALL) {
        if (FirstEntry(ar->source, ar->linedefined)) {
            int top = lua_gettop(L);
            lua_cpcall(L, CollectActiveLines, ar);
            lua_settop(L, top);  // an error message, if it failed
        }
    } else if (ar->event == LUA_HOOKLINE) {
        CountLine(ar->source, ar->currentline);
    }
}

bool HookIsOurs(lua_State* L)
{
    return lua_gethook(L) == CoverageHook;
}

// ---- the functions scripts get --------------------------------------------
// Plain Lua C functions: no C++ object with a destructor is alive while they
// call into Lua.

int Start(lua_State* L)
{
    if (lua_gethook(L) != nullptr && !HookIsOurs(L))
        return luaL_error(L, "coverage: another hook is installed (the profiler, or debug.sethook)");
    Data().running = true;
    lua_sethook(L, CoverageHook, LUA_MASKCALL | LUA_MASKLINE, 0);
    if (lua_State* main = KzKernel_CurrentLuaState(); main && main != L && lua_gethook(main) == nullptr)
        lua_sethook(main, CoverageHook, LUA_MASKCALL | LUA_MASKLINE, 0);
    return 0;
}

int Stop(lua_State* L)
{
    Data().running = false;
    if (HookIsOurs(L))
        lua_sethook(L, nullptr, 0, 0);
    if (lua_State* main = KzKernel_CurrentLuaState(); main && HookIsOurs(main))
        lua_sethook(main, nullptr, 0, 0);
    return 0;
}

int Reset(lua_State*)
{
    Data().counts.clear();
    Data().functionsSeen.clear();
    return 0;
}

int IsRunning(lua_State* L)
{
    lua_pushboolean(L, Data().running && HookIsOurs(L));
    return 1;
}

// { [source] = { [line] = count } }
int GetCoverage(lua_State* L)
{
    lua_newtable(L);
    for (const auto& [source, lines] : Data().counts) {
        lua_pushlstring(L, source.data(), source.size());
        lua_createtable(L, 0, static_cast<int>(lines.size()));
        for (const auto& [line, count] : lines) {
            lua_pushnumber(L, static_cast<lua_Number>(count));
            lua_rawseti(L, -2, line);
        }
        lua_rawset(L, -3);
    }
    return 1;
}

// The LCOV tracefile of the chunks loaded from files ("@path" sources).
int GetLcov(lua_State* L)
{
    size_t nameLength = 0;
    const char* testName = luaL_optlstring(L, 1, "", &nameLength);
    luaL_Buffer b;
    luaL_buffinit(L, &b);
    if (nameLength > 0) {
        luaL_addstring(&b, "TN:");
        luaL_addlstring(&b, testName, nameLength);
        luaL_addchar(&b, '\n');
    }
    char number[64];
    for (const auto& [source, lines] : Data().counts) {
        if (source.empty() || source[0] != '@')
            continue;
        luaL_addstring(&b, "SF:");
        luaL_addlstring(&b, source.data() + 1, source.size() - 1);
        luaL_addchar(&b, '\n');
        long long hit = 0;
        for (const auto& [line, count] : lines) {
            std::snprintf(number, sizeof number, "DA:%d,%lld\n", line, count);
            luaL_addstring(&b, number);
            hit += count > 0;
        }
        std::snprintf(number, sizeof number, "LH:%lld\nLF:%zu\n", hit, lines.size());
        luaL_addstring(&b, number);
        luaL_addstring(&b, "end_of_record\n");
    }
    luaL_pushresult(&b);
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"start", Start},
    {"stop", Stop},
    {"reset", Reset},
    {"isRunning", IsRunning},
    {"getCoverage", GetCoverage},
    {"getLcov", GetLcov},
    {nullptr, nullptr},
};

} // namespace

void KrLuaCoverage_push(lua_State* L)
{
    lua_createtable(L, 0, 6);
    luaL_register(L, nullptr, kFunctions);
}
