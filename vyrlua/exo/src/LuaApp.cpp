#include "vyrlua/exo/src/LuaApp.h"

#include "vyrcore/BetaFeatures.h"
#include "vyrcore/config.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjectBlock.h"
#include "vyrlua/utility/LuaPropList.h"
#include "vyrlua/utility/LuaProtectedCall.h"
#include "vyrlua/utility/OSMenu.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <map>
#include <vector>

namespace vyrlua::exo {

namespace {

using ::exo::app::App;
using utility::CheckInt;
using utility::CheckInteger;
using utility::CheckLString;
using utility::LuaBoundary;
using utility::LuaError;
using vyrcore::proplist::PropList;
using vyrcore::proplist::PropListPtr;

constexpr const char* kAppActivated = "appActivated";
constexpr const char* kAppDeactivated = "appDeactivated";

// ---- the application handle ---------------------------------------------

// The handle: an object one pointer wide, as every library object is, whose
// payload holds the App (not owned: the application outlives the state).
struct AppHandle {
    App* app = nullptr;
};

struct AppKind {
    using Payload = AppHandle;
    static constexpr const char* kMetatable = kAppMetatable;
    static constexpr const char* kWord = "eXoApp";
    static void MakeMetatable(lua_State* L);
    static const void* Identity(AppHandle& handle) { return handle.app; }
    static void Release(AppHandle&) {}
};
using AppObject = utility::LuaKind<AppKind>;

// The handle's App, or null. A handle kept from an application that has
// since ended holds a pointer to nothing: only the live one is used.
App* CheckApp(lua_State* L)
{
    AppHandle* handle = AppObject::Check(L, 1);
    App* app = handle ? handle->app : nullptr;
    return app != nullptr && app == App::GetApp() ? app : nullptr;
}

int ToStringBody(lua_State* L)
{
    CheckApp(L);
    lua_pushfstring(L, "eXoApp(%p)", lua_touserdata(L, 1));
    return 1;
}

int GetAppBody(lua_State* L)
{
    return PushAppToLua(L, App::GetApp());
}

int GetAppSettingsBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    return utility::PushPropList(L, [L]() -> PropListPtr {
        App* app = CheckApp(L);
        return app ? app->GetAppSettings() : nullptr;
    });
}

// ---- preferences ----------------------------------------------------------

enum class PrefType { Bool, Number, String, Other };

PrefType PrefTypeAt(lua_State* L, int index)
{
    switch (lua_type(L, index)) {
    case LUA_TBOOLEAN: return PrefType::Bool;
    case LUA_TNUMBER: return PrefType::Number;
    case LUA_TSTRING: return PrefType::String;
    default: return PrefType::Other;
    }
}

struct PrefCall {
    int line;
    const char* function;
    const char* typeError;
};

constexpr PrefCall kGetPref{120, "vyrlua::exo::lua_GetPref",
                            "lua_GetPref(): default is missing or an unsupported type (app prefs)."};
constexpr PrefCall kSetPref{
    167, "vyrlua::exo::lua_SetPref",
    "lua_SetPref(): value is missing or an unsupported type (debug database)."};

// The arguments both preference calls share: (self, section, key, value),
// the value's type deciding the preference's. Returns the application.
App& PrefArgs(lua_State* L, const PrefCall& call, std::string_view& section,
              std::string_view& key, PrefType& type)
{
    if (!CheckApp(L))
        vyrcore::config::DoSimpleAssert("LuaApp", call.line, call.function);
    section = CheckLString(L, 2);
    key = CheckLString(L, 3);
    type = PrefTypeAt(L, 4);
    if (type == PrefType::Other)
        throw LuaError(call.typeError);
    // Converting a number argument to text may have run a collection.
    App* app = CheckApp(L);
    if (!app)
        vyrcore::config::DoSimpleAssert("LuaApp", call.line, call.function);
    return *app;
}

int GetPrefBody(lua_State* L)
{
    std::string_view section, key;
    PrefType type;
    App& app = PrefArgs(L, kGetPref, section, key, type);
    PropListPtr list = app.GetAppSettings()->GetSubList(section);
    switch (type) {
    case PrefType::Bool:
        lua_pushboolean(L, list ? list->GetBool(key).value_or(lua_toboolean(L, 4) != 0)
                                : lua_toboolean(L, 4) != 0);
        return 1;
    case PrefType::Number:
        lua_pushnumber(L, list ? list->GetNumber(key).value_or(lua_tonumber(L, 4))
                               : lua_tonumber(L, 4));
        return 1;
    default: {
        std::optional<std::string> stored = list ? list->GetString(key) : std::nullopt;
        list.reset();
        if (!stored) {
            lua_settop(L, 4);
            return 1;
        }
        utility::PushLString(L, *stored);
        return 1;
    }
    }
}

int SetPrefBody(lua_State* L)
{
    std::string_view section, key;
    PrefType type;
    App& app = PrefArgs(L, kSetPref, section, key, type);
    PropListPtr list = app.GetOrCreateSubList(section);
    if (type == PrefType::Bool)
        list->SetBool(key, lua_toboolean(L, 4) != 0);
    else if (type == PrefType::Number)
        list->SetNumber(key, lua_tonumber(L, 4));
    else
        list->SetString(key, CheckLString(L, 4));
    return 0;
}

// ClearPrefSection(section [, key]): the whole section, or one key of it.
int ClearPrefSectionBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    std::string_view section = CheckLString(L, 2);
    std::string_view key = utility::OptLString(L, 3, {});
    bool oneKey = !lua_isnoneornil(L, 3);
    App* app = CheckApp(L);
    if (!app)
        return 0;
    if (!oneKey)
        app->GetAppSettings()->RemoveValue(section);
    else if (PropListPtr list = app->GetAppSettings()->GetSubList(section))
        list->RemoveValue(key);
    return 0;
}

