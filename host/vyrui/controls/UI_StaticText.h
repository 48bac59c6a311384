// A label: text that shows, in the theme's text colour (or its own), one
// line aligned and truncated in the control, or wrapped over several. It
// takes no presses and no focus.
#pragma once

#include "vyrui/controls/UI_ControlView.h"
#include "vyrui/controls/UI_TextControlBase.h"

#include <optional>

namespace vyrui::drawbot {
struct FontSpec;
}

namespace vyrui::controls {

// How a static text's font differs from the theme's (SetCustomFontStyle).
enum FontStyle : int {
    kFontStyle_Regular = 0,
    kFontStyle_Bold = 1,
};

class UI_StaticText : public UI_ControlView, public UI_TextControlBase {
public:
    explicit UI_StaticText(std::string id = {}, const RectF& rect = {}, std::u16string text = {});

    // The text shown: the label text under another name. Setting it ends
    // the value-unknown state (which shows no text).
    void SetStringValue(std::u16string text);
    const std::u16string& GetStringValue() const { return GetLabelText(); }
    void SetCustomTextColor(const drawbot::ColorRGBA& color);
    std::optional<drawbot::ColorRGBA> GetCustomTextColor() const { return mColor; }
    // Wrapped at word boundaries from the top, instead of one centred line.
    void SetIsMultiline(bool multiline);
    bool GetIsMultiline() const { return mMultiline; }
    // The same as SetTextAlignment.
    void SetAlignment(drawbot::TextAlignment alignment) { SetTextAlignment(alignment); }
    // In points, above 0 and at most 4096; 0 goes back to the size that the
    // font size id gives (HostException otherwise).
    void SetCustomFontSize(float size);
    float GetCustomFontSize() const { return mFontSize; }
    void SetCustomFontStyle(FontStyle style);
    FontStyle GetCustomFontStyle() const { return mFontStyle; }
    // How a line too long for the control ends (single line only); an
    // ellipsis at the end by default.
    void SetTextTruncation(drawbot::TextTruncation truncation);
    drawbot::TextTruncation GetTextTruncation() const { return mTruncation; }

    // The whole control.
    RectF GetLabelTextRect() const override { return UI_GetBoundsF(); }
    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;
    PointF UI_GetRecommendedSize(drawbot::Drawbot& drawbot) override;

protected:
    bool TakesPresses() const override { return false; }
    void OnLabelChanged() override { UI_Invalidate(); }

private:
    drawbot::FontSpec Font() const;

    std::optional<drawbot::ColorRGBA> mColor;
    bool mMultiline = false;
    float mFontSize = 0;
    FontStyle mFontStyle = kFontStyle_Regular;
    drawbot::TextTruncation mTruncation = drawbot::TextTruncation::EndEllipsis;
};

} // namespace vyrui::controls
