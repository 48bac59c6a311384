// A wrapper class as a description: its metatable name, its Lua-side bases
// (whose methods its metatable also holds, registered first, in order), the
// host class the factory matches it to, its method table and, when scripts
// make its nodes, its constructor in "vyrcontrols".
//
//   class LuaCheckboxWrapper
//       : public LuaWrapperClass<LuaCheckboxWrapper, controls::UI_Checkbox,
//                                LuaInteractiveControlViewWrapper, LuaTextControlBaseWrapper> {
//   public:
//       using LuaWrapperClass::LuaWrapperClass;
//       static constexpr const char* kMetatableName = "vyrCheckbox";
//       static constexpr const char* kConstructorName = "NewCheckbox";
//       static const luaL_Reg methods[];
//   };
//
// and one line in the class list (LuaWrapperClasses.h), in factory order.
// The constructor makes the host class from an ID, a rectangle and a text
// (or an ID and a rectangle, when the class takes no text); a class whose
// scripts get a subclass names it `using ConstructedNode = ...;`.
// A class may also define `static void PublishConstants(lua_State*)`, run
// on its metatable after its methods. A mix-in (no metatable of its own)
// derives from LuaWrapperMixin instead.
//
// What the compiler checks: each Lua-side base's host class is a base of
// the class's own (its methods cast the node to it), and, in the list, no
// class stands before one whose host class derives from its own.
#pragma once

#include "vyrlua/ui/LuaControlWrapperBase.h"

#include <type_traits>

namespace vyrlua::ui {

namespace detail {

// Instantiated per base, so a failure names the pair.
template <typename Base, typename Host>
constexpr bool LuaBaseHostIsABaseOf()
{
    static_assert(std::is_base_of_v<typename Base::HostClass, Host>,
                  "wrapper description: a Lua-side base's host class is not a base of this "
                  "class's host class, so its methods would refuse every node of this class");
    return true;
}

} // namespace detail

template <typename Self, typename Host, typename... Bases>
struct LuaWrapperMethodsOf {
    static_assert((detail::LuaBaseHostIsABaseOf<Bases, Host>() && ...));

    using HostClass = Host;

    // Each base's methods, in order, then the class's own: a name registered
    // later overwrites the same name from a base.
    static void RegisterMethods(lua_State* L)
    {
        (Bases::RegisterMethods(L), ...);
        luaL_register(L, nullptr, Self::methods);
        if constexpr (requires { Self::PublishConstants(L); })
            Self::PublishConstants(L);
    }
};

template <typename Self, typename Host, typename... Bases>
class LuaWrapperClass : public LuaControlWrapperBase, public LuaWrapperMethodsOf<Self, Host, Bases...> {
public:
    LuaWrapperClass(const NodePtr& node, lua_State* L) : LuaControlWrapperBase(node, L) {}

    static const char* GetMetatableName() { return Self::kMetatableName; }
};

// A method set mixed into wrapper classes as a second base, for the host
// mix-in class `Host`; it has no metatable and no wrapper objects of its own.
template <typename Self, typename Host, typename... Bases>
struct LuaWrapperMixin : LuaWrapperMethodsOf<Self, Host, Bases...> {};

} // namespace vyrlua::ui
