// The retained-mode node tree. A node owns its children (use counts) and
// knows its parent without owning it; it has a rectangle in its parent's
// coordinates, visibility, enabling, clipping, focus, tool tips, timers, a
// theme component and one generic property slot. Input messages a node
// does not handle natively go to its binder (UI_Binder).
//
// Coordinates: a node's local space has its origin at the top left of its
// rectangle. "Global" is the space the root's rectangle is given in (screen
// coordinates for a window root). The container operations are in
// UI_Container.h.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrcore/geom.h"
#include "vyrui/drawbot/ColorRGBA.h"
#include "vyrui/events/UIEvents.h"
#include "vyrui/ui/UI_Binder.h"

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/intrusive_ptr.hpp>

namespace vyrui::drawbot {
class Drawbot;
class SupplierInterface;
} // namespace vyrui::drawbot

namespace vyrui::ui {

using vyrcore::geom::PointF;
using vyrcore::geom::RectF;
using vyrcore::geom::RectI;

// How a node's drawing may be cached (UI_SetDrawCachePolicy).
enum DrawCachePolicy : int {
    kDrawCachePolicy_Default = 0,
    kDrawCachePolicy_Never = 1,
    kDrawCachePolicy_Always = 2,
    kDrawCachePolicy_AlwaysAsBitmap = 3,
};

// Why a node gains keyboard focus. Other values pass through unchanged.
enum FocusReason : int {
    kFocusReason_Programmatic = 0,
    kFocusReason_Mouse = 1,
    kFocusReason_Tab = 2,
    kFocusReason_WindowActivation = 3,
};

// A node's theme: the theme it draws with and colours that override slots
// of that theme.
class UI_ThemeComponent {
public:
    const std::string& GetThemeName() const { return mThemeName; }
    void SetThemeName(std::string name) { mThemeName = std::move(name); }
    void SetCustomColor(int slot, const drawbot::ColorRGBA& color) { mCustomColors[slot] = color; }
    std::optional<drawbot::ColorRGBA> GetCustomColor(int slot) const;
    void ClearCustomColor(int slot) { mCustomColors.erase(slot); }
    const std::map<int, drawbot::ColorRGBA>& CustomColors() const { return mCustomColors; }

private:
    std::string mThemeName;
    std::map<int, drawbot::ColorRGBA> mCustomColors;
};

// Called with the ID of every timer of the node that fires; answers whether
// it was its timer.
using TimerNotifyFunction = std::shared_ptr<std::function<bool(int)>>;

class UI_Node : public vyrcore::utility::RefCountedObjectWithWeakPtr {
public:
    using Ptr = boost::intrusive_ptr<UI_Node>;

    UI_Node();
    explicit UI_Node(std::string id, const RectF& rect = {});
    ~UI_Node() override;
    UI_Node(const UI_Node&) = delete;
    UI_Node& operator=(const UI_Node&) = delete;

    // Identity.
    const std::string& UI_GetNodeID() const { return mID; }
    void UI_SetNodeID(std::string id) { mID = std::move(id); }

    // Tree. UI_IsChildOf is true for any proper ancestor, not only the
    // parent. UI_GetIndex is the 0-based position among the parent's
    // children, -1 without a parent.
    UI_Node* UI_GetParentNode() const { return mParent; }
    UI_Node* UI_GetRootNode();
    const UI_Node* UI_GetRootNode() const;
    bool UI_IsChildOf(const UI_Node* ancestor) const;
    int UI_GetIndex() const;
    const std::vector<Ptr>& UI_GetChildren() const { return mChildren; }
    // Depth first, children in order, each before its own subtree; never self.
    UI_Node* UI_GetDescendentByID(std::string_view id) const;

    // Geometry. Rectangles must be finite with non-negative size (a
    // HostException otherwise).
    const RectF& UI_GetLocalRectF() const { return mRect; }
    void UI_SetLocalRectF(const RectF& rect);
    RectF UI_GetBoundsF() const { return {0, 0, mRect.width, mRect.height}; }
    PointF UI_LocalToGlobalPointF(PointF p) const;
    PointF UI_GlobalToLocalPointF(PointF p) const;
    RectF UI_LocalToGlobalRectF(const RectF& r) const;
    RectF UI_GlobalToLocalRectF(const RectF& r) const;
    // Local to the root's own space (window content coordinates).
    PointF UI_LocalToRootPointF(PointF p) const;
    PointF UI_RootToLocalPointF(PointF p) const;
    // Maps a point of a child's parent space (where the children's rects
    // live) to this node's local space and back. Identity here; scaled views
    // scale.
    virtual PointF UI_ChildSpaceToLocal(PointF p) const { return p; }
    virtual PointF UI_LocalToChildSpace(PointF p) const { return p; }
    // The display scale of the node's window (2 on a HiDPI screen); 1
    // outside windows.
    virtual float GetViewScaleFactor() const;
    // Preferred size; the current size unless a subclass knows better.
    virtual PointF UI_GetRecommendedSize(drawbot::Drawbot& drawbot);

