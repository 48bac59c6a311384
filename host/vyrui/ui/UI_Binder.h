// What a node hands its input messages to when it does not handle them in
// native code: the scripting layer installs one per node (its binder) and
// answers each message with "handled" or not.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrui/events/UIEvents.h"

namespace vyrui::ui {

class UI_Node;

class UI_Binder : public virtual vyrcore::utility::RefCountedObject {
public:
    virtual bool OnDoMouseEvent(UI_Node& node, const events::MouseEvent& event) = 0;
    virtual bool OnDoPreMouseEvent(UI_Node& node, const events::MouseEvent& event) = 0;
    virtual bool OnDoKeyboardEvent(UI_Node& node, const events::KeyboardEvent& event) = 0;
    virtual bool OnDoTouchEvent(UI_Node& node, const events::TouchEvent& event) = 0;
    virtual bool OnDoMultiTouchEvent(UI_Node& node, const events::MultiTouchEvent& event) = 0;
    virtual bool OnDoGestureEvent(UI_Node& node, const events::GestureEvent& event) = 0;
    virtual bool OnDoCursor(UI_Node& node, const events::MouseEvent& event) = 0;

protected:
    ~UI_Binder() override = default;
};

} // namespace vyrui::ui
