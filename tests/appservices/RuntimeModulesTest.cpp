// Logging, the debug database and beta switches as scripts see them.
#include "support/LuaFixture.h"
#include "support/TestHelpers.h"

#include "vyrcore/DebugDatabase.h"
#include "vyrcore/debug.h"

namespace {

using vyrtest::LuaTest;

TEST_F(LuaTest, LoggingWritesByCategoryAndLevel)
{
    vyrtest::LogCapture log;
    Run("require 'vyrlua.vyrLogging' "
        "vyrLogging.SetLevel('scripts', vyrLogging.kLevel_Info) "
        "vyrLogging.Info('scripts', 'shown') vyrLogging.Trace('scripts', 'hidden') "
        "vyrLogging.Log('scripts', 0, 'bad\\0byte') vyrLogging.Info('other', 'hidden too')");
    EXPECT_EQ(Run("return vyrLogging.GetLevel('scripts'), vyrLogging.IsEnabled('scripts', 3), "
                  "vyrLogging.IsEnabled('other', vyrLogging.kLevel_Warning)"),
              (std::vector<std::string>{"2", "false", "true"}));
    EXPECT_EQ(Error("vyrLogging.Log('scripts', 4, 'x')"),
              "test:1: bad argument #2 to 'Log' (level must be 0 (error) to 3 (trace))");
    EXPECT_EQ(log.Text(), std::string("[scripts] info: shown\n[scripts] error: bad\0byte\n", 48));
}

TEST_F(LuaTest, DebugSwitchesAndBetaFeatures)
{
    auto& db = vyrcore::debug::DebugDatabase::Get();
    db.LoadText("bool flag = true; int count = 3; number ratio = 0.5; string who = me; "
                "bool beta.trim = true; bool beta.off = false");
    Run("dd = require 'vyrlua.DebugDatabase' beta = require 'vyrlua.BetaFeature'");
    EXPECT_EQ(Run("return dd.getBool('flag'), dd.getNumber('count'), dd.getNumber('ratio'), "
                  "dd.getString('who'), dd.getBool('who', false), dd.getNumber('missing', 9), "
                  "dd.getValue('count'), dd.getValue('missing')"),
              (std::vector<std::string>{"true", "3", "0.5", "me", "false", "9", "3", "nil"}));
    EXPECT_EQ(Error("dd.getBool('flag', 1)"),
              "test:1: bad argument #2 to 'getBool' (boolean expected, got number)");
    EXPECT_EQ(Run("return beta.isFeatureEnabled('trim'), beta.isFeatureEnabled('off'), "
                  "beta.isFeatureEnabled('unknown')"),
              (std::vector<std::string>{"true", "false", "false"}));
    db.Clear();
}

} // namespace

namespace {

TEST_F(LuaTest, LocalesFormatAndParseNumbersAndDates)
{
    Run("require 'vyrlua.vyrLocale' require 'vyrlua.NumberString' "
        "de = vyrLocale.New('de_DE') us = vyrLocale.New('en_US')");
    EXPECT_EQ(Run("return de:FormatNumber(1234567.891, 2), us:FormatNumber(-0.5, 0), "
                  "de:FormatPercent(0.256, 1), de:ParseNumber('1.234,5'), "
                  "us:ParseNumber('12abc'), us:ParsePercent('25%')"),
              (std::vector<std::string>{"1.234.567,89", "-0", "25,6\xc2\xa0%", "1234.5", "nil",
                                        "0.25"}));
    EXPECT_EQ(Run("return de:FormatDate(0, vyrLocale.kDateStyle_Long, 'UTC'), "
                  "us:FormatDateTime(86400, vyrLocale.kDateStyle_Short, 'America/New_York'), "
                  "us:ParseDate(us:FormatDate(1e9, 1, 'UTC'), 1, 'UTC'), "
                  "us:ParseDate('31/31/99', 1, 'UTC')"),
              (std::vector<std::string>{"1. Januar 1970", "1/1/70, 7:00\xe2\x80\xafPM",
                                        "999993600", "nil"}));
    EXPECT_EQ(Run("local F = NumberString return F.Format(-1234.5, 1, "
                  "F.kFormatNumberFlags_NO_GROUPING, 'fr_FR'), F.Format(0.5, 2, "
                  "F.kFormatNumberFlags_PERCENT + F.kFormatNumberFlags_TRIM_ZEROS, us), "
                  "F.Format(3, 0, F.kFormatNumberFlags_FORCE_SIGN), F.Parse('1\xe2\x80\xaf" "234,5', 'fr_FR'), "
                  "F.Parse('50%', 'en')"),
              (std::vector<std::string>{"-1234,5", "50%", "+3", "1234.5", "0.5"}));
    EXPECT_EQ(Error("vyrLocale.New('!!')"),
              "test:1: bad argument #1 to 'New' (unknown locale '!!')");
    EXPECT_EQ(Error("de:FormatDate(0, 1, 'Mars/Base')"),
              "test:1: bad argument #3 to 'FormatDate' (unknown time zone 'Mars/Base')");
    EXPECT_EQ(Error("NumberString.Format(1, 2, 64)"),
              "test:1: bad argument #3 to 'Format' (unknown flags (kFormatNumberFlags_*))");
}

// Parsing cost grows faster than the text, so the parsers take texts up to a
// bound (far beyond any number a person writes) and refuse longer ones.
TEST_F(LuaTest, NumberParsersRefuseTextsBeyondTheirBound)
{
    Run("require 'vyrlua.vyrLocale' require 'vyrlua.NumberString' us = vyrLocale.New('en_US') "
        "longest = string.rep('0', 1023) .. '5' tooLong = '0' .. longest");
    EXPECT_EQ(Run("return us:ParseNumber(longest), us:ParsePercent(longest:sub(2) .. '%'), "
                  "NumberString.Parse(longest, us)"),
              (std::vector<std::string>{"5", "0.05", "5"}));
    EXPECT_EQ(Error("us:ParseNumber(tooLong)"),
              "test:1: bad argument #1 to 'ParseNumber' (number text longer than 1024 bytes)");
    EXPECT_EQ(Error("us:ParsePercent(tooLong)"),
              "test:1: bad argument #1 to 'ParsePercent' (number text longer than 1024 bytes)");
    EXPECT_EQ(Error("NumberString.Parse(tooLong, us)"),
              "test:1: bad argument #1 to 'Parse' (number text longer than 1024 bytes)");
}

} // namespace
