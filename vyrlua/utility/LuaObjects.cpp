#include "vyrlua/utility/LuaObjects.h"

#include <unordered_map>

namespace vyrlua::utility {

namespace {

// Payload address to kind. Process-wide: payloads of every state are heap
// objects with distinct addresses, and all Lua work is on the UI thread.
std::unordered_map<const void*, const LuaKindTag*>& Live()
{
    static auto* live = new std::unordered_map<const void*, const LuaKindTag*>();
    return *live;
}

bool HasKindMetatable(lua_State* L, int narg, const LuaKindTag& kind)
{
    if (!lua_getmetatable(L, narg))
        return false;
    lua_getfield(L, LUA_REGISTRYINDEX, kind.metatable);
    bool same = lua_rawequal(L, -1, -2) != 0;
    lua_pop(L, 2);
    return same;
}

} // namespace

void RecordPayload(const void* payload, const LuaKindTag& kind)
{
    Live()[payload] = &kind;
}

void ForgetPayload(const void* payload)
{
    Live().erase(payload);
}

const LuaKindTag* PayloadKind(const void* payload)
{
    auto& live = Live();
    auto it = live.find(payload);
    return it == live.end() ? nullptr : it->second;
}

void** PointerBlockAt(lua_State* L, int narg)
{
    if (lua_type(L, narg) != LUA_TUSERDATA || lua_objlen(L, narg) != sizeof(void*))
        return nullptr;
    return static_cast<void**>(lua_touserdata(L, narg));
}

ObjectState FindObject(lua_State* L, int narg, const LuaKindTag& kind, void** payload)
{
    void** block = PointerBlockAt(L, narg);
    if (block == nullptr)
        return ObjectState::Other;
    if (*block == nullptr)
        return HasKindMetatable(L, narg, kind) ? ObjectState::Emptied : ObjectState::Other;
    if (PayloadKind(*block) != &kind)
        return ObjectState::Other;
    *payload = *block;
    return ObjectState::Live;
}

void PushEmptyBlock(lua_State* L, const LuaKindTag& kind, void (*makeMetatable)(lua_State*))
{
    auto** block = static_cast<void**>(lua_newuserdata(L, sizeof(void*)));
    *block = nullptr;
    lua_getfield(L, LUA_REGISTRYINDEX, kind.metatable);
    if (lua_isnil(L, -1) && makeMetatable != nullptr) {
        lua_pop(L, 1);
        makeMetatable(L);
        lua_getfield(L, LUA_REGISTRYINDEX, kind.metatable);
    }
    lua_setmetatable(L, -2);
}

void FillBlock(lua_State* L, int index, void* payload, const LuaKindTag& kind)
{
    RecordPayload(payload, kind); // may throw; the caller still owns payload
    *static_cast<void**>(lua_touserdata(L, index)) = payload;
}

void* TakePayload(lua_State* L, int narg, const LuaKindTag& kind)
{
    void* payload = nullptr;
    if (FindObject(L, narg, kind, &payload) != ObjectState::Live)
        return nullptr;
    *static_cast<void**>(lua_touserdata(L, narg)) = nullptr;
    ForgetPayload(payload);
    return payload;
}

} // namespace vyrlua::utility
