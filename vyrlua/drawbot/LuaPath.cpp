// "vyrlua.drawbot.vyrPathInterface": paths made by a drawbot's or a
// supplier's path factory. Every method of a released path does nothing.
#include "vyrlua/drawbot/LuaPath.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/utility/LuaValueTypes.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

using Path = Held<PathInterface>;

int Fill(lua_State* L, Path* path, const std::shared_ptr<SupplierInterface>& supplier)
{
    if (supplier)
        path->object = supplier->NewPath();
    if (path->object)
        return 1;
    lua_pop(L, 1);
    return 0;
}

// The new object's block first (its allocation may run script code), then
// the drawbot or supplier it is made from.
int NewPathBody(lua_State* L)
{
    Path* path = LuaPath::Push(L);
    Drawbot* drawbot = CheckDrawbot(L, 1);
    return Fill(L, path, drawbot ? drawbot->GetSupplierPtr() : nullptr);
}

int NewPathFromSupplierBody(lua_State* L)
{
    Path* path = LuaPath::Push(L);
    return Fill(L, path, CheckSupplier(L, 1));
}

float Coordinate(lua_State* L, int narg)
{
    return utility::ToFloat(utility::CheckNumber(L, narg));
}

int MoveToBody(lua_State* L)
{
    PointF point{Coordinate(L, 2), Coordinate(L, 3)};
    if (PathInterface* path = CheckPath(L, 1))
        path->MoveTo(point);
    return 0;
}

int LineToBody(lua_State* L)
{
    PointF point{Coordinate(L, 2), Coordinate(L, 3)};
    if (PathInterface* path = CheckPath(L, 1))
        path->LineTo(point);
    return 0;
}

int BezierToBody(lua_State* L)
{
    CheckPath(L, 1); // a bad receiver is reported first
    PointF control1, control2, end;
    GetPointF32FromLua(L, 2, control1);
    GetPointF32FromLua(L, 3, control2);
    GetPointF32FromLua(L, 4, end);
    if (PathInterface* path = CheckPath(L, 1))
        path->BezierTo(control1, control2, end);
    return 0;
}

int AddRectBody(lua_State* L)
{
    CheckPath(L, 1); // a bad receiver is reported first
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    if (PathInterface* path = CheckPath(L, 1))
        path->AddRect(rect);
    return 0;
}

int ClosePathBody(lua_State* L)
{
    if (PathInterface* path = CheckPath(L, 1))
        path->Close();
    return 0;
}

int AddArcBody(lua_State* L)
{
    CheckPath(L, 1); // a bad receiver is reported first
    PointF centre;
    GetPointF32FromLua(L, 2, centre);
    float radius = Coordinate(L, 3);
    // The defaults make a full circle.
    float start = utility::ToFloat(utility::OptNumber(L, 4, 0));
    float end = utility::ToFloat(utility::OptNumber(L, 5, 360));
    if (PathInterface* path = CheckPath(L, 1))
        path->AddArc(centre, radius, start, end);
    return 0;
}

const luaL_Reg kPathMethods[] = {
    {"MoveTo", LuaBoundary<Drawing<MoveToBody>>},
    {"LineTo", LuaBoundary<Drawing<LineToBody>>},
    {"BezierTo", LuaBoundary<Drawing<BezierToBody>>},
    {"AddRect", LuaBoundary<Drawing<AddRectBody>>},
    {"ClosePath", LuaBoundary<ClosePathBody>},
    {"AddArc", LuaBoundary<Drawing<AddArcBody>>},
    {nullptr, nullptr},
};

const luaL_Reg kPathFunctions[] = {
    {"newPath", LuaBoundary<NewPathBody>},
    {"newPathFromSupplier", LuaBoundary<NewPathFromSupplierBody>},
    {nullptr, nullptr},
};

} // namespace

void PathKind::MakeMetatable(lua_State* L)
{
    LuaPath::RegisterMetatable(L, kPathMethods);
}

int OpenPathModule(lua_State* L)
{
    PathKind::MakeMetatable(L);
    luaL_register(L, "PathInterface", kPathFunctions);
    return 1;
}

PathInterface* CheckPath(lua_State* L, int narg)
{
    Path* path = LuaPath::Check(L, narg);
    return path ? path->object.get() : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrPathInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenPathModule>(L);
}
