// The common base of every wrapper that carries a host UI node into Lua, the
// one test of whether a Lua value is such a wrapper, and the per-node Lua
// timers.
//
// A wrapper's Lua value is a full userdata one pointer wide, holding a
// pointer to the heap-allocated wrapper; the userdata's metatable is the
// registry entry named by the wrapper class's GetMetatableName(). The
// wrapper holds one use count on its node.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrlua/utility/LuaObjects.h"
#include "vyrlua/utility/LuaReference.h"
#include "vyrui/ui/UI_Node.h"

#include <boost/intrusive_ptr.hpp>
#include <boost/shared_ptr.hpp>

namespace vyrlua::ui {

using NodePtr = boost::intrusive_ptr<vyrui::ui::UI_Node>;
using LuaFunctionRef = boost::shared_ptr<utility::LuaReference<LUA_TFUNCTION>>;

class LuaControlWrapperBase {
public:
    LuaControlWrapperBase(const NodePtr& node, lua_State* L);
    // Each wrapper counts itself in the node's binding table.
    LuaControlWrapperBase(const LuaControlWrapperBase& other);
    LuaControlWrapperBase& operator=(const LuaControlWrapperBase& other);
    virtual ~LuaControlWrapperBase();

    // Installs a timer on the node that calls `callback` every `interval`
    // seconds until removed. False (and the callback dropped) without a
    // node or binding table.
    virtual bool InstallTimer(lua_State* L, float interval, LuaFunctionRef callback, int& timerID);
    virtual void RemoveTimer(int timerID);

    NodePtr GetNode() const { return node; }
    // The node without taking a use count (null once released).
    vyrui::ui::UI_Node* Node() const { return node.get(); }
    // Stops keeping the node alive; the userdata itself stays valid.
    void ReleaseNode();

    // A timer's notify: calls `callback` only for its own timer, while the
    // state lives. Errors are reported, and the timer keeps running.
    static bool OnDoTimerNotify(int firedID, int timerID, LuaFunctionRef callback);

private:
    NodePtr node;
};

// The wrapper held by the userdata at `index`, or null when its block is
// empty. Anything that is not a wrapper userdata (a table, a string, nil, a
// userdata of another kind) fails with LuaError("Bad user data"). For
// bodies behind the error boundary.
LuaControlWrapperBase* GetControlUserData(lua_State* L, int index);

// The host's conversion error for a node of the wrong class ("Invalid type
// conversion.", localised).
[[noreturn]] void ThrowInvalidTypeConversion();

// __gc of every wrapper class: deletes the wrapper the block holds, once.
// Never raises.
int CollectControlWrapper(lua_State* L);

// The kind every wrapper's payload (the wrapper object) is recorded with.
extern const utility::LuaKindTag kWrapperKind;

// The metatable field whose function type marks a wrapper.
inline constexpr const char* kControlWrapperIdentifier = "ControlWrapperIdentifier";

} // namespace vyrlua::ui
