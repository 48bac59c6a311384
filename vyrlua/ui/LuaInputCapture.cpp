#include "vyrlua/ui/LuaInputCapture.h"

#include "vyrlua/ui/LuaUIEvents.h"
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
    auto* payload = InputCaptureObject::Push(L);
    payload->object = capture;
    return 1;
}

LuaInputCapture* CheckInputCapture(lua_State* L, int narg)
{
    utility::Held<LuaInputCapture>* held = InputCaptureObject::Check(L, narg);
    return held ? held->object.get() : nullptr;
}

namespace {

int NewBody(lua_State* L)
{
    // The block first: the right side of an assignment runs before the left.
    auto* payload = InputCaptureObject::Push(L);
    payload->object = new LuaInputCapture();
    return 1;
}

int BindVyrOperationBody(lua_State* L)
{
    // A capture emptied before the call binds nothing.
    if (!CheckInputCapture(L, 1)) {
        lua_pushboolean(L, false);
        return 1;
    }
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    lua_pushvalue(L, 3);
    // The reference first (making it may run script code), then the capture.
    auto function = utility::LuaReference<LUA_TFUNCTION>::Create(L);
    LuaInputCapture* capture = CheckInputCapture(L, 1);
    if (capture)
        capture->Bind(operation, std::move(function));
    lua_pushboolean(L, capture != nullptr);
    return 1;
}

// By value: the event object's allocation may run a finalizer that frees
// the capture.
int PushOptionalMouseEvent(lua_State* L, std::optional<vyrui::events::MouseEvent> event)
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
    InputCaptureKind::MakeMetatable(L);
    luaL_register(L, "InputCapture", kFunctions);
    for (const char* phase : {kCaptureBegin, kCaptureMouseEvent, kCaptureKeyboardEvent,
                              kCaptureEnd, kCaptureCancel}) {
        lua_pushstring(L, phase);
        lua_setfield(L, -2, phase);
    }
    return 1;
}

} // namespace

void InputCaptureKind::MakeMetatable(lua_State* L)
{
    InputCaptureObject::RegisterMetatable(L, kMethods, InputCaptureObject::kCollected);
}

} // namespace vyrlua::ui

extern "C" int luaopen_vyrlua_InputCapture(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::ui::OpenBody>(L);
}
