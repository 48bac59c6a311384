// UTF-8 under hostile input: malformed UTF-8 is never read past its end (the
// sanitizers watch), and valid text survives the trip to UTF-16 and back.
#include "support/LuaFixture.h"

#include "vyrcore/string.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using vyrtest::LuaTest;

// Random bytes, mostly not UTF-8, through every function that decodes text.
TEST_F(LuaTest, MalformedUtf8IsNeverReadPastItsEnd)
{
    EXPECT_EQ(Eval(R"(
        math.randomseed(7)
        local functions = { 'UTF8to16', 'UTF16to8', 'ToUpper', 'ToLower', 'Trim', 'Localize',
          'IsValidUTF8CharacterString', 'NaturalCompare', 'Compare', 'ReplaceInString',
          'GetCharB', 'SubstringB', 'IsAlphaB', 'IsSpaceB' }
        local leads = { 0x80, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF }
        local calls = 0
        for i = 1, 600 do
          local bytes = {}
          for j = 1, math.random(0, 9) do
            bytes[j] = math.random() < 0.5 and leads[math.random(#leads)] or math.random(0, 255)
          end
          local s = string.char(unpack(bytes))
          for _, name in ipairs(functions) do
            pcall(vyrString[name], s, s)
            pcall(vyrString[name], s, -1)
            calls = calls + 2
          end
        end
        return calls)"),
              "16800");
}

TEST_F(LuaTest, ValidTextRoundTripsThroughUtf16)
{
    EXPECT_EQ(Eval(R"(
        math.randomseed(11)
        local function utf8(cp)
          if cp < 0x80 then return string.char(cp) end
          if cp < 0x800 then
            return string.char(0xC0 + math.floor(cp / 64), 0x80 + cp % 64)
          end
          if cp < 0x10000 then
            return string.char(0xE0 + math.floor(cp / 4096), 0x80 + math.floor(cp / 64) % 64,
                               0x80 + cp % 64)
          end
          return string.char(0xF0 + math.floor(cp / 262144), 0x80 + math.floor(cp / 4096) % 64,
                             0x80 + math.floor(cp / 64) % 64, 0x80 + cp % 64)
        end
        local ranges = { { 1, 0x7F }, { 0x80, 0x7FF }, { 0x800, 0xD7FF }, { 0xE000, 0xFFFF },
                         { 0x10000, 0x10FFFF } }
        for i = 1, 500 do
          local parts = {}
          for j = 1, math.random(1, 12) do
            local r = ranges[math.random(#ranges)]
            parts[j] = utf8(math.random(r[1], r[2]))
          end
          local s = table.concat(parts)
          if not vyrString.IsValidUTF8CharacterString(s) then return 'invalid: ' .. i end
          local back = vyrString.UTF16to8(vyrString.UTF8to16(s))
          if back ~= s then return 'changed: ' .. i end
        end
        return 'ok')"),
              "ok");
    // The host's converters agree, with the edges of each encoded length.
    for (const char* text : {"", "a", "\u007f\u0080", "\u07ff\u0800", "\ud7ff\ue000",
                             "\uffff\U00010000", "\U0010ffff"}) {
        EXPECT_EQ(vyrcore::string::UTF16to8(vyrcore::string::UTF8to16(text)), text);
    }
}

} // namespace
