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

PathObject* CheckObject(lua_State* L, int narg)
{
    return CheckBlock<PathObject>(L, narg, kPathMetatable);
}

void FillFrom(PathObject& block, SupplierInterface& supplier)
{
    block.holder = new PathHolder{supplier.NewPath()};
}

bool FillFromSupplier(PathObject& block, SupplierObject& object)
{
    std::shared_ptr<SupplierInterface> supplier = object.supplier.lock();
    if (!supplier)
        return false;
    FillFrom(block, *supplier);
    return true;
}

int NewPathBody(lua_State* L)
{
    Drawbot* drawbot = CheckDrawbot(L, 1);
    if (drawbot == nullptr)
        return 0;
    auto* block = NewObject<PathObject>(L, kPathMetatable, RegisterPathMetatable);
    FillFrom(*block, *drawbot->GetSupplier());
    return 1;
}

int NewPathFromSupplierBody(lua_State* L)
{
    SupplierObject* supplier = vyrlua_checkSupplier(L, 1);
    auto* block = NewObject<PathObject>(L, kPathMetatable, RegisterPathMetatable);
    if (!FillFromSupplier(*block, *supplier)) {
        lua_pop(L, 1);
        return 0;
    }
    return 1;
}

int ReleaseBody(lua_State* L)
{
    PathObject* object = CheckObject(L, 1);
    delete object->holder;
    object->holder = nullptr;
    return 0;
}

// Never raises: a collection must not fail on a forged block.
int GcBody(lua_State* L)
{
    if (auto* object = TestBlock<PathObject>(L, 1, kPathMetatable)) {
        delete object->holder;
        object->holder = nullptr;
    }
    return 0;
}

int ToStringBody(lua_State* L)
{
    PathObject* object = CheckObject(L, 1);
    if (object->holder == nullptr)
        lua_pushliteral(L, "vyrPathInterface(released)");
    else
        lua_pushfstring(L, "vyrPathInterface(%p)", static_cast<void*>(object->holder->path.get()));
    return 1;
}

float Coordinate(lua_State* L, int narg)
{
    return utility::ToFloat(utility::CheckNumber(L, narg));
}

int MoveToBody(lua_State* L)
{
    PathInterface* path = CheckPath(L, 1);
    if (path == nullptr)
        return 0;
    PointF point{Coordinate(L, 2), Coordinate(L, 3)};
    path->MoveTo(point);
    return 0;
}

int LineToBody(lua_State* L)
{
    PathInterface* path = CheckPath(L, 1);
    if (path == nullptr)
        return 0;
    PointF point{Coordinate(L, 2), Coordinate(L, 3)};
    path->LineTo(point);
    return 0;
}

int BezierToBody(lua_State* L)
{
    PathInterface* path = CheckPath(L, 1);
    if (path == nullptr)
        return 0;
    PointF control1, control2, end;
    GetPointF32FromLua(L, 2, control1);
    GetPointF32FromLua(L, 3, control2);
    GetPointF32FromLua(L, 4, end);
    path->BezierTo(control1, control2, end);
    return 0;
}

int AddRectBody(lua_State* L)
{
    PathInterface* path = CheckPath(L, 1);
    if (path == nullptr)
        return 0;
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
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
    PathInterface* path = CheckPath(L, 1);
    if (path == nullptr)
        return 0;
    PointF centre;
    GetPointF32FromLua(L, 2, centre);
    float radius = Coordinate(L, 3);
    // The defaults make a full circle.
    float start = utility::ToFloat(utility::OptNumber(L, 4, 0));
    float end = utility::ToFloat(utility::OptNumber(L, 5, 360));
    path->AddArc(centre, radius, start, end);
    return 0;
}

const luaL_Reg kPathMethods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"MoveTo", LuaBoundary<Drawing<MoveToBody>>},
    {"LineTo", LuaBoundary<Drawing<LineToBody>>},
    {"BezierTo", LuaBoundary<Drawing<BezierToBody>>},
    {"AddRect", LuaBoundary<Drawing<AddRectBody>>},
    {"ClosePath", LuaBoundary<ClosePathBody>},
    {"AddArc", LuaBoundary<Drawing<AddArcBody>>},
    {"Release", LuaBoundary<ReleaseBody>},
    {nullptr, nullptr},
};

const luaL_Reg kPathFunctions[] = {
    {"newPath", LuaBoundary<NewPathBody>},
    {"newPathFromSupplier", LuaBoundary<NewPathFromSupplierBody>},
    {nullptr, nullptr},
};

} // namespace

void RegisterPathMetatable(lua_State* L)
{
    RegisterMetatable(L, kPathMetatable, kPathMethods);
}

int OpenPathModule(lua_State* L)
{
    RegisterPathMetatable(L);
    luaL_register(L, "PathInterface", kPathFunctions);
    return 1;
}

PathInterface* CheckPath(lua_State* L, int narg)
{
    PathObject* object = CheckObject(L, narg);
    return object->holder != nullptr ? object->holder->path.get() : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrPathInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenPathModule>(L);
}
