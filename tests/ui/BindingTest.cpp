// Operation binding, dispatch of host messages to Lua handlers, timers,
// input events as Lua objects, and capture objects.
#include "UiFixture.h"

#include "support/TestHelpers.h"

#include "vyrcore/DebugDatabase.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <cstring>

using namespace vyrui::ui;
using namespace vyrui::events;
using vyrlua::ui::NodePtr;
using vyrtest::kArmedPrelude;
using vyrtest::LogCapture;
using vyrtest::MouseDown;
using vyrtest::UiTest;

TEST_F(UiTest, AScriptBuiltTreeReceivesAHitTestedMouseEvent)
{
    Run(R"(
        root = vyrcontrols.NewWindow('root', Rect(0, 0, 200, 100), 'Main')
        local panel = vyrcontrols.NewNode('panel', Rect(10, 10, 100, 50))
        local leaf = vyrcontrols.NewNode('leaf', Rect(20, 5, 30, 20))
        root:ChildPushBack(panel)
        panel:ChildPushBack(leaf)
        leaf:BindVyrOperation('OnDoMouseEvent', function(e, node)
          got = string.format('%s %g,%g global %g,%g clicks %d on %s', e.type, e.x, e.y,
                              e.globalX, e.globalY, e.clickCount, node:UI_GetNodeID())
          return true
        end))");
    NodePtr root = GlobalNode("root");
    ASSERT_TRUE(root);
    EXPECT_TRUE(UI_NodeManager::Get()->DispatchMouseEvent(*root, MouseDown(35.5f, 20)));
    EXPECT_EQ(Eval("return got"), "down 5.5,5 global 35.5,20 clicks 1 on leaf");
    // Outside the leaf: nobody handles it.
    EXPECT_FALSE(UI_NodeManager::Get()->DispatchMouseEvent(*root, MouseDown(150, 80)));
}

TEST_F(UiTest, RebindingReplacesAndTheResultIsLuaTruth)
{
    NodePtr node(new UI_Node("n", {0, 0, 10, 10}));
    SetGlobalNode("n", node);
    EXPECT_EQ(Eval("return n:BindVyrOperation('OnDoMouseEvent', function() return false end)"), "true");
    Run("n:BindVyrOperation('OnDoMouseEvent', function() calls = (calls or 0) + 1 return result end)");
    const std::pair<const char*, bool> results[] = {
        {"nil", false}, {"false", false}, {"0", true}, {"''", true}, {"{}", true}, {"true", true}};
    for (auto [value, handled] : results) {
        Run(std::string("result = ") + value);
        EXPECT_EQ(node->UI_DoMouseEvent(MouseDown(1, 1)), handled) << value;
    }
    EXPECT_EQ(Eval("return calls"), "6"); // only the second function ever ran

    EXPECT_EQ(Error("n:BindVyrOperation('OnDoMouseEvent', 'not a function')"),
              "test:1: bad argument #2 to 'BindVyrOperation' (function expected, got string)");
    EXPECT_EQ(Error("n:BindVyrOperation(nil, print)"),
              "test:1: bad argument #1 to 'BindVyrOperation' (string expected, got nil)");
    EXPECT_EQ(Error("n.BindVyrOperation({}, 'x', print)"), "test:1: Bad user data");
    Run("n:Release()");
    EXPECT_EQ(Eval("return n:BindVyrOperation('OnDoMouseEvent', print)"), "false");
}

