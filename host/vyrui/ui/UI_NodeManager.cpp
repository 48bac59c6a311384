#include "vyrui/ui/UI_NodeManager.h"

#include "vyrui/EventLoop.h"
#include "vyrui/drawbot/Supplier.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace vyrui::ui {

using events::MouseEvent;
using events::MouseEventType;

namespace {

// Never destroyed: nodes and loops may outlive static destruction order.
UI_NodeManager* gManager = nullptr;

// Drops expired entries and tells whether `node` is among the rest.
bool Prune(std::vector<vyrcore::utility::WeakPtr<UI_Node>>& list, const UI_Node* node)
{
    list.erase(std::remove_if(list.begin(), list.end(), [](const auto& w) { return w.Expired(); }),
               list.end());
    return std::any_of(list.begin(), list.end(), [&](const auto& w) { return w.Refers(node); });
}

} // namespace

UI_NodeManager* UI_NodeManager::Get(bool createIfMissing)
{
    if (!gManager && createIfMissing) {
        gManager = new UI_NodeManager;
        // The manager outlives everything, but its suppliers hold font and
        // drawing caches that are freed only by destroying them.
        std::atexit([] {
            gManager->mDefaultSupplier.reset();
            gManager->mOSSupplier.reset();
        });
    }
    return gManager;
}

int UI_NodeManager::GetUniqueTimerID()
{
    int id = mNextTimerID;
    mNextTimerID = id == std::numeric_limits<int>::max() ? 1 : id + 1;
    return id;
}

void UI_NodeManager::SetApplicationFrontmost(bool frontmost)
{
    if (frontmost == mFrontmost)
        return;
    mFrontmost = frontmost;
    // A copy: the listener may detach itself.
    if (FrontmostListener listener = mFrontmostListener)
        listener(frontmost);
}

void UI_NodeManager::AttachFrontmostListener(const void* owner, FrontmostListener listener)
{
    mFrontmostOwner = owner;
    mFrontmostListener = std::move(listener);
}

void UI_NodeManager::DetachFrontmostListener(const void* owner)
{
    if (owner != mFrontmostOwner)
        return;
    mFrontmostOwner = nullptr;
    mFrontmostListener = nullptr;
}

void UI_NodeManager::AttachEventLoop(EventLoop* loop)
{
    if (!mLoop)
        mLoop = loop;
}

void UI_NodeManager::DetachEventLoop(EventLoop* loop)
{
    if (mLoop == loop) {
        mToolTips.Hide();
        mLoop = nullptr;
    }
}

bool UI_NodeManager::SetKeyboardFocus(UI_Node& node, int reason)
{
    if (!node.UI_CanTakeKeyboardFocus())
        return false;
    UI_Node::Ptr held(&node);
    UI_Node::Ptr old = mFocus.Lock();
    if (old.get() == &node)
        return true;
    mPreviousFocus = mFocus;
    mFocus.Reset(&node);
    if (old)
        old->UI_OnLoseKeyboardFocus();
    // The old holder's handler may have moved the focus on again.
    if (!mFocus.Refers(&node))
        return false;
    node.UI_OnGainKeyboardFocus(reason);
    return true;
}

void UI_NodeManager::ClearKeyboardFocus()
{
    UI_Node::Ptr old = mFocus.Lock();
    if (!old) {
        mFocus.Reset();
        return;
    }
    mPreviousFocus = mFocus;
    mFocus.Reset();
    old->UI_OnLoseKeyboardFocus();
}

namespace {
void CollectFocusable(UI_Node& node, std::vector<UI_Node::Ptr>& out)
{
    if (node.UI_CanTakeKeyboardFocus())
        out.emplace_back(&node);
    for (const UI_Node::Ptr& child : node.UI_GetChildren())
        CollectFocusable(*child, out);
}
} // namespace

