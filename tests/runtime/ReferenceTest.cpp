// References to Lua values held by native code, and calls back into them.
#include "support/LuaFixture.h"

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaFieldReaders.h"
#include "vyrlua/utility/LuaReference.h"

#include <string>
#include <vector>

using vyrtest::LuaTest;
using namespace vyrlua::utility;

namespace {

// What native owners hold, reachable from the registered bodies through
// their upvalue.
struct Held {
    std::vector<LuaFunctionReference::Ptr> functions;
    std::vector<LuaTableReference::Ptr> tables;
};

Held& HeldOf(lua_State* L)
{
    return *static_cast<Held*>(lua_touserdata(L, lua_upvalueindex(1)));
}

// keep(f): a setter that keeps a function (nil keeps nothing).
int KeepFunctionBody(lua_State* L)
{
    if (auto ref = LuaFunctionReference::FromArg(L, 1))
        HeldOf(L).functions.push_back(ref);
    lua_pushinteger(L, static_cast<lua_Integer>(HeldOf(L).functions.size()));
    return 1;
}

// keepTop(v): references the top value with the plain creation form.
int KeepTopBody(lua_State* L)
{
    HeldOf(L).tables.push_back(LuaTableReference::Create(L));
    return 0;
}

// options(t): reads an option table with the three field readers.
int OptionsBody(lua_State* L)
{
    std::string name = GetStringField(L, 1, "name");
    int count = GetIntegerField(L, 1, "count");
    bool flag = GetBoolField(L, 1, "flag");
    lua_pushlstring(L, name.data(), name.size());
    lua_pushinteger(L, count);
    lua_pushboolean(L, flag);
    return 3;
}

class ReferenceTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Register("keep", LuaBoundary<KeepFunctionBody>);
        Register("keepTop", LuaBoundary<KeepTopBody>);
        Register("options", LuaBoundary<OptionsBody>);
    }
    void TearDown() override
    {
        held = {};
        LuaTest::TearDown();
    }
    void Register(const char* name, lua_CFunction f)
    {
        lua_pushlightuserdata(L(), &held);
        lua_pushcclosure(L(), f, 1);
        lua_setglobal(L(), name);
    }
    LuaFunctionReference::Ptr Keep(const std::string& function)
    {
        Run("keep(" + function + ")");
        return held.functions.empty() ? nullptr : held.functions.back();
    }

    Held held;
};

TEST_F(ReferenceTest, CallsBackWithArgumentsAndResults)
{
    auto f = Keep("function(a, b) seen = a + b; return a * b, 'extra' end");
    ASSERT_TRUE(f);
    lua_pushliteral(L(), "caller's value");
    double product = 0;
    bool called = CallLuaReference(
        f, 1,
        [](lua_State* S) {
            lua_pushnumber(S, 3);
            lua_pushnumber(S, 4);
            return 2;
        },
        [&](lua_State* S) { product = lua_tonumber(S, -1); });
    EXPECT_TRUE(called);
    EXPECT_EQ(product, 12);
    EXPECT_EQ(Eval("return seen"), "7");
    // Only the caller's own value is left.
    EXPECT_EQ(lua_gettop(L()), 1);
    EXPECT_EQ(vyrtest::ValueText(L(), 1), "caller's value");
    // Called again: the reference stays valid across calls.
    EXPECT_TRUE(CallLuaReference(f, 0, [](lua_State* S) {
        lua_pushnumber(S, 1);
        lua_pushnumber(S, 1);
        return 2;
    }));
    EXPECT_EQ(Eval("return seen"), "2");
}

TEST_F(ReferenceTest, SettersRejectWrongTypesAndKeepNothingForNil)
{
    EXPECT_EQ(Eval("return keep(nil)"), "0");
    EXPECT_EQ(Error("keep(42)"), "test:1: bad argument #1 to 'keep' (function expected, got number)");
    EXPECT_EQ(Error("keep()"), "test:1: bad argument #1 to 'keep' (function expected, got no value)");
    EXPECT_EQ(Error("keepTop(1, 'x')"),
              "test:1: bad argument #-1 to 'keepTop' (table expected, got string)");
    EXPECT_TRUE(held.functions.empty());
    EXPECT_TRUE(held.tables.empty());
    Run("keepTop({ name = 'kept' })");
    ASSERT_EQ(held.tables.size(), 1u);
    held.tables[0]->Push(L());
    EXPECT_EQ(GetStringField(L(), -1, "name"), "kept");
    lua_pop(L(), 1);
}

TEST_F(ReferenceTest, MissingOrForeignLocatorFailsAtRegistration)
{
    // A size that is not the host's, or one with a metatable, is not a locator.
    // Nor is a block one pointer wide stripped of its metatable: a file
    // handle, or an object of the library.
    Run("require 'vyrlua.drawbot.PenInterface'\n"
        "function stripped(u) debug.setmetatable(u, nil) return u end\n"
        "pen = PenInterface.newPenFromSupplier(require('vyrhost.image').supplier(),"
        " { red = 0, green = 0, blue = 0, alpha = 1 }, 1)\n"
        "penMeta = getmetatable(pen)");
    for (const char* planted :
         {"nil", "newproxy()", "io.stdout", "stripped(io.tmpfile())", "stripped(pen)"}) {
        Run("debug.getregistry()['dlsl-fn'] = " + std::string(planted));
        int slotsBefore = static_cast<int>(lua_objlen(L(), LUA_REGISTRYINDEX));
        EXPECT_EQ(Error("keep(function() end)"),
                  "test:1: RegisterDeferredLuaStateLocator must be called prior to using LuaFunction")
            << planted;
        EXPECT_EQ(static_cast<int>(lua_objlen(L(), LUA_REGISTRYINDEX)), slotsBefore) << planted;
    }
    EXPECT_TRUE(held.functions.empty());
    Run("debug.setmetatable(pen, penMeta) pen:Release()");
    RegisterDeferredLuaStateLocator(L(), KzKernel_CurrentLuaState);
    EXPECT_EQ(Eval("return keep(function() end)"), "1");
}

