// The profiler, line coverage and captured output, on real Lua code.
#include "support/LuaFixture.h"

#include <fstream>
#include <unistd.h>

namespace {

using vyrtest::LuaTest;

class DebugToolsTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        // LuaJIT's compiled code runs no hooks.
        Run("if jit then jit.off() end "
            "P = require 'vyrlua.CodeProfilerManager' P.reset() "
            "require 'vyrlua.debugSupport' cov = debugSupport.coverageSupport cov.reset()");
    }
};

TEST_F(DebugToolsTest, ProfilerCountsCallsAndNestsStacksAndLeavesNoHook)
{
    Run("function fib(n) if n < 2 then return n end return fib(n - 1) + fib(n - 2) end\n"
        "function outer() local r = fib(10) return r end");
    EXPECT_EQ(Run("local first, again = P.start(true), P.start() "
                  "outer() outer() P.stop() return first, again, debug.gethook(), P.isRunning()"),
              (std::vector<std::string>{"true", "false", "nil", "false"}));
    EXPECT_EQ(Eval("for _, r in ipairs(P.getReport()) do if r.name == 'fib' then "
                   "return r.calls .. ' ' .. tostring(r.totalTime >= r.selfTime) end end"),
              "354 true");  // fib(10) makes 177 calls
    EXPECT_EQ(Eval("local calls = 0 for _, r in ipairs(P.getReport()) do "
                   "if r.name == 'outer' then calls = r.calls end end return calls"),
              "2");
    // Every folded line is "frame;frame;... microseconds", and fib's own
    // paths sit under outer's.
    EXPECT_EQ(Eval("local bad, nested = 0, 0 for line in P.getFoldedStacks():gmatch('[^\\n]+') do "
                   "if not line:match('^[^;]+[^\\n]* %d+$') then bad = bad + 1 end "
                   "if line:match('outer %(test:2%);fib %(test:1%);fib') then nested = nested + 1 end end "
                   "return bad .. ' ' .. tostring(nested > 0)"),
              "0 true");
    // The tree: outer's path holds fib's, and times add up.
    // Searched at any depth: under LuaJIT, C functions whose return no hook
    // reports stay on the paths.
    EXPECT_EQ(Eval("local function find(n, name) for _, c in ipairs(n.children) do "
                   "if c.name == name then return c end local f = find(c, name) "
                   "if f then return f end end end "
                   "local outer = find(P.getCallTree(), 'outer') local fib = find(outer, 'fib') "
                   "return outer.calls .. ' ' .. fib.calls .. ' ' .. "
                   "tostring(math.abs(outer.totalTime - outer.selfTime - fib.totalTime) < 1e-9)"),
              "2 2 true");
    EXPECT_EQ(Eval("for _, r in ipairs(P.getLineReport()) do if r.source == 'test' and r.line == 1 "
                   "then return r.count > 0 end end"),
              "true");
    Run("P.reset()");
    EXPECT_EQ(Eval("return #P.getReport() + #P.getLineReport() + #P.getFoldedStacks()"), "0");
    EXPECT_EQ(Error("debug.sethook(function() end, 'c') P.start()"),
              "test:1: CodeProfilerManager: another hook is installed (coverage, or debug.sethook)");
}

TEST_F(DebugToolsTest, CoverageCountsLinesOfFilesAndWritesLcov)
{
    std::string path = ::testing::TempDir() + "appservices-covered-" + std::to_string(getpid()) + ".lua";
    std::ofstream(path) << "local M = {}\n"
                           "function M.sign(x)\n"
                           "  if x < 0 then\n"
                           "    return -1\n"
                           "  end\n"
                           "  return 1\n"
                           "end\n"
                           "return M\n";
    Run("cov.start() local M = dofile('" + path + "') M.sign(5) M.sign(7) cov.stop()");
    EXPECT_EQ(Eval("return (debug.gethook())"), "nil");
    EXPECT_EQ(Eval("local lines = cov.getCoverage()['@" + path + "'] "
                   "return lines[3] .. ' ' .. lines[4] .. ' ' .. lines[6]"),
              "2 0 2");
    std::string lcov = Eval("return cov.getLcov('unit')");
    EXPECT_EQ(lcov.substr(0, 8), "TN:unit\n");
    EXPECT_NE(lcov.find("SF:" + path + "\n"), std::string::npos);
    EXPECT_NE(lcov.find("DA:4,0\n"), std::string::npos);
    EXPECT_NE(lcov.find("DA:6,2\n"), std::string::npos);
    EXPECT_NE(lcov.find("end_of_record\n"), std::string::npos);
    EXPECT_EQ(Error("P.start() cov.start()"),
              "test:1: coverage: another hook is installed (the profiler, or debug.sethook)");
    Run("P.stop()");
}

TEST_F(DebugToolsTest, LoadAndCaptureReturnsOutputAndRestoresPrint)
{
    EXPECT_EQ(Run("local p = print local ok, out, a, b = debugSupport.loadAndCapture("
                  "\"print('x', 1, nil) print() return 1, 2\") return ok, out, a, b, print == p"),
              (std::vector<std::string>{"true", "x\t1\tnil\n\n", "1", "2", "true"}));
    EXPECT_EQ(Run("local p = print return print == p, debugSupport.loadAndCapture("
                  "\"print('so far') error('stop', 0)\", '=chunk')"),
              (std::vector<std::string>{"true", "false", "so far\n", "stop"}));
    EXPECT_EQ(Run("local ok, out, message = debugSupport.loadAndCapture('return +', '=bad') "
                  "return ok, out, message:sub(1, 6)"),
              (std::vector<std::string>{"false", "", "bad:1:"}));
}

} // namespace
