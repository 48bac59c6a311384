#include "vyrlua/string/VyrString.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"

#include <boost/regex.hpp>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vyrlua::string {

using utility::ArgumentError;
using utility::CheckLString;
using utility::CheckNumber;
using utility::CheckType;
using utility::LuaBoundary;
using utility::LuaError;

namespace {

// Results are pushed while strings, regexes and matches are alive: running
// out of memory must throw past them, not longjmp.
void PushString(lua_State* L, std::string_view s)
{
    utility::PushLString(L, s);
}

// Whole numbers for positions and counts. Anything beyond 2^53 is already
// past every string's end, so clamping there keeps the arithmetic exact
// without changing a result; NaN names no position at all.
int64_t ToPosition(lua_Number n, int narg)
{
    if (std::isnan(n))
        throw ArgumentError(narg, "number has no integer representation");
    constexpr lua_Number kLimit = 9007199254740992.0; // 2^53
    return static_cast<int64_t>(std::trunc(std::clamp(n, -kLimit, kLimit)));
}

// ---------------------------------------------------------------------------
// The character-position forms are kept as no-ops on purpose: scripts written
// against them rely on getting nothing back.

int NoOperationBody(lua_State*)
{
    return 0;
}

// ---------------------------------------------------------------------------
// Single bytes.

// The byte at a 1-based position, negative positions counting from the end
// as string.sub does; -1 when the position is outside the string.
int ByteAt(lua_State* L)
{
    std::string_view s = CheckLString(L, 1);
    int64_t position = ToPosition(CheckNumber(L, 2), 2);
    const auto n = static_cast<int64_t>(s.size());
    int64_t offset = position > 0 ? position - 1 : n + position;
    if (position == 0 || offset < 0 || offset >= n)
        return -1;
    return static_cast<unsigned char>(s[static_cast<size_t>(offset)]);
}

int GetCharBBody(lua_State* L)
{
    int byte = ByteAt(L);
    if (byte < 0) {
        lua_pushlstring(L, "", 0);
    } else {
        char c = static_cast<char>(byte);
        lua_pushlstring(L, &c, 1);
    }
    return 1;
}

// Bytes above 0x7F are parts of multi-byte characters: whatever the C
// locale says about them, they are neither letters nor spaces.
int IsSpaceBBody(lua_State* L)
{
    int byte = ByteAt(L);
    lua_pushboolean(L, byte >= 0 && byte < 0x80 && std::isspace(byte));
    return 1;
}

int IsAlphaBBody(lua_State* L)
{
    int byte = ByteAt(L);
    lua_pushboolean(L, byte >= 0 && byte < 0x80 && std::isalpha(byte));
    return 1;
}

// ---------------------------------------------------------------------------
// Localisation.

int LocalizeBody(lua_State* L)
{
    std::string_view key = CheckLString(L, 1);
    if (key.empty())
        return 0;
    std::string text = vyrcore::config::Localizer::Get().LocalizeUTF8(key);
    PushString(L, text);
    return 1;
}

// (text, replacement...): "^1".."^9" take the replacements in order.
int ReplaceInStringBody(lua_State* L)
{
    const int top = std::max(lua_gettop(L), 2); // both required: "got no value" otherwise
    std::u16string text = vyrcore::string::UTF8to16(CheckLString(L, 1));
    std::vector<std::u16string> replacements;
    replacements.reserve(static_cast<size_t>(top - 1));
    for (int i = 2; i <= top; ++i)
        replacements.push_back(vyrcore::string::UTF8to16(CheckLString(L, i)));
    std::string result =
        vyrcore::string::UTF16to8(vyrcore::string::ReplaceInString(text, replacements));
    PushString(L, result);
    return 1;
}

// ---------------------------------------------------------------------------
// Substrings and trimming.

int SubstringBBody(lua_State* L)
{
    // The message is raised bare, without the caller's position.
    static constexpr char kBadCount[] = "SubstringB: Bad character count, must be >= 0";

    std::string_view s = CheckLString(L, 1);
    CheckType(L, 2, LUA_TNUMBER);
    int64_t start = ToPosition(lua_tonumber(L, 2), 2);
    if (start == 0)
        throw std::runtime_error(kBadCount);
    int64_t count = 0;
    if (!lua_isnoneornil(L, 3)) {
        CheckType(L, 3, LUA_TNUMBER);
        count = ToPosition(lua_tonumber(L, 3), 3);
        if (count < 0)
            throw std::runtime_error(kBadCount);
    }

    const auto n = static_cast<int64_t>(s.size());
    // A negative start sits one byte lower than string.sub's: -1 begins two
    // bytes before the end. Scripts depend on it.
    int64_t offset = start > 0 ? start - 1 : start - 1 + n;
    offset = std::max<int64_t>(std::min(offset, n - 1), 0);
    int64_t length = count > 0 ? count : n;
    length = std::min(length, n - offset);
    PushString(L, s.substr(static_cast<size_t>(offset), static_cast<size_t>(length)));
    return 1;
}

int TrimBody(lua_State* L)
{
    static const boost::regex kLeading("\\A[\\s]*", boost::regex::perl);
    static const boost::regex kTrailing("[\\s]*\\z", boost::regex::perl);

    std::string_view s = CheckLString(L, 1);
    boost::match_results<std::string_view::const_iterator> m;
    // Both always match, if only the empty run.
    boost::regex_search(s.begin(), s.end(), m, kLeading);
    const auto begin = static_cast<size_t>(m[0].second - s.begin());
    boost::regex_search(s.begin() + begin, s.end(), m, kTrailing);
    const auto end = static_cast<size_t>(m[0].first - s.begin());
    PushString(L, s.substr(begin, end - begin));
    return 1;
}

// ---------------------------------------------------------------------------
// Regular expressions.

using ByteMatch = boost::match_results<std::string_view::const_iterator>;

// A pattern the engine rejects is a bad argument, reported in its words.
boost::regex CompilePattern(lua_State* L, int narg)
{
    std::string_view pattern = CheckLString(L, narg);
    try {
        return boost::regex(pattern.begin(), pattern.end(), boost::regex::perl);
    } catch (const std::exception& e) {
        throw ArgumentError(narg, e.what());
    }
}

// The engine gives up on matches that grow too complex or too deep; that is
// the script's error, not ours.
[[noreturn]] void ThrowMatchFailure(const char* function, const std::exception& e)
{
    throw LuaError(std::string(function) + ": " + e.what());
}

// (string, pattern, [init]): the first match at or after byte position init
// (default 1; negative counts from the end). Returns the whole match and then
// every capture, nil for a capture that took no part; nothing when there is
// no match.
int MatchBBody(lua_State* L)
{
    std::string_view s = CheckLString(L, 1);
    boost::regex re = CompilePattern(L, 2);
    const auto n = static_cast<int64_t>(s.size());
    int64_t init = lua_isnoneornil(L, 3) ? 1 : ToPosition(CheckNumber(L, 3), 3);
    int64_t offset = init > 0 ? init - 1 : std::max<int64_t>(n + init, 0);
    if (offset > n)
        return 0;

    ByteMatch m;
    bool found = false;
    try {
        // The bytes before init still count for \b and look-behind.
        auto flags = offset > 0 ? boost::match_default | boost::match_prev_avail
                                : boost::match_default;
        found = boost::regex_search(s.begin() + offset, s.end(), m, re, flags);
    } catch (const std::exception& e) {
        ThrowMatchFailure("MatchB", e);
    }
    if (!found)
        return 0;

    const int results = static_cast<int>(m.size());
    if (!lua_checkstack(L, results))
        throw LuaError("MatchB: too many captures");
    for (int i = 0; i < results; ++i) {
        if (m[i].matched)
            PushString(L, s.substr(static_cast<size_t>(m[i].first - s.begin()),
                                   static_cast<size_t>(m[i].length())));
        else
            lua_pushnil(L);
    }
    return results;
}

// (string, pattern, replacement): every match replaced; the replacement is a
// Perl format ("$&" the match, "$1".."$99" the captures, "$$" a dollar).
// A replacement format as Boost's formatter reads it. Boost reads a "$n"
// number in place only through an iterator that binds to `const char*&`;
// through any other it copies the whole rest of the format first, which
// makes a format of many "$n" quadratic. This one binds.
class FormatIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    FormatIterator() = default;
    explicit FormatIterator(const char* p) : mP(p) {}
    operator const char*&() { return mP; }
    const char& operator*() const { return *mP; }
    const char& operator[](difference_type n) const { return mP[n]; }
    FormatIterator& operator++() { ++mP; return *this; }
    FormatIterator operator++(int) { return FormatIterator(mP++); }
    FormatIterator& operator--() { --mP; return *this; }
    FormatIterator operator--(int) { return FormatIterator(mP--); }
    FormatIterator& operator+=(difference_type n) { mP += n; return *this; }
    FormatIterator& operator-=(difference_type n) { mP -= n; return *this; }
    FormatIterator operator+(difference_type n) const { return FormatIterator(mP + n); }
    FormatIterator operator-(difference_type n) const { return FormatIterator(mP - n); }
    difference_type operator-(const FormatIterator& other) const { return mP - other.mP; }
    auto operator<=>(const FormatIterator& other) const = default;
    bool operator==(const FormatIterator& other) const = default;

private:
    const char* mP = nullptr;
};

