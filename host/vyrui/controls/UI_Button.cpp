#include "vyrui/controls/UI_Button.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"

#include <algorithm>
#include <cmath>

namespace vyrui::controls {

using drawbot::ColorRGBA;
using namespace ui; // theme slots

namespace {

RectF Inset(const RectF& r, float d)
{
    return {r.left + d, r.top + d, std::max(0.0f, r.width - 2 * d), std::max(0.0f, r.height - 2 * d)};
}

ColorRGBA Mix(const ColorRGBA& a, const ColorRGBA& b, float t)
{
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t,
            a.blue + (b.blue - a.blue) * t, a.alpha + (b.alpha - a.alpha) * t};
}

} // namespace

UI_Button::UI_Button(std::string id, const RectF& rect, std::u16string title)
    : UI_InteractiveControlView(std::move(id), rect), mTitle(std::move(title))
{
}

void UI_Button::SetFlag(bool& flag, bool on)
{
    if (flag == on)
        return;
    flag = on;
    UI_Invalidate();
}

void UI_Button::SetValue(int value)
{
    ValueIsKnown();
    if (value == mValue)
        return;
    mValue = value;
    UI_Invalidate();
}

void UI_Button::SetTitle(std::u16string title)
{
    mTitle = std::move(title);
    UI_Invalidate();
}

void UI_Button::SetContentOffset(PointF offset)
{
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y))
        throw vyrcore::config::HostException("SetContentOffset: the offset must be finite");
    mContentOffset = offset;
    UI_Invalidate();
}

void UI_Button::SetCornerRadius(float radius)
{
    if (!std::isfinite(radius) || radius < 0)
        throw vyrcore::config::HostException("SetCornerRadius: the radius must be a finite number >= 0");
    mCornerRadius = radius;
    UI_Invalidate();
}

float UI_Button::GetCornerRadius() const
{
    return mCornerRadius >= 0 ? mCornerRadius : ResolvedTheme(*this).Metric(kThemeMetric_CornerRadius);
}

void UI_Button::SetStrokeSizes(PointF sizes)
{
    if (!std::isfinite(sizes.x) || !std::isfinite(sizes.y) || sizes.x < 0 || sizes.y < 0 ||
        sizes.x > 100 || sizes.y > 100)
        throw vyrcore::config::HostException(
            "SetStrokeSizes: border and focus widths must be numbers from 0 to 100");
    mStrokeSizes = sizes;
    UI_Invalidate();
}

unsigned UI_Button::GetControlState() const
{
    unsigned state = UI_InteractiveControlView::GetControlState();
    return mValue != 0 && !IsValueUnknown() ? state | kControlState_On : state;
}

void UI_Button::OnPressBegin(uint32_t modifiers)
{
    Ptr held(this);
    UI_InteractiveControlView::OnPressBegin(modifiers);
    if (mSpringLoaded) {
        SetValue(1);
        NotifyValueChanged();
    } else if (mNotifyOnDown) {
        NotifyValueChanged();
    }
}

void UI_Button::SpringBack()
{
    if (mSpringLoaded && mValue != 0) {
        SetValue(0);
        NotifyValueChanged();
    }
}

void UI_Button::OnPressEnd(bool inside)
{
    Ptr held(this);
    UI_InteractiveControlView::OnPressEnd(inside);
    SpringBack();
}

void UI_Button::OnPressCancel()
{
    Ptr held(this);
    UI_InteractiveControlView::OnPressCancel();
    SpringBack();
}

void UI_Button::OnActivate()
{
    if (!mSpringLoaded && !mNotifyOnDown)
        NotifyValueChanged();
}

void UI_Button::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    unsigned state = GetControlState();
    bool pushed = (state & (kControlState_Pressed | kControlState_On)) != 0;
    bool hot = (state & (kControlState_Hover | kControlState_Focused)) != 0 || pushed;
    bool chrome = !mContainerNever && (mContainerAlways || !mChromeless || hot);
    float ring = mStrokeSizes.y > 0 ? painter.SnapLength(mStrokeSizes.y)
                                    : theme.Metric(kThemeMetric_FocusRingWidth);
    float border = mStrokeSizes.x > 0 ? painter.SnapLength(mStrokeSizes.x)
                                      : theme.Metric(kThemeMetric_BorderWidth);
    RectF face = mInsetUndrawn ? Inset(UI_GetBoundsF(), ring) : UI_GetBoundsF();
    float radius = GetCornerRadius();
    // A pushed-in button looks pressed; an unknown value looks half pressed.
    unsigned look = pushed ? state | kControlState_Pressed : state;
    int fillSlot = mCommit ? kThemeColor_Accent : kThemeColor_ControlFill;

    if (chrome && mBackground) {
        painter.FillRounded(face, theme.Color(fillSlot, look), radius);
        if (IsValueUnknown() && !pushed)
            painter.FillRounded(face, Mix(theme.Color(fillSlot, look),
                                          theme.Color(fillSlot, look | kControlState_Pressed),
                                          theme.Ratio(kThemeMetric_MixedFaceRatio)),
                                radius);
        if (mInnerBevel && !pushed && face.width > 2 * radius) {
            painter.Fill({face.left + radius, face.top + border, face.width - 2 * radius, border},
                         theme.Color(kThemeColor_InnerBevel, look));
        }
    }
    if ((chrome && !mBorderNever) || mBorderAlways) {
        ColorRGBA color = mCommit ? theme.Color(kThemeColor_Accent, look | kControlState_Pressed)
                                  : theme.Color(kThemeColor_ControlBorder, look);
        painter.FrameRounded(face, color, radius, border);
    }
    if (mDefault && !mCommit && IsEffectivelyEnabled())
        painter.FrameRounded(face, theme.Color(kThemeColor_Accent, look), radius,
                             border * theme.Ratio(kThemeMetric_DefaultBorderRatio));

    if (!mTitle.empty()) {
        float pad = theme.Metric(kThemeMetric_Padding);
        RectF text{face.left + pad + mContentOffset.x, face.top + mContentOffset.y,
                   std::max(0.0f, face.width - 2 * pad), face.height};
        int textSlot = mCommit ? kThemeColor_AccentText : kThemeColor_Text;
        painter.Label(mTitle, text, theme.Font(kThemeFont_Regular), theme.Color(textSlot, look),
                      drawbot::TextAlignment::Center, drawbot::TextTruncation::EndEllipsis);
    }
    if (mInsetUndrawn)
        DrawFocusRing(painter, theme, face, radius, ring);
    else if (ShowsFocus() && IsEffectivelyEnabled())
        painter.FrameRounded(face, theme.Color(kThemeColor_FocusRing), radius, ring);
}

PointF UI_Button::UI_GetRecommendedSize(drawbot::Drawbot& drawbot)
{
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    float room = mInsetUndrawn ? 2 * FocusRingRoom(theme) : 0;
    float text = mTitle.empty() ? 0 : painter.MeasureText(mTitle, theme.Font(kThemeFont_Regular));
    return {std::ceil(text + 2 * theme.Metric(kThemeMetric_Padding) + room),
            theme.Metric(kThemeMetric_ButtonHeight) + room};
}

} // namespace vyrui::controls
