// The console command, and vyrlua-host's console run as a program.
#include "support/LuaFixture.h"
#include "support/TestHelpers.h"

#include "vyrlua/console/ExecLuaConsoleCmd.h"
#include "vyrworkspace/sharedui/ConsolePanel.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using vyrtest::LuaTest;
using vyrlua::console::ExecLuaConsoleCmd;
using vyrworkspace::sharedui::ConsolePanel;
using vyrworkspace::sharedui::UTF16OutputStream;

namespace {

class ConsoleTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        ExecLuaConsoleCmd::SetLuaState(L());
        ConsolePanel::GetInstance().Clear();
    }
    void TearDown() override
    {
        ExecLuaConsoleCmd::SetLuaState(nullptr);
        ConsolePanel::GetInstance().Clear();
        LuaTest::TearDown();
    }
    // Runs `text` and returns what was written to the output stream.
    std::string Execute(const std::wstring& text)
    {
        UTF16OutputStream out;
        command.Execute(text, out);
        return out.UTF8();
    }
    std::string Posted() { return ConsolePanel::GetInstance().Take(); }

    ExecLuaConsoleCmd command{L"lua", L"Runs Lua"};
};

TEST_F(ConsoleTest, WritesResultsSeparatedByTabs)
{
    EXPECT_EQ(Execute(L"return true, 42"), "true\t42\n");
    EXPECT_EQ(command.LastResultCount(), 2);
    lua_settop(L(), 0);
    EXPECT_EQ(Execute(L""), "");
    EXPECT_EQ(command.LastResultCount(), 0);
    EXPECT_EQ(Execute(L"x = 0.1"), "");
    // Globals persist between commands; text crosses in both directions.
    EXPECT_EQ(Execute(L"return x * 3, nil, false, 'größe ✓', 2^63, -0.5"),
              "0.3\tnil\tfalse\tgröße ✓\t9.2233720368548e+18\t-0.5\n");
    lua_settop(L(), 0);
    // Other values as the script's tostring shows them.
    EXPECT_EQ(Execute(L"return setmetatable({}, { __tostring = function() return 'Thing' end })"),
              "Thing\n");
    std::string plain = Execute(L"return function() end");
    EXPECT_EQ(plain.rfind("function: 0x", 0), 0u) << plain;
    EXPECT_EQ(Posted(), "");
    // A failing tostring is reported; the plain form is shown.
    std::string shown = Execute(
        L"return setmetatable({}, { __tostring = function() error('no text', 0) end }), 1");
    EXPECT_EQ(shown.rfind("table: 0x", 0), 0u) << shown;
    EXPECT_EQ(shown.substr(shown.size() - 3), "\t1\n");
    EXPECT_EQ(Posted(), "no text\n");
}

TEST_F(ConsoleTest, ResultsStayOnTheStackForTheHost)
{
    lua_pushliteral(L(), "host's");
    Execute(L"return 1, 2");
    EXPECT_EQ(lua_gettop(L()), 3);
    EXPECT_EQ(vyrtest::ValueText(L(), 1), "host's");
    EXPECT_EQ(vyrtest::ValueText(L(), 3), "2");
}

TEST_F(ConsoleTest, ErrorsGoToThePanel)
{
    EXPECT_EQ(Execute(L"ran = true; return 1 +"), "");
    EXPECT_EQ(Posted(), "ERROR: Lua Syntax Error\n"
                        "[string \"VYRConsole\"]:1: unexpected symbol near '<eof>'\n");
    EXPECT_EQ(Execute(L"return ran"), "nil\n");
    lua_settop(L(), 0);

    EXPECT_EQ(Execute(L"local t = nil; return t.x"), "");
    EXPECT_EQ(Posted(), "[string \"VYRConsole\"]:1: attempt to index local 't' (a nil value)\n");
    EXPECT_EQ(Execute(L"error({})"), "");
    EXPECT_EQ(Posted(), "(error object is a table value)\n");
    EXPECT_EQ(lua_gettop(L()), 0);

    ExecLuaConsoleCmd::SetLuaState(nullptr);
    EXPECT_EQ(Execute(L"return 1"), "");
    EXPECT_EQ(Posted(), "ERROR: the Lua console has no Lua state\n");
}

// An allocator that fails once a budget is spent.
void* BudgetAlloc(void* ud, void* ptr, size_t oldSize, size_t newSize)
{
    auto* budget = static_cast<size_t*>(ud);
    if (newSize == 0) {
        std::free(ptr);
        return nullptr;
    }
    if (newSize > oldSize && newSize - oldSize > *budget)
        return nullptr;
    if (newSize > oldSize)
        *budget -= newSize - oldSize;
    return std::realloc(ptr, newSize);
}

TEST_F(ConsoleTest, CompilingWithoutMemoryIsAMemoryError)
{
    size_t budget = 1 << 20;
    lua_State* S = lua_newstate(BudgetAlloc, &budget);
    if (S == nullptr)
        GTEST_SKIP() << "this Lua has no custom allocators";
    ExecLuaConsoleCmd::SetLuaState(S);
    budget = 64 * 1024;
    std::wstring big = L"return {";
    for (int i = 0; i < 20000; ++i)
        big += L"'s" + std::to_wstring(i) + L"',";
    big += L"}";
    EXPECT_EQ(Execute(big), "");
    EXPECT_EQ(Posted(), "ERROR: Lua Memory Error\nnot enough memory\n");
    budget = 1 << 20;
    EXPECT_EQ(Execute(L"return 'recovered'"), "recovered\n");
    ExecLuaConsoleCmd::SetLuaState(L());
    lua_close(S);
}

// The host program, fed through a pipe as a user would.
std::string RunHostConsole(const std::string& input)
{
    std::filesystem::path in = std::filesystem::temp_directory_path() /
                               ("vyrlua-console-" + std::to_string(getpid()) + ".txt");
    std::ofstream(in) << input;
    int status = -1;
    std::string output = vyrtest::RunHostProgram("--console < " + in.string(), &status);
    std::filesystem::remove(in);
    return output + "[exit " + std::to_string(status) + "]";
}

TEST(HostConsoleTest, RunsPipedLinesInOneState)
{
    EXPECT_EQ(RunHostConsole("x = 20\n"
                             "=x * 2 + 2, x > 1\n"
                             "print('from print')\n"
                             "for i = 1,\n"
                             "error('stopped', 0)\n"
                             "t = { n = 1 }\n"
                             "function t:handleActionUndo() self.n = self.n - 1 end\n"
                             "function t:handleActionRedo() self.n = self.n + 1 end\n"
                             "t.n = 2; hostUndo.record('Increment', t)\n"
                             "hostUndo.undo()\n"
                             "=t.n\n"
                             "hostUndo.redo()\n"
                             "return t.n, 'done'\n"),
              "42\ttrue\n"
              "from print\n"
              "ERROR: Lua Syntax Error\n"
              "[string \"VYRConsole\"]:1: unexpected symbol near '<eof>'\n"
              "stopped\n"
              "1\n"
              "2\tdone\n"
              "[exit 0]");
    // Quitting the application ends the console too.
    EXPECT_EQ(RunHostConsole("=1\nrequire('vyrhost.app').quit()\n=2\n"), "1\n[exit 0]");
}

} // namespace
