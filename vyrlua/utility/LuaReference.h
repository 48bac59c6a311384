// Lua values kept alive by native objects, and the one way native code calls
// such a value back.
//
// A LuaReference owns one slot of the Lua registry. It is never copied: it is
// owned through boost::shared_ptr, and the pointer is what gets shared
// (timers, std::function objects, wrappers). It keeps the host's deferred
// state locator rather than the state, so a reference that outlives the
// state is dropped without touching Lua.
#pragma once

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaApi.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaProtectedCall.h"

#include <boost/shared_ptr.hpp>

#include <type_traits>

namespace vyrlua::utility {

// The locator the host keeps in the registry under "dlsl-fn", or null when
// there is none.
KzDeferredLuaStateLocator FindDeferredLuaStateLocator(lua_State* L);

// What a script run by a stock lua5.1 or luajit is told when it uses
// something that needs the host program.
inline constexpr const char* kNeedsHostMessage =
    "vyrlua: this needs the host application's state locator; run the script with vyrlua-host";

namespace detail {
// FindDeferredLuaStateLocator, but throws when there is none: with no host
// state open at all (a stock interpreter), LuaError(kNeedsHostMessage); else
// LuaError("RegisterDeferredLuaStateLocator must be called prior to using
// LuaFunction").
KzDeferredLuaStateLocator RequireLocator(lua_State* L);
// Checks the value on top of the stack, as luaL_checktype(L, -1, type) does.
void CheckTopType(lua_State* L, int type);
[[noreturn]] void ThrowArgType(lua_State* L, int narg, int type);
// Pushes slot `ref` of anchor table `anchor` (nil when the table is gone).
void PushAnchored(lua_State* L, int anchor, int ref);
// Frees slot `ref` of anchor table `anchor`, if the table is still there.
void UnrefAnchored(lua_State* L, int anchor, int ref);
// Makes room for a call-back and pushes the referenced value.
void PushForCall(lua_State* L, int ref);
[[noreturn]] void ThrowNoRoomToCall();
// PushForCall for a stack holding `top` values, the value in the registry
// (anchor 0) or in an anchor table. On an empty stack (the event loop's
// case) the room is there without asking Lua (EnsureStack).
inline void PushForCallInline(lua_State* L, int top, int ref, int anchor = 0)
{
    if (top != 0 && !lua_checkstack(L, LUA_MINSTACK))
        ThrowNoRoomToCall();
    if (anchor == 0)
        lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
    else
        PushAnchored(L, anchor, ref);
}
// Called in a catch handler: hands the exception being handled to the
// host's converter, which reports it; rethrows a foreign one.
void ReportCurrentException();
} // namespace detail

// Anchor tables: where the references of a node that no tree holds are
// parked, so that only the node's wrappers keep them (see LuaBindingTable).
// The state's anchors table holds them by number with weak values.
// Pushes anchor `anchor` (nil when collected); with `create`, a new table
// under that number when there is none. Raises on memory errors: run it
// protected.
void PushAnchorTable(lua_State* L, int anchor, bool create);
// A number for a new anchor, never given out before in the process.
int NewAnchorNumber();

template <int N>
class LuaReference {
    static_assert(N == LUA_TTABLE || N == LUA_TFUNCTION || N == LUA_TUSERDATA,
                  "references hold tables, functions or userdata");

public:
    using Ptr = boost::shared_ptr<LuaReference>;

    // Takes the value on top of the stack (it must be of type N) and pops it.
    // Throws ArgumentError for a wrong type and LuaError when the host has not
    // registered its locator; the stack is unchanged then. For bodies behind
    // the error boundary.
    static Ptr Create(lua_State* L)
    {
        detail::CheckTopType(L, N);
        // The locator first: a missing one must not leave a slot behind.
        KzDeferredLuaStateLocator locator = detail::RequireLocator(L);
        int ref = luaL_ref(L, LUA_REGISTRYINDEX);
        LuaReference* holder = nullptr;
        try {
            holder = new LuaReference(locator, ref);
        } catch (...) {
            luaL_unref(L, LUA_REGISTRYINDEX, ref);
            throw;
        }
        // Should the pointer fail to allocate, it deletes the holder, and
        // the holder frees the slot.
        return Ptr(holder);
    }

    // What a setter does with argument `narg`: nil gives a null pointer (no
    // reference); a value of type N is referenced as Create does; anything
    // else is an argument error naming `narg`.
    static Ptr FromArg(lua_State* L, int narg)
    {
        if (lua_type(L, narg) == LUA_TNIL)
            return Ptr();
        if (lua_type(L, narg) != N)
            detail::ThrowArgType(L, narg, N);
        lua_pushvalue(L, narg);
        try {
            return Create(L);
        } catch (...) {
            lua_pop(L, 1);
            throw;
        }
    }

    // Frees the slot while the locator still yields a state; after the state
    // is closed Lua is not touched.
    ~LuaReference()
    {
        if (mLocator != nullptr) {
            if (lua_State* L = mLocator()) {
                if (mAnchor == 0)
                    luaL_unref(L, LUA_REGISTRYINDEX, mRef);
                else
                    detail::UnrefAnchored(L, mAnchor, mRef);
            }
        }
        mRef = -1;
    }

    LuaReference(const LuaReference&) = delete;
    LuaReference& operator=(const LuaReference&) = delete;

