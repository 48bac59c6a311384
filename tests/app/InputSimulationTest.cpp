// vyrhost.input drives the node tree through the node manager's routing, as
// real input would; and event tables are read strictly.
#include "support/LuaFixture.h"

#include "vyrui/EventLoop.h"

namespace {

class InputSimulationTest : public vyrtest::LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Runtime().Application().GetEventLoop().SetClock(vyrui::EventLoop::Clock::Virtual);
        Run(R"(
            input = require "vyrhost.input"
            require "vyrlua.vyrcontrols"
            local R = vyrlua_CreateNewRectF32
            log = {}
            function note(...) log[#log + 1] = table.concat({...}, " ") end
            function take() local t = table.concat(log, "; ") log = {} return t end
            win = vyrcontrols.NewWindow("w", R(300, 200, 200, 100))
            outer = vyrcontrols.NewNode("outer", R(10, 10, 100, 50)); win:ChildPushBack(outer)
            inner = vyrcontrols.NewNode("inner", R(5, 5, 20, 20)); outer:ChildPushBack(inner)
            off = vyrcontrols.NewNode("off", R(50, 5, 20, 20)); outer:ChildPushBack(off)
            off:UI_SetEnabled(false)
            outer:BindVyrOperation("OnDoMouseEvent", function(e)
              if e.type ~= "move" and e.type ~= "enter" and e.type ~= "exit" then
                note("outer", e.type, e.x, e.y, e.clickCount) end
              return e.type ~= "move" end)
            inner:BindVyrOperation("OnDoMouseEvent", function(e)
              if e.type == "down" or e.type == "drag" then note("inner", e.type, e.x, e.y, e.clickCount) end
              return e.type == "down" or e.type == "drag" end))");
    }
};

TEST_F(InputSimulationTest, MouseTakesTheRoutingRealInputTakes)
{
    // Hit-testing finds the deepest node; the release bubbles to the parent.
    EXPECT_EQ(Eval("return input.click(inner, 1, 2)"), "true");
    EXPECT_EQ(Eval("return take()"), "inner down 1 2 1; outer up 6 7 1");
    // A disabled child is passed over.
    EXPECT_EQ(Eval("return input.click(win, 62, 20)"), "true");
    EXPECT_EQ(Eval("return take()"), "outer down 52 10 1; outer up 52 10 1");
    // Presses of a double click count up; a new click starts again at 1.
    Run("input.doubleClick(inner, 0, 0) input.click(inner, 0, 0)");
    EXPECT_EQ(Eval("return take()"), "inner down 0 0 1; outer up 5 5 1; inner down 0 0 2; "
                                     "outer up 5 5 2; inner down 0 0 1; outer up 5 5 1");
    // A drag stays with the node it began on, even far outside it.
    EXPECT_EQ(Eval("return input.drag(inner, {{1, 1}, {150, 80}})"), "true");
    EXPECT_EQ(Eval("return take()"), "inner down 1 1 1; inner drag 150 80 0; outer up 155 85 1");
    // Nothing under the point, or a hidden window: not handled.
    EXPECT_EQ(Eval("return input.click(win, 190, 90)"), "false");
    Run("win:UI_Show(false)");
    EXPECT_EQ(Eval("return input.click(inner, 1, 1)"), "false");
    EXPECT_EQ(Eval("return take()"), "");

    EXPECT_EQ(Error("input.click(win, 1, 2, 'left', 'shift+hyper')"),
              "test:1: bad argument #5 to 'click' (unknown modifier 'hyper' (shift, control, alt, "
              "command, joined by +))");
    EXPECT_EQ(Error("input.press(win, 1, 2, 'fourth')"),
              "test:1: bad argument #4 to 'press' (button 'left', 'right' or 'middle' expected)");
    EXPECT_EQ(Error("input.drag(win, {{1, 1}})"),
              "test:1: bad argument #2 to 'drag' (a path of 2 to 1024 points expected)");
    EXPECT_EQ(Error("input.move({}, 1, 2)"), "test:1: Bad user data");
}

