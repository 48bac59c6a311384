#include "vyrlua/ui/controls/LuaTestingSupport.h"

#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrui/controls/UI_InteractiveControlView.h"
#include "vyrui/controls/UI_TestingSupport.h"

namespace vyrlua::ui {

using namespace vyrui::controls;

namespace {

// The three drag steps do nothing for a control that is not interactive.
template <void (*Step)(UI_InteractiveControlView&)>
void IfInteractive(vyrui::ui::UI_Node& control)
{
    if (auto* interactive = dynamic_cast<UI_InteractiveControlView*>(&control))
        Step(*interactive);
}

void Begin(UI_InteractiveControlView& control)
{
    control.BeginInteractiveChange();
}

void Finish(UI_InteractiveControlView& control)
{
    control.FinishInteractiveChange();
}

// The flags are read only for an interactive control (another does
// nothing, whatever it is passed): truncated to an integer, low 8 bits kept.
int ContinueBody(lua_State* L)
{
    if (!dynamic_cast<UI_InteractiveControlView*>(NodeAt(L, 1)))
        return 0;
    lua_Number flags = utility::CheckNumber(L, 2);
    auto* control = dynamic_cast<UI_InteractiveControlView*>(NodeAt(L, 1));
    if (!control)
        return 0;
    uint8_t low = flags > -9.2e18 && flags < 9.2e18
                      ? static_cast<uint8_t>(static_cast<long long>(flags) & 0xff)
                      : 0;
    NodePtr held(control);
    UI_TestingSupport::SimulateContinueInteractiveChange(*control, low);
    return 0;
}

const luaL_Reg kFunctions[] = {
    {"SendControlValueChangeMessage",
     Method<UI_ControlView, &UI_TestingSupport::SendControlValueChangeMessage>},
    {"SimulateBeginInteractiveChange", Method<vyrui::ui::UI_Node, IfInteractive<Begin>>},
    {"SimulateContinueInteractiveChange", utility::LuaBoundary<ContinueBody>},
    {"SimulateFinishInteractiveChange", Method<vyrui::ui::UI_Node, IfInteractive<Finish>>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    luaL_register(L, "luaTestingSupport", kFunctions);
    return 1;
}

} // namespace

int LuaTestingSupport::InitLua(lua_State* L)
{
    return utility::LuaBoundary<OpenBody>(L);
}

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_luaTestingSupport(lua_State* L)
{
    return vyrlua::ui::LuaTestingSupport::InitLua(L);
}
