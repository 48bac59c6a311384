#include "vyrlua/ui/LuaUINodeManager.h"

#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrlua/ui/LuaInputCapture.h"
#include "vyrlua/ui/LuaTouchCapture.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrui/ui/UI_NodeManager.h"

namespace vyrlua::ui {

namespace {

using vyrui::ui::UI_NodeManager;

UI_NodeManager* Manager()
{
    return UI_NodeManager::Get(false);
}

int PushBool(lua_State* L, bool value)
{
    lua_pushboolean(L, value);
    return 1;
}

int BeginInputCaptureBody(lua_State* L)
{
    LuaInputCapture* capture = CheckInputCapture(L, 1);
    if (capture && Manager())
        Manager()->BeginInputCapture(capture);
    return 0;
}

int EndInputCaptureBody(lua_State* L)
{
    if (Manager())
        Manager()->EndInputCapture(lua_toboolean(L, 1) != 0);
    return 0;
}

int HasInputCaptureBody(lua_State* L)
{
    return PushBool(L, Manager() && Manager()->HasInputCapture());
}

int BeginTouchCaptureBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (capture && Manager())
        Manager()->BeginTouchCapture(capture);
    return 0;
}

int EndTouchCaptureBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (capture && Manager())
        Manager()->EndTouchCapture(*capture, lua_toboolean(L, 2) != 0);
    return 0;
}

int HasTouchCaptureBody(lua_State* L)
{
    return PushBool(L, Manager() && Manager()->HasTouchCapture());
}

// Touch IDs arrive as numbers: rounded half away from zero.
int RoundedTouchID(lua_State* L, int narg)
{
    lua_Number n = utility::CheckNumber(L, narg);
    return n > 0 ? utility::ToInt(n + 0.5, narg) : utility::ToInt(n - 0.5, narg);
}

int GetTouchCaptureForIDBody(lua_State* L)
{
    int id = RoundedTouchID(L, 1);
    if (!Manager())
        return 0;
    boost::intrusive_ptr<vyrui::ui::UI_TouchCapture> capture = Manager()->GetTouchCaptureForID(id);
    // Only captures made by scripts have a Lua object.
    auto* scripted = dynamic_cast<LuaTouchCapture*>(capture.get());
    return scripted ? PushTouchCaptureToLua(L, scripted) : 0;
}

int HasModalWindowBody(lua_State* L)
{
    return PushBool(L, Manager() && Manager()->HasModalWindow());
}

int AddMouseEventFilterNodeBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (wrapper && wrapper->Node() && Manager())
        Manager()->AddMouseEventFilterNode(*wrapper->Node());
    return 0;
}

int RemoveMouseEventFilterNodeBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (wrapper && wrapper->Node() && Manager())
        Manager()->RemoveMouseEventFilterNode(*wrapper->Node());
    return 0;
}

int EnableToolTipsBody(lua_State* L)
{
    if (Manager())
        Manager()->GetToolTipManager()->SetTipsEnabled(lua_toboolean(L, 1) != 0);
    return 0;
}

const luaL_Reg kFunctions[] = {
    {"BeginInputCapture", utility::LuaBoundary<BeginInputCaptureBody>},
    {"EndInputCapture", utility::LuaBoundary<EndInputCaptureBody>},
    {"HasInputCapture", utility::LuaBoundary<HasInputCaptureBody>},
    {"BeginTouchCapture", utility::LuaBoundary<BeginTouchCaptureBody>},
    {"EndTouchCapture", utility::LuaBoundary<EndTouchCaptureBody>},
    {"HasTouchCapture", utility::LuaBoundary<HasTouchCaptureBody>},
    {"GetTouchCaptureForID", utility::LuaBoundary<GetTouchCaptureForIDBody>},
    {"HasModalWindow", utility::LuaBoundary<HasModalWindowBody>},
    {"AddMouseEventFilterNode", utility::LuaBoundary<AddMouseEventFilterNodeBody>},
    {"RemoveMouseEventFilterNode", utility::LuaBoundary<RemoveMouseEventFilterNodeBody>},
    {"EnableToolTips", utility::LuaBoundary<EnableToolTipsBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    OpenUIEvents(L);
    luaL_register(L, "UINodeManager", kFunctions);
    return 1;
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_UINodeManager(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
