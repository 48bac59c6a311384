// Property lists from Lua: typed values, sub-lists shared with their
// parent, arrays as tables, iteration and removal, and bad values refused.
#include "support/LuaFixture.h"

namespace {

using vyrtest::LuaTest;

class PropListTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Run("require 'vyrlua.proplist' p = PropList.New()");
    }
};

TEST_F(PropListTest, TypedValuesAndDefaults)
{
    Run("p:SetBool('b', true) p:SetNumber('n', -2.5) p:SetString('s\\0k', 'v\\0w')");
    EXPECT_EQ(Run("return p:GetBool('b'), p:GetNumber('n'), p:GetString('s\\0k') == 'v\\0w', "
                  "p:GetNumber('b', 7), p:GetString('missing'), p:Count()"),
              (std::vector<std::string>{"true", "-2.5", "true", "7", "nil", "3"}));
    EXPECT_EQ(Error("p:SetNumber('n', '3')"),
              "test:1: bad argument #2 to 'SetNumber' (number expected, got string)");
    EXPECT_EQ(Error("p:SetString('\\192\\128', 'x')"),
              "test:1: PropList: the key is not valid UTF-8");
    EXPECT_EQ(Error("p:SetValue('f', print)"),
              "test:1: PropList: cannot store a function (booleans, numbers, strings, property "
              "lists and tables of them)");
    EXPECT_EQ(Eval("return p:GetNumber('n')"), "-2.5");  // refusals change nothing
}

TEST_F(PropListTest, SubListsAreSharedAndStoredListsAreCopied)
{
    EXPECT_EQ(Run("local a = p:GetOrCreateSubList('a') a:SetNumber('x', 1) "
                  "local other = PropList.New() other:SetNumber('y', 2) p:SetValue('b', other) "
                  "other:SetNumber('y', 3) "
                  "return p:GetSubList('a'):GetNumber('x'), p:GetSubList('b'):GetNumber('y'), "
                  "p:GetSubList('missing')"),
              (std::vector<std::string>{"1", "2", "nil"}));
    EXPECT_EQ(Error("local l = p for i = 1, 70 do l = l:GetOrCreateSubList('d') end"),
              "test:1: PropList: lists and arrays nest at most 64 deep");
    EXPECT_EQ(Error("local t = {} t[1] = t p:SetValue('t', t)"),
              "test:1: PropList: lists and arrays nest at most 64 deep (does the table contain "
              "itself?)");
    EXPECT_EQ(Error("p:SetValue('t', {1, 2, x = 3})"),
              "test:1: PropList: a table must have only string keys (a list) or only the keys 1 "
              "to n (an array)");
}

TEST_F(PropListTest, ArraysIterationAndRemoval)
{
    Run("p:SetValue('arr', {1, 'two', false, {k = 'v'}, {}}) p:SetBool('z', true) "
        "p:SetNumber('a', 0)");
    EXPECT_EQ(Run("local a = p:GetValue('arr') return #a, a[2], a[3], a[4]:GetString('k'), "
                  "type(a[5]), p:GetType('arr')"),
              (std::vector<std::string>{"5", "two", "false", "v", "table", "array"}));
    // Keys come in byte order; a key removed during the loop is skipped.
    EXPECT_EQ(Eval("local seen = {} for k, v in p:Pairs() do seen[#seen + 1] = k "
                   "if k == 'a' then p:RemoveValue('z') end end return table.concat(seen, ',')"),
              "a,arr");
    EXPECT_EQ(Run("return p:RemoveValue('a'), p:RemoveValue('a'), p:Has('a'), "
                  "table.concat(p:Keys(), ',')"),
              (std::vector<std::string>{"true", "false", "false", "arr"}));
    Run("p:Clear()");
    EXPECT_EQ(Eval("return p:Count()"), "0");
}

TEST_F(PropListTest, JSONRoundTripAndReleasedLists)
{
    EXPECT_EQ(Run("p:SetNumber('n', 1/0) p:SetValue('l', {a = {true}}) "
                  "local q, problems = PropList.FromJSON(p:ToJSON()) "
                  "return q:GetNumber('n'), q:GetSubList('l'):GetValue('a')[1], problems"),
              (std::vector<std::string>{"inf", "true", ""}));
    EXPECT_EQ(Run("local q, problems = PropList.FromJSON('[') return q, problems:sub(1, 10)"),
              (std::vector<std::string>{"nil", "not JSON: "}));
    EXPECT_EQ(Run("local q = PropList.New() q:Release() q:Release() "
                  "return q:GetNumber('x', 1), q:Has('x'), tostring(q)"),
              (std::vector<std::string>{"nil", "false", "PropList(released)"}));
    // A userdata given the kind's metatable is still not a list.
    EXPECT_EQ(Error("local u = newproxy(true) debug.setmetatable(u, getmetatable(p)) u:Count()"),
              "test:1: calling 'Count' on bad self (vyrlua.core.PropList expected, got userdata)");
}

} // namespace
