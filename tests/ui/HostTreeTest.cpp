// The reference host's node tree: ownership, coordinates, hit testing,
// invalidation, rendering (only the dirty area, by only the nodes that reach
// into it; cached nodes again only when invalidated) and focus.
#include "support/Golden.h"

#include "vyrui/ui/OS_ScaledView.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_NodeManager.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Drawbot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace vyrui::ui;
using vyrcore::geom::PointF;
using vyrcore::geom::RectF;
using vyrcore::geom::RectI;
using vyrtest::PixelAt;
using vyrui::drawbot::ColorRGBA;
using vyrui::drawbot::SurfaceInterface;

namespace {

UI_Node::Ptr Node(const std::string& id, RectF rect = {0, 0, 100, 100})
{
    return UI_Node::Ptr(new UI_Node(id, rect));
}

std::string ChildIDs(const UI_Node& parent)
{
    std::string ids;
    for (const auto& child : parent.UI_GetChildren())
        ids += child->UI_GetNodeID();
    return ids;
}

} // namespace

TEST(HostTree, ParentOwnsChildrenAndWeakReferencesSeeTheEnd)
{
    UI_Node::Ptr parent = Node("p");
    vyrcore::utility::WeakPtr<UI_Node> weakChild;
    {
        UI_Node::Ptr child = Node("c");
        weakChild = child;
        UI_Container::ChildPushBack(*parent, child);
    }
    ASSERT_TRUE(weakChild.Lock());
    EXPECT_EQ(weakChild.Lock()->UI_GetParentNode(), parent.get());

    // A child that outlives its parent is left without a dangling parent.
    UI_Node::Ptr kept = weakChild.Lock();
    parent.reset();
    EXPECT_EQ(kept->UI_GetParentNode(), nullptr);
    kept.reset();
    EXPECT_TRUE(weakChild.Expired());
    EXPECT_FALSE(weakChild.Lock());
}

TEST(HostTree, PushBackReparentsAndRefusesCycles)
{
    UI_Node::Ptr a = Node("a"), b = Node("b"), c = Node("c");
    UI_Container::ChildPushBack(*a, b);
    UI_Container::ChildPushBack(*b, c);
    EXPECT_THROW(UI_Container::ChildPushBack(*c, a), vyrcore::config::HostException);
    EXPECT_THROW(UI_Container::ChildPushBack(*a, a), vyrcore::config::HostException);
    EXPECT_EQ(ChildIDs(*a), "b");

    // Moving c up to a takes it from b first.
    UI_Container::ChildPushBack(*a, c);
    EXPECT_EQ(ChildIDs(*a), "bc");
    EXPECT_EQ(ChildIDs(*b), "");
    EXPECT_TRUE(c->UI_IsChildOf(a.get()));
    EXPECT_FALSE(c->UI_IsChildOf(b.get()));

    // Depth is bounded, so recursive walks cannot exhaust the stack.
    UI_Node::Ptr deepest = a;
    for (int level = 2; level <= UI_Container::kMaxDepth; ++level) {
        UI_Node::Ptr next = Node("deep");
        UI_Container::ChildPushBack(*deepest, next);
        deepest = next;
    }
    EXPECT_THROW(UI_Container::ChildPushBack(*deepest, Node("one too many")),
                 vyrcore::config::HostException);
    UI_Node::Ptr twoLevels = Node("x");
    UI_Container::ChildPushBack(*twoLevels, Node("y"));
    EXPECT_THROW(UI_Container::ChildPushBack(*deepest->UI_GetParentNode(), twoLevels),
                 vyrcore::config::HostException); // the subtree's own depth counts too
    UI_Container::ChildRemove(*a, *UI_Container::ChildGet(*a, 2));

    EXPECT_FALSE(UI_Container::ChildRemove(*b, *c));
    EXPECT_TRUE(UI_Container::ChildRemove(*a, *c));
    EXPECT_EQ(c->UI_GetParentNode(), nullptr);
    EXPECT_EQ(c->UI_GetIndex(), -1);

    UI_Container::DeleteChildren(*a);
    EXPECT_EQ(UI_Container::ChildSize(*a), 0);
    EXPECT_EQ(b->UI_GetParentNode(), nullptr);
}

