// Themes: what controls look like, by name. A theme resolves a colour slot
// in a control state to a colour, a metric slot to a size in view units and
// a text kind to a font. A node draws in the theme its theme component (or
// the nearest ancestor's) names, with the custom colours its components set
// over the theme's; "light" and "dark" are built in.
#pragma once

#include "vyrui/drawbot/Painter.h"
#include "vyrui/ui/UI_Node.h"

#include <array>
#include <map>
#include <string>
#include <string_view>

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

enum ThemeMetric : int {
    kThemeMetric_CornerRadius = 0,
    kThemeMetric_BorderWidth = 1,
    kThemeMetric_FocusRingWidth = 2,
    kThemeMetric_FocusRingGap = 3,
    kThemeMetric_CheckboxSize = 4,
    kThemeMetric_LabelGap = 5,     // between a box and its label
    kThemeMetric_Padding = 6,      // between a control's edge and its content
    kThemeMetric_MarkWidth = 7,    // stroke of check marks and chevrons
    kThemeMetric_Count = 8,
};

// Text kinds (the label size ids of controls use the same numbers).
enum ThemeFont : int {
    kThemeFont_Regular = 0,
    kThemeFont_Small = 1,
    kThemeFont_Title = 2,
    kThemeFont_Count = 3,
};

// One theme's values. A colour slot has one colour per look: normal,
// hovered, pressed and disabled.
class ThemeDefinition {
public:
    struct StateColors {
        drawbot::ColorRGBA normal, hover, pressed, disabled;
    };

    // The colour of `slot` for a control state (kControlState_* bits:
    // disabled wins over pressed, pressed over hover). Unknown slots are
    // transparent.
    drawbot::ColorRGBA GetColor(int slot, unsigned state) const;
    bool HasColor(int slot) const;
    void SetColor(int slot, const StateColors& colors) { mColors[slot] = colors; }
    // The same colour in every state (application colours).
    void SetColor(int slot, const drawbot::ColorRGBA& color) { mColors[slot] = {color, color, color, color}; }
    // `custom` in place of the slot's normal colour, the other states moved
    // from it as the theme moves them from its own normal colour.
    drawbot::ColorRGBA DeriveColor(int slot, const drawbot::ColorRGBA& custom, unsigned state) const;

    float GetMetric(int slot) const;
    void SetMetric(int slot, float value);
    drawbot::FontSpec GetFont(int kind) const;
    void SetFont(int kind, drawbot::FontSpec font);

private:
    std::map<int, StateColors> mColors;
    std::array<float, kThemeMetric_Count> mMetrics{};
    std::array<drawbot::FontSpec, kThemeFont_Count> mFonts{};
};

class Theme {
public:
    // The theme of that name; the default theme for an unknown or empty name.
    static const ThemeDefinition& Find(std::string_view name);
    static bool Exists(std::string_view name);
    // Adds or replaces a theme.
    static void Register(const std::string& name, ThemeDefinition definition);
    // "light" unless set; the name must be registered (HostException).
    static void SetDefaultThemeName(const std::string& name);
    static const std::string& GetDefaultThemeName();
    static const ThemeDefinition& BuiltInLight();
    static const ThemeDefinition& BuiltInDark();
};

// A node's theme for one drawing: the theme its components name and their
// custom colours, sizes in the node's view units snapped to device pixels.
class ResolvedTheme {
public:
    explicit ResolvedTheme(const UI_Node& node);

    const std::string& GetName() const { return mName; }
    drawbot::ColorRGBA Color(int slot, unsigned state = 0) const;
    // Whole device pixels (at least one for a size above 0).
    float Metric(int slot) const;
    drawbot::FontSpec Font(int kind) const;
    float GetScale() const { return mScale; }

private:
    const UI_Node& mNode;
    const ThemeDefinition* mDefinition;
    std::string mName;
    float mScale;
};

} // namespace vyrui::ui
