#include "vyrui/ui/UI_Node.h"

#include "vyrcore/config.h"
#include "vyrui/EventLoop.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vyrui::ui {

namespace {

bool IsFinite(const RectF& r)
{
    return std::isfinite(r.left) && std::isfinite(r.top) && std::isfinite(r.width) &&
           std::isfinite(r.height);
}

int SaturateToInt(double v)
{
    constexpr double lo = std::numeric_limits<int>::min();
    constexpr double hi = std::numeric_limits<int>::max();
    if (!(v >= lo))
        return std::numeric_limits<int>::min();
    if (v > hi)
        return std::numeric_limits<int>::max();
    return static_cast<int>(v);
}

RectF FromCorners(PointF a, PointF b)
{
    float left = std::min(a.x, b.x);
    float top = std::min(a.y, b.y);
    return {left, top, std::max(a.x, b.x) - left, std::max(a.y, b.y) - top};
}

} // namespace

RectI RoundOutward(const RectF& r)
{
    double left = std::floor(static_cast<double>(r.left));
    double top = std::floor(static_cast<double>(r.top));
    double right = std::ceil(static_cast<double>(r.left) + r.width);
    double bottom = std::ceil(static_cast<double>(r.top) + r.height);
    int l = SaturateToInt(left);
    int t = SaturateToInt(top);
    return {l, t, SaturateToInt(right - l), SaturateToInt(bottom - t)};
}

std::optional<drawbot::ColorRGBA> UI_ThemeComponent::GetCustomColor(int slot) const
{
    auto it = mCustomColors.find(slot);
    if (it == mCustomColors.end())
        return std::nullopt;
    return it->second;
}

// A node's drawing kept for the next frames.
struct UI_Node::DrawCache {
    boost::intrusive_ptr<drawbot::ImageInterface> image;
    PointF scale;       // device pixels per unit it was made at
    bool stale = true;
};

UI_Node::UI_Node() = default;

UI_Node::UI_Node(std::string id, const RectF& rect) : mID(std::move(id))
{
    if (!IsFinite(rect) || rect.width < 0 || rect.height < 0)
        throw vyrcore::config::HostException(
            "UI_Node: the rectangle must be finite, with width and height >= 0");
    mRect = rect;
}

UI_Node::~UI_Node()
{
    CancelAllTimers();
    for (const Ptr& child : mChildren)
        child->mParent = nullptr;
}

UI_Node* UI_Node::UI_GetRootNode()
{
    UI_Node* node = this;
    while (node->mParent)
        node = node->mParent;
    return node;
}

const UI_Node* UI_Node::UI_GetRootNode() const
{
    return const_cast<UI_Node*>(this)->UI_GetRootNode();
}

bool UI_Node::UI_IsChildOf(const UI_Node* ancestor) const
{
    if (!ancestor)
        return false;
    for (const UI_Node* node = mParent; node; node = node->mParent) {
        if (node == ancestor)
            return true;
    }
    return false;
}

int UI_Node::UI_GetIndex() const
{
    if (!mParent)
        return -1;
    const auto& siblings = mParent->mChildren;
    for (size_t i = 0; i < siblings.size(); ++i) {
        if (siblings[i].get() == this)
            return static_cast<int>(i);
    }
    return -1;
}

UI_Node* UI_Node::UI_GetDescendentByID(std::string_view id) const
{
    for (const Ptr& child : mChildren) {
        if (child->mID == id)
            return child.get();
        if (UI_Node* found = child->UI_GetDescendentByID(id))
            return found;
    }
    return nullptr;
}

void UI_Node::UI_SetLocalRectF(const RectF& rect)
{
    if (!IsFinite(rect) || rect.width < 0 || rect.height < 0)
        throw vyrcore::config::HostException(
            "UI_SetLocalRectF: the rectangle must be finite, with width and height >= 0");
    if (rect == mRect)
        return;
    // The old area and the new one both need drawing.
    UI_Invalidate();
    RectF old = mRect;
    mRect = rect;
    UI_Invalidate();
    UI_OnLocalRectChanged(old);
}

PointF UI_Node::UI_LocalToRootPointF(PointF p) const
{
    if (!mParent)
        return p;
    PointF q{p.x + mRect.left, p.y + mRect.top};
    return mParent->UI_LocalToRootPointF(mParent->UI_ChildSpaceToLocal(q));
}

