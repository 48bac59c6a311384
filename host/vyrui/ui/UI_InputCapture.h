// Capture objects: while active, an input capture receives all mouse and
// keyboard input, and a touch capture all events of one touch, instead of
// the nodes under them (a drag that must follow the pointer anywhere).
// Subclasses answer the messages; the node manager drives them.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrui/events/UIEvents.h"

#include <optional>

namespace vyrui::ui {

class UI_InputCapture : public virtual vyrcore::utility::RefCountedObject {
public:
    // The mouse event the manager had last seen when the capture began, and
    // the last one the capture received before the current one.
    const std::optional<events::MouseEvent>& GetInitialMouseEvent() const { return mInitial; }
    const std::optional<events::MouseEvent>& GetPreviousMouseEvent() const { return mPrevious; }
    bool IsCapturing() const { return mCapturing; }

    virtual void OnCaptureBegin() {}
    virtual bool OnCaptureMouseEvent(const events::MouseEvent& event) { return false; }
    virtual bool OnCaptureKeyboardEvent(const events::KeyboardEvent& event) { return false; }
    virtual void OnCaptureEnd(bool cancelled) {}

private:
    friend class UI_NodeManager;
    std::optional<events::MouseEvent> mInitial;
    std::optional<events::MouseEvent> mPrevious;
    bool mCapturing = false;
};

class UI_TouchCapture : public virtual vyrcore::utility::RefCountedObject {
public:
    explicit UI_TouchCapture(int touchID) : mTouchID(touchID) {}
    int GetTouchID() const { return mTouchID; }
    // The event that began the captured touch, when the manager saw it.
    const std::optional<events::TouchEvent>& GetInitialTouchEvent() const { return mInitial; }
    bool IsCapturing() const { return mCapturing; }

    virtual void OnCaptureBegin() {}
    virtual bool OnCaptureTouchEvent(const events::TouchEvent& event) { return false; }
    virtual void OnCaptureEnd(bool cancelled) {}

private:
    friend class UI_NodeManager;
    int mTouchID;
    std::optional<events::TouchEvent> mInitial;
    bool mCapturing = false;
};

} // namespace vyrui::ui
