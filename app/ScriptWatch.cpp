#include "app/ScriptWatch.h"

#include "vyrlua/utility/LuaBoundary.h"

#include <filesystem>
#include <vector>

namespace vyrhost {

namespace {

// Behind the boundary, protected: { package.path, loaded name, ... }.
int LoadedModulesBody(lua_State* L)
{
    lua_newtable(L);
    int out = lua_gettop(L);
    lua_getglobal(L, "package");
    if (!lua_istable(L, -1))
        return 1;
    int package = lua_gettop(L);
    lua_getfield(L, package, "path");
    if (lua_type(L, -1) != LUA_TSTRING)
        return 1;
    lua_rawseti(L, out, 1);
    lua_getfield(L, package, "loaded");
    if (!lua_istable(L, -1))
        return 1;
    int loaded = lua_gettop(L);
    int n = 1;
    lua_pushnil(L);
    while (lua_next(L, loaded) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) == LUA_TSTRING) {
            lua_pushvalue(L, -1);
            lua_rawseti(L, out, ++n);
        }
    }
    lua_settop(L, out);
    return 1;
}

std::vector<std::string> DiskModules(lua_State* L)
{
    std::vector<std::string> files;
    vyrlua::utility::PushFromProtectedCall(L, vyrlua::utility::LuaBoundary<LoadedModulesBody>,
                                           nullptr);
    int table = lua_gettop(L);
    std::vector<std::string> entries;
    for (int i = 1;; ++i) {
        lua_rawgeti(L, table, i);
        size_t length = 0;
        const char* text = lua_tolstring(L, -1, &length);
        if (text == nullptr) {
            lua_pop(L, 1);
            break;
        }
        entries.emplace_back(text, length);
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
    if (entries.empty())
        return files;
    const std::string& path = entries[0];
    for (size_t i = 1; i < entries.size(); ++i) {
        std::string name = entries[i];
        for (char& c : name) {
            if (c == '.')
                c = '/';
        }
        // Each template of package.path, '?' standing for the name.
        for (size_t start = 0; start <= path.size();) {
            size_t end = path.find(';', start);
            std::string pattern = path.substr(start, end == std::string::npos ? end : end - start);
            start = end == std::string::npos ? path.size() + 1 : end + 1;
            if (pattern.empty() || pattern.find('?') == std::string::npos)
                continue;
            std::string file;
            for (char c : pattern)
                file += c == '?' ? name : std::string(1, c);
            std::error_code ec;
            if (std::filesystem::is_regular_file(file, ec)) {
                files.push_back(file);
                break;
            }
        }
    }
    return files;
}

} // namespace

ScriptWatch::Stamp ScriptWatch::StampOf(const std::string& path)
{
    std::error_code ec;
    auto time = std::filesystem::last_write_time(path, ec);
    if (ec)
        return {};
    uintmax_t size = std::filesystem::file_size(path, ec);
    return {static_cast<int64_t>(time.time_since_epoch().count()), ec ? 0 : size};
}

void ScriptWatch::Collect(lua_State* L, const std::string& script)
{
    mFiles.clear();
    mFiles[script] = StampOf(script);
    if (L == nullptr)
        return;
    try {
        for (const std::string& file : DiskModules(L))
            mFiles[file] = StampOf(file);
    } catch (const std::exception&) {
        // A state that cannot be read leaves the script itself watched.
    }
}

bool ScriptWatch::Changed() const
{
    for (const auto& [path, stamp] : mFiles) {
        if (!(StampOf(path) == stamp))
            return true;
    }
    return false;
}

} // namespace vyrhost