struct FormatText {
    using const_iterator = FormatIterator;
    std::string_view text;
    FormatIterator begin() const { return FormatIterator(text.data()); }
    FormatIterator end() const { return FormatIterator(text.data() + text.size()); }
};

int ReplaceBBody(lua_State* L)
{
    std::string_view s = CheckLString(L, 1);
    boost::regex re = CompilePattern(L, 2);
    std::string_view format = CheckLString(L, 3);
    std::string result;
    try {
        // boost::regex_replace's own loop, but formatting with the plain
        // format traits: the regex traits' number reader scans the whole
        // rest of the format (for a thousands separator) at every "$n".
        auto out = std::back_inserter(result);
        const char* copied = s.data();
        for (boost::cregex_iterator it(s.data(), s.data() + s.size(), re), end; it != end; ++it) {
            out = std::copy(copied, (*it)[0].first, out);
            out = it->format(out, FormatText{format}, boost::format_perl);
            copied = (*it)[0].second;
        }
        std::copy(copied, s.data() + s.size(), out);
    } catch (const std::exception& e) {
        ThrowMatchFailure("ReplaceB", e);
    }
    PushString(L, result);
    return 1;
}

// ---------------------------------------------------------------------------
// Comparison, case and encodings.

int CompareBody(lua_State* L)
{
    int order = CheckLString(L, 1).compare(CheckLString(L, 2));
    lua_pushinteger(L, order < 0 ? -1 : (order > 0 ? 1 : 0));
    return 1;
}

