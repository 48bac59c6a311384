// Static text ("vyrStaticText"): a label that does not take presses, in
// one line (truncated) or several (wrapped).
#pragma once

#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrui/controls/UI_StaticText.h"

namespace vyrlua::ui {

class LuaStaticTextWrapper
    : public LuaWrapperClass<LuaStaticTextWrapper, vyrui::controls::UI_StaticText,
                             LuaControlViewWrapper, LuaTextControlBaseWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrStaticText";
    static constexpr const char* kConstructorName = "NewStaticText";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