TEST_F(ReferenceTest, LastOwnerFreesTheRegistrySlot)
{
    auto f = Keep("function() end");
    ASSERT_TRUE(f);
    int ref = f->Ref();
    held.functions.clear();
    auto copy = f; // a second owner keeps it alive
    f.reset();
    lua_rawgeti(L(), LUA_REGISTRYINDEX, ref);
    EXPECT_EQ(lua_type(L(), -1), LUA_TFUNCTION);
    lua_pop(L(), 1);

    copy.reset();
    lua_rawgeti(L(), LUA_REGISTRYINDEX, ref);
    EXPECT_NE(lua_type(L(), -1), LUA_TFUNCTION);
    lua_pop(L(), 1);
    // The freed slot is the next one handed out.
    auto next = Keep("function() end");
    EXPECT_EQ(next->Ref(), ref);
}

TEST_F(ReferenceTest, ReferencesOutlivingTheStateAreDroppedWithoutLua)
{
    auto f = Keep("function() end");
    ASSERT_TRUE(f);
    held.functions.clear();
    Runtime().Close();
    EXPECT_EQ(f->State(), nullptr);
    EXPECT_FALSE(CallLuaReference(f, 0));
    EXPECT_FALSE(NotifyLuaTimer(1, 1, f));
    // Lua is not touched: under ASan a use of the closed state would fail.
    f.reset();
    EXPECT_TRUE(reportedErrors.empty());
}

TEST_F(ReferenceTest, LuaErrorsThrowOrAreReported)
{
    auto f = Keep("function(x) error('boom ' .. tostring(x)) end");
    ASSERT_TRUE(f);
    auto one = [](lua_State* S) {
        lua_pushinteger(S, 1);
        return 1;
    };
    bool readerRan = false;
    auto reader = [&](lua_State*) { readerRan = true; };
    try {
        CallLuaReference(f, 1, one, reader);
        ADD_FAILURE() << "expected a host error";
    } catch (const vyrcore::config::HostException& e) {
        EXPECT_STREQ(e.what(), "test:1: boom 1");
    }
    EXPECT_EQ(lua_gettop(L()), 0);
    EXPECT_FALSE(CallLuaReference(f, 1, one, reader, OnLuaError::Report));
    EXPECT_FALSE(readerRan);
    EXPECT_EQ(reportedErrors, std::vector<std::string>{"test:1: boom 1"});
    EXPECT_EQ(lua_gettop(L()), 0);
    // A failure while pushing arguments is handled the same way.
    auto failingPush = [](lua_State*) -> int { throw vyrcore::config::HostException("no args"); };
    EXPECT_FALSE(CallLuaReference(f, 0, failingPush, NoResults, OnLuaError::Report));
    EXPECT_EQ(reportedErrors.back(), "no args");
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(ReferenceTest, TimerCallsOnlyForItsOwnID)
{
    Run("ticks = 0");
    auto tick = Keep("function(...) ticks = ticks + 1 + select('#', ...) end");
    EXPECT_FALSE(NotifyLuaTimer(7, 8, tick));
    EXPECT_EQ(Eval("return ticks"), "0");
    EXPECT_TRUE(NotifyLuaTimer(8, 8, tick));
    EXPECT_EQ(Eval("return ticks"), "1");
    // A failing timer function is reported; the tick still counts as called.
    auto bad = Keep("function() error('tick failed', 0) end");
    EXPECT_TRUE(NotifyLuaTimer(3, 3, bad));
    EXPECT_EQ(reportedErrors, std::vector<std::string>{"tick failed"});
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(ReferenceTest, FieldReaders)
{
    EXPECT_EQ(Run("return options({ name = 'n', count = 3.9, flag = 0 })"),
              (std::vector<std::string>{"n", "3", "true"}));
    EXPECT_EQ(Run("return options({ name = 12, count = '-7', flag = false })"),
              (std::vector<std::string>{"12", "-7", "false"}));
    EXPECT_EQ(Run("return options({ name = {}, count = 'x' })"),
              (std::vector<std::string>{"", "0", "false"}));
    EXPECT_EQ(Run("return options({ count = 1e300 })"),
              (std::vector<std::string>{"", "2147483647", "false"}));
    EXPECT_EQ(Run("return options({ count = -1/0 })"),
              (std::vector<std::string>{"", "-2147483648", "false"}));
    EXPECT_EQ(Run("return options({ count = 0/0 })"),
              (std::vector<std::string>{"", "0", "false"}));
    // Metamethods are honoured, and their errors surface as Lua errors.
    EXPECT_EQ(Run("return options(setmetatable({}, { __index = function(t, k)"
                  "  return k == 'count' and 5 or k end }))"),
              (std::vector<std::string>{"name", "5", "true"}));
    EXPECT_EQ(Error("options(setmetatable({}, { __index = function() error('no fields', 0) end }))"),
              "no fields");
    EXPECT_EQ(Error("options(nil)"), "attempt to index a nil value");
}

} // namespace
