#include "vyrlua/utility/LuaBoundary.h"

#include "vyrlua/utility/LuaStack.h"

#include <cstring>
#include <exception>
#include <new>

namespace vyrlua::utility::detail {

namespace {

// "chunk:line: " of the script that called the running C function, as
// luaL_where(L, 1) gives it.
std::string CallerPosition(lua_State* L)
{
    lua_Debug ar;
    if (lua_getstack(L, 1, &ar)) {
        lua_getinfo(L, "Sl", &ar);
        if (ar.currentline > 0)
            return std::string(ar.short_src) + ":" + std::to_string(ar.currentline) + ": ";
    }
    return {};
}

struct FoundName {
    char text[64] = {};
};

// Names of C functions, by function, as the tables below hold them (a
// weak-keyed registry table; false where no table holds the function), and
// the metatables and modules already read into it (weak-keyed too). Looking
// through every table on each error made a run of failing calls many times
// slower; now each table is read once.
constexpr const char* kFunctionNamesKey = "vyrlua.functionNames";
constexpr const char* kNamedTablesKey = "vyrlua.namedTables";

struct NameTables {
    int names;
    int read;
};

// Reads the C functions of the table at `t` into the names (a function
// keeps the first name it was found under). `once`: a table read before is
// skipped (metatables and modules; the globals change as scripts run).
void ReadNames(lua_State* L, int t, NameTables tables, bool once)
{
    if (lua_type(L, t) != LUA_TTABLE)
        return;
    if (once) {
        lua_pushvalue(L, t);
        lua_rawget(L, tables.read);
        const bool read = lua_toboolean(L, -1);
        lua_pop(L, 1);
        if (read)
            return;
    }
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        if (lua_type(L, -2) == LUA_TSTRING && lua_iscfunction(L, -1)) {
            lua_pushvalue(L, -1);
            lua_rawget(L, tables.names);
            const bool named = lua_type(L, -1) == LUA_TSTRING;
            lua_pop(L, 1);
            if (!named) {
                lua_pushvalue(L, -1);
                lua_pushvalue(L, -3);
                lua_rawset(L, tables.names);
            }
        }
        lua_pop(L, 1);
    }
    // Marked only once read whole: a read cut short by memory is tried again.
    if (once) {
        lua_pushvalue(L, t);
        lua_pushboolean(L, 1);
        lua_rawset(L, tables.read);
    }
}

// Copies the name known for the function at `f`; true when there is one.
bool KnownName(lua_State* L, NameTables tables, int f, FoundName& found)
{
    lua_pushvalue(L, f);
    lua_rawget(L, tables.names);
    const bool named = lua_type(L, -1) == LUA_TSTRING;
    if (named)
        std::strncpy(found.text, lua_tostring(L, -1), sizeof found.text - 1);
    lua_pop(L, 1);
    return named;
}

// The name of the C function that is raising (level 1 from here), as the
// first argument's metatable, the globals or a loaded module hold it: a
// function called through pcall, or taken out of its table, has no name of
// its own in the call. Protected (run by lua_cpcall): nothing here may
// unwind through the caller.
int FindFunctionName(lua_State* L)
{
    auto* found = static_cast<FoundName*>(lua_touserdata(L, 1));
    lua_Debug ar;
    if (!lua_checkstack(L, 8) || !lua_getstack(L, 1, &ar) || !lua_getinfo(L, "f", &ar))
        return 0;
    const int f = lua_gettop(L);
    PushWeakRegistryTable(L, kFunctionNamesKey, "k");
    PushWeakRegistryTable(L, kNamedTablesKey, "k");
    const NameTables tables{f + 1, f + 2};
    if (KnownName(L, tables, f, *found))
        return 0;
    // A method or metamethod of the first argument: its metamethods, then
    // its methods.
    if (lua_getlocal(L, &ar, 1) != nullptr && lua_getmetatable(L, -1)) {
        const int metatable = lua_gettop(L);
        ReadNames(L, metatable, tables, true);
        lua_pushliteral(L, "__index");
        lua_rawget(L, metatable);
        ReadNames(L, lua_gettop(L), tables, true);
        if (KnownName(L, tables, f, *found))
            return 0;
    }
    lua_settop(L, tables.read);
    // false: the globals and modules were looked through for it before.
    lua_pushvalue(L, f);
    lua_rawget(L, tables.names);
    const bool looked = lua_type(L, -1) == LUA_TBOOLEAN;
    lua_pop(L, 1);
    if (looked)
        return 0;
    ReadNames(L, LUA_GLOBALSINDEX, tables, false);
    if (KnownName(L, tables, f, *found))
        return 0;
    lua_getfield(L, LUA_REGISTRYINDEX, "_LOADED");
    const int loaded = lua_gettop(L);
    if (lua_type(L, loaded) == LUA_TTABLE) {
        lua_pushnil(L);
        while (lua_next(L, loaded) != 0) {
            ReadNames(L, lua_gettop(L), tables, true);
            lua_pop(L, 1);
        }
    }
    if (KnownName(L, tables, f, *found))
        return 0;
    lua_pushvalue(L, f);
    lua_pushboolean(L, 0);
    lua_rawset(L, tables.names);
    return 0;
}

// The text luaL_argerror would raise.
std::string ArgumentErrorText(lua_State* L, int narg, const char* message)
{
    lua_Debug ar;
    if (!lua_getstack(L, 0, &ar))
        return CallerPosition(L) + "bad argument #" + std::to_string(narg) + " (" + message + ")";
    lua_getinfo(L, "n", &ar);
    FoundName found;
    if (ar.name == nullptr) {
        if (lua_cpcall(L, FindFunctionName, &found) != 0)
            lua_pop(L, 1);
        else if (found.text[0] != '\0')
            ar.name = found.text;
    }
    if (ar.namewhat != nullptr && std::strcmp(ar.namewhat, "method") == 0) {
        --narg;
        if (narg == 0)
            return CallerPosition(L) + "calling '" + (ar.name ? ar.name : "?") +
                   "' on bad self (" + message + ")";
    }
    return CallerPosition(L) + "bad argument #" + std::to_string(narg) + " to '" +
           (ar.name ? ar.name : "?") + "' (" + message + ")";
}

struct PendingMessage {
    const char* data;
    size_t size;
};

int RaisePending(lua_State* L)
{
    auto* pending = static_cast<PendingMessage*>(lua_touserdata(L, 1));
    lua_pushlstring(L, pending->data, pending->size);
    return lua_error(L);
}

// Leaves the message (or, if Lua cannot allocate it, Lua's memory error) on
// top of the stack. The push runs protected, so a failing allocation cannot
// longjmp past the caller's live std::string.
void PushMessage(lua_State* L, const char* data, size_t size) noexcept
{
    PendingMessage pending{data, size};
    lua_cpcall(L, RaisePending, &pending);
}

// Reads the relay before anything can run another protected call.
int RunRelay(lua_State* L)
{
    const Relay* relay = gRelay;
    lua_pushlightuserdata(L, relay->data);
    lua_insert(L, 1);
    return relay->fn(L);
}

constexpr int kRelaySlot = -0x7671;

int StoreRelayRunner(lua_State* L)
{
    lua_pushcfunction(L, RunRelay);
    lua_rawseti(L, LUA_REGISTRYINDEX, kRelaySlot);
    return 0;
}

int PushPending(lua_State* L)
{
    auto* pending = static_cast<PendingMessage*>(lua_touserdata(L, 1));
    lua_pushlstring(L, pending->data, pending->size);
    return 1;
}

} // namespace

