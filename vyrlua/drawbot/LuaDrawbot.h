// The drawbot object (metatable "vyrlua.vyrDrawbot") that draw callbacks
// receive, and the module vyrDrawbot with its text measuring functions.
#pragma once

#include "vyrlua/utility/LuaKind.h"
#include "vyrui/drawbot/Drawbot.h"

extern "C" int luaopen_vyrlua_drawbot_vyrDrawbot(lua_State* L);

namespace vyrlua::drawbot {

struct SurfaceObject;

// The payload.
struct DrawbotProxy {
    // Destroyed by Release or __gc when `owned`.
    vyrui::drawbot::Drawbot* drawbot;
    // For a drawbot the object does not own: the drawbot's record of the
    // hand-out (one use count), which tells whether it still exists.
    vyrui::drawbot::DrawbotLease* lease;
    // The payload of the surface object last handed out without ownership
    // (kept alive through the userdata's environment table); only its
    // address is used, to name it in the light form.
    SurfaceObject* surfaceObject;
    bool owned;
};

// The live drawbot: null once released or gone.
vyrui::drawbot::Drawbot* LiveDrawbot(const DrawbotProxy& proxy);

struct DrawbotKind {
    using Payload = DrawbotProxy;
    static constexpr const char* kMetatable = "vyrlua.vyrDrawbot";
    static constexpr const char* kWord = "vyrDrawbot";
    static void MakeMetatable(lua_State* L);
    static const void* Identity(DrawbotProxy& proxy) { return LiveDrawbot(proxy); }
    static void Release(DrawbotProxy& proxy);
};
using LuaDrawbot = utility::LuaKind<DrawbotKind>;

// The module's own opener: metatable, methods and the vyrDrawbot functions.
int luaopen_vyrluaDrawbot(lua_State* L);

// For native code calling a draw callback: pushes a drawbot object that
// does not own `drawbot`; the object goes out of scope when the drawbot is
// destroyed. Raises Lua errors only for lack of memory.
int PushDrawbotToLua(lua_State* L, vyrui::drawbot::Drawbot& drawbot);

// The drawbot of the object at `narg` (checked), or null when it was
// released or its drawbot has gone.
vyrui::drawbot::Drawbot* CheckDrawbot(lua_State* L, int narg);

} // namespace vyrlua::drawbot
