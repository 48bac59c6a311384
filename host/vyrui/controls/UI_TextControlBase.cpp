#include "vyrui/controls/UI_TextControlBase.h"

#include "vyrcore/config.h"

namespace vyrui::controls {

int CheckTextAlignment(int alignment, const char* what)
{
    if (alignment < kTextAlignment_Left || alignment > kTextAlignment_Right)
        throw vyrcore::config::HostException(std::string(what) +
                                             ": the alignment is left 0, center 1 or right 2");
    return alignment;
}

void UI_TextControlBase::SetLabelText(std::u16string text)
{
    if (text == mLabel)
        return;
    mLabel = std::move(text);
    OnLabelChanged();
}

void UI_TextControlBase::SetFontSizeId(int id)
{
    if (id < kFontSizeId_Regular || id > kFontSizeId_Title)
        throw vyrcore::config::HostException(
            "SetFontSizeId: the size is regular 0, small 1 or title 2");
    mFontSizeId = id;
    OnLabelChanged();
}

void UI_TextControlBase::SetTextAlignment(int alignment)
{
    mAlignment = CheckTextAlignment(alignment, "SetTextAlignment");
    OnLabelChanged();
}

} // namespace vyrui::controls