TEST(HostTree, CoordinatesGoThroughOffsetsAndScaledViews)
{
    UI_Node::Ptr root = Node("root", {100, 50, 400, 300});
    UI_Node::Ptr child = Node("child", {10, 20, 200, 100});
    UI_Container::ChildPushBack(*root, child);
    EXPECT_EQ(child->UI_LocalToGlobalPointF({1, 2}), (PointF{111, 72}));
    EXPECT_EQ(child->UI_GlobalToLocalPointF({111, 72}), (PointF{1, 2}));
    EXPECT_EQ(child->UI_LocalToRootPointF({1, 2}), (PointF{11, 22}));

    boost::intrusive_ptr<OS_ScaledView> scaled(new OS_ScaledView("s", {0, 0, 100, 100}));
    scaled->UI_SetScale({0.5f, 0.25f});
    scaled->UI_SetOffset({10, 0});
    UI_Container::ChildPushBack(*root, scaled);
    UI_Node::Ptr content = Node("content", {20, 10, 10, 10});
    UI_Container::ChildPushBack(*scaled, content);
    // Content point c shows at (c - offset) / scale in the scaled view.
    PointF g = content->UI_LocalToGlobalPointF({0, 0});
    EXPECT_EQ(g, (PointF{100 + 20, 50 + 40}));
    EXPECT_EQ(content->UI_GlobalToLocalPointF(g), (PointF{0, 0}));
    EXPECT_EQ(scaled->UI_GetScaleRect({0, 0, 100, 100}), (RectF{10, 0, 50, 25}));
    EXPECT_EQ(scaled->UI_GetInverseScaleRect(scaled->UI_GetScaleRect({4, 8, 20, 40})),
              (RectF{4, 8, 20, 40}));
    scaled->UI_SetScale({-1, 1});
    RectF flipped = scaled->UI_GetScaleRect({0, 0, 10, 10});
    EXPECT_EQ(flipped, (RectF{0, 0, 10, 10}));
    EXPECT_THROW(scaled->UI_SetScale({0, 1}), vyrcore::config::HostException);
    EXPECT_THROW(scaled->UI_SetOffset({NAN, 1}), vyrcore::config::HostException);
}

TEST(HostTree, HitTestFindsTheDeepestVisibleEnabledNode)
{
    UI_Node::Ptr root = Node("root", {0, 0, 200, 200});
    UI_Node::Ptr panel = Node("panel", {10, 10, 100, 100});
    UI_Node::Ptr below = Node("below", {20, 20, 50, 50});
    UI_Node::Ptr above = Node("above", {30, 30, 50, 50});
    UI_Container::ChildPushBack(*root, panel);
    UI_Container::ChildPushBack(*panel, below);
    UI_Container::ChildPushBack(*panel, above);

    EXPECT_EQ(root->UI_HitTest({45, 45}), above.get()); // the later sibling is on top
    EXPECT_EQ(root->UI_HitTest({32, 32}), below.get());
    EXPECT_EQ(root->UI_HitTest({15, 15}), panel.get());
    EXPECT_EQ(root->UI_HitTest({150, 150}), root.get());
    EXPECT_EQ(root->UI_HitTest({250, 10}), nullptr);

    above->UI_Show(false);
    EXPECT_EQ(root->UI_HitTest({45, 45}), below.get());
    below->UI_SetEnabled(false);
    EXPECT_EQ(root->UI_HitTest({45, 45}), panel.get());

    // Outside its parent, a child is reachable unless the parent clips.
    UI_Node::Ptr outside = Node("outside", {150, 0, 20, 20});
    UI_Container::ChildPushBack(*panel, outside);
    EXPECT_EQ(root->UI_HitTest({165, 15}), outside.get());
    panel->UI_SetClipToSelfEnabled(true);
    EXPECT_EQ(root->UI_HitTest({165, 15}), root.get());
}

TEST(HostTree, InvalidationCollectsAWholeUnitAreaAtTheRoot)
{
    UI_Node::Ptr root = Node("root", {0, 0, 200, 200});
    UI_Node::Ptr child = Node("child", {10.5f, 20, 30, 40});
    UI_Container::ChildPushBack(*root, child);
    root->UI_ClearDirtyRegion();

    child->UI_Invalidate(RectI{0, 0, 2, 2});
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{10, 20, 3, 2}));
    child->UI_Invalidate(RectI{20, 30, 5, 5});
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{10, 20, 26, 35}));
    EXPECT_EQ(child->UI_GetDirtyRegion(), (RectI{}));

    root->UI_ClearDirtyRegion();
    child->UI_Show(false);
    root->UI_ClearDirtyRegion();
    child->UI_Invalidate();
    EXPECT_EQ(root->UI_GetDirtyRegion(), (RectI{}));
}

TEST(HostTree, WindowsRenderTheirDirtyRegionOnUpdate)
{
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {0, 0, 50, 50}));
    std::vector<RectI> rendered;
    window->SetRenderFunction([&](OS_Window&, const RectI& dirty) { rendered.push_back(dirty); });
    UI_Node::Ptr child = Node("c", {5, 5, 10, 10});
    UI_Container::ChildPushBack(*window, child);
    child->UI_UpdateNow();
    ASSERT_EQ(rendered.size(), 1u);
    EXPECT_EQ(rendered[0], (RectI{5, 5, 10, 10}));
    window->UI_UpdateNow(); // clean: nothing to draw
    EXPECT_EQ(rendered.size(), 1u);
    auto windows = UI_NodeManager::Get()->GetWindows();
    EXPECT_NE(std::find(windows.begin(), windows.end(), window), windows.end());
}

