// Shader objects (metatable "vyrlua.Shader", module Shader): gradients.
#pragma once

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/utility/LuaKind.h"

extern "C" int luaopen_vyrlua_drawbot_ShaderInterface(lua_State* L);

namespace vyrlua::drawbot {

struct ShaderKind : HeldKind<vyrui::drawbot::ShaderInterface> {
    static constexpr const char* kMetatable = "vyrlua.Shader";
    static constexpr const char* kWord = "ShaderInterface";
    static void MakeMetatable(lua_State* L);
};
using LuaShader = utility::LuaKind<ShaderKind>;

int OpenShaderModule(lua_State* L);
// The shader of the shader object at `narg` (checked), null once released.
vyrui::drawbot::ShaderInterface* CheckShader(lua_State* L, int narg);

} // namespace vyrlua::drawbot
