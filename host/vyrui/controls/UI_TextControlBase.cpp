#include "vyrui/controls/UI_TextControlBase.h"

namespace vyrui::controls {

void UI_TextControlBase::SetLabelText(std::u16string text)
{
    if (text == mLabel)
        return;
    mLabel = std::move(text);
    OnLabelChanged();
}

void UI_TextControlBase::SetFontSizeId(ui::ThemeFont id)
{
    mFontSizeId = id;
    OnLabelChanged();
}

void UI_TextControlBase::SetTextAlignment(drawbot::TextAlignment alignment)
{
    mAlignment = alignment;
    OnLabelChanged();
}

} // namespace vyrui::controls
