// Supplier objects (metatable "vyrlua.drawbot.vyrSupplierInterface", module
// vyrSupplierInterface): they never own their supplier.
#pragma once

#include "vyrlua/utility/LuaKind.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>

extern "C" int luaopen_vyrlua_drawbot_vyrSupplier(lua_State* L);

namespace vyrlua::drawbot {

// Not owning, and safe when the supplier goes first: the methods of an
// object whose supplier has gone do nothing.
struct SupplierObject {
    std::weak_ptr<vyrui::drawbot::SupplierInterface> supplier;
};

struct SupplierKind {
    using Payload = SupplierObject;
    static constexpr const char* kMetatable = "vyrlua.drawbot.vyrSupplierInterface";
    static constexpr const char* kWord = "vyrSupplierInterface";
    static constexpr const char* kReleasedWord = "gone";
    static void MakeMetatable(lua_State* L);
    static const void* Identity(SupplierObject& object) { return object.supplier.lock().get(); }
    static void Release(SupplierObject& object) { object.supplier.reset(); }
};
using LuaSupplier = utility::LuaKind<SupplierKind>;

int OpenSupplierModule(lua_State* L);

// Pushes a supplier object for `supplier` (nil for null); returns 1. The
// supplier must be owned by a std::shared_ptr. Raises a Lua error only for
// lack of memory.
int PushSupplierToLua(lua_State* L, vyrui::drawbot::SupplierInterface* supplier);

// The supplier of the supplier object at `narg` (checked); null once gone.
std::shared_ptr<vyrui::drawbot::SupplierInterface> CheckSupplier(lua_State* L, int narg);

} // namespace vyrlua::drawbot

// The same check, as the supplier object (one whose supplier has gone when
// the object was emptied).
vyrlua::drawbot::SupplierObject* vyrlua_checkSupplier(lua_State* L, int narg);
