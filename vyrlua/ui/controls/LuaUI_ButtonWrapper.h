// The push button ("vyrButton"): its value, the look of its frame, and how
// it reacts to a press.
#pragma once

#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrui/controls/UI_Button.h"

namespace vyrlua::ui {

class LuaUI_ButtonWrapper
    : public LuaWrapperClass<LuaUI_ButtonWrapper, vyrui::controls::UI_Button,
                             LuaInteractiveControlViewWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrButton";
    static constexpr const char* kConstructorName = "NewButton";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
