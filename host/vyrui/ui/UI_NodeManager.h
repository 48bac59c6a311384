// The process-wide UI state: timer IDs, keyboard focus, input and touch
// capture, modal windows, mouse-event filters, tool tips, draw suppliers,
// whether the application is frontmost, and the routing of input from a
// root node down to its target.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrui/events/UIEvents.h"
#include "vyrui/ui/ToolTipManager.h"
#include "vyrui/ui/UI_InputCapture.h"
#include "vyrui/ui/UI_Node.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vyrui {
class EventLoop;
}

namespace vyrui::ui {

class UI_NodeManager {
public:
    // The manager, made on first use with createIfMissing; null before that
    // without it.
    static UI_NodeManager* Get(bool createIfMissing = true);

    // Positive and never repeated in the process.
    int GetUniqueTimerID();

    // The loop that runs node timers and tool-tip delays (the application's).
    void AttachEventLoop(EventLoop* loop);
    void DetachEventLoop(EventLoop* loop);
    EventLoop* GetEventLoop() const { return mLoop; }

    // Keyboard focus.
    UI_Node::Ptr GetKeyboardFocusLeafNode() const { return mFocus.Lock(); }
    UI_Node::Ptr GetPreviousKeyboardFocusNode() const { return mPreviousFocus.Lock(); }
    // Gives `node` the focus if it can take it; the old holder is told first.
    bool SetKeyboardFocus(UI_Node& node, int reason);
    void ClearKeyboardFocus();
    // Moves focus to the next (or previous) node of the focus leaf's tree
    // that can take it, in tree order, wrapping around.
    bool MoveKeyboardFocus(bool backwards);

    // Input capture: while a capture is active it receives every mouse and
    // keyboard event, in global coordinates. Beginning a capture cancels the
    // one before.
    void BeginInputCapture(const boost::intrusive_ptr<UI_InputCapture>& capture);
    void EndInputCapture(bool cancelled);
    bool HasInputCapture() const { return mInputCapture != nullptr; }
    UI_InputCapture* GetInputCapture() const { return mInputCapture.get(); }

    // Touch capture, per touch ID: the capture receives that touch's events
    // and ends by itself after its touch ended (or was cancelled).
    void BeginTouchCapture(const boost::intrusive_ptr<UI_TouchCapture>& capture);
    void EndTouchCapture(UI_TouchCapture& capture, bool cancelled);
    bool HasTouchCapture() const { return !mTouchCaptures.empty(); }
    boost::intrusive_ptr<UI_TouchCapture> GetTouchCaptureForID(int touchID) const;

    // Modal windows, innermost last. While one is up, input to other trees
    // is refused, and keys go to the modal window when the focus is not in
    // it.
    void BeginModal(UI_Node& window);
    void EndModal(UI_Node& window);
    bool HasModalWindow() const;
    UI_Node::Ptr GetModalWindow() const;

    // Filter nodes see every mouse event (as a pre-mouse message, in their
    // own coordinates) before it is routed; one that handles it stops it.
    void AddMouseEventFilterNode(UI_Node& node);
    void RemoveMouseEventFilterNode(UI_Node& node);
    size_t MouseEventFilterNodeCount() const;

    ToolTipManager* GetToolTipManager() { return &mToolTips; }

    // Suppliers of drawing objects: the default one for nodes outside
    // windows and for text measurement, and the OS one for surfaces that
    // have none. Made by the drawing library on first use; setting null goes
    // back to those.
    std::shared_ptr<drawbot::SupplierInterface> GetDefaultDrawSupplier();
    void SetDefaultDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier);
    std::shared_ptr<drawbot::SupplierInterface> GetOSDrawSupplier();
    void SetOSDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier);

    // Whether the application is frontmost: window focus, UI_Activate and
    // the application itself set it. A change is told to the frontmost
    // listener, the application object's (one at a time, removed only by
    // the owner that attached it).
    bool IsApplicationFrontmost() const { return mFrontmost; }
    void SetApplicationFrontmost(bool frontmost);
    using FrontmostListener = std::function<void(bool frontmost)>;
    void AttachFrontmostListener(const void* owner, FrontmostListener listener);
    void DetachFrontmostListener(const void* owner);

    // The cursor shown; set by the node that handled the cursor message, else
    // back to kDefaultCursor.
    static constexpr int kDefaultCursor = 0;
    int GetCurrentCursor() const { return mCursor; }
    void SetCurrentCursor(int cursor) { mCursor = cursor; }

    // Top-level windows alive, in creation order (windows register
    // themselves).
    void RegisterWindow(UI_Node& window);
    void UnregisterWindow(UI_Node& window);
    std::vector<UI_Node::Ptr> GetWindows() const;
    // The window last activated (UI_Activate), while it is alive and open.
    void SetActiveWindow(UI_Node& window);
    UI_Node::Ptr GetActiveWindow() const;

    // Input routing. Positions come in the root's local coordinates (window
    // content coordinates); every node receives them in its own, global
    // positions are filled in. Unhandled events bubble from the target to
    // its ancestors. Returns whether someone handled the event.
    bool DispatchMouseEvent(UI_Node& root, events::MouseEvent event);
    bool DispatchKeyboardEvent(const events::KeyboardEvent& event);
    bool DispatchTouchEvent(UI_Node& root, events::TouchEvent event);
    bool DispatchMultiTouchEvent(UI_Node& root, events::MultiTouchEvent event);
    bool DispatchGestureEvent(UI_Node& root, events::GestureEvent event);

    UI_Node::Ptr GetMouseOverNode() const { return mMouseOver.Lock(); }
    // The last mouse event routed (global coordinates), if any.
    const std::optional<events::MouseEvent>& GetLastMouseEvent() const { return mLastMouse; }

    // Two presses count as a double click within this time (seconds) and
    // distance (units).
    static constexpr double kDoubleClickTime = 0.5;
    static constexpr float kDoubleClickDistance = 4;

private:
    UI_NodeManager() = default;
    bool AcceptsInput(const UI_Node& root) const;
    void UpdateMouseOver(UI_Node* target, const events::MouseEvent& global);
    int CountClick(const events::MouseEvent& event);
    void ForgetTouch(int touchID);

    using WeakNode = vyrcore::utility::WeakPtr<UI_Node>;

    int mNextTimerID = 1;
    EventLoop* mLoop = nullptr;
    WeakNode mFocus;
    WeakNode mPreviousFocus;
    boost::intrusive_ptr<UI_InputCapture> mInputCapture;
    std::map<int, boost::intrusive_ptr<UI_TouchCapture>> mTouchCaptures;
    std::vector<WeakNode> mModal;
    std::vector<WeakNode> mFilters;
    std::vector<WeakNode> mWindows;
    WeakNode mActive;
    ToolTipManager mToolTips;
    std::shared_ptr<drawbot::SupplierInterface> mDefaultSupplier;
    std::shared_ptr<drawbot::SupplierInterface> mOSSupplier;
    bool mFrontmost = true;
    const void* mFrontmostOwner = nullptr;
    FrontmostListener mFrontmostListener;
    int mCursor = kDefaultCursor;

    WeakNode mMouseOver;
    WeakNode mMouseGrab; // the node a held button went down on
    std::optional<events::MouseEvent> mLastMouse;
    std::optional<events::MouseEvent> mLastDown;
    struct ActiveTouch {
        WeakNode target;
        events::TouchEvent began;
    };
    std::map<int, ActiveTouch> mTouches;
};

} // namespace vyrui::ui
