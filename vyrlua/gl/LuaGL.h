// The "gl" module: fixed-function OpenGL 1.1 for scripts that draw into an
// OpenGL view. Each function calls the OpenGL function of the same name
// with the "gl" prefix removed; the module table also holds every OpenGL
// 1.1 constant without its "GL_" prefix, and "_VERSION".
#pragma once

#include "vyrlua/utility/LuaApi.h"

extern "C" int luaopen_vyrlua_gl(lua_State* L);

namespace vyrlua::gl {

// The module's metatable for native memory blocks (gl.NewData).
inline constexpr const char* kDataMetatable = "vyrlua.gl.Data";

} // namespace vyrlua::gl
