#include "vyrlua/ui/LuaUI_NodeWrapper.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/VyrBinder.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/ui/OS_ScaledView.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"

#include <climits>
#include <cmath>
#include <string_view>

namespace vyrlua::ui {

using namespace vyrui::ui;
using utility::LuaBoundary;

const char* const LuaUI_NodeWrapper::kMetatableName = "vyrUINode";

namespace {

// ---------------------------------------------------------------------------
// Helpers. Argument 1 is self; a wrapper whose block is empty or whose node
// was released gives a null node, and the method returns no values.

NodePtr Self(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    return wrapper ? wrapper->GetNode() : NodePtr();
}

// A further node argument: "Bad user data" if it is not a wrapper.
NodePtr NodeArg(lua_State* L, int index)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, index);
    return wrapper ? wrapper->GetNode() : NodePtr();
}

int PushNode(lua_State* L, UI_Node* node)
{
    return LuaControlWrapperFactory(NodePtr(node), L) ? 1 : 0;
}

int PushBool(lua_State* L, bool value)
{
    lua_pushboolean(L, value);
    return 1;
}

// An optional boolean: absent means `def`; present reads Lua truth.
bool OptBool(lua_State* L, int index, bool def)
{
    return lua_gettop(L) < index ? def : lua_toboolean(L, index) != 0;
}

RectF RectArg(lua_State* L, int index)
{
    RectF r;
    drawbot::GetRectF32FromLua(L, index, r);
    return r;
}

PointF PointArg(lua_State* L, int index)
{
    PointF p;
    drawbot::GetPointF32FromLua(L, index, p);
    return p;
}

[[noreturn]] void ThrowInvalidTypeConversion()
{
    throw vyrcore::config::HostException(vyrcore::config::Localizer::Get().LocalizeUTF8(
        "$$$/vyrcore/utility/Error/InvalidTypeConversion=Invalid type conversion."));
}

OS_ScaledView& ScaledSelf(UI_Node& node)
{
    auto* scaled = dynamic_cast<OS_ScaledView*>(&node);
    if (!scaled)
        ThrowInvalidTypeConversion();
    return *scaled;
}

// Roots that count as windows for HasWindowRootNode. The workspace's
// TopLevelWindow joins this list when the workspace library provides it.
bool IsWindowRoot(const UI_Node& root)
{
    return dynamic_cast<const UI_Dialog*>(&root) != nullptr ||
           dynamic_cast<const OS_PopupWindow*>(&root) != nullptr;
}

// ---------------------------------------------------------------------------
// The base contract: lifetime, identity, binding, timers.

int GcBody(lua_State* L)
{
    if (GetControlUserData(L, 1)) {
        // Emptied first, so a second __gc call (scripts can reach it) finds
        // nothing to free.
        auto** block = static_cast<LuaControlWrapperBase**>(lua_touserdata(L, 1));
        LuaControlWrapperBase* wrapper = *block;
        *block = nullptr;
        delete wrapper;
    }
    return 0;
}

int ToStringBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    UI_Node* node = wrapper ? wrapper->Node() : nullptr;
    std::string id = node ? node->UI_GetNodeID() : std::string();
    lua_pushfstring(L, "%s[ %s ](%p) -> UI_Node(%p)", LuaUI_NodeWrapper::GetMetatableName(),
                    id.c_str(), lua_topointer(L, 1), static_cast<void*>(node));
    return 1;
}

int ReleaseBody(lua_State* L)
{
    if (LuaControlWrapperBase* wrapper = GetControlUserData(L, 1))
        wrapper->ReleaseNode();
    return 0;
}

int EqualsBody(lua_State* L)
{
    LuaControlWrapperBase* self = GetControlUserData(L, 1);
    if (!self)
        return 0;
    if (lua_isnoneornil(L, 2))
        return PushBool(L, false);
    LuaControlWrapperBase* other = GetControlUserData(L, 2);
    return PushBool(L, self->Node() == (other ? other->Node() : nullptr));
}

int BindVyrOperationBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (!wrapper)
        return PushBool(L, false);
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    NodePtr node = wrapper->GetNode();
    if (!node)
        return PushBool(L, false);
    lua_pushvalue(L, 3);
    LuaFunctionRef function = utility::LuaReference<LUA_TFUNCTION>::Create(L);
    LuaBindingTable* table = GetLuaBindingTable(*node, true);
    if (!table)
        return PushBool(L, false);
    table->GetOrCreateBinder(*node).Bind(operation, std::move(function));
    return PushBool(L, true);
}

int ControlWrapperIdentifierBody(lua_State*)
{
    return 0;
}

int InstallTimerBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (!wrapper)
        return 0;
    float interval = utility::ToFloat(utility::CheckNumber(L, 2));
    utility::CheckType(L, 3, LUA_TFUNCTION);
    lua_pushvalue(L, 3);
    LuaFunctionRef callback = utility::LuaReference<LUA_TFUNCTION>::Create(L);
    int timerID = 0;
    if (!wrapper->InstallTimer(L, interval, std::move(callback), timerID) || timerID == 0)
        return 0;
    lua_pushnumber(L, timerID);
    return 1;
}

int RemoveTimerBody(lua_State* L)
{
    LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
    if (!wrapper)
        return 0;
    wrapper->RemoveTimer(utility::CheckInt(L, 2));
    return 0;
}

// ---------------------------------------------------------------------------
// Children. "ChildGet" is 1-based; the other positions pass through 0-based.

int ChildPushBackBody(lua_State* L)
{
    NodePtr self = Self(L);
    NodePtr child = NodeArg(L, 2);
    if (self && child)
        UI_Container::ChildPushBack(*self, child);
    return 0;
}

int ChildSizeBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_pushinteger(L, UI_Container::ChildSize(*self));
    return 1;
}

int ChildGetBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_Integer index = utility::CheckInteger(L, 2);
    // Only the upper bound is tested here; 0 and below reach the host as
    // negative positions, which it answers with nothing.
    if (index > UI_Container::ChildSize(*self))
        return 0;
    long long position = index > LLONG_MIN ? static_cast<long long>(index) - 1 : LLONG_MIN;
    return PushNode(L, UI_Container::ChildGet(*self, position).get());
}

int ChildRemoveBody(lua_State* L)
{
    NodePtr self = Self(L);
    NodePtr child = NodeArg(L, 2);
    if (self && child)
        UI_Container::ChildRemove(*self, *child);
    return 0;
}

int ChildSwapOrderBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_Integer i = utility::CheckInteger(L, 2);
    lua_Integer j = utility::CheckInteger(L, 3);
    UI_Container::ChildSwapOrder(*self, i, j);
    return 0;
}

int ChildMoveBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_Integer from = utility::CheckInteger(L, 2);
    lua_Integer to = utility::CheckInteger(L, 3);
    UI_Container::ChildMove(*self, from, to);
    return 0;
}

int DeleteChildrenBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        UI_Container::DeleteChildren(*self);
    return 0;
}

int GetViewScaleFactorBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_pushnumber(L, self->GetViewScaleFactor());
    return 1;
}

// ---------------------------------------------------------------------------
// Tree navigation.

int IsChildOfBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    if (lua_isnoneornil(L, 2))
        return PushBool(L, false);
    NodePtr other = NodeArg(L, 2);
    return PushBool(L, other && self->UI_IsChildOf(other.get()));
}

int GetRootNodeBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushNode(L, self->UI_GetRootNode()) : 0;
}

int GetParentNodeBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushNode(L, self->UI_GetParentNode()) : 0;
}

int HasNonNullParentNodeBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_GetParentNode() != nullptr) : 0;
}

int HasWindowRootNodeBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, IsWindowRoot(*self->UI_GetRootNode())) : 0;
}

int GetDescendentByIDBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    return PushNode(L, self->UI_GetDescendentByID(utility::CheckLString(L, 2)));
}

int GetNodeIDBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    const std::string& id = self->UI_GetNodeID();
    lua_pushlstring(L, id.data(), id.size());
    return 1;
}

int SetNodeIDBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetNodeID(std::string(utility::CheckLString(L, 2)));
    return 0;
}

int GetIndexBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_pushinteger(L, self->UI_GetIndex());
    return 1;
}

int SetViewIndexBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    lua_Integer index = utility::CheckInteger(L, 2);
    if (UI_Node* parent = self->UI_GetParentNode())
        UI_Container::ChildMove(*parent, self->UI_GetIndex(), index);
    return 0;
}

int SetViewIndexToBackBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    if (UI_Node* parent = self->UI_GetParentNode())
        UI_Container::ChildMove(*parent, self->UI_GetIndex(), 0);
    return 0;
}

int SetViewIndexToFrontBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    if (UI_Node* parent = self->UI_GetParentNode()) {
        int last = UI_Container::ChildSize(*parent) - 1;
        int index = self->UI_GetIndex();
        if (index != last)
            UI_Container::ChildMove(*parent, index, last);
    }
    return 0;
}

// ---------------------------------------------------------------------------
// Geometry.

int GetClipToSelfEnabledBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_GetClipToSelfEnabled()) : 0;
}

int SetClipToSelfEnabledBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetClipToSelfEnabled(lua_toboolean(L, 2) != 0);
    return 0;
}

int GetLocalRectFBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushRectF32ToLua(L, self->UI_GetLocalRectF()) : 0;
}

int SetLocalRectFBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetLocalRectF(RectArg(L, 2));
    return 0;
}

int SetToParentRectFBody(lua_State* L)
{
    NodePtr self = Self(L);
    UI_Node* parent = self ? self->UI_GetParentNode() : nullptr;
    if (!parent)
        return 0;
    RectF bounds = parent->UI_GetBoundsF();
    if (auto* scaled = dynamic_cast<OS_ScaledView*>(parent))
        bounds = scaled->UI_GetScaleRect(bounds);
    self->UI_SetLocalRectF(bounds);
    return 0;
}

int LocalToGlobalRectFBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushRectF32ToLua(L, self->UI_LocalToGlobalRectF(RectArg(L, 2))) : 0;
}

int LocalToGlobalPointFBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushPointF32ToLua(L, self->UI_LocalToGlobalPointF(PointArg(L, 2))) : 0;
}

int GlobalToLocalRectFBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushRectF32ToLua(L, self->UI_GlobalToLocalRectF(RectArg(L, 2))) : 0;
}

int GlobalToLocalPointFBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushPointF32ToLua(L, self->UI_GlobalToLocalPointF(PointArg(L, 2))) : 0;
}

// ---------------------------------------------------------------------------
// Tool tips and visibility.

int SetToolTipBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    std::u16string text = GetUTF16Arg(L, 2);
    int delay = utility::OptInt(L, 3, 400);
    self->UI_SetToolTip(std::move(text), delay);
    return 0;
}

int DisableToolTipBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_DisableToolTip();
    return 0;
}

int SetUpdateToolTipOnEveryMouseOverChangeBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetUpdateToolTipOnEveryMouseOverChange(lua_toboolean(L, 2) != 0);
    return 0;
}

int SetToolTipAvoidsBoundsBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetToolTipAvoidsBounds(OptBool(L, 2, true));
    return 0;
}

int GetToolTipAvoidsBoundsBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_GetToolTipAvoidsBounds()) : 0;
}

int ShowBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_Show(OptBool(L, 2, true));
    return 0;
}

int IsShownBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_IsShown()) : 0;
}

int AreAllParentsVisibleBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_AreAllParentsVisible()) : 0;
}

// ---------------------------------------------------------------------------
// Invalidation, enabling, drawing.

// Rounds outward to whole units; a coordinate with no int (NaN, infinite,
// huge) is an argument error rather than a wrapped number.
RectI WholeUnitsCovering(const RectF& r, int narg)
{
    double left = std::floor(static_cast<double>(r.left));
    double top = std::floor(static_cast<double>(r.top));
    double right = std::ceil(static_cast<double>(r.left) + r.width);
    double bottom = std::ceil(static_cast<double>(r.top) + r.height);
    int l = utility::ToInt(left, narg);
    int t = utility::ToInt(top, narg);
    int width = utility::ToInt(right - l, narg);
    int height = utility::ToInt(bottom - t, narg);
    utility::ToInt(right, narg);
    utility::ToInt(bottom, narg);
    return {l, t, width, height};
}

int InvalidateBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    if (lua_isnoneornil(L, 2))
        self->UI_Invalidate();
    else
        self->UI_Invalidate(WholeUnitsCovering(RectArg(L, 2), 2));
    return 0;
}

int SetEnabledBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetEnabled(lua_toboolean(L, 2) != 0);
    return 0;
}

int IsEnabledBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_IsEnabled()) : 0;
}

int GetDrawSupplierBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    std::shared_ptr<vyrui::drawbot::SupplierInterface> supplier = self->UI_GetDrawSupplier();
    if (!supplier)
        return 0;
    return drawbot::PushSupplierToLua(L, supplier.get());
}

int GetRecommendedSizeBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    std::shared_ptr<vyrui::drawbot::SupplierInterface> supplier;
    if (lua_isnoneornil(L, 2))
        supplier = self->UI_GetDrawSupplier();
    else
        supplier = vyrlua_checkSupplier(L, 2)->supplier.lock();
    if (!supplier)
        return 0;
    // Measuring needs a drawbot, not a canvas: the smallest surface will do.
    boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface =
        supplier->NewOffscreenSurface(1, 1, false);
    if (!surface)
        return 0;
    vyrui::drawbot::Drawbot drawbot(supplier, surface);
    return drawbot::PushPointF32ToLua(L, self->UI_GetRecommendedSize(drawbot));
}

