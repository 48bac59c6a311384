#include "vyrui/controls/UI_Divider.h"

#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"

#include <algorithm>
#include <cmath>

namespace vyrui::controls {

using namespace ui; // theme slots

UI_Divider::UI_Divider(std::string id, const RectF& rect) : UI_ControlView(std::move(id), rect) {}

RectF UI_Divider::GetLineRect() const
{
    ResolvedTheme theme(*this);
    float line = theme.Metric(kThemeMetric_SeparatorWidth);
    float scale = theme.GetScale();
    RectF bounds = UI_GetBoundsF();
    auto middle = [&](float length) {
        return std::max(0.0f, std::round((length - line) / 2 * scale) / scale);
    };
    if (bounds.width >= bounds.height)
        return {0, middle(bounds.height), bounds.width, std::min(line, bounds.height)};
    return {middle(bounds.width), 0, std::min(line, bounds.width), bounds.height};
}

void UI_Divider::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    painter.Fill(GetLineRect(),
                 theme.Color(kThemeColor_ControlBorder, GetControlState() & kControlState_Disabled));
}

} // namespace vyrui::controls
