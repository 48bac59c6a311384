// The base of every control: a sub-view with the state a user sees
// (enabled, hovered, pressed, focused, value unknown), a press that grabs the
// mouse until release, activation from the keyboard, and value-changed
// notification to host callbacks. Input reaches a control after the node's
// script handlers (UI_Node's dispatch); a control reacts in the UI_On...
// hooks and draws through the theme and the painter only.
#pragma once

#include "vyrui/ui/UI_SubView.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vyrui::drawbot {
class Painter;
}
namespace vyrui::ui {
class ResolvedTheme;
}

namespace vyrui::controls {

using ui::PointF;
using ui::RectF;

class UI_ControlView;

// What a control sends to the callbacks that listen to it.
class Message {
public:
    virtual ~Message() = default;
};

class UI_ControlMessage : public Message {
public:
    explicit UI_ControlMessage(boost::intrusive_ptr<UI_ControlView> control)
        : mControl(std::move(control))
    {
    }
    const boost::intrusive_ptr<UI_ControlView>& GetControl() const { return mControl; }

private:
    boost::intrusive_ptr<UI_ControlView> mControl;
};

using ControlCallback = std::function<void(const std::shared_ptr<Message>&)>;

// What a control looks like at a moment (bit mask; the theme takes it).
enum ControlState : unsigned {
    kControlState_Normal = 0,
    kControlState_Hover = 1,
    kControlState_Pressed = 2,
    kControlState_Focused = 4,
    kControlState_Disabled = 8,
    kControlState_ValueUnknown = 16,
    kControlState_On = 32, // a set value: a checked box, a latched button
};

class UI_ControlView : public ui::UI_SubView {
public:
    explicit UI_ControlView(std::string id = {}, const RectF& rect = {});
    ~UI_ControlView() override;

    // Enabling is the node's; a control is usable only when its ancestors are
    // enabled too.
    void SetEnabled(bool enabled) { UI_SetEnabled(enabled); }
    bool GetEnabled() const { return UI_IsEnabled(); }
    bool IsEffectivelyEnabled() const;

    // The mixed state: the control shows no value until one is set.
    void SetValueUnknown();
    bool IsValueUnknown() const { return mValueUnknown; }

    // The pressed look. A press by mouse or keyboard sets it; setting it
    // from outside only changes the look.
    bool GetDownState() const { return mDown; }
    void SetDownState(bool down);
    bool IsHovered() const { return mHover; }
    // Whether a press (mouse or key) is in progress.
    bool IsTracking() const { return mTracking != Tracking::None; }

    bool GetSuppressFocusDrawing() const { return mSuppressFocusDrawing; }
    void SetSuppressFocusDrawing(bool suppress);
    // Focused and allowed to show it.
    bool ShowsFocus() const { return !mSuppressFocusDrawing && UI_HasKeyboardFocus(); }

    // The state bits of the moment, for drawing.
    virtual unsigned GetControlState() const;

    // Adds a host callback for value changes; every callback added is called,
    // in order, with a UI_ControlMessage.
    void NotifyWhenChanged(ControlCallback callback);

    // Simulated input for tests and scripts: as a click the user made.
    void Click();

protected:
    // Sends a UI_ControlMessage to the value-changed callbacks.
    void NotifyValueChanged();
    // Sends `message` to `callbacks` (a copy of the list: a callback may add
    // others), the control held for the duration.
    void Deliver(const std::vector<ControlCallback>& callbacks, const std::shared_ptr<Message>& message);
    // A value was set: the control leaves the unknown state.
    void ValueIsKnown();
    // How far inside its bounds a control draws its face, leaving room for
    // the focus ring.
    static float FocusRingRoom(const ui::ResolvedTheme& theme);
    // The ring around `face` (drawn in the room FocusRingRoom leaves), when
    // the control shows its focus.
    void DrawFocusRing(drawbot::Painter& painter, const ui::ResolvedTheme& theme, const RectF& face,
                       float radius, float width = 0) const;

    // Whether the control takes presses at all (static text does not).
    virtual bool TakesPresses() const { return true; }
    // A press began (mouse down or Space), moved (mouse only: `inside` tells
    // whether the pointer is over the control), ended by release (`inside`
    // false for a release outside) or was cancelled (Escape, a lost grab, a
    // disabled or hidden control).
    virtual void OnPressBegin(uint32_t modifiers) {}
    virtual void OnPressMove(bool inside, uint32_t modifiers) {}
    virtual void OnPressEnd(bool inside) {}
    virtual void OnPressCancel() {}
    // A completed press: a click released inside, Space released, Return.
    virtual void OnActivate() {}
    // Whether a mouse press takes the keyboard focus.
    virtual bool FocusOnClick() const { return true; }

    bool UI_OnMouseEvent(const events::MouseEvent& event) override;
    bool UI_OnKeyboardEvent(const events::KeyboardEvent& event) override;
    void UI_OnGainKeyboardFocus(int reason) override;
    void UI_OnLoseKeyboardFocus() override;

private:
    friend class UI_TestingSupport;
    class PressCapture;
    enum class Tracking { None, Mouse, Key };

    bool CanPress() const;
    void BeginPress(Tracking how, uint32_t modifiers);
    void EndPress(bool inside);
    void CancelPress();
    // Ends the press and gives the pointer back.
    void StopTracking(bool cancelled);
    void SetHover(bool hover);

    bool mValueUnknown = false;
    bool mDown = false;
    bool mHover = false;
    bool mSuppressFocusDrawing = false;
    Tracking mTracking = Tracking::None;
    boost::intrusive_ptr<PressCapture> mCapture;
    std::vector<ControlCallback> mChanged;
};

} // namespace vyrui::controls
