#include "app/ApiDump.h"

#include "app/LibraryExports.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaSignatures.h"

#include <stdexcept>
#include <vector>

namespace vyrhost {

namespace {

struct DumpInput {
    const std::string* format;
    std::vector<std::string> modules;
    std::vector<std::string> plainGlobals;
    std::vector<std::string> plainRegistry;
    std::vector<std::string> plainPreload; // LuaJIT preloads ffi and jit.*
};

// What a state with only Lua's standard libraries has.
void ReadPlainState(DumpInput& input)
{
    lua_State* plain = luaL_newstate();
    if (plain == nullptr)
        throw std::runtime_error("cannot create a plain Lua state");
    luaL_openlibs(plain);
    input.plainGlobals = StringKeys(plain, LUA_GLOBALSINDEX);
    input.plainRegistry = StringKeys(plain, LUA_REGISTRYINDEX);
    lua_getglobal(plain, "package");
    lua_getfield(plain, -1, "preload");
    if (lua_istable(plain, -1))
        input.plainPreload = StringKeys(plain, lua_gettop(plain));
    lua_close(plain);
}

void PushArray(lua_State* L, const std::vector<std::string>& items)
{
    lua_createtable(L, static_cast<int>(items.size()), 0);
    for (size_t i = 0; i < items.size(); ++i) {
        lua_pushlstring(L, items[i].data(), items[i].size());
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
}

void PushSet(lua_State* L, const std::vector<std::string>& items)
{
    lua_createtable(L, 0, static_cast<int>(items.size()));
    for (const std::string& item : items) {
        lua_pushlstring(L, item.data(), item.size());
        lua_pushboolean(L, 1);
        lua_rawset(L, -3);
    }
}

// signatureOf(f): the parameter types and the result type (or nil) recorded
// for a C function, or nothing when none was.
int SignatureOfBody(lua_State* L)
{
    lua_CFunction f = lua_tocfunction(L, 1);
    const vyrlua::utility::LuaSignature* signature = f ? vyrlua::utility::FindLuaSignature(f) : nullptr;
    if (signature == nullptr)
        return 0;
    lua_createtable(L, signature->paramCount, 0);
    for (int i = 0; i < signature->paramCount; ++i) {
        lua_pushstring(L, signature->params[i]);
        lua_rawseti(L, -2, i + 1);
    }
    if (signature->result)
        lua_pushstring(L, signature->result);
    else
        lua_pushnil(L);
    return 2;
}

// Protected, behind the boundary; holds nothing with a destructor.
int DumpBody(lua_State* L)
{
    const auto* input = static_cast<const DumpInput*>(lua_touserdata(L, 1));
    lua_getglobal(L, "require");
    lua_pushliteral(L, "vyrlua.host.apidump");
    lua_call(L, 1, 1);
    lua_pushlstring(L, input->format->data(), input->format->size());
    PushArray(L, input->modules);
    PushSet(L, input->plainGlobals);
    PushSet(L, input->plainRegistry);
    PushSet(L, input->plainPreload);
    lua_pushcfunction(L, vyrlua::utility::LuaBoundary<SignatureOfBody>);
    lua_call(L, 6, 1);
    if (lua_type(L, -1) != LUA_TSTRING)
        throw vyrlua::utility::LuaError("the API dump returned no text");
    return 1;
}

} // namespace

std::string DumpApi(lua_State* L, const std::string& format)
{
    DumpInput input{&format, {}, {}, {}, {}};
    for (const ExportedOpener& opener : ExportedOpeners())
        input.modules.push_back(opener.name);
    ReadPlainState(input);
    vyrlua::utility::PushFromProtectedCall(L, vyrlua::utility::LuaBoundary<DumpBody>, &input);
    size_t length = 0;
    const char* text = lua_tolstring(L, -1, &length);
    std::string dump(text, length);
    lua_pop(L, 1);
    return dump;
}

} // namespace vyrhost
