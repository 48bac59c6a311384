// A view that shows its children scaled and shifted: a point of the
// children's space is c = v * scale + offset for the view's own local point
// v (so a scale of 0.5 shows the children twice as large). Zoomable
// canvases and timelines are built on it.
#pragma once

#include "vyrui/ui/UI_Node.h"

namespace vyrui::ui {

class OS_ScaledView : public UI_Node {
public:
    using UI_Node::UI_Node;

    // Scale factors must be finite and non-zero, offsets finite
    // (HostException otherwise).
    void UI_SetScale(PointF scale);
    void UI_SetOffset(PointF offset);
    PointF UI_GetScale() const { return mScale; }
    PointF UI_GetInverseScale() const { return {1 / mScale.x, 1 / mScale.y}; }
    PointF UI_GetOffset() const { return mOffset; }

    // The view's own space to the children's, and back; corners re-ordered
    // so sizes are never negative.
    RectF UI_GetScaleRect(const RectF& r) const;
    RectF UI_GetInverseScaleRect(const RectF& r) const;

    PointF UI_LocalToChildSpace(PointF p) const override;
    PointF UI_ChildSpaceToLocal(PointF p) const override;
    vyrcore::geom::MatrixF UI_GetChildSpaceTransform() const override;

private:
    PointF mScale{1, 1};
    PointF mOffset{0, 0};
};

} // namespace vyrui::ui
