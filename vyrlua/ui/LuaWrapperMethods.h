// Wrapper methods as table lines. Most methods of the wrapper family fetch
// the node from argument 1, cast it to a host class, read their arguments,
// call one host operation and push its result; these templates are that
// shape, so a method is one line:
//
//   {"SetDownState", Method<UI_ControlView, &UI_ControlView::SetDownState, OptBool<false>>},
//   {"GetDownState", Method<UI_ControlView, &UI_ControlView::GetDownState>},
//
// The order is fixed and is what makes them safe:
//  1. self is resolved: not a wrapper raises "Bad user data"; an empty or
//     released wrapper gives no results and reads nothing;
//  2. the arguments are read into plain values (reading a table may run a
//     script's __index, which may release anything, self included);
//  3. self is checked again (the block still holding the same wrapper) and
//     cast to the host class ("Invalid type conversion." when the node is
//     not one), and the host is called with the node held, since the call
//     may run Lua handlers that drop it;
//  4. the result, copied into a plain value, is pushed after the node is let
//     go (pushing allocates, and may run a finalizer).
// No object with a destructor is alive across a Lua call that can raise.
//
// The operation is a member function of the host class or a free function
// taking it first (an adapter of a few lines where the host's shape differs
// from the method's). Bodies with real logic stay ordinary functions, and
// use SelfAs and the same order.
#pragma once

#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaSignatures.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrcore/string.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vyrlua::ui {

using vyrcore::geom::PointF;
using vyrcore::geom::RectF;
using vyrui::drawbot::ColorRGBA;

// The node of the wrapper at `index`, null for an empty or released
// wrapper; "Bad user data" for a value that is not a wrapper. Runs no Lua
// code: the pointer is good until the next Lua call that may run a script.
inline vyrui::ui::UI_Node* NodeAt(lua_State* L, int index)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, index);
    return wrapper ? wrapper->Node() : nullptr;
}

// `node` (not null) as `Host` (a node class or a mix-in of one): "Invalid
// type conversion." when the node is not a Host.
template <typename Host>
Host* NodeAs(vyrui::ui::UI_Node* node)
{
    if constexpr (std::is_same_v<Host, vyrui::ui::UI_Node>) {
        return node;
    } else {
        auto* host = dynamic_cast<Host*>(node);
        if (host == nullptr)
            ThrowInvalidTypeConversion();
        return host;
    }
}

// Self's node as `Host`: null without a node, else as NodeAs.
template <typename Host>
Host* SelfAs(lua_State* L, vyrui::ui::UI_Node** nodeOut = nullptr)
{
    vyrui::ui::UI_Node* node = NodeAt(L, 1);
    if (nodeOut)
        *nodeOut = node;
    return node == nullptr ? nullptr : NodeAs<Host>(node);
}

// The Lua name of a host value type, as the API reference shows it.
template <typename T>
struct LuaTypeName;
template <>
struct LuaTypeName<PointF> {
    static constexpr const char* value = "PointF32";
};
template <>
struct LuaTypeName<RectF> {
    static constexpr const char* value = "RectF32";
};
template <>
struct LuaTypeName<ColorRGBA> {
    static constexpr const char* value = "RGBA";
};
template <>
struct LuaTypeName<vyrcore::geom::MatrixF> {
    static constexpr const char* value = "MatrixF32";
};

// ---------------------------------------------------------------------------
// Argument traits: Read takes the Lua value into a plain (trivially
// destructible) value and may run script code; ToHost converts it for the
// host call and runs none. kLuaType names the Lua type for the API
// reference ("?" at the end: the argument may be left out).

struct Bool {
    using Raw = bool;
    static constexpr const char* kLuaType = "boolean";
    static bool Read(lua_State* L, int i) { return lua_toboolean(L, i) != 0; }
    static bool ToHost(lua_State*, bool v) { return v; }
};

// An optional boolean: absent means Default; present (nil too) reads Lua truth.
template <bool Default>
struct OptBool : Bool {
    static constexpr const char* kLuaType = "boolean?";
    static bool Read(lua_State* L, int i) { return lua_gettop(L) < i ? Default : lua_toboolean(L, i) != 0; }
};

struct Int {
    using Raw = int;
    static constexpr const char* kLuaType = "integer";
    static int Read(lua_State* L, int i) { return utility::CheckInt(L, i); }
    static int ToHost(lua_State*, int v) { return v; }
};

template <int Default>
struct OptInt : Int {
    static constexpr const char* kLuaType = "integer?";
    static int Read(lua_State* L, int i) { return utility::OptInt(L, i, Default); }
};

// Positions and counts passed to the host unchanged.
struct Integer {
    using Raw = lua_Integer;
    static constexpr const char* kLuaType = "integer";
    static lua_Integer Read(lua_State* L, int i) { return utility::CheckInteger(L, i); }
    static long long ToHost(lua_State*, lua_Integer v) { return static_cast<long long>(v); }
};

struct Float {
    using Raw = float;
    static constexpr const char* kLuaType = "number";
    static float Read(lua_State* L, int i) { return utility::ToFloat(utility::CheckNumber(L, i)); }
    static float ToHost(lua_State*, float v) { return v; }
};