PointF UI_Node::UI_RootToLocalPointF(PointF p) const
{
    if (!mParent)
        return p;
    PointF q = mParent->UI_LocalToChildSpace(mParent->UI_RootToLocalPointF(p));
    return {q.x - mRect.left, q.y - mRect.top};
}

PointF UI_Node::UI_LocalToGlobalPointF(PointF p) const
{
    PointF q = UI_LocalToRootPointF(p);
    const RectF& root = UI_GetRootNode()->mRect;
    return {q.x + root.left, q.y + root.top};
}

PointF UI_Node::UI_GlobalToLocalPointF(PointF p) const
{
    const RectF& root = UI_GetRootNode()->mRect;
    return UI_RootToLocalPointF({p.x - root.left, p.y - root.top});
}

RectF UI_Node::UI_LocalToGlobalRectF(const RectF& r) const
{
    return FromCorners(UI_LocalToGlobalPointF({r.left, r.top}),
                       UI_LocalToGlobalPointF({r.left + r.width, r.top + r.height}));
}

RectF UI_Node::UI_GlobalToLocalRectF(const RectF& r) const
{
    return FromCorners(UI_GlobalToLocalPointF({r.left, r.top}),
                       UI_GlobalToLocalPointF({r.left + r.width, r.top + r.height}));
}

float UI_Node::GetViewScaleFactor() const
{
    const UI_Node* root = UI_GetRootNode();
    return root != this ? root->GetViewScaleFactor() : 1.0f;
}

PointF UI_Node::UI_GetRecommendedSize(drawbot::Drawbot&)
{
    return {mRect.width, mRect.height};
}

void UI_Node::UI_Show(bool show)
{
    if (show == mShown)
        return;
    if (!show)
        UI_Invalidate();
    mShown = show;
    if (show)
        UI_Invalidate();
    if (!show) {
        // Hidden nodes cannot keep the focus.
        if (UI_NodeManager* manager = UI_NodeManager::Get(false)) {
            Ptr focus = manager->GetKeyboardFocusLeafNode();
            if (focus && (focus.get() == this || focus->UI_IsChildOf(this)))
                manager->ClearKeyboardFocus();
        }
    }
}

bool UI_Node::UI_AreAllParentsVisible() const
{
    for (const UI_Node* node = mParent; node; node = node->mParent) {
        if (!node->mShown)
            return false;
    }
    return true;
}

void UI_Node::UI_SetEnabled(bool enabled)
{
    if (enabled == mEnabled)
        return;
    mEnabled = enabled;
    UI_Invalidate();
}

void UI_Node::UI_SetClipToSelfEnabled(bool clip)
{
    if (clip == mClipToSelf)
        return;
    mClipToSelf = clip;
    UI_Invalidate();
}

void UI_Node::UI_SetToolTip(std::u16string text, int delayMilliseconds)
{
    mToolTipText = std::move(text);
    mToolTipDelay = std::max(0, delayMilliseconds);
    mToolTipEnabled = true;
}

void UI_Node::UI_DisableToolTip()
{
    mToolTipEnabled = false;
    if (UI_NodeManager* manager = UI_NodeManager::Get(false))
        manager->GetToolTipManager()->MouseMoved(this, {});
}

void UI_Node::UI_SetWantsKeyboardFocus(bool wants)
{
    mWantsFocus = wants;
    if (!wants && UI_HasKeyboardFocus())
        UI_LoseKeyboardFocus();
}

bool UI_Node::UI_CanTakeKeyboardFocus() const
{
    if (!mWantsFocus || !UI_IsVisible())
        return false;
    for (const UI_Node* node = this; node; node = node->mParent) {
        if (!node->mEnabled)
            return false;
    }
    return true;
}

bool UI_Node::UI_GainKeyboardFocus(int reason)
{
    return UI_NodeManager::Get(true)->SetKeyboardFocus(*this, reason);
}

void UI_Node::UI_LoseKeyboardFocus()
{
    if (UI_HasKeyboardFocus())
        UI_NodeManager::Get(true)->ClearKeyboardFocus();
}

bool UI_Node::UI_HasKeyboardFocus() const
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    return manager && manager->GetKeyboardFocusLeafNode().get() == this;
}

bool UI_Node::UI_TextEditControlHasFocus()
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    Ptr focus = manager ? manager->GetKeyboardFocusLeafNode() : Ptr();
    return focus && focus->UI_IsTextEditControl();
}

