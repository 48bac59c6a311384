// What the three controls look like in both themes, in each state, against
// golden PNGs (VYRLUA_UPDATE_GOLDEN=1 remakes them; look at them when so).
#include "support/Golden.h"

#include "vyrui/controls/UI_Button.h"
#include "vyrui/controls/UI_Checkbox.h"
#include "vyrui/controls/UI_Divider.h"
#include "vyrui/controls/UI_StaticText.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/theme/Theme.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace vyrui::ui;
using namespace vyrui::controls;
using vyrtest::GoldenPlace;
using vyrui::drawbot::ColorRGBA;

namespace {

const GoldenPlace kPlace{VYRLUA_UI_GOLDEN_DIR, VYRLUA_UI_GOLDEN_FAILURES};

// One row per state: normal, pressed, focused, disabled, value unknown,
// plus whatever rows `extra` adds; each control made by `make`.
using Make = std::function<boost::intrusive_ptr<UI_ControlView>(const RectF&)>;

boost::intrusive_ptr<OS_Window> States(const Make& make, float width, float height,
                                       const std::vector<std::function<void(UI_ControlView&)>>& extra = {})
{
    std::vector<std::function<void(UI_ControlView&)>> states = {
        [](UI_ControlView&) {},
        [](UI_ControlView& c) { c.SetDownState(true); },
        [](UI_ControlView& c) { c.UI_GainKeyboardFocus(kFocusReason_Tab); },
        [](UI_ControlView& c) { c.SetEnabled(false); },
        [](UI_ControlView& c) { c.SetValueUnknown(); },
    };
    states.insert(states.end(), extra.begin(), extra.end());
    float gap = 6;
    boost::intrusive_ptr<OS_Window> window(
        new OS_Window("states", {0, 0, width + 16, 8 + states.size() * (height + gap)}));
    for (size_t i = 0; i < states.size(); ++i) {
        auto control = make({8, 8 + i * (height + gap), width, height});
        UI_Container::ChildPushBack(*window, control);
        states[i](*control);
    }
    return window;
}

void ExpectStates(const std::string& name, const Make& make, float width, float height,
                  const std::vector<std::function<void(UI_ControlView&)>>& extra = {})
{
    for (const char* theme : {"light", "dark"}) {
        auto window = States(make, width, height, extra);
        auto image = vyrtest::RenderWindow(*window, theme, 1);
        ASSERT_TRUE(image);
        vyrtest::ExpectMatchesGolden(*image, kPlace, name + "_" + theme);
        UI_NodeManager::Get()->ClearKeyboardFocus();
    }
}

template <class T>
T& As(UI_ControlView& c)
{
    return dynamic_cast<T&>(c);
}

} // namespace

TEST(ControlGolden, Button)
{
    ExpectStates(
        "button",
        [](const RectF& r) { return new UI_Button("b", r, u"Render"); }, 110, 26,
        {[](UI_ControlView& c) { As<UI_Button>(c).SetValue(1); },
         [](UI_ControlView& c) { As<UI_Button>(c).SetCommitAppearance(true); },
         [](UI_ControlView& c) { As<UI_Button>(c).SetDefaultAppearance(true); },
         [](UI_ControlView& c) {
             auto& b = As<UI_Button>(c);
             b.SetTitle(u"A title much too long for it");
             b.SetDisplayChromelessNormalState(true);
         }});
}

TEST(ControlGolden, Checkbox)
{
    ExpectStates(
        "checkbox",
        [](const RectF& r) {
            auto* box = new UI_Checkbox("c", r, u"Loop playback");
            box->SetChecked(true);
            return box;
        },
        150, 20, {[](UI_ControlView& c) { As<UI_Checkbox>(c).SetChecked(false); }});
}

TEST(ControlGolden, StaticText)
{
    ExpectStates(
        "statictext",
        [](const RectF& r) { return new UI_StaticText("t", r, u"Frame rate: 24 fps"); }, 170, 18,
        {[](UI_ControlView& c) { As<UI_StaticText>(c).SetAlignment(vyrui::drawbot::TextAlignment::Right); },
         [](UI_ControlView& c) {
             auto& t = As<UI_StaticText>(c);
             t.SetStringValue(u"Bold, centred and in a custom colour");
             t.SetCustomFontStyle(kFontStyle_Bold);
             t.SetAlignment(vyrui::drawbot::TextAlignment::Center);
             t.SetCustomTextColor({0.85f, 0.35f, 0.1f, 1});
         },
         [](UI_ControlView& c) {
             auto& t = As<UI_StaticText>(c);
             t.SetStringValue(u"/media/projects/2026/november/edit/final/scene-12.mov");
             t.SetTextTruncation(vyrui::drawbot::TextTruncation::PathEllipsis);
         }});
}

