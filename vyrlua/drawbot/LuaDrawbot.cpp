// "vyrlua.drawbot.vyrDrawbot": the drawbot object handed to draw callbacks
// and the vyrDrawbot module (text measuring, NewDrawbot).
#include "vyrlua/drawbot/LuaDrawbot.h"

#include "vyrcore/string.h"
#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/drawbot/LuaSurface.h"
#include "vyrui/drawbot/Supplier.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

DrawbotProxy* CheckProxy(lua_State* L, int narg)
{
    return CheckBlock<DrawbotProxy>(L, narg, kDrawbotMetatable);
}

Drawbot* LiveDrawbot(const DrawbotProxy& proxy)
{
    if (proxy.owned)
        return proxy.drawbot;
    return proxy.lease != nullptr ? proxy.lease->GetDrawbot() : nullptr;
}

void ReleaseProxy(DrawbotProxy& proxy)
{
    if (proxy.owned)
        delete proxy.drawbot;
    proxy.drawbot = nullptr;
    // A borrowed drawbot is not destroyed, only let go of.
    if (proxy.lease != nullptr) {
        proxy.lease->End();
        intrusive_ptr_release(proxy.lease);
        proxy.lease = nullptr;
    }
}

// --- drawbot object methods ------------------------------------------

int GcBody(lua_State* L)
{
    if (auto* proxy = TestBlock<DrawbotProxy>(L, 1, kDrawbotMetatable))
        ReleaseProxy(*proxy);
    return 0;
}

int ToStringBody(lua_State* L)
{
    Drawbot* drawbot = LiveDrawbot(*CheckProxy(L, 1));
    if (drawbot == nullptr)
        lua_pushliteral(L, "vyrDrawbot(released)");
    else
        lua_pushfstring(L, "vyrDrawbot(%p)", static_cast<void*>(drawbot));
    return 1;
}

struct SurfaceRequest {
    Drawbot* drawbot;
    int width;
    int height;
    bool flag;
};

OwnedSurface MakeSurface(lua_State*, void* context)
{
    auto* request = static_cast<SurfaceRequest*>(context);
    OwnedSurface made;
    made.surface = request->drawbot->GetSupplier()->NewOffscreenSurface(
        request->width, request->height, request->flag);
    return made;
}

int CreateOffscreenSurfaceBody(lua_State* L)
{
    Drawbot* drawbot = LiveDrawbot(*CheckProxy(L, 1));
    SurfaceRequest request{drawbot, utility::CheckInt(L, 2), utility::CheckInt(L, 3),
                           lua_toboolean(L, 4) != 0};
    if (drawbot == nullptr)
        return 0;
    return PushOwnedSurface(L, MakeSurface, &request);
}

int GetSurfaceBody(lua_State* L)
{
    DrawbotProxy* proxy = CheckProxy(L, 1);
    Drawbot* drawbot = LiveDrawbot(*proxy);
    if (drawbot == nullptr)
        return 0;
    return PushHandedOutSurface(L, *drawbot, *proxy, 1);
}

int GetSupplierBody(lua_State* L)
{
    Drawbot* drawbot = LiveDrawbot(*CheckProxy(L, 1));
    if (drawbot == nullptr)
        return 0;
    return PushSupplierToLua(L, drawbot->GetSupplier());
}

int ReleaseBody(lua_State* L)
{
    ReleaseProxy(*CheckProxy(L, 1));
    return 0;
}

// --- module functions ------------------------------------------------

int SetRedrawDebugFlashDelayBody(lua_State* L)
{
    vyrui::drawbot::SetRedrawDebugFlashDelay(utility::CheckNumber(L, 1));
    return 0;
}

void FillNewDrawbot(DrawbotProxy& proxy, SurfaceInterface& surface)
{
    std::shared_ptr<SupplierInterface> supplier = surface.GetSupplier();
    if (!supplier)
        supplier = OSDrawSupplier();
    proxy.drawbot = new Drawbot(supplier, &surface);
    proxy.owned = true;
}

