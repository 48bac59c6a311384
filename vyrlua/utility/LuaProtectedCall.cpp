#include "vyrlua/utility/LuaProtectedCall.h"

#include "vyrcore/config.h"

#include <functional>

namespace vyrlua::utility {

void CallLuaFromCpp(lua_State* L, int nargs, int nresults)
{
    detail::CallLuaFromCppInline(L, nargs, nresults);
}

void detail::RaiseLuaCallError(lua_State* L)
{
    const char* message = lua_tolstring(L, -1, nullptr);
    bool hasText = message != nullptr && *message != '\0';
    vyrcore::config::ThrowError(1, message, 0, 0, hasText, {}, {}, {}, {});
}

int CallLuaFromCppMaybeIgnoreErrors(lua_State* L, int nargs, int nresults)
{
    vyrcore::config::ExecuteFunctionAndConvertException([&] {
        CallLuaFromCpp(L, nargs, nresults);
        return 0;
    });
    return 0;
}

int RunProtectedCallHook(lua_State* L, KzProtectedFunction fn, void* ud)
{
    std::function<int()> run = [&L, &fn, &ud] {
        fn(L, ud);
        return 0;
    };
    return vyrcore::config::ExecuteFunctionAndConvertException(run);
}

} // namespace vyrlua::utility
