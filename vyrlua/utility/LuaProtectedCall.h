// The one way native code calls into Lua, the stack guard callers use around
// it, and the hook that lets the kernel's protected calls convert exceptions.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string>

namespace vyrlua::utility {

// Restores the stack top saved at construction when the scope ends.
class ScPreserveLuaStack {
public:
    explicit ScPreserveLuaStack(lua_State* L) : mL(L), mTop(lua_gettop(L)) {}
    ~ScPreserveLuaStack() { lua_settop(mL, mTop); }
    ScPreserveLuaStack(const ScPreserveLuaStack&) = default;
    ScPreserveLuaStack& operator=(const ScPreserveLuaStack&) = default;
    // The top that will be restored.
    int Top() const { return mTop; }

private:
    lua_State* mL;
    int mTop;
};

// Calls the function beneath `nargs` arguments, protected. On a Lua error the
// message stays on the stack and is raised as a host error
// (vyrcore::config::ThrowError, which throws HostException with the text).
void CallLuaFromCpp(lua_State* L, int nargs, int nresults);

// Tracebacks of errors in calls from native code. Off by default, since a
// traceback costs a message handler per call; a host program that reports
// errors to script authors turns them on. The traceback of the last failed
// call is kept beside its message until taken.
void SetCallTracebacks(lua_State* L, bool on);
// The traceback ("stack traceback:\n\t...") recorded with the error
// `message`, or empty; taking it forgets it.
std::string TakeCallTraceback(const std::string& message);
// Inserts the traceback message handler at `index` (for a lua_pcall the
// caller makes itself). The handler needs SetCallTracebacks(L, true) first;
// returns false, inserting nothing, without it.
bool InsertTracebackHandler(lua_State* L, int index);
// After a failed lua_pcall made with the handler: keeps the traceback it
// recorded for the message on top.
void KeepCallTraceback(lua_State* L);

namespace detail {
extern bool gCallTracebacks;
// Calls from native code into Lua nest when a handler makes the host call
// back (a draw hook that updates its window, a size hook that resizes its
// view). Each level holds native frames that Lua's own limits count
// differently in each build (LuaJIT not at all), so the nesting is limited
// here: a call past the limit is not made, and fails as a Lua error would.
inline constexpr int kMaxCallDepth = 64;
extern thread_local int gCallDepth;
// Drops the function and its arguments, leaves the message in their place
// and throws it as CallLuaFromCpp throws a Lua error.
[[noreturn]] void ThrowCallsNestedTooDeeply(lua_State* L, int nargs);
// CallLuaFromCpp's failure: raises the error on top of the stack as a host
// error.
void RaiseLuaCallError(lua_State* L);
void CallLuaFromCppWithTraceback(lua_State* L, int nargs, int nresults);
// Arguments pushed inside the protected call. Pushing a call's arguments
// may allocate (an event object, a wrapper, a fresh string); running out of
// memory there must be the call's error, not a longjmp past the caller's
// frames or, when the host calls from outside Lua, Lua's panic. So the call
// runs the relay runner (LuaBoundary.h) with the function to call as its
// one argument, relaying PushArgumentsAndCall with the arguments to push.
struct PendingArguments {
    int (*push)(void* pusher, lua_State* L); // pushes, returns the count
    void* pusher;
    int nresults;
};
// Stack: the PendingArguments (light userdata), the function to call.
extern const lua_CFunction PushArgumentsAndCall;
// CallLuaFromCpp inline, for the call-back paths that run on every event.
inline void CallLuaFromCppInline(lua_State* L, int nargs, int nresults)
{
    if (gCallTracebacks)
        return CallLuaFromCppWithTraceback(L, nargs, nresults);
    if (gCallDepth >= kMaxCallDepth)
        ThrowCallsNestedTooDeeply(L, nargs);
    ++gCallDepth;
    const int status = lua_pcall(L, nargs, nresults, 0);
    --gCallDepth;
    if (status != 0)
        RaiseLuaCallError(L);
}
} // namespace detail
// The same for callers that ignore the outcome: host errors are reported,
// not thrown. Always returns 0.
int CallLuaFromCppMaybeIgnoreErrors(lua_State* L, int nargs, int nresults);

// The kernel's protected-call hook: runs fn(L, ud) inside the host's
// exception converter.
int RunProtectedCallHook(lua_State* L, KzProtectedFunction fn, void* ud);

} // namespace vyrlua::utility
