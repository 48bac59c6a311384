// Every wrapper class of the library, in the factory's order: a node gets
// the first class whose host class it is an instance of, so a subclass
// stands before its base; the plain node wrapper, which takes any node,
// stands last. The same list makes each class's metatable and the
// constructor table "vyrcontrols". Adding a control is adding its class
// here; the compiler refuses a class placed after one of its bases.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/controls/LuaCheckboxWrapper.h"
#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrlua/ui/controls/LuaDividerWrapper.h"
#include "vyrlua/ui/controls/LuaOS_OpenGLViewWrapper.h"
#include "vyrlua/ui/controls/LuaOS_WindowWrapper.h"
#include "vyrlua/ui/controls/LuaStaticTextWrapper.h"
#include "vyrlua/ui/controls/LuaUI_ButtonWrapper.h"
#include "vyrlua/ui/controls/LuaUI_SubViewWrapper.h"

#include <string_view>
#include <tuple>
#include <type_traits>

namespace vyrlua::ui {

namespace detail {

// Instantiated per pair, so a failure names both classes.
template <typename Earlier, typename Later>
constexpr bool StandsBefore()
{
    static_assert(!std::is_base_of_v<typename Earlier::HostClass, typename Later::HostClass>,
                  "wrapper class list: a class stands before a class whose host class derives "
                  "from its own (or is the same), so the factory would never choose the later one");
    return true;
}

template <typename First, typename... Rest>
constexpr bool InFactoryOrder()
{
    if constexpr (sizeof...(Rest) == 0)
        return true;
    else
        return (StandsBefore<First, Rest>() && ...) && InFactoryOrder<Rest...>();
}

template <typename Wrapper>
constexpr std::string_view ConstructorNameOf()
{
    if constexpr (requires { Wrapper::kConstructorName; })
        return Wrapper::kConstructorName;
    else
        return {};
}

template <typename... Wrappers>
constexpr bool ConstructorNamesDiffer()
{
    std::string_view names[] = {ConstructorNameOf<Wrappers>()...};
    for (size_t i = 0; i < sizeof...(Wrappers); ++i)
        for (size_t j = i + 1; j < sizeof...(Wrappers); ++j)
            if (!names[i].empty() && names[i] == names[j])
                return false;
    return true;
}

} // namespace detail

template <typename... Wrappers>
struct WrapperClassList {
    static constexpr size_t kCount = sizeof...(Wrappers);
    static_assert(detail::InFactoryOrder<Wrappers...>());
    static_assert(detail::ConstructorNamesDiffer<Wrappers...>(),
                  "wrapper class list: two classes name the same constructor");
    // The factory's answer when nothing else matches.
    static_assert(std::is_same_v<typename std::tuple_element_t<sizeof...(Wrappers) - 1,
                                                               std::tuple<Wrappers...>>::HostClass,
                                 vyrui::ui::UI_Node>,
                  "wrapper class list: the last class takes any node");
};

using AllWrapperClasses = WrapperClassList<
    LuaStaticTextWrapper,
    LuaDialogWrapper,
    LuaOS_OpenGLViewWrapper,
    LuaOS_WindowWrapper,
    LuaCheckboxWrapper,
    LuaUI_ButtonWrapper,
    LuaInteractiveControlViewWrapper,
    LuaDividerWrapper,
    LuaControlViewWrapper,
    LuaUI_SubViewWrapper,
    LuaUI_NodeWrapper>;

// Here rather than where the list is first used: a misordered list fails
// at this line.
static_assert(AllWrapperClasses::kCount > 0);

} // namespace vyrlua::ui
