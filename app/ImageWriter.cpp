#include "app/ImageWriter.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/drawbot/LuaSurface.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/drawbot/Supplier.h"

#include <string>

namespace vyrhost {

namespace {

using vyrlua::utility::LuaBoundary;

void WriteSurface(vyrui::drawbot::SurfaceInterface& surface, std::string_view path)
{
    std::string error;
    if (!vyrui::drawbot::WritePNG(surface, std::string(path), &error))
        throw vyrlua::utility::LuaError(error);
}

// writePNG(surface, path): the surface's pixels as a PNG file.
int WritePNGBody(lua_State* L)
{
    // The path first: reading a number as text allocates, which may run a
    // finalizer that releases the surface.
    std::string_view path = vyrlua::utility::CheckLString(L, 2);
    WriteSurface(*vyrlua::drawbot::CheckLiveSurface(L, 1), path);
    lua_pushboolean(L, 1);
    return 1;
}

vyrui::drawbot::SupplierInterface* DefaultSupplier()
{
    // The node manager keeps the supplier alive for the process.
    return vyrlua::drawbot::DefaultDrawSupplier().get();
}

// supplier(): the node manager's default draw supplier, for scripts that
// draw with no window to hand them a drawbot.
int SupplierBody(lua_State* L)
{
    vyrui::drawbot::SupplierInterface* supplier = DefaultSupplier();
    return vyrlua::drawbot::PushSupplierToLua(L, supplier);
}

const luaL_Reg kImageFunctions[] = {
    {"supplier", LuaBoundary<SupplierBody>},
    {"writePNG", LuaBoundary<WritePNGBody>},
    {nullptr, nullptr},
};

int OpenImageWriter(lua_State* L)
{
    return vyrlua::RegisterModule(L, kImageFunctions);
}

} // namespace

void PreloadImageWriter(lua_State* L)
{
    vyrlua::SetPreloadedModule(L, "vyrhost.image", LuaBoundary<OpenImageWriter>);
}

} // namespace vyrhost
