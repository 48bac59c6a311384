#include "vyrlua/utility/VyrLocale.h"

#include "vyrcore/RefCounted.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjectBlock.h"

#include <unicode/datefmt.h>
#include <unicode/numberformatter.h>
#include <unicode/numfmt.h>
#include <unicode/timezone.h>

#include <cmath>
#include <memory>

namespace vyrlua::utility {

namespace {

struct LocaleObject : vyrcore::utility::RefCountedObject {
    explicit LocaleObject(const icu::Locale& l) : locale(l) {}
    icu::Locale locale;
};

struct LocaleKind : HeldKind<LocaleObject> {
    static constexpr const char* kMetatable = kLocaleMetatable;
    static constexpr const char* kWord = "vyrLocale";
    static void MakeMetatable(lua_State* L);
};
using Kind = ObjectKind<LocaleKind>;

std::string ToUTF8(const icu::UnicodeString& text)
{
    std::string out;
    text.toUTF8String(out);
    return out;
}

icu::Locale NamedLocale(std::string_view name, int narg)
{
    icu::Locale locale = icu::Locale::createCanonical(std::string(name).c_str());
    bool known = false;
    if (!locale.isBogus() && name.find('\0') == std::string_view::npos)
        for (const char* const* language = icu::Locale::getISOLanguages(); *language; ++language)
            known = known || std::string_view(*language) == locale.getLanguage();
    if (!known)
        ThrowArgError(narg, "unknown locale '" + std::string(name) + "'");
    return locale;
}

// ---- numbers ----------------------------------------------------------------

int DecimalsArg(lua_State* L, int narg, int def)
{
    int decimals = OptInt(L, narg, def);
    if (decimals < 0 || decimals > 15)
        ThrowArgError(narg, "decimals must be 0 to 15");
    return decimals;
}

int PushText(lua_State* L, const icu::UnicodeString& text, UErrorCode status)
{
    if (U_FAILURE(status))
        throw LuaError(std::string("vyrLocale: ") + u_errorName(status));
    PushLString(L, ToUTF8(text));
    return 1;
}

// (number [, decimals]) with exactly `decimals` fraction digits; a percent
// formatter shows the number times 100 with a percent sign.
template <bool percent>
int FormatBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    lua_Number n = CheckNumber(L, 2);
    int decimals = DecimalsArg(L, 3, percent ? 0 : 2);
    LocaleObject* object = Kind::CheckObject(L, 1);
    if (!object)
        return 0;
    auto format = icu::number::NumberFormatter::withLocale(object->locale)
                      .precision(icu::number::Precision::fixedFraction(decimals));
    if (percent)
        format = format.unit(icu::NoUnit::percent()).scale(icu::number::Scale::powerOfTen(2));
    UErrorCode status = U_ZERO_ERROR;
    auto text = format.formatDouble(n, status).toString(status);
    return PushText(L, text, status);
}

// The number the whole text reads as, or nil.
int ParseWith(lua_State* L, icu::NumberFormat* (*make)(const icu::Locale&, UErrorCode&))
{
    Kind::CheckObject(L, 1);
    std::string_view text = CheckNumberText(L, 2);
    LocaleObject* object = Kind::CheckObject(L, 1);
    if (!object)
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> format(make(object->locale, status));
    std::optional<double> value;
    if (U_SUCCESS(status))
        value = ParseWholeNumber(*format, text);
    if (value)
        lua_pushnumber(L, *value);
    else
        lua_pushnil(L);
    return 1;
}

int ParseNumberBody(lua_State* L)
{
    return ParseWith(L, [](const icu::Locale& l, UErrorCode& s) {
        return icu::NumberFormat::createInstance(l, s);
    });
}

int ParsePercentBody(lua_State* L)
{
    return ParseWith(L, [](const icu::Locale& l, UErrorCode& s) {
        return icu::NumberFormat::createPercentInstance(l, s);
    });
}

// ---- dates and times --------------------------------------------------------

enum DateStyle { kShort = 1, kMedium = 2, kLong = 3, kFull = 4 };

icu::DateFormat::EStyle StyleArg(lua_State* L, int narg)
{
    switch (OptInt(L, narg, kMedium)) {
    case kShort: return icu::DateFormat::kShort;
    case kMedium: return icu::DateFormat::kMedium;
    case kLong: return icu::DateFormat::kLong;
    case kFull: return icu::DateFormat::kFull;
    default: ThrowArgError(narg, "style must be 1 (short) to 4 (full)");
    }
}

std::unique_ptr<icu::TimeZone> ZoneArg(lua_State* L, int narg)
{
    if (lua_isnoneornil(L, narg))
        return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault());
    std::string_view id = CheckLString(L, narg);
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(
        icu::UnicodeString::fromUTF8(icu::StringPiece(id.data(), static_cast<int32_t>(id.size())))));
    icu::UnicodeString found;
    if (!zone || zone->getID(found) == icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID))
        ThrowArgError(narg, "unknown time zone '" + std::string(id) + "'");
    return zone;
}

enum class Parts { Date, Time, Both };

std::unique_ptr<icu::DateFormat> MakeDateFormat(Parts parts, icu::DateFormat::EStyle style,
                                                const icu::Locale& locale)
{
    switch (parts) {
    case Parts::Date: return std::unique_ptr<icu::DateFormat>(icu::DateFormat::createDateInstance(style, locale));
    case Parts::Time: return std::unique_ptr<icu::DateFormat>(icu::DateFormat::createTimeInstance(style, locale));
    case Parts::Both:
        return std::unique_ptr<icu::DateFormat>(
            icu::DateFormat::createDateTimeInstance(style, style, locale));
    }
    return nullptr;
}

