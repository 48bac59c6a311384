// The control base wrappers: "vyrControlView" (enabling, value unknown,
// pressed state, focus drawing, value-change callbacks),
// "vyrInteractiveControlView" (callbacks for the phases of a drag), and the
// text-label mix-in of text-bearing controls.
#pragma once

#include "vyrlua/ui/controls/LuaUI_SubViewWrapper.h"
#include "vyrui/controls/UI_InteractiveControlView.h"
#include "vyrui/controls/UI_TextControlBase.h"

namespace vyrlua::ui {

class LuaControlViewWrapper
    : public LuaWrapperClass<LuaControlViewWrapper, vyrui::controls::UI_ControlView,
                             LuaUI_SubViewWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrControlView";
    static const luaL_Reg methods[];
};

class LuaInteractiveControlViewWrapper
    : public LuaWrapperClass<LuaInteractiveControlViewWrapper,
                             vyrui::controls::UI_InteractiveControlView, LuaControlViewWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrInteractiveControlView";
    static const luaL_Reg methods[];
};

struct LuaTextControlBaseWrapper
    : LuaWrapperMixin<LuaTextControlBaseWrapper, vyrui::controls::UI_TextControlBase> {
    static const luaL_Reg methods[];
};

// Drops every Lua function attached to the control's value changes (what a
// control's tear-down does; ClearNotifications from Lua).
void ClearControlNotifications(vyrui::ui::UI_Node& control);

} // namespace vyrlua::ui
