// The wrapper of an OpenGL view (metatable "vyrOSOpenGLView"): the frame
// hooks by name, the host's own steps, running Lua with the view's context
// current, the view matrix and the last frame's scale to the screen. The
// metatable also holds the five operation names as string constants.
#pragma once

#include "vyrlua/ui/LuaUI_NodeWrapper.h"
#include "vyrlua/ui/LuaWrapperClass.h"
#include "vyrui/ui/OS_OpenGLView.h"

namespace vyrlua::ui {

class LuaOS_OpenGLViewWrapper
    : public LuaWrapperClass<LuaOS_OpenGLViewWrapper, vyrui::ui::OS_OpenGLView, LuaUI_NodeWrapper> {
public:
    using LuaWrapperClass::LuaWrapperClass;
    static constexpr const char* kMetatableName = "vyrOSOpenGLView";
    static const luaL_Reg methods[];
    static void PublishConstants(lua_State* L);
};

// vyrcontrols.NewOpenGLView([id], [rect]) -> a new OpenGL view, in no tree.
int NewOpenGLViewBody(lua_State* L);

} // namespace vyrlua::ui
