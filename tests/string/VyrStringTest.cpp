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
#include <utility>
#include <vector>

namespace {

using Results = std::vector<std::string>;
using Cases = std::vector<std::pair<std::string, std::string>>;

class StringTest : public vyrtest::LuaTest {
protected:
    // Each expression, evaluated with "V" bound to vyrString, gives its text.
    void ExpectValues(const Cases& cases)
    {
        for (const auto& [expr, expected] : cases)
            EXPECT_EQ(Eval("local V = vyrString; return " + expr), expected) << expr;
    }
    // Each statement fails with its message ("test:1: " is the caller's position).
    void ExpectErrors(const Cases& cases)
    {
        for (const auto& [code, expected] : cases)
            EXPECT_EQ(Error("local V = vyrString; " + code), expected) << code;
    }
};

TEST(VyrStringTable, OpensInAPlainStateAndGrowsItsStackForCaptures)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_pushcfunction(L, luaopen_vyrlua_vyrString);
    ASSERT_EQ(lua_pcall(L, 0, 1, 0), 0);
    // A fresh state's stack is small: MatchB must grow it for many captures.
    ASSERT_EQ(luaL_dostring(L, "local r = { vyrString.MatchB(string.rep('x', 3000),"
                               "                              string.rep('(x)', 3000)) }"
                               " return #r .. r[3001]"),
              0);
    EXPECT_STREQ(lua_tostring(L, -1), "3001x");
    lua_getglobal(L, "vyrString");
    EXPECT_TRUE(lua_rawequal(L, -1, 1));
    lua_close(L);
}

TEST_F(StringTest, CharacterPositionFormsDoNothing)
{
    for (const char* name : {"GetChar", "GetCharBytePos", "GetCharPosB", "GetLength",
                             "IsStringAscii", "IsAscii", "IsAsciiB", "IsSpace", "IsAlpha",
                             "IsPunct", "IsPunctB", "IsNumber", "IsNumberB", "IsControl",
                             "IsControlB", "IsUpper", "IsUpperB", "IsLower", "IsLowerB",
                             "Substring", "TrimLeft", "TrimRight", "Match", "Replace"}) {
        // Whatever the arguments, wrong types included.
        EXPECT_EQ(Eval(std::string("local f = vyrString.") + name +
                       "; return select('#', f('abc', 1, 2)) + select('#', f({}, nil, print))"),
                  "0")
            << name;
    }
}

TEST_F(StringTest, SubstringBCountsBytes)
{
    ExpectValues({
        {"V.SubstringB('hello', 2)", "ello"},
        {"V.SubstringB('hello', 2, 0)", "ello"},
        {"V.SubstringB('hello', 2, 3)", "ell"},
        // Negative starts sit one byte lower than string.sub's.
        {"V.SubstringB('hello', -1)", "lo"},
        {"V.SubstringB('hello', -2, 1)", "l"},
        {"V.SubstringB('hello', -99)", "hello"},
        {"V.SubstringB('hello', -1e300, 2)", "he"},
        // Past the end still yields the last byte.
        {"V.SubstringB('hello', 9)", "o"},
        {"V.SubstringB('hello', 1e300)", "o"},
        {"V.SubstringB('', 1)", ""},
        {"V.SubstringB('hello', 2.9, 1.9)", "e"},
        {"V.SubstringB('h\\195\\169llo', 2, 1)", "\xC3"},
        {"V.SubstringB('\\0a\\0b', 2, 2)", std::string("a\0", 2)},
    });
    const std::string bad = "SubstringB: Bad character count, must be >= 0";
    ExpectErrors({
        {"V.SubstringB('hello', 0)", bad},
        {"V.SubstringB('hello', 1, -1)", bad},
        {"V.SubstringB('hello', '2')",
         "test:1: bad argument #2 to 'SubstringB' (number expected, got string)"},
        {"V.SubstringB('hello', 1, '2')",
         "test:1: bad argument #3 to 'SubstringB' (number expected, got string)"},
        {"V.SubstringB('hello', 0/0)",
         "test:1: bad argument #2 to 'SubstringB' (number has no integer representation)"},
        {"V.SubstringB(nil, 1)",
         "test:1: bad argument #1 to 'SubstringB' (string expected, got nil)"},
    });
    EXPECT_EQ(Run("local ok, e = pcall(vyrString.SubstringB, 'x', 0); return ok, e"),
              (Results{"false", bad}));
}