int NaturalCompareBody(lua_State* L)
{
    std::u16string a = vyrcore::string::UTF8to16(CheckLString(L, 1));
    std::u16string b = vyrcore::string::UTF8to16(CheckLString(L, 2));
    int order = vyrcore::string::NaturalCompare(a, b);
    lua_pushinteger(L, order < 0 ? -1 : (order > 0 ? 1 : 0));
    return 1;
}

int ToUpperBody(lua_State* L)
{
    std::string result = vyrcore::string::UTF16to8(
        vyrcore::string::ToUpperCase(vyrcore::string::UTF8to16(CheckLString(L, 1))));
    PushString(L, result);
    return 1;
}

int ToLowerBody(lua_State* L)
{
    std::string result = vyrcore::string::UTF16to8(
        vyrcore::string::ToLowerCase(vyrcore::string::UTF8to16(CheckLString(L, 1))));
    PushString(L, result);
    return 1;
}

int IsValidUTF8CharacterStringBody(lua_State* L)
{
    lua_pushboolean(L, vyrcore::string::IsValidUTF8CharacterString(CheckLString(L, 1)));
    return 1;
}

// UTF-16 travels in Lua strings as little-endian code units, no BOM, so the
// bytes are the same on every machine.
int UTF8to16Body(lua_State* L)
{
    std::u16string units = vyrcore::string::UTF8to16(CheckLString(L, 1));
    std::string bytes;
    bytes.reserve(units.size() * 2);
    for (char16_t unit : units) {
        bytes.push_back(static_cast<char>(unit & 0xFF));
        bytes.push_back(static_cast<char>(unit >> 8));
    }
    PushString(L, bytes);
    return 1;
}

