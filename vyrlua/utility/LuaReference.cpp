#include "vyrlua/utility/LuaReference.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaException.h"
#include "vyrlua/utility/LuaObjects.h"

namespace vyrlua::utility {

KzDeferredLuaStateLocator FindDeferredLuaStateLocator(lua_State* L)
{
    KzDeferredLuaStateLocator locator = nullptr;
    lua_pushlstring(L, "dlsl-fn", 7);
    // Raw: the registry is reachable from scripts through the debug library,
    // and a metamethod there must not run here.
    lua_rawget(L, LUA_REGISTRYINDEX);
    // Only the host's block qualifies. A script can plant any userdata there
    // (through the debug library), strip its metatable first, and a block
    // one pointer wide may be a library object: what the block holds is
    // called only when the kernel registered it.
    int base = lua_gettop(L) - 1;
    if (lua_type(L, -1) == LUA_TUSERDATA && lua_objlen(L, -1) == sizeof(locator) &&
        !lua_getmetatable(L, -1)) {
        void* held = *static_cast<void**>(lua_touserdata(L, -1));
        if (PayloadKind(held) == nullptr)
            locator = *static_cast<KzDeferredLuaStateLocator*>(lua_touserdata(L, -1));
    }
    lua_settop(L, base);
    return KzKernel_IsRegisteredLuaStateLocator(locator) ? locator : nullptr;
}

namespace {
// The registry key of the anchors table: an address, so looking it up
// allocates nothing.
const char kAnchorsKey = 0;

// Pushes the anchors table, or nil when none was made.
void PushAnchors(lua_State* L)
{
    lua_pushlightuserdata(L, const_cast<char*>(&kAnchorsKey));
    lua_rawget(L, LUA_REGISTRYINDEX);
}
} // namespace

namespace detail {

KzDeferredLuaStateLocator RequireLocator(lua_State* L)
{
    KzDeferredLuaStateLocator locator = FindDeferredLuaStateLocator(L);
    if (locator == nullptr) {
        // No host state at all: a stock interpreter loaded the library. Say
        // what to do rather than name the host's start-up step.
        if (KzKernel_CurrentLuaState() == nullptr)
            throw LuaError(kNeedsHostMessage);
        throw LuaError("RegisterDeferredLuaStateLocator must be called prior to using LuaFunction");
    }
    return locator;
}

void CheckTopType(lua_State* L, int type)
{
    if (lua_type(L, -1) != type)
        ThrowArgType(L, -1, type);
}

void ThrowArgType(lua_State* L, int narg, int type)
{
    ThrowTypeError(L, narg, lua_typename(L, type));
}

void PushAnchored(lua_State* L, int anchor, int ref)
{
    PushAnchors(L);
    if (lua_istable(L, -1))
        lua_rawgeti(L, -1, anchor);
    else
        lua_pushnil(L);
    if (lua_istable(L, -1))
        lua_rawgeti(L, -1, ref);
    else
        lua_pushnil(L);
    lua_replace(L, -3);
    lua_pop(L, 1);
}

void UnrefAnchored(lua_State* L, int anchor, int ref)
{
    PushAnchorTable(L, anchor, false);
    if (lua_istable(L, -1))
        luaL_unref(L, -1, ref);
    lua_pop(L, 1);
}

void PushForCall(lua_State* L, int ref)
{
    PushForCallInline(L, lua_gettop(L), ref);
}

void ThrowNoRoomToCall()
{
    throw LuaException("stack overflow (no room to call back into Lua)");
}

void ReportCurrentException()
{
    // A LuaJIT error unwinding from a call-back's own pushes goes on to the
    // Lua call that catches it.
    RethrowForeignException();
    // Rethrown inside the converter, so it reports exactly what it would
    // have caught had the call run inside it.
    vyrcore::config::ExecuteFunctionAndConvertException([]() -> int { throw; });
}

} // namespace detail

void PushAnchorTable(lua_State* L, int anchor, bool create)
{
    PushAnchors(L);
    if (!lua_istable(L, -1)) {
        lua_pop(L, 1);
        if (!create) {
            lua_pushnil(L);
            return;
        }
        lua_newtable(L);
        lua_createtable(L, 0, 1);
        lua_pushliteral(L, "v");
        lua_setfield(L, -2, "__mode");
        lua_setmetatable(L, -2);
        lua_pushlightuserdata(L, const_cast<char*>(&kAnchorsKey));
        lua_pushvalue(L, -2);
        lua_rawset(L, LUA_REGISTRYINDEX);
    }
    lua_rawgeti(L, -1, anchor);
    if (lua_isnil(L, -1) && create) {
        lua_pop(L, 1);
        // Room for a node's usual references: parking them then allocates
        // nothing, so it cannot fail for memory.
        lua_createtable(L, 4, 0);
        lua_pushvalue(L, -1);
        lua_rawseti(L, -3, anchor);
    }
    lua_remove(L, -2);
}

int NewAnchorNumber()
{
    static int next = 0;
    return ++next;
}

bool NotifyLuaTimer(int firedID, int timerID,
                    const boost::shared_ptr<LuaReference<LUA_TFUNCTION>>& function)
{
    if (firedID != timerID || !function)
        return false;
    lua_State* L = function->State();
    if (L == nullptr)
        return false;
    // CallLuaReference with no arguments and no results, written out: a
    // call that succeeds leaves the stack as it found it, so only a failure
    // has a stack to restore. Called even when the function fails: the
    // error is the script's, and the timer keeps firing.
    int top = lua_gettop(L);
    try {
        detail::PushForCallInline(L, top, function->Ref(), function->Anchor());
        detail::CallLuaFromCppInline(L, 0, 0);
    } catch (...) {
        detail::ReportCurrentException();
        lua_settop(L, top);
    }
    return true;
}

} // namespace vyrlua::utility
