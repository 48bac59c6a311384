// "vyrlua.drawbot.vyrImageInterface": decoded images and surface snapshots.
#include "vyrlua/drawbot/LuaImage.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

int GetWidthBody(lua_State* L)
{
    ImageInterface* image = CheckImage(L, 1);
    if (image == nullptr)
        return 0;
    lua_pushnumber(L, image->GetWidth());
    return 1;
}

int GetHeightBody(lua_State* L)
{
    ImageInterface* image = CheckImage(L, 1);
    if (image == nullptr)
        return 0;
    lua_pushnumber(L, image->GetHeight());
    return 1;
}

const luaL_Reg kImageMethods[] = {
    {"GetWidth", LuaBoundary<GetWidthBody>},
    {"GetHeight", LuaBoundary<GetHeightBody>},
    {nullptr, nullptr},
};

const luaL_Reg kImageFunctions[] = {
    {nullptr, nullptr},
};

} // namespace

void ImageKind::MakeMetatable(lua_State* L)
{
    LuaImage::RegisterMetatable(L, kImageMethods);
}

int OpenImageModule(lua_State* L)
{
    ImageKind::MakeMetatable(L);
    luaL_register(L, "ImageInterface", kImageFunctions);
    return 1;
}

int newProxyFromImage(lua_State* L, ImageInterface* image)
{
    auto* payload = LuaImage::Push(L);
    payload->object = image;
    return 1;
}

ImageInterface* CheckImage(lua_State* L, int narg)
{
    Held<ImageInterface>* held = LuaImage::Check(L, narg);
    return held ? held->object.get() : nullptr;
}

} // namespace vyrlua::drawbot

extern "C" int luaopen_vyrlua_drawbot_vyrImageInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenImageModule>(L);
}
