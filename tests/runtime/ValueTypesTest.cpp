// Points, rectangles, colours and matrices crossing into and out of Lua; the
// guid module.
#include "support/LuaFixture.h"

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaValueTypes.h"

#include <regex>
#include <set>

using vyrtest::LuaTest;
using namespace vyrlua::drawbot;
using vyrlua::utility::LuaBoundary;

namespace {

int PushNumbers(lua_State* L, std::initializer_list<double> values)
{
    for (double v : values)
        lua_pushnumber(L, v);
    return static_cast<int>(values.size());
}

int ReadPointFBody(lua_State* L)
{
    PointT<float> p;
    GetPointF32FromLua(L, 1, p);
    return PushNumbers(L, {p.x, p.y});
}

int ReadPointIBody(lua_State* L)
{
    PointT<int> p;
    GetPoint32FromLua(L, 1, p);
    return PushNumbers(L, {double(p.x), double(p.y)});
}

// Components in storage order: left, top, width, height.
int ReadRectFBody(lua_State* L)
{
    RectT<float> r;
    GetRectF32FromLua(L, 1, r);
    return PushNumbers(L, {r.left, r.top, r.width, r.height});
}

int ReadRectIBody(lua_State* L)
{
    RectT<int> r;
    GetRect32FromLua(L, -1, r); // a relative index works too
    return PushNumbers(L, {double(r.left), double(r.top), double(r.width), double(r.height)});
}

int ReadColorBody(lua_State* L)
{
    vyrui::drawbot::ColorRGBA c;
    GetColorRGBAFromLua(L, 1, c);
    return PushNumbers(L, {c.red, c.green, c.blue, c.alpha});
}

int ReadMatrixBody(lua_State* L)
{
    MatrixT<float> m;
    GetMatrixF32FromLua(L, 1, m);
    for (float v : m.m)
        lua_pushnumber(L, v);
    return 9;
}

class ValueTypesTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        lua_register(L(), "readPointF", LuaBoundary<ReadPointFBody>);
        lua_register(L(), "readPointI", LuaBoundary<ReadPointIBody>);
        lua_register(L(), "readRectF", LuaBoundary<ReadRectFBody>);
        lua_register(L(), "readRectI", LuaBoundary<ReadRectIBody>);
        lua_register(L(), "readColor", LuaBoundary<ReadColorBody>);
        lua_register(L(), "readMatrix", LuaBoundary<ReadMatrixBody>);
    }
    using Strings = std::vector<std::string>;

    // Runs `push` and returns what the constructor built, through tostring.
    template <typename Push>
    std::string Pushed(Push push)
    {
        int top = lua_gettop(L());
        EXPECT_EQ(push(L()), 1);
        EXPECT_EQ(lua_gettop(L()), top + 1);
        lua_getglobal(L(), "tostring");
        lua_insert(L(), -2);
        lua_call(L(), 1, 1);
        std::string text = lua_tostring(L(), -1);
        lua_settop(L(), top);
        return text;
    }
};

TEST_F(ValueTypesTest, PushesGoThroughTheScriptConstructors)
{
    EXPECT_EQ(Pushed([](lua_State* S) { return PushPointF32ToLua(S, {1.5f, -2}); }),
              "PointF32(1.5, -2)");
    EXPECT_EQ(Pushed([](lua_State* S) { return PushRectF32ToLua(S, {1, 2, 30, 40.25f}); }),
              "RectF32(left 1, top 2, width 30, height 40.25)");
    EXPECT_EQ(Pushed([](lua_State* S) { return PushRect32ToLua(S, {-1, 2, 3, 4}); }),
              "RectF32(left -1, top 2, width 3, height 4)");
    EXPECT_EQ(Pushed([](lua_State* S) { return PushColorRGBAToLua(S, {0.25f, 0.5f, 1, 0}); }),
              "RGBA(0.25, 0.5, 1, 0)");
    MatrixT<float> m;
    m.m = {1, 2, 3, 4, 5, 6, 7, 8, 9.5f};
    EXPECT_EQ(Pushed([&](lua_State* S) { return PushMatrixF32ToLua(S, m); }),
              "MatrixF32(1, 2, 3, 4, 5, 6, 7, 8, 9.5)");

    // Integer points share the float constructor; the script sees the call.
    Run("calls = {} function vyrlua_CreateNewPointF32(...) calls[#calls + 1] = "
        "table.concat({...}, ',') return 'point' end");
    EXPECT_EQ(Pushed([](lua_State* S) { return PushPoint32ToLua(S, {-7, 2147483647}); }), "point");
    EXPECT_EQ(Eval("return table.concat(calls, ';')"), "-7,2147483647");
}

