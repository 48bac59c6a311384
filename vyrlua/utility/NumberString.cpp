// "vyrlua.NumberString": numbers as the user reads them, formatted and
// parsed by ICU for a locale. Class module "vyrlua.NumberString" (no
// methods), global table "NumberString" with the kFormatNumberFlags_*.
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/VyrLocale.h"

#include <unicode/numberformatter.h>
#include <unicode/numfmt.h>

#include <memory>

namespace vyrlua::utility {

namespace {

enum FormatFlags {
    kNormal = 0,
    kNoGrouping = 1,  // 12345.5, not 12,345.5
    kForceSign = 2,   // +3 as well as -3
    kTrimZeros = 4,   // at most, not exactly, the decimals asked for
    kPercent = 8,     // 0.25 is "25%"
};
constexpr int kAllFlags = kNoGrouping | kForceSign | kTrimZeros | kPercent;

// Format(number [, decimals [, flags [, locale]]])
int FormatBody(lua_State* L)
{
    lua_Number n = CheckNumber(L, 1);
    int decimals = OptInt(L, 2, 2);
    if (decimals < 0 || decimals > 15)
        ThrowArgError(2, "decimals must be 0 to 15");
    lua_Integer flags = OptInteger(L, 3, kNormal);
    if (flags < 0 || (flags & ~kAllFlags) != 0)
        ThrowArgError(3, "unknown flags (kFormatNumberFlags_*)");
    std::string text;
    {
        icu::Locale locale = LocaleArg(L, 4);
        using namespace icu::number;
        LocalizedNumberFormatter format = NumberFormatter::withLocale(locale).precision(
            (flags & kTrimZeros) ? Precision::minMaxFraction(0, decimals)
                                 : Precision::fixedFraction(decimals));
        if (flags & kNoGrouping)
            format = format.grouping(UNUM_GROUPING_OFF);
        if (flags & kForceSign)
            format = format.sign(UNUM_SIGN_EXCEPT_ZERO);
        if (flags & kPercent)
            format = format.unit(icu::NoUnit::percent()).scale(Scale::powerOfTen(2));
        UErrorCode status = U_ZERO_ERROR;
        icu::UnicodeString out = format.formatDouble(n, status).toString(status);
        if (U_FAILURE(status))
            throw LuaError(std::string("NumberString: ") + u_errorName(status));
        out.toUTF8String(text);
    }
    PushLString(L, text);
    return 1;
}

// Parse(text [, locale]) -> the number the whole text reads as, or nil.
// Percent signs are understood ("25 %" gives 0.25).
int ParseBody(lua_State* L)
{
    std::string_view text = CheckNumberText(L, 1);
    icu::Locale locale = LocaleArg(L, 2);
    std::optional<double> value;
    for (bool percent : {false, true}) {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::NumberFormat> format(
            percent ? icu::NumberFormat::createPercentInstance(locale, status)
                    : icu::NumberFormat::createInstance(locale, status));
        if (U_FAILURE(status) || (value = ParseWholeNumber(*format, text)))
            break;
    }
    if (value)
        lua_pushnumber(L, *value);
    else
        lua_pushnil(L);
    return 1;
}

const luaL_Reg kMethods[] = {
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"Format", LuaBoundary<FormatBody>},
    {"Parse", LuaBoundary<ParseBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    RegisterMetatable(L, "vyrlua.NumberString", kMethods);
    luaL_register(L, "NumberString", kFunctions);
    SetIntegerField(L, "kFormatNumberFlags_NORMAL", kNormal);
    SetIntegerField(L, "kFormatNumberFlags_NO_GROUPING", kNoGrouping);
    SetIntegerField(L, "kFormatNumberFlags_FORCE_SIGN", kForceSign);
    SetIntegerField(L, "kFormatNumberFlags_TRIM_ZEROS", kTrimZeros);
    SetIntegerField(L, "kFormatNumberFlags_PERCENT", kPercent);
    return 1;
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_NumberString(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
