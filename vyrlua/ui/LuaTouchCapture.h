// Touch-capture objects for scripts (module "vyrlua.TouchCapture", metatable
// "vyrlua.TouchCapture", global "TouchCapture"): TouchCapture.New(touchID)
// makes one for a touch; once begun with UINodeManager.BeginTouchCapture it
// receives that touch's events until the touch ends or the capture is ended.
#pragma once

#include "vyrlua/ui/LuaBinder.h"
#include "vyrlua/utility/LuaKind.h"
#include "vyrui/ui/UI_InputCapture.h"

extern "C" int luaopen_vyrlua_TouchCapture(lua_State* L);

namespace vyrlua::ui {

inline constexpr const char* kTouchCaptureMetatable = "vyrlua.TouchCapture";

// Operation names besides "captureBegin", "captureEnd" and "captureCancel"
// (LuaInputCapture.h): a touch event handler receives (event, capture).
inline constexpr const char* kCaptureTouchEvent = "captureTouchEvent";

class LuaTouchCapture : public vyrui::ui::UI_TouchCapture, public LuaBinder {
public:
    explicit LuaTouchCapture(int touchID) : UI_TouchCapture(touchID) {}

    void OnCaptureBegin() override;
    bool OnCaptureTouchEvent(const vyrui::events::TouchEvent& event) override;
    void OnCaptureEnd(bool cancelled) override;
};

struct TouchCaptureKind : utility::HeldKind<LuaTouchCapture> {
    static constexpr const char* kMetatable = kTouchCaptureMetatable;
    static constexpr const char* kWord = "TouchCapture";
    static void MakeMetatable(lua_State* L);
};
using TouchCaptureObject = utility::LuaKind<TouchCaptureKind>;

int PushTouchCaptureToLua(lua_State* L, LuaTouchCapture* capture);
LuaTouchCapture* CheckTouchCapture(lua_State* L, int narg);

} // namespace vyrlua::ui
