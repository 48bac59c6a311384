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

Drawbot* LiveDrawbot(const DrawbotProxy& proxy)
{
    if (proxy.owned)
        return proxy.drawbot;
    return proxy.lease != nullptr ? proxy.lease->GetDrawbot() : nullptr;
}

void DrawbotKind::Release(DrawbotProxy& proxy)
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

namespace {

// --- drawbot object methods ------------------------------------------

// Width, height and flag first, then the new object's block, then the
// drawbot it is made from.
int CreateOffscreenSurfaceBody(lua_State* L)
{
    int width = utility::CheckInt(L, 2);
    int height = utility::CheckInt(L, 3);
    bool flag = lua_toboolean(L, 4) != 0;
    CheckDrawbot(L, 1);
    SurfaceObject* object = LuaSurface::Push(L);
    Drawbot* drawbot = CheckDrawbot(L, 1);
    if (drawbot == nullptr) {
        lua_pop(L, 1);
        return 0;
    }
    return AdoptOwnedSurface(
        L, *object, drawbot->GetSupplier()->NewOffscreenSurface(width, height, flag), nullptr);
}

int GetSurfaceBody(lua_State* L)
{
    if (CheckDrawbot(L, 1) == nullptr)
        return 0;
    return PushHandedOutSurface(L, 1);
}

int GetSupplierBody(lua_State* L)
{
    Drawbot* drawbot = CheckDrawbot(L, 1);
    if (drawbot == nullptr)
        return 0;
    return PushSupplierToLua(L, drawbot->GetSupplier());
}

// --- module functions ------------------------------------------------

int SetRedrawDebugFlashDelayBody(lua_State* L)
{
    vyrui::drawbot::SetRedrawDebugFlashDelay(utility::CheckNumber(L, 1));
    return 0;
}

SurfaceInterface* LiveSurfaceAt(lua_State* L, int narg)
{
    SurfaceObject* object = SurfaceKind::Resolve(L, narg);
    return object ? LiveSurface(*object) : nullptr;
}

// The new object's block first, then the surface it is made over.
int NewDrawbotBody(lua_State* L)
{
    if (LiveSurfaceAt(L, 1) == nullptr)
        return 0;
    DrawbotProxy* proxy = LuaDrawbot::Push(L);
    SurfaceInterface* surface = LiveSurfaceAt(L, 1);
    if (surface == nullptr) {
        lua_pop(L, 1);
        return 0;
    }
    std::shared_ptr<SupplierInterface> supplier = surface->GetSupplier();
    proxy->drawbot = new Drawbot(supplier ? supplier : OSDrawSupplier(), surface);
    proxy->owned = true;
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
    {"CreateOffscreenSurface", LuaBoundary<Drawing<CreateOffscreenSurfaceBody>>},
    {"GetSurface", LuaBoundary<GetSurfaceBody>},
    {"GetSupplier", LuaBoundary<GetSupplierBody>},
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

} // namespace

void DrawbotKind::MakeMetatable(lua_State* L)
{
    LuaDrawbot::RegisterMetatable(L, kDrawbotMethods);
}

int luaopen_vyrluaDrawbot(lua_State* L)
{
    DrawbotKind::MakeMetatable(L);
    luaL_register(L, "vyrDrawbot", kDrawbotFunctions);
    return 1;
}

int PushDrawbotToLua(lua_State* L, Drawbot& drawbot)
{
    DrawbotProxy* proxy = LuaDrawbot::Push(L);
    proxy->lease = drawbot.HandOut().detach();
    proxy->drawbot = &drawbot;
    return 1;
}

Drawbot* CheckDrawbot(lua_State* L, int narg)
{
    DrawbotProxy* proxy = LuaDrawbot::Check(L, narg);
    return proxy ? LiveDrawbot(*proxy) : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrDrawbot(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::luaopen_vyrluaDrawbot>(L);
}
