// "vyrlua.drawbot.vyrSurfaceInterface": surface objects and their 29 methods.
//
// Bodies read every argument first (reading may run Lua metamethods, which
// may raise), then call the drawing layer from helpers whose C++ objects
// are gone before anything is pushed back to Lua.
#include "vyrlua/drawbot/LuaSurface.h"

#include "vyrcore/string.h"
#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/drawbot/LuaImage.h"
#include "vyrlua/drawbot/LuaPath.h"
#include "vyrlua/drawbot/LuaPen.h"
#include "vyrlua/drawbot/LuaShader.h"
#include "vyrlua/utility/LuaStack.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrui/drawbot/Supplier.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

// Surface objects handed out without ownership, by the address of their
// block, so the light userdata a second GetSurface gives can be resolved.
// Weak values: an entry goes when its surface object is collected.
constexpr const char* kHandedOutKey = "vyrlua.drawbot.handedOutSurfaces";
constexpr const char* kOutOfScope = "out-of-scope SurfaceInterface";

void PushHandedOutTable(lua_State* L)
{
    utility::PushWeakRegistryTable(L, kHandedOutKey, "v");
}

void ReleaseObject(SurfaceObject& object)
{
    if (object.surface != nullptr)
        intrusive_ptr_release(object.surface);
    object.surface = nullptr;
    if (object.lease != nullptr) {
        object.lease->End();
        intrusive_ptr_release(object.lease);
    }
    object.lease = nullptr;
    if (object.ownsDrawbot)
        delete object.drawbot;
    object.drawbot = nullptr;
}

std::shared_ptr<SupplierInterface> SupplierOf(SurfaceInterface& surface)
{
    std::shared_ptr<SupplierInterface> supplier = surface.GetSupplier();
    return supplier ? supplier : OSDrawSupplier();
}

// --- state, transform, clip -----------------------------------------

int PushStateStackBody(lua_State* L)
{
    CheckLiveSurface(L, 1)->PushState();
    return 0;
}

int PopStateStackBody(lua_State* L)
{
    if (!CheckLiveSurface(L, 1)->PopState())
        throw utility::LuaError("PopStateStack without a matching PushStateStack");
    return 0;
}

int TransformBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    MatrixF matrix;
    GetMatrixF32FromLua(L, 2, matrix);
    CheckLiveSurface(L, 1)->ConcatTransform(matrix);
    return 0;
}

int GetTransformBody(lua_State* L)
{
    MatrixF matrix = CheckLiveSurface(L, 1)->GetTransform();
    return PushMatrixF32ToLua(L, matrix);
}

int GetTransformToScreenScaleBody(lua_State* L)
{
    PointF scale = CheckLiveSurface(L, 1)->GetTransformToScreenScale();
    return PushPointF32ToLua(L, scale);
}

int ClipBody(lua_State* L)
{
    bool antiAlias = lua_isnoneornil(L, 3) || utility::CheckInteger(L, 3) != 0;
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    if (path != nullptr)
        surface->ClipToPath(*path, antiAlias);
    return 0;
}

int GetClipBoundsBody(lua_State* L)
{
    RectF bounds = CheckLiveSurface(L, 1)->GetClipBounds();
    return PushRectF32ToLua(L, bounds);
}

int IsWithinClipBoundsBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    bool within = CheckLiveSurface(L, 1)->IsWithinClipBounds(rect);
    lua_pushinteger(L, within ? 1 : 0);
    return 1;
}

// --- text -----------------------------------------------------------

void DrawText(SurfaceInterface& surface, std::string_view text, PointF origin,
              const ColorRGBA& color, int alignment, float size, float boxWidth, int truncation)
{
    std::shared_ptr<SupplierInterface> supplier = SupplierOf(surface);
    boost::intrusive_ptr<BrushInterface> brush = supplier->NewSolidBrush(color);
    boost::intrusive_ptr<FontInterface> font = NewUIFont(*supplier, size);
    surface.DrawString(*brush, *font, vyrcore::string::UTF8to16(text), origin,
                       static_cast<TextAlignment>(alignment), boxWidth,
                       static_cast<TextTruncation>(truncation));
}

int DrawStringBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    int x = utility::CheckInt(L, 3);
    int y = utility::CheckInt(L, 4);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 5, color);
    int alignment = OptEnum(L, 6, 0, 3, "kTextAlignment");
    float size = OptTextSize(L, 7);
    float boxWidth = utility::ToFloat(utility::OptNumber(L, 8, 0));
    int truncation = OptEnum(L, 9, 0, 4, "kTextTruncation");
    DrawText(*CheckLiveSurface(L, 1), text, PointF{static_cast<float>(x), static_cast<float>(y)}, color,
             alignment, size, boxWidth, truncation);
    return 0;
}

void DrawWrappedText(SurfaceInterface& surface, std::string_view text, const RectF& rect,
                     const ColorRGBA& color, int alignment, float size)
{
    std::shared_ptr<SupplierInterface> supplier = SupplierOf(surface);
    boost::intrusive_ptr<BrushInterface> brush = supplier->NewSolidBrush(color);
    boost::intrusive_ptr<FontInterface> font = NewUIFont(*supplier, size);
    surface.DrawMultiLineString(*brush, *font, vyrcore::string::UTF8to16(text), rect,
                                static_cast<TextAlignment>(alignment));
}

int DrawMultiLineStringBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    RectF rect;
    GetRectF32FromLua(L, 3, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 4, color);
    int alignment = OptEnum(L, 5, 0, 3, "kTextAlignment");
    float size = OptTextSize(L, 6);
    DrawWrappedText(*CheckLiveSurface(L, 1), text, rect, color, alignment, size);
    return 0;
}

float MeasureText(SurfaceInterface& surface, std::string_view text, float size)
{
    std::shared_ptr<SupplierInterface> supplier = SupplierOf(surface);
    boost::intrusive_ptr<FontInterface> font = NewUIFont(*supplier, size);
    return surface.MeasureString(*font, vyrcore::string::UTF8to16(text));
}

int MeasureStringWidthBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    float size = OptTextSize(L, 3);
    float width = MeasureText(*CheckLiveSurface(L, 1), text, size);
    lua_pushnumber(L, width);
    return 1;
}

// --- filling and stroking -------------------------------------------

void FillWithColor(SurfaceInterface& surface, const RectF* rect, const PathInterface* path,
                   const ColorRGBA& color, bool evenOdd)
{
    std::shared_ptr<SupplierInterface> supplier = SupplierOf(surface);
    boost::intrusive_ptr<BrushInterface> brush = supplier->NewSolidBrush(color);
    if (rect != nullptr)
        surface.FillRect(*rect, *brush);
    else
        surface.FillPath(*path, *brush, evenOdd);
}

int PaintRectBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    FillWithColor(*CheckLiveSurface(L, 1), &rect, nullptr, color, false);
    return 0;
}

int DrawOutlineBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    float inset = utility::ToFloat(utility::OptNumber(L, 4, 0));
    float thickness = utility::ToFloat(utility::OptNumber(L, 5, 1));
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    vyrui::utils::DrawOutline(*SupplierOf(*surface), *surface, rect, color, inset, thickness);
    return 0;
}

int DrawRoundedFillBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    float radius = utility::ToFloat(utility::CheckNumber(L, 4));
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    vyrui::utils::DrawRoundedFill(*SupplierOf(*surface), *surface, rect, color, radius);
    return 0;
}

void StrokeWithColor(SurfaceInterface& surface, const PathInterface& path, const ColorRGBA& color,
                     float width)
{
    std::shared_ptr<SupplierInterface> supplier = SupplierOf(surface);
    boost::intrusive_ptr<PenInterface> pen = supplier->NewSolidPen(color, width);
    surface.StrokePath(path, *pen);
}

int StrokePathBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    CheckPath(L, 2);
    bool withPen = LuaPen::Is(L, 3);
    ColorRGBA color;
    float width = 1;
    if (!withPen) {
        GetColorRGBAFromLua(L, 3, color);
        width = utility::ToFloat(utility::OptNumber(L, 4, 1));
    }
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    if (path == nullptr)
        return 0;
    if (!withPen)
        StrokeWithColor(*surface, *path, color, width);
    else if (PenInterface* pen = CheckPen(L, 3))
        surface->StrokePath(*path, *pen);
    return 0;
}

int FillPathBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    CheckPath(L, 2);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    bool evenOdd = utility::OptInteger(L, 4, 0) != 0;
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    if (path != nullptr)
        FillWithColor(*surface, nullptr, path, color, evenOdd);
    return 0;
}

int ShadePathBody(lua_State* L)
{
    bool evenOdd = utility::OptInteger(L, 4, 0) != 0;
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    ShaderInterface* shader = CheckShader(L, 3);
    if (path != nullptr && shader != nullptr)
        surface->ShadePath(*path, *shader, evenOdd);
    return 0;
}

// --- images ---------------------------------------------------------

int DrawImageBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    CheckImage(L, 2);
    PointF point;
    GetPointF32FromLua(L, 3, point);
    float opacity = utility::ToFloat(utility::OptNumber(L, 4, 1));
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    ImageInterface* image = CheckImage(L, 2);
    if (image != nullptr)
        surface->DrawImage(*image, point, opacity);
    return 0;
}

int DrawImage2Body(lua_State* L)
{
    CheckLiveSurface(L, 1);
    CheckImage(L, 2);
    RectF dest;
    GetRectF32FromLua(L, 3, dest);
    RectF source;
    bool hasSource = !lua_isnoneornil(L, 4);
    if (hasSource)
        GetRectF32FromLua(L, 4, source);
    float opacity = utility::ToFloat(utility::OptNumber(L, 5, 1));
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    ImageInterface* image = CheckImage(L, 2);
    if (image != nullptr)
        surface->DrawImage(*image, dest, hasSource ? &source : nullptr, opacity);
    return 0;
}

// The new object's block first (its allocation may run script code), then
// the surface it is made from.
int GetSurfaceImageBody(lua_State* L)
{
    CheckLiveSurface(L, 1);
    Held<ImageInterface>* image = LuaImage::Push(L);
    image->object = CheckLiveSurface(L, 1)->GetSurfaceImage();
    if (!image->object)
        lua_pop(L, 1);
    return image->object ? 1 : 0;
}

// --- policies -------------------------------------------------------

int SetAntiAliasPolicyBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    int policy = CheckEnum(L, 2, 3, "kAntiAliasPolicy");
    surface->SetAntiAliasPolicy(static_cast<AntiAliasPolicy>(policy));
    return 0;
}

int GetAntiAliasPolicyBody(lua_State* L)
{
    lua_pushinteger(L, static_cast<int>(CheckLiveSurface(L, 1)->GetAntiAliasPolicy()));
    return 1;
}

int SetInterpolationPolicyBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    int policy = CheckEnum(L, 2, 3, "kInterpolationPolicy");
    surface->SetInterpolationPolicy(static_cast<InterpolationPolicy>(policy));
    return 0;
}

int GetInterpolationPolicyBody(lua_State* L)
{
    lua_pushinteger(L, static_cast<int>(CheckLiveSurface(L, 1)->GetInterpolationPolicy()));
    return 1;
}

int SetDeviceDependentTextRenderingBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    surface->SetDeviceDependentTextRendering(lua_toboolean(L, 2) != 0);
    return 0;
}

int FlushBody(lua_State* L)
{
    CheckLiveSurface(L, 1)->Flush();
    return 0;
}

