// The application-service kinds (property lists, menus, locales, command
// attachments) on the library's kind template (LuaKind.h): each holds one
// use-counted host object (Held<T>). A kind's traits give its metatable
// name, its __tostring word and MakeMetatable; ObjectKind adds reading the
// object itself and pushing a new one made after its block.
#pragma once

#include "vyrcore/config.h"
#include "vyrlua/utility/LuaKind.h"

#include <utility>

namespace vyrlua::utility {

template <typename Traits>
struct ObjectKind : LuaKind<Traits> {
    using Lua = LuaKind<Traits>;
    using Object =
        typename decltype(std::declval<typename Traits::Payload&>().object)::element_type;

    // The object at `narg`: the standard argument error for a value of
    // another kind, null for a released object.
    static Object* CheckObject(lua_State* L, int narg)
    {
        auto* held = Lua::Check(L, narg);
        return held ? held->object.get() : nullptr;
    }
    // Null for anything but a live object of the kind.
    static Object* TestObject(lua_State* L, int narg)
    {
        auto* held = Lua::Test(L, narg);
        return held ? held->object.get() : nullptr;
    }

    // Pushes an object holding what `make()` returns (a
    // boost::intrusive_ptr<Object>), made after the block so that running
    // out of Lua memory strands nothing; a null result gives nil.
    template <typename Make>
    static int PushMade(lua_State* L, Make&& make)
    {
        auto* held = Lua::Push(L);
        held->object = make();
        if (!held->object) {
            lua_pop(L, 1);
            lua_pushnil(L);
        }
        return 1;
    }
    // Pushes `object`, which something else keeps alive for the call.
    static int PushObject(lua_State* L, Object* object)
    {
        return PushMade(L, [object] { return boost::intrusive_ptr<Object>(object); });
    }
};

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
