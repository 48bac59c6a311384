// Every wrapper class of the library, in the factory's order: a node gets
// the first class whose host class it is an instance of, so a subclass
// stands before its base; the plain node wrapper, which takes any node,
// stands last. The same list makes each class's metatable. Adding a
// control is adding its class here.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/controls/LuaCheckboxWrapper.h"
#include "vyrlua/ui/controls/LuaControlViewWrapper.h"
#include "vyrlua/ui/controls/LuaOS_OpenGLViewWrapper.h"
#include "vyrlua/ui/controls/LuaOS_WindowWrapper.h"
#include "vyrlua/ui/controls/LuaStaticTextWrapper.h"
#include "vyrlua/ui/controls/LuaUI_ButtonWrapper.h"
#include "vyrlua/ui/controls/LuaUI_SubViewWrapper.h"

namespace vyrlua::ui {

template <typename... Wrappers>
struct WrapperClassList {
    static constexpr size_t kCount = sizeof...(Wrappers);
};

using AllWrapperClasses = WrapperClassList<
    LuaStaticTextWrapper,
    LuaDialogWrapper,
    LuaOS_OpenGLViewWrapper,
    LuaOS_WindowWrapper,
    LuaCheckboxWrapper,
    LuaUI_ButtonWrapper,
    LuaInteractiveControlViewWrapper,
    LuaControlViewWrapper,
    LuaUI_SubViewWrapper,
    LuaUI_NodeWrapper>;

} // namespace vyrlua::ui
