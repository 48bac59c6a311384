// The wrapper of an OpenGL view (metatable "vyrOSOpenGLView"): the frame
// hooks by name, the host's own steps, running Lua with the view's context
// current, the view matrix and the last frame's scale to the screen. The
// metatable also holds the five operation names as string constants.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/LuaWrapperClass.h"
#include "vyrlua/ui/controls/LuaOS_OpenGLView.h"

namespace vyrlua::ui {

class LuaOS_OpenGLViewWrapper
    : public LuaWrapperClass<LuaOS_OpenGLViewWrapper, vyrui::ui::OS_OpenGLView, LuaUI_NodeWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrOSOpenGLView";
    static constexpr const char* kConstructorName = "NewOpenGLView";
    using ConstructedNode = LuaOS_OpenGLView;
    static const luaL_Reg methods[];
    static void PublishConstants(lua_State* L);
};

} // namespace vyrlua::ui
