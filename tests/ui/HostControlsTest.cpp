// The reference host's control base: press tracking and the mouse grab,
// keyboard activation, interactive phases, script handlers first, and the
// sub-view's layout.
#include "vyrui/controls/UI_Button.h"
#include "vyrui/controls/UI_Checkbox.h"
#include "vyrui/controls/UI_StaticText.h"
#include "vyrui/controls/UI_TestingSupport.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/drawbot/Supplier.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

using namespace vyrui::ui;
using namespace vyrui::controls;
using namespace vyrui::events;
using vyrcore::geom::RectF;

namespace {

// Reports its activations and every message it sends, as text.
class Probe : public UI_InteractiveControlView {
public:
    Probe(std::vector<std::string>& log) : UI_InteractiveControlView("probe", {10, 10, 40, 20})
    {
        NotifyWhenChanged([&log](const std::shared_ptr<Message>& m) {
            auto* message = dynamic_cast<UI_ControlMessage*>(m.get());
            log.push_back(message && message->GetControl().get() ? "changed" : "changed?");
        });
        NotifyWhenChangedInteractively([&log](const std::shared_ptr<Message>& m) {
            auto* message = dynamic_cast<UI_InteractiveControlChangedMessage*>(m.get());
            static const char* names[] = {"begin", "continue", "finish", "cancel"};
            log.push_back(message ? names[message->GetChangeMessage()] +
                                        std::to_string(message->GetModifierFlags())
                                  : "?");
        });
    }
    void OnActivate() override { NotifyValueChanged(); }
};

// Handles the operations it is told to, as a script's handler would.
class Handler : public UI_Binder {
public:
    std::string handles;
    std::vector<std::string> seen;
    bool UI_Notify(UI_Node&, const UI_Notification& n) override
    {
        seen.push_back(n.operation);
        return handles == n.operation;
    }
};

class HostControls : public ::testing::Test {
protected:
    void SetUp() override
    {
        window = new OS_Window("w", {0, 0, 100, 60});
        probe = new Probe(log);
        UI_Container::ChildPushBack(*window, probe);
    }
    void TearDown() override
    {
        manager->EndInputCapture(true);
        manager->ClearKeyboardFocus();
    }
    bool Mouse(MouseEventType type, float x, float y, uint32_t modifiers = 0)
    {
        MouseEvent e;
        e.type = type;
        e.position = {x, y};
        e.button = kMouseButton_Left;
        e.modifiers = modifiers;
        return manager->DispatchMouseEvent(*window, e);
    }
    bool Key(KeyboardEventType type, int32_t code, bool repeat = false)
    {
        KeyboardEvent e;
        e.type = type;
        e.keyCode = code;
        e.isRepeat = repeat;
        return manager->DispatchKeyboardEvent(e);
    }
    std::string Log()
    {
        std::string all;
        for (const std::string& s : log)
            all += (all.empty() ? "" : " ") + s;
        log.clear();
        return all;
    }

    UI_NodeManager* manager = UI_NodeManager::Get();
    std::vector<std::string> log;
    boost::intrusive_ptr<OS_Window> window;
    boost::intrusive_ptr<Probe> probe;
};

} // namespace

