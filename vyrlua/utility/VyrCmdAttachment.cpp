// "vyrlua.vyrCmdAttachment": a Lua handler attached to a command ID. While
// the attachment lives (and is not detached) the application hands that
// command to it: whether it is enabled, whether it shows a check mark, and
// running it. Global table "vyrCmdAttachment", objects of kind
// "vyrlua.vyrCmdAttachment".
#include "exo/app/App.h"
#include "vyrcore/RefCounted.h"
#include "vyrcore/config.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjectBlock.h"
#include "vyrlua/utility/LuaReference.h"

#include <memory>

namespace vyrlua::utility {

namespace {

using exo::app::App;
using exo::app::CommandID;


// Slots of the handler table.
enum Slot { kExecute = 1, kIsEnabled = 2, kIsChecked = 3 };

struct HandlerCall {
    int ref;
    int slot;
    CommandID id;
    bool called = false;
    int result = LUA_TNIL;  // type of the result
    bool truth = false;
};

// Runs inside lua_cpcall: no C++ object lives in this frame.
int RunHandler(lua_State* L)
{
    auto* call = static_cast<HandlerCall*>(lua_touserdata(L, 1));
    lua_rawgeti(L, LUA_REGISTRYINDEX, call->ref);
    if (!lua_istable(L, -1))
        return 0;
    lua_rawgeti(L, -1, call->slot);
    if (!lua_isfunction(L, -1))
        return 0;
    lua_pushinteger(L, call->id);
    lua_call(L, 1, 1);
    call->called = true;
    call->result = lua_type(L, -1);
    call->truth = lua_toboolean(L, -1) != 0;
    return 0;
}

class Handler : public exo::app::CommandHandler {
public:
    Handler(CommandID id, LuaTableReference::Ptr functions) : mID(id), mFunctions(std::move(functions)) {}

    bool HandlesCommand(CommandID id) const override { return id == mID; }
    bool IsCommandEnabled(CommandID) override
    {
        HandlerCall call = Call(kIsEnabled);
        return !call.called || call.truth;
    }
    std::optional<bool> IsCommandChecked(CommandID) override
    {
        HandlerCall call = Call(kIsChecked);
        if (!call.called || call.result == LUA_TNIL)
            return std::nullopt;
        return call.truth;
    }
    bool ExecuteCommand(CommandID) override { return Call(kExecute).called; }

private:
    // Errors are reported through the host error service; the call then
    // counts as not made.
    HandlerCall Call(int slot)
    {
        HandlerCall call{mFunctions->Ref(), slot, mID};
        lua_State* L = mFunctions->State();
        if (L == nullptr)
            return call;
        int top = lua_gettop(L);
        int status = lua_cpcall(L, RunHandler, &call);
        if (status != 0) {
            const char* text = lua_tostring(L, -1);
            std::string message = text ? text : "(error object is not a string)";
            lua_settop(L, top);
            call.called = false;
            vyrcore::config::ReportError(message);
        }
        lua_settop(L, top);
        return call;
    }

    CommandID mID;
    LuaTableReference::Ptr mFunctions;
};

class Attachment : public vyrcore::utility::RefCountedObject {
public:
    Attachment(CommandID id, LuaTableReference::Ptr functions)
        : mID(id), mApp(App::GetApp()), mHandler(std::make_shared<Handler>(id, std::move(functions)))
    {
        if (!mApp)
            throw vyrcore::config::HostException("vyrCmdAttachment: there is no application");
        mApp->GetCommandDispatcher().AddHandler(mHandler);
    }
    ~Attachment() override { Detach(); }

    CommandID ID() const { return mID; }
    bool IsAttached() const { return mHandler != nullptr; }
    void Detach()
    {
        if (mHandler && mApp == App::GetApp())
            mApp->GetCommandDispatcher().RemoveHandler(mHandler.get());
        mHandler.reset();
    }

private:
    CommandID mID;
    App* mApp;
    std::shared_ptr<Handler> mHandler;
};

struct AttachmentKind : HeldKind<Attachment> {
    static constexpr const char* kMetatable = "vyrlua.vyrCmdAttachment";
    static constexpr const char* kWord = "vyrCmdAttachment";
    static void MakeMetatable(lua_State* L);
};
using Kind = ObjectKind<AttachmentKind>;

// New(commandID, execute [, isEnabled [, isChecked]]): each function gets
// the command ID. isEnabled's truth enables the command (no function:
// always enabled); isChecked gives the check mark (nil: none).
int NewBody(lua_State* L)
{
    int id = CheckInt(L, 1);
    CheckType(L, 2, LUA_TFUNCTION);
    for (int narg : {3, 4})
        if (!lua_isnoneornil(L, narg))
            CheckType(L, narg, LUA_TFUNCTION);
    lua_settop(L, 4);
    auto* held = Kind::Push(L);
    lua_createtable(L, 3, 0);
    for (int slot = kExecute; slot <= kIsChecked; ++slot) {
        lua_pushvalue(L, slot + 1);
        lua_rawseti(L, -2, slot);
    }
    // The last call into Lua: only now does anything with a destructor live.
    LuaTableReference::Ptr functions = LuaTableReference::Create(L);
    held->object = new Attachment(id, std::move(functions));
    return 1;
}

int GetCommandIDBody(lua_State* L)
{
    Attachment* attachment = Kind::CheckObject(L, 1);
    if (!attachment)
        return 0;
    lua_pushinteger(L, attachment->ID());
    return 1;
}

int IsAttachedBody(lua_State* L)
{
    Attachment* attachment = Kind::CheckObject(L, 1);
    lua_pushboolean(L, attachment && attachment->IsAttached());
    return 1;
}

int DetachBody(lua_State* L)
{
    if (Attachment* attachment = Kind::CheckObject(L, 1))
        attachment->Detach();
    return 0;
}

const luaL_Reg kMethods[] = {
    {"GetCommandID", LuaBoundary<GetCommandIDBody>},
    {"IsAttached", LuaBoundary<IsAttachedBody>},
    {"Detach", LuaBoundary<DetachBody>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"New", LuaBoundary<HostRefusals<NewBody>>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    AttachmentKind::MakeMetatable(L);
    luaL_register(L, "vyrCmdAttachment", kFunctions);
    return 1;
}

void AttachmentKind::MakeMetatable(lua_State* L)
{
    Kind::RegisterMetatable(L, kMethods);
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_vyrCmdAttachment(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
