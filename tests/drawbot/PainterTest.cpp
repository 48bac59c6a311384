// The painter on real surfaces (crisp lines at scale 1 and 2, one object
// per colour), caret hit-testing by grapheme, and theme resolution.
#include "support/Golden.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/drawbot/Supplier.h"
#include "vyrui/controls/UI_ControlView.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace vyrui::drawbot;
using vyrtest::PixelAt;
using vyrui::ui::ResolvedTheme;

// Every distinct pixel value of the surface.
std::set<std::uint32_t> Colours(SurfaceInterface& surface)
{
    std::set<std::uint32_t> all;
    for (int y = 0; y < surface.GetHeight(); ++y)
        for (int x = 0; x < surface.GetWidth(); ++x)
            all.insert(PixelAt(surface, x, y));
    return all;
}

} // namespace

TEST(Painter, OneUnitFramesLandOnWholePixelsAtScaleOneAndTwo)
{
    auto supplier = CreateDefaultSupplier();
    for (float scale : {1.0f, 2.0f}) {
        auto surface = supplier->NewOffscreenSurface(int(40 * scale), int(40 * scale), true);
        MatrixF zoom;
        zoom.m[0] = zoom.m[4] = scale;
        surface->ConcatTransform(zoom);
        Drawbot drawbot(supplier, surface);
        Painter painter(drawbot);
        // Off-grid on purpose: snapping must move it, not blur it.
        painter.Frame({3.3f, 4.6f, 20.2f, 10.4f}, {1, 0, 0, 1});
        painter.FrameRounded({5.4f, 20.3f, 30, 12}, {0, 0, 1, 1}, 0);
        std::set<std::uint32_t> colours = Colours(*surface);
        EXPECT_EQ(colours, (std::set<std::uint32_t>{0xFFFFFFFF, 0xFFFF0000, 0xFF0000FF})) << scale;
        // The top edge of the frame is one unit: `scale` device rows.
        int rows = 0;
        for (int y = 0; y < int(10 * scale); ++y)
            rows += PixelAt(*surface, int(10 * scale), y) == 0xFFFF0000u;
        EXPECT_EQ(rows, int(scale));
    }
}

TEST(Painter, TheSurfaceCacheMakesEachObjectOnce)
{
    auto supplier = CreateDefaultSupplier();
    auto surface = supplier->NewOffscreenSurface(20, 20, false);
    auto cache = std::make_shared<PainterCache>();
    for (int frame = 0; frame < 3; ++frame) {
        Drawbot drawbot(supplier, surface, cache);
        Painter painter(drawbot);
        painter.Fill({0, 0, 5, 5}, {0, 1, 0, 1});
        painter.Fill({5, 5, 5, 5}, {0, 1, 0, 1});
        painter.CheckMark({0, 0, 14, 14}, {0, 0, 0, 1}, 2);
        painter.Label(u"x", {0, 0, 20, 20}, {u"DejaVu Sans", 12, true}, {0, 0, 0, 1});
    }
    // A brush for green, one for black, a pen, a font.
    EXPECT_EQ(cache->Made(), 4u);
    // Another supplier's surface gets objects of its own.
    auto other = CreateDefaultSupplier();
    Drawbot drawbot(other, other->NewOffscreenSurface(4, 4, false), cache);
    Painter(drawbot).Fill({0, 0, 2, 2}, {0, 1, 0, 1});
    EXPECT_EQ(cache->Size(), 1u);
}