    // The slot, in the registry or (Anchor() not 0) in that anchor table.
    int Ref() const { return mRef; }
    int Anchor() const { return mAnchor; }
    KzDeferredLuaStateLocator Locator() const { return mLocator; }
    // The host's live state, or null once it is closed.
    lua_State* State() const { return mLocator != nullptr ? mLocator() : nullptr; }
    // Pushes the held value.
    void Push(lua_State* L) const
    {
        if (mAnchor == 0)
            lua_rawgeti(L, LUA_REGISTRYINDEX, mRef);
        else
            detail::PushAnchored(L, mAnchor, mRef);
    }

    // Moves the value into anchor table `anchor` (0: the registry). Raises
    // on memory errors before anything changed: run it protected.
    void MoveTo(lua_State* L, int anchor)
    {
        if (anchor == mAnchor)
            return;
        Push(L);
        int ref;
        if (anchor == 0) {
            ref = luaL_ref(L, LUA_REGISTRYINDEX);
        } else {
            PushAnchorTable(L, anchor, false);
            lua_insert(L, -2);
            ref = luaL_ref(L, -2);
            lua_pop(L, 1);
        }
        if (mAnchor == 0)
            luaL_unref(L, LUA_REGISTRYINDEX, mRef);
        else
            detail::UnrefAnchored(L, mAnchor, mRef);
        mRef = ref;
        mAnchor = anchor;
    }

private:
    LuaReference(KzDeferredLuaStateLocator locator, int ref) : mLocator(locator), mRef(ref) {}

    KzDeferredLuaStateLocator mLocator;
    int mRef;
    int mAnchor = 0;
};

using LuaTableReference = LuaReference<LUA_TTABLE>;
using LuaFunctionReference = LuaReference<LUA_TFUNCTION>;
using LuaUserDataReference = LuaReference<LUA_TUSERDATA>;

// What a call-back does when the Lua call (or pushing its arguments, or
// reading its results) fails: throw the HostException on, or report it
// through the host error service and carry on.
enum class OnLuaError { Throw, Report };

inline int NoArguments(lua_State*)
{
    return 0;
}
inline void NoResults(lua_State*) {}

namespace detail {
template <typename PushArgs>
bool PushesNothing(const PushArgs& pushArgs)
{
    if constexpr (std::is_convertible_v<const PushArgs&, int (*)(lua_State*)>)
        return static_cast<int (*)(lua_State*)>(pushArgs) == &NoArguments;
    else
        return false;
}

} // namespace detail

// Calls back the referenced value: pushes it, then `pushArgs(L)`, which
// pushes the arguments and returns their count; calls it through
// CallLuaFromCpp with `nresults` results; runs `readResults(L)` with the
// results on top. The stack is restored to where it was in every case.
//
// Returns false without touching anything when there is no reference or the
// locator yields no state (the host's "not handled"). Otherwise returns true
// once the results were read; with OnLuaError::Report a failure is reported
// and gives false, with OnLuaError::Throw it throws HostException.
template <int N, typename PushArgs = int (*)(lua_State*),
          typename ReadResults = void (*)(lua_State*)>
bool CallLuaReferenceIn(lua_State* L, const LuaReference<N>& reference, int nresults,
                        PushArgs&& pushArgs, ReadResults&& readResults, OnLuaError onError);

template <int N, typename PushArgs = int (*)(lua_State*),
          typename ReadResults = void (*)(lua_State*)>
bool CallLuaReference(const boost::shared_ptr<LuaReference<N>>& reference, int nresults,
                      PushArgs&& pushArgs = NoArguments, ReadResults&& readResults = NoResults,
                      OnLuaError onError = OnLuaError::Throw)
{
    lua_State* L = reference ? reference->State() : nullptr;
    if (L == nullptr)
        return false;
    return CallLuaReferenceIn(L, *reference, nresults, pushArgs, readResults, onError);
}

// CallLuaReference with the state the reference's locator gave (not null):
// for callers that needed it already.
template <int N, typename PushArgs, typename ReadResults>
bool CallLuaReferenceIn(lua_State* L, const LuaReference<N>& reference, int nresults,
                        PushArgs&& pushArgs, ReadResults&& readResults, OnLuaError onError)
{
    ScPreserveLuaStack guard(L);
    auto call = [&] {
        if (detail::PushesNothing(pushArgs)) {
            detail::PushForCallInline(L, guard.Top(), reference.Ref(), reference.Anchor());
            detail::CallLuaFromCppInline(L, 0, nresults);
        } else {
            // Runner, then the function: the arguments are pushed protected.
            detail::PushForCallInline(L, guard.Top(), reference.Ref(), reference.Anchor());
            detail::PushRelayRunner(L);
            lua_insert(L, -2);
            auto pusher = [&pushArgs](lua_State* S) { return pushArgs(S); };
            detail::PendingArguments pending{
                [](void* p, lua_State* S) { return (*static_cast<decltype(pusher)*>(p))(S); },
                &pusher, nresults};
            const detail::Relay relay{detail::PushArgumentsAndCall, &pending};
            detail::ScRelay current(&relay);
            detail::CallLuaFromCppInline(L, 1, nresults);
        }
        readResults(L);
    };
    if (onError == OnLuaError::Throw) {
        call();
        return true;
    }
    // The host's converter sees only a failure: a call that succeeds builds
    // no std::function for it.
    try {
        call();
        return true;
    } catch (...) {
        detail::ReportCurrentException();
        return false;
    }
}

// A Lua timer's tick: only when the timer that fired is the one the function
// was installed for, calls it with no arguments and no results. Errors are
// reported, not thrown. Returns true when the function was called.
bool NotifyLuaTimer(int firedID, int timerID,
                    const boost::shared_ptr<LuaReference<LUA_TFUNCTION>>& function);

} // namespace vyrlua::utility
