// Tool tips: when the mouse rests over a node with a tip for the node's
// delay, the tip is shown; moving to another node hides it. The window
// layer draws the shown tip at GetShownTipPosition().
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrcore/geom.h"

#include <cstdint>
#include <string>

namespace vyrui::ui {

class UI_Node;

class ToolTipManager {
public:
    void SetTipsEnabled(bool enabled);
    bool AreTipsEnabled() const { return mEnabled; }

    // From the node manager: the node under the mouse changed (null: none),
    // or the mouse moved over the same node. Global coordinates.
    void MouseOverChanged(UI_Node* node, vyrcore::geom::PointF globalMouse);
    void MouseMoved(UI_Node* node, vyrcore::geom::PointF globalMouse);

    bool IsTipShown() const;
    const std::u16string& GetShownTipText() const { return mShownText; }
    // Where the tip goes: below the node when it avoids the node's bounds,
    // else just below and right of the mouse.
    vyrcore::geom::PointF GetShownTipPosition() const { return mShownPosition; }
    void Hide();

private:
    void Arm(UI_Node& node);
    void Show(UI_Node& node);

    bool mEnabled = true;
    vyrcore::utility::WeakPtr<UI_Node> mNode; // under the mouse
    vyrcore::utility::WeakPtr<UI_Node> mShownNode;
    uint64_t mPendingTask = 0;
    uint64_t mPendingLoop = 0;
    vyrcore::geom::PointF mMouse;
    std::u16string mShownText;
    vyrcore::geom::PointF mShownPosition;
};

} // namespace vyrui::ui