// ---------------------------------------------------------------------------
// Focus, update, events.

int GainKeyboardFocusBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    return PushBool(L, self->UI_GainKeyboardFocus(utility::CheckInt(L, 2)));
}

int LoseKeyboardFocusBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_LoseKeyboardFocus();
    return 0;
}

int HasKeyboardFocusBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_HasKeyboardFocus()) : 0;
}

int UpdateNowBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_UpdateNow();
    return 0;
}

int DoMouseEventBody(lua_State* L)
{
    NodePtr self = Self(L);
    NodePtr target = NodeArg(L, 2);
    std::unique_ptr<vyrui::events::MouseEvent> event = GetMouseEventFromLua(L, 3);
    if (self && target && event)
        self->UI_DispatchMouseEventToNode(*target, *event);
    return 0;
}

int IsMouseOverBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_IsMouseOver()) : 0;
}

// ---------------------------------------------------------------------------
// Theme and focus wishes.

int SetThemeNameBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_GetThemeComponent().SetThemeName(std::string(utility::CheckLString(L, 2)));
    return 0;
}

int SetDrawCachePolicyBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    std::string_view policy = utility::CheckLString(L, 2);
    int value = kDrawCachePolicy_Default;
    if (policy == "never")
        value = kDrawCachePolicy_Never;
    else if (policy == "always")
        value = kDrawCachePolicy_Always;
    else if (policy == "always_as_bitmap")
        value = kDrawCachePolicy_AlwaysAsBitmap;
    self->UI_SetDrawCachePolicy(value);
    return 0;
}

int SetWantsKeyboardFocusBody(lua_State* L)
{
    if (NodePtr self = Self(L))
        self->UI_SetWantsKeyboardFocus(lua_toboolean(L, 2) != 0);
    return 0;
}

int WantsKeyboardFocusBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_WantsKeyboardFocus()) : 0;
}

int SetCustomThemeColorBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    int slot = utility::CheckInt(L, 2);
    vyrui::drawbot::ColorRGBA color{0, 0, 0, 1};
    if (!lua_isnoneornil(L, 3))
        drawbot::GetColorRGBAFromLua(L, 3, color);
    self->UI_GetThemeComponent().SetCustomColor(slot, color);
    return 0;
}

int IsSubViewBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? PushBool(L, self->UI_IsSubView()) : 0;
}

// ---------------------------------------------------------------------------
// Scaled views.

int GetInverseScaleRectBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    RectF r = RectArg(L, 2);
    return drawbot::PushRectF32ToLua(L, ScaledSelf(*self).UI_GetInverseScaleRect(r));
}

int GetScaleRectBody(lua_State* L)
{
    NodePtr self = Self(L);
    if (!self)
        return 0;
    RectF r = RectArg(L, 2);
    return drawbot::PushRectF32ToLua(L, ScaledSelf(*self).UI_GetScaleRect(r));
}

int GetScaleBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushPointF32ToLua(L, ScaledSelf(*self).UI_GetScale()) : 0;
}

int GetInverseScaleBody(lua_State* L)
{
    NodePtr self = Self(L);
    return self ? drawbot::PushPointF32ToLua(L, ScaledSelf(*self).UI_GetInverseScale()) : 0;
}

} // namespace

