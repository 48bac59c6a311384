#include "vyrui/controls/UI_ControlView.h"

#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/UI_InputCapture.h"
#include "vyrui/ui/UI_NodeManager.h"

namespace vyrui::controls {

using events::KeyboardEvent;
using events::KeyboardEventType;
using events::MouseEvent;
using events::MouseEventType;

// Follows the pointer from press to release wherever it goes, handing the
// control its events in its own coordinates through the node's ordinary
// dispatch (so script handlers still see them first).
class UI_ControlView::PressCapture final : public ui::UI_InputCapture {
public:
    explicit PressCapture(UI_ControlView& control) : mControl(&control) {}

    bool OnCaptureMouseEvent(const MouseEvent& global) override
    {
        boost::intrusive_ptr<UI_ControlView> control = Control();
        if (!control)
            return false;
        MouseEvent local = global;
        local.globalPosition = global.position;
        local.position = control->UI_GlobalToLocalPointF(global.position);
        control->UI_DoMouseEvent(local);
        // A script that took the release leaves nothing to end the press.
        if (global.type == MouseEventType::Up && control->mCapture.get() == this)
            control->CancelPress();
        return true;
    }

    bool OnCaptureKeyboardEvent(const KeyboardEvent& event) override
    {
        if (boost::intrusive_ptr<UI_ControlView> control = Control())
            control->UI_DoKeyboardEvent(event);
        return true;
    }

    void OnCaptureEnd(bool cancelled) override
    {
        boost::intrusive_ptr<UI_ControlView> control = Control();
        if (cancelled && control && control->mCapture.get() == this)
            control->CancelPress();
    }

private:
    boost::intrusive_ptr<UI_ControlView> Control() const
    {
        ui::UI_Node::Ptr node = mControl.Lock();
        return boost::intrusive_ptr<UI_ControlView>(static_cast<UI_ControlView*>(node.get()));
    }

