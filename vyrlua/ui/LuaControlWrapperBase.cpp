#include "vyrlua/ui/LuaControlWrapperBase.h"

#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaInternedName.h"
#include "vyrlua/utility/LuaObjects.h"
#include "vyrcore/InitializerRegistrar.h"
#include "vyrcore/config.h"
#include "vyrcore/debug.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <memory>
#include <string_view>

namespace vyrlua::ui {

LuaControlWrapperBase::LuaControlWrapperBase(const NodePtr& node, lua_State*) : node(node)
{
    if (LuaBindingTable* table = node ? GetLuaBindingTable(*node, true) : nullptr)
        ++table->wrappers;
}

LuaControlWrapperBase::LuaControlWrapperBase(const LuaControlWrapperBase& other) : node(other.node)
{
    if (LuaBindingTable* table = node ? GetLuaBindingTable(*node, false) : nullptr)
        ++table->wrappers;
}

LuaControlWrapperBase& LuaControlWrapperBase::operator=(const LuaControlWrapperBase& other)
{
    if (this != &other) {
        ReleaseNode();
        node = other.node;
        if (LuaBindingTable* table = node ? GetLuaBindingTable(*node, false) : nullptr)
            ++table->wrappers;
    }
    return *this;
}

LuaControlWrapperBase::~LuaControlWrapperBase()
{
    ReleaseNode();
}

void LuaControlWrapperBase::ReleaseNode()
{
    if (node)
        if (LuaBindingTable* table = GetLuaBindingTable(*node, false))
            table->WrapperGone(*node);
    // Cleared before the count drops: the node's destruction must not find
    // itself still held here.
    NodePtr old;
    old.swap(node);
}

bool LuaControlWrapperBase::InstallTimer(lua_State*, float interval, LuaFunctionRef callback,
                                         int& timerID)
{
    if (!node)
        return false;
    LuaBindingTable* table = GetLuaBindingTable(*node, true);
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get(false);
    if (!table || !manager)
        return false;
    int id = manager->GetUniqueTimerID();
    // OnDoTimerNotify's work, without the copy of the callback pointer its
    // by-value parameter would make on every tick.
    auto notify = std::make_shared<std::function<bool(int)>>(
        [id, callback](int firedID) { return utility::NotifyLuaTimer(firedID, id, callback); });
    node->UI_InstallTimer(interval, id);
    node->UI_InstallTimerNotifyFunction(notify);
    table->timers[id] = notify;
    table->timerFunctions[id] = callback;
    // The binder hears when the node changes place.
    table->GetOrCreateBinder(*node);
    table->Settle(*node);
    timerID = id;
    return true;
}

void LuaControlWrapperBase::RemoveTimer(int timerID)
{
    if (!node)
        return;
    node->UI_RemoveTimer(timerID, true);
    // Made even when missing: removing leaves a binding table behind.
    LuaBindingTable* table = GetLuaBindingTable(*node, true);
    if (!table)
        return;
    auto it = table->timers.find(timerID);
    if (it == table->timers.end())
        return;
    node->UI_RemoveTimerNotifyFunction(it->second);
    table->timers.erase(it);
    table->timerFunctions.erase(timerID);
}

bool LuaControlWrapperBase::OnDoTimerNotify(int firedID, int timerID, LuaFunctionRef callback)
{
    return utility::NotifyLuaTimer(firedID, timerID, callback);
}

namespace {
// Every method call tests the mark: interned, so the test hashes no text.
const utility::InternedName kIdentifierName("ControlWrapperIdentifier");
static_assert(std::string_view("ControlWrapperIdentifier") == kControlWrapperIdentifier);
} // namespace

const utility::LuaKindTag kWrapperKind{"vyrUINode"};

LuaControlWrapperBase* GetControlUserData(lua_State* L, int index)
{
    // Only a block the library made as a wrapper holds one, whatever its
    // metatable says; a block of another size is never read.
    void** block = utility::PointerBlockAt(L, index);
    if (block == nullptr || !lua_getmetatable(L, index))
        throw utility::LuaError("Bad user data");
    // Raw: the type mark is the metatable's own field, and a metamethod of
    // a foreign metatable must not run here.
    utility::PushName(L, kIdentifierName);
    lua_rawget(L, -2);
    int type = lua_type(L, -1);
    lua_pop(L, 2);
    if (type != LUA_TFUNCTION)
        throw utility::LuaError("Bad user data");
    // Emptied by an early __gc: a wrapper with nothing in it.
    if (*block == nullptr)
        return nullptr;
    if (utility::PayloadKind(*block) != &kWrapperKind)
        throw utility::LuaError("Bad user data");
    return static_cast<LuaControlWrapperBase*>(*block);
}

void ThrowInvalidTypeConversion()
{
    throw vyrcore::config::HostException(vyrcore::config::Localizer::Get().LocalizeUTF8(
        "$$$/vyrcore/utility/Error/InvalidTypeConversion=Invalid type conversion."));
}

int CollectControlWrapper(lua_State* L)
{
    // By the record alone: a script that deletes the mark from a metatable
    // must not stop its wrappers from being freed.
    delete static_cast<LuaControlWrapperBase*>(utility::TakePayload(L, 1, kWrapperKind));
    return 0;
}

namespace {

void TraceWrapperStep(const char* line)
{
    if (vyrcore::debug::TraceEnabled("vyrlua"))
        vyrcore::debug::Trace("vyrlua", line);
}

// The wrappers' start-up step: nothing to set up beyond saying so.
const vyrcore::InitializerRegistrar gLuaControlWrapperInitializer(
    "LuaControlWrapper",
    [] { TraceWrapperStep("LuaControlWrapperInitializerRegistrar::LuaControlWrapperInitializerRegistrar"); },
    [] { TraceWrapperStep("LuaControlWrapperInitializerRegistrar::~LuaControlWrapperInitializerRegistrar"); });

} // namespace

} // namespace vyrlua::ui
