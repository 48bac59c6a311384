// Window rendering: only the dirty area is drawn, by only the nodes that
// reach into it, and cached nodes draw again only when invalidated.
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace vyrui::ui;
using vyrui::drawbot::ColorRGBA;
using vyrui::drawbot::SurfaceInterface;

namespace {

// Fills its bounds and counts how often it drew.
struct Counted : UI_Node {
    Counted(std::string id, RectF rect, ColorRGBA color) : UI_Node(std::move(id), rect), color(color) {}
    void UI_DrawSelf(vyrui::drawbot::Drawbot& drawbot) override
    {
        ++draws;
        drawbot.GetSurface()->FillRect(UI_GetBoundsF(), *drawbot.GetSupplier()->NewSolidBrush(color));
    }
    ColorRGBA color;
    int draws = 0;
};

unsigned PixelAt(SurfaceInterface& surface, int x, int y)
{
    auto image = surface.GetSurfaceImage();
    unsigned p;
    std::memcpy(&p, image->GetPixels() + y * image->GetStride() + x * 4, 4);
    return p;
}

boost::intrusive_ptr<Counted> Add(UI_Node& parent, const char* id, RectF rect, ColorRGBA color)
{
    boost::intrusive_ptr<Counted> node(new Counted(id, rect, color));
    UI_Container::ChildPushBack(parent, node);
    return node;
}

} // namespace

TEST(HostRender, AnUpdateDrawsOnlyTheDirtyAreaAndTheNodesInIt)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 100, 100}));
    auto a = Add(*window, "a", {0, 0, 40, 40}, {1, 0, 0, 1});
    auto b = Add(*window, "b", {60, 60, 30, 30}, {0, 0, 1, 1});
    window->UI_UpdateNow();
    ASSERT_TRUE(window->GetRetainedSurface());
    EXPECT_EQ(a->draws, 1);
    EXPECT_EQ(b->draws, 1);

    // b changes colour without telling anyone: its pixels stay as they were.
    b->color = {0, 1, 0, 1};
    a->color = {1, 1, 0, 1};
    a->UI_Invalidate();
    window->UI_UpdateNow();
    EXPECT_EQ(a->draws, 2);
    EXPECT_EQ(b->draws, 1);
    SurfaceInterface& surface = *window->GetRetainedSurface();
    EXPECT_EQ(PixelAt(surface, 10, 10), 0xFFFFFF00u);
    EXPECT_EQ(PixelAt(surface, 70, 70), 0xFF0000FFu);

    // Part of b: b draws, clipped to that part.
    b->UI_Invalidate({0, 0, 10, 10});
    window->UI_UpdateNow();
    EXPECT_EQ(b->draws, 2);
    EXPECT_EQ(PixelAt(surface, 65, 65), 0xFF00FF00u);
    EXPECT_EQ(PixelAt(surface, 80, 80), 0xFF0000FFu);

    // A new scale draws everything again, into a new surface.
    window->SetViewScaleFactor(2);
    window->UI_UpdateNow();
    EXPECT_EQ(window->GetRetainedSurface()->GetWidth(), 200);
    EXPECT_EQ(b->draws, 3);
    EXPECT_EQ(PixelAt(*window->GetRetainedSurface(), 170, 170), 0xFF00FF00u);
}

TEST(HostRender, CachedNodesDrawAgainOnlyWhenTheyOrTheirChildrenChange)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 60, 60}));
    auto panel = Add(*window, "panel", {10, 10, 40, 40}, {0, 0, 1, 1});
    auto inner = Add(*panel, "inner", {5, 5, 10, 10}, {1, 0, 0, 1});
    auto direct = window->RenderToSurface();

    panel->UI_SetDrawCachePolicy(kDrawCachePolicy_Always);
    auto first = window->RenderToSurface();
    auto second = window->RenderToSurface();
    EXPECT_EQ(panel->draws, 2); // once uncached, once into the cache
    EXPECT_EQ(inner->draws, 2);
    auto a = direct->GetSurfaceImage(), b = second->GetSurfaceImage();
    EXPECT_EQ(std::memcmp(a->GetPixels(), b->GetPixels(), size_t(a->GetStride()) * a->GetHeight()), 0);

    inner->color = {0, 1, 0, 1};
    inner->UI_Invalidate();
    auto third = window->RenderToSurface();
    EXPECT_EQ(inner->draws, 3);
    EXPECT_EQ(PixelAt(*third, 20, 20), 0xFF00FF00u);

    // Always follows the scale; AlwaysAsBitmap keeps its bitmap.
    window->SetViewScaleFactor(2);
    window->RenderToSurface();
    EXPECT_EQ(panel->draws, 4);
    panel->UI_SetDrawCachePolicy(kDrawCachePolicy_AlwaysAsBitmap);
    window->RenderToSurface();
    window->SetViewScaleFactor(1);
    auto scaled = window->RenderToSurface();
    EXPECT_EQ(panel->draws, 5);
    EXPECT_EQ(PixelAt(*scaled, 20, 20), 0xFF00FF00u);

    panel->UI_SetDrawCachePolicy(kDrawCachePolicy_Never);
    window->RenderToSurface();
    window->RenderToSurface();
    EXPECT_EQ(panel->draws, 7);
}
