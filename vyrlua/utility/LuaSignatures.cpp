#include "vyrlua/utility/LuaSignatures.h"

#include <unordered_map>

namespace vyrlua::utility {

namespace {

// Built on first use: records are made by static initialisers of any
// translation unit, in no set order.
std::unordered_map<lua_CFunction, LuaSignature>& Signatures()
{
    static std::unordered_map<lua_CFunction, LuaSignature> signatures;
    return signatures;
}

} // namespace

bool RecordLuaSignature(lua_CFunction f, const LuaSignature& signature)
{
    Signatures().emplace(f, signature);
    return true;
}

const LuaSignature* FindLuaSignature(lua_CFunction f)
{
    auto it = Signatures().find(f);
    return it == Signatures().end() ? nullptr : &it->second;
}

} // namespace vyrlua::utility
