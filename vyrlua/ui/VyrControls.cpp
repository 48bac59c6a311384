#include "vyrlua/ui/VyrControls.h"

#include "vyrlua/ui/InteractiveChangeMessage.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrcore/string.h"
#include "vyrui/ui/OS_Window.h"

namespace vyrlua::ui {

namespace {

// Optional (id, rect) at `index` and `index + 1`: nil or absent for none.
std::string OptionalID(lua_State* L, int index)
{
    return std::string(utility::OptLString(L, index, {}));
}

vyrcore::geom::RectF OptionalRect(lua_State* L, int index)
{
    vyrcore::geom::RectF rect;
    if (!lua_isnoneornil(L, index))
        drawbot::GetRectF32FromLua(L, index, rect);
    return rect;
}

// NewNode([id], [rect]) -> a plain node, not in any tree.
int NewNodeBody(lua_State* L)
{
    std::string id = OptionalID(L, 1);
    vyrcore::geom::RectF rect = OptionalRect(L, 2);
    NodePtr node(new vyrui::ui::UI_Node(std::move(id), rect));
    return LuaControlWrapperFactory(node, L) ? 1 : 0;
}

// NewWindow([id], [rect], [title]) -> a top-level window; the rectangle is
// its place on the screen.
int NewWindowBody(lua_State* L)
{
    std::string id = OptionalID(L, 1);
    vyrcore::geom::RectF rect = OptionalRect(L, 2);
    std::u16string title = vyrcore::string::UTF8to16(utility::OptLString(L, 3, {}));
    boost::intrusive_ptr<vyrui::ui::OS_Window> window(new vyrui::ui::OS_Window(std::move(id), rect));
    window->SetTitle(std::move(title));
    return LuaControlWrapperFactory(window, L) ? 1 : 0;
}

// The constructor table; the controls add theirs here.
const luaL_Reg kConstructors[] = {
    {"NewNode", utility::LuaBoundary<NewNodeBody>},
    {"NewWindow", utility::LuaBoundary<NewWindowBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    CreateControlMetatables(L);
    CreateInteractiveChangeMessageMetatable(L);
    OpenUIEvents(L);
    luaL_register(L, "vyrcontrols", kConstructors);
    return 1;
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_vyrcontrols(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
