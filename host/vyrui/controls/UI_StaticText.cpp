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

void UI_StaticText::SetCustomFontStyle(int style)
{
    if (style != kFontStyle_Regular && style != kFontStyle_Bold)
        throw vyrcore::config::HostException("SetCustomFontStyle: the style is regular 0 or bold 1");
    mFontStyle = style;
    UI_Invalidate();
}

void UI_StaticText::SetTextTruncation(int truncation)
{
    if (truncation < 0 || truncation > 3)
        throw vyrcore::config::HostException(
            "SetTextTruncation: the truncation is none 0, end 1, end ellipsis 2 or path ellipsis 3");
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
    drawbot::ColorRGBA color = theme.Color(kThemeColor_Text, state);
    if (mColor) {
        color = *mColor;
        if (state)
            color.alpha *= 0.4f;
    }
    auto alignment = static_cast<drawbot::TextAlignment>(GetTextAlignment());
    if (mMultiline)
        painter.MultiLineLabel(GetLabelText(), GetLabelTextRect(), Font(), color, alignment);
    else
        painter.Label(GetLabelText(), GetLabelTextRect(), Font(), color, alignment,
                      static_cast<drawbot::TextTruncation>(mTruncation));
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
