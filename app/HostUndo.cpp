#include "app/HostUndo.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrlua/undo/LuaAction.h"
#include "vyrlua/undo/LuaStateRestorer.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrui/EventLoop.h"
#include "vyrui/ui/UI_NodeManager.h"

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

int BeginGroupBody(lua_State* L)
{
    HostUndo& self = Self(L);
    self.BeginGroup(vyrcore::string::UTF8to16(vyrlua::utility::CheckLString(L, 1)));
    return 0;
}

int EndGroupBody(lua_State* L)
{
    if (!Self(L).EndGroup())
        throw vyrlua::utility::LuaError("endGroup: no group is open");
    return 0;
}

int CanUndoBody(lua_State* L)
{
    lua_pushboolean(L, Self(L).Stack().CanUndo());
    return 1;
}

int CanRedoBody(lua_State* L)
{
    lua_pushboolean(L, Self(L).Stack().CanRedo());
    return 1;
}

int PushName(lua_State* L, bool can, const std::u16string& name)
{
    if (!can)
        return 0;
    vyrlua::utility::PushLString(L, vyrcore::string::UTF16to8(name));
    return 1;
}

int UndoNameBody(lua_State* L)
{
    vyrundo::UndoStack& stack = Self(L).Stack();
    return PushName(L, stack.CanUndo(), stack.UndoName());
}

int RedoNameBody(lua_State* L)
{
    vyrundo::UndoStack& stack = Self(L).Stack();
    return PushName(L, stack.CanRedo(), stack.RedoName());
}

int UndoCountBody(lua_State* L)
{
    lua_pushinteger(L, static_cast<lua_Integer>(Self(L).Stack().UndoCount()));
    return 1;
}

int RedoCountBody(lua_State* L)
{
    lua_pushinteger(L, static_cast<lua_Integer>(Self(L).Stack().RedoCount()));
    return 1;
}

const luaL_Reg kHostUndoFunctions[] = {
    {"record", LuaBoundary<RecordBody>},
    {"undo", LuaBoundary<UndoBody>},
    {"redo", LuaBoundary<RedoBody>},
    {"beginGroup", LuaBoundary<BeginGroupBody>},
    {"endGroup", LuaBoundary<EndGroupBody>},
    {"canUndo", LuaBoundary<CanUndoBody>},
    {"canRedo", LuaBoundary<CanRedoBody>},
    {"undoName", LuaBoundary<UndoNameBody>},
    {"redoName", LuaBoundary<RedoNameBody>},
    {"undoCount", LuaBoundary<UndoCountBody>},
    {"redoCount", LuaBoundary<RedoCountBody>},
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

HostUndo::HostUndo(lua_State* L, std::size_t depthLimit)
    : mL(L), mStack(depthLimit), mAlive(std::make_shared<HostUndo*>(this))
{
    if (lua_cpcall(L, LuaBoundary<Install>, this) != 0) {
        const char* text = lua_tostring(L, -1);
        std::string message = text ? text : "cannot create hostUndo";
        lua_pop(L, 1);
        throw vyrcore::config::HostException(message);
    }
}

// Behind the boundary: holds nothing with a destructor.
int HostUndo::Install(lua_State* L)
{
    auto* undo = static_cast<HostUndo*>(lua_touserdata(L, 1));
    lua_newtable(L);
    auto* self = static_cast<HostUndo**>(lua_newuserdata(L, sizeof(HostUndo*)));
    *self = undo;
    lua_pushvalue(L, -1);
    undo->mSelfRef = luaL_ref(L, LUA_REGISTRYINDEX);
    for (const luaL_Reg* f = kHostUndoFunctions; f->name != nullptr; ++f) {
        lua_pushvalue(L, -1);
        lua_pushcclosure(L, f->func, 1);
        lua_setfield(L, -3, f->name);
    }
    lua_pop(L, 1);
    lua_setglobal(L, "hostUndo");
    return 0;
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

void HostUndo::Request(bool undo)
{
    mRequests.push_back(undo);
    if (mPosted)
        return;
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get(false);
    vyrui::EventLoop* loop = manager ? manager->GetEventLoop() : nullptr;
    if (loop == nullptr)
        return;
    mPosted = true;
    loop->Post([alive = std::weak_ptr<HostUndo*>(mAlive)] {
        if (std::shared_ptr<HostUndo*> self = alive.lock()) {
            (*self)->mPosted = false;
            (*self)->RunRequests();
        }
    });
}

void HostUndo::BeginGroup(std::u16string name)
{
    mStack.BeginStep(std::move(name));
    ++mGroupDepth;
}

bool HostUndo::EndGroup()
{
    if (mGroupDepth == 0)
        return false;
    --mGroupDepth;
    mStack.EndStep();
    return true;
}

void HostUndo::RunRequests()
{
    if (mGroupDepth > 0) {
        vyrcore::config::ReportError("hostUndo: a group left open by a script was closed");
        while (EndGroup()) {
        }
    }
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
