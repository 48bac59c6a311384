// "vyrlua.drawbot.vyrImageInterface": decoded images and surface snapshots.
#include "vyrlua/drawbot/LuaImage.h"

#include "vyrlua/drawbot/DrawbotSupport.h"

namespace vyrlua::drawbot {

using namespace vyrui::drawbot;
using utility::LuaBoundary;

namespace {

int ReleaseBody(lua_State* L)
{
    ImageObject* object = vyrlua_checkImage(L, 1);
    if (object->image != nullptr)
        intrusive_ptr_release(object->image);
    object->image = nullptr;
    return 0;
}

// Never raises: a collection must not fail on a forged block.
int GcBody(lua_State* L)
{
    if (auto* object = TestBlock<ImageObject>(L, 1, kImageMetatable)) {
        if (object->image != nullptr)
            intrusive_ptr_release(object->image);
        object->image = nullptr;
    }
    return 0;
}

int ToStringBody(lua_State* L)
{
    ImageObject* object = vyrlua_checkImage(L, 1);
    if (object->image == nullptr)
        lua_pushliteral(L, "ImageInterface(released)");
    else
        lua_pushfstring(L, "ImageInterface(%p)", static_cast<void*>(object->image));
    return 1;
}

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
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"GetWidth", LuaBoundary<GetWidthBody>},
    {"GetHeight", LuaBoundary<GetHeightBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {nullptr, nullptr},
};

const luaL_Reg kImageFunctions[] = {
    {nullptr, nullptr},
};

bool Fill(ImageObject& block, ImageMaker make, void* context)
{
    block.image = make(context).detach();
    return block.image != nullptr;
}

} // namespace

void RegisterImageMetatable(lua_State* L)
{
    RegisterMetatable(L, kImageMetatable, kImageMethods);
}

int OpenImageModule(lua_State* L)
{
    RegisterImageMetatable(L);
    luaL_register(L, "ImageInterface", kImageFunctions);
    return 1;
}

int PushNewImage(lua_State* L, ImageMaker make, void* context)
{
    auto* block = NewObject<ImageObject>(L, kImageMetatable, RegisterImageMetatable);
    if (!Fill(*block, make, context)) {
        lua_pop(L, 1);
        return 0;
    }
    return 1;
}

int newProxyFromImage(lua_State* L, const boost::intrusive_ptr<ImageInterface>& image)
{
    auto* block = NewObject<ImageObject>(L, kImageMetatable, RegisterImageMetatable);
    block->image = image.get();
    if (block->image != nullptr)
        intrusive_ptr_add_ref(block->image);
    return 1;
}

ImageInterface* CheckImage(lua_State* L, int narg)
{
    return vyrlua_checkImage(L, narg)->image;
}

} // namespace vyrlua::drawbot

vyrlua::drawbot::ImageObject* vyrlua_checkImage(lua_State* L, int narg)
{
    return vyrlua::drawbot::CheckBlock<vyrlua::drawbot::ImageObject>(
        L, narg, vyrlua::drawbot::kImageMetatable);
}

extern "C" int luaopen_vyrlua_drawbot_vyrImageInterface(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::drawbot::OpenImageModule>(L);
}
