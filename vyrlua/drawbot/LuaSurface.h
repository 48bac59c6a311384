// The surface object (metatable "vyrlua.vyrSurfaceInterface"): what scripts
// draw on, handed out by a drawbot object or made offscreen.
#pragma once

#include "vyrlua/utility/LuaKind.h"
#include "vyrui/drawbot/Drawbot.h"

#include <memory>

extern "C" int luaopen_vyrlua_drawbot_vyrSurfaceInterface(lua_State* L);

namespace vyrlua::drawbot {

// The payload. Plain data: __gc and Release give back what it holds.
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

struct SurfaceKind {
    using Payload = SurfaceObject;
    static constexpr const char* kMetatable = "vyrlua.vyrSurfaceInterface";
    static constexpr const char* kWord = "vyrSurfaceInterface";
    static void MakeMetatable(lua_State* L);
    // The live surface: null once released or out of scope.
    static const void* Identity(SurfaceObject& object);
    static void Release(SurfaceObject& object);
    // Released twice: "out-of-scope SurfaceInterface".
    [[noreturn]] static void ReleaseReleased(lua_State* L);
    // A surface object, full or light (a second GetSurface gives the light
    // form); null for a light one whose object is gone.
    static SurfaceObject* Resolve(lua_State* L, int narg);
};
// LuaSurface::Push(L) pushes an empty surface object to fill.
using LuaSurface = utility::LuaKind<SurfaceKind>;

int OpenSurfaceModule(lua_State* L);

// Hands the drawbot's surface to Lua without ownership on behalf of the
// drawbot object at `requesterIndex`: a drawbot object that already handed
// out a surface object pushes the same block again, as a light userdata.
int PushHandedOutSurface(lua_State* L, int requesterIndex);

// Fills `object` (pushed with LuaSurface::Push, on top) with a surface it
// owns, and the drawbot over it when given. Returns 1, or 0 with the object
// popped for a null surface.
int AdoptOwnedSurface(lua_State* L, SurfaceObject& object,
                      const boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface>& surface,
                      std::unique_ptr<vyrui::drawbot::Drawbot> drawbot);

// Argument checks: a surface object (full userdata, or the light form);
// the live surface or "out-of-scope SurfaceInterface".
vyrui::drawbot::SurfaceInterface* LiveSurface(SurfaceObject& object);
vyrui::drawbot::SurfaceInterface* CheckLiveSurface(lua_State* L, int narg);

} // namespace vyrlua::drawbot
