// "vyrlua.vyrLocale": locales (ICU) as Lua objects of kind
// "vyrlua.vyrLocale", global table "vyrLocale"; used by NumberString too.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <unicode/locid.h>

extern "C" int luaopen_vyrlua_vyrLocale(lua_State* L);

namespace vyrlua::utility {

inline constexpr char kLocaleMetatable[] = "vyrlua.vyrLocale";

// The locale argument at `narg`: a locale object, a locale name ("de_DE"),
// or none/nil for the user's locale. Copied out, so nothing a later Lua
// call does can free it.
icu::Locale LocaleArg(lua_State* L, int narg);

} // namespace vyrlua::utility
