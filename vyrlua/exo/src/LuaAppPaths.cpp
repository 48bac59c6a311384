#include "vyrlua/exo/src/LuaAppPaths.h"

#include "vyrcore/string.h"
#include "vyrlua/utility/LuaBoundary.h"

#include <array>
#include <dlfcn.h>
#include <mutex>

namespace vyrlua::exo {

void AddAppDirToLuaCPath(lua_State* L)
{
    std::string entry =
        vyrcore::string::UTF16to8(vyrcore::filesupport::Dir::AppDir().FullPath()) + "/?.so";
    lua_getfield(L, LUA_GLOBALSINDEX, "package");
    lua_getfield(L, -1, "cpath");
    size_t length = 0;
    const char* current = lua_tolstring(L, -1, &length);
    std::string value = (current == nullptr || length == 0)
                            ? entry
                            : std::string(current, length) + ";" + entry;
    lua_pop(L, 1);
    try {
        utility::PushLString(L, value);
    } catch (...) {
        lua_pop(L, 1);
        throw;
    }
    lua_setfield(L, -2, "cpath");
    lua_pop(L, 1);
}

} // namespace vyrlua::exo

namespace vyr::lua::utility {

namespace {

using vyrcore::filesupport::Dir;
using vyrcore::filesupport::File;

struct ScriptsDirCache {
    std::mutex mutex;
    std::array<Dir, 3> overrides;
    Dir cached;
    bool computed = false;
};

ScriptsDirCache& Cache()
{
    static ScriptsDirCache cache;
    return cache;
}

// The folder of the shared object that holds this function.
Dir LibraryDir()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&LibraryDir), &info) == 0 || info.dli_fname == nullptr)
        return Dir();
    File library = File::FromUTF8(info.dli_fname);
    return library.Exists() ? library.Parent() : Dir();
}

Dir FindScriptsDir(const std::array<Dir, 3>& overrides)
{
    for (const Dir& dir : overrides)
        if (dir.Exists())
            return dir;
    if (Dir dir = LibraryDir(); dir.Exists())
        return dir;
    Dir framework = Dir::AppDir().Join(u"Frameworks").Join(u"vyrlua.framework");
    return framework.Exists() ? framework : Dir();
}

} // namespace

Dir GetCommonLuaScriptsDir(const std::string& subfolder, bool recompute)
{
    Dir base;
    {
        std::lock_guard lock(Cache().mutex);
        if (!Cache().computed || recompute) {
            Cache().cached = FindScriptsDir(Cache().overrides);
            Cache().computed = true;
        }
        base = Cache().cached;
    }
    if (!base.Exists())
        return Dir();
    return base.Join(vyrcore::string::UTF8to16(subfolder));
}

void SetCommonLuaScriptsDirOverride(int slot, const Dir& dir)
{
    if (slot < 0 || slot >= 3)
        return;
    std::lock_guard lock(Cache().mutex);
    Cache().overrides[static_cast<size_t>(slot)] = dir;
}

} // namespace vyr::lua::utility
