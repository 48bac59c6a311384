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

using Pen = Held<PenInterface>;

Pen* FillFrom(Pen* pen, const std::shared_ptr<SupplierInterface>& supplier, const ColorRGBA& color,
              float width)
{
    if (supplier)
        pen->object = supplier->NewSolidPen(color, width);
    return pen->object ? pen : nullptr;
}

// The colour and width first (their reading may run script code), then the
// new object's block, then the drawbot or supplier it is made from.
int NewPenBody(lua_State* L)
{
    ColorRGBA color;
    GetColorRGBAFromLua(L, 2, color);
    float width = utility::ToFloat(utility::CheckNumber(L, 3));
    Pen* pen = LuaPen::Push(L);
    Drawbot* drawbot = CheckDrawbot(L, 1);
    return FillFrom(pen, drawbot ? drawbot->GetSupplierPtr() : nullptr, color, width) ? 1 : 0;
}

int NewPenFromSupplierBody(lua_State* L)
{
    ColorRGBA color;
    GetColorRGBAFromLua(L, 2, color);
    float width = utility::ToFloat(utility::CheckNumber(L, 3));
    Pen* pen = LuaPen::Push(L);
    return FillFrom(pen, CheckSupplier(L, 1), color, width) ? 1 : 0;
}

int SetWidthBody(lua_State* L)
{
    float width = utility::ToFloat(utility::CheckNumber(L, 2));
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetWidth(width);
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
    float limit = utility::ToFloat(utility::CheckNumber(L, 2));
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetMiterLimit(limit);
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
    auto join = static_cast<LineJoin>(CheckEnum(L, 2, 3, "kLineJoinType"));
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetLineJoin(join);
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
    auto cap = static_cast<LineCap>(CheckEnum(L, 2, 3, "kLineCapType"));
    if (PenInterface* pen = CheckPen(L, 1))
        pen->SetLineCap(cap);
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

void PenKind::MakeMetatable(lua_State* L)
{
    LuaPen::RegisterMetatable(L, kPenMethods);
}

int OpenPenModule(lua_State* L)
{
    PenKind::MakeMetatable(L);
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

PenInterface* CheckPen(lua_State* L, int narg)
{
    Pen* pen = LuaPen::Check(L, narg);
    return pen ? pen->object.get() : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_PenInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenPenModule>(L);
}
