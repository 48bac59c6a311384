// "vyrlua.vyrLocale": locales (ICU) as Lua objects of kind
// "vyrlua.vyrLocale", global table "vyrLocale"; used by NumberString too.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <unicode/locid.h>

#include <optional>
#include <string_view>

U_NAMESPACE_BEGIN
class NumberFormat;
U_NAMESPACE_END

extern "C" int luaopen_vyrlua_vyrLocale(lua_State* L);

namespace vyrlua::utility {

inline constexpr char kLocaleMetatable[] = "vyrlua.vyrLocale";

// The locale argument at `narg`: a locale object, a locale name ("de_DE"),
// or none/nil for the user's locale. Copied out, so nothing a later Lua
// call does can free it.
icu::Locale LocaleArg(lua_State* L, int narg);

// The text of a number to parse at `narg`. ICU's parse time grows with the
// square of a run of digits, so texts past a bound far beyond any number a
// person writes are refused with an argument error.
inline constexpr size_t kMaxNumberText = 1024;
std::string_view CheckNumberText(lua_State* L, int narg);

// The number the whole of `text` reads as in `format`, if it does.
std::optional<double> ParseWholeNumber(icu::NumberFormat& format, std::string_view text);

} // namespace vyrlua::utility
