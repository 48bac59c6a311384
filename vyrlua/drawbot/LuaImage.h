// Image objects (metatable "vyrlua.vyrImageInterface", module ImageInterface).
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

extern "C" int luaopen_vyrlua_drawbot_vyrImageInterface(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kImageMetatable = "vyrlua.vyrImageInterface";

struct ImageObject {
    vyrui::drawbot::ImageInterface* image; // one use count; null once released
};

void RegisterImageMetatable(lua_State* L);
int OpenImageModule(lua_State* L);

// For native code: pushes an image object holding one more use count of
// `image`. Raises a Lua error only for lack of memory, so call it where
// that cannot unwind a frame with destructors.
int newProxyFromImage(lua_State* L, const boost::intrusive_ptr<vyrui::drawbot::ImageInterface>& image);

// For bodies: allocates the image object first, then runs `make`; returns
// 1, or 0 with nothing pushed when `make` gives no image.
using ImageMaker = boost::intrusive_ptr<vyrui::drawbot::ImageInterface> (*)(void* context);
int PushNewImage(lua_State* L, ImageMaker make, void* context);

// The image of the image object at `narg` (checked), null once released.
vyrui::drawbot::ImageInterface* CheckImage(lua_State* L, int narg);

} // namespace vyrlua::drawbot

// luaL_checkudata for image objects (throws the standard argument error:
// for bodies behind the error boundary).
vyrlua::drawbot::ImageObject* vyrlua_checkImage(lua_State* L, int narg);