TEST_F(UiTest, BindingsBelongToTheNodeNotTheWrapper)
{
    NodePtr node(new UI_Node("n", {0, 0, 10, 10}));
    SetGlobalNode("n", node);
    Run("n:BindVyrOperation('OnDoKeyboardEvent', function(e, self) "
        "  seen = e.type .. ' ' .. e.keyCode .. ' ' .. e.text .. ' ' .. self:UI_GetNodeID() "
        "  return true end)");
    Run("n = nil; collectgarbage(); collectgarbage()");
    KeyboardEvent k;
    k.type = KeyboardEventType::Char;
    k.keyCode = kKey_A;
    k.text = "ä";
    EXPECT_TRUE(node->UI_DoKeyboardEvent(k));
    EXPECT_EQ(Eval("return seen"), "char 65 ä n");
    // Unbound operations are not handled; any name can be bound.
    EXPECT_FALSE(node->UI_DoTouchEvent(TouchEvent{}));
    SetGlobalNode("n", node);
    EXPECT_EQ(Eval("return n:BindVyrOperation('OnSomethingElse', print)"), "true");
}

TEST_F(UiTest, DispatchEmptiesTheStackAndReportsHandlerErrors)
{
    NodePtr node(new UI_Node("n", {0, 0, 10, 10}));
    SetGlobalNode("n", node);
    Run("n:BindVyrOperation('OnDoGestureEvent', function(e) return e.kind == 'zoom' end)");
    lua_pushinteger(L(), 1);
    lua_pushstring(L(), "left by the caller");
    GestureEvent g;
    g.kind = GestureKind::Zoom;
    EXPECT_TRUE(node->UI_DoGestureEvent(g));
    EXPECT_EQ(lua_gettop(L()), 0);

    Run("n:BindVyrOperation('OnDoGestureEvent', function() error('boom') end)");
    lua_pushnil(L());
    EXPECT_FALSE(node->UI_DoGestureEvent(g));
    EXPECT_EQ(lua_gettop(L()), 0);
    ASSERT_EQ(reportedErrors.size(), 1u);
    EXPECT_EQ(reportedErrors[0], "test:1: boom");

    // After the state is gone a bound operation is simply not handled.
    Runtime().Close();
    EXPECT_FALSE(node->UI_DoGestureEvent(g));
}

TEST_F(UiTest, NilReturnsAreLoggedOnlyWithTheGripeFlag)
{
    NodePtr node(new UI_Node("n", {0, 0, 10, 10}));
    SetGlobalNode("n", node);
    const char* handler = "\n\nlocal f = function() end\nreturn f";
    ASSERT_EQ(luaL_loadbuffer(L(), handler, std::strlen(handler), "@/some/dir/handlers.lua"), 0);
    lua_call(L(), 0, 1);
    lua_setglobal(L(), "handler");
    Run("n:BindVyrOperation('OnDoMouseEvent', handler)");
    auto& db = vyrcore::debug::DebugDatabase::Get();
    {
        LogCapture log;
        db.Set("vyrluaNilReturnGripe", false);
        EXPECT_FALSE(node->UI_DoMouseEvent(MouseDown(1, 1)));
        EXPECT_EQ(log.Text(), "");
        db.Set("vyrluaNilReturnGripe", true);
        EXPECT_FALSE(node->UI_DoMouseEvent(MouseDown(1, 1)));
        Run("n:BindVyrOperation('OnDoMouseEvent', function() return false end)");
        EXPECT_FALSE(node->UI_DoMouseEvent(MouseDown(1, 1))); // false is not nil
        EXPECT_EQ(log.Text(), "[vyrlua] warning: OnDoMouseEvent returned nil - handlers.lua:3\n");
    }
    db.Remove("vyrluaNilReturnGripe");
}

