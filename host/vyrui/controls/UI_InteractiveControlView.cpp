#include "vyrui/controls/UI_InteractiveControlView.h"

namespace vyrui::controls {

UI_InteractiveControlView::UI_InteractiveControlView(std::string id, const RectF& rect)
    : UI_ControlView(std::move(id), rect)
{
    UI_SetWantsKeyboardFocus(true);
}

void UI_InteractiveControlView::NotifyWhenChangedInteractively(ControlCallback callback)
{
    if (callback)
        mInteractive.push_back(std::move(callback));
}

void UI_InteractiveControlView::Send(InteractiveChangePhase phase, uint8_t modifiers)
{
    if (mInteractive.empty())
        return;
    Deliver(mInteractive, std::make_shared<UI_InteractiveControlChangedMessage>(
                              boost::intrusive_ptr<UI_ControlView>(this), phase, modifiers));
}

void UI_InteractiveControlView::BeginInteractiveChange(std::function<void()> completion)
{
    Ptr held(this);
    if (mChanging)
        CancelInteractiveChange();
    mChanging = true;
    mCompletion = std::move(completion);
    Send(kInteractiveChange_Begin, 0);
}

void UI_InteractiveControlView::ContinueInteractiveChange(uint8_t modifierFlags)
{
    if (mChanging)
        Send(kInteractiveChange_Continue, modifierFlags);
}

void UI_InteractiveControlView::End(InteractiveChangePhase phase,
                                    const std::function<void()>& completion)
{
    if (!mChanging)
        return;
    Ptr held(this);
    // Ended before anyone hears of it: a callback may begin the next change.
    mChanging = false;
    std::function<void()> begun = std::move(mCompletion);
    mCompletion = nullptr;
    Send(phase, 0);
    if (completion)
        completion();
    if (begun)
        begun();
}

void UI_InteractiveControlView::FinishInteractiveChange(std::function<void()> completion)
{
    End(kInteractiveChange_Finish, completion);
}

void UI_InteractiveControlView::CancelInteractiveChange()
{
    End(kInteractiveChange_Cancel, {});
}

void UI_InteractiveControlView::OnPressBegin(uint32_t)
{
    BeginInteractiveChange();
}

void UI_InteractiveControlView::OnPressMove(bool, uint32_t modifiers)
{
    ContinueInteractiveChange(static_cast<uint8_t>(modifiers & 0xFF));
}

void UI_InteractiveControlView::OnPressEnd(bool inside)
{
    if (inside)
        FinishInteractiveChange();
    else
        CancelInteractiveChange();
}

void UI_InteractiveControlView::OnPressCancel()
{
    CancelInteractiveChange();
}

} // namespace vyrui::controls
