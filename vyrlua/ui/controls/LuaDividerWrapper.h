// The divider ("vyrDivider"): a separating line with the control-view
// methods and none of its own.
#pragma once

#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrui/controls/UI_Divider.h"

namespace vyrlua::ui {

class LuaDividerWrapper
    : public LuaWrapperClass<LuaDividerWrapper, vyrui::controls::UI_Divider, LuaControlViewWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrDivider";
    static constexpr const char* kConstructorName = "NewDivider";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
