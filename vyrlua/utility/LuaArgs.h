// Argument readers for function bodies behind the error boundary. They
// behave like the luaL_check* functions and fail with the same texts, but
// throw ArgumentError instead of raising, so no destructor is skipped.
#pragma once

#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaInternedName.h"

#include <string_view>

namespace vyrlua::utility {

[[noreturn]] void ThrowTypeError(lua_State* L, int narg, const char* expected);
[[noreturn]] void ThrowArgError(int narg, const std::string& message);

// luaL_checklstring: strings and numbers (a number is converted in place).
// The view points into Lua's string and lives as long as the stack slot.
std::string_view CheckLString(lua_State* L, int narg);
std::string_view OptLString(lua_State* L, int narg, std::string_view def);
// CheckLString for text shown to people: bytes that are not UTF-8 are an
// argument error "<what> is not valid UTF-8".
std::string_view CheckUTF8(lua_State* L, int narg, const char* what);
std::string_view OptUTF8(lua_State* L, int narg, const char* what, std::string_view def);
lua_Number CheckNumber(lua_State* L, int narg);
lua_Number OptNumber(lua_State* L, int narg, lua_Number def);
// luaL_checkinteger, but a value with no integer of that width (NaN,
// infinities, out of range) is an argument error, never a wrapped number.
// Fractions are truncated toward zero as Lua 5.1 does.
lua_Integer CheckInteger(lua_State* L, int narg);
lua_Integer OptInteger(lua_State* L, int narg, lua_Integer def);
int CheckInt(lua_State* L, int narg);
int OptInt(lua_State* L, int narg, int def);
void CheckType(lua_State* L, int narg, int type);
void CheckAny(lua_State* L, int narg);
// Lua numbers narrowed for host types without undefined behaviour: beyond the
// float range gives an infinity of the same sign; NaN stays NaN.
float ToFloat(lua_Number n);
// Truncates toward zero; an argument error for NaN, infinities and values
// outside int's range.
int ToInt(lua_Number n, int narg);

// luaL_checkudata: a full userdata whose metatable is the registry's `tname`.
// Every kind's block holds at least a pointer; a smaller block with that
// metatable (debug.setmetatable makes one) fails with "Bad user data"
// instead of being read past its end.
void* CheckUData(lua_State* L, int narg, const char* tname);
// The userdata's block if its metatable is the registry's `tname` and it is
// at least a pointer wide, else null.
void* TestUData(lua_State* L, int narg, const char* tname);
// The same for names checked on every call: the registry look-up hashes no
// text.
void* CheckUData(lua_State* L, int narg, const InternedName& tname);
void* TestUData(lua_State* L, int narg, const InternedName& tname);

} // namespace vyrlua::utility
