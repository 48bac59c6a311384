#include "vyrlua/ui/VyrBinder.h"

#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/ui/InteractiveChangeMessage.h"
#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaStack.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrcore/string.h"

#include <type_traits>

namespace vyrlua::ui {

using namespace vyrui::events;
using vyrui::ui::UI_InteractiveChange;
using vyrui::ui::UI_Node;

namespace {

int PushNode(lua_State* L, UI_Node* node)
{
    return LuaControlWrapperFactory(NodePtr(node), L) ? 1 : 0;
}

// The message table, made protected: its allocations may fail. Argument 1
// is the control's wrapper (or nil), upvalue-free so it runs under cpcall.
int MakeChangeMessage(lua_State* L)
{
    auto* change = static_cast<const UI_InteractiveChange*>(lua_touserdata(L, 1));
    lua_createtable(L, 0, 2);
    lua_pushinteger(L, change->phase);
    lua_setfield(L, -2, "changeMessage");
    lua_getfield(L, LUA_REGISTRYINDEX, kInteractiveChangeMessageMetatable);
    lua_setmetatable(L, -2);
    return 1;
}

// A drawbot object for the call's duration: it goes out of scope with the
// drawbot. Protected: making it allocates.
int PushDrawbot(lua_State* L)
{
    return drawbot::PushDrawbotToLua(L, *static_cast<vyrui::drawbot::Drawbot*>(lua_touserdata(L, 1)));
}

int PushInteractiveChange(lua_State* L, const UI_InteractiveChange& change)
{
    utility::PushFromProtectedCall(L, MakeChangeMessage, const_cast<UI_InteractiveChange*>(&change));
    // The wrapper is pushed by the factory, which protects itself.
    if (PushNode(L, change.control) == 0)
        lua_pushnil(L);
    lua_setfield(L, -2, "control");
    return 1;
}

int PushArg(lua_State* L, const vyrui::ui::UI_NotificationArg& arg)
{
    return std::visit(
        [L](const auto& v) -> int {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>)
                lua_pushnil(L);
            else if constexpr (std::is_same_v<T, bool>)
                lua_pushboolean(L, v);
            else if constexpr (std::is_same_v<T, int>)
                lua_pushinteger(L, v);
            else if constexpr (std::is_same_v<T, double>)
                lua_pushnumber(L, v);
            else if constexpr (std::is_same_v<T, std::string_view>)
                utility::PushLString(L, v);
            else if constexpr (std::is_same_v<T, std::u16string_view>)
                utility::PushLString(L, vyrcore::string::UTF16to8(v));
            else if constexpr (std::is_same_v<T, const MouseEvent*>)
                return PushMouseEventToLua(L, *v);
            else if constexpr (std::is_same_v<T, const KeyboardEvent*>)
                return PushKeyboardEventToLua(L, *v);
            else if constexpr (std::is_same_v<T, const TouchEvent*>)
                return PushTouchEventToLua(L, *v);
            else if constexpr (std::is_same_v<T, const MultiTouchEvent*>)
                return PushMultiTouchEventToLua(L, *v);
            else if constexpr (std::is_same_v<T, const GestureEvent*>)
                return PushGestureEventToLua(L, *v);
            else if constexpr (std::is_same_v<T, UI_Node*>) {
                if (PushNode(L, v) == 0)
                    lua_pushnil(L);
            } else if constexpr (std::is_same_v<T, UI_InteractiveChange>)
                return PushInteractiveChange(L, v);
            else if constexpr (std::is_same_v<T, vyrcore::geom::PointF>)
                return drawbot::PushPointF32ToLua(L, v);
            else if constexpr (std::is_same_v<T, vyrui::drawbot::Drawbot*>)
                utility::PushFromProtectedCall(L, PushDrawbot, v);
            return 1;
        },
        arg);
}

} // namespace

int PushNotificationArgs(lua_State* L, UI_Node& node, const vyrui::ui::UI_Notification& notification)
{
    int count = 0;
    for (const auto& arg : notification.args) {
        utility::EnsureStack(L, 2);
        count += PushArg(L, arg);
    }
    if (notification.passNode)
        count += PushNode(L, &node);
    return count;
}

bool NotifyLuaFunction(const LuaFunctionRef& function, UI_Node& node,
                       const vyrui::ui::UI_Notification& notification)
{
    // Held: the function may detach itself.
    LuaFunctionRef held = function;
    return utility::CallLuaReference(
        held, 0, [&](lua_State* L) { return PushNotificationArgs(L, node, notification); },
        utility::NoResults, utility::OnLuaError::Report);
}

void VyrBinder::Bind(std::string_view operation, LuaFunctionRef function)
{
    LuaBinder::Bind(operation, std::move(function));
    UI_OnParentChanged(*mNode);
}

void VyrBinder::UI_OnParentChanged(UI_Node& node)
{
    if (LuaBindingTable* table = GetLuaBindingTable(node, false))
        table->Settle(node);
}

bool VyrBinder::UI_Notify(UI_Node& node, const vyrui::ui::UI_Notification& notification)
{
    const LuaFunctionRef* function = FindPtr(notification.operation);
    if (function == nullptr)
        return false;
    return Dispatch(*function, notification.operation,
                    [&](lua_State* L) { return PushNotificationArgs(L, node, notification); });
}

} // namespace vyrlua::ui