const luaL_Reg kSurfaceMethods[] = {
    {"PushStateStack", LuaBoundary<PushStateStackBody>},
    {"PopStateStack", LuaBoundary<PopStateStackBody>},
    {"DrawString", LuaBoundary<Drawing<DrawStringBody>>},
    {"DrawMultiLineString", LuaBoundary<Drawing<DrawMultiLineStringBody>>},
    {"MeasureStringWidth", LuaBoundary<Drawing<MeasureStringWidthBody>>},
    {"PaintRect", LuaBoundary<Drawing<PaintRectBody>>},
    {"DrawOutline", LuaBoundary<Drawing<DrawOutlineBody>>},
    {"DrawRoundedFill", LuaBoundary<Drawing<DrawRoundedFillBody>>},
    {"StrokePath", LuaBoundary<Drawing<StrokePathBody>>},
    {"FillPath", LuaBoundary<Drawing<FillPathBody>>},
    {"ShadePath", LuaBoundary<Drawing<ShadePathBody>>},
    {"Transform", LuaBoundary<Drawing<TransformBody>>},
    {"GetTransform", LuaBoundary<GetTransformBody>},
    {"GetTransformToScreenScale", LuaBoundary<GetTransformToScreenScaleBody>},
    {"Clip", LuaBoundary<Drawing<ClipBody>>},
    {"GetClipBounds", LuaBoundary<GetClipBoundsBody>},
    {"IsWithinClipBounds", LuaBoundary<Drawing<IsWithinClipBoundsBody>>},
    {"DrawImage", LuaBoundary<Drawing<DrawImageBody>>},
    {"DrawImage2", LuaBoundary<Drawing<DrawImage2Body>>},
    {"SetAntiAliasPolicy", LuaBoundary<SetAntiAliasPolicyBody>},
    {"GetAntiAliasPolicy", LuaBoundary<GetAntiAliasPolicyBody>},
    {"SetInterpolationPolicy", LuaBoundary<SetInterpolationPolicyBody>},
    {"GetInterpolationPolicy", LuaBoundary<GetInterpolationPolicyBody>},
    {"SetDeviceDependentTextRendering", LuaBoundary<SetDeviceDependentTextRenderingBody>},
    {"GetSurfaceImage", LuaBoundary<Drawing<GetSurfaceImageBody>>},
    {"Flush", LuaBoundary<FlushBody>},
    {nullptr, nullptr},
};

const luaL_Reg kSurfaceFunctions[] = {
    {nullptr, nullptr},
};

void SetPolicyConstants(lua_State* L)
{
    SetIntegerField(L, "kAntiAliasPolicy_None", 0);
    SetIntegerField(L, "kAntiAliasPolicy_Med", 1);
    SetIntegerField(L, "kAntiAliasPolicy_High", 2);
    SetIntegerField(L, "kInterpolationPolicy_None", 0);
    SetIntegerField(L, "kInterpolationPolicy_Med", 1);
    SetIntegerField(L, "kInterpolationPolicy_High", 2);
}

} // namespace

void SurfaceKind::MakeMetatable(lua_State* L)
{
    LuaSurface::RegisterMetatable(L, kSurfaceMethods);
    luaL_getmetatable(L, kMetatable);
    SetPolicyConstants(L);
    SetIntegerField(L, "kTextAlignment_Left", 0);
    SetIntegerField(L, "kTextAlignment_Center", 1);
    SetIntegerField(L, "kTextAlignment_Right", 2);
    SetIntegerField(L, "kTextAlignment_Default", 0);
    SetIntegerField(L, "kTextTruncation_None", 0);
    SetIntegerField(L, "kTextTruncation_End", 1);
    SetIntegerField(L, "kTextTruncation_EndEllipsis", 2);
    SetIntegerField(L, "kTextTruncation_PathEllipsis", 3);
    lua_pop(L, 1);
}

const void* SurfaceKind::Identity(SurfaceObject& object)
{
    return LiveSurface(object);
}

void SurfaceKind::Release(SurfaceObject& object)
{
    ReleaseObject(object);
}