    // Visibility, enabling, clipping. UI_AreAllParentsVisible looks at the
    // ancestors only; UI_IsVisible adds the node itself.
    void UI_Show(bool show);
    bool UI_IsShown() const { return mShown; }
    bool UI_AreAllParentsVisible() const;
    bool UI_IsVisible() const { return mShown && UI_AreAllParentsVisible(); }
    void UI_SetEnabled(bool enabled);
    bool UI_IsEnabled() const { return mEnabled; }
    void UI_SetClipToSelfEnabled(bool clip);
    bool UI_GetClipToSelfEnabled() const { return mClipToSelf; }

    // Tool tips. The delay is in milliseconds.
    void UI_SetToolTip(std::u16string text, int delayMilliseconds = 400);
    void UI_DisableToolTip();
    bool UI_HasToolTip() const { return mToolTipEnabled; }
    const std::u16string& UI_GetToolTipText() const { return mToolTipText; }
    int UI_GetToolTipDelay() const { return mToolTipDelay; }
    void UI_SetToolTipAvoidsBounds(bool avoid) { mToolTipAvoidsBounds = avoid; }
    bool UI_GetToolTipAvoidsBounds() const { return mToolTipAvoidsBounds; }
    void UI_SetUpdateToolTipOnEveryMouseOverChange(bool update) { mToolTipUpdatesOnMove = update; }
    bool UI_GetUpdateToolTipOnEveryMouseOverChange() const { return mToolTipUpdatesOnMove; }

    // Keyboard focus. A node gains focus only when it wants it, is visible,
    // enabled and its ancestors are too.
    void UI_SetWantsKeyboardFocus(bool wants);
    bool UI_WantsKeyboardFocus() const { return mWantsFocus; }
    bool UI_GainKeyboardFocus(int reason);
    void UI_LoseKeyboardFocus();
    bool UI_HasKeyboardFocus() const;
    bool UI_CanTakeKeyboardFocus() const;
    virtual void UI_OnGainKeyboardFocus(int reason) {}
    virtual void UI_OnLoseKeyboardFocus() {}
    virtual bool UI_IsTextEditControl() const { return false; }
    static bool UI_TextEditControlHasFocus();

    // The mouse is over this node or one of its descendants.
    bool UI_IsMouseOver() const;
    // The deepest visible, enabled node under `p` (local coordinates), this
    // one included; null when none. Children are tried last-drawn first;
    // a clipping node hides the parts of its subtree outside its bounds.
    UI_Node* UI_HitTest(PointF p);

    // Drawing, in the tree's order: save the surface state, move to the
    // node's origin (a root draws at the surface origin), clip to its bounds
    // when it clips, draw itself, draw its children (the last on top),
    // restore. Hidden nodes draw nothing, nor do their subtrees.
    void UI_Draw(drawbot::Drawbot& drawbot);
    // What the node itself looks like; a plain node is transparent.
    virtual void UI_DrawSelf(drawbot::Drawbot& drawbot) {}
    // The map from the children's space to local space as a drawing matrix
    // (identity here; scaled views scale).
    virtual vyrcore::geom::MatrixF UI_GetChildSpaceTransform() const { return {}; }

    // Drawing state. The cache policy says whether the node keeps its
    // drawing (its own and its subtree's, clipped to its bounds) as a bitmap
    // that is drawn again until the node or a descendant is invalidated.
    // Default and Never draw every time; Always keeps a bitmap at the
    // device resolution, made again when the drawing scale changes;
    // AlwaysAsBitmap keeps its bitmap across scale changes, scaling it (the
    // cheap path for zooming and animation). Other values draw as Default.
    void UI_SetDrawCachePolicy(int policy);
    int UI_GetDrawCachePolicy() const { return mDrawCachePolicy; }
    UI_ThemeComponent& UI_GetThemeComponent();
    const UI_ThemeComponent* UI_FindThemeComponent() const { return mTheme.get(); }
    // The supplier that makes drawing objects for this node: its window's,
    // else the node manager's default. May be null.
    virtual std::shared_ptr<drawbot::SupplierInterface> UI_GetDrawSupplier() const;

    // Invalidation: the area (local coordinates; whole units, or the whole
    // node) is added to the root's dirty region, which the next update draws.
    // Hidden nodes add no area. Any invalidation makes the cached drawing of
    // the node and its ancestors stale.
    void UI_Invalidate();
    void UI_Invalidate(const RectI& area);
    // On the root: the accumulated dirty area in root coordinates (empty when
    // clean), and its reset after drawing.
    RectI UI_GetDirtyRegion() const { return mDirty; }
    void UI_ClearDirtyRegion() { mDirty = {}; }
    // Draws the root's dirty region now (a window renders it), if any.
    virtual void UI_UpdateNow();

    // The generic property slot: one type-erased value per node.
    std::any& UI_GetPropertySlot() { return mProperty; }
    const std::any& UI_GetPropertySlot() const { return mProperty; }

    // The binder that receives the messages the node does not handle.
    void UI_SetBinder(boost::intrusive_ptr<UI_Binder> binder) { mBinder = std::move(binder); }
    UI_Binder* UI_GetBinder() const { return mBinder.get(); }