// ---- commands and menus ----------------------------------------------------

int PostCommandBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    int id = CheckInt(L, 2);
    if (App* app = CheckApp(L))
        app->PostCommand(id);
    return 0;
}

int EndEventLoopBody(lua_State* L)
{
    if (App* app = CheckApp(L))
        app->EndEventLoop();
    return 0;
}

int GetMainMenuBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    return utility::CreateOSMenuFromPlatformMenu(L, [L]() -> ::exo::app::PlatformMenuPtr {
        App* app = CheckApp(L);
        return app ? app->GetMainMenu() : nullptr;
    });
}

int IsSyntheticCmdIDBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    lua_Integer id = CheckInteger(L, 2);
    lua_pushboolean(L, ::exo::app::SyntheticCmdMgr::Get()->IsSyntheticCmdID(id));
    return 1;
}

int ReserveCmdBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    lua_pushinteger(L, ::exo::app::SyntheticCmdMgr::Get()->ReserveCmd());
    return 1;
}

int ReserveCmdRangeBody(lua_State* L)
{
    if (!CheckApp(L))
        return 0;
    lua_Integer count = CheckInteger(L, 2);
    lua_pushinteger(L, ::exo::app::SyntheticCmdMgr::Get()->ReserveCmdRange(count));
    return 1;
}

// ---- module functions -------------------------------------------------------

// The activation and key-mapping callbacks, as registry references of the
// state that opened the module last. There is one at a time: opening the
// module again (in any state) replaces it, and closing its state ends it
// (a userdata in that state's registry owns it), removing its host
// listeners.
class AppCallbacks {
public:
    // `L` is the state's main thread (callbacks are never run on a
    // coroutine, which may be suspended or gone).
    AppCallbacks(lua_State* L, AppCallbacks** block)
        : mL(L), mRegistry(lua_topointer(L, LUA_REGISTRYINDEX)), mBlock(block),
          mApp(App::GetApp())
    {
        if (mApp)
            mActivationListener = mApp->AddActivationListener(
                [this](bool active) { Notify(active ? kAppActivated : kAppDeactivated); });
    }
    ~AppCallbacks()
    {
        *mBlock = nullptr;
        if (mApp && mApp == App::GetApp()) {
            mApp->RemoveActivationListener(mActivationListener);
            for (int handle : mKeyListeners)
                mApp->GetKeyMappings().RemoveChangedListener(handle);
        }
        // A closing state drops its references itself.
        if (!mClosing) {
            for (const auto& entry : mActivation)
                luaL_unref(mL, LUA_REGISTRYINDEX, entry.second);
            for (int ref : mKeyRefs)
                luaL_unref(mL, LUA_REGISTRYINDEX, ref);
        }
    }
    AppCallbacks(const AppCallbacks&) = delete;
    AppCallbacks& operator=(const AppCallbacks&) = delete;

    void SetClosing() { mClosing = true; }
    // Whether `L` is a thread of the state these callbacks belong to.
    bool SameState(lua_State* L) const { return lua_topointer(L, LUA_REGISTRYINDEX) == mRegistry; }

