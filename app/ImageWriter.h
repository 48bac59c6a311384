// "vyrhost.image": how a headless script gets something to draw on and
// saves what it drew. Writing files is the host program's business, not the
// library's, so this module lives here and is preloaded by HostRuntime.
//
//   local image = require "vyrhost.image"
//   local supplier = image.supplier()    --> the default draw supplier
//   local s = supplier:CreateOffscreenSurface(200, 100, true)
//   image.writePNG(s, "out.png")         --> true, or raises with the reason
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrhost {

// Puts "vyrhost.image" into package.preload.
void PreloadImageWriter(lua_State* L);

} // namespace vyrhost
