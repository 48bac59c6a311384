// The check box ("vyrCheckbox"): checked or not, with a label.
#pragma once

#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrui/controls/UI_Checkbox.h"

namespace vyrlua::ui {

class LuaCheckboxWrapper
    : public LuaWrapperClass<LuaCheckboxWrapper, vyrui::controls::UI_Checkbox,
                             LuaInteractiveControlViewWrapper, LuaTextControlBaseWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrCheckbox";
    static constexpr const char* kConstructorName = "NewCheckbox";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