TEST_F(HostControls, APressGrabsThePointerAndActsOnlyWhenReleasedInside)
{
    EXPECT_TRUE(Mouse(MouseEventType::Down, 20, 20));
    EXPECT_TRUE(probe->GetDownState());
    EXPECT_TRUE(probe->UI_HasKeyboardFocus());
    EXPECT_TRUE(manager->HasInputCapture());
    // Outside the control, even outside the window, it keeps the events.
    EXPECT_TRUE(Mouse(MouseEventType::Drag, 200, 200, kModifier_Shift));
    EXPECT_FALSE(probe->GetDownState());
    EXPECT_TRUE(Mouse(MouseEventType::Drag, 30, 15));
    EXPECT_TRUE(probe->GetDownState());
    EXPECT_TRUE(Mouse(MouseEventType::Up, 30, 15));
    EXPECT_FALSE(probe->GetDownState());
    EXPECT_FALSE(manager->HasInputCapture());
    EXPECT_EQ(Log(), "begin0 continue1 continue0 finish0 changed");

    Mouse(MouseEventType::Down, 20, 20);
    Mouse(MouseEventType::Up, 90, 50);
    EXPECT_EQ(Log(), "begin0 cancel0");

    // Escape, or another capture taking over, abandons the press.
    Mouse(MouseEventType::Down, 20, 20);
    EXPECT_TRUE(Key(KeyboardEventType::KeyDown, kKey_Escape));
    EXPECT_FALSE(manager->HasInputCapture());
    Mouse(MouseEventType::Down, 20, 20);
    manager->BeginInputCapture(new UI_InputCapture);
    EXPECT_FALSE(probe->IsTracking());
    EXPECT_EQ(Log(), "begin0 cancel0 begin0 cancel0");
}

TEST_F(HostControls, DisabledOrHiddenControlsTakeNoPressAndLoseARunningOne)
{
    window->UI_SetEnabled(false);
    EXPECT_EQ(probe->GetControlState(), kControlState_Disabled);
    Mouse(MouseEventType::Down, 20, 20);
    EXPECT_FALSE(probe->IsTracking());
    window->UI_SetEnabled(true);

    Mouse(MouseEventType::Down, 20, 20);
    probe->UI_SetEnabled(false);
    Mouse(MouseEventType::Up, 20, 20);
    probe->UI_SetEnabled(true);
    EXPECT_EQ(Log(), "begin0 cancel0");

    probe->UI_GainKeyboardFocus(kFocusReason_Programmatic);
    Key(KeyboardEventType::KeyDown, kKey_Space);
    probe->UI_Show(false); // hiding takes the focus, which ends the key press
    EXPECT_FALSE(probe->IsTracking());
    EXPECT_EQ(Log(), "begin0 cancel0");
}

TEST_F(HostControls, SpaceActsOnReleaseReturnAtOnceAndOnlyWithFocus)
{
    EXPECT_FALSE(Key(KeyboardEventType::KeyDown, kKey_Space)); // not focused
    probe->UI_GainKeyboardFocus(kFocusReason_Tab);
    EXPECT_TRUE(Key(KeyboardEventType::KeyDown, kKey_Space));
    EXPECT_TRUE(probe->GetDownState());
    EXPECT_TRUE(Key(KeyboardEventType::KeyDown, kKey_Space, true)); // repeat: still one press
    EXPECT_TRUE(Key(KeyboardEventType::KeyUp, kKey_Space));
    EXPECT_FALSE(probe->GetDownState());
    EXPECT_TRUE(Key(KeyboardEventType::KeyDown, kKey_Enter));
    EXPECT_EQ(Log(), "begin0 finish0 changed begin0 finish0 changed");
    EXPECT_EQ(probe->GetControlState(), unsigned(kControlState_Focused));
    probe->SetSuppressFocusDrawing(true);
    EXPECT_EQ(probe->GetControlState(), unsigned(kControlState_Normal));
}

TEST_F(HostControls, ScriptHandlersSeeInputFirstAndCanTakeIt)
{
    boost::intrusive_ptr<Handler> handler(new Handler);
    probe->UI_SetBinder(handler);
    handler->handles = kOp_MouseEvent;
    EXPECT_TRUE(Mouse(MouseEventType::Down, 20, 20));
    EXPECT_FALSE(probe->IsTracking());
    handler->handles.clear();
    Mouse(MouseEventType::Down, 20, 20);
    Mouse(MouseEventType::Drag, 22, 20);
    // Enter, two presses and the drag, which went through the grab and still
    // reached the handler.
    EXPECT_EQ(handler->seen.size(), 4u);
    // A handler that takes the release leaves no press hanging.
    handler->handles = kOp_MouseEvent;
    Mouse(MouseEventType::Up, 22, 20);
    EXPECT_FALSE(probe->IsTracking());
    EXPECT_FALSE(manager->HasInputCapture());
    EXPECT_EQ(Log(), "begin0 continue0 cancel0");
}

