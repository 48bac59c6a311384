// The vyrString module: byte positions, trimming, regular expressions, case
// and encodings, localisation and dates.
#include "support/LuaFixture.h"

#include "vyrcore/config.h"
#include "vyrlua/string/VyrString.h"

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using vyrtest::LuaTest;

namespace {

using Results = std::vector<std::string>;

TEST(VyrStringTable, HoldsTheFunctionsInOrder)
{
    const std::vector<std::string> expected = {
        "GetChar", "GetCharB", "GetCharBytePos", "GetCharPosB", "GetLength", "IsStringAscii",
        "IsAscii", "IsAsciiB", "IsSpace", "IsSpaceB", "IsAlpha", "IsAlphaB", "IsPunct",
        "IsPunctB", "IsNumber", "IsNumberB", "IsControl", "IsControlB", "IsUpper", "IsUpperB",
        "IsLower", "IsLowerB", "Localize", "ReplaceInString", "Substring", "SubstringB", "Trim",
        "TrimLeft", "TrimRight", "Match", "MatchB", "Replace", "ReplaceB", "Compare",
        "NaturalCompare", "ToUpper", "ToLower", "IsValidUTF8CharacterString", "UTF8to16",
        "UTF16to8", "FormatDateTimeStringForUI", "FormatEpochTimeForUI", "GetDateTimeNow"};
    std::vector<std::string> actual;
    for (const luaL_Reg* r = vyrlua::string::kVyrStringFunctions; r->name; ++r)
        actual.push_back(r->name);
    EXPECT_EQ(actual, expected);
}

TEST(VyrStringOpener, WorksInAPlainLuaState)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_pushcfunction(L, luaopen_vyrlua_vyrString);
    ASSERT_EQ(lua_pcall(L, 0, 1, 0), 0);
    lua_getglobal(L, "vyrString");
    EXPECT_TRUE(lua_istable(L, -1));
    EXPECT_TRUE(lua_rawequal(L, -1, -2));
    const char* code = "local n = 0; for _ in pairs(vyrString) do n = n + 1 end"
                       " return n, vyrString.SubstringB('hello', -1)";
    ASSERT_EQ(luaL_dostring(L, code), 0) << lua_tostring(L, -1);
    EXPECT_EQ(lua_tointeger(L, -2), 43);
    EXPECT_STREQ(lua_tostring(L, -1), "lo");
    lua_close(L);
}

TEST_F(LuaTest, VyrStringOpenerReusesTheLoadedTable)
{
    // The master module registered it first; opening again must not fork it.
    lua_pushcfunction(L(), luaopen_vyrlua_vyrString);
    lua_call(L(), 0, 1);
    lua_getglobal(L(), "vyrString");
    EXPECT_TRUE(lua_rawequal(L(), -1, -2));
    lua_pop(L(), 2);
}

TEST_F(LuaTest, CharacterPositionFormsDoNothing)
{
    const char* names[] = {"GetChar", "GetCharBytePos", "GetCharPosB", "GetLength",
                           "IsStringAscii", "IsAscii", "IsAsciiB", "IsSpace", "IsAlpha",
                           "IsPunct", "IsPunctB", "IsNumber", "IsNumberB", "IsControl",
                           "IsControlB", "IsUpper", "IsUpperB", "IsLower", "IsLowerB",
                           "Substring", "TrimLeft", "TrimRight", "Match", "Replace"};
    for (const char* name : names) {
        // Any arguments at all, including none and ones of the wrong type.
        EXPECT_EQ(Eval(std::string("local f = vyrString.") + name +
                       "; return select('#', f('abc', 1, 2)) + select('#', f()) +"
                       " select('#', f({}, nil, print))"),
                  "0")
            << name;
    }
    EXPECT_EQ(Eval("local x = vyrString.Substring('hello', 2); return x"), "nil");
}

