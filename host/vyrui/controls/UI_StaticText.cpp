#include "vyrui/controls/UI_StaticText.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"

#include <cmath>

namespace vyrui::controls {

using namespace ui; // theme slots

UI_StaticText::UI_StaticText(std::string id, const RectF& rect, std::u16string text)
    : UI_ControlView(std::move(id), rect)
{
    SetLabelText(std::move(text));
}

void UI_StaticText::SetStringValue(std::u16string text)
{
    ValueIsKnown();
    SetLabelText(std::move(text));
}

void UI_StaticText::SetCustomTextColor(const drawbot::ColorRGBA& color)
{
    for (float c : {color.red, color.green, color.blue, color.alpha}) {
        if (!(c >= 0 && c <= 1))
            throw vyrcore::config::HostException(
                "SetCustomTextColor: colour components must be numbers from 0 to 1");
    }
    mColor = color;
    UI_Invalidate();
}

void UI_StaticText::SetIsMultiline(bool multiline)
{
    mMultiline = multiline;
    UI_Invalidate();
}

void UI_StaticText::SetCustomFontSize(float size)
{
    if (!std::isfinite(size) || size < 0 || size > drawbot::kMaxTextSize)
        throw vyrcore::config::HostException(
            "SetCustomFontSize: the size is a number of points from 0 (the theme's) to 4096");
    mFontSize = size;
    UI_Invalidate();
}

void UI_StaticText::SetCustomFontStyle(FontStyle style)
{
    mFontStyle = style;
    UI_Invalidate();
}

void UI_StaticText::SetTextTruncation(drawbot::TextTruncation truncation)
{
    mTruncation = truncation;
    UI_Invalidate();
}

drawbot::FontSpec UI_StaticText::Font() const
{
    drawbot::FontSpec font = ResolvedTheme(*this).Font(GetFontSizeId());
    if (mFontSize > 0)
        font.size = mFontSize;
    if (mFontStyle == kFontStyle_Bold)
        font.bold = true;
    return font;
}

void UI_StaticText::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    if (IsValueUnknown() || GetLabelText().empty())
        return;
    ResolvedTheme theme(*this);
    drawbot::Painter painter(drawbot);
    unsigned state = GetControlState() & kControlState_Disabled;
    drawbot::ColorRGBA color = mColor ? theme.Derive(kThemeColor_Text, *mColor, state)
                                      : theme.Color(kThemeColor_Text, state);
    if (mMultiline)
        painter.MultiLineLabel(GetLabelText(), GetLabelTextRect(), Font(), color, GetTextAlignment());
    else
        painter.Label(GetLabelText(), GetLabelTextRect(), Font(), color, GetTextAlignment(), mTruncation);
}

PointF UI_StaticText::UI_GetRecommendedSize(drawbot::Drawbot& drawbot)
{
    drawbot::Painter painter(drawbot);
    drawbot::FontSpec font = Font();
    if (mMultiline) {
        float width = UI_GetLocalRectF().width;
        return {width, std::ceil(painter.Supplier().MeasureMultiLineStringHeight(
                           painter.Font(font), GetLabelText(), width))};
    }
    drawbot::FontMetrics m = painter.Supplier().GetFontMetrics(painter.Font(font));
    return {std::ceil(painter.MeasureText(GetLabelText(), font)),
            std::ceil(m.ascent + m.descent + m.leading)};
}

} // namespace vyrui::controls
