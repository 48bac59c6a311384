// The slots a theme fills: colours, metrics and text kinds. Apart from
// Theme.h so that control headers can name them without the drawing layer.
#pragma once

namespace vyrui::ui {

// Colour slots (also the keys of a node's custom colours). Scripts define
// their own from kThemeColor_ApplicationDomainStart.
enum ThemeColor : int {
    kThemeColor_WindowBackground = 0,
    kThemeColor_Text = 1,          // labels; its disabled state is the dimmed text
    kThemeColor_ControlFill = 2,   // the face of buttons and boxes
    kThemeColor_ControlBorder = 3,
    kThemeColor_Accent = 4,        // commit buttons, checked boxes
    kThemeColor_AccentText = 5,    // text and marks on the accent
    kThemeColor_FocusRing = 6,
    kThemeColor_InnerBevel = 7,    // the highlight line inside a raised face
    kThemeColor_Warning = 8,       // marks that ask for care (an alert's warning sign)
    kThemeColor_Error = 9,         // marks of failure (an alert's error sign)
    kThemeColor_Count = 10,
    kThemeColor_ApplicationDomainStart = 10000,
};

// Every size, padding, radius and ratio a control draws with. Sizes are
// view units, snapped to device pixels when read (ResolvedTheme::Metric);
// ratios are plain numbers (ResolvedTheme::Ratio).
enum ThemeMetric : int {
    kThemeMetric_CornerRadius = 0,
    kThemeMetric_BorderWidth = 1,
    kThemeMetric_FocusRingWidth = 2,
    kThemeMetric_FocusRingGap = 3,
    kThemeMetric_CheckboxSize = 4,
    kThemeMetric_LabelGap = 5,     // between a box and its label
    kThemeMetric_Padding = 6,      // between a control's edge and its content
    kThemeMetric_MarkWidth = 7,    // stroke of check marks and chevrons
    kThemeMetric_ButtonHeight = 8, // a push button's recommended height
    kThemeMetric_CheckboxHeight = 9,       // the least recommended height of a check box
    kThemeMetric_CheckboxCornerRadius = 10,
    kThemeMetric_SeparatorWidth = 11,      // a divider's line
    // Ratios.
    kThemeMetric_DefaultBorderRatio = 12,  // a default button's ring, in border widths
    kThemeMetric_MixedFaceRatio = 13,      // how far a value-unknown face goes towards pressed
    kThemeMetric_Count = 14,
};

// Text kinds, also the font size ids labels take (SetFontSizeId).
enum ThemeFont : int {
    kThemeFont_Regular = 0,
    kThemeFont_Small = 1,
    kThemeFont_Title = 2,
    kThemeFont_Count = 3,
};

} // namespace vyrui::ui
