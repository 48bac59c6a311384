#include "vyrlua/ui/LuaUI_NodeWrapper.h"

#include "vyrcore/config.h"
#include "vyrlua/ui/KnownOperations.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrlua/ui/VyrBinder.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/ui/OS_ScaledView.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"

#include <climits>
#include <cmath>

namespace vyrlua::ui {

using namespace vyrui::ui;
using utility::LuaBoundary;

namespace {

int PushBool(lua_State* L, bool value)
{
    lua_pushboolean(L, value);
    return 1;
}

// ---------------------------------------------------------------------------
// The base contract: lifetime, identity, binding, timers.

int ToStringBody(lua_State* L)
{
    UI_Node* node = NodeAt(L, 1);
    // The ID is pushed first and protected: no string of ours is alive when
    // the text is formatted (which allocates, and may raise).
    if (node)
        utility::PushLString(L, node->UI_GetNodeID());
    else
        lua_pushliteral(L, "");
    lua_pushfstring(L, "%s[ %s ](%p) -> UI_Node(%p)", LuaUI_NodeWrapper::GetMetatableName(),
                    lua_tostring(L, -1), lua_topointer(L, 1), static_cast<void*>(node));
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
    UI_Node* other = NodeAt(L, 2);
    return PushBool(L, self->Node() == other);
}

// The function argument at 3, referenced; self is resolved again after it,
// since making the reference allocates.
LuaFunctionRef ReferenceFunctionArg(lua_State* L)
{
    lua_pushvalue(L, 3);
    return utility::LuaReference<LUA_TFUNCTION>::Create(L);
}

int BindVyrOperationBody(lua_State* L)
{
    if (!GetControlUserData(L, 1))
        return PushBool(L, false);
    std::string_view operation = utility::CheckLString(L, 2);
    utility::CheckType(L, 3, LUA_TFUNCTION);
    CheckBoundOperation(L, operation);
    LuaFunctionRef function = ReferenceFunctionArg(L);
    UI_Node* node = NodeAt(L, 1);
    LuaBindingTable* table = node ? GetLuaBindingTable(*node, true) : nullptr;
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
    if (!GetControlUserData(L, 1))
        return 0;
    float interval = utility::ToFloat(utility::CheckNumber(L, 2));
    utility::CheckType(L, 3, LUA_TFUNCTION);
    int timerID = 0;
    {
        LuaFunctionRef callback = ReferenceFunctionArg(L);
        LuaControlWrapperBase* wrapper = GetControlUserData(L, 1);
        if (!wrapper || !wrapper->InstallTimer(L, interval, std::move(callback), timerID))
            return 0;
    }
    if (timerID == 0)
        return 0;
    lua_pushnumber(L, timerID);
    return 1;
}

int RemoveTimerBody(lua_State* L)
{
    if (!GetControlUserData(L, 1))
        return 0;
    int timerID = utility::CheckInt(L, 2);
    if (LuaControlWrapperBase* wrapper = GetControlUserData(L, 1))
        wrapper->RemoveTimer(timerID);
    return 0;
}

// ---------------------------------------------------------------------------
// Adapters where the host's shape differs from the method's. "ChildGet" is
// 1-based; the other positions pass through 0-based.

void PushBackChild(UI_Node& self, UI_Node* child)
{
    if (child)
        UI_Container::ChildPushBack(self, NodePtr(child));
}

void RemoveChild(UI_Node& self, UI_Node* child)
{
    if (child)
        UI_Container::ChildRemove(self, *child);
}

void SwapChildren(UI_Node& self, long long i, long long j)
{
    UI_Container::ChildSwapOrder(self, i, j);
}

void MoveChild(UI_Node& self, long long from, long long to)
{
    UI_Container::ChildMove(self, from, to);
}

int ChildGetBody(lua_State* L)
{
    if (!NodeAt(L, 1))
        return 0;
    lua_Integer index = utility::CheckInteger(L, 2);
    NodePtr child;
    {
        UI_Node* self = NodeAt(L, 1);
        // Only the upper bound is tested here; 0 and below reach the host as
        // negative positions, which it answers with nothing.
        if (!self || index > UI_Container::ChildSize(*self))
            return 0;
        long long position = index > LLONG_MIN ? static_cast<long long>(index) - 1 : LLONG_MIN;
        child = UI_Container::ChildGet(*self, position);
    }
    return LuaControlWrapperFactory(child, L) ? 1 : 0;
}

bool IsChildOf(const UI_Node& self, UI_Node* other)
{
    return other && self.UI_IsChildOf(other);
}

int IsChildOfBody(lua_State* L)
{
    if (!NodeAt(L, 1))
        return 0;
    if (lua_isnoneornil(L, 2))
        return PushBool(L, false);
    return detail::Method<UI_Node, IsChildOf, NodeArg>(L);
}

UI_Node* RootOf(UI_Node& self)
{
    return self.UI_GetRootNode();
}

bool HasParent(const UI_Node& self)
{
    return self.UI_GetParentNode() != nullptr;
}

// Roots that count as windows for HasWindowRootNode. The workspace's
// TopLevelWindow joins this list when the workspace library provides it.
bool HasWindowRoot(UI_Node& self)
{
    const UI_Node* root = self.UI_GetRootNode();
    return dynamic_cast<const UI_Dialog*>(root) != nullptr ||
           dynamic_cast<const OS_PopupWindow*>(root) != nullptr;
}

void SetViewIndex(UI_Node& self, long long index)
{
    if (UI_Node* parent = self.UI_GetParentNode())
        UI_Container::ChildMove(*parent, self.UI_GetIndex(), index);
}

void SetViewIndexToBack(UI_Node& self)
{
    if (UI_Node* parent = self.UI_GetParentNode())
        UI_Container::ChildMove(*parent, self.UI_GetIndex(), 0);
}

void SetViewIndexToFront(UI_Node& self)
{
    if (UI_Node* parent = self.UI_GetParentNode()) {
        int last = UI_Container::ChildSize(*parent) - 1;
        int index = self.UI_GetIndex();
        if (index != last)
            UI_Container::ChildMove(*parent, index, last);
    }
}

void SetToParentRect(UI_Node& self)
{
    UI_Node* parent = self.UI_GetParentNode();
    if (!parent)
        return;
    RectF bounds = parent->UI_GetBoundsF();
    if (auto* scaled = dynamic_cast<OS_ScaledView*>(parent))
        bounds = scaled->UI_GetScaleRect(bounds);
    self.UI_SetLocalRectF(bounds);
}

void SetToolTip(UI_Node& self, std::u16string text, int delay)
{
    self.UI_SetToolTip(std::move(text), delay);
}

void SetThemeName(UI_Node& self, std::string name)
{
    self.UI_GetThemeComponent().SetThemeName(std::move(name));
}

void SetDrawCachePolicy(UI_Node& self, std::string_view policy)
{
    int value = kDrawCachePolicy_Default;
    if (policy == "never")
        value = kDrawCachePolicy_Never;
    else if (policy == "always")
        value = kDrawCachePolicy_Always;
    else if (policy == "always_as_bitmap")
        value = kDrawCachePolicy_AlwaysAsBitmap;
    self.UI_SetDrawCachePolicy(value);
}

void SetCustomThemeColor(UI_Node& self, int slot, ColorRGBA color)
{
    self.UI_GetThemeComponent().SetCustomColor(slot, color);
}

// The colour argument, opaque black when absent or nil.
struct ColorOrBlack : Color {
    static constexpr const char* kLuaType = "RGBA?";
    static ColorRGBA Read(lua_State* L, int i)
    {
        return lua_isnoneornil(L, i) ? ColorRGBA{0, 0, 0, 1} : Color::Read(L, i);
    }
};

// ---------------------------------------------------------------------------
// Invalidation, drawing, events.

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
    if (!NodeAt(L, 1))
        return 0;
    bool whole = lua_isnoneornil(L, 2);
    RectI area = whole ? RectI{} : WholeUnitsCovering(Rect::Read(L, 2), 2);
    if (UI_Node* self = NodeAt(L, 1)) {
        if (whole)
            self->UI_Invalidate();
        else
            self->UI_Invalidate(area);
    }
    return 0;
}

int GetDrawSupplierBody(lua_State* L)
{
    UI_Node* self = NodeAt(L, 1);
    if (!self)
        return 0;
    vyrui::drawbot::SupplierInterface* supplier = self->UI_GetDrawSupplier().get();
    // The node manager and windows keep their suppliers: the raw pointer
    // outlives the shared one.
    return supplier ? drawbot::PushSupplierToLua(L, supplier) : 0;
}

int GetRecommendedSizeBody(lua_State* L)
{
    if (!NodeAt(L, 1))
        return 0;
    bool own = lua_isnoneornil(L, 2);
    PointF size;
    {
        std::shared_ptr<vyrui::drawbot::SupplierInterface> supplier;
        UI_Node* self = nullptr;
        if (own) {
            self = NodeAt(L, 1);
            supplier = self ? self->UI_GetDrawSupplier() : nullptr;
        } else {
            supplier = vyrlua_checkSupplier(L, 2)->supplier.lock();
            self = NodeAt(L, 1);
        }
        if (!supplier || !self)
            return 0;
        // Measuring needs a drawbot, not a canvas: the smallest surface will do.
        boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface =
            supplier->NewOffscreenSurface(1, 1, false);
        if (!surface)
            return 0;
        NodePtr held(self);
        vyrui::drawbot::Drawbot drawbot(supplier, surface);
        size = self->UI_GetRecommendedSize(drawbot);
    }
    return drawbot::PushPointF32ToLua(L, size);
}

int DoMouseEventBody(lua_State* L)
{
    if (!NodeAt(L, 1))
        return 0;
    NodeAt(L, 2);
    std::unique_ptr<vyrui::events::MouseEvent> event = GetMouseEventFromLua(L, 3);
    UI_Node* self = NodeAt(L, 1);
    UI_Node* target = NodeAt(L, 2);
    if (self && target && event) {
        NodePtr heldSelf(self);
        NodePtr heldTarget(target);
        self->UI_DispatchMouseEventToNode(*target, *event);
    }
    return 0;
}

} // namespace

