// "vyrlua.drawbot.ShaderInterface": linear and radial two-colour gradients.
#include "vyrlua/drawbot/LuaShader.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/utility/LuaValueTypes.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

ShaderObject* CheckObject(lua_State* L, int narg)
{
    return CheckBlock<ShaderObject>(L, narg, kShaderMetatable);
}

struct GradientArgs {
    PointF point1, point2;
    ColorRGBA color1, color2;
};

void FillFrom(ShaderObject& block, SupplierInterface& supplier, const GradientArgs& a, bool radial)
{
    block.shader = (radial ? supplier.NewRadialShader(a.point1, a.point2, a.color1, a.color2)
                           : supplier.NewLinearShader(a.point1, a.point2, a.color1, a.color2))
                       .detach();
}

int NewShader(lua_State* L, bool radial)
{
    Drawbot* drawbot = CheckDrawbot(L, 1);
    GradientArgs args;
    GetPointF32FromLua(L, 2, args.point1);
    GetPointF32FromLua(L, 3, args.point2);
    GetColorRGBAFromLua(L, 4, args.color1);
    GetColorRGBAFromLua(L, 5, args.color2);
    if (drawbot == nullptr)
        return 0;
    auto* block = NewObject<ShaderObject>(L, kShaderMetatable, RegisterShaderMetatable);
    FillFrom(*block, *drawbot->GetSupplier(), args, radial);
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

int ReleaseBody(lua_State* L)
{
    ShaderObject* object = CheckObject(L, 1);
    if (object->shader != nullptr)
        intrusive_ptr_release(object->shader);
    object->shader = nullptr;
    return 0;
}

// Never raises: a collection must not fail on a forged block.
int GcBody(lua_State* L)
{
    if (auto* object = TestBlock<ShaderObject>(L, 1, kShaderMetatable)) {
        if (object->shader != nullptr)
            intrusive_ptr_release(object->shader);
        object->shader = nullptr;
    }
    return 0;
}

int ToStringBody(lua_State* L)
{
    ShaderObject* object = CheckObject(L, 1);
    if (object->shader == nullptr)
        lua_pushliteral(L, "ShaderInterface(released)");
    else
        lua_pushfstring(L, "ShaderInterface(%p)", static_cast<void*>(object->shader));
    return 1;
}

const luaL_Reg kShaderMethods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {nullptr, nullptr},
};

const luaL_Reg kShaderFunctions[] = {
    {"newLinearShader", LuaBoundary<Drawing<NewLinearShaderBody>>},
    {"newRadialShader", LuaBoundary<Drawing<NewRadialShaderBody>>},
    {nullptr, nullptr},
};

} // namespace

void RegisterShaderMetatable(lua_State* L)
{
    RegisterMetatable(L, kShaderMetatable, kShaderMethods);
}

int OpenShaderModule(lua_State* L)
{
    RegisterShaderMetatable(L);
    luaL_register(L, "Shader", kShaderFunctions);
    return 1;
}

ShaderInterface* CheckShader(lua_State* L, int narg)
{
    return CheckObject(L, narg)->shader;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_ShaderInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenShaderModule>(L);
}