bool UI_NodeManager::MoveKeyboardFocus(bool backwards)
{
    UI_Node::Ptr focus = mFocus.Lock();
    if (!focus)
        return false;
    std::vector<UI_Node::Ptr> order;
    CollectFocusable(*focus->UI_GetRootNode(), order);
    if (order.size() < 2)
        return false;
    auto it = std::find(order.begin(), order.end(), focus);
    size_t index = it == order.end() ? 0 : static_cast<size_t>(it - order.begin());
    size_t next = backwards ? (index + order.size() - 1) % order.size() : (index + 1) % order.size();
    return SetKeyboardFocus(*order[next], kFocusReason_Tab);
}

void UI_NodeManager::BeginInputCapture(const boost::intrusive_ptr<UI_InputCapture>& capture)
{
    if (!capture)
        return;
    boost::intrusive_ptr<UI_InputCapture> held = capture;
    if (mInputCapture)
        EndInputCapture(true);
    held->mInitial = mLastMouse;
    held->mPrevious.reset();
    held->mCapturing = true;
    mInputCapture = held;
    held->OnCaptureBegin();
}

void UI_NodeManager::EndInputCapture(bool cancelled)
{
    boost::intrusive_ptr<UI_InputCapture> capture = std::move(mInputCapture);
    mInputCapture.reset();
    if (!capture)
        return;
    capture->mCapturing = false;
    capture->OnCaptureEnd(cancelled);
}

void UI_NodeManager::BeginTouchCapture(const boost::intrusive_ptr<UI_TouchCapture>& capture)
{
    if (!capture)
        return;
    boost::intrusive_ptr<UI_TouchCapture> held = capture;
    int id = held->GetTouchID();
    if (auto it = mTouchCaptures.find(id); it != mTouchCaptures.end()) {
        if (it->second == held)
            return;
        EndTouchCapture(*it->second, true);
    }
    auto touch = mTouches.find(id);
    held->mInitial = touch != mTouches.end() ? std::optional(touch->second.began) : std::nullopt;
    held->mCapturing = true;
    mTouchCaptures[id] = held;
    held->OnCaptureBegin();
}

void UI_NodeManager::EndTouchCapture(UI_TouchCapture& capture, bool cancelled)
{
    auto it = mTouchCaptures.find(capture.GetTouchID());
    if (it == mTouchCaptures.end() || it->second.get() != &capture)
        return;
    boost::intrusive_ptr<UI_TouchCapture> held = it->second;
    mTouchCaptures.erase(it);
    held->mCapturing = false;
    held->OnCaptureEnd(cancelled);
}

boost::intrusive_ptr<UI_TouchCapture> UI_NodeManager::GetTouchCaptureForID(int touchID) const
{
    auto it = mTouchCaptures.find(touchID);
    return it == mTouchCaptures.end() ? nullptr : it->second;
}

void UI_NodeManager::BeginModal(UI_Node& window)
{
    if (!Prune(mModal, &window))
        mModal.emplace_back(&window);
}

void UI_NodeManager::EndModal(UI_Node& window)
{
    Prune(mModal, nullptr);
    mModal.erase(std::remove_if(mModal.begin(), mModal.end(),
                                [&](const WeakNode& w) { return w.Refers(&window); }),
                 mModal.end());
}

bool UI_NodeManager::HasModalWindow() const
{
    return std::any_of(mModal.begin(), mModal.end(), [](const WeakNode& w) { return !w.Expired(); });
}

UI_Node::Ptr UI_NodeManager::GetModalWindow() const
{
    for (auto it = mModal.rbegin(); it != mModal.rend(); ++it) {
        if (UI_Node::Ptr window = it->Lock())
            return window;
    }
    return {};
}

void UI_NodeManager::AddMouseEventFilterNode(UI_Node& node)
{
    if (!Prune(mFilters, &node))
        mFilters.emplace_back(&node);
}

void UI_NodeManager::RemoveMouseEventFilterNode(UI_Node& node)
{
    mFilters.erase(std::remove_if(mFilters.begin(), mFilters.end(),
                                  [&](const WeakNode& w) { return w.Expired() || w.Refers(&node); }),
                   mFilters.end());
}