int UTF16to8Body(lua_State* L)
{
    std::string_view bytes = CheckLString(L, 1);
    if (bytes.size() % 2 != 0)
        throw ArgumentError(1, "UTF-16 text must have an even number of bytes");
    std::u16string units(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i) {
        auto low = static_cast<unsigned char>(bytes[2 * i]);
        auto high = static_cast<unsigned char>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(low | (high << 8));
    }
    std::string text = vyrcore::string::UTF16to8(units);
    PushString(L, text);
    return 1;
}

// ---------------------------------------------------------------------------
// Dates. Instants are UTC; display is in the host's default locale and time
// zone, as ICU sees them.

constexpr char kBeforeEpoch[] = "Cannot convert dates prior to Jan 1, 1970";
// 9999-12-31T23:59:59Z: beyond four-digit years display stops making sense.
constexpr int64_t kLastSecond = 253402300799;

icu::DateFormat::EStyle StyleArgument(lua_State* L, int narg, icu::DateFormat::EStyle def)
{
    if (lua_isnoneornil(L, narg))
        return def;
    std::string_view name = CheckLString(L, narg);
    if (name == "none")
        return icu::DateFormat::kNone;
    if (name == "short")
        return icu::DateFormat::kShort;
    if (name == "medium")
        return icu::DateFormat::kMedium;
    if (name == "long")
        return icu::DateFormat::kLong;
    if (name == "full")
        return icu::DateFormat::kFull;
    throw ArgumentError(narg, "invalid option '" + std::string(name) + "'");
}

// Formats seconds since 1970 (UTC) with the styles in arguments
// firstStyle and firstStyle + 1.
std::string FormatForUI(lua_State* L, double seconds, int firstStyle)
{
    icu::DateFormat::EStyle dateStyle = StyleArgument(L, firstStyle, icu::DateFormat::kMedium);
    icu::DateFormat::EStyle timeStyle = StyleArgument(L, firstStyle + 1, icu::DateFormat::kShort);
    if (dateStyle == icu::DateFormat::kNone && timeStyle == icu::DateFormat::kNone)
        throw ArgumentError(firstStyle, "date and time styles cannot both be 'none'");

    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(dateStyle, timeStyle, icu::Locale::getDefault()));
    if (!format)
        throw LuaError("could not create a date format for the current locale");
    icu::UnicodeString text;
    format->format(seconds * 1000.0, text);
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
}

