// What the drawing object kinds share: their payloads, reaching the
// node manager's suppliers, the UI font, and turning the drawing layer's
// refusals into Lua errors at the script's line.
#pragma once

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaKind.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>
#include <stdexcept>

namespace vyrlua::drawbot {

using vyrui::drawbot::ColorRGBA;
using vyrui::drawbot::MatrixF;
using vyrui::drawbot::PointF;
using vyrui::drawbot::RectF;

// Creates (once per state) the metatable `name` through `registrar`.
using MetatableRegistrar = void (*)(lua_State* L);
void PushMetatable(lua_State* L, const char* name, MetatableRegistrar registrar);

using utility::Held;
using utility::HeldKind;

// The node manager's suppliers: the default one for measuring without a
// surface, the OS one for surfaces that bring no supplier of their own.
std::shared_ptr<vyrui::drawbot::SupplierInterface> DefaultDrawSupplier();
std::shared_ptr<vyrui::drawbot::SupplierInterface> OSDrawSupplier();

// The UI font at `size` points, from `supplier`.
boost::intrusive_ptr<vyrui::drawbot::FontInterface>
NewUIFont(vyrui::drawbot::SupplierInterface& supplier, float size);

// Optional text size argument (default: the control text size).
float OptTextSize(lua_State* L, int narg);
// An integer constant argument in [0, count), else "invalid <kind>".
int OptEnum(lua_State* L, int narg, int def, int count, const char* kind);
int CheckEnum(lua_State* L, int narg, int count, const char* kind);

// Body wrapper for functions that reach the drawing layer: its argument
// refusals (std::invalid_argument) become Lua errors with the caller's
// position, like any luaL_error. Register LuaBoundary<Drawing<Body>>.
template <lua_CFunction Body>
int Drawing(lua_State* L)
{
    try {
        return Body(L);
    } catch (const std::invalid_argument& e) {
        throw utility::LuaError(e.what());
    }
}

} // namespace vyrlua::drawbot
