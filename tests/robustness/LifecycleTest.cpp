// Lifecycle and re-entrancy: the host tears things down in any order, and
// handlers do to their own node whatever a script can do, while the host is
// in the middle of calling them. Under the sanitizers a call into a closed
// state, a double release or a use after free aborts the test.
#include "support/HostActions.h"
#include "support/TestHelpers.h"
#include "ui/UiFixture.h"

#include "app/HostUndo.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaReference.h"
#include "vyrui/EventLoop.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <gtest/gtest.h>

namespace {

using vyrlua::ui::NodePtr;
using vyrui::ui::UI_Node;

// hostDestroy(node): the host destroys the node now, as when its window
// closes, whoever is running.
int HostDestroyBody(lua_State* L)
{
    if (NodePtr node = vyrtest::WrappedNode(L, 1))
        vyrtest::DestroyNodeHostSide(*node);
    return 0;
}

class Lifecycle : public vyrtest::UiTest {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        lua_pushcfunction(L(), vyrlua::utility::LuaBoundary<HostDestroyBody>);
        lua_setglobal(L(), "hostDestroy");
    }

    // Every host action, each a few times with different choices.
    void HostDoesEverything(int rounds)
    {
        for (int round = 0; round < rounds; ++round)
            for (const vyrtest::HostAction& action : vyrtest::HostActions())
                action.run(Runtime().Application(), static_cast<unsigned>(round * 7 + 1));
    }
};

// The script leaves nodes with bound handlers, timers, a running capture,
// undo steps and a reference held natively; the state closes; then the host
// fires the timers, dispatches input, renders, undoes and destroys the nodes.
// None of it may reach the closed state, and every reference goes once.
TEST_F(Lifecycle, HostActsOnEverythingAfterTheStateCloses)
{
    auto undo = std::make_unique<vyrhost::HostUndo>(L());
    Run(R"(
        window = vyrcontrols.NewWindow()
        window:UI_SetLocalRectF(Rect(0, 0, 200, 100))
        nodes = {}
        for i = 1, 5 do
          local n = vyrcontrols.NewNode()
          n:UI_SetLocalRectF(Rect(i * 10, 0, 10, 10))
          window:ChildPushBack(n)
          n:BindVyrOperation('OnDoMouseEvent', function() calls = (calls or 0) + 1 return true end)
          n:BindVyrOperation('OnDoKeyboardEvent', function() return true end)
          n:UI_InstallTimer(0.1 * i, function() ticks = (ticks or 0) + 1 end)
          nodes[i] = n
        end
        capture = InputCapture.New()
        capture:BindVyrOperation('OnDoMouseEvent', function() return true end)
        UINodeManager.BeginInputCapture(capture)
        local edit = {}
        function edit:handleActionUndo() undone = true end
        function edit:handleActionRedo() redone = true end
        hostUndo.record('Edit', edit, { restoreState = function() end })
        hostUndo.record('Edit again', edit)
        held = function() error('never called') end)");
    NodePtr window = GlobalNode("window");
    ASSERT_TRUE(window);
    std::vector<NodePtr> nodes;
    for (int i = 1; i <= 5; ++i) {
        lua_getglobal(L(), "nodes");
        lua_rawgeti(L(), -1, i);
        nodes.push_back(vyrtest::WrappedNode(L(), -1));
        lua_pop(L(), 2);
    }
    lua_getglobal(L(), "held");
    auto held = vyrlua::utility::LuaFunctionReference::Create(L());
    Loop().RunFor(0.35);
    EXPECT_EQ(Eval("return ticks ~= nil"), "true");
    reportedErrors.clear();

    Runtime().Close();

    HostDoesEverything(4);
    Loop().RunFor(2);
    for (const NodePtr& node : nodes) {
        ASSERT_TRUE(node);
        node->UI_DoMouseEvent(vyrtest::MouseDown(5, 5));
        node->UI_DoTimerNotify(1);
    }
    EXPECT_FALSE(vyrlua::utility::CallLuaReference(held, 0));
    undo->Stack().Undo();
    undo->Stack().Undo();
    undo->Stack().Redo();
    undo.reset();
    held.reset();
    for (const NodePtr& node : nodes)
        vyrtest::DestroyNodeHostSide(*node);
    vyrtest::DestroyNodeHostSide(*window);
    nodes.clear();
    window.reset();
    HostDoesEverything(2);
    EXPECT_TRUE(reportedErrors.empty()) << reportedErrors.front();
}

