// What a node hands its notifications to: input messages it did not handle
// natively, and any other named notification a node sends (a script-drawn
// view's drawing, a tree's or list box's callbacks). Value changes and
// interactive phases are host callbacks of the control instead
// (UI_ControlView::NotifyWhenChanged). The scripting layer installs one
// binder per node and answers each notification with "handled" or not.
//
// There is one entry point for every kind of notification: a name and a
// list of arguments in host terms. Adding a notification is choosing a name
// and its arguments; nothing here or in the binder changes.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrcore/geom.h"
#include "vyrui/events/UIEvents.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace vyrui::drawbot {
class Drawbot;
}

namespace vyrui::ui {

class UI_Node;

// The input operations every node delivers (the names scripts bind).
inline constexpr const char* kOp_MouseEvent = "OnDoMouseEvent";
inline constexpr const char* kOp_PreMouseEvent = "OnDoPreMouseEvent";
inline constexpr const char* kOp_KeyboardEvent = "OnDoKeyboardEvent";
inline constexpr const char* kOp_TouchEvent = "OnDoTouchEvent";
inline constexpr const char* kOp_MultiTouchEvent = "OnDoMultiTouchEvent";
inline constexpr const char* kOp_GestureEvent = "OnDoGestureEvent";
inline constexpr const char* kOp_Cursor = "OnDoCursor";

// A phase of an interactive (dragging) change, with the control it concerns.
struct UI_InteractiveChange {
    UI_Node* control = nullptr;
    int phase = 0;
};

// One argument of a notification. Pointers are borrowed for the duration of
// the call; the binder copies what it keeps.
using UI_NotificationArg =
    std::variant<std::monostate, bool, int, double, std::string_view, std::u16string_view,
                 const events::MouseEvent*, const events::KeyboardEvent*,
                 const events::TouchEvent*, const events::MultiTouchEvent*,
                 const events::GestureEvent*, UI_Node*, UI_InteractiveChange,
                 vyrcore::geom::PointF, drawbot::Drawbot*>;

struct UI_Notification {
    const char* operation;
    std::span<const UI_NotificationArg> args;
    // Whether the handler also receives the node the notification concerns,
    // after `args` (input messages do; value changes do not).
    bool passNode = true;
};

class UI_Binder : public virtual vyrcore::utility::RefCountedObject {
public:
    // Delivers the notification for `node`: false when nothing is bound to
    // its operation or the handler did not handle it.
    virtual bool UI_Notify(UI_Node& node, const UI_Notification& notification) = 0;
    // The node was put into a tree or taken out of one.
    virtual void UI_OnParentChanged(UI_Node& node) {}

protected:
    ~UI_Binder() override = default;
};

// Delivers through the node's binder (none: not handled). The binder is held
// for the call, so a handler may replace it.
bool UI_NotifyBinder(UI_Node& node, const char* operation,
                     std::initializer_list<UI_NotificationArg> args, bool passNode = true);

} // namespace vyrui::ui
