#include "vyrui/theme/Theme.h"

#include "vyrcore/config.h"
#include "vyrui/controls/UI_ControlView.h"
#include "vyrui/drawbot/FontSet.h"

#include <algorithm>
#include <cmath>

namespace vyrui::ui {

using drawbot::ColorRGBA;
using drawbot::FontSpec;

namespace {

constexpr ColorRGBA Hex(unsigned rgb, float alpha = 1)
{
    return {((rgb >> 16) & 0xFF) / 255.0f, ((rgb >> 8) & 0xFF) / 255.0f, (rgb & 0xFF) / 255.0f,
            alpha};
}

float Clamp01(float v)
{
    return std::clamp(v, 0.0f, 1.0f);
}

ThemeDefinition MakeTheme(bool dark)
{
    ThemeDefinition t;
    if (!dark) {
        t.SetColor(kThemeColor_WindowBackground, Hex(0xECECEC));
        t.SetColor(kThemeColor_Text, {Hex(0x1F1F1F), Hex(0x1F1F1F), Hex(0x1F1F1F), Hex(0x1F1F1F, 0.4f)});
        t.SetColor(kThemeColor_ControlFill, {Hex(0xFDFDFD), Hex(0xF3F3F3), Hex(0xDCDCDC), Hex(0xF5F5F5)});
        t.SetColor(kThemeColor_ControlBorder, {Hex(0xB9B9B9), Hex(0xA2A2A2), Hex(0x939393), Hex(0xD5D5D5)});
        t.SetColor(kThemeColor_Accent, {Hex(0x2F6FE4), Hex(0x2963CF), Hex(0x2155B5), Hex(0xA7C0EE)});
        t.SetColor(kThemeColor_AccentText, {Hex(0xFFFFFF), Hex(0xFFFFFF), Hex(0xF2F2F2), Hex(0xFFFFFF, 0.85f)});
        t.SetColor(kThemeColor_FocusRing, Hex(0x2F6FE4, 0.55f));
        t.SetColor(kThemeColor_InnerBevel, {Hex(0xFFFFFF, 0.9f), Hex(0xFFFFFF, 0.9f), Hex(0xFFFFFF, 0), Hex(0xFFFFFF, 0)});
        t.SetColor(kThemeColor_Warning, Hex(0xE8A317));
        t.SetColor(kThemeColor_Error, Hex(0xD93A3A));
    } else {
        t.SetColor(kThemeColor_WindowBackground, Hex(0x262626));
        t.SetColor(kThemeColor_Text, {Hex(0xE4E4E4), Hex(0xF0F0F0), Hex(0xE4E4E4), Hex(0xE4E4E4, 0.38f)});
        t.SetColor(kThemeColor_ControlFill, {Hex(0x3A3A3A), Hex(0x434343), Hex(0x2E2E2E), Hex(0x303030)});
        t.SetColor(kThemeColor_ControlBorder, {Hex(0x555555), Hex(0x646464), Hex(0x5C5C5C), Hex(0x3C3C3C)});
        t.SetColor(kThemeColor_Accent, {Hex(0x3D7EEA), Hex(0x4C8AF0), Hex(0x316BCC), Hex(0x2E4468)});
        t.SetColor(kThemeColor_AccentText, {Hex(0xFFFFFF), Hex(0xFFFFFF), Hex(0xE8E8E8), Hex(0xFFFFFF, 0.5f)});
        t.SetColor(kThemeColor_FocusRing, Hex(0x5C95F5, 0.75f));
        t.SetColor(kThemeColor_InnerBevel, {Hex(0xFFFFFF, 0.07f), Hex(0xFFFFFF, 0.09f), Hex(0xFFFFFF, 0), Hex(0xFFFFFF, 0)});
        t.SetColor(kThemeColor_Warning, Hex(0xF0B429));
        t.SetColor(kThemeColor_Error, Hex(0xE5534B));
    }
    t.SetMetric(kThemeMetric_CornerRadius, 4);
    t.SetMetric(kThemeMetric_BorderWidth, 1);
    t.SetMetric(kThemeMetric_FocusRingWidth, 2);
    t.SetMetric(kThemeMetric_FocusRingGap, 0);
    t.SetMetric(kThemeMetric_CheckboxSize, 14);
    t.SetMetric(kThemeMetric_LabelGap, 6);
    t.SetMetric(kThemeMetric_Padding, 8);
    t.SetMetric(kThemeMetric_MarkWidth, 1.75f);
    t.SetMetric(kThemeMetric_ButtonHeight, 22);
    t.SetMetric(kThemeMetric_CheckboxHeight, 20);
    t.SetMetric(kThemeMetric_CheckboxCornerRadius, 3);
    t.SetMetric(kThemeMetric_DefaultBorderRatio, 2);
    t.SetMetric(kThemeMetric_MixedFaceRatio, 0.5f);
    t.SetMetric(kThemeMetric_SeparatorWidth, 1);
    t.SetFont(kThemeFont_Regular, {drawbot::kUIFontFamily, 12, false});
    t.SetFont(kThemeFont_Small, {drawbot::kUIFontFamily, 10, false});
    t.SetFont(kThemeFont_Title, {drawbot::kUIFontFamily, 14, true});
    return t;
}

struct Registry {
    std::map<std::string, ThemeDefinition, std::less<>> themes{{"light", MakeTheme(false)},
                                                               {"dark", MakeTheme(true)}};
    std::string defaultName = "light";
};

Registry& GetRegistry()
{
    static Registry registry;
    return registry;
}

} // namespace

ColorRGBA ThemeDefinition::GetColor(int slot, unsigned state) const
{
    auto it = mColors.find(slot);
    if (it == mColors.end())
        return {0, 0, 0, 0};
    const StateColors& c = it->second;
    if (state & controls::kControlState_Disabled)
        return c.disabled;
    if (state & controls::kControlState_Pressed)
        return c.pressed;
    if (state & controls::kControlState_Hover)
        return c.hover;
    return c.normal;
}

bool ThemeDefinition::HasColor(int slot) const
{
    return mColors.count(slot) != 0;
}

ColorRGBA ThemeDefinition::DeriveColor(int slot, const ColorRGBA& custom, unsigned state) const
{
    ColorRGBA base = GetColor(slot, 0);
    ColorRGBA look = GetColor(slot, state);
    return {Clamp01(custom.red + look.red - base.red), Clamp01(custom.green + look.green - base.green),
            Clamp01(custom.blue + look.blue - base.blue),
            base.alpha > 0 ? Clamp01(custom.alpha * look.alpha / base.alpha) : custom.alpha};
}

float ThemeDefinition::GetMetric(int slot) const
{
    return slot >= 0 && slot < kThemeMetric_Count ? mMetrics[static_cast<size_t>(slot)] : 0;
}

void ThemeDefinition::SetMetric(int slot, float value)
{
    if (slot < 0 || slot >= kThemeMetric_Count || !std::isfinite(value) || value < 0)
        throw vyrcore::config::HostException("SetMetric: unknown metric or a size below 0");
    mMetrics[static_cast<size_t>(slot)] = value;
}

FontSpec ThemeDefinition::GetFont(int kind) const
{
    return mFonts[static_cast<size_t>(std::clamp(kind, 0, kThemeFont_Count - 1))];
}

void ThemeDefinition::SetFont(int kind, FontSpec font)
{
    if (kind < 0 || kind >= kThemeFont_Count || !(font.size > 0 && font.size <= drawbot::kMaxTextSize))
        throw vyrcore::config::HostException("SetFont: unknown text kind or a size out of range");
    mFonts[static_cast<size_t>(kind)] = std::move(font);
}

const ThemeDefinition& Theme::Find(std::string_view name)
{
    Registry& registry = GetRegistry();
    auto it = registry.themes.find(name);
    if (it == registry.themes.end())
        it = registry.themes.find(registry.defaultName);
    return it->second;
}

bool Theme::Exists(std::string_view name)
{
    return GetRegistry().themes.count(name) != 0;
}

void Theme::Register(const std::string& name, ThemeDefinition definition)
{
    GetRegistry().themes[name] = std::move(definition);
}

void Theme::SetDefaultThemeName(const std::string& name)
{
    if (!Exists(name))
        throw vyrcore::config::HostException("SetDefaultThemeName: no theme named '" + name + "'");
    GetRegistry().defaultName = name;
}

const std::string& Theme::GetDefaultThemeName()
{
    return GetRegistry().defaultName;
}

const ThemeDefinition& Theme::BuiltInLight()
{
    static const ThemeDefinition light = MakeTheme(false);
    return light;
}

const ThemeDefinition& Theme::BuiltInDark()
{
    static const ThemeDefinition dark = MakeTheme(true);
    return dark;
}

ResolvedTheme::ResolvedTheme(const UI_Node& node)
    : mNode(node), mScale(node.GetViewScaleFactor())
{
    for (const UI_Node* n = &node; n; n = n->UI_GetParentNode()) {
        const UI_ThemeComponent* component = n->UI_FindThemeComponent();
        if (component && !component->GetThemeName().empty() && Theme::Exists(component->GetThemeName())) {
            mName = component->GetThemeName();
            break;
        }
    }
    if (mName.empty())
        mName = Theme::GetDefaultThemeName();
    mDefinition = &Theme::Find(mName);
}

ColorRGBA ResolvedTheme::Color(int slot, unsigned state) const
{
    for (const UI_Node* n = &mNode; n; n = n->UI_GetParentNode()) {
        const UI_ThemeComponent* component = n->UI_FindThemeComponent();
        if (!component)
            continue;
        if (std::optional<ColorRGBA> custom = component->GetCustomColor(slot))
            return mDefinition->DeriveColor(slot, *custom, state);
    }
    return mDefinition->GetColor(slot, state);
}

float ResolvedTheme::Metric(int slot) const
{
    float value = mDefinition->GetMetric(slot);
    if (!(value > 0) || !(mScale > 0))
        return value;
    return std::max(1.0f, std::round(value * mScale)) / mScale;
}

float ResolvedTheme::Ratio(int slot) const
{
    return mDefinition->GetMetric(slot);
}

ColorRGBA ResolvedTheme::Derive(int slot, const ColorRGBA& custom, unsigned state) const
{
    return mDefinition->DeriveColor(slot, custom, state);
}

FontSpec ResolvedTheme::Font(int kind) const
{
    return mDefinition->GetFont(kind);
}

} // namespace vyrui::ui