TEST_F(LuaTest, SubstringBCountsBytes)
{
    auto sub = [this](const std::string& args) {
        return Eval("return vyrString.SubstringB(" + args + ")");
    };
    EXPECT_EQ(sub("'hello', 2"), "ello");
    EXPECT_EQ(sub("'hello', 2, 0"), "ello");
    EXPECT_EQ(sub("'hello', 2, nil"), "ello");
    EXPECT_EQ(sub("'hello', 2, 3"), "ell");
    EXPECT_EQ(sub("'hello', 2, 99"), "ello");
    // Negative starts sit one byte lower than string.sub's.
    EXPECT_EQ(sub("'hello', -1"), "lo");
    EXPECT_EQ(sub("'hello', -2, 1"), "l");
    EXPECT_EQ(sub("'hello', -5"), "hello");
    EXPECT_EQ(sub("'hello', -99"), "hello");
    // Past the end still yields the last byte.
    EXPECT_EQ(sub("'hello', 9"), "o");
    EXPECT_EQ(sub("'hello', 1e300"), "o");
    EXPECT_EQ(sub("'hello', -1e300, 2"), "he");
    EXPECT_EQ(sub("'', 1"), "");
    EXPECT_EQ(sub("'', -3, 2"), "");
    // Fractions truncate; bytes are bytes, embedded zeros included.
    EXPECT_EQ(sub("'hello', 2.9, 1.9"), "e");
    EXPECT_EQ(sub("'\\0a\\0b', 2, 2"), std::string("a\0", 2));
    EXPECT_EQ(sub("'h\\195\\169llo', 2, 1"), "\xC3");
    EXPECT_EQ(sub("12345, 3"), "345");
}

TEST_F(LuaTest, SubstringBRejectsBadPositionsAndCounts)
{
    const std::string bad = "SubstringB: Bad character count, must be >= 0";
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 0)"), bad);
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 0.5)"), bad);
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 1, -1)"), bad);
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 1, -1e300)"), bad);
    EXPECT_EQ(Error("vyrString.SubstringB('hello', '2')"),
              "test:1: bad argument #2 to 'SubstringB' (number expected, got string)");
    EXPECT_EQ(Error("vyrString.SubstringB('hello')"),
              "test:1: bad argument #2 to 'SubstringB' (number expected, got no value)");
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 1, '2')"),
              "test:1: bad argument #3 to 'SubstringB' (number expected, got string)");
    EXPECT_EQ(Error("vyrString.SubstringB('hello', 0/0)"),
              "test:1: bad argument #2 to 'SubstringB' (number has no integer representation)");
    EXPECT_EQ(Error("vyrString.SubstringB(nil, 1)"),
              "test:1: bad argument #1 to 'SubstringB' (string expected, got nil)");
    // The error is an ordinary Lua error: the script catches it and goes on.
    EXPECT_EQ(Run("local ok, e = pcall(vyrString.SubstringB, 'x', 0); return ok, e"),
              (Results{"false", bad}));
}

TEST_F(LuaTest, ByteClassification)
{
    EXPECT_EQ(Run("local s = 'a b'; return vyrString.GetCharB(s, 1), vyrString.GetCharB(s, -1),"
                  " vyrString.GetCharB(s, 0), vyrString.GetCharB(s, 4), vyrString.GetCharB(s, -4)"),
              (Results{"a", "b", "", "", ""}));
    EXPECT_EQ(Run("local s = 'a\\t1\\195\\169'; local r = {}"
                  " for i = 1, 6 do r[#r + 1] = tostring(vyrString.IsAlphaB(s, i)) .. '/' .."
                  " tostring(vyrString.IsSpaceB(s, i)) end"
                  " return unpack(r)"),
              (Results{"true/false", "false/true", "false/false", "false/false", "false/false",
                       "false/false"}));
    // The bytes of a multi-byte character come back one at a time.
    EXPECT_EQ(Eval("return vyrString.GetCharB('\\226\\130\\172', 2)"), "\x82");
    EXPECT_EQ(Eval("return vyrString.GetCharB('abc', 1e300)"), "");
    EXPECT_EQ(Error("vyrString.IsSpaceB('abc')"),
              "test:1: bad argument #2 to 'IsSpaceB' (number expected, got no value)");
    EXPECT_EQ(Error("vyrString.GetCharB('abc', 0/0)"),
              "test:1: bad argument #2 to 'GetCharB' (number has no integer representation)");
    EXPECT_EQ(Error("vyrString.IsAlphaB({}, 1)"),
              "test:1: bad argument #1 to 'IsAlphaB' (string expected, got table)");
}

