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
// Every drawing call checks its surface: by interned name.
const utility::InternedName kSurfaceName(kSurfaceMetatable);

void PushHandedOutTable(lua_State* L)
{
    lua_getfield(L, LUA_REGISTRYINDEX, kHandedOutKey);
    if (lua_istable(L, -1))
        return;
    lua_pop(L, 1);
    lua_newtable(L);
    lua_createtable(L, 0, 1);
    lua_pushliteral(L, "v");
    lua_setfield(L, -2, "__mode");
    lua_setmetatable(L, -2);
    lua_pushvalue(L, -1);
    lua_setfield(L, LUA_REGISTRYINDEX, kHandedOutKey);
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

// --- lifetime ---------------------------------------------------------

int GcBody(lua_State* L)
{
    // Only full userdata are collected; the block gives back what it holds
    // (a borrowed surface's use count included: nothing else would).
    if (auto* object = TestBlock<SurfaceObject>(L, 1, kSurfaceName))
        ReleaseObject(*object);
    return 0;
}

int ToStringBody(lua_State* L)
{
    // The light form of a collected surface object names nothing: shown
    // as released rather than raising.
    SurfaceObject* object = nullptr;
    bool gone = false;
    try {
        object = CheckSurfaceObject(L, 1);
    } catch (const utility::LuaError&) {
        gone = true;
    }
    SurfaceInterface* surface = gone ? nullptr : LiveSurface(*object);
    if (surface == nullptr)
        lua_pushliteral(L, "vyrSurfaceInterface(released)");
    else
        lua_pushfstring(L, "vyrSurfaceInterface(%p)", static_cast<void*>(surface));
    return 1;
}

int ReleaseBody(lua_State* L)
{
    int top = lua_gettop(L);
    SurfaceObject* object = CheckSurfaceObject(L, 1);
    if (LiveSurface(*object) == nullptr)
        throw utility::LuaError(kOutOfScope);
    ReleaseObject(*object);
    lua_settop(L, top);
    return 0;
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    MatrixF matrix;
    GetMatrixF32FromLua(L, 2, matrix);
    surface->ConcatTransform(matrix);
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    bool antiAlias = lua_isnoneornil(L, 3) || utility::CheckInteger(L, 3) != 0;
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    lua_pushinteger(L, surface->IsWithinClipBounds(rect) ? 1 : 0);
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    int x = utility::CheckInt(L, 3);
    int y = utility::CheckInt(L, 4);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 5, color);
    int alignment = OptEnum(L, 6, 0, 3, "kTextAlignment");
    float size = OptTextSize(L, 7);
    float boxWidth = utility::ToFloat(utility::OptNumber(L, 8, 0));
    int truncation = OptEnum(L, 9, 0, 4, "kTextTruncation");
    DrawText(*surface, text, PointF{static_cast<float>(x), static_cast<float>(y)}, color,
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    RectF rect;
    GetRectF32FromLua(L, 3, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 4, color);
    int alignment = OptEnum(L, 5, 0, 3, "kTextAlignment");
    float size = OptTextSize(L, 6);
    DrawWrappedText(*surface, text, rect, color, alignment, size);
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    std::string_view text = utility::CheckLString(L, 2);
    float size = OptTextSize(L, 3);
    lua_pushnumber(L, MeasureText(*surface, text, size));
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    FillWithColor(*surface, &rect, nullptr, color, false);
    return 0;
}

int DrawOutlineBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    float inset = utility::ToFloat(utility::OptNumber(L, 4, 0));
    float thickness = utility::ToFloat(utility::OptNumber(L, 5, 1));
    vyrui::utils::DrawOutline(*SupplierOf(*surface), *surface, rect, color, inset, thickness);
    return 0;
}

int DrawRoundedFillBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    RectF rect;
    GetRectF32FromLua(L, 2, rect);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    float radius = utility::ToFloat(utility::CheckNumber(L, 4));
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
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    if (TestPenObject(L, 3)) {
        PenInterface* pen = CheckPen(L, 3);
        if (path != nullptr && pen != nullptr)
            surface->StrokePath(*path, *pen);
        return 0;
    }
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    float width = utility::ToFloat(utility::OptNumber(L, 4, 1));
    if (path != nullptr)
        StrokeWithColor(*surface, *path, color, width);
    return 0;
}

int FillPathBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    ColorRGBA color;
    GetColorRGBAFromLua(L, 3, color);
    bool evenOdd = utility::OptInteger(L, 4, 0) != 0;
    if (path != nullptr)
        FillWithColor(*surface, nullptr, path, color, evenOdd);
    return 0;
}

int ShadePathBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    PathInterface* path = CheckPath(L, 2);
    ShaderInterface* shader = CheckShader(L, 3);
    bool evenOdd = utility::OptInteger(L, 4, 0) != 0;
    if (path != nullptr && shader != nullptr)
        surface->ShadePath(*path, *shader, evenOdd);
    return 0;
}

// --- images ---------------------------------------------------------

int DrawImageBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    ImageInterface* image = CheckImage(L, 2);
    PointF point;
    GetPointF32FromLua(L, 3, point);
    float opacity = utility::ToFloat(utility::OptNumber(L, 4, 1));
    if (image != nullptr)
        surface->DrawImage(*image, point, opacity);
    return 0;
}

int DrawImage2Body(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    ImageInterface* image = CheckImage(L, 2);
    RectF dest;
    GetRectF32FromLua(L, 3, dest);
    RectF source;
    bool hasSource = !lua_isnoneornil(L, 4);
    if (hasSource)
        GetRectF32FromLua(L, 4, source);
    float opacity = utility::ToFloat(utility::OptNumber(L, 5, 1));
    if (image != nullptr)
        surface->DrawImage(*image, dest, hasSource ? &source : nullptr, opacity);
    return 0;
}

struct SnapshotMaker {
    static boost::intrusive_ptr<ImageInterface> Make(void* surface)
    {
        return static_cast<SurfaceInterface*>(surface)->GetSurfaceImage();
    }
};

int GetSurfaceImageBody(lua_State* L)
{
    SurfaceInterface* surface = CheckLiveSurface(L, 1);
    return PushNewImage(L, SnapshotMaker::Make, surface);
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
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
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
    {"Release", LuaBoundary<ReleaseBody>},
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

bool FillOwned(SurfaceObject& block, OwnedSurfaceMaker make, lua_State* L, void* context)
{
    OwnedSurface made = make(L, context);
    if (!made.surface)
        return false;
    block.owned = true;
    block.ownsDrawbot = made.drawbot != nullptr;
    block.drawbot = made.drawbot.release();
    block.surface = made.surface.detach();
    return true;
}

void FillHandedOut(SurfaceObject& block, Drawbot& drawbot)
{
    block.lease = drawbot.HandOut().detach();
    block.surface = drawbot.GetSurface();
    intrusive_ptr_add_ref(block.surface);
}

} // namespace

void RegisterSurfaceMetatable(lua_State* L)
{
    RegisterMetatable(L, kSurfaceMetatable, kSurfaceMethods);
    luaL_getmetatable(L, kSurfaceMetatable);
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

int OpenSurfaceModule(lua_State* L)
{
    RegisterSurfaceMetatable(L);
    luaL_register(L, "vyrSurfaceInterface", kSurfaceFunctions);
    SetPolicyConstants(L);
    return 1;
}

SurfaceObject* CheckSurfaceObject(lua_State* L, int narg)
{
    if (lua_type(L, narg) == LUA_TLIGHTUSERDATA) {
        // The light form: valid only while the block it names is alive.
        if (lua_getmetatable(L, narg)) {
            utility::PushRegistryEntry(L, kSurfaceName);
            bool ours = lua_rawequal(L, -1, -2);
            lua_pop(L, 2);
            if (ours) {
                PushHandedOutTable(L);
                lua_pushvalue(L, narg);
                lua_rawget(L, -2);
                auto* object = TestBlock<SurfaceObject>(L, -1, kSurfaceName);
                lua_pop(L, 2);
                if (object == nullptr)
                    throw utility::LuaError(kOutOfScope);
                return object;
            }
        }
    }
    return CheckBlock<SurfaceObject>(L, narg, kSurfaceName);
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
    SurfaceInterface* surface = LiveSurface(*CheckSurfaceObject(L, narg));
    if (surface == nullptr)
        throw utility::LuaError(kOutOfScope);
    return surface;
}

int PushHandedOutSurface(lua_State* L, Drawbot& drawbot, DrawbotProxy& requester,
                         int requesterIndex)
{
    if (requester.surfaceObject != nullptr) {
        lua_pushlightuserdata(L, requester.surfaceObject);
        PushMetatable(L, kSurfaceMetatable, RegisterSurfaceMetatable);
        lua_setmetatable(L, -2);
        return 1;
    }
    auto* block = NewObject<SurfaceObject>(L, kSurfaceMetatable, RegisterSurfaceMetatable);
    FillHandedOut(*block, drawbot);
    // The drawbot object keeps its surface object alive (so the record below
    // never dangles), and the registry maps the block's address to it for
    // the light form.
    lua_createtable(L, 1, 0);
    lua_pushvalue(L, -2);
    lua_rawseti(L, -2, 1);
    lua_setfenv(L, requesterIndex);
    requester.surfaceObject = block;
    PushHandedOutTable(L);
    lua_pushlightuserdata(L, block);
    lua_pushvalue(L, -3);
    lua_rawset(L, -3);
    lua_pop(L, 1);
    return 1;
}

int PushOwnedSurface(lua_State* L, OwnedSurfaceMaker make, void* context)
{
    auto* block = NewObject<SurfaceObject>(L, kSurfaceMetatable, RegisterSurfaceMetatable);
    if (!FillOwned(*block, make, L, context)) {
        lua_pop(L, 1);
        return 0;
    }
    return 1;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrSurfaceInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenSurfaceModule>(L);
}