TEST_F(InputSimulationTest, KeysAndTextGoToTheFocusedNode)
{
    Run(R"(
        field = vyrcontrols.NewNode("field", vyrlua_CreateNewRectF32(0, 0, 50, 20))
        win:ChildPushBack(field)
        field:BindVyrOperation("OnDoKeyboardEvent", function(e)
          note(e.type, e.keyCode, e.text, e.modifiers) return e.type ~= "keyUp" end))");
    // Nobody has the focus yet, and a node that does not want it cannot take it.
    EXPECT_EQ(Eval("return input.key('a')"), "false");
    EXPECT_EQ(Eval("return input.focus(field)"), "false");
    Run("field:UI_SetWantsKeyboardFocus(true)");
    EXPECT_EQ(Eval("return input.focus(field)"), "true");
    EXPECT_EQ(Eval("return input.key('Enter', 'ctrl+shift')"), "true");
    EXPECT_EQ(Eval("return input.keyUp('a', 8)"), "false");
    EXPECT_EQ(Eval("return input.type('hé')"), "true");
    EXPECT_EQ(Eval("return take()"),
              "keyDown 13  3; keyUp 13  3; keyUp 65  8; char 0 h 0; char 0 é 0");
    EXPECT_EQ(Error("input.key('Hyper')"), "test:1: bad argument #1 to 'key' (unknown key 'Hyper')");
}

TEST_F(InputSimulationTest, WaitRunsTimersOnTheVirtualClockButNotFromInsideOne)
{
    Run(R"(
        ticks = 0
        win:UI_InstallTimer(0.5, function()
          ticks = ticks + 1
          if ticks == 2 then input.wait(1) end
        end)
        input.wait(2.1))");
    EXPECT_EQ(Eval("return ticks"), "4");
    ASSERT_EQ(reportedErrors.size(), 1u);
    EXPECT_NE(reportedErrors[0].find("wait: the event loop is running already"), std::string::npos)
        << reportedErrors[0];

    Runtime().Application().GetEventLoop().SetClock(vyrui::EventLoop::Clock::Monotonic);
    EXPECT_EQ(Error("input.wait(1)"),
              "test:1: wait: only headless runs, on the virtual clock, can wait");
}

// The application hears of each change, however the front changes.
TEST_F(InputSimulationTest, ActivationReachesTheApplicationsCallbacks)
{
    Run("require 'vyrlua.exo.app' heard = {} "
        "App.AddAppActivationCallback(function(e) heard[#heard + 1] = e end) "
        "input.activate(false) input.activate(false) input.activate(true) input.activate(false)");
    EXPECT_EQ(Run("return App.IsApplicationFrontmost(), App.GetApp() ~= nil"),
              (std::vector<std::string>{"false", "true"}));
    Run("win:UI_Activate()");
    EXPECT_EQ(Run("return table.concat(heard, ','), App.IsApplicationFrontmost()"),
              (std::vector<std::string>{"appDeactivated,appActivated,appDeactivated,appActivated",
                                        "true"}));
}

TEST_F(InputSimulationTest, EventTablesAreReadStrictly)
{
    EXPECT_EQ(Eval("return input.mouse(inner, {type = 'down', x = 3, y = 4, button = 1})"), "true");
    EXPECT_EQ(Eval("return take()"), "inner down 3 4 1");
    EXPECT_EQ(Error("input.mouse(win, {type = 'down', clickcount = 2})"),
              "test:1: vyrlua_CreateNewVYRUIMouseEvent: unknown field 'clickcount' (fields: type, "
              "x, y, globalX, globalY, "
              "button, buttons, modifiers, clickCount, wheelDeltaX, wheelDeltaY, timestamp)");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIKeyboardEvent{type = 'keyDown', 'A'}"),
              "test:1: vyrlua_CreateNewVYRUIKeyboardEvent: unknown field of type number (fields "
              "have names)");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIMultiTouchEvent{touches = {{x = 1, force = 2}}}"),
              "test:1: vyrlua_CreateNewVYRUIMultiTouchEvent: unknown field 'force' (fields: "
              "touchID, phase, x, y, globalX, globalY, pressure)");
    EXPECT_EQ(Error("vyrlua_CreateNewVYRUIGestureEvent{kind = 'zoom', rotation = 'left'}"),
              "test:1: vyrlua_CreateNewVYRUIGestureEvent: field 'rotation' must be a number (got "
              "string)");
}

} // namespace