size_t UI_NodeManager::MouseEventFilterNodeCount() const
{
    return static_cast<size_t>(
        std::count_if(mFilters.begin(), mFilters.end(), [](const WeakNode& w) { return !w.Expired(); }));
}

std::shared_ptr<drawbot::SupplierInterface> UI_NodeManager::GetDefaultDrawSupplier()
{
    if (!mDefaultSupplier)
        mDefaultSupplier = drawbot::CreateDefaultSupplier();
    return mDefaultSupplier;
}

std::shared_ptr<drawbot::SupplierInterface> UI_NodeManager::GetOSDrawSupplier()
{
    if (!mOSSupplier)
        mOSSupplier = drawbot::CreateOSSupplier();
    return mOSSupplier;
}

void UI_NodeManager::SetDefaultDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier)
{
    mDefaultSupplier = std::move(supplier);
}

void UI_NodeManager::SetOSDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier)
{
    mOSSupplier = std::move(supplier);
}

void UI_NodeManager::RegisterWindow(UI_Node& window)
{
    if (!Prune(mWindows, &window))
        mWindows.emplace_back(&window);
}

void UI_NodeManager::UnregisterWindow(UI_Node& window)
{
    mWindows.erase(std::remove_if(mWindows.begin(), mWindows.end(),
                                  [&](const WeakNode& w) {
                                      return w.Expired() || w.Address() == &window;
                                  }),
                   mWindows.end());
}

std::vector<UI_Node::Ptr> UI_NodeManager::GetWindows() const
{
    std::vector<UI_Node::Ptr> windows;
    for (const WeakNode& w : mWindows) {
        if (UI_Node::Ptr window = w.Lock())
            windows.push_back(std::move(window));
    }
    return windows;
}

void UI_NodeManager::SetActiveWindow(UI_Node& window)
{
    mActive.Reset(&window);
}

UI_Node::Ptr UI_NodeManager::GetActiveWindow() const
{
    UI_Node::Ptr active = mActive.Lock();
    for (const WeakNode& w : mWindows) {
        if (active && w.Refers(active.get()))
            return active;
    }
    return {};
}

bool UI_NodeManager::AcceptsInput(const UI_Node& root) const
{
    UI_Node::Ptr modal = GetModalWindow();
    return !modal || modal->UI_GetRootNode() == &root;
}

int UI_NodeManager::CountClick(const MouseEvent& event)
{
    int count = 1;
    if (mLastDown && mLastDown->button == event.button &&
        event.timestamp - mLastDown->timestamp <= kDoubleClickTime &&
        std::fabs(event.globalPosition.x - mLastDown->globalPosition.x) <= kDoubleClickDistance &&
        std::fabs(event.globalPosition.y - mLastDown->globalPosition.y) <= kDoubleClickDistance)
        count = mLastDown->clickCount + 1;
    return count;
}

void UI_NodeManager::UpdateMouseOver(UI_Node* target, const MouseEvent& global)
{
    UI_Node::Ptr old = mMouseOver.Lock();
    if (old.get() == target) {
        mToolTips.MouseMoved(target, global.globalPosition);
        return;
    }
    mMouseOver.Reset(target);
    mToolTips.MouseOverChanged(target, global.globalPosition);
    MouseEvent crossing = global;
    crossing.clickCount = 0;
    crossing.wheelDelta = {};
    if (old) {
        crossing.type = MouseEventType::Exit;
        crossing.position = old->UI_GlobalToLocalPointF(global.globalPosition);
        old->UI_DoMouseEvent(crossing);
    }
    if (target) {
        UI_Node::Ptr held(target);
        crossing.type = MouseEventType::Enter;
        crossing.position = target->UI_GlobalToLocalPointF(global.globalPosition);
        target->UI_DoMouseEvent(crossing);
    }
}

