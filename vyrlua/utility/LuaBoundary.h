// The error boundary every C function registered with Lua runs through.
//
// Under a C-built Lua 5.1 a Lua error is a longjmp, and a longjmp across a
// C++ frame that owns an object with a destructor is undefined behaviour. So
// function bodies never raise Lua errors themselves: they throw C++
// exceptions (the argument readers in LuaArgs.h included), and the boundary
// turns the exception into a Lua error after the body's frame is gone. Under
// LuaJIT the Lua error is a foreign exception that passes through unchanged,
// and so must it through every native frame between a Lua call and here:
// a catch (...) anywhere in the library either cleans up and rethrows, or
// calls RethrowForeignException first (the host shares the rule).
#pragma once

#include "vyrcore/ForeignException.h"
#include "vyrlua/utility/LuaApi.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace vyrlua::utility {

using vyrcore::config::IsForeignException;
using vyrcore::config::RethrowForeignException;

// A bad argument: becomes the standard luaL_argerror text, to the byte
// ("bad argument #2 to 'f' (number expected, got nil)", with the calling
// script's position in front).
class ArgumentError : public std::runtime_error {
public:
    ArgumentError(int narg, const std::string& message)
        : std::runtime_error(message), mArg(narg)
    {
    }
    int Arg() const { return mArg; }

private:
    int mArg;
};

// An error raised as luaL_error raises it: the message with the calling
// script's position in front ("script.lua:3: Bad user data").
class LuaError : public std::runtime_error {
public:
    explicit LuaError(const std::string& message) : std::runtime_error(message) {}
};

// Any other std::exception becomes a Lua error carrying exactly its what().

// For code that holds objects with destructors: Lua reports running out of
// memory (and any error) with a longjmp, which would skip them. These run the
// Lua work protected and throw instead: std::bad_alloc for memory, which the
// boundary turns into Lua's "not enough memory", and std::runtime_error with
// Lua's message for any other error.
//
// Calls fn with `data` as its light userdata argument 1 and pushes the one
// value it returns.
void PushFromProtectedCall(lua_State* L, lua_CFunction fn, void* data);
// lua_pushlstring.
void PushLString(lua_State* L, std::string_view text);

namespace detail {
// Native work run protected without allocating to get there: the relay
// runner, a C function kept in the registry, is called with lua_pcall and
// calls `fn` in its own frame with `data` inserted as a light userdata at
// index 1 (pushed under protection: the push can allocate under LuaJIT).
// What to run reaches it through ScRelay, set for the call's duration,
// rather than as an argument.
struct Relay {
    lua_CFunction fn;
    void* data;
};
extern thread_local const Relay* gRelay;

// Sets the relay, and puts back that of an enclosing call when it ends.
class ScRelay {
public:
    explicit ScRelay(const Relay* relay) : mOuter(gRelay) { gRelay = relay; }
    ~ScRelay() { gRelay = mOuter; }
    ScRelay(const ScRelay&) = delete;
    ScRelay& operator=(const ScRelay&) = delete;

private:
    const Relay* mOuter;
};

// Pushes the relay runner, storing it in the registry (at an integer key
// luaL_ref never hands out) the first time a state needs it; fetching it
// then allocates nothing. Throws std::bad_alloc when storing fails.
void PushRelayRunner(lua_State* L);
// The runner as registered, to leave it out of tracebacks.
lua_CFunction RelayRunner();
// Called inside the boundary's catch handler. Pushes the Lua error value for
// the exception being handled and returns true; returns false, pushing
// nothing, for a foreign exception (a LuaJIT error) that must go on. Never
// raises a Lua error.
bool PushCurrentException(lua_State* L) noexcept;
} // namespace detail

// The boundary: register LuaBoundary<Body> where Body would be registered.
template <lua_CFunction Body>
int LuaBoundary(lua_State* L)
{
    try {
        return Body(L);
    } catch (...) {
        if (!detail::PushCurrentException(L))
            throw;
    }
    // The exception object is gone: nothing in this frame has a destructor.
    return lua_error(L);
}

} // namespace vyrlua::utility