TEST_F(UiTest, TimersFireRepeatSurviveErrorsAndStopWhenRemoved)
{
    NodePtr node(new UI_Node("n"));
    SetGlobalNode("n", node);
    Run(R"(
        ticks = 0
        id = n:UI_InstallTimer(0.5, function()
          ticks = ticks + 1
          if ticks == 2 then error('tick two fails') end
        end))");
    EXPECT_EQ(Eval("return type(id)"), "number");
    Loop().RunFor(1.6);
    EXPECT_EQ(Eval("return ticks"), "3");
    ASSERT_EQ(reportedErrors.size(), 1u);
    EXPECT_NE(reportedErrors[0].find("tick two fails"), std::string::npos);

    // Collecting the wrapper does not stop the timer: it belongs to the node.
    Run("n = nil; collectgarbage()");
    Loop().RunFor(0.5);
    EXPECT_EQ(Eval("return ticks"), "4");
    SetGlobalNode("n", node);
    Run("n:UI_RemoveTimer(id)");
    Loop().RunFor(2);
    EXPECT_EQ(Eval("return ticks"), "4");
    EXPECT_FALSE(node->UI_HasTimer(static_cast<int>(std::stod(Eval("return id")))));

    Run("n:UI_RemoveTimer(12345)"); // unknown: harmless
    EXPECT_EQ(Error("n:UI_InstallTimer(0/0, print)"),
              "UI_InstallTimer: the interval must be a finite number of seconds >= 0");
    EXPECT_EQ(Error("n:UI_InstallTimer(1, 'no')"),
              "test:1: bad argument #2 to 'UI_InstallTimer' (function expected, got string)");
    EXPECT_EQ(Error("n:UI_RemoveTimer(2^40)"),
              "test:1: bad argument #1 to 'UI_RemoveTimer' (number has no integer representation)");
}

TEST_F(UiTest, TimerIDsAreUniqueAndATimerCanRemoveItself)
{
    Run(R"(
        a = vyrcontrols.NewNode(); b = vyrcontrols.NewNode()
        count = 0
        ida = a:UI_InstallTimer(0.1, function() count = count + 1; a:UI_RemoveTimer(ida) end)
        idb = b:UI_InstallTimer(0.1, function() end))");
    EXPECT_EQ(Eval("return ida ~= idb"), "true");
    Loop().RunFor(1);
    EXPECT_EQ(Eval("return count"), "1");
}

