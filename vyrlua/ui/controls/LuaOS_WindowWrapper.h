// The wrappers of top-level windows (metatable "vyrOS_Window") and of
// dialogs (metatable "vyrLuaDialog", which also holds the window's
// methods): a window's frame on the screen, its scale, its owner and
// activation; a dialog's modal run, its answer buttons and its result.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/LuaWrapperClass.h"
#include "vyrui/ui/OS_Window.h"

namespace vyrlua::ui {

class LuaOS_WindowWrapper
    : public LuaWrapperClass<LuaOS_WindowWrapper, vyrui::ui::OS_Window, LuaUI_NodeWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrOS_Window";
    static constexpr const char* kConstructorName = "NewWindow";
    static const luaL_Reg methods[];
};

class LuaDialogWrapper
    : public LuaWrapperClass<LuaDialogWrapper, vyrui::ui::UI_Dialog, LuaOS_WindowWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrLuaDialog";
    static constexpr const char* kConstructorName = "NewDialog";
    static const luaL_Reg methods[];
};

} // namespace vyrlua::ui
