// Input-capture objects for scripts (module "vyrlua.InputCapture", metatable
// "vyrlua.InputCapture", global "InputCapture"). A script makes one with
// InputCapture.New(), binds handlers to the phase names with
// BindVyrOperation and starts it with UINodeManager.BeginInputCapture; the
// node manager then routes every mouse and keyboard event to it.
#pragma once

#include "vyrlua/ui/LuaBinder.h"
#include "vyrlua/utility/LuaKind.h"
#include "vyrui/ui/UI_InputCapture.h"

extern "C" int luaopen_vyrlua_InputCapture(lua_State* L);

namespace vyrlua::ui {

inline constexpr const char* kInputCaptureMetatable = "vyrlua.InputCapture";

// Operation names, also the string constants of the module table. Begin,
// end and cancel handlers receive (capture); event handlers (event,
// capture) and answer whether they handled it.
inline constexpr const char* kCaptureBegin = "captureBegin";
inline constexpr const char* kCaptureMouseEvent = "captureMouseEvent";
inline constexpr const char* kCaptureKeyboardEvent = "captureKeyboardEvent";
inline constexpr const char* kCaptureEnd = "captureEnd";
inline constexpr const char* kCaptureCancel = "captureCancel";

class LuaInputCapture : public vyrui::ui::UI_InputCapture, public LuaBinder {
public:
    void OnCaptureBegin() override;
    bool OnCaptureMouseEvent(const vyrui::events::MouseEvent& event) override;
    bool OnCaptureKeyboardEvent(const vyrui::events::KeyboardEvent& event) override;
    void OnCaptureEnd(bool cancelled) override;
};

struct InputCaptureKind : utility::HeldKind<LuaInputCapture> {
    static constexpr const char* kMetatable = kInputCaptureMetatable;
    static constexpr const char* kWord = "InputCapture";
    static void MakeMetatable(lua_State* L);
};
using InputCaptureObject = utility::LuaKind<InputCaptureKind>;

// Pushes an object that holds one use count on `capture`; returns 1.
int PushInputCaptureToLua(lua_State* L, LuaInputCapture* capture);
// The capture of an input-capture object (standard argument error for any
// other value); null for an emptied object.
LuaInputCapture* CheckInputCapture(lua_State* L, int narg);

} // namespace vyrlua::ui
