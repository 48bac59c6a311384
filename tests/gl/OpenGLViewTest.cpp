#include "support/LuaFixture.h"

#include "app/WindowRenderer.h"
#include "vyrlua/gl/GLSupport.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using vyrtest::LuaTest;

// A 100x80 window with a 40x30 OpenGL view at (10, 20).
class OpenGLViewTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        Run(R"(
            require 'vyrlua.vyrcontrols'
            gl = require 'vyrlua.gl'
            win = vyrcontrols.NewWindow('glwin', vyrlua_CreateNewRectF32(0, 0, 100, 80))
            view = vyrcontrols.NewOpenGLView('glview', vyrlua_CreateNewRectF32(10, 20, 40, 30))
            win:ChildPushBack(view))");
    }

    // Renders the window to a PNG as vyrlua-host --render does, and returns
    // the decoded image.
    boost::intrusive_ptr<vyrui::drawbot::ImageInterface> RenderPNG()
    {
        // One folder per test: ctest runs the tests side by side.
        std::string dir = ::testing::TempDir() + "vyrlua-gl-view-" +
                          ::testing::UnitTest::GetInstance()->current_test_info()->name();
        std::filesystem::remove_all(dir);
        std::vector<std::string> written = vyrhost::RenderWindowsToPNG(dir, 0, false).written;
        EXPECT_EQ(written.size(), 1u);
        std::ifstream in(dir + "/glwin.png", std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        auto supplier = vyrui::ui::UI_NodeManager::Get(true)->GetDefaultDrawSupplier();
        return supplier->NewImageFromBuffer(1, bytes.data(), bytes.size());
    }

    // "r,g,b" of a pixel.
    static std::string Pixel(const vyrui::drawbot::ImageInterface& image, int x, int y)
    {
        std::uint32_t p;
        std::memcpy(&p, image.GetPixels() + y * image.GetStride() + x * 4, 4);
        return std::to_string(p >> 16 & 255) + "," + std::to_string(p >> 8 & 255) + "," +
               std::to_string(p & 255);
    }
};

TEST_F(OpenGLViewTest, ClearedViewAndTriangleAppearInTheRenderedPNG)
{
    Run(R"(
        view:bindGLOperation(view.draw, function(width, height, v)
            gl.ClearColor(0, 0, 1, 1) gl.Clear('COLOR_BUFFER_BIT')
            gl.Color(1, 1, 0)
            gl.Begin('TRIANGLES') gl.Vertex(-1, -1) gl.Vertex(1, -1) gl.Vertex(-1, 1) gl.End()
            size = width .. 'x' .. height .. ' ' .. tostring(v:Equals(view))
            -- Bottom-left pixel is in the triangle, top-right is not.
            seen = table.concat(gl.ReadPixels(1, 1, 1, 1, 'RGB', 'UNSIGNED_BYTE'), ',') .. ' ' ..
                   table.concat(gl.ReadPixels(38, 28, 1, 1, 'RGB', 'UNSIGNED_BYTE'), ',')
        end))");
    auto image = RenderPNG();
    ASSERT_TRUE(image);
    EXPECT_EQ(Run("return size, seen"),
              (std::vector<std::string>{"40x30 true", "255,255,0 0,0,255"}));
    // The window's own background outside the view; the view's frame inside
    // it, upright: the triangle's corner is at the view's bottom left.
    const std::string background = Pixel(*image, 5, 5);
    EXPECT_NE(background, "0,0,255");
    EXPECT_EQ(Pixel(*image, 12, 47), "255,255,0");
    EXPECT_EQ(Pixel(*image, 47, 22), "0,0,255");
    EXPECT_EQ(Pixel(*image, 55, 30), background);
    EXPECT_EQ(Pixel(*image, 9, 35), background);
    EXPECT_TRUE(reportedErrors.empty());
}

TEST_F(OpenGLViewTest, HookResultsDecideWhetherTheHostStepRuns)
{
    // Without bindings the host clears to its background (black) and sets
    // its hint at initialisation.
    auto plain = RenderPNG();
    EXPECT_EQ(Pixel(*plain, 30, 35), "0,0,0");
    EXPECT_EQ(Eval("return view:executeInViewContext(function() return gl.Get('PERSPECTIVE_CORRECTION_HINT') end) == gl.NICEST"),
              "true");
    // A fresh view whose "initOpenGL" returns nothing: the host's runs too.
    // One returning true: the host's is skipped.
    EXPECT_EQ(Run(R"(
        local function hintAfterInit(result)
            local v = vyrcontrols.NewOpenGLView()
            local calls = 0
            v:bindGLOperation('initOpenGL', function(...) calls = calls + select('#', ...) + 1 return result end)
            local hint = v:executeInViewContext(function() return gl.Get('PERSPECTIVE_CORRECTION_HINT') end)
            return calls .. ':' .. gl.GetConst(hint)
        end
        return hintAfterInit(nil), hintAfterInit(true))"),
              (std::vector<std::string>{"1:NICEST", "1:DONT_CARE"}));
    // A "postDraw" returning true keeps the frame off the window; calling
    // the host's step from it puts it back.
    Run(R"(view:bindGLOperation('draw', function() gl.ClearColor(0, 1, 0, 1) gl.Clear('COLOR_BUFFER_BIT') end)
           view:bindGLOperation('postDraw', function() return true end))");
    auto skipped = RenderPNG();
    EXPECT_EQ(Pixel(*skipped, 30, 35), Pixel(*skipped, 5, 5));
    Run("view:bindGLOperation('postDraw', function(w, h, v) v:postDrawOpenGL() return true end)");
    EXPECT_EQ(Pixel(*RenderPNG(), 30, 35), "0,255,0");
}

