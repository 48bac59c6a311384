#include "vyrlua/string/VyrString.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"

namespace vyrlua::string {

using utility::LuaBoundary;

namespace {

// The character-position forms are kept as no-ops on purpose: scripts
// written against them rely on getting nothing back.
int NoOperationBody(lua_State*)
{
    return 0;
}

} // namespace

const luaL_Reg kVyrStringFunctions[] = {
    {"GetChar", LuaBoundary<NoOperationBody>},
    {"GetCharB", LuaBoundary<NoOperationBody>},
    {"GetCharBytePos", LuaBoundary<NoOperationBody>},
    {"GetCharPosB", LuaBoundary<NoOperationBody>},
    {"GetLength", LuaBoundary<NoOperationBody>},
    {"IsStringAscii", LuaBoundary<NoOperationBody>},
    {"IsAscii", LuaBoundary<NoOperationBody>},
    {"IsAsciiB", LuaBoundary<NoOperationBody>},
    {"IsSpace", LuaBoundary<NoOperationBody>},
    {"IsSpaceB", LuaBoundary<NoOperationBody>},
    {"IsAlpha", LuaBoundary<NoOperationBody>},
    {"IsAlphaB", LuaBoundary<NoOperationBody>},
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
    {"Localize", LuaBoundary<NoOperationBody>},
    {"ReplaceInString", LuaBoundary<NoOperationBody>},
    {"Substring", LuaBoundary<NoOperationBody>},
    {"SubstringB", LuaBoundary<NoOperationBody>},
    {"Trim", LuaBoundary<NoOperationBody>},
    {"TrimLeft", LuaBoundary<NoOperationBody>},
    {"TrimRight", LuaBoundary<NoOperationBody>},
    {"Match", LuaBoundary<NoOperationBody>},
    {"MatchB", LuaBoundary<NoOperationBody>},
    {"Replace", LuaBoundary<NoOperationBody>},
    {"ReplaceB", LuaBoundary<NoOperationBody>},
    {"Compare", LuaBoundary<NoOperationBody>},
    {"NaturalCompare", LuaBoundary<NoOperationBody>},
    {"ToUpper", LuaBoundary<NoOperationBody>},
    {"ToLower", LuaBoundary<NoOperationBody>},
    {"IsValidUTF8CharacterString", LuaBoundary<NoOperationBody>},
    {"UTF8to16", LuaBoundary<NoOperationBody>},
    {"UTF16to8", LuaBoundary<NoOperationBody>},
    {"FormatDateTimeStringForUI", LuaBoundary<NoOperationBody>},
    {"FormatEpochTimeForUI", LuaBoundary<NoOperationBody>},
    {"GetDateTimeNow", LuaBoundary<NoOperationBody>},
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