void SurfaceKind::ReleaseReleased(lua_State*)
{
    throw utility::LuaError(kOutOfScope);
}

int OpenSurfaceModule(lua_State* L)
{
    SurfaceKind::MakeMetatable(L);
    luaL_register(L, "vyrSurfaceInterface", kSurfaceFunctions);
    SetPolicyConstants(L);
    return 1;
}

SurfaceObject* SurfaceKind::Resolve(lua_State* L, int narg)
{
    if (lua_type(L, narg) == LUA_TLIGHTUSERDATA) {
        // The light form: valid only while the object it names is alive.
        if (lua_getmetatable(L, narg)) {
            lua_getfield(L, LUA_REGISTRYINDEX, kMetatable);
            bool ours = lua_rawequal(L, -1, -2);
            lua_pop(L, 2);
            if (ours) {
                PushHandedOutTable(L);
                lua_pushvalue(L, narg);
                lua_rawget(L, -2);
                SurfaceObject* object = LuaSurface::Test(L, -1);
                lua_pop(L, 2);
                return object;
            }
        }
    }
    return LuaSurface::Check(L, narg);
}

SurfaceInterface* LiveSurface(SurfaceObject& object)
{
    // A surface handed out by a drawbot that has gone is out of scope.
    if (object.lease != nullptr && object.lease->GetDrawbot() == nullptr)
        ReleaseObject(object);
    return object.surface;
}

SurfaceInterface* CheckLiveSurface(lua_State* L, int narg)
{
    SurfaceObject* object = SurfaceKind::Resolve(L, narg);
    SurfaceInterface* surface = object ? LiveSurface(*object) : nullptr;
    if (surface == nullptr)
        throw utility::LuaError(kOutOfScope);
    return surface;
}

int PushHandedOutSurface(lua_State* L, int requesterIndex)
{
    if (DrawbotProxy* proxy = LuaDrawbot::Test(L, requesterIndex);
        proxy != nullptr && proxy->surfaceObject != nullptr) {
        lua_pushlightuserdata(L, proxy->surfaceObject);
        PushMetatable(L, SurfaceKind::kMetatable, SurfaceKind::MakeMetatable);
        lua_setmetatable(L, -2);
        return 1;
    }
    // The block first; then the drawbot, which its allocation may have
    // released.
    SurfaceObject* object = LuaSurface::Push(L);
    DrawbotProxy* proxy = LuaDrawbot::Test(L, requesterIndex);
    Drawbot* drawbot = proxy ? LiveDrawbot(*proxy) : nullptr;
    if (drawbot == nullptr) {
        lua_pop(L, 1);
        return 0;
    }
    object->lease = drawbot->HandOut().detach();
    object->surface = drawbot->GetSurface();
    intrusive_ptr_add_ref(object->surface);
    proxy->surfaceObject = object;
    // The drawbot object keeps its surface object alive, and the registry
    // maps the light form (the payload's address) to it.
    lua_createtable(L, 1, 0);
    lua_pushvalue(L, -2);
    lua_rawseti(L, -2, 1);
    lua_setfenv(L, requesterIndex);
    PushHandedOutTable(L);
    lua_pushlightuserdata(L, object);
    lua_pushvalue(L, -3);
    lua_rawset(L, -3);
    lua_pop(L, 1);
    return 1;
}

int AdoptOwnedSurface(lua_State* L, SurfaceObject& object,
                      const boost::intrusive_ptr<SurfaceInterface>& surface,
                      std::unique_ptr<Drawbot> drawbot)
{
    if (!surface) {
        lua_pop(L, 1);
        return 0;
    }
    object.owned = true;
    object.ownsDrawbot = drawbot != nullptr;
    object.drawbot = drawbot.release();
    object.surface = surface.get();
    intrusive_ptr_add_ref(object.surface);
    return 1;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrSurfaceInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenSurfaceModule>(L);
}
