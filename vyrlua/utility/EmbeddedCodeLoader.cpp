// The package loader that serves Lua source held as application resources.
#include "exo/app/App.h"
#include "vyrcore/string.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

#include <string>

namespace vyrlua {

namespace {

constexpr std::u16string_view kLuaResourceType = u"lua";

// Reads the resource for `moduleName` (dots become underscores; "_init" is
// tried second). False when the application holds neither.
bool ReadModuleResource(std::string_view moduleName, std::string& bytes)
{
    exo::app::App* app = exo::app::App::GetApp();
    if (app == nullptr)
        return false;
    std::string flat(moduleName);
    for (char& c : flat)
        if (c == '.')
            c = '_';
    std::u16string resource = vyrcore::string::ASCIIto16(flat);
    auto& resources = app->GetAppResourceManager();
    if (!resources.ResourceExists(resource, kLuaResourceType)) {
        resource += u"_init";
        if (!resources.ResourceExists(resource, kLuaResourceType))
            return false;
    }
    return resources.ReadResource(resource, kLuaResourceType, bytes);
}

struct Chunk {
    const std::string* bytes;
    const char* name;
};

// Compiles the chunk described by the light userdata argument; run protected.
int CompileChunk(lua_State* L)
{
    auto* chunk = static_cast<Chunk*>(lua_touserdata(L, 1));
    lua_pushvalue(L, LUA_GLOBALSINDEX);
    KzLua_loadChunkFromBuffer(L, chunk->bytes->data(), chunk->bytes->size(), chunk->name);
    return 1;
}

int EmbeddedCodeLoaderBody(lua_State* L)
{
    std::string_view name = utility::CheckLString(L, 1);
    std::string bytes;
    if (!ReadModuleResource(name, bytes))
        return 0;
    // Compiled inside a protected call, so neither a syntax error nor running
    // out of memory can longjmp past `bytes`; they are thrown from here
    // instead, with Lua's own text.
    Chunk chunk{&bytes, lua_tostring(L, 1)};
    utility::PushFromProtectedCall(L, utility::LuaBoundary<CompileChunk>, &chunk);
    return 1;
}

} // namespace

} // namespace vyrlua

extern "C" int luaopen_vyrlua_EmbeddedCodeLoader(lua_State* L)
{
    lua_pushcclosure(L, vyrlua::utility::LuaBoundary<vyrlua::EmbeddedCodeLoaderBody>, 0);
    return 1;
}
