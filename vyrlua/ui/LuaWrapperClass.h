// A wrapper class as a description: its metatable name, its Lua-side bases
// (whose methods its metatable also holds, registered first, in order), the
// host class the factory matches it to, and its method table.
//
//   class LuaCheckboxWrapper
//       : public LuaWrapperClass<LuaCheckboxWrapper, controls::UI_Checkbox,
//                                LuaInteractiveControlViewWrapper, LuaTextControlBaseWrapper> {
//   public:
//       using LuaWrapperClass::LuaWrapperClass;
//       static constexpr const char* kMetatableName = "vyrCheckbox";
//       static const luaL_Reg methods[];
//   };
//
// and one line in the class list (LuaWrapperClasses.h), in factory order.
// A class may also define `static void PublishConstants(lua_State*)`, run
// on its metatable after its methods. A mix-in (no metatable of its own)
// derives from LuaWrapperMixin instead.
#pragma once

#include "vyrlua/ui/LuaControlWrapperBase.h"

namespace vyrlua::ui {

template <typename Self, typename... Bases>
struct LuaWrapperMethodsOf {
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
class LuaWrapperClass : public LuaControlWrapperBase, public LuaWrapperMethodsOf<Self, Bases...> {
public:
    using HostClass = Host;

    LuaWrapperClass(const NodePtr& node, lua_State* L) : LuaControlWrapperBase(node, L) {}

    static const char* GetMetatableName() { return Self::kMetatableName; }
};

// A method set mixed into wrapper classes as a second base; it has no
// metatable and no wrapper objects of its own.
template <typename Self, typename... Bases>
struct LuaWrapperMixin : LuaWrapperMethodsOf<Self, Bases...> {};

} // namespace vyrlua::ui