bool UI_Node::UI_IsMouseOver() const
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    Ptr over = manager ? manager->GetMouseOverNode() : Ptr();
    return over && (over.get() == this || over->UI_IsChildOf(this));
}

UI_Node* UI_Node::UI_HitTest(PointF p)
{
    if (!mShown || !mEnabled)
        return nullptr;
    bool inside = UI_GetBoundsF().Contains(p);
    if (mClipToSelf && !inside)
        return nullptr;
    if (!mChildren.empty()) {
        PointF childSpace = UI_LocalToChildSpace(p);
        for (auto it = mChildren.rbegin(); it != mChildren.rend(); ++it) {
            UI_Node& child = **it;
            PointF q{childSpace.x - child.mRect.left, childSpace.y - child.mRect.top};
            if (UI_Node* hit = child.UI_HitTest(q))
                return hit;
        }
    }
    return inside ? this : nullptr;
}

namespace {
// Pops what it pushed, also when drawing throws.
class SavedSurfaceState {
public:
    explicit SavedSurfaceState(drawbot::SurfaceInterface& surface) : mSurface(surface)
    {
        mSurface.PushState();
    }
    ~SavedSurfaceState() { mSurface.PopState(); }
    SavedSurfaceState(const SavedSurfaceState&) = delete;
    SavedSurfaceState& operator=(const SavedSurfaceState&) = delete;

private:
    drawbot::SurfaceInterface& mSurface;
};
} // namespace

void UI_Node::UI_Draw(drawbot::Drawbot& drawbot)
{
    drawbot::SurfaceInterface* surface = drawbot.GetSurface();
    if (!mShown || !surface)
        return;
    Ptr held(this);
    SavedSurfaceState saved(*surface);
    if (mParent) {
        vyrcore::geom::MatrixF move;
        move.m[6] = mRect.left;
        move.m[7] = mRect.top;
        surface->ConcatTransform(move);
    }
    RectF bounds = UI_GetBoundsF();
    if (mClipToSelf) {
        boost::intrusive_ptr<drawbot::PathInterface> path = drawbot.GetSupplier()->NewPath();
        path->AddRect(bounds);
        surface->ClipToPath(*path, false);
        if (!surface->IsWithinClipBounds(bounds))
            return;
    }
    if (!DrawCached(drawbot))
        DrawContent(drawbot);
}

void UI_Node::DrawContent(drawbot::Drawbot& drawbot)
{
    drawbot::SurfaceInterface* surface = drawbot.GetSurface();
    // Outside the area being drawn (a window's dirty region), the node's own
    // drawing would change no pixel; its children may still reach in. A node
    // without a size may draw anywhere.
    RectF bounds = UI_GetBoundsF();
    if (bounds.IsEmpty() || surface->IsWithinClipBounds(bounds))
        UI_DrawSelf(drawbot);
    if (mChildren.empty())
        return;
    SavedSurfaceState childSpace(*surface);
    surface->ConcatTransform(UI_GetChildSpaceTransform());
    // A copy: drawing code may edit the tree.
    std::vector<Ptr> children = mChildren;
    for (const Ptr& child : children)
        child->UI_Draw(drawbot);
}

void UI_Node::UI_SetDrawCachePolicy(int policy)
{
    if (policy == mDrawCachePolicy)
        return;
    mDrawCachePolicy = policy;
    mDrawCache.reset();
    UI_Invalidate();
}

