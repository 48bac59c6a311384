// The label of a text-bearing control, mixed into the control classes: its
// text, size class and alignment. The control says where the text goes.
#pragma once

#include "vyrcore/geom.h"

#include <string>

namespace vyrui::controls {

// Horizontal placement of a label in its box.
enum TextAlignment : int {
    kTextAlignment_Left = 0,
    kTextAlignment_Center = 1,
    kTextAlignment_Right = 2,
};

// The theme's text sizes a label can use.
enum FontSizeId : int {
    kFontSizeId_Regular = 0, // the theme's main control text
    kFontSizeId_Small = 1,
    kFontSizeId_Title = 2,
};

class UI_TextControlBase {
public:
    virtual ~UI_TextControlBase() = default;

    void SetLabelText(std::u16string text);
    const std::u16string& GetLabelText() const { return mLabel; }
    // A FontSizeId (HostException for another value).
    void SetFontSizeId(int id);
    int GetFontSizeId() const { return mFontSizeId; }
    // A TextAlignment (HostException for another value).
    void SetTextAlignment(int alignment);
    int GetTextAlignment() const { return mAlignment; }
    // Where the label is drawn, in the control's local coordinates.
    virtual vyrcore::geom::RectF GetLabelTextRect() const = 0;

protected:
    explicit UI_TextControlBase(int alignment = kTextAlignment_Left) : mAlignment(alignment) {}
    // The label's text or look changed (the control redraws).
    virtual void OnLabelChanged() = 0;

private:
    std::u16string mLabel;
    int mFontSizeId = kFontSizeId_Regular;
    int mAlignment;
};

// Checks a TextAlignment from outside; `what` names the caller in the error.
int CheckTextAlignment(int alignment, const char* what);

} // namespace vyrui::controls