bool UI_NodeManager::DispatchMouseEvent(UI_Node& root, MouseEvent event)
{
    if (!AcceptsInput(root))
        return false;
    UI_Node::Ptr heldRoot(&root);
    event.globalPosition = root.UI_LocalToGlobalPointF(event.position);
    if (event.type == MouseEventType::Down && event.clickCount <= 0)
        event.clickCount = CountClick(event);
    if (event.type == MouseEventType::Down)
        mLastDown = event;
    // A release ends the click its press began: same count.
    if (event.type == MouseEventType::Up && event.clickCount <= 0 && mLastDown &&
        mLastDown->button == event.button)
        event.clickCount = mLastDown->clickCount;

    MouseEvent global = event;
    global.position = event.globalPosition;

    if (mInputCapture) {
        boost::intrusive_ptr<UI_InputCapture> capture = mInputCapture;
        bool handled = capture->OnCaptureMouseEvent(global);
        capture->mPrevious = global;
        mLastMouse = global;
        return handled;
    }
    mLastMouse = global;

    std::vector<WeakNode> filters = mFilters;
    for (const WeakNode& weak : filters) {
        if (UI_Node::Ptr filter = weak.Lock()) {
            MouseEvent local = event;
            local.position = filter->UI_GlobalToLocalPointF(event.globalPosition);
            if (filter->UI_DoPreMouseEvent(local))
                return true;
        }
    }

    if (event.type == MouseEventType::Exit) {
        UpdateMouseOver(nullptr, global);
        mMouseGrab.Reset();
        return false;
    }

    // A held button keeps sending to the node it went down on.
    UI_Node::Ptr target;
    bool grabbed = event.type == MouseEventType::Drag || event.type == MouseEventType::Up;
    if (grabbed)
        target = mMouseGrab.Lock();
    if (!target || target->UI_GetRootNode() != &root)
        target = UI_Node::Ptr(root.UI_HitTest(event.position));
    if (event.type == MouseEventType::Down)
        mMouseGrab.Reset(target.get());
    else if (event.type == MouseEventType::Up)
        mMouseGrab.Reset();

    if (event.type != MouseEventType::Enter) {
        UI_Node::Ptr over(root.UI_HitTest(event.position));
        UpdateMouseOver(over.get(), global);
    }

    bool handled = false;
    for (UI_Node::Ptr node = target; node && !handled; node = UI_Node::Ptr(node->UI_GetParentNode())) {
        MouseEvent local = event;
        local.position = node->UI_GlobalToLocalPointF(event.globalPosition);
        handled = node->UI_DoMouseEvent(local);
    }

    if (event.type == MouseEventType::Move || event.type == MouseEventType::Drag) {
        bool cursorSet = false;
        for (UI_Node::Ptr node = target; node && !cursorSet;
             node = UI_Node::Ptr(node->UI_GetParentNode())) {
            MouseEvent local = event;
            local.position = node->UI_GlobalToLocalPointF(event.globalPosition);
            cursorSet = node->UI_DoCursor(local);
        }
        if (!cursorSet)
            mCursor = kDefaultCursor;
    }
    return handled;
}

bool UI_NodeManager::DispatchKeyboardEvent(const events::KeyboardEvent& event)
{
    if (mInputCapture) {
        boost::intrusive_ptr<UI_InputCapture> capture = mInputCapture;
        return capture->OnCaptureKeyboardEvent(event);
    }
    UI_Node::Ptr focus = mFocus.Lock();
    // A modal window answers the keys (Enter, Escape) wherever the focus is.
    if (UI_Node::Ptr modal = GetModalWindow();
        modal && (!focus || !AcceptsInput(*focus->UI_GetRootNode())))
        focus = UI_Node::Ptr(modal->UI_GetRootNode());
    for (UI_Node::Ptr node = focus; node; node = UI_Node::Ptr(node->UI_GetParentNode())) {
        if (node->UI_DoKeyboardEvent(event))
            return true;
    }
    if (event.type == events::KeyboardEventType::KeyDown && event.keyCode == events::kKey_Tab)
        return MoveKeyboardFocus((event.modifiers & events::kModifier_Shift) != 0);
    return false;
}

