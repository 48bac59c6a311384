// Themes: what controls look like, by name. A theme resolves a colour slot
// in a control state to a colour, a metric slot to a size in view units and
// a text kind to a font. A node draws in the theme its theme component (or
// the nearest ancestor's) names, with the custom colours its components set
// over the theme's; "light" and "dark" are built in.
#pragma once

#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/ThemeSlots.h"
#include "vyrui/ui/UI_Node.h"

#include <array>
#include <map>
#include <string>
#include <string_view>

namespace vyrui::ui {

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
    // A size: whole device pixels (at least one for a size above 0).
    float Metric(int slot) const;
    // A ratio, as the theme gives it.
    float Ratio(int slot) const;
    // `custom` in place of the slot's normal colour, moved for `state` as
    // the theme moves its own (a custom text colour dims as text dims).
    drawbot::ColorRGBA Derive(int slot, const drawbot::ColorRGBA& custom, unsigned state) const;
    drawbot::FontSpec Font(int kind) const;
    float GetScale() const { return mScale; }

private:
    const UI_Node& mNode;
    const ThemeDefinition* mDefinition;
    std::string mName;
    float mScale;
};

} // namespace vyrui::ui