TEST_F(HostControls, InteractivePhasesFollowOneChangeAtATime)
{
    std::vector<std::string> order;
    probe->ContinueInteractiveChange(1);
    probe->FinishInteractiveChange([&] { order.push_back("never"); });
    EXPECT_EQ(Log(), "");
    probe->BeginInteractiveChange([&] { order.push_back("first ended"); });
    probe->BeginInteractiveChange([&] { order.push_back("second ended"); });
    probe->ContinueInteractiveChange(3);
    probe->FinishInteractiveChange([&] { order.push_back("finish"); });
    EXPECT_EQ(Log(), "begin0 cancel0 begin0 continue3 finish0");
    EXPECT_EQ(order, (std::vector<std::string>{"first ended", "finish", "second ended"}));

    UI_TestingSupport::SimulateContinueInteractiveChange(*probe, 5);
    UI_TestingSupport::SendControlValueChangeMessage(*probe);
    probe->CancelInteractiveChange();
    EXPECT_EQ(Log(), "begin0 continue5 changed cancel0");
}

TEST_F(HostControls, ValueUnknownAndDownAreVisibleState)
{
    probe->SetValueUnknown();
    probe->SetDownState(true);
    EXPECT_EQ(probe->GetControlState(), unsigned(kControlState_ValueUnknown | kControlState_Pressed));
    window->UI_ClearDirtyRegion();
    probe->SetDownState(false);
    EXPECT_EQ(window->UI_GetDirtyRegion(), (vyrcore::geom::RectI{10, 10, 40, 20}));
}

TEST(HostSubView, BindingsKeepChildrenAtTheirEdges)
{
    boost::intrusive_ptr<UI_SubView> parent(new UI_SubView("p", {0, 0, 100, 100}));
    auto child = [&](const char* id, int binding) {
        boost::intrusive_ptr<UI_SubView> c(new UI_SubView(id, {10, 10, 20, 20}));
        c->SetLayoutBinding(binding);
        UI_Container::ChildPushBack(*parent, c);
        return c;
    };
    auto fixed = child("fixed", kLayoutBinding_TopLeft);
    auto stretch = child("stretch", kLayoutBinding_All);
    auto corner = child("corner", kLayoutBinding_Right | kLayoutBinding_Bottom);
    auto wide = child("wide", kLayoutBinding_Left | kLayoutBinding_Right);
    parent->UI_SetLocalRectF({0, 0, 150, 120}); // not laying out yet
    EXPECT_EQ(corner->UI_GetLocalRectF(), (RectF{10, 10, 20, 20}));
    parent->SetLayoutsChildren(true);
    parent->UI_SetLocalRectF({5, 5, 160, 90});
    EXPECT_EQ(fixed->UI_GetLocalRectF(), (RectF{10, 10, 20, 20}));
    EXPECT_EQ(stretch->UI_GetLocalRectF(), (RectF{10, 10, 30, 0}));
    EXPECT_EQ(corner->UI_GetLocalRectF(), (RectF{20, -20, 20, 20}));
    EXPECT_EQ(wide->UI_GetLocalRectF(), (RectF{10, 10, 30, 20}));
    EXPECT_THROW(fixed->SetLayoutBinding(16), vyrcore::config::HostException);
    UI_Node::Ptr stranger(new UI_Node("s"));
    auto supplier = vyrui::drawbot::CreateDefaultSupplier();
    vyrui::drawbot::Drawbot drawbot(supplier, supplier->NewOffscreenSurface(1, 1, true));
    EXPECT_THROW(parent->UI_DispatchDrawToChild(*stranger, drawbot), vyrcore::config::HostException);
}

namespace {

// Clicks at the centre of `control` through the window, pausing between
// press and release for `during`.
void ClickThrough(OS_Window& window, UI_ControlView& control, const std::function<void()>& during = {})
{
    UI_NodeManager* manager = UI_NodeManager::Get();
    MouseEvent e;
    e.button = kMouseButton_Left;
    const RectF& r = control.UI_GetLocalRectF();
    e.position = {r.left + r.width / 2, r.top + r.height / 2};
    e.type = MouseEventType::Down;
    manager->DispatchMouseEvent(window, e);
    if (during)
        during();
    e.type = MouseEventType::Up;
    manager->DispatchMouseEvent(window, e);
}

} // namespace