// (seconds since 1970 [, style [, time zone]])
template <Parts parts>
int FormatDateBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    lua_Number seconds = CheckNumber(L, 2);
    if (!std::isfinite(seconds) || std::fabs(seconds) > 1e14)
        ThrowArgError(2, "time out of range");
    icu::DateFormat::EStyle style = StyleArg(L, 3);
    std::string text;
    {
        std::unique_ptr<icu::TimeZone> zone = ZoneArg(L, 4);
        LocaleObject* object = Kind::CheckObject(L, 1);
        if (!object)
            return 0;
        std::unique_ptr<icu::DateFormat> format = MakeDateFormat(parts, style, object->locale);
        if (!format)
            throw LuaError("vyrLocale: no date format for this locale");
        format->adoptTimeZone(zone.release());
        icu::UnicodeString out;
        format->format(seconds * 1000.0, out);
        text = ToUTF8(out);
    }
    PushLString(L, text);
    return 1;
}

// (text [, style [, time zone]]) -> seconds since 1970, or nil.
int ParseDateBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view text = CheckLString(L, 2);
    icu::DateFormat::EStyle style = StyleArg(L, 3);
    std::unique_ptr<icu::TimeZone> zone = ZoneArg(L, 4);
    LocaleObject* object = Kind::CheckObject(L, 1);
    if (!object)
        return 0;
    std::unique_ptr<icu::DateFormat> format = MakeDateFormat(Parts::Date, style, object->locale);
    if (!format)
        throw LuaError("vyrLocale: no date format for this locale");
    format->adoptTimeZone(zone.release());
    format->setLenient(false);
    icu::UnicodeString input =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    icu::ParsePosition position;
    UDate date = format->parse(input, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != input.length() || input.isEmpty())
        lua_pushnil(L);
    else
        lua_pushnumber(L, date / 1000.0);
    return 1;
}

int GetNameBody(lua_State* L)
{
    LocaleObject* object = Kind::CheckObject(L, 1);
    if (!object)
        return 0;
    std::string name = object->locale.getName();
    PushLString(L, name);
    return 1;
}

int NewBody(lua_State* L)
{
    std::string_view name = CheckLString(L, 1);
    // The locale is made after the userdata: nothing with a destructor is
    // alive while Lua allocates.
    return Kind::PushMade(L, [&] {
        return boost::intrusive_ptr<LocaleObject>(new LocaleObject(NamedLocale(name, 1)));
    });
}

int GetCurrentBody(lua_State* L)
{
    return Kind::PushMade(L, [] {
        return boost::intrusive_ptr<LocaleObject>(new LocaleObject(icu::Locale::getDefault()));
    });
}

const luaL_Reg kMethods[] = {
    {"GetName", LuaBoundary<GetNameBody>},
    {"FormatNumber", LuaBoundary<FormatBody<false>>},
    {"FormatPercent", LuaBoundary<FormatBody<true>>},
    {"ParseNumber", LuaBoundary<ParseNumberBody>},
    {"ParsePercent", LuaBoundary<ParsePercentBody>},
    {"FormatDate", LuaBoundary<FormatDateBody<Parts::Date>>},
    {"FormatTime", LuaBoundary<FormatDateBody<Parts::Time>>},
    {"FormatDateTime", LuaBoundary<FormatDateBody<Parts::Both>>},
    {"ParseDate", LuaBoundary<ParseDateBody>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"New", LuaBoundary<NewBody>},
    {"GetCurrent", LuaBoundary<GetCurrentBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    LocaleKind::MakeMetatable(L);
    luaL_register(L, "vyrLocale", kFunctions);
    SetIntegerField(L, "kDateStyle_Short", kShort);
    SetIntegerField(L, "kDateStyle_Medium", kMedium);
    SetIntegerField(L, "kDateStyle_Long", kLong);
    SetIntegerField(L, "kDateStyle_Full", kFull);
    SetIntegerField(L, "kDateStyle_Default", kMedium);
    return 1;
}

void LocaleKind::MakeMetatable(lua_State* L)
{
    Kind::RegisterMetatable(L, kMethods);
}

} // namespace

icu::Locale LocaleArg(lua_State* L, int narg)
{
    if (lua_isnoneornil(L, narg))
        return icu::Locale::getDefault();
    if (lua_type(L, narg) == LUA_TSTRING)
        return NamedLocale(CheckLString(L, narg), narg);
    LocaleObject* object = Kind::CheckObject(L, narg);
    if (!object)
        throw LuaError("vyrLocale: the locale was released");
    return object->locale;
}

std::string_view CheckNumberText(lua_State* L, int narg)
{
    std::string_view text = CheckLString(L, narg);
    if (text.size() > kMaxNumberText)
        ThrowArgError(narg, "number text longer than " + std::to_string(kMaxNumberText) + " bytes");
    return text;
}

std::optional<double> ParseWholeNumber(icu::NumberFormat& format, std::string_view text)
{
    icu::UnicodeString input = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    icu::Formattable result;
    icu::ParsePosition position;
    format.parse(input, result, position);
    UErrorCode status = U_ZERO_ERROR;
    double value = result.getDouble(status);
    if (position.getErrorIndex() >= 0 || position.getIndex() != input.length() ||
        input.isEmpty() || U_FAILURE(status))
        return std::nullopt;
    return value;
}

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_vyrLocale(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
