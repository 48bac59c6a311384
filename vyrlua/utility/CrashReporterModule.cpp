// "vyrlua.CrashReporter": lets scripts add key/value pairs to crash reports.
#include "vyrcore/debug.h"
#include "vyrcrashreporter/CrashReporter.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

#include <string>

namespace vyrlua::utility {

namespace {

constexpr const char* kTraceCategory = "LuaCrashReporter";

// Tracing is looked up again only when some trace level changed.
bool CrashReporterTraceEnabled()
{
    static unsigned seenChanges = ~0u;
    static bool enabled = false;
    unsigned changes = vyrcore::debug::TraceChangeCount();
    if (changes != seenChanges) {
        seenChanges = changes;
        enabled = vyrcore::debug::TraceEnabled(kTraceCategory);
    }
    return enabled;
}

int AddDataBody(lua_State* L)
{
    std::string_view key = CheckLString(L, 1);
    std::string_view value = CheckLString(L, 2);
    if (CrashReporterTraceEnabled()) {
        std::string line = "lua_addData(key:";
        line.append(key).append(", value:").append(value).append(")");
        vyrcore::debug::Trace(kTraceCategory, line);
    }
    vyrcrashreporter::CrashReporter::GetInstance().AddData(std::string(key), std::string(value));
    return 0;
}

const luaL_Reg kCrashReporterFunctions[] = {
    {"addData", LuaBoundary<AddDataBody>},
    {nullptr, nullptr},
};

int OpenCrashReporter(lua_State* L)
{
    return RegisterModule(L, kCrashReporterFunctions);
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_CrashReporter(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenCrashReporter>(L);
}