bool UI_Node::DrawCached(drawbot::Drawbot& drawbot)
{
    bool always = mDrawCachePolicy == kDrawCachePolicy_Always;
    if (!always && mDrawCachePolicy != kDrawCachePolicy_AlwaysAsBitmap) {
        mDrawCache.reset();
        return false;
    }
    drawbot::SurfaceInterface& surface = *drawbot.GetSurface();
    PointF scale = surface.GetTransformToScreenScale();
    double width = std::ceil(double(mRect.width) * scale.x);
    double height = std::ceil(double(mRect.height) * scale.y);
    if (!(width >= 1 && height >= 1) ||
        width * height > double(drawbot::kMaxSurfacePixels) ||
        std::max(width, height) > drawbot::kMaxSurfaceSide)
        return false; // nothing to keep, or too large to keep: drawn directly
    if (!mDrawCache)
        mDrawCache = std::make_unique<DrawCache>();
    DrawCache& cache = *mDrawCache;
    bool rescaled = always && (cache.scale.x != scale.x || cache.scale.y != scale.y);
    if (cache.stale || !cache.image || rescaled) {
        boost::intrusive_ptr<drawbot::SurfaceInterface> bitmap = drawbot.GetSupplier()->NewOffscreenSurface(
            static_cast<int>(width), static_cast<int>(height), false);
        bitmap->SetDeviceDependentTextRendering(surface.GetDeviceDependentTextRendering());
        vyrcore::geom::MatrixF zoom;
        zoom.m[0] = scale.x;
        zoom.m[4] = scale.y;
        bitmap->ConcatTransform(zoom);
        drawbot::Drawbot inner(drawbot.GetSupplierPtr(), bitmap);
        DrawContent(inner);
        cache.image = bitmap->GetSurfaceImage();
        cache.scale = scale;
        cache.stale = false;
    }
    surface.DrawImage(*cache.image, UI_GetBoundsF(), nullptr, 1);
    return true;
}

UI_ThemeComponent& UI_Node::UI_GetThemeComponent()
{
    if (!mTheme)
        mTheme = std::make_unique<UI_ThemeComponent>();
    return *mTheme;
}

std::shared_ptr<drawbot::SupplierInterface> UI_Node::UI_GetDrawSupplier() const
{
    const UI_Node* root = UI_GetRootNode();
    if (root != this)
        return root->UI_GetDrawSupplier();
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    return manager ? manager->GetDefaultDrawSupplier() : nullptr;
}

void UI_Node::UI_Invalidate()
{
    UI_Invalidate(RoundOutward(UI_GetBoundsF()));
}

void UI_Node::UI_Invalidate(const RectI& area)
{
    for (UI_Node* node = this; node; node = node->mParent) {
        if (node->mDrawCache)
            node->mDrawCache->stale = true;
    }
    if (!UI_IsVisible() || area.width <= 0 || area.height <= 0)
        return;
    RectF local{static_cast<float>(area.left), static_cast<float>(area.top),
                static_cast<float>(area.width), static_cast<float>(area.height)};
    RectF root = FromCorners(UI_LocalToRootPointF({local.left, local.top}),
                             UI_LocalToRootPointF({local.left + local.width,
                                                   local.top + local.height}));
    UI_GetRootNode()->AddDirty(RoundOutward(root));
}

void UI_Node::AddDirty(const RectI& area)
{
    if (area.width <= 0 || area.height <= 0)
        return;
    if (mDirty.width <= 0 || mDirty.height <= 0) {
        mDirty = area;
        return;
    }
    // A bounding union: one rectangle keeps redraw bookkeeping trivial.
    long long left = std::min<long long>(mDirty.left, area.left);
    long long top = std::min<long long>(mDirty.top, area.top);
    long long right = std::max<long long>(static_cast<long long>(mDirty.left) + mDirty.width,
                                          static_cast<long long>(area.left) + area.width);
    long long bottom = std::max<long long>(static_cast<long long>(mDirty.top) + mDirty.height,
                                           static_cast<long long>(area.top) + area.height);
    mDirty = {static_cast<int>(left), static_cast<int>(top),
              SaturateToInt(static_cast<double>(right - left)),
              SaturateToInt(static_cast<double>(bottom - top))};
}

void UI_Node::UI_UpdateNow()
{
    UI_Node* root = UI_GetRootNode();
    if (root != this)
        root->UI_UpdateNow();
    // A plain root has nowhere to draw to; windows override this.
}

bool UI_NotifyBinder(UI_Node& node, const char* operation,
                     std::initializer_list<UI_NotificationArg> args, bool passNode)
{
    boost::intrusive_ptr<UI_Binder> binder(node.UI_GetBinder());
    if (!binder)
        return false;
    return binder->UI_Notify(node, {operation, std::span(args.begin(), args.size()), passNode});
}

// Lua handlers first, then the node's own handling.
#define VYR_DISPATCH(Name, Event, Op)                                    \
    bool UI_Node::UI_Do##Name(const events::Event& event)               \
    {                                                                   \
        return UI_NotifyBinder(*this, Op, {&event}) || UI_On##Name(event); \
    }