int NewDrawbotBody(lua_State* L)
{
    SurfaceInterface* surface = LiveSurface(*CheckSurfaceObject(L, 1));
    if (surface == nullptr)
        return 0;
    auto* proxy = NewObject<DrawbotProxy>(L, kDrawbotMetatable, RegisterDrawbotMetatable);
    FillNewDrawbot(*proxy, *surface);
    return 1;
}

std::u16string FontName(std::string_view name)
{
    return name.empty() ? vyrui::ui::GetFontName()
                        : vyrui::drawbot::ValidateFontName(vyrcore::string::UTF8to16(name));
}

float Measure(std::string_view text, float size, std::string_view fontName, const float* width)
{
    std::shared_ptr<SupplierInterface> supplier = DefaultDrawSupplier();
    boost::intrusive_ptr<FontInterface> font = supplier->NewFont(FontName(fontName), size);
    std::u16string utf16 = vyrcore::string::UTF8to16(text);
    return width ? supplier->MeasureMultiLineStringHeight(*font, utf16, *width)
                 : supplier->MeasureString(*font, utf16);
}

int MeasureStringWidthBody(lua_State* L)
{
    std::string_view text = utility::CheckLString(L, 1);
    float size = OptTextSize(L, 2);
    std::string_view fontName = utility::OptLString(L, 3, {});
    lua_pushnumber(L, Measure(text, size, fontName, nullptr));
    return 1;
}

int MeasureMultiLineStringHeightBody(lua_State* L)
{
    std::string_view text = utility::CheckLString(L, 1);
    float size = OptTextSize(L, 2);
    std::string_view fontName = utility::OptLString(L, 3, {});
    // The wrapping width; 0 (the default) wraps only at line breaks.
    float width = utility::ToFloat(utility::OptNumber(L, 4, 0));
    lua_pushnumber(L, Measure(text, size, fontName, &width));
    return 1;
}

int GetDefaultControlTextSizeBody(lua_State* L)
{
    lua_pushnumber(L, vyrui::drawbot::DefaultTextSize());
    return 1;
}

const luaL_Reg kDrawbotMethods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"CreateOffscreenSurface", LuaBoundary<Drawing<CreateOffscreenSurfaceBody>>},
    {"GetSurface", LuaBoundary<GetSurfaceBody>},
    {"GetSupplier", LuaBoundary<GetSupplierBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {nullptr, nullptr},
};

const luaL_Reg kDrawbotFunctions[] = {
    {"SetRedrawDebugFlashDelay", LuaBoundary<Drawing<SetRedrawDebugFlashDelayBody>>},
    {"NewDrawbot", LuaBoundary<NewDrawbotBody>},
    {"MeasureStringWidth", LuaBoundary<Drawing<MeasureStringWidthBody>>},
    {"MeasureMultiLineStringHeight", LuaBoundary<Drawing<MeasureMultiLineStringHeightBody>>},
    {"GetDefaultControlTextSize", LuaBoundary<GetDefaultControlTextSizeBody>},
    {nullptr, nullptr},
};

void FillBorrowed(DrawbotProxy& proxy, Drawbot& drawbot)
{
    proxy.lease = drawbot.HandOut().detach();
    proxy.drawbot = &drawbot;
}

} // namespace

void RegisterDrawbotMetatable(lua_State* L)
{
    RegisterMetatable(L, kDrawbotMetatable, kDrawbotMethods);
}

int luaopen_vyrluaDrawbot(lua_State* L)
{
    RegisterDrawbotMetatable(L);
    luaL_register(L, "vyrDrawbot", kDrawbotFunctions);
    return 1;
}

int PushDrawbotToLua(lua_State* L, Drawbot& drawbot)
{
    auto* proxy = NewObject<DrawbotProxy>(L, kDrawbotMetatable, RegisterDrawbotMetatable);
    FillBorrowed(*proxy, drawbot);
    return 1;
}

Drawbot* CheckDrawbot(lua_State* L, int narg)
{
    return LiveDrawbot(*CheckProxy(L, narg));
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrDrawbot(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::luaopen_vyrluaDrawbot>(L);
}
