// The reference host's event loop, node timers, input routing, capture and
// tool tips, and the debug database.
#include "vyrcore/DebugDatabase.h"
#include "vyrcore/config.h"
#include "vyrui/EventLoop.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <gtest/gtest.h>

#include <cmath>

#include <memory>
#include <string>
#include <vector>

using namespace vyrui::ui;
using namespace vyrui::events;
using vyrcore::geom::RectF;
using vyrui::EventLoop;

namespace {

// A node that records the messages it gets and handles them when told to.
class Recorder : public UI_Node {
public:
    Recorder(std::string id, RectF rect, std::vector<std::string>& log)
        : UI_Node(std::move(id), rect), mLog(log)
    {
    }
    bool handles = true;
    bool UI_OnMouseEvent(const MouseEvent& e) override
    {
        mLog.push_back(UI_GetNodeID() + ":" + std::string(MouseEventTypeName(e.type)) + "@" +
                       std::to_string(int(e.position.x)) + "," + std::to_string(int(e.position.y)));
        return handles;
    }
    bool UI_OnTouchEvent(const TouchEvent& e) override
    {
        mLog.push_back(UI_GetNodeID() + ":touch-" + std::string(TouchPhaseName(e.touch.phase)));
        return handles;
    }

private:
    std::vector<std::string>& mLog;
};

class HostEvents : public ::testing::Test {
protected:
    // The loop registers itself with the node manager; one per test.
    EventLoop loop{EventLoop::Clock::Virtual};
    std::vector<std::string> log;

    boost::intrusive_ptr<Recorder> Make(std::string id, RectF rect)
    {
        return boost::intrusive_ptr<Recorder>(new Recorder(std::move(id), rect, log));
    }
    static MouseEvent Mouse(MouseEventType type, float x, float y, double time = 0)
    {
        MouseEvent e;
        e.type = type;
        e.position = {x, y};
        e.button = kMouseButton_Left;
        e.timestamp = time;
        return e;
    }
};

} // namespace

TEST_F(HostEvents, LoopRunsTasksInDueOrderOnTheVirtualClock)
{
    std::vector<std::string> order;
    loop.CallAfter(0.3, [&] { order.push_back("c"); });
    loop.CallAfter(0.1, [&] { order.push_back("a"); });
    loop.CallAfter(0.1, [&] { order.push_back("b"); }); // same time: scheduling order
    loop.Post([&] { order.push_back("posted"); });
    EXPECT_EQ(loop.Now(), 0);
    loop.RunFor(0.2);
    EXPECT_EQ(order, (std::vector<std::string>{"posted", "a", "b"}));
    EXPECT_DOUBLE_EQ(loop.Now(), 0.2);
    loop.Run();
    EXPECT_EQ(order.back(), "c");
    EXPECT_DOUBLE_EQ(loop.Now(), 0.3);
    EXPECT_FALSE(loop.RunNext());
}