const luaL_Reg LuaUI_NodeWrapper::methods[] = {
    {"__gc", LuaBoundary<GcBody>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {"Equals", LuaBoundary<EqualsBody>},
    {"BindVyrOperation", LuaBoundary<BindVyrOperationBody>},
    {"ControlWrapperIdentifier", LuaBoundary<ControlWrapperIdentifierBody>},
    {"ChildPushBack", LuaBoundary<ChildPushBackBody>},
    {"ChildSize", LuaBoundary<ChildSizeBody>},
    {"ChildGet", LuaBoundary<ChildGetBody>},
    {"ChildRemove", LuaBoundary<ChildRemoveBody>},
    {"ChildSwapOrder", LuaBoundary<ChildSwapOrderBody>},
    {"ChildMove", LuaBoundary<ChildMoveBody>},
    {"GetViewScaleFactor", LuaBoundary<GetViewScaleFactorBody>},
    {"UI_IsChildOf", LuaBoundary<IsChildOfBody>},
    {"UI_GetRootNode", LuaBoundary<GetRootNodeBody>},
    {"UI_GetParentNode", LuaBoundary<GetParentNodeBody>},
    {"HasNonNullParentNode", LuaBoundary<HasNonNullParentNodeBody>},
    {"HasWindowRootNode", LuaBoundary<HasWindowRootNodeBody>},
    {"DeleteChildren", LuaBoundary<DeleteChildrenBody>},
    {"UI_GetClipToSelfEnabled", LuaBoundary<GetClipToSelfEnabledBody>},
    {"UI_SetClipToSelfEnabled", LuaBoundary<SetClipToSelfEnabledBody>},
    {"UI_GetLocalRectF", LuaBoundary<GetLocalRectFBody>},
    {"UI_SetLocalRectF", LuaBoundary<SetLocalRectFBody>},
    {"UI_SetToParentRectF", LuaBoundary<SetToParentRectFBody>},
    {"UI_LocalToGlobalRectF", LuaBoundary<LocalToGlobalRectFBody>},
    {"UI_LocalToGlobalPointF", LuaBoundary<LocalToGlobalPointFBody>},
    {"UI_GlobalToLocalRectF", LuaBoundary<GlobalToLocalRectFBody>},
    {"UI_GlobalToLocalPointF", LuaBoundary<GlobalToLocalPointFBody>},
    {"UI_SetToolTip", LuaBoundary<SetToolTipBody>},
    {"UI_DisableToolTip", LuaBoundary<DisableToolTipBody>},
    {"UI_SetUpdateToolTipOnEveryMouseOverChange", LuaBoundary<SetUpdateToolTipOnEveryMouseOverChangeBody>},
    {"UI_SetToolTipAvoidsBounds", LuaBoundary<SetToolTipAvoidsBoundsBody>},
    {"UI_GetToolTipAvoidsBounds", LuaBoundary<GetToolTipAvoidsBoundsBody>},
    {"UI_Show", LuaBoundary<ShowBody>},
    {"UI_IsShown", LuaBoundary<IsShownBody>},
    {"UI_AreAllParentsVisible", LuaBoundary<AreAllParentsVisibleBody>},
    {"GetDescendentByID", LuaBoundary<GetDescendentByIDBody>},
    {"UI_GetNodeID", LuaBoundary<GetNodeIDBody>},
    {"UI_SetNodeID", LuaBoundary<SetNodeIDBody>},
    {"UI_GetIndex", LuaBoundary<GetIndexBody>},
    {"SetViewIndex", LuaBoundary<SetViewIndexBody>},
    {"SetViewIndexToBack", LuaBoundary<SetViewIndexToBackBody>},
    {"SetViewIndexToFront", LuaBoundary<SetViewIndexToFrontBody>},
    {"UI_Invalidate", LuaBoundary<InvalidateBody>},
    {"UI_SetEnabled", LuaBoundary<SetEnabledBody>},
    {"UI_IsEnabled", LuaBoundary<IsEnabledBody>},
    {"UI_GetDrawSupplier", LuaBoundary<GetDrawSupplierBody>},
    {"UI_GainKeyboardFocus", LuaBoundary<GainKeyboardFocusBody>},
    {"UI_LoseKeyboardFocus", LuaBoundary<LoseKeyboardFocusBody>},
    {"UI_HasKeyboardFocus", LuaBoundary<HasKeyboardFocusBody>},
    {"UI_UpdateNow", LuaBoundary<UpdateNowBody>},
    {"UI_InstallTimer", LuaBoundary<InstallTimerBody>},
    {"UI_RemoveTimer", LuaBoundary<RemoveTimerBody>},
    {"UI_DoMouseEvent", LuaBoundary<DoMouseEventBody>},
    {"UI_GetRecommendedSize", LuaBoundary<GetRecommendedSizeBody>},
    {"UI_IsMouseOver", LuaBoundary<IsMouseOverBody>},
    {"SetThemeName", LuaBoundary<SetThemeNameBody>},
    {"UI_SetDrawCachePolicy", LuaBoundary<SetDrawCachePolicyBody>},
    {"UI_SetWantsKeyboardFocus", LuaBoundary<SetWantsKeyboardFocusBody>},
    {"UI_WantsKeyboardFocus", LuaBoundary<WantsKeyboardFocusBody>},
    {"SetCustomThemeColor", LuaBoundary<SetCustomThemeColorBody>},
    {"UI_IsSubView", LuaBoundary<IsSubViewBody>},
    {"UI_GetInverseScaleRect", LuaBoundary<GetInverseScaleRectBody>},
    {"UI_GetScaleRect", LuaBoundary<GetScaleRectBody>},
    {"UI_GetScale", LuaBoundary<GetScaleBody>},
    {"UI_GetInverseScale", LuaBoundary<GetInverseScaleBody>},
    {nullptr, nullptr},
};

void LuaUI_NodeWrapper::RegisterMethods(lua_State* L)
{
    luaL_register(L, nullptr, methods);
}

} // namespace vyrlua::ui
