// One object kind of the library (pens, paths, surfaces, events, captures,
// ...), described by a traits class and given its userdata life cycle by the
// LuaKind template: new, test, check, __gc, __tostring and Release.
//
//   struct PenKind {
//       using Payload = PenObject;                 // what a block holds (heap)
//       static constexpr const char* kMetatable = "vyrlua.drawbot.PenInterface";
//       static constexpr const char* kWord = "PenInterface";  // __tostring
//       static void MakeMetatable(lua_State* L);   // methods and constants
//       static const void* Identity(PenObject&);   // null once released
//       static void Release(PenObject&);           // drop what it holds; safe twice
//       // optional:
//       // static void ReleaseReleased(lua_State*);  what Release of a
//       //     released object does (default: nothing)
//       // static constexpr const char* kReleasedWord = "gone";  __tostring of
//       //     a released object (default: "released")
//       // static PenObject* Resolve(lua_State*, int narg);  the receiver of
//       //     __tostring and Release when the kind has other forms than its
//       //     block (null for one that names nothing); default: Check
//   };
//   using LuaPen = utility::LuaKind<PenKind>;
//   {"Release", LuaBoundary<LuaPen::ReleaseMethod>}, or LuaPen::kLifetime
//
// Kinds are unforgeable (LuaObjects.h). Checking runs no Lua code, so a body
// that checks its object after reading its other arguments uses it with no
// script code run in between: read plain arguments first, objects last, and
// use them before the next Lua call that may run a script (a table read, a
// call, or any allocation, which may run a finalizer).
#pragma once

#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjects.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <utility>

namespace vyrlua::utility {

template <typename Traits>
struct LuaKind {
    using Payload = typename Traits::Payload;
    static inline const LuaKindTag tag{Traits::kMetatable};

    // Pushes a new object holding Payload{args...}. The arguments must own
    // nothing with a destructor (the block's allocation may raise); so must
    // what is stored in the payload afterwards, and not as
    // `Push(L)->x = make()`, where make() runs first.
    template <typename... Args>
    static Payload* Push(lua_State* L, Args&&... args)
    {
        PushEmptyBlock(L, tag, Traits::MakeMetatable);
        auto* payload = new Payload{std::forward<Args>(args)...};
        try {
            FillBlock(L, -1, payload, tag);
        } catch (...) {
            Traits::Release(*payload);
            delete payload;
            throw;
        }
        return payload;
    }

    // The payload at `narg`; null for a value of another kind or an emptied one.
    static Payload* Test(lua_State* L, int narg)
    {
        void* payload = nullptr;
        return FindObject(L, narg, tag, &payload) == ObjectState::Live
                   ? static_cast<Payload*>(payload)
                   : nullptr;
    }

    // The same, but a value of another kind fails with the standard argument
    // error ("vyrlua.drawbot.PenInterface expected, got userdata"). Null for
    // an emptied object.
    static Payload* Check(lua_State* L, int narg)
    {
        void* payload = nullptr;
        switch (FindObject(L, narg, tag, &payload)) {
        case ObjectState::Live:
            return static_cast<Payload*>(payload);
        case ObjectState::Emptied:
            return nullptr;
        case ObjectState::Other:
            break;
        }
        ThrowTypeError(L, narg, Traits::kMetatable);
    }

    // Whether the value at `narg` is (or was) an object of this kind.
    static bool Is(lua_State* L, int narg)
    {
        void* payload = nullptr;
        return FindObject(L, narg, tag, &payload) != ObjectState::Other;
    }

    // __gc: never raises, safe twice and on values of any kind.
    static int Gc(lua_State* L)
    {
        if (auto* payload = static_cast<Payload*>(TakePayload(L, 1, tag))) {
            Traits::Release(*payload);
            delete payload;
        }
        return 0;
    }

    // The payload of the receiver of __tostring and Release.
    static Payload* Receiver(lua_State* L)
    {
        if constexpr (requires { Traits::Resolve(L, 1); })
            return Traits::Resolve(L, 1);
        else
            return Check(L, 1);
    }

    static int ToString(lua_State* L)
    {
        Payload* payload = Receiver(L);
        const void* identity = payload ? Traits::Identity(*payload) : nullptr;
        // The identity is read before the push, whose allocation may run a
        // finalizer that frees the payload.
        if (identity != nullptr) {
            lua_pushfstring(L, "%s(%p)", Traits::kWord, identity);
        } else {
            const char* word = "released";
            if constexpr (requires { Traits::kReleasedWord; })
                word = Traits::kReleasedWord;
            lua_pushfstring(L, "%s(%s)", Traits::kWord, word);
        }
        return 1;
    }

    static int ReleaseMethod(lua_State* L)
    {
        Payload* payload = Receiver(L);
        bool live = payload != nullptr && Traits::Identity(*payload) != nullptr;
        // Released again all the same: whatever a released object still
        // holds (a record of a borrowed drawbot) goes now.
        if (payload != nullptr)
            Traits::Release(*payload);
        if constexpr (requires { Traits::ReleaseReleased(L); }) {
            if (!live)
                Traits::ReleaseReleased(L);
        }
        return 0;
    }

    // The kind's metatable, made or completed: its own __index, with
    // `lifetime` (kLifetime or kCollected) and `methods`.
    static void RegisterMetatable(lua_State* L, const luaL_Reg* methods,
                                  const luaL_Reg* lifetime = kLifetime)
    {
        vyrlua::RegisterMetatable(L, Traits::kMetatable, lifetime);
        vyrlua::RegisterMetatable(L, Traits::kMetatable, methods);
    }

    static constexpr luaL_Reg kLifetime[] = {
        {"__gc", LuaBoundary<Gc>},
        {"__tostring", LuaBoundary<ToString>},
        {"Release", LuaBoundary<ReleaseMethod>},
        {nullptr, nullptr},
    };
    // For kinds a script does not release.
    static constexpr luaL_Reg kCollected[] = {
        {"__gc", LuaBoundary<Gc>},
        {"__tostring", LuaBoundary<ToString>},
        {nullptr, nullptr},
    };
};

// The payload of the kinds that hold one counted object (paths, pens,
// captures, ...): the object, null once released.
template <typename T>
struct Held {
    boost::intrusive_ptr<T> object;
};

// Their life cycle, for their traits.
template <typename T>
struct HeldKind {
    using Payload = Held<T>;
    static const void* Identity(Payload& held) { return held.object.get(); }
    static void Release(Payload& held) { held.object.reset(); }
};

} // namespace vyrlua::utility