TEST_F(StringTest, SingleBytes)
{
    ExpectValues({
        {"V.GetCharB('a b', 1) .. V.GetCharB('a b', -1)", "ab"},
        {"V.GetCharB('a b', 0) .. V.GetCharB('a b', 4) .. V.GetCharB('a b', -4)", ""},
        {"V.GetCharB('\\226\\130\\172', 2)", "\x82"},
        {"V.IsAlphaB('a\\t1', 1) and not V.IsAlphaB('a\\t1', 3) and not V.IsAlphaB('a', 2)",
         "true"},
        {"V.IsSpaceB('a\\t', -1) and not V.IsSpaceB('a\\t', 1)", "true"},
        // Pieces of a multi-byte character are neither letters nor spaces.
        {"V.IsAlphaB('\\195\\169', 1) or V.IsAlphaB('\\195\\169', 2) or V.IsSpaceB('\\194\\160', 2)",
         "false"},
    });
    ExpectErrors({
        {"V.IsSpaceB('abc')", "test:1: bad argument #2 to 'IsSpaceB' (number expected, got no value)"},
        {"V.GetCharB('abc', 0/0)",
         "test:1: bad argument #2 to 'GetCharB' (number has no integer representation)"},
    });
}

TEST_F(StringTest, TrimRemovesOuterWhiteSpace)
{
    ExpectValues({
        {"V.Trim(' \\t\\r\\n a  b \\v\\f ')", "a  b"},
        {"V.Trim(' \\n\\t ')", ""},
        {"V.Trim('')", ""},
        {"V.Trim(' \\0x\\0 ')", std::string("\0x\0", 3)},
        // Long inner runs must not make the end search quadratic.
        {"V.Trim('  x' .. string.rep(' ', 200000) .. 'y  ') == 'x' .. string.rep(' ', 200000) .. 'y'",
         "true"},
    });
    ExpectErrors({{"V.Trim()", "test:1: bad argument #1 to 'Trim' (string expected, got no value)"}});
}