    vyrcore::utility::WeakPtr<ui::UI_Node> mControl;
};

UI_ControlView::UI_ControlView(std::string id, const RectF& rect)
    : UI_SubView(std::move(id), rect)
{
}

UI_ControlView::~UI_ControlView()
{
    ui::UI_NodeManager* manager = ui::UI_NodeManager::Get(false);
    if (mCapture && manager && manager->GetInputCapture() == mCapture.get())
        manager->EndInputCapture(true);
}

bool UI_ControlView::IsEffectivelyEnabled() const
{
    for (const UI_Node* node = this; node; node = node->UI_GetParentNode()) {
        if (!node->UI_IsEnabled())
            return false;
    }
    return true;
}

void UI_ControlView::SetValueUnknown()
{
    if (mValueUnknown)
        return;
    mValueUnknown = true;
    UI_Invalidate();
}

void UI_ControlView::ValueIsKnown()
{
    if (!mValueUnknown)
        return;
    mValueUnknown = false;
    UI_Invalidate();
}

float UI_ControlView::FocusRingRoom(const ui::ResolvedTheme& theme)
{
    return theme.Metric(ui::kThemeMetric_FocusRingWidth) + theme.Metric(ui::kThemeMetric_FocusRingGap);
}

void UI_ControlView::DrawFocusRing(drawbot::Painter& painter, const ui::ResolvedTheme& theme,
                                   const RectF& face, float radius, float width) const
{
    if (!ShowsFocus() || !IsEffectivelyEnabled())
        return;
    painter.FocusRing(face, theme.Color(ui::kThemeColor_FocusRing),
                      radius, width > 0 ? width : theme.Metric(ui::kThemeMetric_FocusRingWidth),
                      theme.Metric(ui::kThemeMetric_FocusRingGap));
}

void UI_ControlView::SetDownState(bool down)
{
    if (down == mDown)
        return;
    mDown = down;
    UI_Invalidate();
}

void UI_ControlView::SetHover(bool hover)
{
    if (hover == mHover)
        return;
    mHover = hover;
    UI_Invalidate();
}

void UI_ControlView::SetSuppressFocusDrawing(bool suppress)
{
    if (suppress == mSuppressFocusDrawing)
        return;
    mSuppressFocusDrawing = suppress;
    UI_Invalidate();
}

unsigned UI_ControlView::GetControlState() const
{
    unsigned state = kControlState_Normal;
    if (!IsEffectivelyEnabled())
        return kControlState_Disabled | (mValueUnknown ? unsigned(kControlState_ValueUnknown) : 0u);
    if (mHover)
        state |= kControlState_Hover;
    if (mDown)
        state |= kControlState_Pressed;
    if (ShowsFocus())
        state |= kControlState_Focused;
    if (mValueUnknown)
        state |= kControlState_ValueUnknown;
    return state;
}

void UI_ControlView::NotifyWhenChanged(ControlCallback callback)
{
    if (callback)
        mChanged.push_back(std::move(callback));
}

void UI_ControlView::Deliver(const std::vector<ControlCallback>& callbacks,
                             const std::shared_ptr<Message>& message)
{
    Ptr held(this);
    std::vector<ControlCallback> copy = callbacks;
    for (const ControlCallback& callback : copy)
        callback(message);
}

void UI_ControlView::NotifyValueChanged()
{
    if (mChanged.empty())
        return;
    Deliver(mChanged, std::make_shared<UI_ControlMessage>(boost::intrusive_ptr<UI_ControlView>(this)));
}

void UI_ControlView::Click()
{
    if (!CanPress())
        return;
    Ptr held(this);
    BeginPress(Tracking::Key, events::kModifier_None);
    EndPress(true);
}

bool UI_ControlView::CanPress() const
{
    return TakesPresses() && IsEffectivelyEnabled() && UI_IsVisible();
}

void UI_ControlView::BeginPress(Tracking how, uint32_t modifiers)
{
    Ptr held(this);
    mTracking = how;
    SetDownState(true);
    if (how == Tracking::Mouse) {
        mCapture = new PressCapture(*this);
        ui::UI_NodeManager::Get(true)->BeginInputCapture(mCapture);
    }
    OnPressBegin(modifiers);
}

void UI_ControlView::StopTracking(bool cancelled)
{
    mTracking = Tracking::None;
    SetDownState(false);
    boost::intrusive_ptr<PressCapture> capture = std::move(mCapture);
    mCapture.reset();
    ui::UI_NodeManager* manager = ui::UI_NodeManager::Get(false);
    if (capture && manager && manager->GetInputCapture() == capture.get())
        manager->EndInputCapture(cancelled);
}

void UI_ControlView::EndPress(bool inside)
{
    if (mTracking == Tracking::None)
        return;
    Ptr held(this);
    StopTracking(false);
    OnPressEnd(inside);
    if (inside)
        OnActivate();
}

void UI_ControlView::CancelPress()
{
    if (mTracking == Tracking::None)
        return;
    Ptr held(this);
    StopTracking(true);
    OnPressCancel();
}

bool UI_ControlView::UI_OnMouseEvent(const MouseEvent& event)
{
    bool inside = UI_GetBoundsF().Contains(event.position);
    switch (event.type) {
    case MouseEventType::Enter:
    case MouseEventType::Exit:
        SetHover(event.type == MouseEventType::Enter);
        return false;
    case MouseEventType::Down:
        if (event.button != events::kMouseButton_Left || !CanPress() || IsTracking())
            return false;
        if (FocusOnClick() && UI_WantsKeyboardFocus())
            UI_GainKeyboardFocus(ui::kFocusReason_Mouse);
        if (!CanPress()) // the focus change may have run code that disabled it
            return true;
        BeginPress(Tracking::Mouse, event.modifiers);
        return true;
    case MouseEventType::Drag:
        if (mTracking != Tracking::Mouse)
            return false;
        if (!CanPress()) {
            CancelPress();
            return true;
        }
        SetHover(inside);
        SetDownState(inside);
        OnPressMove(inside, event.modifiers);
        return true;
    case MouseEventType::Up:
        if (mTracking != Tracking::Mouse || event.button != events::kMouseButton_Left)
            return false;
        if (!CanPress())
            CancelPress();
        else
            EndPress(inside);
        return true;
    default:
        return false;
    }
}

bool UI_ControlView::UI_OnKeyboardEvent(const KeyboardEvent& event)
{
    bool space = event.keyCode == events::kKey_Space;
    bool enter = event.keyCode == events::kKey_Enter;
    if (event.type == KeyboardEventType::KeyDown && event.keyCode == events::kKey_Escape &&
        IsTracking()) {
        CancelPress();
        return true;
    }
    if (!(space || enter) || event.modifiers != events::kModifier_None)
        return false;
    if (event.type == KeyboardEventType::KeyDown) {
        if (IsTracking())
            return true; // key repeat, or a key while the mouse holds it
        if (!CanPress() || !UI_HasKeyboardFocus())
            return false;
        Ptr held(this);
        BeginPress(Tracking::Key, event.modifiers);
        // Return acts at once; Space acts when it is released.
        if (enter)
            EndPress(true);
        return true;
    }
    if (event.type == KeyboardEventType::KeyUp && space && mTracking == Tracking::Key) {
        EndPress(true);
        return true;
    }
    return false;
}

void UI_ControlView::UI_OnGainKeyboardFocus(int)
{
    UI_Invalidate();
}

void UI_ControlView::UI_OnLoseKeyboardFocus()
{
    if (mTracking == Tracking::Key)
        CancelPress();
    UI_Invalidate();
}

} // namespace vyrui::controls
