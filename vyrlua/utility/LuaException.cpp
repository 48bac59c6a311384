#include "vyrlua/utility/LuaException.h"

#include "vyrcore/string.h"

namespace vyrlua::utility {

namespace {
std::string UnknownLuaExceptionText()
{
    return vyrcore::string::UTF16to8(vyrcore::config::Localizer::Get().Localize(
        u"$$$/vyrlua/utility/UnknownLuaException=Unknown Lua Exception"));
}
} // namespace

LuaException::LuaException() : LuaException(UnknownLuaExceptionText()) {}

LuaException::LuaException(const std::string& message)
    : vyrcore::config::HostException(message), mMessage(message)
{
}

} // namespace vyrlua::utility