TEST_F(LuaTest, TrimRemovesOuterWhiteSpaceOnly)
{
    EXPECT_EQ(Eval("return vyrString.Trim(' \\t\\r\\n a  b \\v\\f ')"), "a  b");
    EXPECT_EQ(Eval("return vyrString.Trim('ab')"), "ab");
    EXPECT_EQ(Eval("return vyrString.Trim(' \\n\\t ')"), "");
    EXPECT_EQ(Eval("return vyrString.Trim('')"), "");
    EXPECT_EQ(Eval("return vyrString.Trim(' \\0x\\0 ')"), std::string("\0x\0", 3));
    // A no-break space is not ASCII white space: its bytes stay.
    EXPECT_EQ(Eval("return vyrString.Trim('\\194\\160x ')"), "\xC2\xA0x");
    EXPECT_EQ(Error("vyrString.Trim()"),
              "test:1: bad argument #1 to 'Trim' (string expected, got no value)");
    // Long inner runs of spaces must not make the end search quadratic.
    EXPECT_EQ(Eval("local s = 'x' .. string.rep(' ', 200000) .. 'y';"
                   " return vyrString.Trim('  ' .. s .. '  ') == s"),
              "true");
}

TEST_F(LuaTest, MatchBReturnsTheMatchAndItsCaptures)
{
    EXPECT_EQ(Run("return vyrString.MatchB('key = value', '(\\\\w+)\\\\s*=\\\\s*(\\\\w+)')"),
              (Results{"key = value", "key", "value"}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', 'b')"), (Results{"b"}));
    EXPECT_EQ(Run("return vyrString.MatchB('ac', 'a(b)?(c)')"), (Results{"ac", "nil", "c"}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', 'x')"), Results{});
    EXPECT_EQ(Run("return vyrString.MatchB('', '^$')"), (Results{""}));
    // Bytes, not characters: "." takes one byte of a two-byte character.
    EXPECT_EQ(Run("return vyrString.MatchB('\\195\\169', '^.')"), (Results{"\xC3"}));
    EXPECT_EQ(Run("return vyrString.MatchB('a\\0b', 'a\\0(.)')"),
              (Results{std::string("a\0b", 3), "b"}));
}

TEST_F(LuaTest, MatchBStartsAtAnOptionalPosition)
{
    EXPECT_EQ(Run("return vyrString.MatchB('a1 b2 c3', '[a-z]\\\\d', 2)"), (Results{"b2"}));
    EXPECT_EQ(Run("return vyrString.MatchB('a1 b2 c3', '[a-z]\\\\d', -2)"), (Results{"c3"}));
    EXPECT_EQ(Run("return vyrString.MatchB('a1 b2 c3', '[a-z]\\\\d', -99)"), (Results{"a1"}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', '$', 4)"), (Results{""}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', '', 5)"), Results{});
    // The bytes before the start still decide word boundaries.
    EXPECT_EQ(Run("return vyrString.MatchB('foobar bar', '\\\\bbar', 2)"), (Results{"bar"}));
    EXPECT_EQ(Run("return select('#', vyrString.MatchB('foobar', '\\\\bbar', 4))"),
              (Results{"0"}));
}

TEST_F(LuaTest, MatchBWithManyCaptures)
{
    // More results than the stack space a C function starts with.
    EXPECT_EQ(Eval("local s = string.rep('x', 300)"
                   " local r = { vyrString.MatchB(s, string.rep('(x)', 300)) }"
                   " return #r .. r[1]:len() .. r[301]"),
              "301300x");
}

TEST_F(LuaTest, ReplaceBReplacesEveryMatch)
{
    EXPECT_EQ(Eval("return vyrString.ReplaceB('one two', '(\\\\w+) (\\\\w+)', '$2 $1')"),
              "two one");
    EXPECT_EQ(Eval("return vyrString.ReplaceB('a.b.c', '\\\\.', '/')"), "a/b/c");
    EXPECT_EQ(Eval("return vyrString.ReplaceB('abc', 'b', '[$&] $$')"), "a[b] $c");
    EXPECT_EQ(Eval("return vyrString.ReplaceB('abc', 'x', 'y')"), "abc");
    EXPECT_EQ(Eval("return vyrString.ReplaceB('', '^', 'start')"), "start");
    EXPECT_EQ(Eval("return vyrString.ReplaceB('a\\0b', '\\0', '-')"), "a-b");
    EXPECT_EQ(Error("vyrString.ReplaceB('abc', 'b')"),
              "test:1: bad argument #3 to 'ReplaceB' (string expected, got no value)");
}

TEST_F(LuaTest, BadOrRunawayPatternsAreLuaErrors)
{
    for (const char* function : {"MatchB", "ReplaceB"}) {
        std::string call = std::string("vyrString.") + function;
        std::string error = Error(call + "('abc', '[a', 'x')");
        EXPECT_EQ(error.rfind(std::string("test:1: bad argument #2 to '") + function +
                                  "' (Unmatched [",
                              0),
                  0u)
            << error;
        error = Error(call + "('x', string.rep('(', 5000) .. 'x' .. string.rep(')', 5000), 'y')");
        EXPECT_NE(error.find("bad argument #2"), std::string::npos) << error;

        // Catastrophic backtracking ends with the engine's complaint.
        std::string third = call.ends_with("ReplaceB") ? ", 'z')" : ")";
        error = Error(call + "(string.rep('x', 200), '(x+x+)+y'" + third);
        EXPECT_EQ(error.rfind(std::string("test:1: ") + function +
                                  ": The complexity of matching the regular expression exceeded",
                              0),
                  0u)
            << error;
    }
    // The state is fine afterwards.
    EXPECT_EQ(Eval("return vyrString.MatchB('abc', 'b')"), "b");
}

TEST_F(LuaTest, CompareOrdersBytesAndNaturalCompareNumbers)
{
    EXPECT_EQ(Run("local c = vyrString.Compare"
                  " return c('a', 'b'), c('b', 'a'), c('ab', 'ab'), c('ab', 'abc'), c('', ''),"
                  " c('\\255', 'a'), c('a\\0', 'a'), c(10, '9')"),
              (Results{"-1", "1", "0", "-1", "0", "1", "1", "-1"}));
    EXPECT_EQ(Run("local c = vyrString.NaturalCompare"
                  " return c('file2', 'file10'), c('file10', 'file2'), c('x', 'x'),"
                  " c('Clip 9.mov', 'Clip 10.mov')"),
              (Results{"-1", "1", "0", "-1"}));
    EXPECT_EQ(Error("vyrString.NaturalCompare(nil, nil)"),
              "test:1: bad argument #1 to 'NaturalCompare' (string expected, got nil)");
    EXPECT_EQ(Error("vyrString.Compare('a')"),
              "test:1: bad argument #2 to 'Compare' (string expected, got no value)");
}

TEST_F(LuaTest, CaseMappingAndValidity)
{
    EXPECT_EQ(Eval("return vyrString.ToUpper('stra\\195\\159e 1')"), "STRASSE 1");
    EXPECT_EQ(Eval("return vyrString.ToLower('\\195\\128B\\206\\163')"), "\xC3\xA0" "b\xCF\x82");
    EXPECT_EQ(Eval("return vyrString.ToUpper('')"), "");
    EXPECT_EQ(Error("vyrString.ToUpper(nil)"),
              "test:1: bad argument #1 to 'ToUpper' (string expected, got nil)");
    EXPECT_EQ(Run("local v = vyrString.IsValidUTF8CharacterString"
                  " return v(''), v('plain'), v('\\226\\130\\172'), v('\\192\\128'),"
                  " v('\\226\\130'), v('\\237\\160\\128'), v('\\244\\144\\128\\128')"),
              (Results{"true", "true", "true", "false", "false", "false", "false"}));
}

TEST_F(LuaTest, UTF16TravelsAsLittleEndianBytes)
{
    // "A", the euro sign, then U+1F600 as a surrogate pair.
    EXPECT_EQ(Eval("return vyrString.UTF8to16('A\\226\\130\\172\\240\\159\\152\\128')"),
              std::string("A\0\xAC\x20\x3D\xD8\x00\xDE", 8));
    EXPECT_EQ(Eval("local s = 'mixed \\195\\169 \\240\\159\\152\\128'"
                   " return vyrString.UTF16to8(vyrString.UTF8to16(s)) == s"),
              "true");
    EXPECT_EQ(Eval("return vyrString.UTF8to16('')"), "");
    // Broken input on either side becomes U+FFFD rather than failing.
    EXPECT_EQ(Eval("return vyrString.UTF16to8(vyrString.UTF8to16('a\\255'))"), "a\xEF\xBF\xBD");
    EXPECT_EQ(Eval("return vyrString.UTF16to8('\\0\\216a\\0')"), "\xEF\xBF\xBD" "a");
    EXPECT_EQ(Error("vyrString.UTF16to8('abc')"),
              "test:1: bad argument #1 to 'UTF16to8' (UTF-16 text must have an even number of "
              "bytes)");
}

TEST_F(LuaTest, LocalizeAndReplaceInString)
{
    std::string path = ::testing::TempDir() + "vyrstring_translations.txt";
    {
        std::ofstream out(path);
        out << "$$$/vyrlua/test/Greeting=Bonjour ^1, ^2\n";
    }
    ASSERT_TRUE(vyrcore::config::Localizer::Get().LoadTranslationFile(path));
    EXPECT_EQ(Eval("return vyrString.Localize('$$$/vyrlua/test/Greeting=Hello ^1, ^2')"),
              "Bonjour ^1, ^2");
    EXPECT_EQ(Eval("return vyrString.Localize('$$$/vyrlua/test/Other=Caf\\195\\169')"),
              "Caf\xC3\xA9");
    EXPECT_EQ(Eval("return vyrString.Localize('plain text')"), "plain text");
    EXPECT_EQ(Eval("return select('#', vyrString.Localize(''))"), "0");
    EXPECT_EQ(Error("vyrString.Localize()"),
              "test:1: bad argument #1 to 'Localize' (string expected, got no value)");

    EXPECT_EQ(Eval("return vyrString.ReplaceInString("
                   "vyrString.Localize('$$$/vyrlua/test/Greeting=x'), 'Zo\\195\\171', 3)"),
              "Bonjour Zo\xC3\xAB, 3");
    EXPECT_EQ(Eval("return vyrString.ReplaceInString('^2^1 ^3 ^^1', 'a', 'b')"), "ba ^3 ^1");
    EXPECT_EQ(Eval("return vyrString.ReplaceInString('^9', 1, 2, 3, 4, 5, 6, 7, 8, 'nine', 10)"),
              "nine");
    EXPECT_EQ(Error("vyrString.ReplaceInString('^1')"),
              "test:1: bad argument #2 to 'ReplaceInString' (string expected, got no value)");
    EXPECT_EQ(Error("vyrString.ReplaceInString('^1', 'a', {})"),
              "test:1: bad argument #3 to 'ReplaceInString' (string expected, got table)");
    vyrcore::config::Localizer::Get().Clear();
    std::remove(path.c_str());
}

// Dates display in ICU's default locale and zone: pinned here, restored after.
class DateTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        mLocale = icu::Locale::getDefault();
        mZone.reset(icu::TimeZone::createDefault());
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale::getUS(), status);
        UseZone("UTC");
    }
    void TearDown() override
    {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(mLocale, status);
        icu::TimeZone::adoptDefault(mZone.release());
        LuaTest::TearDown();
    }
    static void UseZone(const char* id)
    {
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(id));
    }

private:
    icu::Locale mLocale;
    std::unique_ptr<icu::TimeZone> mZone;
};

// ICU puts a narrow no-break space before AM and PM.
const std::string kNarrowSpace = "\xE2\x80\xAF";

TEST_F(DateTest, EpochTimesFormatInTheHostLocale)
{
    EXPECT_EQ(Eval("return vyrString.FormatEpochTimeForUI(0)"),
              "Jan 1, 1970, 12:00" + kNarrowSpace + "AM");
    EXPECT_EQ(Eval("return vyrString.FormatEpochTimeForUI(1709215500.75, 'short', 'medium')"),
              "2/29/24, 2:05:00" + kNarrowSpace + "PM");
    EXPECT_EQ(Eval("return vyrString.FormatEpochTimeForUI(1709215500, 'long', 'none')"),
              "February 29, 2024");
    UseZone("Europe/Berlin");
    EXPECT_EQ(Eval("return vyrString.FormatEpochTimeForUI(1709215500, 'none', nil)"),
              "3:05" + kNarrowSpace + "PM");

    const std::string before = "test:1: Cannot convert dates prior to Jan 1, 1970";
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(-1)"), before);
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(-1/0)"), before);
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(1/0)"),
              "test:1: bad argument #1 to 'FormatEpochTimeForUI' (date after the year 9999)");
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(0/0)"),
              "test:1: bad argument #1 to 'FormatEpochTimeForUI' (number has no integer "
              "representation)");
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI('soon')"),
              "test:1: bad argument #1 to 'FormatEpochTimeForUI' (number expected, got string)");
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(0, 'tiny')"),
              "test:1: bad argument #2 to 'FormatEpochTimeForUI' (invalid option 'tiny')");
    EXPECT_EQ(Error("vyrString.FormatEpochTimeForUI(0, 'none', 'none')"),
              "test:1: bad argument #2 to 'FormatEpochTimeForUI' (date and time styles cannot "
              "both be 'none')");
}

