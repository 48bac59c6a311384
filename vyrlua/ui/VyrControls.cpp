#include "vyrlua/ui/VyrControls.h"

#include "vyrlua/ui/controls/LuaSubView.h"
#include "vyrui/controls/UI_Button.h"
#include "vyrui/controls/UI_Checkbox.h"
#include "vyrui/controls/UI_StaticText.h"

#include "vyrlua/ui/InteractiveChangeMessage.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/controls/LuaOS_OpenGLViewWrapper.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrcore/string.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/OS_Window.h"

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

// Pushes the new node's wrapper (the factory protects its own pushes).
int PushNew(lua_State* L, const NodePtr& node)
{
    return LuaControlWrapperFactory(node, L) ? 1 : 0;
}

template <typename Node>
boost::intrusive_ptr<Node> Make(const NodeArgs& args)
{
    return boost::intrusive_ptr<Node>(new Node(std::string(args.id), args.rect));
}

// NewNode([id], [rect]) -> a plain node, not in any tree.
int NewNodeBody(lua_State* L)
{
    NodeArgs args = ReadNodeArgs(L);
    return PushNew(L, Make<vyrui::ui::UI_Node>(args));
}

// NewWindow / NewDialog([id], [rect], [title]) -> a top-level window or a
// dialog; the rectangle is its place on the screen (a dialog at 0, 0 opens
// centred on its owner).
template <typename Window>
int NewWindowBody(lua_State* L)
{
    NodeArgs args = ReadNodeArgs(L);
    auto window = Make<Window>(args);
    window->SetTitle(vyrcore::string::UTF8to16(args.text));
    return PushNew(L, window);
}

// NewSubView([id], [rect]) -> a view the script draws (LuaSubView).
int NewSubViewBody(lua_State* L)
{
    return PushNew(L, Make<LuaSubView>(ReadNodeArgs(L)));
}

// NewButton / NewCheckbox / NewStaticText([id], [rect], [text]): the text
// is the button's title, the check box's label, the static text's string.
template <typename Control>
int NewControlBody(lua_State* L)
{
    NodeArgs args = ReadNodeArgs(L);
    return PushNew(L, boost::intrusive_ptr<Control>(new Control(
                          std::string(args.id), args.rect, vyrcore::string::UTF8to16(args.text))));
}

// The constructor table.
const luaL_Reg kConstructors[] = {
    {"NewNode", utility::LuaBoundary<NewNodeBody>},
    {"NewWindow", utility::LuaBoundary<NewWindowBody<vyrui::ui::OS_Window>>},
    {"NewDialog", utility::LuaBoundary<NewWindowBody<vyrui::ui::UI_Dialog>>},
    {"NewSubView", utility::LuaBoundary<NewSubViewBody>},
    {"NewButton", utility::LuaBoundary<NewControlBody<vyrui::controls::UI_Button>>},
    {"NewCheckbox", utility::LuaBoundary<NewControlBody<vyrui::controls::UI_Checkbox>>},
    {"NewStaticText", utility::LuaBoundary<NewControlBody<vyrui::controls::UI_StaticText>>},
    {"NewOpenGLView", utility::LuaBoundary<NewOpenGLViewBody>},
    {nullptr, nullptr},
};

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
    luaL_register(L, "vyrcontrols", kConstructors);
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
