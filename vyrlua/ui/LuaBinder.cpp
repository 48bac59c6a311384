#include "vyrlua/ui/LuaBinder.h"

#include "vyrcore/DebugDatabase.h"
#include "vyrcore/debug.h"
#include "vyrlua/utility/LuaStack.h"

#include <boost/regex.hpp>

#include <cstdio>

namespace vyrlua::ui {

void LuaBinder::Bind(std::string_view operation, LuaFunctionRef function)
{
    auto it = mOperations.find(operation);
    if (it == mOperations.end())
        mOperations.emplace(std::string(operation), std::move(function));
    else
        it->second = std::move(function);
}

LuaFunctionRef LuaBinder::Find(std::string_view operation) const
{
    auto it = mOperations.find(operation);
    return it == mOperations.end() ? LuaFunctionRef() : it->second;
}

const LuaFunctionRef* LuaBinder::FindPtr(std::string_view operation) const
{
    auto it = mOperations.find(operation);
    return it == mOperations.end() || !it->second ? nullptr : &it->second;
}

bool NilReturnGripeEnabled()
{
    // Read once; the change count lets a host that edits its database at
    // run time be heard without a restart.
    static bool read = false;
    static bool enabled = false;
    static unsigned seen = 0;
    auto& database = vyrcore::debug::DebugDatabase::Get();
    unsigned changes = database.ChangeCount();
    if (!read || changes != seen) {
        enabled = database.GetBool("vyrluaNilReturnGripe", false);
        seen = changes;
        read = true;
    }
    return enabled;
}

namespace {

void GripeAboutNil(lua_State* L, const LuaFunctionRef& function, const char* operation)
{
    function->Push(L);
    lua_Debug ar;
    if (lua_getinfo(L, ">Sln", &ar) == 0)
        return;
    static const boost::regex kDirectories(".*/");
    std::string file = boost::regex_replace(std::string(ar.source ? ar.source : ""), kDirectories,
                                            std::string());
    char line[32];
    std::snprintf(line, sizeof line, "%d", ar.linedefined);
    vyrcore::debug::Log("vyrlua", vyrcore::debug::Level::Warning,
                        std::string(operation) + " returned nil - " + file + ":" + line);
}

} // namespace

bool LuaBinder::Finish(lua_State* L, int entryTop, const LuaFunctionRef& function,
                       const char* operation, bool called, bool handled, bool resultWasNil)
{
    utility::EndHostCall(L, entryTop);
    if (called && resultWasNil && NilReturnGripeEnabled()) {
        GripeAboutNil(L, function, operation);
        utility::EndHostCall(L, entryTop);
    }
    return called && handled;
}

} // namespace vyrlua::ui
