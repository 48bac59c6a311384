// vyrhost.input drives the node tree through the node manager's routing, as
// real input would; and event tables are read strictly.
#include "support/LuaFixture.h"

#include "vyrlua/ui/KnownOperations.h"
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
    EXPECT_EQ(Error("input.move({}, 1, 2)"), "test:1: bad argument #1 to 'move' (node expected, got table)");
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
              "test:1: mouse: unknown field 'clickcount' (fields: type, "
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

// inspect(node) is the tree as tables, tree(node) as text; --dump-tree
// prints the latter for each window.
TEST_F(InputSimulationTest, InspectShowsTheTreeWithWhatOnlyTheHostKnows)
{
    Run("win:SetThemeName('dark') inspect = require 'vyrhost.inspect' info = inspect(outer)");
    EXPECT_EQ(Eval("return ('%s %s %g %g %d %s %s'):format(info.id, info.theme, info.rect.left, info.rect.width, "
                   "#info.children, info.operations[1], info.children[1].id)"),
              "outer dark 10 100 2 OnDoMouseEvent inner");
    EXPECT_EQ(Eval("return inspect.tree(outer)"),
              "vyrUINode \"outer\"  10,10 100x50  theme dark  binds OnDoMouseEvent\n"
              "  vyrUINode \"inner\"  5,5 20x20  theme dark  binds OnDoMouseEvent\n"
              "  vyrUINode \"off\"  50,5 20x20  theme dark\n");
    EXPECT_EQ(Error("inspect(nil)"), "test:1: bad argument #1 to 'inspect' (node expected, got nil)");
}

// Errors name the function, the argument as the script wrote it and the
// field, however the function was called.
TEST_F(InputSimulationTest, ErrorsSayWhere)
{
    EXPECT_EQ(Error("input.click(nil, 1, 2)"), "test:1: bad argument #1 to 'click' (node expected, got nil)");
    // Through pcall, the call has no name of its own: the module's is used.
    EXPECT_EQ(Eval("return select(2, pcall(input.click, win))"),
              "bad argument #2 to 'click' (number expected, got no value)");
    EXPECT_EQ(Error("vyrcontrols.NewButton('b', {top = 1, left = 2, width = 3}, 'OK')"),
              "test:1: bad argument #2 to 'NewButton' (field 'height': number expected, got nil)");
    Run("s = require('vyrhost.image').supplier():CreateOffscreenSurface(10, 10, true)");
    EXPECT_EQ(Error("s:PaintRect(vyrlua_CreateNewRectF32(0, 0, 1, 1), {red = 1, green = 1, blue = 1})"),
              "test:1: bad argument #2 to 'PaintRect' (field 'alpha': number expected, got nil)");
    // A method counts its arguments as written; taken from its object, self counts.
    EXPECT_EQ(Error("s:DrawString('hi', 1, 2)"),
              "test:1: bad argument #4 to 'DrawString' (table expected, got no value)");
    EXPECT_EQ(Eval("return select(2, pcall(s.DrawString, s, 'hi', 1, 2))"),
              "bad argument #5 to 'DrawString' (table expected, got no value)");
    // A misspelt operation would never run: under --strict it is an error.
    vyrlua::ui::SetUnknownOperationPolicy(vyrlua::ui::UnknownOperation::Error);
    std::string misspelt = Error("win:BindVyrOperation('OnMouseDown', function() end)");
    vyrlua::ui::SetUnknownOperationPolicy(vyrlua::ui::UnknownOperation::Warn);
    EXPECT_EQ(misspelt, "test:1: BindVyrOperation: no node dispatches the operation 'OnMouseDown', so its "
                        "handler would never run (operations: OnDoMouseEvent OnDoPreMouseEvent OnDoKeyboardEvent "
                        "OnDoTouchEvent OnDoMultiTouchEvent OnDoGestureEvent OnDoCursor OnDraw OnSizeChanged "
                        "OnLayoutChildren)");
    EXPECT_EQ(Eval("return win:BindVyrOperation('OnMouseDown', function() end)"), "true");
}

} // namespace
