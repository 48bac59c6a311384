#include "app/ScriptWatch.h"

#include "vyrlua/utility/LuaBoundary.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>
#include <vector>

namespace vyrhost {

namespace {

// Where the names `require` looked for are kept, in the registry.
constexpr const char* kRequiredKey = "vyrhost.ScriptWatch.required";

// A searcher put before the others: it notes the name and finds nothing, so
// the real searchers go on. A module whose file fails to compile never
// reaches package.loaded; this is how its file gets watched all the same.
int RecordRequiredBody(lua_State* L)
{
    if (lua_type(L, 1) != LUA_TSTRING)
        return 0;
    lua_settop(L, 1);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_pushvalue(L, 1);
    lua_rawseti(L, 2, static_cast<int>(lua_objlen(L, 2)) + 1);
    return 0;
}

// Behind the boundary, protected: puts the recording searcher first in
// package.loaders.
int InstallRecorderBody(lua_State* L)
{
    lua_getglobal(L, "package");
    if (!lua_istable(L, -1))
        return 0;
    lua_getfield(L, -1, "loaders");
    if (!lua_istable(L, -1))
        return 0;
    int loaders = lua_gettop(L);
    for (int i = static_cast<int>(lua_objlen(L, loaders)); i >= 1; --i) {
        lua_rawgeti(L, loaders, i);
        lua_rawseti(L, loaders, i + 1);
    }
    lua_newtable(L);
    lua_pushvalue(L, -1);
    lua_setfield(L, LUA_REGISTRYINDEX, kRequiredKey);
    lua_pushcclosure(L, vyrlua::utility::LuaBoundary<RecordRequiredBody>, 1);
    lua_rawseti(L, loaders, 1);
    return 0;
}

// Appends the strings of the table at `from` to the table at `to`.
void AppendStrings(lua_State* L, int from, int to, int& n)
{
    lua_pushnil(L);
    while (lua_next(L, from) != 0) {
        if (lua_type(L, -1) == LUA_TSTRING) {
            lua_pushvalue(L, -1);
            lua_rawseti(L, to, ++n);
        }
        lua_pop(L, 1);
    }
}

// Behind the boundary, protected: { package.path, module name, ... }, the
// names those of package.loaded and those `require` looked for.
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
    lua_getfield(L, LUA_REGISTRYINDEX, kRequiredKey);
    if (lua_istable(L, -1))
        AppendStrings(L, lua_gettop(L), out, n);
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

namespace {

int64_t TimeOf(const std::string& path)
{
    std::error_code ec;
    auto time = std::filesystem::last_write_time(path, ec);
    return ec ? -1 : static_cast<int64_t>(time.time_since_epoch().count());
}

size_t ContentHashOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return std::hash<std::string>{}(content);
}

} // namespace

ScriptWatch::Stamp ScriptWatch::StampOf(const std::string& path)
{
    int64_t time = TimeOf(path);
    if (time == -1)
        return {};
    // The content too: where file times are coarse, two saves in one tick
    // differ only there.
    return {time, ContentHashOf(path)};
}

void ScriptWatch::Prepare(lua_State* L, const std::string& script)
{
    mFiles.clear();
    mFiles[script] = StampOf(script);
    mPrepared = true;
    try {
        vyrlua::utility::PushFromProtectedCall(
            L, vyrlua::utility::LuaBoundary<InstallRecorderBody>, nullptr);
        lua_pop(L, 1);
    } catch (const std::exception&) {
        // Without the searcher, what loaded is still watched.
    }
}

void ScriptWatch::Collect(lua_State* L, const std::string& script)
{
    if (!mPrepared) {
        mFiles.clear();
        mFiles[script] = StampOf(script);
    }
    mPrepared = false;
    if (L == nullptr)
        return;
    try {
        // Stamps taken before the run stay: a save during it is a change.
        for (const std::string& file : DiskModules(L))
            mFiles.emplace(file, StampOf(file));
    } catch (const std::exception&) {
        // A state that cannot be read leaves the script itself watched.
    }
}

void ScriptWatch::WaitUntilSettled() const
{
    // An editor that saves in place truncates the file, then writes it: a
    // run in between would read it half-written.
    auto stamps = [this] {
        std::vector<Stamp> now;
        for (const auto& entry : mFiles)
            now.push_back(StampOf(entry.first));
        return now;
    };
    std::vector<Stamp> before = stamps();
    for (int wait = 0; wait < 20; ++wait) { // a file that never settles: 2 s
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::vector<Stamp> after = stamps();
        if (after == before)
            return;
        before = std::move(after);
    }
}

bool ScriptWatch::Changed() const
{
    // A new time is a change without reading the file.
    for (const auto& [path, stamp] : mFiles) {
        int64_t time = TimeOf(path);
        if (time != stamp.time || (time != -1 && ContentHashOf(path) != stamp.content))
            return true;
    }
    return false;
}

} // namespace vyrhost