TEST_F(UiTest, EventsRoundTripThroughLua)
{
    MouseEvent m;
    m.type = MouseEventType::Wheel;
    m.position = {1.5f, -2};
    m.globalPosition = {100.25f, 3};
    m.button = kMouseButton_Right;
    m.buttons = kMouseButton_Right | kMouseButton_Middle;
    m.modifiers = kModifier_Shift | kModifier_Command;
    m.clickCount = 2;
    m.wheelDelta = {0, -3};
    m.timestamp = 12.125;
    vyrlua::ui::PushMouseEventToLua(L(), m);
    EXPECT_EQ(*vyrlua::ui::GetMouseEventFromLua(L(), -1), m);
    lua_setglobal(L(), "m");
    EXPECT_EQ(Run("return m.type, m.x, m.globalX, m.buttons, m.modifiers, m.wheelDeltaY, m.nothing"),
              (std::vector<std::string>{"wheel", "1.5", "100.25", "6", "9", "-3", "nil"}));
    EXPECT_EQ(Run("return m:HasModifier(1), m:HasModifier(2), tostring(m:GetPoint())"),
              (std::vector<std::string>{"true", "false", "PointF32(1.5, -2)"}));
    // The constructor reads the same fields back.
    EXPECT_EQ(Eval("local c = vyrlua_CreateNewVYRUIMouseEvent{type = m.type, x = m.x, y = m.y, "
                   "globalX = m.globalX, globalY = m.globalY, button = m.button, buttons = m.buttons, "
                   "modifiers = m.modifiers, clickCount = m.clickCount, wheelDeltaX = m.wheelDeltaX, "
                   "wheelDeltaY = m.wheelDeltaY, timestamp = m.timestamp} "
                   "return c.timestamp == m.timestamp and c.type == 'wheel' and c.y == -2"),
              "true");
    EXPECT_EQ(vyrlua::ui::GetKeyboardEventFromLua(L(), 1), nullptr);

    MultiTouchEvent mt;
    mt.touches.push_back({3, TouchPhase::Moved, {1, 2}, {3, 4}, 0.5f});
    mt.touches.push_back({9, TouchPhase::Ended, {5, 6}, {7, 8}, 1});
    mt.timestamp = 4;
    vyrlua::ui::PushMultiTouchEventToLua(L(), mt);
    EXPECT_EQ(*vyrlua::ui::GetMultiTouchEventFromLua(L(), -1), mt);
    lua_setglobal(L(), "mt");
    EXPECT_EQ(Run("return mt.count, mt.touches[2].phase, mt:GetTouch(1).pressure, (mt:GetTouch(3))"),
              (std::vector<std::string>{"2", "ended", "0.5", "nil"}));
    Run("c = vyrlua_CreateNewVYRUIMultiTouchEvent{touches = mt.touches, timestamp = 4}");
    lua_getglobal(L(), "c");
    EXPECT_EQ(*vyrlua::ui::GetMultiTouchEventFromLua(L(), -1), mt);
    lua_pop(L(), 1);

    EXPECT_EQ(Eval("return vyrlua_CreateNewVYRUIGestureEvent{kind = 'rotate', rotation = 90}.rotation"),
              "90");
    EXPECT_EQ(Eval("return vyrlua_CreateNewVYRUITouchEvent{touchID = 7, phase = 'cancelled'}.phase"),
              "cancelled");
    EXPECT_EQ(Eval("return vyrlua_CreateNewVYRUIKeyboardEvent().type"), "keyDown");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMouseEvent{type = 'click'}"),
              "test:1: vyrlua_CreateNewVYRUIMouseEvent: field 'type' 'click' is not one of "
              "down, up, move, drag, enter, exit, wheel");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMouseEvent{clickCount = 0/0}"),
              "test:1: vyrlua_CreateNewVYRUIMouseEvent: field 'clickCount' must be an integer "
              "from -2147483648 to 2147483647");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMouseEvent{buttons = -1}"),
              "test:1: vyrlua_CreateNewVYRUIMouseEvent: field 'buttons' must be an integer "
              "from 0 to 4294967295");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMouseEvent(5)"),
              "test:1: bad argument #1 to 'vyrlua_CreateNewVYRUIMouseEvent' (table expected, got number)");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMultiTouchEvent{touches = {1}}"),
              "test:1: vyrlua_CreateNewVYRUIMultiTouchEvent: field 'touches' must hold tables "
              "(entry 1 is not)");
}

TEST_F(UiTest, ScriptsSendMouseEventsToOtherNodes)
{
    Run(R"(
        root = vyrcontrols.NewNode('root', Rect(0, 0, 100, 100))
        target = vyrcontrols.NewNode('target', Rect(40, 30, 10, 10))
        root:ChildPushBack(target)
        target:BindVyrOperation('OnDoMouseEvent', function(e) at = e.x .. ',' .. e.y return true end)
        root:UI_DoMouseEvent(target, vyrlua_CreateNewVYRUIMouseEvent{type = 'down', x = 45, y = 31})
        root:UI_DoMouseEvent(target, {}) -- not an event: nothing happens
    )");
    EXPECT_EQ(Eval("return at"), "5,1");
}

