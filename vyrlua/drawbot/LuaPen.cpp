// "vyrlua.drawbot.PenInterface": solid pens with width, joins, caps and
// dashes. Every method of a released pen does nothing.
#include "vyrlua/drawbot/LuaPen.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/utility/LuaValueTypes.h"

#include <vector>

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

PenObject* CheckObject(lua_State* L, int narg)
{
    return CheckBlock<PenObject>(L, narg, kPenMetatable);
}

void FillFrom(PenObject& block, SupplierInterface& supplier, const ColorRGBA& color, float width)
{
    block.pen = supplier.NewSolidPen(color, width).detach();
}

bool FillFromSupplier(PenObject& block, SupplierObject& object, const ColorRGBA& color, float width)
{
    std::shared_ptr<SupplierInterface> supplier = object.supplier.lock();
    if (!supplier)
        return false;
    FillFrom(block, *supplier, color, width);
    return true;
}

int NewPenBody(lua_State* L)
{
    Drawbot* drawbot = CheckDrawbot(L, 1);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 2, color);
    float width = utility::ToFloat(utility::CheckNumber(L, 3));
    if (drawbot == nullptr)
        return 0;
    auto* block = NewObject<PenObject>(L, kPenMetatable, RegisterPenMetatable);
    FillFrom(*block, *drawbot->GetSupplier(), color, width);
    return 1;
}

int NewPenFromSupplierBody(lua_State* L)
{
    SupplierObject* supplier = vyrlua_checkSupplier(L, 1);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 2, color);
    float width = utility::ToFloat(utility::CheckNumber(L, 3));
    auto* block = NewObject<PenObject>(L, kPenMetatable, RegisterPenMetatable);
    if (!FillFromSupplier(*block, *supplier, color, width)) {
        lua_pop(L, 1);
        return 0;
    }
    return 1;
}

int ReleaseBody(lua_State* L)
{
    PenObject* object = CheckObject(L, 1);
    if (object->pen != nullptr)
        intrusive_ptr_release(object->pen);
    object->pen = nullptr;
    return 0;
}

// Never raises: a collection must not fail on a forged block.
int GcBody(lua_State* L)
{
    if (auto* object = TestBlock<PenObject>(L, 1, kPenMetatable)) {
        if (object->pen != nullptr)
            intrusive_ptr_release(object->pen);
        object->pen = nullptr;
    }
    return 0;
}

int ToStringBody(lua_State* L)
{
    PenObject* object = CheckObject(L, 1);
    if (object->pen == nullptr)
        lua_pushliteral(L, "PenInterface(released)");
    else
        lua_pushfstring(L, "PenInterface(%p)", static_cast<void*>(object->pen));
    return 1;
}

int SetWidthBody(lua_State* L)
{
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetWidth(utility::ToFloat(utility::CheckNumber(L, 2)));
    return 0;
}

int GetWidthBody(lua_State* L)
{
    PenInterface* pen = CheckPen(L, 1);
    if (pen == nullptr)
        return 0;
    lua_pushnumber(L, pen->GetWidth());
    return 1;
}

int SetMiterLimitBody(lua_State* L)
{
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetMiterLimit(utility::ToFloat(utility::CheckNumber(L, 2)));
    return 0;
}

int GetMiterLimitBody(lua_State* L)
{
    PenInterface* pen = CheckPen(L, 1);
    if (pen == nullptr)
        return 0;
    lua_pushnumber(L, pen->GetMiterLimit());
    return 1;
}

int SetLineJoinBody(lua_State* L)
{
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetLineJoin(static_cast<LineJoin>(CheckEnum(L, 2, 3, "kLineJoinType")));
    return 0;
}

int GetLineJoinBody(lua_State* L)
{
    PenInterface* pen = CheckPen(L, 1);
    if (pen == nullptr)
        return 0;
    lua_pushinteger(L, static_cast<int>(pen->GetLineJoin()));
    return 1;
}

int GetLineCapBody(lua_State* L)
{
    PenInterface* pen = CheckPen(L, 1);
    if (pen == nullptr)
        return 0;
    lua_pushinteger(L, static_cast<int>(pen->GetLineCap()));
    return 1;
}

int SetLineCapBody(lua_State* L)
{
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetLineCap(static_cast<LineCap>(CheckEnum(L, 2, 3, "kLineCapType")));
    return 0;
}

int SetDashPatternBody(lua_State* L)
{
    PenInterface* pen = CheckPen(L, 1);
    if (pen == nullptr)
        return 0;
    // Reading numbers raises no Lua error, so the vector may live here.
    std::vector<float> lengths;
    for (int i = 2; i <= lua_gettop(L); ++i)
        lengths.push_back(utility::ToFloat(utility::CheckNumber(L, i)));
    pen->SetDashPattern(lengths.data(), lengths.size());
    return 0;
}

const luaL_Reg kPenMethods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {"SetWidth", LuaBoundary<Drawing<SetWidthBody>>},
    {"GetWidth", LuaBoundary<GetWidthBody>},
    {"SetMiterLimit", LuaBoundary<Drawing<SetMiterLimitBody>>},
    {"GetMiterLimit", LuaBoundary<GetMiterLimitBody>},
    {"SetLineJoin", LuaBoundary<SetLineJoinBody>},
    {"GetLineJoin", LuaBoundary<GetLineJoinBody>},
    {"GetLineCap", LuaBoundary<GetLineCapBody>},
    {"SetLineCap", LuaBoundary<SetLineCapBody>},
    {"SetDashPattern", LuaBoundary<Drawing<SetDashPatternBody>>},
    {nullptr, nullptr},
};

const luaL_Reg kPenFunctions[] = {
    {"newPen", LuaBoundary<Drawing<NewPenBody>>},
    {"newPenFromSupplier", LuaBoundary<Drawing<NewPenFromSupplierBody>>},
    {nullptr, nullptr},
};

} // namespace

void RegisterPenMetatable(lua_State* L)
{
    RegisterMetatable(L, kPenMetatable, kPenMethods);
}

int OpenPenModule(lua_State* L)
{
    RegisterPenMetatable(L);
    luaL_register(L, "PenInterface", kPenFunctions);
    SetIntegerField(L, "kLineJoinType_Miter", 0);
    SetIntegerField(L, "kLineJoinType_Bevel", 1);
    SetIntegerField(L, "kLineJoinType_Round", 2);
    SetIntegerField(L, "kLineJoinType_Default", 0);
    SetIntegerField(L, "kLineCapType_Flat", 0);
    SetIntegerField(L, "kLineCapType_Round", 1);
    SetIntegerField(L, "kLineCapType_Square", 2);
    SetIntegerField(L, "kLineCapType_Default", 0);
    return 1;
}

bool TestPenObject(lua_State* L, int narg)
{
    return TestBlock<PenObject>(L, narg, kPenMetatable) != nullptr;
}

PenInterface* CheckPen(lua_State* L, int narg)
{
    return CheckObject(L, narg)->pen;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_PenInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenPenModule>(L);
}