TEST_F(OpenGLViewTest, ExecuteInViewContextReturnsEveryResult)
{
    EXPECT_EQ(Run("return view:executeInViewContext(function() return 1, 'two', nil end)"),
              (std::vector<std::string>{"1", "two", "nil"}));
    EXPECT_EQ(Error("view:executeInViewContext(function() error('inside', 0) end)"), "inside");
    EXPECT_EQ(Error("view:executeInViewContext(42)"),
              "test:1: bad argument #1 to 'executeInViewContext' (function expected, got number)");
}

TEST_F(OpenGLViewTest, ViewMatrixAndScaleFollowTheWindow)
{
    for (const auto& node : vyrui::ui::UI_NodeManager::Get(true)->GetWindows())
        static_cast<vyrui::ui::OS_Window&>(*node).SetViewScaleFactor(2);
    Run(R"(
        view:enableHiDPIBackBuffer()
        view:setViewMatrix({0.5, 0, 0, 0, 0.5, 0, 0.5, 0, 1})
        view:bindGLOperation('draw', function(width, height)
            size = width .. 'x' .. height
            gl.Color(1, 0, 0) gl.Rect(-1, -1, 1, 1)
        end))");
    auto image = RenderPNG();
    ASSERT_TRUE(image);
    EXPECT_EQ(Run("local s = view:getLastDrawnTransformToScreenScale() "
                  "local m = view:getViewMatrix() return size, s.x, s.y, m[1], m[7]"),
              (std::vector<std::string>{"80x60", "2", "2", "0.5", "0.5"}));
    // The square, halved and moved right by a quarter of the view: the
    // view's left half stays black, its right centre is red.
    EXPECT_EQ(Pixel(*image, 2 * 20, 2 * 35), "0,0,0");
    EXPECT_EQ(Pixel(*image, 2 * 38, 2 * 35), "255,0,0");
}

TEST_F(OpenGLViewTest, ExecuteInViewContextDrawsIntoAFrameOfTheViewsSize)
{
    // Before the view ever drew: outside any frame.
    EXPECT_EQ(Run(R"(return view:executeInViewContext(function()
            gl.ClearColor(1, 0, 0, 1) gl.Clear('COLOR_BUFFER_BIT')
            local _, _, w, h = gl.Get('VIEWPORT')
            return gl.GetError(), w .. 'x' .. h, gl.ReadPixels(39, 29, 1, 1, 'RGB')[1] end))"),
              (std::vector<std::string>{"0", "40x30", "1"}));
}

// A view dropped by its last reference, then the window's view as the
// window closes: each "endOpenGL" finds its texture and can free it. Client
// buffers go with the contexts.
TEST_F(OpenGLViewTest, ContextsEndWhileTheirViewsAreWhole)
{
    const size_t held = vyrlua::gl::HeldClientBytes();
    Run(R"(
        ended = {}
        function track(v, name)
            local texture
            v:bindGLOperation('initOpenGL', function() texture = gl.GenTextures(1)[1]
                gl.BindTexture('TEXTURE_2D', texture) end)
            v:bindGLOperation('endOpenGL', function()
                ended[#ended + 1] = name .. ':' .. tostring(gl.IsTexture(texture)) end)
            v:executeInViewContext(function() gl.SelectBuffer(1024) gl.VertexPointer(2, {0, 0}) end)
        end
        track(vyrcontrols.NewOpenGLView('gone'), 'dropped')
        collectgarbage() collectgarbage()
        track(view, 'closed'))");
    EXPECT_EQ(vyrlua::gl::HeldClientBytes(), held + 4096 + 8);
    for (const auto& node : vyrui::ui::UI_NodeManager::Get(true)->GetWindows())
        static_cast<vyrui::ui::OS_Window&>(*node).Close();
    EXPECT_EQ(Eval("return table.concat(ended, ' ')"), "dropped:true closed:true");
    EXPECT_EQ(vyrlua::gl::HeldClientBytes(), held);
    EXPECT_TRUE(reportedErrors.empty());
}

} // namespace