    // Messages, positions in local coordinates; all answer whether the
    // message was handled. The dispatch is not virtual, so no subclass can
    // cut a node off from its script: the binder (the node's Lua handlers)
    // sees the message first, and only when it does not handle it does the
    // node's own native handling (the UI_On... hooks) run.
    bool UI_DoMouseEvent(const events::MouseEvent& event);
    bool UI_DoPreMouseEvent(const events::MouseEvent& event);
    bool UI_DoKeyboardEvent(const events::KeyboardEvent& event);
    bool UI_DoTouchEvent(const events::TouchEvent& event);
    bool UI_DoMultiTouchEvent(const events::MultiTouchEvent& event);
    bool UI_DoGestureEvent(const events::GestureEvent& event);
    bool UI_DoCursor(const events::MouseEvent& event);
    // Native handling of a message no Lua handler took; a plain node takes none.
    virtual bool UI_OnMouseEvent(const events::MouseEvent&) { return false; }
    virtual bool UI_OnPreMouseEvent(const events::MouseEvent&) { return false; }
    virtual bool UI_OnKeyboardEvent(const events::KeyboardEvent&) { return false; }
    virtual bool UI_OnTouchEvent(const events::TouchEvent&) { return false; }
    virtual bool UI_OnMultiTouchEvent(const events::MultiTouchEvent&) { return false; }
    virtual bool UI_OnGestureEvent(const events::GestureEvent&) { return false; }
    virtual bool UI_OnCursor(const events::MouseEvent&) { return false; }
    // Sends `event`, given in this node's coordinates, to `target` in the
    // target's coordinates. Both nodes must be in one tree (false otherwise).
    bool UI_DispatchMouseEventToNode(UI_Node& target, const events::MouseEvent& event);

    // Timers: the interval is in seconds and a timer repeats until removed.
    // Installing an ID again replaces its interval. Intervals must be finite
    // and >= 0 (HostException otherwise); below EventLoop::kMinInterval they
    // run at that interval. A timer fires through the event loop, calling
    // every notify function with its ID. With dropDue false, a firing already
    // due in the loop pass now running still happens.
    void UI_InstallTimer(float intervalSeconds, int timerID);
    void UI_RemoveTimer(int timerID, bool dropDue = true);
    bool UI_HasTimer(int timerID) const { return mTimers.count(timerID) != 0; }
    void UI_InstallTimerNotifyFunction(TimerNotifyFunction notify);
    void UI_RemoveTimerNotifyFunction(const TimerNotifyFunction& notify);
    size_t UI_TimerNotifyFunctionCount() const { return mTimerNotify.size(); }
    // Calls every notify function with `timerID`; true when one claimed it.
    virtual bool UI_DoTimerNotify(int timerID);

    // Cancels the timers of this node and of every node under it, and drops
    // what they hold for the code that drives them: timer notify functions,
    // binder, property slot. What closing a window does to its tree: a
    // script's handlers often hold their own node, a cycle through the Lua
    // registry that nothing else would break.
    void UI_ReleaseHandlers();

    virtual bool UI_IsSubView() const { return false; }

protected:
    // After the local rectangle changed (never for a rectangle set to what
    // it was).
    virtual void UI_OnLocalRectChanged(const RectF& oldRect) {}
    // In UI_ReleaseHandlers, before they go: the last moment a node can
    // still reach its script's handlers.
    virtual void UI_OnReleaseHandlers() {}

private:
    friend class UI_Container;
    friend class UI_NodeManager;

    struct Timer {
        float interval = 0;
        uint64_t loopSerial = 0;
        uint64_t task = 0;
    };

    struct DrawCache;
    void AddDirty(const RectI& rootArea);
    // Self and children, at the current origin.
    void DrawContent(drawbot::Drawbot& drawbot);
    // Draws through the cached bitmap (made again if stale); false when the
    // node does not cache.
    bool DrawCached(drawbot::Drawbot& drawbot);
    void CancelAllTimers();
    void ScheduleTimer(int timerID, Timer& timer);

    std::string mID;
    RectF mRect;
    UI_Node* mParent = nullptr;
    std::vector<Ptr> mChildren;

    bool mShown = true;
    bool mEnabled = true;
    bool mClipToSelf = false;
    bool mWantsFocus = false;
    bool mToolTipEnabled = false;
    bool mToolTipAvoidsBounds = true;
    bool mToolTipUpdatesOnMove = false;
    int mToolTipDelay = 400;
    int mDrawCachePolicy = kDrawCachePolicy_Default;
    std::u16string mToolTipText;

    RectI mDirty;
    std::unique_ptr<UI_ThemeComponent> mTheme;
    std::unique_ptr<DrawCache> mDrawCache;
    std::any mProperty;
    boost::intrusive_ptr<UI_Binder> mBinder;
    std::map<int, Timer> mTimers;
    std::vector<TimerNotifyFunction> mTimerNotify;
};

// Whole-unit area covering `r`: left and top rounded down, right and bottom
// up, saturated to the int range.
RectI RoundOutward(const RectF& r);

} // namespace vyrui::ui