TEST_F(UiTest, TouchCaptureIDsAreRoundedAndCapturesRouteInput)
{
    Run(R"(
        log = {}
        cap = TouchCapture.New(3)
        cap:BindVyrOperation(TouchCapture.captureBegin, function(c) log[#log+1] = 'begin ' .. c:GetTouchID() end)
        cap:BindVyrOperation(TouchCapture.captureTouchEvent, function(e, c)
          log[#log+1] = e.phase .. ' ' .. e.x; return true end)
        cap:BindVyrOperation(TouchCapture.captureEnd, function() log[#log+1] = 'end' end)
        UINodeManager.BeginTouchCapture(cap))");
    EXPECT_EQ(Eval("return UINodeManager.HasTouchCapture()"), "true");
    EXPECT_EQ(Eval("return tostring(UINodeManager.GetTouchCaptureForID(2.5)) == tostring(cap)"),
              "true");
    EXPECT_EQ(Run("return UINodeManager.GetTouchCaptureForID(2.49)").size(), 0u);
    EXPECT_EQ(Run("return UINodeManager.GetTouchCaptureForID(-2.5)").size(), 0u);
    EXPECT_EQ(Error("UINodeManager.GetTouchCaptureForID(0/0)"),
              "test:1: bad argument #1 to 'GetTouchCaptureForID' (number has no integer representation)");

    NodePtr root(new UI_Node("root", {0, 0, 100, 100}));
    TouchEvent t;
    t.touch.touchID = 3;
    t.touch.phase = TouchPhase::Moved;
    t.touch.position = {12, 1};
    EXPECT_TRUE(UI_NodeManager::Get()->DispatchTouchEvent(*root, t));
    t.touch.phase = TouchPhase::Ended;
    UI_NodeManager::Get()->DispatchTouchEvent(*root, t);
    EXPECT_EQ(Eval("return table.concat(log, '; ')"), "begin 3; moved 12; ended 12; end");
    EXPECT_EQ(Eval("return UINodeManager.HasTouchCapture()"), "false");
    EXPECT_EQ(Error("UINodeManager.BeginTouchCapture(InputCapture.New())"),
              "test:1: bad argument #1 to 'BeginTouchCapture' (vyrlua.TouchCapture expected, got userdata)");
}

TEST_F(UiTest, InputCaptureTakesMouseAndKeyboardUntilEnded)
{
    NodePtr root(new UI_Node("root", {0, 0, 100, 100}));
    UI_NodeManager* manager = UI_NodeManager::Get();
    manager->DispatchMouseEvent(*root, MouseDown(4, 4));
    Run(R"(
        log = {}
        cap = InputCapture.New()
        cap:BindVyrOperation(InputCapture.captureMouseEvent, function(e, c)
          log[#log+1] = e.type .. ' from ' .. c:GetInitialMouseEvent().x
          if c:GetPreviousMouseEvent() then log[#log+1] = 'after ' .. c:GetPreviousMouseEvent().x end
          return true end)
        cap:BindVyrOperation(InputCapture.captureKeyboardEvent, function(e) log[#log+1] = e.keyCode end)
        cap:BindVyrOperation(InputCapture.captureCancel, function(c) log[#log+1] = 'cancel' end)
        UINodeManager.BeginInputCapture(cap))");
    EXPECT_TRUE(manager->DispatchMouseEvent(*root, MouseDown(7, 7)));
    EXPECT_TRUE(manager->DispatchMouseEvent(*root, MouseDown(9, 9)));
    KeyboardEvent k;
    k.keyCode = kKey_Escape;
    EXPECT_FALSE(manager->DispatchKeyboardEvent(k)); // its handler answered nil
    Run("UINodeManager.EndInputCapture(true)");
    EXPECT_EQ(Eval("return table.concat(log, '; ')"),
              "down from 4; down from 4; after 7; 27; cancel");
    EXPECT_EQ(Eval("return UINodeManager.HasInputCapture()"), "false");
    EXPECT_EQ(Eval("return InputCapture.captureBegin .. ' ' .. InputCapture.captureEnd"),
              "captureBegin captureEnd");
}

TEST_F(UiTest, NodeManagerModalAndToolTips)
{
    EXPECT_EQ(Eval("return UINodeManager.HasModalWindow()"), "false");
    boost::intrusive_ptr<UI_Dialog> dialog(new UI_Dialog("d"));
    dialog->BeginModal();
    EXPECT_EQ(Eval("return UINodeManager.HasModalWindow()"), "true");
    dialog->EndModal();

    Run("UINodeManager.EnableToolTips(false)");
    EXPECT_FALSE(UI_NodeManager::Get()->GetToolTipManager()->AreTipsEnabled());
    Run("UINodeManager.EnableToolTips(true)");
}

TEST_F(UiTest, EveryOperationNameReceivesItsMessage)
{
    Run(R"(
        root = vyrcontrols.NewNode('root', Rect(0, 0, 100, 100))
        leaf = vyrcontrols.NewNode('leaf', Rect(10, 10, 20, 20))
        root:ChildPushBack(leaf)
        seen = {}
        local function record(name)
          return function(e, node)
            seen[#seen + 1] = name .. ':' .. node:UI_GetNodeID() .. ':' .. tostring(e):match('^(%a+)')
            return true
          end
        end
        for _, op in ipairs{'OnDoMouseEvent', 'OnDoPreMouseEvent', 'OnDoKeyboardEvent', 'OnDoTouchEvent',
                            'OnDoMultiTouchEvent', 'OnDoGestureEvent', 'OnDoCursor'} do
          leaf:BindVyrOperation(op, record(op))
        end
        UINodeManager.AddMouseEventFilterNode(leaf)
        leaf:UI_SetWantsKeyboardFocus(true)
        leaf:UI_GainKeyboardFocus(0))");
    NodePtr root = GlobalNode("root");
    UI_NodeManager* manager = UI_NodeManager::Get();
    EXPECT_TRUE(manager->DispatchMouseEvent(*root, MouseDown(15, 15))); // the filter takes it
    Run("UINodeManager.RemoveMouseEventFilterNode(leaf)");
    MouseEvent move = MouseDown(15, 15);
    move.type = MouseEventType::Move;
    manager->DispatchMouseEvent(*root, move); // an enter, the move, then the cursor
    manager->DispatchKeyboardEvent(KeyboardEvent{});
    TouchEvent touch;
    touch.touch.position = {15, 15};
    manager->DispatchTouchEvent(*root, touch);
    MultiTouchEvent multi;
    multi.touches.push_back({1, TouchPhase::Began, {12, 12}, {}, 1});
    multi.touches.push_back({2, TouchPhase::Began, {18, 18}, {}, 1});
    manager->DispatchMultiTouchEvent(*root, multi);
    GestureEvent gesture;
    gesture.position = {15, 15};
    manager->DispatchGestureEvent(*root, gesture);
    EXPECT_EQ(Eval("return table.concat(seen, ' ')"),
              "OnDoPreMouseEvent:leaf:VYRUIMouseEvent OnDoMouseEvent:leaf:VYRUIMouseEvent "
              "OnDoMouseEvent:leaf:VYRUIMouseEvent OnDoCursor:leaf:VYRUIMouseEvent "
              "OnDoKeyboardEvent:leaf:VYRUIKeyboardEvent OnDoTouchEvent:leaf:VYRUITouchEvent "
              "OnDoMultiTouchEvent:leaf:VYRUIMultiTouchEvent OnDoGestureEvent:leaf:VYRUIGestureEvent");
    Run("leaf:UI_LoseKeyboardFocus()");
}

TEST_F(UiTest, AnEventEmptiedWhileItsFieldIsReadIsNeverRead)
{
    // A finalizer run by the allocation of the result empties the event.
    EXPECT_EQ(Run(std::string(kArmedPrelude) + R"(
        local e = vyrlua_CreateNewVYRUIMultiTouchEvent { touches = { { x = 1 }, { x = 2 } } }
        local index, gc = getmetatable(e).__index, getmetatable(e).__gc
        armed(function() gc(e) end)
        local ok, err = pcall(index, e, "touches")
        calm()
        return ran, ok, err)"),
              (std::vector<std::string>{"true", "false", "out-of-scope VYRUIMultiTouchEvent"}));
    EXPECT_EQ(Run(std::string(kArmedPrelude) + R"(
        local text = ("a key's text, long enough to be its own allocation "):rep(4)
        local e = vyrlua_CreateNewVYRUIKeyboardEvent { text = text }
        local index, gc = getmetatable(e).__index, getmetatable(e).__gc
        armed(function() gc(e) end)
        local ok, got = pcall(index, e, "text")
        calm()
        return ran, ok, got == text)"),
              (std::vector<std::string>{"true", "true", "true"}));
}

TEST_F(UiTest, KindsAreWhatTheLibraryMadeWhateverTheirMetatable)
{
    Run("require 'vyrlua.drawbot.PenInterface' require 'vyrlua.drawbot.vyrPathInterface'\n"
        "pen = PenInterface.newPenFromSupplier(require('vyrhost.image').supplier(),"
        " { red = 0, green = 0, blue = 0, alpha = 1 }, 1)\n"
        "node = vyrcontrols.NewNode()\n"
        "penMeta, nodeMeta = getmetatable(pen), getmetatable(node)");
    // A node dressed as a pen is no pen, for its methods and as an argument.
    EXPECT_EQ(Error("debug.setmetatable(node, penMeta) local ok, err = pcall(node.GetWidth, node)\n"
                    "debug.setmetatable(node, nodeMeta) error(err, 0)"),
              "bad argument #1 to 'GetWidth' (vyrlua.drawbot.PenInterface expected, got userdata)");
    EXPECT_EQ(Eval("local s = require('vyrhost.image').supplier():CreateOffscreenSurface(4, 4)\n"
                   "local path = PathInterface.newPathFromSupplier(require('vyrhost.image').supplier())\n"
                   "debug.setmetatable(node, penMeta) local ok = pcall(s.StrokePath, s, path, node)\n"
                   "debug.setmetatable(node, nodeMeta) return ok"),
              "false");
    // An event is no capture, nor the reverse, with the other's metatable.
    EXPECT_EQ(Error("local e = vyrlua_CreateNewVYRUIMouseEvent {}\n"
                    "debug.setmetatable(e, debug.getregistry()['vyrlua.InputCapture'])\n"
                    "local ok, err = pcall(e.IsCapturing, e)\n"
                    "debug.setmetatable(e, getmetatable(vyrlua_CreateNewVYRUIMouseEvent {})) error(err, 0)"),
              "bad argument #1 to 'IsCapturing' (vyrlua.InputCapture expected, got userdata)");
    Run("collectgarbage() collectgarbage()");
}

namespace {

// What the user does to every open window: closes it.
int CloseWindows(lua_State*)
{
    for (const NodePtr& window : UI_NodeManager::Get(true)->GetWindows())
        if (auto* os = dynamic_cast<OS_Window*>(window.get()))
            os->Close();
    return 0;
}

// Handlers that hold their own node form a cycle through the registry that
// the collector cannot see; closing the window breaks it, so opening and
// closing a window 10,000 times holds memory steady.
TEST_F(UiTest, ClosingAWindowReleasesItsNodesHandlersAndTimers)
{
    lua_register(L(), "closeWindows", CloseWindows);
    std::vector<std::string> results = Run(R"(
        local function open()
            local w = vyrcontrols.NewWindow("w", Rect(0, 0, 100, 100), "t")
            for i = 1, 4 do
                local n = vyrcontrols.NewNode()
                w:ChildPushBack(n)
                n:BindVyrOperation("OnDoMouseEvent", function() return n, w end)
                n:UI_InstallTimer(1, function() return n end)
            end
            w:BindVyrOperation("OnDoMouseEvent", function() return w end)
            w:UI_InstallTimer(1, function() return w end)
            return w
        end
        local closed = open()
        closeWindows()
        local ok = pcall(closed.UI_DoMouseEvent, closed, closed, vyrlua_CreateNewVYRUIMouseEvent{})
        for i = 1, 500 do open() closeWindows() end
        collectgarbage() collectgarbage()
        local base = collectgarbage("count")
        for i = 1, 10000 do open() closeWindows() end
        collectgarbage() collectgarbage()
        return ok, collectgarbage("count") - base < 64)");
    EXPECT_EQ(results, (std::vector<std::string>{"true", "true"}));
    EXPECT_TRUE(UI_NodeManager::Get(true)->GetWindows().empty());
}

} // namespace
