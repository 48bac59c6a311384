// A control the user changes by dragging or holding it: it reports the
// change in phases (begin, any number of continues, then finish or cancel)
// to its interactive callbacks, besides the plain value-changed message. A
// mouse press is such a change: press begins it, each drag step continues
// it, release inside finishes it, release outside or Escape cancels it.
#pragma once

#include "vyrui/controls/UI_ControlView.h"

namespace vyrui::controls {

enum InteractiveChangePhase : int {
    kInteractiveChange_Begin = 0,
    kInteractiveChange_Continue = 1,
    kInteractiveChange_Finish = 2,
    kInteractiveChange_Cancel = 3,
};

class UI_InteractiveControlChangedMessage : public UI_ControlMessage {
public:
    UI_InteractiveControlChangedMessage(boost::intrusive_ptr<UI_ControlView> control,
                                        InteractiveChangePhase phase, uint8_t modifierFlags)
        : UI_ControlMessage(std::move(control)), mPhase(phase), mModifiers(modifierFlags)
    {
    }
    InteractiveChangePhase GetChangeMessage() const { return mPhase; }
    // The modifier keys of the step (the low byte of events::Modifier).
    uint8_t GetModifierFlags() const { return mModifiers; }

private:
    InteractiveChangePhase mPhase;
    uint8_t mModifiers;
};

class UI_InteractiveControlView : public UI_ControlView {
public:
    // Takes the keyboard focus (a plain control view does not).
    explicit UI_InteractiveControlView(std::string id = {}, const RectF& rect = {});

    // Starts a change. One already running is cancelled first. `completion`
    // runs when this change ends, finished or cancelled.
    void BeginInteractiveChange(std::function<void()> completion = {});
    // A step of the running change; nothing without one.
    void ContinueInteractiveChange(uint8_t modifierFlags);
    // Ends the running change; nothing without one (and `completion` does
    // not run). `completion` runs after the finish message, then the one
    // given to Begin.
    void FinishInteractiveChange(std::function<void()> completion = {});
    // Ends the running change as abandoned; nothing without one.
    void CancelInteractiveChange();
    bool IsChangingInteractively() const { return mChanging; }

    // Adds a host callback for the phases; each gets a
    // UI_InteractiveControlChangedMessage.
    void NotifyWhenChangedInteractively(ControlCallback callback);

protected:
    void OnPressBegin(uint32_t modifiers) override;
    void OnPressMove(bool inside, uint32_t modifiers) override;
    void OnPressEnd(bool inside) override;
    void OnPressCancel() override;

private:
    void Send(InteractiveChangePhase phase, uint8_t modifiers);
    void End(InteractiveChangePhase phase, const std::function<void()>& completion);

    bool mChanging = false;
    std::function<void()> mCompletion;
    std::vector<ControlCallback> mInteractive;
};

} // namespace vyrui::controls
