#include "vyrlua/ui/VyrControls.h"

#include "vyrlua/ui/InteractiveChangeMessage.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/controls/LuaWrapperClasses.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrcore/string.h"
#include "vyrui/theme/ThemeSlots.h"

#include <array>
#include <type_traits>

namespace vyrlua::ui {

namespace {

// The arguments every constructor takes, read before anything is made (a
// rectangle's __index may run a script): an optional node ID, an optional
// rectangle, and an optional text (a window's title, a control's label).
struct NodeArgs {
    std::string_view id;
    vyrcore::geom::RectF rect;
    std::string_view text;
};

NodeArgs ReadNodeArgs(lua_State* L)
{
    NodeArgs args;
    args.id = utility::OptLString(L, 1, {});
    if (!lua_isnoneornil(L, 2))
        drawbot::GetRectF32FromLua(L, 2, args.rect);
    args.text = utility::OptLString(L, 3, {});
    return args;
}

template <typename Wrapper>
struct Constructed {
    using type = typename Wrapper::HostClass;
};
template <typename Wrapper>
    requires requires { typename Wrapper::ConstructedNode; }
struct Constructed<Wrapper> {
    using type = typename Wrapper::ConstructedNode;
};

// vyrcontrols.New...([id], [rect], [text]) -> a new node of the class, in
// no tree. The text is what the class's constructor takes as its third
// argument (a window's title, a button's title, a label); a class that
// takes none ignores it.
template <typename Wrapper>
int NewBody(lua_State* L)
{
    using Node = typename Constructed<Wrapper>::type;
    NodeArgs args = ReadNodeArgs(L);
    NodePtr node;
    if constexpr (std::is_constructible_v<Node, std::string, vyrcore::geom::RectF, std::u16string>)
        node = new Node(std::string(args.id), args.rect, vyrcore::string::UTF8to16(args.text));
    else
        node = new Node(std::string(args.id), args.rect);
    // The factory protects its own pushes.
    return LuaControlWrapperFactory(node, L) ? 1 : 0;
}

// The constructor table: one entry per class of the list that names a
// constructor.
template <typename... Wrappers>
consteval auto ConstructorTable(WrapperClassList<Wrappers...>)
{
    std::array<luaL_Reg, (size_t{1} + ... + size_t{requires { Wrappers::kConstructorName; }})> table{};
    size_t n = 0;
    auto add = [&]<typename Wrapper>() {
        if constexpr (requires { Wrapper::kConstructorName; })
            table[n++] = {Wrapper::kConstructorName, utility::LuaBoundary<NewBody<Wrapper>>};
    };
    (add.template operator()<Wrappers>(), ...);
    table[n] = {nullptr, nullptr};
    return table;
}

constexpr auto kConstructors = ConstructorTable(AllWrapperClasses{});

// The theme's colour slots, for node:SetCustomThemeColor(slot, colour).
constexpr std::pair<const char*, int> kThemeColorSlots[] = {
    {"kThemeColor_WindowBackground", vyrui::ui::kThemeColor_WindowBackground},
    {"kThemeColor_Text", vyrui::ui::kThemeColor_Text},
    {"kThemeColor_ControlFill", vyrui::ui::kThemeColor_ControlFill},
    {"kThemeColor_ControlBorder", vyrui::ui::kThemeColor_ControlBorder},
    {"kThemeColor_Accent", vyrui::ui::kThemeColor_Accent},
    {"kThemeColor_AccentText", vyrui::ui::kThemeColor_AccentText},
    {"kThemeColor_FocusRing", vyrui::ui::kThemeColor_FocusRing},
    {"kThemeColor_InnerBevel", vyrui::ui::kThemeColor_InnerBevel},
    {"kThemeColor_Warning", vyrui::ui::kThemeColor_Warning},
    {"kThemeColor_Error", vyrui::ui::kThemeColor_Error},
    {"kThemeColor_ApplicationDomainStart", vyrui::ui::kThemeColor_ApplicationDomainStart},
};

int OpenBody(lua_State* L)
{
    CreateControlMetatables(L);
    CreateInteractiveChangeMessageMetatable(L);
    OpenUIEvents(L);
    luaL_register(L, "vyrcontrols", kConstructors.data());
    for (const auto& [name, slot] : kThemeColorSlots)
        vyrlua::SetIntegerField(L, name, slot);
    return 1;
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_vyrcontrols(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
