#include "vyrui/ui/OS_ScaledView.h"

#include "vyrcore/config.h"

#include <algorithm>
#include <cmath>

namespace vyrui::ui {

namespace {
RectF Corners(PointF a, PointF b)
{
    float left = std::min(a.x, b.x);
    float top = std::min(a.y, b.y);
    return {left, top, std::max(a.x, b.x) - left, std::max(a.y, b.y) - top};
}
} // namespace

void OS_ScaledView::UI_SetScale(PointF scale)
{
    if (!std::isfinite(scale.x) || !std::isfinite(scale.y) || scale.x == 0 || scale.y == 0)
        throw vyrcore::config::HostException("OS_ScaledView: the scale must be finite and non-zero");
    UI_Invalidate();
    mScale = scale;
    UI_Invalidate();
}

void OS_ScaledView::UI_SetOffset(PointF offset)
{
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y))
        throw vyrcore::config::HostException("OS_ScaledView: the offset must be finite");
    mOffset = offset;
    UI_Invalidate();
}

PointF OS_ScaledView::UI_LocalToChildSpace(PointF p) const
{
    return {p.x * mScale.x + mOffset.x, p.y * mScale.y + mOffset.y};
}

PointF OS_ScaledView::UI_ChildSpaceToLocal(PointF p) const
{
    return {(p.x - mOffset.x) / mScale.x, (p.y - mOffset.y) / mScale.y};
}

vyrcore::geom::MatrixF OS_ScaledView::UI_GetChildSpaceTransform() const
{
    // v = (c - offset) / scale, as x' = x*m[0] + m[6], y' = y*m[4] + m[7].
    vyrcore::geom::MatrixF m;
    m.m[0] = 1 / mScale.x;
    m.m[4] = 1 / mScale.y;
    m.m[6] = -mOffset.x / mScale.x;
    m.m[7] = -mOffset.y / mScale.y;
    return m;
}

RectF OS_ScaledView::UI_GetScaleRect(const RectF& r) const
{
    return Corners(UI_LocalToChildSpace({r.left, r.top}),
                   UI_LocalToChildSpace({r.left + r.width, r.top + r.height}));
}

RectF OS_ScaledView::UI_GetInverseScaleRect(const RectF& r) const
{
    return Corners(UI_ChildSpaceToLocal({r.left, r.top}),
                   UI_ChildSpaceToLocal({r.left + r.width, r.top + r.height}));
}

} // namespace vyrui::ui