TEST_F(HostEvents, RepeatingTasksKeepTheirCadenceUntilCancelled)
{
    std::vector<double> times;
    EventLoop::TaskID id = 0;
    id = loop.CallEvery(0.25, [&] {
        times.push_back(loop.Now());
        return true;
    });
    loop.RunFor(1.0);
    EXPECT_EQ(times, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
    loop.Cancel(id);
    loop.RunFor(1.0);
    EXPECT_EQ(times.size(), 4u);

    // A zero or NaN interval cannot starve the loop.
    int ticks = 0;
    loop.CallEvery(NAN, [&] { return ++ticks < 3; });
    loop.Run();
    EXPECT_EQ(ticks, 3);
}

TEST_F(HostEvents, CancellingWithoutDroppingLetsTheDueFiringHappen)
{
    int a = 0, b = 0;
    EventLoop::TaskID second = 0;
    loop.CallEvery(1, [&] {
        ++a;
        loop.Cancel(second, false);
        return true;
    });
    second = loop.CallEvery(1, [&] { return ++b > 0; });
    loop.RunFor(3);
    EXPECT_EQ(a, 3);
    EXPECT_EQ(b, 1);
    EXPECT_FALSE(loop.IsScheduled(second));
}

TEST_F(HostEvents, NodeTimersRepeatUntilRemovedAndDieWithTheNode)
{
    UI_Node::Ptr node(new UI_Node("n"));
    std::vector<int> fired;
    auto notify = std::make_shared<std::function<bool(int)>>([&](int id) {
        fired.push_back(id);
        return true;
    });
    node->UI_InstallTimerNotifyFunction(notify);
    node->UI_InstallTimer(0.5f, 7);
    node->UI_InstallTimer(0.75f, 8);
    loop.RunFor(1.5);
    // At 1.5 both are due; 8 was rescheduled first (at 0.75), so it goes first.
    EXPECT_EQ(fired, (std::vector<int>{7, 8, 7, 8, 7}));

    fired.clear();
    node->UI_RemoveTimer(7);
    loop.RunFor(1.5);
    EXPECT_EQ(fired, (std::vector<int>{8, 8}));

    EXPECT_THROW(node->UI_InstallTimer(NAN, 9), vyrcore::config::HostException);
    EXPECT_THROW(node->UI_InstallTimer(-1, 9), vyrcore::config::HostException);
    node.reset();
    EXPECT_EQ(loop.ScheduledCount(), 0u);
}

TEST_F(HostEvents, MouseEventsReachTheTargetThenBubble)
{
    auto root = Make("root", {0, 0, 200, 200});
    auto panel = Make("panel", {10, 10, 100, 100});
    auto leaf = Make("leaf", {20, 20, 30, 30});
    UI_Container::ChildPushBack(*root, panel);
    UI_Container::ChildPushBack(*panel, leaf);
    UI_NodeManager* manager = UI_NodeManager::Get();

    leaf->handles = false;
    EXPECT_TRUE(manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 35, 40)));
    EXPECT_EQ(log, (std::vector<std::string>{"leaf:enter@5,10", "leaf:down@5,10", "panel:down@25,30"}));
    EXPECT_EQ(manager->GetMouseOverNode(), leaf);
    EXPECT_TRUE(panel->UI_IsMouseOver());

    // The button is held: dragging outside still goes to the leaf.
    log.clear();
    leaf->handles = true;
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Drag, 150, 150));
    EXPECT_EQ(log, (std::vector<std::string>{"leaf:exit@120,120", "root:enter@150,150",
                                             "leaf:drag@120,120"}));
    log.clear();
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Up, 150, 150));
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 151, 150));
    EXPECT_EQ(log, (std::vector<std::string>{"leaf:up@120,120", "root:move@151,150"}));
}

TEST_F(HostEvents, QuickPressesCountAsDoubleClicks)
{
    auto root = Make("root", {0, 0, 100, 100});
    int clicks = 0;
    struct Counter : UI_Node {
        int* clicks;
        bool UI_OnMouseEvent(const MouseEvent& e) override
        {
            if (e.type == MouseEventType::Down)
                *clicks = e.clickCount;
            return true;
        }
    };
    boost::intrusive_ptr<Counter> node(new Counter);
    node->clicks = &clicks;
    node->UI_SetLocalRectF({0, 0, 50, 50});
    UI_Container::ChildPushBack(*root, node);
    UI_NodeManager* manager = UI_NodeManager::Get();
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 10, 10, 100.0));
    EXPECT_EQ(clicks, 1);
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 11, 10, 100.2));
    EXPECT_EQ(clicks, 2);
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 11, 10, 101.0));
    EXPECT_EQ(clicks, 1);
}

TEST_F(HostEvents, FiltersCapturesAndModalWindowsComeFirst)
{
    auto root = Make("root", {0, 0, 100, 100});
    UI_NodeManager* manager = UI_NodeManager::Get();

    struct Filter : UI_Node {
        bool UI_OnPreMouseEvent(const MouseEvent&) override { return true; }
    };
    UI_Node::Ptr filter(new Filter);
    manager->AddMouseEventFilterNode(*filter);
    manager->AddMouseEventFilterNode(*filter);
    EXPECT_EQ(manager->MouseEventFilterNodeCount(), 1u);
    EXPECT_TRUE(manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 5, 5)));
    EXPECT_TRUE(log.empty());
    filter.reset(); // a dead filter is forgotten
    EXPECT_EQ(manager->MouseEventFilterNodeCount(), 0u);

    struct Capture : UI_InputCapture {
        std::vector<std::string>* log;
        void OnCaptureBegin() override { log->push_back("begin"); }
        bool OnCaptureMouseEvent(const MouseEvent& e) override
        {
            log->push_back("captured@" + std::to_string(int(e.position.x)));
            return true;
        }
        void OnCaptureEnd(bool cancelled) override { log->push_back(cancelled ? "cancel" : "end"); }
    };
    boost::intrusive_ptr<Capture> capture(new Capture);
    capture->log = &log;
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 7, 7));
    log.clear();
    manager->BeginInputCapture(capture);
    ASSERT_TRUE(capture->GetInitialMouseEvent());
    EXPECT_EQ(capture->GetInitialMouseEvent()->position.x, 7);
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 8, 8));
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 9, 9));
    EXPECT_EQ(capture->GetPreviousMouseEvent()->position.x, 9);
    manager->BeginInputCapture(boost::intrusive_ptr<Capture>(capture)); // restarting cancels first
    manager->EndInputCapture(false);
    EXPECT_FALSE(manager->HasInputCapture());
    EXPECT_EQ(log, (std::vector<std::string>{"begin", "captured@8", "captured@9", "cancel", "begin",
                                             "end"}));

    log.clear();
    boost::intrusive_ptr<UI_Dialog> dialog(new UI_Dialog("dialog", {0, 0, 10, 10}));
    dialog->BeginModal();
    EXPECT_TRUE(manager->HasModalWindow());
    EXPECT_FALSE(manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Down, 5, 5)));
    EXPECT_TRUE(log.empty());
    dialog.reset();
    EXPECT_FALSE(manager->HasModalWindow());
}

