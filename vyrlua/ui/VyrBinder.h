// A node's binder: receives the node's input messages from the host and
// calls the Lua function bound to the message's operation name with
// (event, node).
#pragma once

#include "vyrlua/ui/LuaBinder.h"
#include "vyrui/ui/UI_Binder.h"

#include <array>

namespace vyrlua::ui {

// The operations the binder dispatches, by name.
enum class NodeOperation {
    MouseEvent,
    PreMouseEvent,
    KeyboardEvent,
    TouchEvent,
    MultiTouchEvent,
    GestureEvent,
    Cursor,
};
inline constexpr std::array<const char*, 7> kNodeOperationNames = {
    "OnDoMouseEvent",      "OnDoPreMouseEvent", "OnDoKeyboardEvent", "OnDoTouchEvent",
    "OnDoMultiTouchEvent", "OnDoGestureEvent",  "OnDoCursor",
};

class VyrBinder : public LuaBinder, public vyrui::ui::UI_Binder {
public:
    // `node` owns the binder; the binder only points back.
    explicit VyrBinder(vyrui::ui::UI_Node* node) : mNode(node) {}

    void Bind(std::string_view operation, LuaFunctionRef function) override;

    bool OnDoMouseEvent(vyrui::ui::UI_Node& node, const vyrui::events::MouseEvent& event) override;
    bool OnDoPreMouseEvent(vyrui::ui::UI_Node& node, const vyrui::events::MouseEvent& event) override;
    bool OnDoKeyboardEvent(vyrui::ui::UI_Node& node, const vyrui::events::KeyboardEvent& event) override;
    bool OnDoTouchEvent(vyrui::ui::UI_Node& node, const vyrui::events::TouchEvent& event) override;
    bool OnDoMultiTouchEvent(vyrui::ui::UI_Node& node,
                             const vyrui::events::MultiTouchEvent& event) override;
    bool OnDoGestureEvent(vyrui::ui::UI_Node& node, const vyrui::events::GestureEvent& event) override;
    bool OnDoCursor(vyrui::ui::UI_Node& node, const vyrui::events::MouseEvent& event) override;

    vyrui::ui::UI_Node* GetNode() const { return mNode; }

private:
    template <typename Event, typename PushEvent>
    bool Deliver(NodeOperation op, vyrui::ui::UI_Node& node, const Event& event, PushEvent push);

    vyrui::ui::UI_Node* mNode;
    // The dispatched operations' functions, so a message costs no name
    // look-up; kept equal to the map's entries.
    std::array<LuaFunctionRef, kNodeOperationNames.size()> mKnown;
};

} // namespace vyrlua::ui