VYR_DISPATCH(MouseEvent, MouseEvent, kOp_MouseEvent)
VYR_DISPATCH(PreMouseEvent, MouseEvent, kOp_PreMouseEvent)
VYR_DISPATCH(KeyboardEvent, KeyboardEvent, kOp_KeyboardEvent)
VYR_DISPATCH(TouchEvent, TouchEvent, kOp_TouchEvent)
VYR_DISPATCH(MultiTouchEvent, MultiTouchEvent, kOp_MultiTouchEvent)
VYR_DISPATCH(GestureEvent, GestureEvent, kOp_GestureEvent)
VYR_DISPATCH(Cursor, MouseEvent, kOp_Cursor)
#undef VYR_DISPATCH

bool UI_Node::UI_DispatchMouseEventToNode(UI_Node& target, const events::MouseEvent& event)
{
    if (target.UI_GetRootNode() != UI_GetRootNode())
        return false;
    // Held: the handler may drop the last other reference to the target.
    Ptr held(&target);
    events::MouseEvent local = event;
    local.globalPosition = UI_LocalToGlobalPointF(event.position);
    local.position = target.UI_GlobalToLocalPointF(local.globalPosition);
    return target.UI_DoMouseEvent(local);
}

void UI_Node::ScheduleTimer(int timerID, Timer& timer)
{
    EventLoop* loop = UI_NodeManager::Get(true)->GetEventLoop();
    if (!loop)
        return; // kept; it runs once a loop exists and the timer is re-installed
    vyrcore::utility::WeakPtr<UI_Node> weak(this);
    timer.loopSerial = loop->Serial();
    timer.task = loop->CallEvery(timer.interval, [weak, timerID] {
        Ptr node = weak.Lock();
        if (!node)
            return false;
        node->UI_DoTimerNotify(timerID);
        return true;
    });
}

void UI_Node::UI_InstallTimer(float intervalSeconds, int timerID)
{
    if (!std::isfinite(intervalSeconds) || intervalSeconds < 0)
        throw vyrcore::config::HostException(
            "UI_InstallTimer: the interval must be a finite number of seconds >= 0");
    UI_RemoveTimer(timerID, true);
    Timer& timer = mTimers[timerID];
    timer.interval = intervalSeconds;
    ScheduleTimer(timerID, timer);
}

void UI_Node::UI_RemoveTimer(int timerID, bool dropDue)
{
    auto it = mTimers.find(timerID);
    if (it == mTimers.end())
        return;
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    EventLoop* loop = manager ? manager->GetEventLoop() : nullptr;
    if (loop && loop->Serial() == it->second.loopSerial)
        loop->Cancel(it->second.task, dropDue);
    mTimers.erase(it);
}

void UI_Node::UI_ReleaseHandlers()
{
    // Held: dropping a handler may drop the last other owner of a node.
    Ptr keep(this);
    UI_OnReleaseHandlers();
    CancelAllTimers();
    // Moved out first: the destructors may run code that looks at the node.
    std::vector<TimerNotifyFunction> notify = std::move(mTimerNotify);
    mTimerNotify.clear();
    boost::intrusive_ptr<UI_Binder> binder = std::move(mBinder);
    std::any property = std::move(mProperty);
    mProperty.reset();
    notify.clear();
    binder.reset();
    property.reset();
    std::vector<Ptr> children = mChildren;
    for (const Ptr& child : children)
        child->UI_ReleaseHandlers();
}

void UI_Node::CancelAllTimers()
{
    while (!mTimers.empty())
        UI_RemoveTimer(mTimers.begin()->first, true);
}

void UI_Node::UI_InstallTimerNotifyFunction(TimerNotifyFunction notify)
{
    if (notify)
        mTimerNotify.push_back(std::move(notify));
}

void UI_Node::UI_RemoveTimerNotifyFunction(const TimerNotifyFunction& notify)
{
    auto it = std::find(mTimerNotify.begin(), mTimerNotify.end(), notify);
    if (it != mTimerNotify.end())
        mTimerNotify.erase(it);
}

bool UI_Node::UI_DoTimerNotify(int timerID)
{
    // A copy: a notify function may install or remove others.
    std::vector<TimerNotifyFunction> notify = mTimerNotify;
    bool claimed = false;
    for (const TimerNotifyFunction& fn : notify) {
        if (fn && *fn && (*fn)(timerID))
            claimed = true;
    }
    return claimed;
}

} // namespace vyrui::ui
