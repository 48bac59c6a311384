// What the drawing object kinds share: making their userdata, reaching the
// node manager's suppliers, the UI font, and turning the drawing layer's
// refusals into Lua errors at the script's line.
#pragma once

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>
#include <stdexcept>
#include <type_traits>

namespace vyrlua::drawbot {

using vyrui::drawbot::ColorRGBA;
using vyrui::drawbot::MatrixF;
using vyrui::drawbot::PointF;
using vyrui::drawbot::RectF;

// Creates (once per state) the metatable `name` through `registrar`.
using MetatableRegistrar = void (*)(lua_State* L);
void PushMetatable(lua_State* L, const char* name, MetatableRegistrar registrar);

// A new userdata holding a zeroed Block, with the metatable already set so
// its __gc runs whatever happens next. Raises Lua errors (memory): call it
// while no object with a destructor is alive in the calling frame.
template <typename Block>
Block* NewObject(lua_State* L, const char* name, MetatableRegistrar registrar)
{
    static_assert(std::is_trivially_copyable_v<Block>);
    PushMetatable(L, name, registrar);
    auto* block = static_cast<Block*>(lua_newuserdata(L, sizeof(Block)));
    *block = Block{};
    lua_pushvalue(L, -2);
    lua_setmetatable(L, -2);
    lua_remove(L, -2);
    return block;
}

// The block of a userdata of kind `name` at `narg`: the standard argument
// error for anything else, "Bad user data" for one too small to be ours
// (debug.setmetatable can give any userdata our metatable).
// `name` is text, or an InternedName for kinds checked on every call.
template <typename Block, typename Name>
Block* CheckBlock(lua_State* L, int narg, const Name& name)
{
    void* block = utility::CheckUData(L, narg, name);
    if (lua_objlen(L, narg) < sizeof(Block))
        throw utility::LuaError("Bad user data");
    return static_cast<Block*>(block);
}

// The same, or null for anything that is not a whole block of that kind.
template <typename Block, typename Name>
Block* TestBlock(lua_State* L, int narg, const Name& name)
{
    void* block = utility::TestUData(L, narg, name);
    return block != nullptr && lua_objlen(L, narg) >= sizeof(Block) ? static_cast<Block*>(block)
                                                                     : nullptr;
}

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