TEST(ControlGolden, ControlsAtScaleTwo)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 280, 40}));
    UI_Container::ChildPushBack(*window, new UI_Button("b", {8, 7, 100, 26}, u"Cancel"));
    auto* box = new UI_Checkbox("c", {116, 10, 160, 20}, u"Remember");
    box->SetChecked(true);
    UI_Container::ChildPushBack(*window, box);
    auto image = vyrtest::RenderWindow(*window, "dark", 2);
    ASSERT_TRUE(image);
    vyrtest::ExpectMatchesGolden(*image, kPlace, "controls_dark_x2");
}

// Sizes, radii and ratios are the theme's: a theme that changes them
// changes the controls' look and their recommended sizes.
TEST(ControlGolden, ThemeMetricsShapeTheControls)
{
    ThemeDefinition roomy = Theme::BuiltInLight();
    roomy.SetMetric(kThemeMetric_ButtonHeight, 30);
    roomy.SetMetric(kThemeMetric_CheckboxHeight, 28);
    roomy.SetMetric(kThemeMetric_CheckboxCornerRadius, 0);
    roomy.SetMetric(kThemeMetric_MixedFaceRatio, 1);
    Theme::Register("roomy", roomy);

    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 200, 40}));
    boost::intrusive_ptr<UI_Button> button(new UI_Button("b", {4, 4, 60, 30}, u"Go"));
    boost::intrusive_ptr<UI_Checkbox> box(new UI_Checkbox("c", {70, 4, 100, 30}, u"On"));
    UI_Container::ChildPushBack(*window, button);
    UI_Container::ChildPushBack(*window, box);
    button->SetValueUnknown();
    auto supplier = window->UI_GetDrawSupplier();
    vyrui::drawbot::Drawbot drawbot(supplier, supplier->NewOffscreenSurface(4, 4, false));
    EXPECT_EQ(button->UI_GetRecommendedSize(drawbot).y, 22 + 4); // and the focus ring's room
    EXPECT_EQ(box->UI_GetRecommendedSize(drawbot).y, 20);
    auto light = vyrtest::RenderWindow(*window, "light", 1);

    window->UI_GetThemeComponent().SetThemeName("roomy");
    EXPECT_EQ(button->UI_GetRecommendedSize(drawbot).y, 30 + 4);
    EXPECT_EQ(box->UI_GetRecommendedSize(drawbot).y, 28);
    auto image = vyrtest::RenderWindow(*window, "roomy", 1);
    ASSERT_TRUE(light && image);
    auto opaque = [](const ColorRGBA& c) {
        auto byte = [](float v) { return static_cast<uint32_t>(std::lround(v * 255)); };
        return 0xFF000000u | byte(c.red) << 16 | byte(c.green) << 8 | byte(c.blue);
    };
    // A square box: its corner pixel is the border's.
    RectF corner = box->GetBoxRect();
    int x = static_cast<int>(70 + corner.left), y = static_cast<int>(4 + corner.top);
    uint32_t border = opaque(roomy.GetColor(kThemeColor_ControlBorder, 0));
    EXPECT_EQ(vyrtest::PixelAt(*image, x, y), border);
    EXPECT_NE(vyrtest::PixelAt(*light, x, y), border);
    // An unknown value shows the face all the way pressed.
    uint32_t pressed = opaque(roomy.GetColor(kThemeColor_ControlFill, kControlState_Pressed));
    EXPECT_EQ(vyrtest::PixelAt(*image, 12, 20), pressed);
    EXPECT_NE(vyrtest::PixelAt(*light, 12, 20), pressed);
}

TEST(ControlGolden, Divider)
{
    // The last row stands the divider up: a vertical line.
    ExpectStates(
        "divider", [](const RectF& r) { return new UI_Divider("d", r); }, 120, 12,
        {[](UI_ControlView& c) {
            RectF r = c.UI_GetLocalRectF();
            c.UI_SetLocalRectF({r.left + 57, r.top, 6, r.height});
        }});
}
