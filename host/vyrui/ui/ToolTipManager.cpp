#include "vyrui/ui/ToolTipManager.h"

#include "vyrui/EventLoop.h"
#include "vyrui/ui/UI_Node.h"
#include "vyrui/ui/UI_NodeManager.h"

namespace vyrui::ui {

namespace {
// Gap between the tip and what it must not cover.
constexpr float kTipGap = 4;
constexpr float kCursorOffset = 16;
} // namespace

void ToolTipManager::SetTipsEnabled(bool enabled)
{
    mEnabled = enabled;
    if (!enabled)
        Hide();
}

bool ToolTipManager::IsTipShown() const
{
    return !mShownNode.Expired();
}

void ToolTipManager::Hide()
{
    if (mPendingTask != 0) {
        UI_NodeManager* manager = UI_NodeManager::Get(false);
        EventLoop* loop = manager ? manager->GetEventLoop() : nullptr;
        if (loop && loop->Serial() == mPendingLoop)
            loop->Cancel(mPendingTask);
        mPendingTask = 0;
    }
    mShownNode.Reset();
    mShownText.clear();
}

void ToolTipManager::MouseOverChanged(UI_Node* node, vyrcore::geom::PointF globalMouse)
{
    Hide();
    mNode.Reset(node);
    mMouse = globalMouse;
    if (node)
        Arm(*node);
}

void ToolTipManager::MouseMoved(UI_Node* node, vyrcore::geom::PointF globalMouse)
{
    if (!mNode.Refers(node)) {
        MouseOverChanged(node, globalMouse);
        return;
    }
    mMouse = globalMouse;
    if (!node->UI_HasToolTip() || !mEnabled) {
        Hide();
        return;
    }
    // Text that follows the mouse (a tip per region of the node) is taken
    // again on every move while shown.
    if (IsTipShown() && node->UI_GetUpdateToolTipOnEveryMouseOverChange())
        Show(*node);
}

void ToolTipManager::Arm(UI_Node& node)
{
    if (!mEnabled || !node.UI_HasToolTip())
        return;
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    EventLoop* loop = manager ? manager->GetEventLoop() : nullptr;
    if (!loop) {
        Show(node); // no loop to wait with
        return;
    }
    vyrcore::utility::WeakPtr<UI_Node> weak(&node);
    mPendingLoop = loop->Serial();
    mPendingTask = loop->CallAfter(node.UI_GetToolTipDelay() / 1000.0, [this, weak] {
        mPendingTask = 0;
        if (UI_Node::Ptr n = weak.Lock(); n && mNode.Refers(n.get()))
            Show(*n);
    });
}

void ToolTipManager::Show(UI_Node& node)
{
    if (!mEnabled || !node.UI_HasToolTip())
        return;
    mShownNode.Reset(&node);
    mShownText = node.UI_GetToolTipText();
    if (node.UI_GetToolTipAvoidsBounds()) {
        vyrcore::geom::RectF bounds = node.UI_LocalToGlobalRectF(node.UI_GetBoundsF());
        mShownPosition = {mMouse.x, bounds.top + bounds.height + kTipGap};
    } else {
        mShownPosition = {mMouse.x + kTipGap, mMouse.y + kCursorOffset};
    }
}

} // namespace vyrui::ui
