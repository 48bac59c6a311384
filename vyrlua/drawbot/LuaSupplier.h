// Supplier objects (metatable "vyrlua.drawbot.vyrSupplierInterface", module
// vyrSupplierInterface): they never own their supplier.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>

extern "C" int luaopen_vyrlua_drawbot_vyrSupplier(lua_State* L);

namespace vyrlua::drawbot {

inline constexpr const char* kSupplierMetatable = "vyrlua.drawbot.vyrSupplierInterface";

// Not owning, and safe when the supplier goes first: the methods of an
// object whose supplier has gone do nothing.
struct SupplierObject {
    std::weak_ptr<vyrui::drawbot::SupplierInterface> supplier;
};

void RegisterSupplierMetatable(lua_State* L);
int OpenSupplierModule(lua_State* L);

// Pushes a supplier object for `supplier` (nil for null); returns 1. The
// supplier must be owned by a std::shared_ptr. Raises a Lua error only for
// lack of memory.
int PushSupplierToLua(lua_State* L, vyrui::drawbot::SupplierInterface* supplier);

} // namespace vyrlua::drawbot

// luaL_checkudata for supplier objects (throws the standard argument error:
// for bodies behind the error boundary).
vyrlua::drawbot::SupplierObject* vyrlua_checkSupplier(lua_State* L, int narg);
