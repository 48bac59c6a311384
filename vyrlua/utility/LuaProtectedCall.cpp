#include "vyrlua/utility/LuaProtectedCall.h"

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaBoundary.h"

#include <cstdlib>
#include <functional>
#include <new>

namespace vyrlua::utility {

bool detail::gCallTracebacks = false;

namespace {

constexpr const char* kHandlerKey = "vyrlua.tracebackHandler";
constexpr const char* kTracebackKey = "vyrlua.traceback";
// Deep recursion is cut short: the innermost levels are the useful ones.
constexpr int kTracebackLevels = 24;

std::string gTracedMessage;
std::string gTraceback;

// The message handler: records the traceback of the failing stack in the
// registry and returns the message unchanged, so the error a caller sees is
// the same with or without tracebacks.
int TracebackBody(lua_State* L)
{
    lua_settop(L, 1);
    luaL_Buffer b;
    luaL_buffinit(L, &b);
    luaL_addstring(&b, "stack traceback:");
    lua_Debug ar;
    for (int level = 1; level <= kTracebackLevels && lua_getstack(L, level, &ar); ++level) {
        lua_getinfo(L, "Slnf", &ar);
        // The relay runner is the host's side of the call, not the script's.
        const bool runner = lua_tocfunction(L, -1) == detail::RelayRunner();
        lua_pop(L, 1);
        if (runner)
            break;
        if (ar.currentline > 0)
            lua_pushfstring(L, "\n\t%s:%d: in ", ar.short_src, ar.currentline);
        else
            lua_pushfstring(L, "\n\t%s: in ", ar.short_src);
        luaL_addvalue(&b);
        if (ar.namewhat != nullptr && *ar.namewhat != '\0' && ar.name != nullptr)
            lua_pushfstring(L, "function '%s'", ar.name);
        else if (ar.what != nullptr && *ar.what == 'm')
            lua_pushliteral(L, "main chunk");
        else if (ar.what != nullptr && *ar.what == 'C')
            lua_pushliteral(L, "?");
        else
            lua_pushfstring(L, "function <%s:%d>", ar.short_src, ar.linedefined);
        luaL_addvalue(&b);
    }
    luaL_pushresult(&b);
    lua_setfield(L, LUA_REGISTRYINDEX, kTracebackKey);
    return 1;
}

} // namespace

void SetCallTracebacks(lua_State* L, bool on)
{
    if (on) {
        lua_pushcfunction(L, LuaBoundary<TracebackBody>);
        lua_setfield(L, LUA_REGISTRYINDEX, kHandlerKey);
    }
    detail::gCallTracebacks = on;
}

std::string TakeCallTraceback(const std::string& message)
{
    std::string traceback;
    if (message == gTracedMessage)
        traceback.swap(gTraceback);
    gTracedMessage.clear();
    gTraceback.clear();
    return traceback;
}

bool InsertTracebackHandler(lua_State* L, int index)
{
    if (!detail::gCallTracebacks || !lua_checkstack(L, 1))
        return false;
    lua_getfield(L, LUA_REGISTRYINDEX, kHandlerKey);
    if (!lua_isfunction(L, -1)) {
        lua_pop(L, 1);
        return false;
    }
    lua_insert(L, index);
    return true;
}

void KeepCallTraceback(lua_State* L)
{
    const char* message = lua_tostring(L, -1);
    lua_getfield(L, LUA_REGISTRYINDEX, kTracebackKey);
    const char* traceback = lua_tostring(L, -1);
    gTracedMessage = message ? message : "";
    gTraceback = traceback ? traceback : "";
    bool present = traceback != nullptr;
    lua_pop(L, 1);
    // Only an existing key is cleared: setting an absent one would allocate.
    if (present) {
        lua_pushnil(L);
        lua_setfield(L, LUA_REGISTRYINDEX, kTracebackKey);
    }
}

namespace {

int PushArgumentsAndCallBody(lua_State* L)
{
    const auto* pending = static_cast<const detail::PendingArguments*>(lua_touserdata(L, 1));
    lua_remove(L, 1);
    const int nargs = pending->push(pending->pusher, L);
    lua_call(L, nargs, pending->nresults);
    return lua_gettop(L);
}

} // namespace

const lua_CFunction detail::PushArgumentsAndCall = LuaBoundary<PushArgumentsAndCallBody>;

thread_local int detail::gCallDepth = 0;

void detail::ThrowCallsNestedTooDeeply(lua_State* L, int nargs)
{
    static constexpr char kMessage[] =
        "calls from the host into Lua nested too deeply (more than 64: a handler "
        "that makes the host call it again, without end?)";
    static_assert(kMaxCallDepth == 64, "the message states the limit");
    lua_pop(L, nargs);
    PushLString(L, kMessage);
    lua_replace(L, -2);
    RaiseLuaCallError(L);
    std::abort(); // RaiseLuaCallError throws at level 1
}

void detail::CallLuaFromCppWithTraceback(lua_State* L, int nargs, int nresults)
{
    if (gCallDepth >= kMaxCallDepth)
        ThrowCallsNestedTooDeeply(L, nargs);
    int function = lua_gettop(L) - nargs;
    int status;
    if (!InsertTracebackHandler(L, function)) {
        ++gCallDepth;
        status = lua_pcall(L, nargs, nresults, 0);
        --gCallDepth;
        if (status != 0)
            RaiseLuaCallError(L);
        return;
    }
    ++gCallDepth;
    status = lua_pcall(L, nargs, nresults, function);
    --gCallDepth;
    if (status != 0)
        KeepCallTraceback(L);
    lua_remove(L, function);
    if (status != 0)
        RaiseLuaCallError(L);
}

void CallLuaFromCpp(lua_State* L, int nargs, int nresults)
{
    detail::CallLuaFromCppInline(L, nargs, nresults);
}

void detail::RaiseLuaCallError(lua_State* L)
{
    const char* message = lua_tolstring(L, -1, nullptr);
    bool hasText = message != nullptr && *message != '\0';
    vyrcore::config::ThrowError(1, message, 0, 0, hasText, {}, {}, {}, {});
}

int CallLuaFromCppMaybeIgnoreErrors(lua_State* L, int nargs, int nresults)
{
    vyrcore::config::ExecuteFunctionAndConvertException([&] {
        CallLuaFromCpp(L, nargs, nresults);
        return 0;
    });
    return 0;
}

int RunProtectedCallHook(lua_State* L, KzProtectedFunction fn, void* ud)
{
    std::function<int()> run = [&L, &fn, &ud] {
        fn(L, ud);
        return 0;
    };
    return vyrcore::config::ExecuteFunctionAndConvertException(run);
}

} // namespace vyrlua::utility
