// The label of a text-bearing control, mixed into the control classes: its
// text, the theme's text kind it uses and its alignment. The control says
// where the text goes.
#pragma once

#include "vyrcore/geom.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/theme/ThemeSlots.h"

#include <string>

namespace vyrui::controls {

class UI_TextControlBase {
public:
    virtual ~UI_TextControlBase() = default;

    void SetLabelText(std::u16string text);
    const std::u16string& GetLabelText() const { return mLabel; }
    // The theme's text kind the label is drawn in.
    void SetFontSizeId(ui::ThemeFont id);
    ui::ThemeFont GetFontSizeId() const { return mFontSizeId; }
    void SetTextAlignment(drawbot::TextAlignment alignment);
    drawbot::TextAlignment GetTextAlignment() const { return mAlignment; }
    // Where the label is drawn, in the control's local coordinates.
    virtual vyrcore::geom::RectF GetLabelTextRect() const = 0;

protected:
    explicit UI_TextControlBase(drawbot::TextAlignment alignment = drawbot::TextAlignment::Left)
        : mAlignment(alignment)
    {
    }
    // The label's text or look changed (the control redraws).
    virtual void OnLabelChanged() = 0;

private:
    std::u16string mLabel;
    ui::ThemeFont mFontSizeId = ui::kThemeFont_Regular;
    drawbot::TextAlignment mAlignment;
};

} // namespace vyrui::controls
