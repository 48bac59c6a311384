// "vyrlua.drawbot.vyrSupplier": the supplier object, a non-owning handle
// on the factory of surfaces, fonts and images.
#include "vyrlua/drawbot/LuaSupplier.h"

#include "vyrcore/filesupport.h"
#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaImage.h"
#include "vyrlua/drawbot/LuaSurface.h"

#include <filesystem>
#include <new>
#include <string>

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

int GcBody(lua_State* L)
{
    // The supplier is not owned: only the weak reference itself goes.
    // reset, not destroy: a script can call __gc itself and go on using
    // the object, which then finds its supplier gone.
    if (auto* object = TestBlock<SupplierObject>(L, 1, kSupplierMetatable))
        object->supplier.reset();
    return 0;
}

int ToStringBody(lua_State* L)
{
    SupplierObject* object = vyrlua_checkSupplier(L, 1);
    void* supplier = object->supplier.lock().get();
    if (supplier == nullptr)
        lua_pushliteral(L, "vyrSupplierInterface(gone)");
    else
        lua_pushfstring(L, "vyrSupplierInterface(%p)", supplier);
    return 1;
}

struct SurfaceRequest {
    SupplierObject* object;
    int width;
    int height;
    bool flag;
};

OwnedSurface MakeSurface(lua_State*, void* context)
{
    auto* request = static_cast<SurfaceRequest*>(context);
    std::shared_ptr<SupplierInterface> supplier = request->object->supplier.lock();
    if (!supplier)
        return {};
    OwnedSurface made;
    made.surface = supplier->NewOffscreenSurface(request->width, request->height, request->flag);
    // Releasing the surface object destroys this drawbot too.
    made.drawbot = std::make_unique<Drawbot>(supplier, made.surface);
    return made;
}

int CreateOffscreenSurfaceBody(lua_State* L)
{
    SurfaceRequest request{vyrlua_checkSupplier(L, 1), utility::CheckInt(L, 2),
                           utility::CheckInt(L, 3), lua_toboolean(L, 4) != 0};
    return PushOwnedSurface(L, MakeSurface, &request);
}

struct Metrics {
    bool found = false;
    FontMetrics metrics;
};

Metrics ReadFontMetrics(SupplierObject& object, float size)
{
    std::shared_ptr<SupplierInterface> supplier = object.supplier.lock();
    if (!supplier)
        return {};
    boost::intrusive_ptr<FontInterface> font = NewUIFont(*supplier, size);
    return {true, supplier->GetFontMetrics(*font)};
}

int GetFontMetricsBody(lua_State* L)
{
    SupplierObject* object = vyrlua_checkSupplier(L, 1);
    float size = OptTextSize(L, 2);
    Metrics m = ReadFontMetrics(*object, size);
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

constexpr std::uintmax_t kMaxImageFileBytes = 256u << 20;

struct ImageRequest {
    SupplierObject* object;
    std::string_view path;
};

boost::intrusive_ptr<ImageInterface> LoadImage(void* context)
{
    auto* request = static_cast<ImageRequest*>(context);
    std::shared_ptr<SupplierInterface> supplier = request->object->supplier.lock();
    if (!supplier)
        return {};
    std::string quoted = "'" + std::string(request->path) + "'";
    // Refused before reading: a file this big is no image the layer could
    // draw, and reading it would only exhaust memory.
    std::error_code error;
    auto size = std::filesystem::file_size(std::string(request->path), error);
    if (error || size > kMaxImageFileBytes)
        throw utility::LuaError("cannot read image file " + quoted);
    std::string bytes;
    if (!vyrcore::filesupport::File::FromUTF8(request->path).ReadAll(bytes))
        throw utility::LuaError("cannot read image file " + quoted);
    try {
        return supplier->NewImageFromBuffer(1, bytes.data(), bytes.size());
    } catch (const std::runtime_error& e) {
        throw utility::LuaError("cannot decode image file " + quoted + ": " + e.what());
    }
}

int NewImageFromFileBody(lua_State* L)
{
    SupplierObject* object = vyrlua_checkSupplier(L, 1);
    std::string_view path = utility::CheckLString(L, 2);
    if (!FileExists(path)) {
        lua_pushboolean(L, 0);
        return 1;
    }
    ImageRequest request{object, path};
    return PushNewImage(L, LoadImage, &request);
}

const luaL_Reg kSupplierMethods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"CreateOffscreenSurface", LuaBoundary<Drawing<CreateOffscreenSurfaceBody>>},
    {"GetFontMetrics", LuaBoundary<Drawing<GetFontMetricsBody>>},
    {"newImageFromFile", LuaBoundary<Drawing<NewImageFromFileBody>>},
    {nullptr, nullptr},
};

const luaL_Reg kSupplierFunctions[] = {
    {nullptr, nullptr},
};

} // namespace

void RegisterSupplierMetatable(lua_State* L)
{
    RegisterMetatable(L, kSupplierMetatable, kSupplierMethods);
}

int OpenSupplierModule(lua_State* L)
{
    RegisterSupplierMetatable(L);
    luaL_register(L, "vyrSupplierInterface", kSupplierFunctions);
    return 1;
}

namespace {

// Runs protected, the supplier as its light userdata argument.
int PushSupplierBody(lua_State* L)
{
    auto* supplier = static_cast<SupplierInterface*>(lua_touserdata(L, 1));
    PushMetatable(L, kSupplierMetatable, RegisterSupplierMetatable);
    void* block = lua_newuserdata(L, sizeof(SupplierObject));
    // Nothing between the construction and the metatable can raise, so
    // the weak reference is always destroyed by __gc.
    new (block) SupplierObject{supplier->weak_from_this()};
    lua_pushvalue(L, -2);
    lua_setmetatable(L, -2);
    lua_remove(L, -2);
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

vyrlua::drawbot::SupplierObject* vyrlua_checkSupplier(lua_State* L, int narg)
{
    return vyrlua::drawbot::CheckBlock<vyrlua::drawbot::SupplierObject>(
        L, narg, vyrlua::drawbot::kSupplierMetatable);
}

extern "C" int luaopen_vyrlua_drawbot_vyrSupplier(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenSupplierModule>(L);
}
