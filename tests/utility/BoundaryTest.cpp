// The error boundary: exceptions thrown in registered functions become Lua
// errors with the standard texts, and the state keeps working.
#include "support/LuaFixture.h"

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaArgs.h"

#include <memory>
#include <string>

using vyrtest::LuaTest;
using namespace vyrlua::utility;

namespace {

int ThrowHostBody(lua_State* L)
{
    // A live heap object while throwing: the boundary must free it (LSan).
    auto held = std::make_unique<std::string>(CheckLString(L, 1));
    throw vyrcore::config::HostException("host says: " + *held);
}

int ThrowLuaErrorBody(lua_State*)
{
    throw LuaError("Bad user data");
}

int ThrowUnknownBody(lua_State*)
{
    throw 42;
}

// Calls its argument unprotected: a Lua error raised inside a body passes
// through the boundary unchanged (a longjmp, or LuaJIT's own unwinding).
int CallThroughBody(lua_State* L)
{
    CheckType(L, 1, LUA_TFUNCTION);
    lua_call(L, lua_gettop(L) - 1, 1);
    return 1;
}

int CheckedBody(lua_State* L)
{
    CheckNumber(L, 1);
    CheckLString(L, 2);
    CheckInteger(L, 3);
    lua_pushinteger(L, CheckInt(L, 4));
    return 1;
}

// The same checks through the stock auxiliary library, for comparison.
int CheckedStock(lua_State* L)
{
    luaL_checknumber(L, 1);
    luaL_checkstring(L, 2);
    luaL_checkinteger(L, 3);
    lua_pushinteger(L, luaL_checkinteger(L, 4));
    return 1;
}

int UDataBody(lua_State* L)
{
    CheckUData(L, 1, "test.Thing");
    return 0;
}

int UDataStock(lua_State* L)
{
    luaL_checkudata(L, 1, "test.Thing");
    return 0;
}

class BoundaryTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Register("throwHost", LuaBoundary<ThrowHostBody>);
        Register("throwLuaError", LuaBoundary<ThrowLuaErrorBody>);
        Register("throwUnknown", LuaBoundary<ThrowUnknownBody>);
        Register("checked", LuaBoundary<CheckedBody>);
        Register("callThrough", LuaBoundary<CallThroughBody>);
        Register("stock", CheckedStock);
        Register("udata", LuaBoundary<UDataBody>);
        Register("udataStock", UDataStock);
        luaL_newmetatable(L(), "test.Thing");
        lua_pop(L(), 1);
    }
    void Register(const char* name, lua_CFunction f)
    {
        lua_pushcfunction(L(), f);
        lua_setglobal(L(), name);
    }
};

} // namespace

TEST_F(BoundaryTest, HostExceptionBecomesCatchableLuaError)
{
    EXPECT_EQ(Run("return pcall(throwHost, 'boom')"),
              (std::vector<std::string>{"false", "host says: boom"}));
    // The state still works after the error, collections included.
    EXPECT_EQ(Eval("collectgarbage(); return coroutine.wrap(function() return 7 end)()"), "7");
    EXPECT_EQ(Error("throwHost('again')"), "host says: again");
    EXPECT_EQ(lua_gettop(L()), 0);
}

TEST_F(BoundaryTest, LuaErrorsInsideBodiesPassThrough)
{
    EXPECT_EQ(Run("return pcall(callThrough, function() error({code = 7}) end)")[1], "table");
    EXPECT_EQ(Eval("local ok, e = pcall(callThrough, error, 'inner', 0); return e"), "inner");
    // Nested: a boundary error inside a call made by another boundary.
    EXPECT_EQ(Eval("local ok, e = pcall(callThrough, throwHost, 'deep'); return e"), "host says: deep");
    EXPECT_EQ(Eval("return callThrough(function(x) return x * 2 end, 21)"), "42");
    EXPECT_EQ(Eval("collectgarbage(); return select('#', pcall(error))"), "2");
}

TEST_F(BoundaryTest, LuaErrorCarriesTheCallersPosition)
{
    EXPECT_EQ(Error("\n\nthrowLuaError()"), "test:3: Bad user data");
    EXPECT_EQ(Error("throwUnknown()"), "unknown C++ exception");
}

TEST_F(BoundaryTest, ArgumentErrorsMatchTheStockTexts)
{
    // Each call fails at a different argument, in a function and a method.
    const char* calls[] = {
        "f()",
        "f('x')",
        "f(1, nil)",
        "f(1, {}, 3, 4)",
        "f(1, 's', 'three')",
        "f(1, 's', 3)",
        "local t = {f = f}; t:f(2)",
        "local t = {f = f}; t.f(t)",
        "local t = {f = f}; t:f(1, 's', 3, 'x')",
    };
    for (const char* call : calls) {
        std::string ours = Error(std::string("local f = checked; ") + call);
        std::string stock = Error(std::string("local f = stock; ") + call);
        EXPECT_EQ(ours, stock) << call;
        EXPECT_FALSE(ours.empty()) << call;
    }
    EXPECT_EQ(Error("checked(1, 's', 3)"),
              "test:1: bad argument #4 to 'checked' (number expected, got no value)");
}

TEST_F(BoundaryTest, UserdataChecksMatchTheStockTexts)
{
    for (const char* value : {"nil", "{}", "'s'", "newproxy(true)", "io.stdout"}) {
        std::string code = std::string("(") + value + ")";
        std::string stock = Error(std::string("udataStock") + code);
        stock.replace(stock.find("udataStock"), 10, "udata");
        EXPECT_EQ(Error(std::string("udata") + code), stock) << value;
    }
    lua_newuserdata(L(), 8);
    luaL_getmetatable(L(), "test.Thing");
    lua_setmetatable(L(), -2);
    lua_setglobal(L(), "thing");
    Run("udata(thing)");
}

TEST_F(BoundaryTest, IntegersOutOfRangeAreErrorsNotWraps)
{
    EXPECT_EQ(Eval("return checked(1, 's', 3, 2^31 - 1)"), "2147483647");
    EXPECT_EQ(Eval("return checked(1, 's', 3, -2.9)"), "-2");
    for (const char* bad : {"2^31", "-2^31 - 1", "0/0", "1/0", "-1/0", "1e300"}) {
        EXPECT_EQ(Error(std::string("checked(1, 's', 3, ") + bad + ")"),
                  "test:1: bad argument #4 to 'checked' (number has no integer representation)")
            << bad;
    }
    EXPECT_EQ(Error("checked(1, 's', 2^63)"),
              "test:1: bad argument #3 to 'checked' (number has no integer representation)");
}