TEST_F(ValueTypesTest, ReadsOnlyTheNamedFields)
{
    EXPECT_EQ(Run("return readPointF({ x = 1, y = '2', z = 3, 4, 5 })"), (Strings{"1", "2"}));
    EXPECT_EQ(Run("return readRectI({ top = 1, left = 2, height = 3, width = 4, right = 9 })"),
              (Strings{"2", "1", "4", "3"}));
    EXPECT_EQ(Run("return readPointI({ x = 2.9, y = -2.9 })"), (Strings{"2", "-2"}));
    // Fields may come from a metatable, as the script-built values' methods do.
    EXPECT_EQ(Run("return readColor(setmetatable({ red = 1 }, { __index = function() return 0.5 end }))"),
              (Strings{"1", "0.5", "0.5", "0.5"}));
}

TEST_F(ValueTypesTest, BadValuesRaiseStandardErrors)
{
    EXPECT_EQ(Error("readPointF(5)"),
              "test:1: bad argument #1 to 'readPointF' (table expected, got number)");
    EXPECT_EQ(Error("readPointF({ x = 1 })"),
              "test:1: bad argument #1 to 'readPointF' (field 'y': number expected, got nil)");
    EXPECT_EQ(Error("readColor({ red = 1, green = 1, blue = {}, alpha = 1 })"),
              "test:1: bad argument #1 to 'readColor' (field 'blue': number expected, got table)");
    // Integers must fit; floats saturate.
    EXPECT_EQ(Error("readPointI({ x = 1e10, y = 0 })"),
              "test:1: bad argument #1 to 'readPointI' (field 'x': number has no integer representation)");
    EXPECT_EQ(Error("readPointI({ x = 0/0, y = 0 })"),
              "test:1: bad argument #1 to 'readPointI' (field 'x': number has no integer representation)");
    EXPECT_EQ(Run("return readPointF({ x = 1e300, y = -1e300 })"), (Strings{"inf", "-inf"}));
    EXPECT_EQ(Error("readPointF(setmetatable({}, { __index = function() error('locked', 0) end }))"),
              "locked");
}

TEST_F(ValueTypesTest, MatricesFlatOrInRows)
{
    Strings nine{"1", "2", "3", "4", "5", "6", "7", "8", "9"};
    EXPECT_EQ(Run("return readMatrix({1, 2, 3, 4, 5, 6, 7, 8, 9})"), nine);
    EXPECT_EQ(Run("return readMatrix({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}})"), nine);
    EXPECT_EQ(Run("return readMatrix({1, 2, 3, {4, 5, 6}, 7, 8, 9})"), nine);
    // Only numbers count; tables nested deeper than rows are not walked.
    EXPECT_EQ(Run("return readMatrix({{1, 2, 3, 'x'}, {4, 5, 6, {10}}, {7, 8, 9}})"), nine);
    const std::string wrongCount = "test:1: incorrect number of values for MatrixF32";
    EXPECT_EQ(Error("readMatrix({1, 2, 3, 4, 5, 6, 7, 8})"), wrongCount);
    EXPECT_EQ(Error("readMatrix({1, 2, 3, 4, 5, 6, 7, 8, 9, 10})"), wrongCount);
    EXPECT_EQ(Error("readMatrix({{1, 2, 3}, {4, 5, 6}, {7, 8, 9, 10}})"), wrongCount);
    EXPECT_EQ(Error("readMatrix({})"), wrongCount);
    EXPECT_EQ(Error("readMatrix('123456789')"),
              "test:1: bad argument #1 to 'readMatrix' (table expected, got string)");
}

TEST_F(ValueTypesTest, MissingConstructorsFailAsHostErrors)
{
    Run("vyrlua_CreateNewRGBA = nil");
    EXPECT_THROW(PushColorRGBAToLua(L(), {}), vyrcore::config::HostException);
    lua_settop(L(), 0);
    // A "strict" globals table that raises on unknown names.
    Run("setmetatable(_G, { __index = function(_, k) error('undeclared ' .. k, 0) end })");
    try {
        PushColorRGBAToLua(L(), {});
        ADD_FAILURE() << "expected an error";
    } catch (const vyrcore::config::HostException& e) {
        EXPECT_STREQ(e.what(), "undeclared vyrlua_CreateNewRGBA");
    }
    lua_settop(L(), 0);
    EXPECT_EQ(Pushed([](lua_State* S) { return PushPointF32ToLua(S, {1, 2}); }), "PointF32(1, 2)");
}

TEST_F(ValueTypesTest, GuidsAreFreshVersion4Text)
{
    EXPECT_EQ(Eval("return require('vyrlua.guid') == guid"), "true");
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 50; ++i) {
        std::string id = Eval("return guid.GenerateGuid()");
        EXPECT_TRUE(std::regex_match(id, form)) << id;
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 50u);
}

} // namespace
