#include "vyrlua/ui/LuaInputCapture.h"

#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/PointerBlock.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"

namespace vyrlua::ui {

void LuaInputCapture::OnCaptureBegin()
{
    Dispatch(Find(kCaptureBegin), kCaptureBegin,
             [this](lua_State* L) { return PushInputCaptureToLua(L, this); });
}

bool LuaInputCapture::OnCaptureMouseEvent(const vyrui::events::MouseEvent& event)
{
    return Dispatch(Find(kCaptureMouseEvent), kCaptureMouseEvent, [&](lua_State* L) {
        return PushMouseEventToLua(L, event) + PushInputCaptureToLua(L, this);
    });
}

bool LuaInputCapture::OnCaptureKeyboardEvent(const vyrui::events::KeyboardEvent& event)
{
    return Dispatch(Find(kCaptureKeyboardEvent), kCaptureKeyboardEvent, [&](lua_State* L) {
        return PushKeyboardEventToLua(L, event) + PushInputCaptureToLua(L, this);
    });
}

void LuaInputCapture::OnCaptureEnd(bool cancelled)
{
    const char* operation = cancelled ? kCaptureCancel : kCaptureEnd;
    Dispatch(Find(operation), operation,
             [this](lua_State* L) { return PushInputCaptureToLua(L, this); });
}

int PushInputCaptureToLua(lua_State* L, LuaInputCapture* capture)
{
    return PushPointerBlock(L, capture, kInputCaptureMetatable);
}

LuaInputCapture* CheckInputCapture(lua_State* L, int narg)
{
    return *CheckPointerBlock<LuaInputCapture>(L, narg, kInputCaptureMetatable);
}

namespace {

int NewBody(lua_State* L)
{
    return PushNewPointerBlock<LuaInputCapture>(L, kInputCaptureMetatable);
}

int GcBody(lua_State* L)
{
    return CollectPointerBlock<LuaInputCapture>(L, kInputCaptureMetatable);
}

int ToStringBody(lua_State* L)
{
    lua_pushfstring(L, "InputCapture(%p)", static_cast<void*>(CheckInputCapture(L, 1)));
    return 1;
}

int BindVyrOperationBody(lua_State* L)
{
    LuaInputCapture* capture = CheckInputCapture(L, 1);
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

int PushOptionalMouseEvent(lua_State* L, const std::optional<vyrui::events::MouseEvent>& event)
{
    return event ? PushMouseEventToLua(L, *event) : 0;
}

int GetInitialMouseEventBody(lua_State* L)
{
    LuaInputCapture* capture = CheckInputCapture(L, 1);
    return capture ? PushOptionalMouseEvent(L, capture->GetInitialMouseEvent()) : 0;
}

int GetPreviousMouseEventBody(lua_State* L)
{
    LuaInputCapture* capture = CheckInputCapture(L, 1);
    return capture ? PushOptionalMouseEvent(L, capture->GetPreviousMouseEvent()) : 0;
}

int IsCapturingBody(lua_State* L)
{
    LuaInputCapture* capture = CheckInputCapture(L, 1);
    lua_pushboolean(L, capture && capture->IsCapturing());
    return 1;
}

const luaL_Reg kMethods[] = {
    {"__gc", utility::LuaBoundary<GcBody>},
    {"__tostring", utility::LuaBoundary<ToStringBody>},
    {"BindVyrOperation", utility::LuaBoundary<BindVyrOperationBody>},
    {"GetInitialMouseEvent", utility::LuaBoundary<GetInitialMouseEventBody>},
    {"GetPreviousMouseEvent", utility::LuaBoundary<GetPreviousMouseEventBody>},
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
    RegisterMetatable(L, kInputCaptureMetatable, kMethods);
    luaL_register(L, "InputCapture", kFunctions);
    for (const char* phase : {kCaptureBegin, kCaptureMouseEvent, kCaptureKeyboardEvent,
                              kCaptureEnd, kCaptureCancel}) {
        lua_pushstring(L, phase);
        lua_setfield(L, -2, phase);
    }
    return 1;
}

} // namespace

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_InputCapture(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
