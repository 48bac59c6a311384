// Userdata of the application-service kinds (property lists, menus,
// locales, command attachments): a block one pointer wide holding a
// use-counted host object (vyrcore::utility::RefCountedObject). The block
// holds one use count; __gc and Release drop it and empty the block, after
// which methods find no object. Only blocks this library made are read: a
// block of another kind given one of these metatables (the debug library
// can) is refused, whatever its size.
#pragma once

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

#include <boost/intrusive_ptr.hpp>

#include <utility>

namespace vyrlua::utility {

// The blocks this library made, with their kind's metatable name; a block
// leaves when it is collected.
void RegisterObjectBlock(const void* block, const char* tname);
void UnregisterObjectBlock(const void* block);
bool IsObjectBlockOf(const void* block, const char* tname);

// The block at `narg` when it is one this library made of kind `tname`,
// else null.
template <typename T>
T** TestObjectBlock(lua_State* L, int narg, const char* tname)
{
    void* block = TestUData(L, narg, tname);
    return block && IsObjectBlockOf(block, tname) ? static_cast<T**>(block) : nullptr;
}

// The same, failing with the standard argument error for another kind and
// "Bad user data" for a block under the kind's metatable that is not one.
template <typename T>
T** CheckObjectBlock(lua_State* L, int narg, const char* tname)
{
    void* block = CheckUData(L, narg, tname);
    if (!IsObjectBlockOf(block, tname))
        throw LuaError("Bad user data");
    return static_cast<T**>(block);
}

// The object of a live block at `narg`, or null once released.
template <typename T>
T* CheckObject(lua_State* L, int narg, const char* tname)
{
    return *CheckObjectBlock<T>(L, narg, tname);
}

// Pushes an empty block of kind `tname`. May raise a Lua error (memory):
// call it while nothing with a destructor is alive in the calling frame.
template <typename T>
T** NewObjectBlock(lua_State* L, const char* tname)
{
    auto** block = static_cast<T**>(lua_newuserdata(L, sizeof(T*)));
    *block = nullptr;
    luaL_getmetatable(L, tname);
    lua_setmetatable(L, -2);
    RegisterObjectBlock(block, tname);
    return block;
}

// Pushes a block of kind `tname` holding what `make()` returns (a
// boost::intrusive_ptr<T>, or something convertible to one). The block is
// made first, so running out of Lua memory strands no object; a null
// result leaves nil instead of an empty block.
template <typename T, typename Make>
int PushMadeObject(lua_State* L, const char* tname, Make&& make)
{
    T** block = NewObjectBlock<T>(L, tname);
    {
        boost::intrusive_ptr<T> object = make();
        *block = object.detach();
    }
    if (*block == nullptr) {
        lua_pop(L, 1);
        lua_pushnil(L);
    }
    return 1;
}

// Pushes `object` (which something else keeps alive for the call), taking
// a use count for the block.
template <typename T>
int PushObject(lua_State* L, const char* tname, T* object)
{
    return PushMadeObject<T>(L, tname, [object] { return boost::intrusive_ptr<T>(object); });
}

// Release: drops the block's use count once. Safe to run twice and on
// values of any other kind. __gc does the same and forgets the block.
template <typename T>
int ReleaseObject(lua_State* L, const char* tname)
{
    if (T** block = TestObjectBlock<T>(L, 1, tname)) {
        T* object = *block;
        *block = nullptr;
        if (object)
            object->ReleaseUseCount();
    }
    return 0;
}

template <typename T>
int CollectObject(lua_State* L, const char* tname)
{
    T** block = TestObjectBlock<T>(L, 1, tname);
    ReleaseObject<T>(L, tname);
    if (block)
        UnregisterObjectBlock(block);
    return 0;
}

// __tostring: "<word>(<address of the object>)", or "<word>(released)".
template <typename T>
int ObjectToString(lua_State* L, const char* tname, const char* word)
{
    T* object = CheckObject<T>(L, 1, tname);
    if (object)
        lua_pushfstring(L, "%s(%p)", word, static_cast<void*>(object));
    else
        lua_pushfstring(L, "%s(released)", word);
    return 1;
}

// One kind in one place: its metatable name `Name`, its __tostring word
// `Word` (both character arrays of static storage), and the functions the
// method table registers: {"__gc", Gc}, {"Release", Release},
// {"__tostring", ToString}.
template <typename T, const char* Name, const char* Word>
struct ObjectKind {
    static constexpr const char* kMetatable = Name;
    static int Gc(lua_State* L) { return CollectObject<T>(L, Name); }
    static int Release(lua_State* L) { return ReleaseObject<T>(L, Name); }
    static int ToString(lua_State* L) { return ObjectToString<T>(L, Name, Word); }
    static T* Check(lua_State* L, int narg) { return CheckObject<T>(L, narg, Name); }
    static int Push(lua_State* L, T* object) { return PushObject<T>(L, Name, object); }
    template <typename Make>
    static int PushMade(lua_State* L, Make&& make)
    {
        return PushMadeObject<T>(L, Name, std::forward<Make>(make));
    }
};

// For modules that hand out objects of another module's kind: creates the
// kind's metatable (as RegisterMetatable does) unless this state has it.
inline void RegisterMetatableIfMissing(lua_State* L, const char* name, const luaL_Reg* methods)
{
    luaL_getmetatable(L, name);
    bool present = lua_istable(L, -1);
    lua_pop(L, 1);
    if (!present)
        RegisterMetatable(L, name, methods);
}

// Body wrapper for functions whose host calls refuse bad values with a
// HostException: the refusal becomes a Lua error at the script's line, like
// any luaL_error. Register LuaBoundary<HostRefusals<Body>>.
template <lua_CFunction Body>
int HostRefusals(lua_State* L)
{
    try {
        return Body(L);
    } catch (const vyrcore::config::HostException& e) {
        throw LuaError(e.what());
    }
}

} // namespace vyrlua::utility
