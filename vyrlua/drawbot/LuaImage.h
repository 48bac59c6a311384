// Image objects (metatable "vyrlua.vyrImageInterface", module ImageInterface).
#pragma once

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/utility/LuaKind.h"

extern "C" int luaopen_vyrlua_drawbot_vyrImageInterface(lua_State* L);

namespace vyrlua::drawbot {

struct ImageKind : HeldKind<vyrui::drawbot::ImageInterface> {
    static constexpr const char* kMetatable = "vyrlua.vyrImageInterface";
    static constexpr const char* kWord = "ImageInterface";
    static void MakeMetatable(lua_State* L);
};
// LuaImage::Push(L) pushes an empty image object to fill; pop it when there
// is nothing to fill it with.
using LuaImage = utility::LuaKind<ImageKind>;

int OpenImageModule(lua_State* L);

// For native code: pushes an image object holding one more use count of
// `image`. Raises a Lua error only for lack of memory, so call it where
// that cannot unwind a frame with destructors.
int newProxyFromImage(lua_State* L, vyrui::drawbot::ImageInterface* image);

// The image of the image object at `narg` (checked), null once released.
vyrui::drawbot::ImageInterface* CheckImage(lua_State* L, int narg);

} // namespace vyrlua::drawbot