TEST(HostButton, NotifiesOnReleaseOnPressOrOnBothEdgesWhenSpringLoaded)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 100, 100}));
    boost::intrusive_ptr<UI_Button> button(new UI_Button("b", {10, 10, 60, 24}, u"OK"));
    UI_Container::ChildPushBack(*window, button);
    std::vector<int> values;
    button->NotifyWhenChanged([&](const std::shared_ptr<Message>&) { values.push_back(button->GetValue()); });

    ClickThrough(*window, *button, [&] { EXPECT_TRUE(values.empty()); });
    EXPECT_EQ(values, (std::vector<int>{0}));
    EXPECT_TRUE(button->UI_HasKeyboardFocus());

    values.clear();
    button->SetNotificationOnMouseDown(true);
    button->SetChangeFocusOnClick(false);
    UI_NodeManager::Get()->ClearKeyboardFocus();
    ClickThrough(*window, *button, [&] { EXPECT_EQ(values.size(), 1u); });
    EXPECT_EQ(values.size(), 1u);
    EXPECT_FALSE(button->UI_HasKeyboardFocus());

    values.clear();
    button->SetSpringLoaded(true);
    ClickThrough(*window, *button, [&] { EXPECT_EQ(button->GetValue(), 1); });
    EXPECT_EQ(values, (std::vector<int>{1, 0}));

    button->SetValueUnknown();
    button->SetValue(1);
    EXPECT_FALSE(button->IsValueUnknown());
    EXPECT_TRUE(button->GetControlState() & kControlState_On);
    EXPECT_THROW(button->SetCornerRadius(-1), vyrcore::config::HostException);
    EXPECT_THROW(button->SetStrokeSizes({1, NAN}), vyrcore::config::HostException);
}

TEST(HostCheckbox, AClickTogglesAndNotifiesASetDoesNot)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 200, 100}));
    boost::intrusive_ptr<UI_Checkbox> box(new UI_Checkbox("c", {10, 10, 150, 20}, u"Loop"));
    UI_Container::ChildPushBack(*window, box);
    std::vector<bool> seen;
    box->NotifyWhenChanged([&](const std::shared_ptr<Message>&) { seen.push_back(box->IsChecked()); });
    ClickThrough(*window, *box);
    box->SetChecked(false);
    box->SetValueUnknown();
    ClickThrough(*window, *box); // an unknown value becomes checked
    box->SetEnabled(false);
    ClickThrough(*window, *box);
    EXPECT_EQ(seen, (std::vector<bool>{true, true}));
    // The label sits right of the box, inside the control.
    RectF label = box->GetLabelTextRect();
    EXPECT_GT(label.left, box->GetBoxRect().Right());
    EXPECT_EQ(label.Right(), 150);
    UI_NodeManager::Get()->ClearKeyboardFocus();
}

TEST(HostStaticText, TakesNoPressNorFocusAndRefusesBadStyles)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 200, 100}));
    boost::intrusive_ptr<UI_StaticText> text(new UI_StaticText("t", {10, 10, 150, 20}, u"Label"));
    UI_Container::ChildPushBack(*window, text);
    ClickThrough(*window, *text, [&] { EXPECT_FALSE(text->IsTracking()); });
    EXPECT_FALSE(text->UI_GainKeyboardFocus(kFocusReason_Tab));
    text->SetValueUnknown();
    text->SetStringValue(u"Other");
    EXPECT_EQ(text->GetLabelText(), u"Other");
    EXPECT_FALSE(text->IsValueUnknown());
    EXPECT_THROW(text->SetCustomFontSize(-1), vyrcore::config::HostException);
    EXPECT_THROW(text->SetCustomTextColor({2, 0, 0, 1}), vyrcore::config::HostException);
}