// Days from 1970-01-01 to a proleptic Gregorian date.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d)
{
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

bool IsLeapYear(int64_t y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// Reads "YYYY-MM-DD[(T| )hh:mm[:ss[.fff]]][Z|(+|-)hh[:]mm]" into seconds
// since 1970 UTC. Without a zone the time is the host's local time.
bool ParseDateTime(std::string_view text, double& seconds)
{
    size_t pos = 0;
    auto digits = [&](size_t count, int& value) {
        if (pos + count > text.size())
            return false;
        value = 0;
        for (size_t i = 0; i < count; ++i) {
            char c = text[pos + i];
            if (c < '0' || c > '9')
                return false;
            value = value * 10 + (c - '0');
        }
        pos += count;
        return true;
    };
    auto literal = [&](char c) {
        if (pos < text.size() && text[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    };

    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    double fraction = 0;
    if (!digits(4, year) || !literal('-') || !digits(2, month) || !literal('-') ||
        !digits(2, day))
        return false;
    if (pos < text.size() && (text[pos] == 'T' || text[pos] == ' ')) {
        ++pos;
        if (!digits(2, hour) || !literal(':') || !digits(2, minute))
            return false;
        if (literal(':')) {
            if (!digits(2, second))
                return false;
            if (literal('.')) {
                double scale = 0.1;
                size_t first = pos;
                while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
                    fraction += (text[pos] - '0') * scale;
                    scale /= 10;
                    ++pos;
                }
                if (pos == first)
                    return false;
            }
        }
    }
    bool hasZone = false;
    int zoneMinutes = 0;
    if (literal('Z')) {
        hasZone = true;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int zh = 0, zm = 0;
        if (!digits(2, zh))
            return false;
        literal(':');
        if (!digits(2, zm) || zh > 23 || zm > 59)
            return false;
        hasZone = true;
        zoneMinutes = sign * (zh * 60 + zm);
    }
    if (pos != text.size())
        return false;

    static constexpr int kDaysInMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1 || hour > 23 || minute > 59 || second > 59)
        return false;
    if (day > kDaysInMonth[month - 1] + (month == 2 && IsLeapYear(year) ? 1 : 0))
        return false;

    double wall = static_cast<double>(DaysFromCivil(year, month, day) * 86400 + hour * 3600 +
                                      minute * 60 + second) +
                  fraction;
    if (hasZone) {
        seconds = wall - zoneMinutes * 60.0;
        return true;
    }
    // Local wall-clock time: ask the zone for its offset at that local time.
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    int32_t rawOffset = 0, dstOffset = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone->getOffset(wall * 1000.0, true, rawOffset, dstOffset, status);
    if (U_FAILURE(status))
        return false;
    seconds = wall - (rawOffset + dstOffset) / 1000.0;
    return true;
}

// (dateTime, [dateStyle], [timeStyle]): dateTime as GetDateTimeNow gives it
// (or any "YYYY-MM-DD[Thh:mm[:ss[.fff]]][zone]"); styles are "none",
// "short", "medium" (date default), "long" or "full"; time default "short".
int FormatDateTimeStringForUIBody(lua_State* L)
{
    std::string_view text = CheckLString(L, 1);
    double seconds = 0;
    if (!ParseDateTime(text, seconds))
        throw ArgumentError(1, "date and time expected as YYYY-MM-DDThh:mm:ss, got '" +
                                   std::string(text) + "'");
    if (seconds < 0)
        throw LuaError(kBeforeEpoch);
    if (seconds > static_cast<double>(kLastSecond))
        throw ArgumentError(1, "date after the year 9999");
    std::string result = FormatForUI(L, seconds, 2);
    PushString(L, result);
    return 1;
}

// (seconds, [dateStyle], [timeStyle]): seconds since 1970 UTC, fractions
// allowed; the styles as above.
int FormatEpochTimeForUIBody(lua_State* L)
{
    lua_Number seconds = CheckNumber(L, 1);
    if (std::isnan(seconds))
        throw ArgumentError(1, "number has no integer representation");
    if (seconds < 0)
        throw LuaError(kBeforeEpoch);
    if (seconds > static_cast<lua_Number>(kLastSecond))
        throw ArgumentError(1, "date after the year 9999");
    std::string result = FormatForUI(L, seconds, 2);
    PushString(L, result);
    return 1;
}

// The current time in UTC as "YYYY-MM-DDThh:mm:ssZ", the form
// FormatDateTimeStringForUI reads.
int GetDateTimeNowBody(lua_State* L)
{
    std::time_t now = std::time(nullptr);
    std::tm utc{};
    if (now == static_cast<std::time_t>(-1) || gmtime_r(&now, &utc) == nullptr)
        throw LuaError("could not convert calendar time to UTC time");
    char text[96]; // wide enough for any int in every field
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", utc.tm_year + 1900,
                  utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    lua_pushstring(L, text);
    return 1;
}

} // namespace

const luaL_Reg kVyrStringFunctions[] = {
    {"GetChar", LuaBoundary<NoOperationBody>},
    {"GetCharB", LuaBoundary<GetCharBBody>},
    {"GetCharBytePos", LuaBoundary<NoOperationBody>},
    {"GetCharPosB", LuaBoundary<NoOperationBody>},
    {"GetLength", LuaBoundary<NoOperationBody>},
    {"IsStringAscii", LuaBoundary<NoOperationBody>},
    {"IsAscii", LuaBoundary<NoOperationBody>},
    {"IsAsciiB", LuaBoundary<NoOperationBody>},
    {"IsSpace", LuaBoundary<NoOperationBody>},
    {"IsSpaceB", LuaBoundary<IsSpaceBBody>},
    {"IsAlpha", LuaBoundary<NoOperationBody>},
    {"IsAlphaB", LuaBoundary<IsAlphaBBody>},
    {"IsPunct", LuaBoundary<NoOperationBody>},
    {"IsPunctB", LuaBoundary<NoOperationBody>},
    {"IsNumber", LuaBoundary<NoOperationBody>},
    {"IsNumberB", LuaBoundary<NoOperationBody>},
    {"IsControl", LuaBoundary<NoOperationBody>},
    {"IsControlB", LuaBoundary<NoOperationBody>},
    {"IsUpper", LuaBoundary<NoOperationBody>},
    {"IsUpperB", LuaBoundary<NoOperationBody>},
    {"IsLower", LuaBoundary<NoOperationBody>},
    {"IsLowerB", LuaBoundary<NoOperationBody>},
    {"Localize", LuaBoundary<LocalizeBody>},
    {"ReplaceInString", LuaBoundary<ReplaceInStringBody>},
    {"Substring", LuaBoundary<NoOperationBody>},
    {"SubstringB", LuaBoundary<SubstringBBody>},
    {"Trim", LuaBoundary<TrimBody>},
    {"TrimLeft", LuaBoundary<NoOperationBody>},
    {"TrimRight", LuaBoundary<NoOperationBody>},
    {"Match", LuaBoundary<NoOperationBody>},
    {"MatchB", LuaBoundary<MatchBBody>},
    {"Replace", LuaBoundary<NoOperationBody>},
    {"ReplaceB", LuaBoundary<ReplaceBBody>},
    {"Compare", LuaBoundary<CompareBody>},
    {"NaturalCompare", LuaBoundary<NaturalCompareBody>},
    {"ToUpper", LuaBoundary<ToUpperBody>},
    {"ToLower", LuaBoundary<ToLowerBody>},
    {"IsValidUTF8CharacterString", LuaBoundary<IsValidUTF8CharacterStringBody>},
    {"UTF8to16", LuaBoundary<UTF8to16Body>},
    {"UTF16to8", LuaBoundary<UTF16to8Body>},
    {"FormatDateTimeStringForUI", LuaBoundary<FormatDateTimeStringForUIBody>},
    {"FormatEpochTimeForUI", LuaBoundary<FormatEpochTimeForUIBody>},
    {"GetDateTimeNow", LuaBoundary<GetDateTimeNowBody>},
    {nullptr, nullptr},
};

namespace {

int OpenVyrString(lua_State* L)
{
    luaL_register(L, "vyrString", kVyrStringFunctions);
    return 1;
}

} // namespace

} // namespace vyrlua::string

extern "C" int luaopen_vyrlua_vyrString(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::string::OpenVyrString>(L);
}
