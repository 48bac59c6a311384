// A node's Lua bindings: its timers' notify functions and its binder (the
// operation-name-to-function map). The node owns it through its generic
// property slot, so bindings live exactly as long as the node.
//
// Handlers usually refer to their own node, so references in the registry
// would keep a node that has left its tree alive for good. While a node has
// no parent and is not a window, its references are parked in its anchor: a
// Lua table that is the environment of every wrapper userdata pushed for the
// node, and held elsewhere only weakly. Then the node, its wrappers and its
// handlers go together once nothing else refers to them; a tree taking the
// node moves the references back to the registry.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrui/ui/UI_Node.h"

#include <map>
#include <vector>

#include <boost/intrusive_ptr.hpp>

namespace vyrlua::ui {

class VyrBinder;

class LuaBindingTable : public vyrcore::utility::RefCountedObject {
public:
    LuaBindingTable();
    ~LuaBindingTable() override;

    // Timer ID to the notify function installed on the node for it; the
    // function holds the Lua callback.
    std::map<int, vyrui::ui::TimerNotifyFunction> timers;
    // The timers' Lua callbacks, by timer ID (the notify functions hold them
    // too, out of reach).
    std::map<int, LuaFunctionRef> timerFunctions;

    // The Lua functions attached to a control's value changes and, apart,
    // to its interactive phases; the control calls the first one only.
    struct ControlListener {
        bool registered = false; // the host callback is installed
        std::vector<LuaFunctionRef> functions;
    };
    ControlListener changed;
    ControlListener interactive;

    // The binder, made on the first binding and installed on the node.
    VyrBinder* GetBinder() const { return mBinder.get(); }
    VyrBinder& GetOrCreateBinder(vyrui::ui::UI_Node& node);

    // Gives the wrapper userdata on top of L's stack the node's anchor as
    // its environment, making the anchor when there is none. Raises on
    // memory errors: for protected code.
    void AnchorWrapper(lua_State* L);
    // Parks the references in the anchor or moves them back to the
    // registry, as the node's place says. Never raises; on a memory error
    // they stay where they are.
    void Settle(vyrui::ui::UI_Node& node);
    // The node's last wrapper goes while native code still holds the node:
    // the anchor goes with the wrapper, so the references move back to the
    // registry (still alive: the wrapper being finalized keeps its anchor
    // until the next collection).
    void WrapperGone(vyrui::ui::UI_Node& node);

    // Wrapper objects alive for the node.
    int wrappers = 0;

private:
    boost::intrusive_ptr<VyrBinder> mBinder;
    void MoveAll(int anchor);

    int mAnchor = 0;
    KzDeferredLuaStateLocator mAnchorLocator = nullptr;
};

// The node's binding table; with createIfMissing one is made when the slot
// is empty. Null when there is none, or when the slot holds something else.
LuaBindingTable* GetLuaBindingTable(vyrui::ui::UI_Node& node, bool createIfMissing);

} // namespace vyrlua::ui