TEST_F(HostEvents, TouchesStayWithTheirTargetOrCapture)
{
    auto root = Make("root", {0, 0, 100, 100});
    auto left = Make("left", {0, 0, 50, 100});
    UI_Container::ChildPushBack(*root, left);
    UI_NodeManager* manager = UI_NodeManager::Get();
    TouchEvent t;
    t.touch.touchID = 4;
    t.touch.position = {10, 10};
    manager->DispatchTouchEvent(*root, t);
    t.touch.phase = TouchPhase::Moved;
    t.touch.position = {90, 10}; // over root now, but the touch began on left
    manager->DispatchTouchEvent(*root, t);
    EXPECT_EQ(log, (std::vector<std::string>{"left:touch-began", "left:touch-moved"}));

    struct Capture : UI_TouchCapture {
        using UI_TouchCapture::UI_TouchCapture;
        int events = 0;
        bool ended = false;
        bool OnCaptureTouchEvent(const TouchEvent&) override { return ++events > 0; }
        void OnCaptureEnd(bool) override { ended = true; }
    };
    boost::intrusive_ptr<Capture> capture(new Capture(4));
    manager->BeginTouchCapture(capture);
    ASSERT_TRUE(capture->GetInitialTouchEvent());
    EXPECT_EQ(capture->GetInitialTouchEvent()->touch.position.x, 10);
    EXPECT_EQ(manager->GetTouchCaptureForID(4), capture);
    t.touch.phase = TouchPhase::Ended;
    EXPECT_TRUE(manager->DispatchTouchEvent(*root, t));
    EXPECT_EQ(capture->events, 1);
    EXPECT_TRUE(capture->ended); // the touch ended, and so did its capture
    EXPECT_FALSE(manager->HasTouchCapture());
    EXPECT_EQ(log.size(), 2u);
}

TEST_F(HostEvents, ToolTipsShowAfterTheirDelay)
{
    auto root = Make("root", {0, 0, 100, 100});
    auto tipped = Make("tipped", {0, 0, 50, 20});
    tipped->UI_SetToolTip(u"Hello", 400);
    UI_Container::ChildPushBack(*root, tipped);
    UI_NodeManager* manager = UI_NodeManager::Get();
    ToolTipManager* tips = manager->GetToolTipManager();

    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 10, 10));
    loop.RunFor(0.3);
    EXPECT_FALSE(tips->IsTipShown());
    loop.RunFor(0.2);
    ASSERT_TRUE(tips->IsTipShown());
    EXPECT_EQ(tips->GetShownTipText(), u"Hello");
    EXPECT_EQ(tips->GetShownTipPosition().y, 24); // below the node, which it avoids

    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 80, 80));
    EXPECT_FALSE(tips->IsTipShown());
    tips->SetTipsEnabled(false);
    manager->DispatchMouseEvent(*root, Mouse(MouseEventType::Move, 10, 10));
    loop.RunFor(1);
    EXPECT_FALSE(tips->IsTipShown());
    tips->SetTipsEnabled(true);
}

TEST(HostDebugDatabase, TypedEntriesFromText)
{
    auto& db = vyrcore::debug::DebugDatabase::Get();
    unsigned before = db.ChangeCount();
    std::string error;
    EXPECT_FALSE(db.LoadText("bool gripeTest = yes; int answerTest = 0x2A\n# note\n"
                             "number ratioTest = 0.5; bool badTest = maybe; float x = 1",
                             &error));
    EXPECT_NE(error.find("badTest"), std::string::npos) << error;
    EXPECT_TRUE(db.GetBool("gripeTest"));
    EXPECT_EQ(db.GetInt("answerTest"), 42);
    EXPECT_EQ(db.GetNumber("ratioTest"), 0.5);
    EXPECT_FALSE(db.GetBool("badTest", false));
    // A read of the wrong type gives the default.
    EXPECT_EQ(db.GetInt("gripeTest", -1), -1);
    EXPECT_GT(db.ChangeCount(), before);
    for (const char* name : {"gripeTest", "answerTest", "ratioTest"})
        db.Remove(name);
}
