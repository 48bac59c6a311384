// The host undo stack, and script actions and restorers on it.
#include "support/LuaFixture.h"

#include "app/HostUndo.h"
#include "vyrcore/config.h"
#include "vyrlua/undo/LuaAction.h"
#include "vyrlua/undo/LuaStateRestorer.h"
#include "vyrundo/UndoStack.h"

#include <memory>
#include <string>
#include <vector>

using vyrtest::LuaTest;
using vyrlua::undo::LuaAction;
using vyrlua::undo::LuaStateRestorer;

namespace {

using Log = std::vector<std::string>;

// A native action that logs what the stack asks of it.
class LoggingAction : public vyrundo::Action {
public:
    LoggingAction(Log& log, std::string name, bool undoable = true, bool redoable = true)
        : vyrundo::Action(undoable, redoable, std::u16string(name.begin(), name.end())),
          mLog(log), mName(std::move(name))
    {
    }

protected:
    void UndoSelf() override { mLog.push_back("undo " + mName); }
    void RedoSelf() override { mLog.push_back("redo " + mName); }

private:
    Log& mLog;
    std::string mName;
};

class LoggingRestorer : public vyrundo::StateRestorer {
public:
    LoggingRestorer(Log& log, std::string name) : mLog(log), mName(std::move(name)) {}
    void RestoreState() override { mLog.push_back("restore " + mName); }

private:
    Log& mLog;
    std::string mName;
};

// An action that misbehaves by touching the stack it is being run from.
class ReentrantAction : public vyrundo::Action {
public:
    ReentrantAction(vyrundo::UndoStack& stack, Log& log)
        : vyrundo::Action(true, true, u"reenter"), mStack(stack), mLog(log)
    {
    }

protected:
    void UndoSelf() override { Try(); }
    void RedoSelf() override { Try(); }

private:
    void Try()
    {
        mLog.push_back(mStack.Undo() || mStack.Redo() ? "nested ran" : "nested refused");
        try {
            mStack.AddAction(std::make_unique<LoggingAction>(mLog, "late"));
        } catch (const vyrcore::config::HostException& e) {
            mLog.push_back(e.what());
        }
    }
    vyrundo::UndoStack& mStack;
    Log& mLog;
};

TEST(UndoStackTest, StepsUndoAndRedoInOrder)
{
    Log log;
    vyrundo::UndoStack stack;
    EXPECT_FALSE(stack.Undo());
    stack.BeginStep(u"Move");
    stack.AddAction(std::make_unique<LoggingAction>(log, "a"));
    stack.BeginStep(u"inner"); // nested pairs join the outer step
    stack.AddAction(std::make_unique<LoggingAction>(log, "b"));
    EXPECT_TRUE(stack.AddRestorer(std::make_unique<LoggingRestorer>(log, "selection")));
    stack.EndStep();
    EXPECT_FALSE(stack.CanUndo()); // still open
    stack.EndStep();
    stack.AddAction(std::make_unique<LoggingAction>(log, "c"));
    EXPECT_EQ(stack.UndoCount(), 2u);
    EXPECT_EQ(stack.UndoName(), u"c");

    EXPECT_TRUE(stack.Undo());
    EXPECT_TRUE(stack.Undo());
    EXPECT_FALSE(stack.Undo());
    EXPECT_EQ(stack.RedoName(), u"Move");
    EXPECT_TRUE(stack.Redo());
    EXPECT_EQ(log, (Log{"undo c", "undo b", "undo a", "restore selection", "redo a", "redo b",
                        "restore selection"}));
    // A new action drops what was left to redo.
    EXPECT_TRUE(stack.CanRedo());
    stack.AddAction(std::make_unique<LoggingAction>(log, "d"));
    EXPECT_FALSE(stack.CanRedo());
    EXPECT_EQ(stack.UndoCount(), 2u);

    // Empty steps are not recorded; an unmatched end is the host's mistake.
    stack.BeginStep(u"nothing");
    stack.EndStep();
    EXPECT_EQ(stack.UndoCount(), 2u);
    EXPECT_THROW(stack.EndStep(), vyrcore::config::HostException);
}

TEST(UndoStackTest, DepthLimitAndFlags)
{
    Log log;
    vyrundo::UndoStack stack(2);
    for (const char* name : {"1", "2", "3"})
        stack.AddAction(std::make_unique<LoggingAction>(log, name));
    EXPECT_EQ(stack.UndoCount(), 2u);
    EXPECT_TRUE(stack.Undo());
    EXPECT_TRUE(stack.Undo());
    EXPECT_FALSE(stack.Undo());
    EXPECT_EQ(log, (Log{"undo 3", "undo 2"}));
    stack.SetDepthLimit(1);
    EXPECT_EQ(stack.RedoCount(), 2u); // only the undo side is limited

    // Not redoable: undoing it drops the redo history.
    stack.Clear();
    log.clear();
    stack.AddAction(std::make_unique<LoggingAction>(log, "once", true, false));
    EXPECT_TRUE(stack.Undo());
    EXPECT_FALSE(stack.CanRedo());
    // Not undoable: recording it ends the history.
    stack.SetDepthLimit(10);
    stack.AddAction(std::make_unique<LoggingAction>(log, "x"));
    stack.AddAction(std::make_unique<LoggingAction>(log, "final", false, true));
    EXPECT_FALSE(stack.CanUndo());
    EXPECT_EQ(log, (Log{"undo once"}));
    // A restorer needs a step to belong to.
    EXPECT_FALSE(stack.AddRestorer(std::make_unique<LoggingRestorer>(log, "r")));
}

TEST(UndoStackTest, ActionsCannotChangeTheStackWhileItRuns)
{
    Log log;
    vyrundo::UndoStack stack;
    stack.AddAction(std::make_unique<ReentrantAction>(stack, log));
    EXPECT_TRUE(stack.Undo());
    EXPECT_TRUE(stack.Redo());
    EXPECT_EQ(log, (Log{"nested refused", "cannot record an action while undoing or redoing",
                        "nested refused", "cannot record an action while undoing or redoing"}));
    EXPECT_EQ(stack.UndoCount(), 1u);
}

class LuaUndoTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Run(R"(
            calls = {}
            function handlers(name)
              local t = {}
              t.handleActionUndo = function(...)
                calls[#calls + 1] = name .. ' undo ' .. select('#', ...) .. ' ' .. tostring((...) == t)
              end
              t.handleActionRedo = function(...)
                calls[#calls + 1] = name .. ' redo ' .. select('#', ...) .. ' ' .. tostring((...) == t)
              end
              return t
            end
            function restorer(name)
              return { restoreState = function(self) calls[#calls + 1] = name .. ' restore' end }
            end)");
    }
    // A registry reference to the value `code` returns.
    int Ref(const std::string& code)
    {
        luaL_loadstring(L(), code.c_str());
        lua_call(L(), 0, 1);
        return luaL_ref(L(), LUA_REGISTRYINDEX);
    }
    std::string Calls() { return Eval("return table.concat(calls, '; ')"); }
    bool SlotHoldsTable(int ref)
    {
        lua_rawgeti(L(), LUA_REGISTRYINDEX, ref);
        bool table = lua_istable(L(), -1);
        lua_pop(L(), 1);
        return table;
    }
};

TEST_F(LuaUndoTest, ScriptActionUndoesAndRedoesThroughTheHostStack)
{
    vyrundo::UndoStack stack;
    int ref = Ref("return handlers('rename')");
    stack.AddAction(
        std::make_unique<LuaAction>(true, true, "Rename ✓", std::to_string(ref), L()));
    EXPECT_EQ(stack.UndoName(), u"Rename ✓");
    // The top level's leftovers go: the whole stack is emptied.
    lua_pushliteral(L(), "left over");
    EXPECT_TRUE(stack.Undo());
    EXPECT_EQ(lua_gettop(L()), 0);
    EXPECT_TRUE(stack.Redo());
    EXPECT_EQ(Calls(), "rename undo 1 true; rename redo 1 true");
    EXPECT_TRUE(SlotHoldsTable(ref));
    stack.Clear(); // the action owned the reference
    EXPECT_FALSE(SlotHoldsTable(ref));
}

TEST_F(LuaUndoTest, BrokenHandlersAreNoOpsThatStillEmptyTheStack)
{
    vyrundo::UndoStack stack;
    auto add = [&](const std::string& text) {
        stack.AddAction(std::make_unique<LuaAction>(true, true, "a", text, L()));
    };
    add(std::to_string(Ref("return { handleActionUndo = function() error('undo failed') end }")));
    add(std::to_string(Ref("return {}"))); // no methods
    add(std::to_string(Ref("return setmetatable({}, { __index = function() error('no') end })")));
    add(std::to_string(Ref("return 'not a table'")));
    add("12abc"); // text that names no reference
    add("");
    for (int i = 0; i < 6; ++i) {
        lua_pushinteger(L(), i);
        EXPECT_TRUE(stack.Undo());
        // Last recorded, first undone: the two without a reference leave Lua alone.
        EXPECT_EQ(lua_gettop(L()), i < 2 ? 1 : 0) << i;
        lua_settop(L(), 0);
    }
    EXPECT_TRUE(reportedErrors.empty());
    EXPECT_EQ(Calls(), "");
}

TEST_F(LuaUndoTest, RestorersRunAfterActionsAndCanBeDisabled)
{
    vyrundo::UndoStack stack;
    auto restorer = std::make_unique<LuaStateRestorer>(Ref("return restorer('view')"), L());
    LuaStateRestorer* view = restorer.get();
    stack.BeginStep(u"Edit");
    stack.AddAction(std::make_unique<LuaAction>(true, true, "Edit",
                                                std::to_string(Ref("return handlers('edit')")), L()));
    stack.AddRestorer(std::move(restorer));
    stack.EndStep();
    EXPECT_TRUE(stack.Undo());
    EXPECT_EQ(Calls(), "edit undo 1 true; view restore");

    view->DisableRestorer(true);
    lua_pushliteral(L(), "kept");
    view->RestoreState();
    EXPECT_EQ(lua_gettop(L()), 1); // Lua not touched at all
    lua_settop(L(), 0);
    EXPECT_TRUE(stack.Redo());
    EXPECT_EQ(Calls(), "edit undo 1 true; view restore; edit redo 1 true");
    view->DisableRestorer(false);
    EXPECT_TRUE(stack.Undo());
    EXPECT_EQ(Calls(), "edit undo 1 true; view restore; edit redo 1 true; edit undo 1 true; view restore");
}

TEST_F(LuaUndoTest, ObjectsOutlivingTheStateLeaveItAlone)
{
    int actionRef = Ref("return handlers('late')");
    int restorerRef = Ref("return restorer('late')");
    auto action = std::make_unique<LuaAction>(true, true, "late", std::to_string(actionRef), L());
    auto restorer = std::make_unique<LuaStateRestorer>(restorerRef, L());
    vyrundo::UndoStack stack;
    stack.AddAction(std::move(action));
    EXPECT_TRUE(stack.AddRestorer(std::move(restorer)));
    Runtime().Close();
    // Under ASan, any use of the closed state fails here.
    EXPECT_TRUE(stack.Undo());
    stack.Clear();
}

TEST_F(LuaUndoTest, ANameTakenByAnotherValueIsAHostError)
{
    LuaAction::InitLua(L());
    LuaStateRestorer::InitLua(L());
    EXPECT_EQ(lua_gettop(L()), 0);
    Run("package.loaded.vyrUndoAction = nil; vyrUndoAction = 5");
    try {
        LuaAction::InitLua(L());
        ADD_FAILURE() << "expected an error";
    } catch (const vyrcore::config::HostException& e) {
        EXPECT_STREQ(e.what(), "name conflict for module 'vyrUndoAction'");
    }
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(LuaUndoTest, ScriptsRecordThroughHostUndo)
{
    auto undo = std::make_unique<vyrhost::HostUndo>(L());
    Run(R"(
        doc = { text = 'b' }
        local edit = handlers('type')
        local undoTo, redoTo = edit.handleActionUndo, edit.handleActionRedo
        function edit:handleActionUndo() undoTo(self) doc.text = 'a' end
        function edit:handleActionRedo() redoTo(self) doc.text = 'b' end
        hostUndo.record('Typing', edit, restorer('caret')))");
    EXPECT_EQ(undo->Stack().UndoName(), u"Typing");
    // Requests wait for the host's top level.
    Run("hostUndo.undo()");
    EXPECT_EQ(Eval("return doc.text"), "b");
    undo->RunRequests();
    EXPECT_EQ(Eval("return doc.text"), "a");
    Run("hostUndo.redo() hostUndo.undo() hostUndo.redo()");
    undo->RunRequests();
    EXPECT_EQ(Eval("return doc.text"), "b");
    EXPECT_EQ(Calls(), "type undo 1 true; caret restore; type redo 1 true; caret restore; "
                       "type undo 1 true; caret restore; type redo 1 true; caret restore");

    EXPECT_EQ(Error("hostUndo.record('x', 5)"),
              "test:1: bad argument #2 to 'record' (table expected, got number)");
    EXPECT_EQ(Error("hostUndo.record('x', {}, 'r')"),
              "test:1: bad argument #3 to 'record' (table expected, got string)");
    EXPECT_EQ(undo->Stack().UndoCount(), 1u);
    Run("keepRecord = hostUndo.record");
    undo.reset();
    EXPECT_EQ(Error("keepRecord('x', {})"), "test:1: the host undo stack is gone");
}

} // namespace
