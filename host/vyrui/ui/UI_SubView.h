// A view that arranges its children: when its size changes it tells the
// subclass (UI_OnSizeChanged) and, when it lays out its children, moves and
// stretches each child sub-view by that child's layout binding. Script-backed
// views override the two hooks and draw their own children on demand.
#pragma once

#include "vyrui/ui/UI_Node.h"

namespace vyrui::ui {

// Which edges of its parent a sub-view keeps its distance to when the parent
// resizes (bit mask). Bound to both edges of an axis it stretches; to the
// far edge alone it moves; to the near edge alone (or to neither) it stays.
enum LayoutBinding : int {
    kLayoutBinding_None = 0,
    kLayoutBinding_Left = 1,
    kLayoutBinding_Top = 2,
    kLayoutBinding_Right = 4,
    kLayoutBinding_Bottom = 8,
    kLayoutBinding_TopLeft = kLayoutBinding_Left | kLayoutBinding_Top,
    kLayoutBinding_All = 15,
};

class UI_SubView : public UI_Node {
public:
    UI_SubView();
    explicit UI_SubView(std::string id, const RectF& rect = {});

    // Off by default: a sub-view leaves its children where they are.
    bool GetLayoutsChildren() const { return mLayoutsChildren; }
    void SetLayoutsChildren(bool layouts);
    // kLayoutBinding_TopLeft by default. Bits outside kLayoutBinding_All are a
    // HostException.
    int GetLayoutBinding() const { return mBinding; }
    void SetLayoutBinding(int binding);

    // Draws `child`, which must be a child of this view (HostException
    // otherwise), as the tree would: for views that draw a child themselves,
    // at a moment of their choosing inside their own drawing.
    void UI_DispatchDrawToChild(UI_Node& child, drawbot::Drawbot& drawbot);

    // The size changed from `oldSize` (to the current one).
    virtual void UI_OnSizeChanged(PointF oldSize) {}
    // Runs after a size change while the view lays out its children. This one
    // applies the children's layout bindings to the change since the last
    // layout (children that are not sub-views stay put).
    virtual void UI_LayoutChildren();

    bool UI_IsSubView() const override { return true; }

protected:
    void UI_OnLocalRectChanged(const RectF& oldRect) override;

private:
    bool mLayoutsChildren = false;
    int mBinding = kLayoutBinding_TopLeft;
    // The size the children were last laid out for.
    PointF mLaidOutSize;
};

} // namespace vyrui::ui
