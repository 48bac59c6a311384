#include "vyrlua/ui/LuaTouchCapture.h"

#include "vyrlua/ui/LuaInputCapture.h"

#include "vyrlua/ui/LuaUIEvents.h"
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
    auto* payload = TouchCaptureObject::Push(L);
    payload->object = capture;
    return 1;
}

LuaTouchCapture* CheckTouchCapture(lua_State* L, int narg)
{
    utility::Held<LuaTouchCapture>* held = TouchCaptureObject::Check(L, narg);
    return held ? held->object.get() : nullptr;
}

namespace {

// (touchID) -> a capture for that touch, not yet begun.
int NewBody(lua_State* L)
{
    int touchID = utility::CheckInt(L, 1);
    // The block first: the right side of an assignment runs before the left.
    auto* payload = TouchCaptureObject::Push(L);
    payload->object = new LuaTouchCapture(touchID);
    return 1;
}

int BindVyrOperationBody(lua_State* L)
{
    // A capture emptied before the call binds nothing.
    if (!CheckTouchCapture(L, 1)) {
        lua_pushboolean(L, false);
        return 1;
    }
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    lua_pushvalue(L, 3);
    // The reference first (making it may run script code), then the capture.
    auto function = utility::LuaReference<LUA_TFUNCTION>::Create(L);
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    if (capture)
        capture->Bind(operation, std::move(function));
    lua_pushboolean(L, capture != nullptr);
    return 1;
}

int GetInitialTouchEventBody(lua_State* L)
{
    LuaTouchCapture* capture = CheckTouchCapture(L, 1);
    // A copy: the event object's allocation may run a finalizer that frees
    // the capture.
    std::optional<vyrui::events::TouchEvent> event;
    if (capture)
        event = capture->GetInitialTouchEvent();
    return event ? PushTouchEventToLua(L, *event) : 0;
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
    TouchCaptureKind::MakeMetatable(L);
    luaL_register(L, "TouchCapture", kFunctions);
    for (const char* phase : {kCaptureBegin, kCaptureTouchEvent, kCaptureEnd, kCaptureCancel}) {
        lua_pushstring(L, phase);
        lua_setfield(L, -2, phase);
    }
    return 1;
}

} // namespace

void TouchCaptureKind::MakeMetatable(lua_State* L)
{
    TouchCaptureObject::RegisterMetatable(L, kMethods, TouchCaptureObject::kCollected);
}

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_TouchCapture(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
