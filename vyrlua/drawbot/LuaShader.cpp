// "vyrlua.drawbot.ShaderInterface": linear and radial two-colour gradients.
#include "vyrlua/drawbot/LuaShader.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/utility/LuaValueTypes.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

struct GradientArgs {
    PointF point1, point2;
    ColorRGBA color1, color2;
};

// Points and colours first (their reading may run script code), then the
// new object's block, then the drawbot it is made from.
int NewShader(lua_State* L, bool radial)
{
    GradientArgs a;
    GetPointF32FromLua(L, 2, a.point1);
    GetPointF32FromLua(L, 3, a.point2);
    GetColorRGBAFromLua(L, 4, a.color1);
    GetColorRGBAFromLua(L, 5, a.color2);
    Held<ShaderInterface>* shader = LuaShader::Push(L);
    Drawbot* drawbot = CheckDrawbot(L, 1);
    if (drawbot == nullptr) {
        lua_pop(L, 1);
        return 0;
    }
    SupplierInterface& supplier = *drawbot->GetSupplier();
    shader->object = radial ? supplier.NewRadialShader(a.point1, a.point2, a.color1, a.color2)
                            : supplier.NewLinearShader(a.point1, a.point2, a.color1, a.color2);
    return 1;
}

int NewLinearShaderBody(lua_State* L)
{
    return NewShader(L, false);
}

int NewRadialShaderBody(lua_State* L)
{
    return NewShader(L, true);
}

const luaL_Reg kShaderFunctions[] = {
    {"newLinearShader", LuaBoundary<Drawing<NewLinearShaderBody>>},
    {"newRadialShader", LuaBoundary<Drawing<NewRadialShaderBody>>},
    {nullptr, nullptr},
};

} // namespace

void ShaderKind::MakeMetatable(lua_State* L)
{
    RegisterMetatable(L, kMetatable, LuaShader::kLifetime);
}

int OpenShaderModule(lua_State* L)
{
    ShaderKind::MakeMetatable(L);
    luaL_register(L, "Shader", kShaderFunctions);
    return 1;
}

ShaderInterface* CheckShader(lua_State* L, int narg)
{
    Held<ShaderInterface>* shader = LuaShader::Check(L, narg);
    return shader ? shader->object.get() : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_ShaderInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenShaderModule>(L);
}