// Handlers that, while the host is calling them, destroy their own node
// (from the script and host-side), empty their window, remove their own
// timer, rebind their own operation, release their wrapper, collect garbage
// or raise. A destroyed node has no handler left; the others keep theirs.
TEST_F(Lifecycle, HandlersMayUndoTheirOwnSetting)
{
    Run(R"(
        window = vyrcontrols.NewWindow()
        window:UI_SetLocalRectF(Rect(0, 0, 100, 100))
        function make(handler)
          local n = vyrcontrols.NewNode()
          n:UI_SetLocalRectF(Rect(0, 0, 10, 10))
          window:ChildPushBack(n)
          n:BindVyrOperation('OnDoMouseEvent', handler)
          return n
        end
        log = {}
        local function note(what) log[#log + 1] = what end
        removesItself = make(function(e, self) window:ChildRemove(self) self:DeleteChildren()
          note('removed') return true end)
        destroyedByHost = make(function(e, self) hostDestroy(self) collectgarbage()
          note('destroyed') return true end)
        rebinds = make(function(e, self)
          self:BindVyrOperation('OnDoMouseEvent', function() note('second') return false end)
          collectgarbage() note('rebound') return true end)
        clears = make(function(e, self) window:DeleteChildren() collectgarbage()
          note('cleared') return true end)
        releases = make(function(e, self) self:Release() collectgarbage() note('released') end)
        raises = make(function() collectgarbage() error('handler fails') end)
        timerNode = vyrcontrols.NewNode()
        window:ChildPushBack(timerNode)
        ticks = 0
        timerID = timerNode:UI_InstallTimer(0.1, function()
          ticks = ticks + 1
          timerNode:UI_RemoveTimer(timerID)
          hostDestroy(timerNode)
          collectgarbage()
        end))");
    const char* names[] = {"removesItself", "destroyedByHost", "rebinds", "clears",
                           "releases", "raises"};
    std::vector<NodePtr> nodes;
    for (const char* name : names)
        nodes.push_back(GlobalNode(name));
    Run("removesItself, destroyedByHost, rebinds, clears, releases, raises = nil\n"
        "collectgarbage()");
    for (int round = 0; round < 3; ++round)
        for (const NodePtr& node : nodes) {
            ASSERT_TRUE(node);
            node->UI_DoMouseEvent(vyrtest::MouseDown(5, 5));
            EXPECT_EQ(lua_gettop(L()), 0);
        }
    Loop().RunFor(1);
    EXPECT_EQ(Eval("return ticks"), "1");
    EXPECT_EQ(Eval("return table.concat(log, ' ')"),
              "removed destroyed rebound cleared released "
              "removed second cleared released removed second cleared released");
    EXPECT_EQ(reportedErrors.size(), 3u);
    Run("collectgarbage()");
}

// Many dispatches whose handlers return no value, one, fifty, or raise: the
// stack stays empty, references and memory stay level.
TEST_F(Lifecycle, TenThousandDispatchesKeepTheStackAndMemoryLevel)
{
    Run(R"(
        node = vyrcontrols.NewNode()
        node:UI_SetLocalRectF(Rect(0, 0, 10, 10))
        local fifty = {}
        for i = 1, 50 do fifty[i] = i end
        count = 0
        node:BindVyrOperation('OnDoMouseEvent', function(e, self)
          count = count + 1
          local m = count % 4
          if m == 0 then return end
          if m == 1 then return true end
          if m == 2 then return unpack(fifty) end
          error('fails every fourth time')
        end))");
    NodePtr node = GlobalNode("node");
    ASSERT_TRUE(node);
    auto level = [&] {
        // A userdata with a finalizer is freed only by the collection after
        // the one that finalized it, so one alone still counts however many
        // wrappers happened to be pending.
        lua_gc(L(), LUA_GCCOLLECT, 0);
        lua_gc(L(), LUA_GCCOLLECT, 0);
        lua_gc(L(), LUA_GCCOLLECT, 0);
        return lua_gc(L(), LUA_GCCOUNT, 0);
    };
    int handled = 0;
    int before = 0;
    for (int i = 1; i <= 10000; ++i) {
        handled += node->UI_DoMouseEvent(vyrtest::MouseDown(5, 5)) ? 1 : 0;
        ASSERT_EQ(lua_gettop(L()), 0) << "dispatch " << i;
        if (i == 1000)
            before = level();
    }
    EXPECT_EQ(Eval("return count"), "10000");
    // Returns of true and of 1 (first of fifty) are truthy.
    EXPECT_EQ(handled, 5000);
    EXPECT_EQ(reportedErrors.size(), 2500u);
    // A leak of even a few bytes a dispatch would show over 9,000 of them;
    // LuaJIT's traces take a little on their own.
    EXPECT_LE(level(), before + 48) << "kilobytes in use grew";
}

// A long-lived panel rebuilds its rows, whose handlers refer to their own
// node: a row taken out and put back, and a row held only in a Lua table,
// still answer, after any number of collections.
TEST_F(Lifecycle, RebuiltRowsKeepTheHandlersOfRowsStillHeld)
{
    Run(R"(
        panel = vyrcontrols.NewNode()
        heard = {}
        local function row(name)
          local r = vyrcontrols.NewNode(name)
          r:UI_SetLocalRectF(Rect(0, 0, 10, 10))
          r:BindVyrOperation('OnDoMouseEvent', function()
            heard[#heard + 1] = r:UI_GetNodeID() return true end)
          local ticks = 0
          r:UI_InstallTimer(1, function() ticks = ticks + 1 end)
          return r
        end
        function rebuild(n)
          panel:DeleteChildren()
          for i = 1, n do panel:ChildPushBack(row('row' .. i)) end
        end
        rebuild(3)
        kept = { panel:ChildGet(2) }
        again = panel:ChildGet(1)
        panel:ChildRemove(again)
        rebuild(3)
        panel:ChildPushBack(again)
        again = nil
        collectgarbage() collectgarbage() collectgarbage())");
    NodePtr back = GlobalNode("panel")->UI_GetChildren().back();
    EXPECT_TRUE(back->UI_DoMouseEvent(vyrtest::MouseDown(1, 1)));
    Run("panel:ChildPushBack(kept[1]) kept = nil collectgarbage() collectgarbage()");
    EXPECT_TRUE(GlobalNode("panel")->UI_GetChildren().back()->UI_DoMouseEvent(vyrtest::MouseDown(1, 1)));
    EXPECT_EQ(Eval("return table.concat(heard, ' ')"), "row1 row2");
}

// Rows whose handlers and timers refer to their own node are collected with
// them once a rebuild takes them out, however they were taken out: memory
// and registry references stay level over hundreds of rebuilds.
TEST_F(Lifecycle, RebuildingRowsKeepsMemoryAndReferencesLevel)
{
    Run(R"(
        win = vyrcontrols.NewWindow('w', Rect(0, 0, 100, 100))
        panel = vyrcontrols.NewNode() win:ChildPushBack(panel)
        function rebuild(n)
          if n % 2 == 0 then panel:DeleteChildren()
          else while panel:ChildSize() > 0 do panel:ChildRemove(panel:ChildGet(1)) end end
          for i = 1, 50 do
            local row = vyrcontrols.NewNode('row')
            row:BindVyrOperation('OnDoMouseEvent', function() return row end)
            row:UI_InstallTimer(10, function() row:UI_Invalidate() end)
            panel:ChildPushBack(row)
          end
        end)");
    auto level = [&] {
        for (int i = 0; i < 4; ++i)
            lua_gc(L(), LUA_GCCOLLECT, 0);
        return lua_gc(L(), LUA_GCCOUNT, 0);
    };
    // Registry slots in use (the free list holds numbers).
    auto references = [&] {
        int count = 0;
        lua_pushnil(L());
        while (lua_next(L(), LUA_REGISTRYINDEX)) {
            count += lua_type(L(), -2) == LUA_TNUMBER && lua_type(L(), -1) != LUA_TNUMBER;
            lua_pop(L(), 1);
        }
        return count;
    };
    Run("for n = 1, 20 do rebuild(n) end");
    int before = level();
    int referencesBefore = references();
    Run("for n = 1, 300 do rebuild(n) end");
    EXPECT_LE(level(), before + 64) << "kilobytes in use grew";
    EXPECT_EQ(references(), referencesBefore);
}

} // namespace
