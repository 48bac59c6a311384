// A node's Lua bindings: its timers' notify functions and its binder (the
// operation-name-to-function map). The node owns it through its generic
// property slot, so bindings live exactly as long as the node.
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

private:
    boost::intrusive_ptr<VyrBinder> mBinder;
};

// The node's binding table; with createIfMissing one is made when the slot
// is empty. Null when there is none, or when the slot holds something else.
LuaBindingTable* GetLuaBindingTable(vyrui::ui::UI_Node& node, bool createIfMissing);

} // namespace vyrlua::ui