    lua_Integer AddActivation(int ref)
    {
        lua_Integer handle = mNextHandle++;
        mActivation.emplace(handle, ref);
        return handle;
    }
    void RemoveActivation(lua_Integer handle)
    {
        auto it = mActivation.find(handle);
        if (it == mActivation.end())
            return;
        luaL_unref(mL, LUA_REGISTRYINDEX, it->second);
        mActivation.erase(it);
    }
    void AddKeyMappings(int ref)
    {
        mKeyRefs.push_back(ref);
        if (mApp)
            mKeyListeners.push_back(
                mApp->GetKeyMappings().AddChangedListener([this, ref] { Call(ref, nullptr); }));
    }

private:
    void Notify(const char* event)
    {
        // By handle: a callback may remove others, or replace this registry.
        std::vector<lua_Integer> handles;
        for (const auto& entry : mActivation)
            handles.push_back(entry.first);
        AppCallbacks* self = this;
        for (lua_Integer handle : handles) {
            auto it = self->mActivation.find(handle);
            if (it != self->mActivation.end())
                self->Call(it->second, event);
            if (gCallbacks != self)
                return;
        }
    }

    // Errors are reported through the host error service.
    void Call(int ref, const char* event)
    {
        lua_State* L = mL;
        utility::ScPreserveLuaStack guard(L);
        vyrcore::config::ExecuteFunctionAndConvertException([&] {
            if (!lua_checkstack(L, 3))
                throw vyrcore::config::HostException("no room on the Lua stack for a callback");
            lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
            int nargs = 0;
            if (event) {
                lua_pushstring(L, event);
                nargs = 1;
            }
            utility::CallLuaFromCpp(L, nargs, 0);
            return 0;
        });
    }

    lua_State* mL;
    const void* mRegistry;  // the state's registry table, shared by its threads
    AppCallbacks** mBlock;
    App* mApp;
    int mActivationListener = 0;
    std::vector<int> mKeyListeners;
    std::vector<int> mKeyRefs;
    std::map<lua_Integer, int> mActivation;  // handle -> registry reference
    lua_Integer mNextHandle = 1;
    bool mClosing = false;

public:
    static AppCallbacks* gCallbacks;  // the one there is, or null
};

AppCallbacks* AppCallbacks::gCallbacks = nullptr;
char gCallbacksKey;

// The holder's __gc. Scripts can reach the holder (debug.getregistry), so
// only the block the registry keeps is taken, and only once.
int CollectCallbacksBody(lua_State* L)
{
    void* block = lua_touserdata(L, 1);
    lua_pushlightuserdata(L, &gCallbacksKey);
    lua_rawget(L, LUA_REGISTRYINDEX);
    bool ours = block != nullptr && lua_touserdata(L, -1) == block;
    lua_pop(L, 1);
    if (!ours)
        return 0;
    if (auto* callbacks = *static_cast<AppCallbacks**>(block)) {
        if (callbacks == AppCallbacks::gCallbacks)
            AppCallbacks::gCallbacks = nullptr;
        callbacks->SetClosing();
        delete callbacks;
    }
    return 0;
}

// Replaces the registry with a new one for this state.
void InstallCallbacks(lua_State* L)
{
    // The holder first: a failing allocation leaves the old registry.
    lua_pushlightuserdata(L, &gCallbacksKey);
    auto** block = static_cast<AppCallbacks**>(lua_newuserdata(L, sizeof(AppCallbacks*)));
    *block = nullptr;
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, LuaBoundary<CollectCallbacksBody>);
    lua_setfield(L, -2, "__gc");
    lua_setmetatable(L, -2);
    lua_rawset(L, LUA_REGISTRYINDEX);
    delete AppCallbacks::gCallbacks;
    AppCallbacks::gCallbacks = nullptr;
    // The main thread: the opener may run in a coroutine.
    lua_State* main = L;
    if (!lua_pushthread(L)) {
        lua_State* host = KzKernel_CurrentLuaState();
        if (host && lua_topointer(host, LUA_REGISTRYINDEX) == lua_topointer(L, LUA_REGISTRYINDEX))
            main = host;
    }
    lua_pop(L, 1);
    *block = new AppCallbacks(main, block);
    AppCallbacks::gCallbacks = *block;
}

AppCallbacks& Callbacks(lua_State* L)
{
    AppCallbacks* callbacks = AppCallbacks::gCallbacks;
    if (!callbacks || !callbacks->SameState(L))
        throw LuaError("App: callbacks go to the state that opened the module last");
    return *callbacks;
}