namespace {

// Fills its bounds and counts how often it drew.
struct Filled : UI_Node {
    Filled(std::string id, RectF rect, ColorRGBA color) : UI_Node(std::move(id), rect), color(color) {}
    void UI_DrawSelf(vyrui::drawbot::Drawbot& drawbot) override
    {
        ++draws;
        drawbot.GetSurface()->FillRect(UI_GetBoundsF(), *drawbot.GetSupplier()->NewSolidBrush(color));
    }
    ColorRGBA color;
    int draws = 0;
};

boost::intrusive_ptr<Filled> Add(UI_Node& parent, const char* id, RectF rect, ColorRGBA color)
{
    boost::intrusive_ptr<Filled> node(new Filled(id, rect, color));
    UI_Container::ChildPushBack(parent, node);
    return node;
}

} // namespace

TEST(HostTree, WindowsDrawTheirTreeInOrderClippedAndScaled)
{
    constexpr unsigned kBackground = 0xFFECECEC /* the light theme's window */, kRed = 0xFFFF0000, kGreen = 0xFF00FF00;
    boost::intrusive_ptr<OS_Window> window(new OS_Window("w", {300, 200, 40, 40}));
    Add(*window, "red", {10, 10, 10, 10}, {1, 0, 0, 1});
    UI_Node::Ptr panel = Node("panel", {20, 20, 10, 10});
    panel->UI_SetClipToSelfEnabled(true);
    UI_Container::ChildPushBack(*window, panel);
    Add(*panel, "green", {-5, -5, 30, 30}, {0, 1, 0, 1});
    Add(*window, "hidden", {0, 0, 5, 5}, {1, 0, 0, 1})->UI_Show(false);

    auto surface = window->RenderToSurface();
    ASSERT_TRUE(surface);
    EXPECT_EQ(surface->GetWidth(), 40);
    EXPECT_EQ(PixelAt(*surface, 2, 2), kBackground);
    EXPECT_EQ(PixelAt(*surface, 12, 12), kRed);
    EXPECT_EQ(PixelAt(*surface, 25, 25), kGreen);
    EXPECT_EQ(PixelAt(*surface, 35, 35), kBackground); // the panel clips its child
    EXPECT_EQ(PixelAt(*surface, 17, 22), kBackground);

    window->SetViewScaleFactor(2);
    surface = window->RenderToSurface();
    ASSERT_TRUE(surface);
    EXPECT_EQ(surface->GetHeight(), 80);
    EXPECT_EQ(PixelAt(*surface, 24, 24), kRed);
    EXPECT_EQ(PixelAt(*surface, 50, 50), kGreen);
    EXPECT_EQ(PixelAt(*surface, 70, 70), kBackground);
}

TEST(HostTree, AnUpdateDrawsOnlyTheDirtyAreaAndTheNodesInIt)
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

TEST(HostTree, CachedNodesDrawAgainOnlyWhenTheyOrTheirChildrenChange)
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
    EXPECT_TRUE(vyrtest::SamePixels(*direct->GetSurfaceImage(), *second->GetSurfaceImage()));

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

TEST(HostTree, KeyboardFocusNeedsAWillingVisibleEnabledNode)
{
    UI_NodeManager* manager = UI_NodeManager::Get();
    UI_Node::Ptr root = Node("root");
    UI_Node::Ptr a = Node("a"), b = Node("b");
    UI_Container::ChildPushBack(*root, a);
    UI_Container::ChildPushBack(*root, b);

    EXPECT_FALSE(a->UI_GainKeyboardFocus(kFocusReason_Mouse));
    a->UI_SetWantsKeyboardFocus(true);
    b->UI_SetWantsKeyboardFocus(true);
    root->UI_SetEnabled(false);
    EXPECT_FALSE(a->UI_GainKeyboardFocus(kFocusReason_Mouse));
    root->UI_SetEnabled(true);
    EXPECT_TRUE(a->UI_GainKeyboardFocus(kFocusReason_Mouse));
    EXPECT_TRUE(a->UI_HasKeyboardFocus());
    EXPECT_TRUE(b->UI_GainKeyboardFocus(kFocusReason_Tab));
    EXPECT_EQ(manager->GetKeyboardFocusLeafNode(), b);
    EXPECT_EQ(manager->GetPreviousKeyboardFocusNode(), a);

    // Tab walks the tree in order and wraps.
    vyrui::events::KeyboardEvent tab;
    tab.keyCode = vyrui::events::kKey_Tab;
    EXPECT_TRUE(manager->DispatchKeyboardEvent(tab));
    EXPECT_EQ(manager->GetKeyboardFocusLeafNode(), a);

    // Hiding or removing the holder takes the focus away.
    a->UI_Show(false);
    EXPECT_FALSE(manager->GetKeyboardFocusLeafNode());
    EXPECT_TRUE(b->UI_GainKeyboardFocus(0));
    UI_Container::ChildRemove(*root, *b);
    EXPECT_FALSE(manager->GetKeyboardFocusLeafNode());
}