TEST_F(StringTest, MatchBReturnsTheMatchAndItsCaptures)
{
    EXPECT_EQ(Run("return vyrString.MatchB('key = value', '(\\\\w+)\\\\s*=\\\\s*(\\\\w+)')"),
              (Results{"key = value", "key", "value"}));
    EXPECT_EQ(Run("return vyrString.MatchB('ac', 'a(b)?(c)')"), (Results{"ac", "nil", "c"}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', 'x')"), Results{});
    EXPECT_EQ(Run("return vyrString.MatchB('\\195\\169', '^.')"), (Results{"\xC3"}));
    EXPECT_EQ(Run("return vyrString.MatchB('a\\0b', 'a\\0(.)')"),
              (Results{std::string("a\0b", 3), "b"}));
    // An optional start; the bytes before it still decide word boundaries.
    EXPECT_EQ(Run("return vyrString.MatchB('a1 b2 c3', '[a-z]\\\\d', 2)"), (Results{"b2"}));
    EXPECT_EQ(Run("return vyrString.MatchB('a1 b2 c3', '[a-z]\\\\d', -2)"), (Results{"c3"}));
    EXPECT_EQ(Run("return vyrString.MatchB('abc', '', 5)"), Results{});
    EXPECT_EQ(Run("return vyrString.MatchB('foobar', '\\\\bbar', 4)"), Results{});
}

TEST_F(StringTest, ReplaceBReplacesEveryMatch)
{
    ExpectValues({
        {"V.ReplaceB('one two', '(\\\\w+) (\\\\w+)', '$2 $1')", "two one"},
        {"V.ReplaceB('a.b.c', '\\\\.', '/')", "a/b/c"},
        {"V.ReplaceB('abc', 'b', '[$&] $$')", "a[b] $c"},
        {"V.ReplaceB('a\\0b', '\\0', '-')", "a-b"},
        {"V.ReplaceB('ab', 'b', 'x\\0$&\\0') == 'ax\\0b\\0'", "true"},
    });
    // The format is read once, front to back: a 2 MB one used to cost
    // minutes (each "$1" copied the rest of the format).
    EXPECT_EQ(Eval("local r = vyrString.ReplaceB('xay', '(a)', ('$1-'):rep(700000))\n"
                   "return #r == 2 + 1400000 and r:sub(1, 5) == 'xa-a-' and r:sub(-3) == 'a-y'"),
              "true");
}

TEST_F(StringTest, BadOrRunawayPatternsAreLuaErrors)
{
    for (std::string function : {"MatchB", "ReplaceB"}) {
        std::string call = "vyrString." + function, tail = function == "ReplaceB" ? ", 'z')" : ")";
        std::string error = Error(call + "('abc', '[a'" + tail);
        EXPECT_EQ(error.rfind("test:1: bad argument #2 to '" + function + "' (Unmatched [", 0), 0u)
            << error;
        for (std::string pattern : {"(", "a{2,1}", "\\\\", "(?<", "*",
                                    "' .. string.rep('(', 5000) .. 'x' .. string.rep(')', 5000) .. '"}) {
            error = Error(call + "('abc', '" + pattern + "'" + tail);
            EXPECT_EQ(error.rfind("test:1: bad argument #2 to '" + function + "' (", 0), 0u) << error;
        }
        // Catastrophic backtracking ends promptly, with the engine's complaint.
        for (const char* pattern : {"(a*)*b", "(x+x+)+y", "(a|aa)+$", "((a+)+)+c", "(.*a){25}"}) {
            error = Error(call + "(string.rep('a', 40) .. string.rep('x', 40) .. '!', '" + pattern +
                          "'" + tail);
            EXPECT_EQ(error.rfind("test:1: " + function +
                                      ": The complexity of matching the regular expression exceeded",
                                  0),
                      0u)
                << pattern << ": " << error;
        }
    }
    EXPECT_EQ(Eval("return vyrString.MatchB('abc', 'b')"), "b");
}

TEST_F(StringTest, ComparisonCaseAndEncodings)
{
    ExpectValues({
        {"V.Compare('a', 'b') .. V.Compare('b', 'a') .. V.Compare('ab', 'ab')", "-110"},
        {"V.Compare('ab', 'abc') .. V.Compare('\\255', 'a') .. V.Compare(10, '9')", "-11-1"},
        {"V.NaturalCompare('file2', 'file10') .. V.NaturalCompare('Clip 10', 'Clip 9')", "-11"},
        {"V.ToUpper('stra\\195\\159e 1')", "STRASSE 1"},
        {"V.ToLower('\\195\\128B')", "\xC3\xA0" "b"},
        {"V.IsValidUTF8CharacterString('') and V.IsValidUTF8CharacterString('\\226\\130\\172')",
         "true"},
        {"V.IsValidUTF8CharacterString('\\192\\128') or V.IsValidUTF8CharacterString('\\226\\130')"
         " or V.IsValidUTF8CharacterString('\\237\\160\\128')"
         " or V.IsValidUTF8CharacterString('\\244\\144\\128\\128')",
         "false"},
        // "A", the euro sign, then U+1F600 as a surrogate pair, little-endian.
        {"V.UTF8to16('A\\226\\130\\172\\240\\159\\152\\128')",
         std::string("A\0\xAC\x20\x3D\xD8\x00\xDE", 8)},
        {"V.UTF16to8(V.UTF8to16('mixed \\195\\169 \\240\\159\\152\\128'))",
         "mixed \xC3\xA9 \xF0\x9F\x98\x80"},
        // Broken input on either side becomes U+FFFD rather than failing.
        {"V.UTF16to8(V.UTF8to16('a\\255'))", "a\xEF\xBF\xBD"},
        {"V.UTF16to8(V.UTF8to16('\\230\\157'))", "\xEF\xBF\xBD"},
        {"V.UTF16to8('\\0\\216a\\0')", "\xEF\xBF\xBD" "a"},
    });
    ExpectErrors({
        {"V.NaturalCompare(nil, nil)",
         "test:1: bad argument #1 to 'NaturalCompare' (string expected, got nil)"},
        {"V.Compare('a')", "test:1: bad argument #2 to 'Compare' (string expected, got no value)"},
        {"V.ToUpper(nil)", "test:1: bad argument #1 to 'ToUpper' (string expected, got nil)"},
        {"V.UTF16to8('abc')", "test:1: bad argument #1 to 'UTF16to8' (UTF-16 text must have an "
                              "even number of bytes)"},
    });
}

TEST_F(StringTest, LocalizeAndReplaceInString)
{
    std::string path = ::testing::TempDir() + "vyrstring_translations.txt";
    std::ofstream(path) << "$$$/vyrlua/test/Greeting=Bonjour ^1, ^2\n";
    ASSERT_TRUE(vyrcore::config::Localizer::Get().LoadTranslationFile(path));
    ExpectValues({
        {"V.Localize('$$$/vyrlua/test/Greeting=Hello ^1, ^2')", "Bonjour ^1, ^2"},
        {"V.Localize('$$$/vyrlua/test/Other=Caf\\195\\169')", "Caf\xC3\xA9"},
        {"V.Localize('plain')", "plain"},
        {"select('#', V.Localize(''))", "0"},
        {"V.ReplaceInString(V.Localize('$$$/vyrlua/test/Greeting=x'), 'Zo\\195\\171', 3)",
         "Bonjour Zo\xC3\xAB, 3"},
        {"V.ReplaceInString('^2^1 ^3 ^^1', 'a', 'b')", "ba ^3 ^1"},
        {"V.ReplaceInString('^9', 1, 2, 3, 4, 5, 6, 7, 8, 'nine', 10)", "nine"},
    });
    ExpectErrors({
        {"V.Localize()", "test:1: bad argument #1 to 'Localize' (string expected, got no value)"},
        {"V.ReplaceInString('^1')",
         "test:1: bad argument #2 to 'ReplaceInString' (string expected, got no value)"},
        {"V.ReplaceInString('^1', 'a', {})",
         "test:1: bad argument #3 to 'ReplaceInString' (string expected, got table)"},
    });
    vyrcore::config::Localizer::Get().Clear();
    std::remove(path.c_str());
}

// Dates display in ICU's default locale and zone: pinned here, restored after.
class DateTest : public StringTest {
protected:
    void SetUp() override
    {
        StringTest::SetUp();
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
        StringTest::TearDown();
    }
    static void UseZone(const char* id) { icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(id)); }

private:
    icu::Locale mLocale;
    std::unique_ptr<icu::TimeZone> mZone;
};

// ICU puts a narrow no-break space before AM and PM.
const std::string kPM = "\xE2\x80\xAFPM";
const std::string kAM = "\xE2\x80\xAF" "AM";

TEST_F(DateTest, EpochTimesFormatInTheHostLocaleAndZone)
{
    ExpectValues({
        {"V.FormatEpochTimeForUI(0)", "Jan 1, 1970, 12:00" + kAM},
        {"V.FormatEpochTimeForUI(1709215500.75, 'short', 'medium')", "2/29/24, 2:05:00" + kPM},
        {"V.FormatEpochTimeForUI(1709215500, 'long', 'none')", "February 29, 2024"},
    });
    UseZone("Europe/Berlin");
    ExpectValues({{"V.FormatEpochTimeForUI(1709215500, 'none', nil)", "3:05" + kPM}});

    const std::string before = "test:1: Cannot convert dates prior to Jan 1, 1970";
    ExpectErrors({
        {"V.FormatEpochTimeForUI(-1)", before},
        {"V.FormatEpochTimeForUI(-1/0)", before},
        {"V.FormatEpochTimeForUI(1/0)",
         "test:1: bad argument #1 to 'FormatEpochTimeForUI' (date after the year 9999)"},
        {"V.FormatEpochTimeForUI(0/0)", "test:1: bad argument #1 to 'FormatEpochTimeForUI' "
                                        "(number has no integer representation)"},
        {"V.FormatEpochTimeForUI(0, 'tiny')",
         "test:1: bad argument #2 to 'FormatEpochTimeForUI' (invalid option 'tiny')"},
        {"V.FormatEpochTimeForUI(0, 'none', 'none')",
         "test:1: bad argument #2 to 'FormatEpochTimeForUI' (date and time styles cannot both "
         "be 'none')"},
    });
}

TEST_F(DateTest, DateTimeStringsAreReadThenFormatted)
{
    ExpectValues({
        {"V.FormatDateTimeStringForUI('2024-02-29T14:05:00Z')", "Feb 29, 2024, 2:05" + kPM},
        {"V.FormatDateTimeStringForUI('2024-03-01 01:05:30.5+02:00', 'short', 'medium')",
         "2/29/24, 11:05:30" + kPM},
        {"V.FormatDateTimeStringForUI('2024-02-29T09:05-0500', 'none')", "2:05" + kPM},
        {"V.FormatDateTimeStringForUI('9999-12-31T23:59:59Z', 'short', 'none')", "12/31/99"},
    });
    // Without a zone the text is local time.
    UseZone("America/New_York");
    ExpectValues({
        {"V.FormatDateTimeStringForUI('2024-07-01T12:00', 'none')", "12:00" + kPM},
        {"V.FormatDateTimeStringForUI('2024-07-01T12:00Z', 'none')", "8:00" + kAM},
    });

    ExpectErrors({{"V.FormatDateTimeStringForUI('1969-12-31T23:59:59Z')",
                   "test:1: Cannot convert dates prior to Jan 1, 1970"}});
    for (const char* bad : {"2023-02-29", "2024-13-01", "2024-01-01T24:00", "2024-1-01",
                            "2024-01-01T10:00:00.", "2024-01-01Z junk", "2024-01-01T10:00+25:00"}) {
        EXPECT_EQ(Error(std::string("vyrString.FormatDateTimeStringForUI('") + bad + "')"),
                  std::string("test:1: bad argument #1 to 'FormatDateTimeStringForUI' (date and "
                              "time expected as YYYY-MM-DDThh:mm:ss, got '") +
                      bad + "')");
    }
}

TEST_F(DateTest, NowIsAnISOTimeInUTC)
{
    EXPECT_EQ(Run("local now = vyrString.GetDateTimeNow()"
                  " local y, mo, d, h, mi, s ="
                  "   now:match('^(%d%d%d%d)%-(%d%d)%-(%d%d)T(%d%d):(%d%d):(%d%d)Z$')"
                  " local u = os.date('!*t')"
                  " local t = os.time{year = y, month = mo, day = d, hour = h, min = mi, sec = s}"
                  " local v = os.time{year = u.year, month = u.month, day = u.day, hour = u.hour,"
                  "   min = u.min, sec = u.sec}"
                  " return y ~= nil, math.abs(t - v) <= 5,"
                  "   type(vyrString.FormatDateTimeStringForUI(now))"),
              (Results{"true", "true", "string"}));
}

} // namespace