bool PushCurrentException(lua_State* L) noexcept
{
    if (IsForeignException())
        return false;
    try {
        std::string message;
        try {
            throw;
        } catch (const ArgumentError& e) {
            message = ArgumentErrorText(L, e.Arg(), e.what());
        } catch (const LuaError& e) {
            message = CallerPosition(L) + e.what();
        } catch (const std::bad_alloc&) {
            // Lua's own text for the same condition.
            message = "not enough memory";
        } catch (const std::exception& e) {
            message = e.what();
        } catch (...) {
            message = "unknown C++ exception";
        }
        PushMessage(L, message.data(), message.size());
    } catch (...) {
        // Only std::bad_alloc can get here, while building the text.
        static constexpr char kNoMemory[] = "not enough memory";
        PushMessage(L, kNoMemory, sizeof(kNoMemory) - 1);
    }
    return true;
}

} // namespace vyrlua::utility::detail

namespace vyrlua::utility {

thread_local const detail::Relay* detail::gRelay = nullptr;

lua_CFunction detail::RelayRunner()
{
    return RunRelay;
}

void detail::PushRelayRunner(lua_State* L)
{
    lua_rawgeti(L, LUA_REGISTRYINDEX, kRelaySlot);
    if (lua_isfunction(L, -1))
        return;
    lua_pop(L, 1);
    // Once per state; lua_cpcall protects its own allocation.
    if (lua_cpcall(L, StoreRelayRunner, nullptr) != 0) {
        lua_pop(L, 1);
        throw std::bad_alloc();
    }
    lua_rawgeti(L, LUA_REGISTRYINDEX, kRelaySlot);
}

void PushFromProtectedCall(lua_State* L, lua_CFunction fn, void* data)
{
    detail::PushRelayRunner(L);
    const detail::Relay relay{fn, data};
    int status;
    {
        detail::ScRelay current(&relay);
        status = lua_pcall(L, 0, 1, 0);
    }
    if (status != 0) {
        if (status == LUA_ERRMEM) {
            lua_pop(L, 1);
            throw std::bad_alloc();
        }
        const char* text = lua_tostring(L, -1);
        std::string message = text ? text : "(error object is not a string)";
        lua_pop(L, 1);
        throw std::runtime_error(message);
    }
}

void PushLString(lua_State* L, std::string_view text)
{
    detail::PendingMessage pending{text.data(), text.size()};
    PushFromProtectedCall(L, detail::PushPending, &pending);
}

} // namespace vyrlua::utility
