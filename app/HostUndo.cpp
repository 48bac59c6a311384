#include "app/HostUndo.h"

#include "vyrlua/undo/LuaAction.h"
#include "vyrlua/undo/LuaStateRestorer.h"
#include "vyrlua/utility/LuaArgs.h"

#include <memory>
#include <string>

namespace vyrhost {

namespace {

using vyrlua::utility::LuaBoundary;

// The functions' upvalue: a block pointing back to the HostUndo, cleared
// when it goes.
HostUndo& Self(lua_State* L)
{
    auto* self = static_cast<HostUndo**>(lua_touserdata(L, lua_upvalueindex(1)));
    if (self == nullptr || *self == nullptr)
        throw vyrlua::utility::LuaError("the host undo stack is gone");
    return **self;
}

int RecordBody(lua_State* L)
{
    HostUndo& self = Self(L);
    std::string_view name = vyrlua::utility::CheckLString(L, 1);
    vyrlua::utility::CheckType(L, 2, LUA_TTABLE);
    bool hasRestorer = !lua_isnoneornil(L, 3);
    if (hasRestorer)
        vyrlua::utility::CheckType(L, 3, LUA_TTABLE);
    self.Record(L, std::string(name).c_str(), 2, hasRestorer ? 3 : 0);
    return 0;
}

int UndoBody(lua_State* L)
{
    Self(L).Request(true);
    return 0;
}

int RedoBody(lua_State* L)
{
    Self(L).Request(false);
    return 0;
}

const luaL_Reg kHostUndoFunctions[] = {
    {"record", LuaBoundary<RecordBody>},
    {"undo", LuaBoundary<UndoBody>},
    {"redo", LuaBoundary<RedoBody>},
    {nullptr, nullptr},
};

// A registry reference to the value at `index`, handed to an owner built by
// `make`; freed again if building fails.
template <typename Make>
auto Owning(lua_State* L, int index, Make make)
{
    lua_pushvalue(L, index);
    int ref = luaL_ref(L, LUA_REGISTRYINDEX);
    try {
        return make(ref);
    } catch (...) {
        luaL_unref(L, LUA_REGISTRYINDEX, ref);
        throw;
    }
}

} // namespace

HostUndo::HostUndo(lua_State* L, std::size_t depthLimit) : mL(L), mStack(depthLimit)
{
    lua_newtable(L);
    auto* self = static_cast<HostUndo**>(lua_newuserdata(L, sizeof(HostUndo*)));
    *self = this;
    lua_pushvalue(L, -1);
    mSelfRef = luaL_ref(L, LUA_REGISTRYINDEX);
    for (const luaL_Reg* f = kHostUndoFunctions; f->name != nullptr; ++f) {
        lua_pushvalue(L, -1);
        lua_pushcclosure(L, f->func, 1);
        lua_setfield(L, -3, f->name);
    }
    lua_pop(L, 1);
    lua_setglobal(L, "hostUndo");
}

HostUndo::~HostUndo()
{
    if (KzKernel_CurrentLuaState() == mL) {
        lua_rawgeti(mL, LUA_REGISTRYINDEX, mSelfRef);
        if (auto* self = static_cast<HostUndo**>(lua_touserdata(mL, -1)))
            *self = nullptr;
        lua_pop(mL, 1);
        luaL_unref(mL, LUA_REGISTRYINDEX, mSelfRef);
    }
}

void HostUndo::Record(lua_State* L, const char* name, int handlers, int restorer)
{
    std::unique_ptr<vyrlua::undo::LuaAction> action = Owning(L, handlers, [&](int ref) {
        return std::make_unique<vyrlua::undo::LuaAction>(true, true, name, std::to_string(ref), mL);
    });
    if (restorer == 0) {
        mStack.AddAction(std::move(action));
        return;
    }
    std::unique_ptr<vyrlua::undo::LuaStateRestorer> stateRestorer = Owning(L, restorer, [&](int ref) {
        return std::make_unique<vyrlua::undo::LuaStateRestorer>(ref, mL);
    });
    mStack.BeginStep(action->Name());
    mStack.AddAction(std::move(action));
    mStack.AddRestorer(std::move(stateRestorer));
    mStack.EndStep();
}

void HostUndo::RunRequests()
{
    std::vector<bool> requests;
    requests.swap(mRequests);
    for (bool undo : requests) {
        if (undo)
            mStack.Undo();
        else
            mStack.Redo();
    }
}

} // namespace vyrhost
