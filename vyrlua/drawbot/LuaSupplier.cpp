// "vyrlua.drawbot.vyrSupplier": the supplier object, a non-owning handle
// on the factory of surfaces, fonts and images.
#include "vyrlua/drawbot/LuaSupplier.h"

#include "vyrcore/filesupport.h"
#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaImage.h"
#include "vyrlua/drawbot/LuaSurface.h"

#include <filesystem>
#include <string>

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

// Width, height and flag first, then the new object's block, then the
// supplier it is made from.
int CreateOffscreenSurfaceBody(lua_State* L)
{
    int width = utility::CheckInt(L, 2);
    int height = utility::CheckInt(L, 3);
    bool flag = lua_toboolean(L, 4) != 0;
    SurfaceObject* object = LuaSurface::Push(L);
    std::shared_ptr<SupplierInterface> supplier = CheckSupplier(L, 1);
    if (!supplier) {
        lua_pop(L, 1);
        return 0;
    }
    boost::intrusive_ptr<SurfaceInterface> surface = supplier->NewOffscreenSurface(width, height, flag);
    // Releasing the surface object destroys this drawbot too.
    return AdoptOwnedSurface(L, *object, surface, std::make_unique<Drawbot>(supplier, surface));
}

struct Metrics {
    bool found = false;
    FontMetrics metrics;
};

Metrics ReadFontMetrics(const std::shared_ptr<SupplierInterface>& supplier, float size)
{
    if (!supplier)
        return {};
    boost::intrusive_ptr<FontInterface> font = NewUIFont(*supplier, size);
    return {true, supplier->GetFontMetrics(*font)};
}

int GetFontMetricsBody(lua_State* L)
{
    float size = OptTextSize(L, 2);
    Metrics m = ReadFontMetrics(CheckSupplier(L, 1), size);
    if (!m.found)
        return 0;
    lua_pushnumber(L, m.metrics.ascent);
    lua_pushnumber(L, m.metrics.descent);
    lua_pushnumber(L, m.metrics.leading);
    return 3;
}

bool FileExists(std::string_view path)
{
    return vyrcore::filesupport::File::FromUTF8(path).Exists();
}

boost::intrusive_ptr<ImageInterface> LoadImage(const std::shared_ptr<SupplierInterface>& supplier,
                                               std::string_view path)
{
    if (!supplier)
        return {};
    std::string quoted = "'" + std::string(path) + "'";
    // Refused before reading: a file this big is no image the layer could
    // draw, and reading it would only exhaust memory.
    std::error_code error;
    auto size = std::filesystem::file_size(std::string(path), error);
    if (error)
        throw utility::LuaError("cannot read image file " + quoted);
    if (size > kMaxImageFileBytes)
        throw utility::LuaError("cannot read image file " + quoted + ": larger than " +
                                std::to_string(kMaxImageFileBytes >> 20) + " MiB");
    std::string bytes;
    if (!vyrcore::filesupport::File::FromUTF8(path).ReadAll(bytes))
        throw utility::LuaError("cannot read image file " + quoted);
    try {
        return supplier->NewImageFromBuffer(1, bytes.data(), bytes.size());
    } catch (const std::runtime_error& e) {
        throw utility::LuaError("cannot decode image file " + quoted + ": " + e.what());
    }
}

int NewImageFromFileBody(lua_State* L)
{
    LuaSupplier::Check(L, 1); // a bad receiver is reported first
    std::string_view path = utility::CheckLString(L, 2);
    if (!FileExists(path)) {
        lua_pushboolean(L, 0);
        return 1;
    }
    Held<ImageInterface>* image = LuaImage::Push(L);
    image->object = LoadImage(CheckSupplier(L, 1), path);
    if (!image->object)
        lua_pop(L, 1);
    return image->object ? 1 : 0;
}

const luaL_Reg kSupplierMethods[] = {
    {"CreateOffscreenSurface", LuaBoundary<Drawing<CreateOffscreenSurfaceBody>>},
    {"GetFontMetrics", LuaBoundary<Drawing<GetFontMetricsBody>>},
    {"newImageFromFile", LuaBoundary<Drawing<NewImageFromFileBody>>},
    {nullptr, nullptr},
};

const luaL_Reg kSupplierFunctions[] = {
    {nullptr, nullptr},
};

} // namespace

void SupplierKind::MakeMetatable(lua_State* L)
{
    LuaSupplier::RegisterMetatable(L, kSupplierMethods, LuaSupplier::kCollected);
}

int OpenSupplierModule(lua_State* L)
{
    SupplierKind::MakeMetatable(L);
    luaL_register(L, "vyrSupplierInterface", kSupplierFunctions);
    return 1;
}

namespace {

// Runs protected, the supplier as its light userdata argument.
int PushSupplierBody(lua_State* L)
{
    auto* supplier = static_cast<SupplierInterface*>(lua_touserdata(L, 1));
    // The block first: the right side of an assignment runs before the left.
    auto* payload = LuaSupplier::Push(L);
    payload->supplier = supplier->weak_from_this();
    return 1;
}

} // namespace

int PushSupplierToLua(lua_State* L, SupplierInterface* supplier)
{
    if (supplier == nullptr) {
        lua_pushnil(L);
        return 1;
    }
    // Callers hold the supplier's and the node's owners: running out of Lua
    // memory here must throw past them, not longjmp.
    utility::PushFromProtectedCall(L, utility::LuaBoundary<PushSupplierBody>, supplier);
    return 1;
}

} // namespace vyrlua::drawbot

std::shared_ptr<vyrlua::drawbot::SupplierInterface> vyrlua::drawbot::CheckSupplier(lua_State* L,
                                                                                  int narg)
{
    SupplierObject* object = LuaSupplier::Check(L, narg);
    return object ? object->supplier.lock() : nullptr;
}

vyrlua::drawbot::SupplierObject* vyrlua_checkSupplier(lua_State* L, int narg)
{
    // An emptied object is one whose supplier has gone.
    static vyrlua::drawbot::SupplierObject gone;
    vyrlua::drawbot::SupplierObject* object = vyrlua::drawbot::LuaSupplier::Check(L, narg);
    return object ? object : &gone;
}

extern "C" int luaopen_vyrlua_drawbot_vyrSupplier(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenSupplierModule>(L);
}
