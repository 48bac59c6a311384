// Shader objects (metatable "vyrlua.Shader", module Shader): gradients.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

extern "C" int luaopen_vyrlua_drawbot_ShaderInterface(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kShaderMetatable = "vyrlua.Shader";

struct ShaderObject {
    vyrui::drawbot::ShaderInterface* shader; // one use count; null once released
};

void RegisterShaderMetatable(lua_State* L);
int OpenShaderModule(lua_State* L);
// The shader of the shader object at `narg` (checked), null once released.
vyrui::drawbot::ShaderInterface* CheckShader(lua_State* L, int narg);

} // namespace vyrlua::drawbot