const luaL_Reg LuaUI_NodeWrapper::methods[] = {
    {"__gc", LuaBoundary<CollectControlWrapper>},
    {"__tostring", LuaBoundary<ToStringBody>},
    {"Release", LuaBoundary<ReleaseBody>},
    {"Equals", LuaBoundary<EqualsBody>},
    {"BindVyrOperation", LuaBoundary<BindVyrOperationBody>},
    {"ControlWrapperIdentifier", LuaBoundary<ControlWrapperIdentifierBody>},
    {"ChildPushBack", Method<UI_Node, PushBackChild, NodeArg>},
    {"ChildSize", Method<UI_Node, &UI_Container::ChildSize>},
    {"ChildGet", LuaBoundary<ChildGetBody>},
    {"ChildRemove", Method<UI_Node, RemoveChild, NodeArg>},
    {"ChildSwapOrder", Method<UI_Node, SwapChildren, Integer, Integer>},
    {"ChildMove", Method<UI_Node, MoveChild, Integer, Integer>},
    {"GetViewScaleFactor", Method<UI_Node, &UI_Node::GetViewScaleFactor>},
    {"UI_IsChildOf", LuaBoundary<IsChildOfBody>},
    {"UI_GetRootNode", Method<UI_Node, RootOf>},
    {"UI_GetParentNode", Method<UI_Node, &UI_Node::UI_GetParentNode>},
    {"HasNonNullParentNode", Method<UI_Node, HasParent>},
    {"HasWindowRootNode", Method<UI_Node, HasWindowRoot>},
    {"DeleteChildren", Method<UI_Node, &UI_Container::DeleteChildren>},
    {"UI_GetClipToSelfEnabled", Method<UI_Node, &UI_Node::UI_GetClipToSelfEnabled>},
    {"UI_SetClipToSelfEnabled", Method<UI_Node, &UI_Node::UI_SetClipToSelfEnabled, Bool>},
    {"UI_GetLocalRectF", Method<UI_Node, &UI_Node::UI_GetLocalRectF>},
    {"UI_SetLocalRectF", Method<UI_Node, &UI_Node::UI_SetLocalRectF, Rect>},
    {"UI_SetToParentRectF", Method<UI_Node, SetToParentRect>},
    {"UI_LocalToGlobalRectF", Method<UI_Node, &UI_Node::UI_LocalToGlobalRectF, Rect>},
    {"UI_LocalToGlobalPointF", Method<UI_Node, &UI_Node::UI_LocalToGlobalPointF, Point>},
    {"UI_GlobalToLocalRectF", Method<UI_Node, &UI_Node::UI_GlobalToLocalRectF, Rect>},
    {"UI_GlobalToLocalPointF", Method<UI_Node, &UI_Node::UI_GlobalToLocalPointF, Point>},
    {"UI_SetToolTip", Method<UI_Node, SetToolTip, Utf16, OptInt<400>>},
    {"UI_DisableToolTip", Method<UI_Node, &UI_Node::UI_DisableToolTip>},
    {"UI_SetUpdateToolTipOnEveryMouseOverChange", Method<UI_Node, &UI_Node::UI_SetUpdateToolTipOnEveryMouseOverChange, Bool>},
    {"UI_SetToolTipAvoidsBounds", Method<UI_Node, &UI_Node::UI_SetToolTipAvoidsBounds, OptBool<true>>},
    {"UI_GetToolTipAvoidsBounds", Method<UI_Node, &UI_Node::UI_GetToolTipAvoidsBounds>},
    {"UI_Show", Method<UI_Node, &UI_Node::UI_Show, OptBool<true>>},
    {"UI_IsShown", Method<UI_Node, &UI_Node::UI_IsShown>},
    {"UI_AreAllParentsVisible", Method<UI_Node, &UI_Node::UI_AreAllParentsVisible>},
    {"GetDescendentByID", Method<UI_Node, &UI_Node::UI_GetDescendentByID, Utf8>},
    {"UI_GetNodeID", Method<UI_Node, &UI_Node::UI_GetNodeID>},
    {"UI_SetNodeID", Method<UI_Node, &UI_Node::UI_SetNodeID, Utf8>},
    {"UI_GetIndex", Method<UI_Node, &UI_Node::UI_GetIndex>},
    {"SetViewIndex", Method<UI_Node, SetViewIndex, Integer>},
    {"SetViewIndexToBack", Method<UI_Node, SetViewIndexToBack>},
    {"SetViewIndexToFront", Method<UI_Node, SetViewIndexToFront>},
    {"UI_Invalidate", LuaBoundary<InvalidateBody>},
    {"UI_SetEnabled", Method<UI_Node, &UI_Node::UI_SetEnabled, Bool>},
    {"UI_IsEnabled", Method<UI_Node, &UI_Node::UI_IsEnabled>},
    {"UI_GetDrawSupplier", LuaBoundary<GetDrawSupplierBody>},
    {"UI_GainKeyboardFocus", Method<UI_Node, &UI_Node::UI_GainKeyboardFocus, Int>},
    {"UI_LoseKeyboardFocus", Method<UI_Node, &UI_Node::UI_LoseKeyboardFocus>},
    {"UI_HasKeyboardFocus", Method<UI_Node, &UI_Node::UI_HasKeyboardFocus>},
    {"UI_UpdateNow", Method<UI_Node, &UI_Node::UI_UpdateNow>},
    {"UI_InstallTimer", LuaBoundary<InstallTimerBody>},
    {"UI_RemoveTimer", LuaBoundary<RemoveTimerBody>},
    {"UI_DoMouseEvent", LuaBoundary<DoMouseEventBody>},
    {"UI_GetRecommendedSize", LuaBoundary<GetRecommendedSizeBody>},
    {"UI_IsMouseOver", Method<UI_Node, &UI_Node::UI_IsMouseOver>},
    {"SetThemeName", Method<UI_Node, SetThemeName, Utf8>},
    {"UI_SetDrawCachePolicy", Method<UI_Node, SetDrawCachePolicy, Utf8>},
    {"UI_SetWantsKeyboardFocus", Method<UI_Node, &UI_Node::UI_SetWantsKeyboardFocus, Bool>},
    {"UI_WantsKeyboardFocus", Method<UI_Node, &UI_Node::UI_WantsKeyboardFocus>},
    {"SetCustomThemeColor", Method<UI_Node, SetCustomThemeColor, Int, ColorOrBlack>},
    {"UI_IsSubView", Method<UI_Node, &UI_Node::UI_IsSubView>},
    {"UI_GetInverseScaleRect", Method<OS_ScaledView, &OS_ScaledView::UI_GetInverseScaleRect, Rect>},
    {"UI_GetScaleRect", Method<OS_ScaledView, &OS_ScaledView::UI_GetScaleRect, Rect>},
    {"UI_GetScale", Method<OS_ScaledView, &OS_ScaledView::UI_GetScale>},
    {"UI_GetInverseScale", Method<OS_ScaledView, &OS_ScaledView::UI_GetInverseScale>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
