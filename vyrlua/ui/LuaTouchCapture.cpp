#include "vyrlua/ui/LuaTouchCapture.h"

#include "vyrlua/ui/LuaInputCapture.h"

#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/PointerBlock.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaBoundary.h"

namespace vyrlua::ui {

void LuaTouchCapture::OnCaptureBegin()
{
    Dispatch(Find(kCaptureBegin), kCaptureBegin,
             [this](lua_State* L) { return PushTouchCaptureToLua(L, this); });
}

bool LuaTouchCapture::OnCaptureTouchEvent(const vyrui::events::TouchEvent& event)
{
    return Dispatch(Find(kCaptureTouchEvent), kCaptureTouchEvent, [&](lua_State* L) {
        return PushTouchEventToLua(L, event) + PushTouchCaptureToLua(L, this);
    });
}

void LuaTouchCapture::OnCaptureEnd(bool cancelled)
{
    const char* operation = cancelled ? kCaptureCancel : kCaptureEnd;
    Dispatch(Find(operation), operation,
             [this](lua_State* L) { return PushTouchCaptureToLua(L, this); });
}

int PushTouchCaptureToLua(lua_State* L, LuaTouchCapture* capture)
{
    return PushPointerBlock(L, capture, kTouchCaptureMetatable);
}

LuaTouchCapture* CheckTouchCapture(lua_State* L, int narg)
{
    return *CheckPointerBlock<LuaTouchCapture>(L, narg, kTouchCaptureMetatable);
}

namespace {

// (touchID) -> a capture for that touch, not yet begun.
int NewBody(lua_State* L)
{
    int touchID = utility::CheckInt(L, 1);
    return PushNewPointerBlock<LuaTouchCapture>(L, kTouchCaptureMetatable, touchID);
}

int GcBody(lua_State* L)
{
    return CollectPointerBlock<LuaTouchCapture>(L, kTouchCaptureMetatable);
}

int ToStringBody(lua_State* L)
{
    lua_pushfstring(L, "TouchCapture(%p)", static_cast<void*>(CheckTouchCapture(L, 1)));
    return 1;
}

int BindVyrOperationBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (!capture) {
        lua_pushboolean(L, false);
        return 1;
    }
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    lua_pushvalue(L, 3);
    capture->Bind(operation, utility::LuaReference<LUA_TFUNCTION>::Create(L));
    lua_pushboolean(L, true);
    return 1;
}

int GetInitialTouchEventBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (!capture || !capture->GetInitialTouchEvent())
        return 0;
    return PushTouchEventToLua(L, *capture->GetInitialTouchEvent());
}

int GetTouchIDBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (!capture)
        return 0;
    lua_pushinteger(L, capture->GetTouchID());
    return 1;
}

int IsCapturingBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    lua_pushboolean(L, capture && capture->IsCapturing());
    return 1;
}

const luaL_Reg kMethods[] = {
    {"__gc", utility::LuaBoundary<GcBody>},
    {"__tostring", utility::LuaBoundary<ToStringBody>},
    {"BindVyrOperation", utility::LuaBoundary<BindVyrOperationBody>},
    {"GetInitialTouchEvent", utility::LuaBoundary<GetInitialTouchEventBody>},
    {"GetTouchID", utility::LuaBoundary<GetTouchIDBody>},
    {"IsCapturing", utility::LuaBoundary<IsCapturingBody>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"New", utility::LuaBoundary<NewBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    OpenUIEvents(L);
    RegisterMetatable(L, kTouchCaptureMetatable, kMethods);
    luaL_register(L, "TouchCapture", kFunctions);
    for (const char* phase : {kCaptureBegin, kCaptureTouchEvent, kCaptureEnd, kCaptureCancel}) {
        lua_pushstring(L, phase);
        lua_setfield(L, -2, phase);
    }
    return 1;
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_TouchCapture(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
