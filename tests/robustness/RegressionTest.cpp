// Defects the sweep, the fuzzer and fault injection found, each kept as the
// smallest script that showed it.
#include "support/LuaFixture.h"

#include <gtest/gtest.h>

namespace {

using vyrtest::LuaTest;

// debug.setmetatable gives any userdata a kind's metatable; a block smaller
// than the kind's pointer used to be read past its end (__gc, methods). It is
// no object of the kind.
TEST_F(LuaTest, ForgedUserdataOfEveryKindIsRefused)
{
    Run("require 'vyrlua.InputCapture'; require 'vyrlua.TouchCapture'");
    for (const char* kind : {"vyrlua.VYRUIMouseEvent", "vyrlua.InputCapture", "vyrlua.TouchCapture"}) {
        std::string forge = std::string("local meta = debug.getregistry()['") + kind +
                            "'] local u = newproxy() debug.setmetatable(u, meta) ";
        EXPECT_EQ(Error(forge + "return tostring(u)"),
                  std::string("bad argument #1 to '__tostring' (") + kind + " expected, got userdata)");
        Run(forge + "meta.__gc(u) meta.__gc(u)");
    }
    EXPECT_EQ(Error("local m = vyrlua_CreateNewVYRUIMouseEvent{x = 3}\n"
                    "local x = getmetatable(m).__index(InputCapture.New(), 'x')"),
              "test:2: bad argument #1 to '__index' (vyrlua.VYRUIMouseEvent expected, got userdata)");
    // Input events reach Lua only from handlers; forge one of each kind.
    EXPECT_EQ(Eval("local n = 0\n"
                   "for name, meta in pairs(debug.getregistry()) do\n"
                   "  if type(name) == 'string' and name:find('Event$') and type(meta) == 'table'\n"
                   "     and meta.__gc then\n"
                   "    local forged = newproxy(); debug.setmetatable(forged, meta)\n"
                   "    meta.__gc(forged)\n"
                   "    if meta.__tostring then pcall(meta.__tostring, forged) end\n"
                   "    n = n + 1\n"
                   "  end\n"
                   "end\n"
                   "collectgarbage() return n > 0"),
              "true");
}

// A handler dispatched from inside a coroutine used to empty the main
// state's stack, wiping coroutine.resume's frame: the next collection freed
// the running coroutine. Both a handler dispatched by a method called from
// Lua and one whose result is nil (the gripe path) are covered.
TEST_F(LuaTest, DispatchFromACoroutineKeepsTheRunningFrames)
{
    EXPECT_EQ(Run(R"(
        require "vyrlua.vyrcontrols"
        local node, n = vyrcontrols.NewNode(), 0
        node:BindVyrOperation("OnDoMouseEvent", function()
            n = n + 1
            if n == 2 then collectgarbage() end
        end)
        local e = vyrlua_CreateNewVYRUIMouseEvent{}
        local keep = "below"
        local ok, r = coroutine.resume(coroutine.create(function(a)
            node:UI_DoMouseEvent(node, e)
            node:UI_DoMouseEvent(node, e)
            local t = {} for i = 1, 1000 do t[i] = { i } end
            collectgarbage()
            return a .. " alive"
        end), "still")
        return keep, ok, r, n)"),
              (std::vector<std::string>{"below", "true", "still alive", "2"}));
}

// A draw hook that updates its window and grows its view, with a size hook
// that grows it again: under LuaJIT the stack overflow was swallowed on the
// way ("Unknown exception") and the process crashed. Each chain ends with
// one clear Lua error, in both builds, and the script goes on.
TEST_F(LuaTest, HooksRecursingThroughLayoutAndDrawingEndWithALuaError)
{
    EXPECT_EQ(Eval(R"(
        require 'vyrlua.vyrcontrols'
        local win = vyrcontrols.NewWindow('w', vyrlua_CreateNewRectF32(0, 0, 200, 200))
        local v = vyrcontrols.NewSubView('v', vyrlua_CreateNewRectF32(0, 0, 10, 10))
        win:ChildPushBack(v) win:UI_Show(true)
        local function grow(dw, dh) local r = v:UI_GetLocalRectF()
            v:UI_SetLocalRectF(vyrlua_CreateNewRectF32(0, 0, r.width + dw, r.height + dh)) end
        v:BindVyrOperation('OnDraw', function() grow(1, 0) win:UI_UpdateNow() end)
        v:BindVyrOperation('OnSizeChanged', function() grow(0, 1) end)
        win:UI_UpdateNow()
        return 'alive')"), "alive");
    ASSERT_FALSE(reportedErrors.empty());
    for (const std::string& error : reportedErrors)
        EXPECT_EQ(error.rfind("calls from the host into Lua nested too deeply", 0), 0u) << error;
}

} // namespace