struct Double {
    using Raw = double;
    static constexpr const char* kLuaType = "number";
    static double Read(lua_State* L, int i) { return utility::CheckNumber(L, i); }
    static double ToHost(lua_State*, double v) { return v; }
};

// A name given as a template argument: EnumArg<..., "kTextAlignment">.
template <size_t N>
struct ArgName {
    char text[N];
    constexpr ArgName(const char (&s)[N]) { std::copy_n(s, N, text); }
};

// An integer naming one of the Count values 0 .. Count - 1 of a host
// enumeration, else the argument error "invalid <Kind>" (as the drawing
// functions say it).
template <typename Enum, int Count, ArgName Kind>
struct EnumArg {
    using Raw = int;
    static constexpr const char* kLuaType = "integer";
    static int Read(lua_State* L, int i)
    {
        lua_Number v = utility::CheckNumber(L, i);
        if (!(v >= 0 && v < Count))
            utility::ThrowArgError(i, std::string("invalid ") + Kind.text);
        return static_cast<int>(v);
    }
    static Enum ToHost(lua_State*, int v) { return static_cast<Enum>(v); }
};

using TextAlignmentArg = EnumArg<vyrui::drawbot::TextAlignment, 3, "kTextAlignment">;
using TextTruncationArg = EnumArg<vyrui::drawbot::TextTruncation, 4, "kTextTruncation">;

// Strings: the view stays valid while the argument is on the stack.
struct Utf8 {
    using Raw = std::string_view;
    static constexpr const char* kLuaType = "string";
    static std::string_view Read(lua_State* L, int i) { return utility::CheckLString(L, i); }
    static std::string ToHost(lua_State*, std::string_view v) { return std::string(v); }
};

struct Utf16 : Utf8 {
    static std::u16string ToHost(lua_State*, std::string_view v) { return vyrcore::string::UTF8to16(v); }
};

// A value type read by field name (points, rectangles, colours, matrices),
// named in Lua by the constructor that makes it.
template <typename T, void (*Get)(lua_State*, int, T&)>
struct ValueArg {
    using Raw = T;
    static constexpr const char* kLuaType = LuaTypeName<T>::value;
    static T Read(lua_State* L, int i)
    {
        T v{};
        Get(L, i, v);
        return v;
    }
    static T ToHost(lua_State*, const T& v) { return v; }
};

using Point = ValueArg<PointF, drawbot::GetPointF32FromLua>;
using Rect = ValueArg<RectF, drawbot::GetRectF32FromLua>;
using Color = ValueArg<ColorRGBA, drawbot::GetColorRGBAFromLua>;
using Matrix = ValueArg<vyrcore::geom::MatrixF, drawbot::GetMatrixF32FromLua>;

// Another node: resolved at the call, like self ("Bad user data" if it is
// not a wrapper), and passed as a reference; no call without a node.
struct NodeArg {
    using Raw = int; // its stack index
    static constexpr const char* kLuaType = "vyrUINode";
    static int Read(lua_State* L, int i)
    {
        NodeAt(L, i); // fails early for a value that is not a wrapper
        return i;
    }
    static vyrui::ui::UI_Node* ToHost(lua_State* L, int i) { return NodeAt(L, i); }
};

// ---------------------------------------------------------------------------
// Result traits, by the host operation's return type: Store copies the
// result into a value that may outlive the node; Push pushes it.

template <typename T, typename = void>
struct Result;

template <>
struct Result<bool> {
    using Stored = bool;
    static constexpr const char* kLuaType = "boolean";
    static bool Store(bool v) { return v; }
    static int Push(lua_State* L, bool v)
    {
        lua_pushboolean(L, v);
        return 1;
    }
};

template <typename T>
struct Result<T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>>> {
    using Stored = lua_Integer;
    static constexpr const char* kLuaType = "integer";
    static lua_Integer Store(T v) { return static_cast<lua_Integer>(v); }
    static int Push(lua_State* L, lua_Integer v)
    {
        lua_pushinteger(L, v);
        return 1;
    }
};

template <typename T>
struct Result<T, std::enable_if_t<std::is_floating_point_v<T>>> {
    using Stored = lua_Number;
    static constexpr const char* kLuaType = "number";
    static lua_Number Store(T v) { return v; }
    static int Push(lua_State* L, lua_Number v)
    {
        lua_pushnumber(L, v);
        return 1;
    }
};

template <>
struct Result<std::string> {
    using Stored = std::string;
    static constexpr const char* kLuaType = "string";
    static std::string Store(const std::string& v) { return v; }
    // Protected: the string is alive while it is pushed.
    static int Push(lua_State* L, const std::string& v)
    {
        utility::PushLString(L, v);
        return 1;
    }
};

template <>
struct Result<std::u16string> : Result<std::string> {
    static std::string Store(const std::u16string& v) { return vyrcore::string::UTF16to8(v); }
};

// A value type pushed through its script-defined constructor.
template <typename T, int (*PushValue)(lua_State*, const T&)>
struct ValueResult {
    using Stored = T;
    static constexpr const char* kLuaType = LuaTypeName<T>::value;
    static T Store(const T& v) { return v; }
    static int Push(lua_State* L, const T& v) { return PushValue(L, v); }
};