int AddAppActivationCallbackBody(lua_State* L)
{
    utility::CheckType(L, 1, LUA_TFUNCTION);
    AppCallbacks& callbacks = Callbacks(L);
    lua_settop(L, 1);
    int ref = luaL_ref(L, LUA_REGISTRYINDEX);
    lua_Integer handle = callbacks.AddActivation(ref);
    lua_settop(L, 0);
    lua_pushinteger(L, handle);
    return 1;
}

int RemoveAppActivationCallbackBody(lua_State* L)
{
    lua_Integer handle = CheckInteger(L, 1);
    Callbacks(L).RemoveActivation(handle);
    return 0;
}

int AddKeyMappingsChangedCallbackBody(lua_State* L)
{
    utility::CheckType(L, 1, LUA_TFUNCTION);
    AppCallbacks& callbacks = Callbacks(L);
    lua_settop(L, 1);
    callbacks.AddKeyMappings(luaL_ref(L, LUA_REGISTRYINDEX));
    return 0;
}

// GetShortcutString(command ID): the shortcut text of the command's key
// mapping, "" when it has none.
int GetShortcutStringBody(lua_State* L)
{
    int id = CheckInt(L, 1);
    App* app = App::GetApp();
    std::string text = app ? app->GetKeyMappings().GetShortcutString(id) : std::string();
    utility::PushLString(L, text);
    return 1;
}

int IsApplicationFrontmostBody(lua_State* L)
{
    auto* manager = vyrui::ui::UI_NodeManager::Get(false);
    App* app = App::GetApp();
    lua_pushboolean(L, manager ? manager->IsApplicationFrontmost()
                               : (app && app->IsApplicationActive()));
    return 1;
}

int IsBetaPrimeBody(lua_State* L)
{
    lua_pushboolean(L, vyrcore::config::IsBetaPrime());
    return 1;
}

const luaL_Reg kMethods[] = {
    {"__tostring", LuaBoundary<ToStringBody>},
    {"GetAppSettings", LuaBoundary<GetAppSettingsBody>},
    {"GetPref", LuaBoundary<utility::HostRefusals<GetPrefBody>>},
    {"SetPref", LuaBoundary<utility::HostRefusals<SetPrefBody>>},
    {"ClearPrefSection", LuaBoundary<ClearPrefSectionBody>},
    {"PostCommand", LuaBoundary<PostCommandBody>},
    {"EndEventLoop", LuaBoundary<EndEventLoopBody>},
    {"GetMainMenu", LuaBoundary<GetMainMenuBody>},
    {"IsSyntheticCmdID", LuaBoundary<IsSyntheticCmdIDBody>},
    {"ReserveCmd", LuaBoundary<utility::HostRefusals<ReserveCmdBody>>},
    {"ReserveCmdRange", LuaBoundary<utility::HostRefusals<ReserveCmdRangeBody>>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"GetApp", LuaBoundary<GetAppBody>},
    {"AddAppActivationCallback", LuaBoundary<AddAppActivationCallbackBody>},
    {"RemoveAppActivationCallback", LuaBoundary<RemoveAppActivationCallbackBody>},
    {"AddKeyMappingsChangedCallback", LuaBoundary<AddKeyMappingsChangedCallbackBody>},
    {"GetShortcutString", LuaBoundary<GetShortcutStringBody>},
    {"IsApplicationFrontmost", LuaBoundary<IsApplicationFrontmostBody>},
    {"IsBetaPrime", LuaBoundary<IsBetaPrimeBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    InstallCallbacks(L);
    AppKind::MakeMetatable(L);
    luaL_register(L, "App", kFunctions);
    lua_pushstring(L, kAppActivated);
    lua_setfield(L, -2, kAppActivated);
    lua_pushstring(L, kAppDeactivated);
    lua_setfield(L, -2, kAppDeactivated);
    return 1;
}

// luaL_newmetatable("vyrlua.exo.App"), its own __index, the methods; its
// __tostring is the handle's own ("eXoApp(<userdata address>)").
void AppKind::MakeMetatable(lua_State* L)
{
    AppObject::RegisterMetatable(L, kMethods, AppObject::kCollected);
}

} // namespace

int PushAppToLua(lua_State* L, App* app)
{
    AppObject::Push(L)->app = app;
    return 1;
}

} // namespace vyrlua::exo

extern "C" int luaopen_vyrlua_exo_app(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::exo::OpenBody>(L);
}
