// The surface object (metatable "vyrlua.vyrSurfaceInterface"): what scripts
// draw on, handed out by a drawbot object or made offscreen.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/Drawbot.h"

#include <memory>

extern "C" int luaopen_vyrlua_drawbot_vyrSurfaceInterface(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kSurfaceMetatable = "vyrlua.vyrSurfaceInterface";

struct DrawbotProxy;

// The userdata block. Plain data: __gc and Release give back what it holds.
struct SurfaceObject {
    // Destroyed with the surface object when ownsDrawbot is set; null otherwise.
    vyrui::drawbot::Drawbot* drawbot;
    // One use count; null once released.
    vyrui::drawbot::SurfaceInterface* surface;
    // For a surface handed out by a drawbot: the drawbot's record of the
    // hand-out (one use count). When the drawbot goes, the surface object
    // goes out of scope.
    vyrui::drawbot::DrawbotLease* lease;
    bool owned;
    bool ownsDrawbot;
};

void RegisterSurfaceMetatable(lua_State* L);
int OpenSurfaceModule(lua_State* L);

// Hands the drawbot's surface to Lua without ownership on behalf of the
// drawbot object at `requesterIndex`: a drawbot object that already handed
// out a surface object pushes the same block again, as a light userdata.
int PushHandedOutSurface(lua_State* L, vyrui::drawbot::Drawbot& drawbot, DrawbotProxy& requester,
                         int requesterIndex);

// A new surface object owning `surface` (and `drawbot`, when given). The
// userdata is allocated before the surface is made: `make` runs after it.
struct OwnedSurface {
    boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface;
    std::unique_ptr<vyrui::drawbot::Drawbot> drawbot;
};
using OwnedSurfaceMaker = OwnedSurface (*)(lua_State* L, void* context);
// Returns 1, or 0 with nothing pushed when `make` gives no surface.
int PushOwnedSurface(lua_State* L, OwnedSurfaceMaker make, void* context);

// Argument checks: a surface object (full userdata, or the light form a
// second GetSurface gives); the live surface or "out-of-scope SurfaceInterface".
SurfaceObject* CheckSurfaceObject(lua_State* L, int narg);
vyrui::drawbot::SurfaceInterface* LiveSurface(SurfaceObject& object);
vyrui::drawbot::SurfaceInterface* CheckLiveSurface(lua_State* L, int narg);

} // namespace vyrlua::drawbot
