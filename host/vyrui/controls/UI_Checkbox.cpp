#include "vyrui/controls/UI_Checkbox.h"

#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"

#include <algorithm>
#include <cmath>

namespace vyrui::controls {

using namespace ui; // theme slots

UI_Checkbox::UI_Checkbox(std::string id, const RectF& rect, std::u16string label)
    : UI_InteractiveControlView(std::move(id), rect)
{
    SetLabelText(std::move(label));
}

void UI_Checkbox::SetChecked(bool checked)
{
    ValueIsKnown();
    if (checked == mChecked)
        return;
    mChecked = checked;
    UI_Invalidate();
}

unsigned UI_Checkbox::GetControlState() const
{
    unsigned state = UI_InteractiveControlView::GetControlState();
    return mChecked && !IsValueUnknown() ? state | kControlState_On : state;
}

void UI_Checkbox::OnActivate()
{
    Ptr held(this);
    SetChecked(IsValueUnknown() ? true : !mChecked);
    NotifyValueChanged();
}

RectF UI_Checkbox::GetBoxRect() const
{
    ResolvedTheme theme(*this);
    float size = theme.Metric(kThemeMetric_CheckboxSize);
    float room = FocusRingRoom(theme);
    float top = std::round((UI_GetLocalRectF().height - size) / 2 * theme.GetScale()) / theme.GetScale();
    return {room, top, size, size};
}

RectF UI_Checkbox::GetLabelTextRect() const
{
    ResolvedTheme theme(*this);
    RectF box = GetBoxRect();
    float left = box.Right() + theme.Metric(kThemeMetric_LabelGap);
    return {left, 0, std::max(0.0f, UI_GetLocalRectF().width - left), UI_GetLocalRectF().height};
}

void UI_Checkbox::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    unsigned state = GetControlState();
    RectF box = GetBoxRect();
    float radius = theme.Metric(kThemeMetric_CheckboxCornerRadius);
    float border = theme.Metric(kThemeMetric_BorderWidth);
    float mark = theme.Metric(kThemeMetric_MarkWidth);
    bool filled = (state & (kControlState_On | kControlState_ValueUnknown)) != 0;
    if (filled) {
        painter.FillRounded(box, theme.Color(kThemeColor_Accent, state), radius);
        drawbot::ColorRGBA ink = theme.Color(kThemeColor_AccentText, state);
        if (state & kControlState_ValueUnknown)
            painter.Dash(box, ink, mark);
        else
            painter.CheckMark(box, ink, mark);
    } else {
        painter.FillRounded(box, theme.Color(kThemeColor_ControlFill, state), radius);
        painter.FrameRounded(box, theme.Color(kThemeColor_ControlBorder, state), radius, border);
    }
    DrawFocusRing(painter, theme, box, radius);
    if (!GetLabelText().empty()) {
        painter.Label(GetLabelText(), GetLabelTextRect(), theme.Font(GetFontSizeId()),
                      theme.Color(kThemeColor_Text, state & kControlState_Disabled),
                      GetTextAlignment(), drawbot::TextTruncation::EndEllipsis);
    }
}

PointF UI_Checkbox::UI_GetRecommendedSize(drawbot::Drawbot& drawbot)
{
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    float room = FocusRingRoom(theme);
    float size = theme.Metric(kThemeMetric_CheckboxSize);
    float text = GetLabelText().empty()
                     ? 0
                     : theme.Metric(kThemeMetric_LabelGap) +
                           painter.MeasureText(GetLabelText(), theme.Font(GetFontSizeId()));
    return {std::ceil(2 * room + size + text),
            std::max(theme.Metric(kThemeMetric_CheckboxHeight), size + 2 * room)};
}

} // namespace vyrui::controls