void UI_NodeManager::ForgetTouch(int touchID)
{
    mTouches.erase(touchID);
}

bool UI_NodeManager::DispatchTouchEvent(UI_Node& root, events::TouchEvent event)
{
    if (!AcceptsInput(root))
        return false;
    UI_Node::Ptr heldRoot(&root);
    using events::TouchPhase;
    int id = event.touch.touchID;
    event.touch.globalPosition = root.UI_LocalToGlobalPointF(event.touch.position);
    bool ending = event.touch.phase == TouchPhase::Ended || event.touch.phase == TouchPhase::Cancelled;

    UI_Node::Ptr target;
    if (event.touch.phase == TouchPhase::Began) {
        target = UI_Node::Ptr(root.UI_HitTest(event.touch.position));
        events::TouchEvent began = event;
        began.touch.position = began.touch.globalPosition;
        mTouches[id] = ActiveTouch{WeakNode(target.get()), began};
    } else if (auto it = mTouches.find(id); it != mTouches.end()) {
        target = it->second.target.Lock();
    }

    if (boost::intrusive_ptr<UI_TouchCapture> capture = GetTouchCaptureForID(id)) {
        events::TouchEvent global = event;
        global.touch.position = event.touch.globalPosition;
        bool handled = capture->OnCaptureTouchEvent(global);
        if (ending) {
            EndTouchCapture(*capture, event.touch.phase == TouchPhase::Cancelled);
            ForgetTouch(id);
        }
        return handled;
    }

    bool handled = false;
    for (UI_Node::Ptr node = target; node && !handled; node = UI_Node::Ptr(node->UI_GetParentNode())) {
        events::TouchEvent local = event;
        local.touch.position = node->UI_GlobalToLocalPointF(event.touch.globalPosition);
        handled = node->UI_DoTouchEvent(local);
    }
    if (ending)
        ForgetTouch(id);
    return handled;
}

bool UI_NodeManager::DispatchMultiTouchEvent(UI_Node& root, events::MultiTouchEvent event)
{
    if (!AcceptsInput(root) || event.touches.empty())
        return false;
    UI_Node::Ptr heldRoot(&root);
    PointF centre{0, 0};
    for (events::TouchPoint& touch : event.touches) {
        touch.globalPosition = root.UI_LocalToGlobalPointF(touch.position);
        centre.x += touch.position.x;
        centre.y += touch.position.y;
    }
    centre.x /= static_cast<float>(event.touches.size());
    centre.y /= static_cast<float>(event.touches.size());
    UI_Node::Ptr target(root.UI_HitTest(centre));
    for (UI_Node::Ptr node = target; node; node = UI_Node::Ptr(node->UI_GetParentNode())) {
        events::MultiTouchEvent local = event;
        for (events::TouchPoint& touch : local.touches)
            touch.position = node->UI_GlobalToLocalPointF(touch.globalPosition);
        if (node->UI_DoMultiTouchEvent(local))
            return true;
    }
    return false;
}

bool UI_NodeManager::DispatchGestureEvent(UI_Node& root, events::GestureEvent event)
{
    if (!AcceptsInput(root))
        return false;
    UI_Node::Ptr heldRoot(&root);
    event.globalPosition = root.UI_LocalToGlobalPointF(event.position);
    UI_Node::Ptr target(root.UI_HitTest(event.position));
    for (UI_Node::Ptr node = target; node; node = UI_Node::Ptr(node->UI_GetParentNode())) {
        events::GestureEvent local = event;
        local.position = node->UI_GlobalToLocalPointF(event.globalPosition);
        if (node->UI_DoGestureEvent(local))
            return true;
    }
    return false;
}

} // namespace vyrui::ui
