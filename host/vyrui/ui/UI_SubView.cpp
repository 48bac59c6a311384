#include "vyrui/ui/UI_SubView.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Drawbot.h"

#include <algorithm>

namespace vyrui::ui {

namespace {

// One axis of a child's rectangle after its parent grew by `delta`.
void Follow(float& position, float& length, float delta, bool nearEdge, bool farEdge)
{
    if (!farEdge)
        return;
    if (nearEdge)
        length = std::max(0.0f, length + delta);
    else
        position += delta;
}

} // namespace

UI_SubView::UI_SubView() = default;

UI_SubView::UI_SubView(std::string id, const RectF& rect)
    : UI_Node(std::move(id), rect), mLaidOutSize{rect.width, rect.height}
{
}

void UI_SubView::SetLayoutsChildren(bool layouts)
{
    mLayoutsChildren = layouts;
    // Later changes count from now, not from the last time it laid out.
    mLaidOutSize = {UI_GetLocalRectF().width, UI_GetLocalRectF().height};
}

void UI_SubView::SetLayoutBinding(int binding)
{
    if ((binding & ~kLayoutBinding_All) != 0)
        throw vyrcore::config::HostException(
            "SetLayoutBinding: the binding is a combination of left 1, top 2, right 4 and bottom 8");
    mBinding = binding;
}

void UI_SubView::UI_DispatchDrawToChild(UI_Node& child, drawbot::Drawbot& drawbot)
{
    if (child.UI_GetParentNode() != this)
        throw vyrcore::config::HostException(
            "UI_DispatchDrawToChild: the node is not a child of this view");
    drawbot::SurfaceInterface* surface = drawbot.GetSurface();
    if (!surface)
        return;
    surface->PushState();
    try {
        surface->ConcatTransform(UI_GetChildSpaceTransform());
        child.UI_Draw(drawbot);
    } catch (...) {
        surface->PopState();
        throw;
    }
    surface->PopState();
}

void UI_SubView::UI_LayoutChildren()
{
    const RectF& rect = UI_GetLocalRectF();
    float dx = rect.width - mLaidOutSize.x;
    float dy = rect.height - mLaidOutSize.y;
    mLaidOutSize = {rect.width, rect.height};
    if (dx == 0 && dy == 0)
        return;
    // A copy: moving a child may run code that edits the tree.
    std::vector<Ptr> children = UI_GetChildren();
    for (const Ptr& node : children) {
        auto* child = dynamic_cast<UI_SubView*>(node.get());
        if (!child || child->UI_GetParentNode() != this)
            continue;
        int b = child->mBinding;
        RectF r = child->UI_GetLocalRectF();
        Follow(r.left, r.width, dx, b & kLayoutBinding_Left, b & kLayoutBinding_Right);
        Follow(r.top, r.height, dy, b & kLayoutBinding_Top, b & kLayoutBinding_Bottom);
        child->UI_SetLocalRectF(r);
    }
}

void UI_SubView::UI_OnLocalRectChanged(const RectF& oldRect)
{
    const RectF& rect = UI_GetLocalRectF();
    if (rect.width == oldRect.width && rect.height == oldRect.height)
        return;
    // Held: the hooks may run script code that drops the view.
    Ptr held(this);
    UI_OnSizeChanged({oldRect.width, oldRect.height});
    if (mLayoutsChildren)
        UI_LayoutChildren();
    mLaidOutSize = {UI_GetLocalRectF().width, UI_GetLocalRectF().height};
}

} // namespace vyrui::ui