TEST_F(DateTest, DateTimeStringsAreReadThenFormatted)
{
    auto format = [this](const std::string& args) {
        return Eval("return vyrString.FormatDateTimeStringForUI(" + args + ")");
    };
    EXPECT_EQ(format("'2024-02-29T14:05:00Z'"), "Feb 29, 2024, 2:05" + kNarrowSpace + "PM");
    EXPECT_EQ(format("'2024-03-01 01:05:30.5+02:00', 'short', 'medium'"),
              "2/29/24, 11:05:30" + kNarrowSpace + "PM");
    EXPECT_EQ(format("'2024-02-29T09:05-0500', 'none'"), "2:05" + kNarrowSpace + "PM");
    EXPECT_EQ(format("'1970-01-01', 'short', 'none'"), "1/1/70");
    EXPECT_EQ(format("'9999-12-31T23:59:59Z', 'short', 'none'"), "12/31/99");
    // Without a zone the text is local time, whatever the zone's DST says.
    UseZone("America/New_York");
    EXPECT_EQ(format("'2024-07-01T12:00', 'none', 'short'"), "12:00" + kNarrowSpace + "PM");
    EXPECT_EQ(format("'2024-01-01T12:00', 'none', 'short'"), "12:00" + kNarrowSpace + "PM");
    EXPECT_EQ(format("'2024-07-01T12:00Z', 'none', 'short'"), "8:00" + kNarrowSpace + "AM");

    EXPECT_EQ(Error("vyrString.FormatDateTimeStringForUI('1969-12-31T23:59:59Z')"),
              "test:1: Cannot convert dates prior to Jan 1, 1970");
    for (const char* bad : {"2023-02-29", "2024-13-01", "2024-01-01T24:00", "2024-1-01",
                            "2024-01-01T10", "2024-01-01T10:00:00.", "2024-01-01Z junk",
                            "2024-01-01T10:00+25:00", ""}) {
        EXPECT_EQ(Error(std::string("vyrString.FormatDateTimeStringForUI('") + bad + "')"),
                  std::string("test:1: bad argument #1 to 'FormatDateTimeStringForUI' (date and "
                              "time expected as YYYY-MM-DDThh:mm:ss, got '") +
                      bad + "')");
    }
}

TEST_F(DateTest, NowIsAnISOTimeInUTC)
{
    Results now = Run("local now = vyrString.GetDateTimeNow()"
                      " local y, mo, d, h, mi, s ="
                      "   now:match('^(%d%d%d%d)%-(%d%d)%-(%d%d)T(%d%d):(%d%d):(%d%d)Z$')"
                      " local utc = os.date('!*t')"
                      " local t = os.time{year = y, month = mo, day = d, hour = h, min = mi, sec = s}"
                      " local u = os.time{year = utc.year, month = utc.month, day = utc.day,"
                      "   hour = utc.hour, min = utc.min, sec = utc.sec}"
                      " return y ~= nil, math.abs(t - u) <= 5,"
                      "   type(vyrString.FormatDateTimeStringForUI(now))");
    EXPECT_EQ(now, (Results{"true", "true", "string"}));
}

} // namespace
