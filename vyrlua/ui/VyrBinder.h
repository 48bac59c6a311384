// A node's binder: receives the node's notifications from the host (input
// messages, control notifications) and calls the Lua function bound to the
// notification's operation name with its arguments, then the node.
#pragma once

#include "vyrlua/ui/LuaBinder.h"
#include "vyrui/ui/UI_Binder.h"

namespace vyrlua::ui {

class VyrBinder : public LuaBinder, public vyrui::ui::UI_Binder {
public:
    // `node` owns the binder; the binder only points back.
    explicit VyrBinder(vyrui::ui::UI_Node* node) : mNode(node) {}

    bool UI_Notify(vyrui::ui::UI_Node& node, const vyrui::ui::UI_Notification& notification) override;
    // Both settle where the node's references live (LuaBindingTable).
    void Bind(std::string_view operation, LuaFunctionRef function) override;
    void UI_OnParentChanged(vyrui::ui::UI_Node& node) override;

    vyrui::ui::UI_Node* GetNode() const { return mNode; }

private:
    vyrui::ui::UI_Node* mNode;
};

// Pushes the notification's arguments (and the node, when it passes one) as
// Lua values: events as event objects, nodes through the wrapper factory,
// interactive changes as "interactiveChangeMessage" tables. Returns the
// count pushed.
int PushNotificationArgs(lua_State* L, vyrui::ui::UI_Node& node,
                         const vyrui::ui::UI_Notification& notification);

// Calls `function` with the notification's arguments and no results, for
// notifications that answer nothing (a control's value change). A failure
// is reported through the host error service. False when nothing was called
// (no function, or the state is gone).
bool NotifyLuaFunction(const LuaFunctionRef& function, vyrui::ui::UI_Node& node,
                       const vyrui::ui::UI_Notification& notification);

} // namespace vyrlua::ui
