// The exception that carries a Lua error message across native code.
#pragma once

#include "vyrcore/config.h"

#include <string>

namespace vyrlua::utility {

class LuaException : public vyrcore::config::HostException {
public:
    // The localised "Unknown Lua Exception".
    LuaException();
    explicit LuaException(const std::string& message);

    std::string What() const { return mMessage; }

private:
    std::string mMessage;
};

} // namespace vyrlua::utility