TEST(Painter, CaretsMoveByGraphemeBetweenUTF16Positions)
{
    auto supplier = CreateDefaultSupplier();
    auto font = supplier->NewFont(u"DejaVu Sans", 20);
    std::u16string text = u"ae\u0301\U0001F600b"; // a, e + accent, a surrogate pair, b
    ASSERT_EQ(text.size(), 6u);
    float a = supplier->GetCaretOffset(*font, text, 1);
    float e = supplier->GetCaretOffset(*font, text, 3);
    float pair = supplier->GetCaretOffset(*font, text, 5);
    float end = supplier->GetCaretOffset(*font, text, 6);
    EXPECT_EQ(supplier->GetCaretOffset(*font, text, 0), 0);
    EXPECT_LT(0, a);
    EXPECT_LT(a, e);
    EXPECT_LT(e, pair);
    EXPECT_LT(pair, end);
    EXPECT_NEAR(end, supplier->MeasureString(*font, text), 0.01);
    // Inside a grapheme: its start.
    EXPECT_EQ(supplier->GetCaretOffset(*font, text, 2), a);
    EXPECT_EQ(supplier->GetCaretOffset(*font, text, 4), e);
    EXPECT_EQ(supplier->GetCaretOffset(*font, text, 99), end);

    EXPECT_EQ(supplier->HitTestString(*font, text, -5), 0u);
    EXPECT_EQ(supplier->HitTestString(*font, text, a * 0.4f), 0u);
    EXPECT_EQ(supplier->HitTestString(*font, text, a * 0.6f), 1u);
    // Anywhere over the accented e: one side of it or the other, never inside.
    EXPECT_EQ(supplier->HitTestString(*font, text, a + (e - a) * 0.3f), 1u);
    EXPECT_EQ(supplier->HitTestString(*font, text, a + (e - a) * 0.7f), 3u);
    EXPECT_EQ(supplier->HitTestString(*font, text, pair - 0.5f), 5u);
    EXPECT_EQ(supplier->HitTestString(*font, text, end + 50), 6u);
    EXPECT_EQ(supplier->HitTestString(*font, u"", 10), 0u);
}

TEST(Theme, NodesDrawInTheirNearestThemeWithCustomColoursOverIt)
{
    using namespace vyrui::ui;
    using vyrui::controls::kControlState_Disabled;
    using vyrui::controls::kControlState_Hover;
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 100, 100}));
    UI_Node::Ptr panel(new UI_Node("panel", {0, 0, 50, 50}));
    UI_Node::Ptr leaf(new UI_Node("leaf", {0, 0, 10, 10}));
    UI_Container::ChildPushBack(*window, panel);
    UI_Container::ChildPushBack(*panel, leaf);
    EXPECT_EQ(ResolvedTheme(*leaf).GetName(), "light");
    panel->UI_GetThemeComponent().SetThemeName("dark");
    leaf->UI_GetThemeComponent().SetThemeName("no such theme"); // skipped
    const ThemeDefinition& dark = Theme::Find("dark");
    ResolvedTheme resolved(*leaf);
    EXPECT_EQ(resolved.GetName(), "dark");
    EXPECT_EQ(resolved.Color(kThemeColor_ControlFill, kControlState_Hover),
              dark.GetColor(kThemeColor_ControlFill, kControlState_Hover));
    EXPECT_NE(dark.GetColor(kThemeColor_ControlFill, 0), Theme::Find("light").GetColor(kThemeColor_ControlFill, 0));

    // A custom fill on the panel: the leaf's normal fill is it, its hover
    // moves from it as the theme's hover moves from the theme's fill.
    ColorRGBA custom{0.5f, 0.2f, 0.2f, 1};
    panel->UI_GetThemeComponent().SetCustomColor(kThemeColor_ControlFill, custom);
    EXPECT_EQ(ResolvedTheme(*leaf).Color(kThemeColor_ControlFill), custom);
    ColorRGBA hover = ResolvedTheme(*leaf).Color(kThemeColor_ControlFill, kControlState_Hover);
    ColorRGBA themeNormal = dark.GetColor(kThemeColor_ControlFill, 0);
    ColorRGBA themeHover = dark.GetColor(kThemeColor_ControlFill, kControlState_Hover);
    EXPECT_NEAR(hover.red - custom.red, themeHover.red - themeNormal.red, 1e-5);
    EXPECT_EQ(ResolvedTheme(*leaf).Color(kThemeColor_Text, kControlState_Disabled | kControlState_Hover),
              dark.GetColor(kThemeColor_Text, kControlState_Disabled));

    // Sizes become whole device pixels of the window's scale.
    ThemeDefinition odd = dark;
    odd.SetMetric(kThemeMetric_BorderWidth, 1.25f);
    Theme::Register("odd", odd);
    panel->UI_GetThemeComponent().SetThemeName("odd");
    EXPECT_EQ(ResolvedTheme(*leaf).Metric(kThemeMetric_BorderWidth), 1.0f);
    window->SetViewScaleFactor(2);
    EXPECT_EQ(ResolvedTheme(*leaf).Metric(kThemeMetric_BorderWidth), 1.5f);
    EXPECT_THROW(Theme::SetDefaultThemeName("nope"), vyrcore::config::HostException);
}