template <>
struct Result<PointF> : ValueResult<PointF, drawbot::PushPointF32ToLua> {};
template <>
struct Result<RectF> : ValueResult<RectF, drawbot::PushRectF32ToLua> {};
template <>
struct Result<ColorRGBA> : ValueResult<ColorRGBA, drawbot::PushColorRGBAToLua> {};
template <>
struct Result<vyrcore::geom::MatrixF> : ValueResult<vyrcore::geom::MatrixF, drawbot::PushMatrixF32ToLua> {};

// A node result goes through the factory (which protects its own pushes).
template <typename T>
struct Result<T*, std::enable_if_t<std::is_base_of_v<vyrui::ui::UI_Node, T>>> {
    using Stored = NodePtr;
    static constexpr const char* kLuaType = "vyrUINode";
    static NodePtr Store(T* v) { return NodePtr(v); }
    static int Push(lua_State* L, const NodePtr& v) { return LuaControlWrapperFactory(v, L) ? 1 : 0; }
};

namespace detail {

template <typename F>
struct MemberTraits;
template <typename R, typename C, typename... A>
struct MemberTraits<R (C::*)(A...)> {
    using Return = R;
};
template <typename R, typename C, typename... A>
struct MemberTraits<R (C::*)(A...) const> {
    using Return = R;
};
template <typename R, typename... A>
struct MemberTraits<R (*)(A...)> {
    using Return = R;
};

template <typename Host, auto Fn, typename... Args>
struct MethodSignature;

template <auto Fn>
using ReturnOf = std::decay_t<typename MemberTraits<decltype(Fn)>::Return>;

// A member function of the host class, or a free function taking it first.
template <auto Fn, typename Host, typename... A>
decltype(auto) Invoke(Host* self, A&&... args)
{
    if constexpr (std::is_member_function_pointer_v<decltype(Fn)>)
        return (self->*Fn)(std::forward<A>(args)...);
    else
        return Fn(*self, std::forward<A>(args)...);
}

// Self resolved and cast: calls the host with the node held, and pushes
// the result once the node is let go.
template <typename Host, auto Fn, typename... Args, typename Raw, size_t... I>
int CallHost(lua_State* L, vyrui::ui::UI_Node* node, const Raw& raw, std::index_sequence<I...>)
{
    using R = ReturnOf<Fn>;
    Host* self = NodeAs<Host>(node);
    if constexpr (std::is_void_v<R>) {
        {
            NodePtr held(node);
            Invoke<Fn>(self, Args::ToHost(L, std::get<I>(raw))...);
        }
        return 0;
    } else {
        typename Result<R>::Stored value;
        {
            NodePtr held(node);
            value = Result<R>::Store(Invoke<Fn>(self, Args::ToHost(L, std::get<I>(raw))...));
        }
        return Result<R>::Push(L, value);
    }
}

template <typename Host, auto Fn, typename... Args, size_t... I>
int MethodBody(lua_State* L, std::index_sequence<I...> indices)
{
    (void)&MethodSignature<Host, Fn, Args...>::recorded; // instantiates the record
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (wrapper == nullptr || wrapper->Node() == nullptr)
        return 0;
    // Braced: read left to right.
    std::tuple<typename Args::Raw...> raw{Args::Read(L, static_cast<int>(I) + 2)...};
    if constexpr (sizeof...(Args) > 0) {
        // Reading may have run a script that released self. Only the library
        // changes what a block holds, and it empties the block before it
        // frees the wrapper: the block still holding this wrapper means the
        // wrapper is alive, and its node (or null, when released) is current.
        if (*utility::PointerBlockAt(L, 1) != wrapper)
            return 0;
    }
    vyrui::ui::UI_Node* node = wrapper->Node();
    if (node == nullptr)
        return 0;
    return CallHost<Host, Fn, Args...>(L, node, raw, indices);
}

template <typename Host, auto Fn, typename... Args>
int Method(lua_State* L)
{
    return MethodBody<Host, Fn, Args...>(L, std::index_sequence_for<Args...>{});
}

} // namespace detail

// The registered function: the method body behind the error boundary.
template <typename Host, auto Fn, typename... Args>
inline constexpr lua_CFunction Method = utility::LuaBoundary<detail::Method<Host, Fn, Args...>>;

namespace detail {

template <typename T>
constexpr const char* ResultLuaType()
{
    if constexpr (std::is_void_v<T>)
        return nullptr;
    else
        return Result<T>::kLuaType;
}

// Recorded before main, as the method's body is instantiated.
template <typename Host, auto Fn, typename... Args>
struct MethodSignature {
    static constexpr const char* kParams[] = {Args::kLuaType..., nullptr};
    static inline const bool recorded = utility::RecordLuaSignature(
        ui::Method<Host, Fn, Args...>, // the registered function, not the body
        {kParams, static_cast<int>(sizeof...(Args)),
         ResultLuaType<ReturnOf<Fn>>()});
};

} // namespace detail

} // namespace vyrlua::ui
