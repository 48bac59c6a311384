#include "support/Golden.h"

#include "vyrui/drawbot/Supplier.h"
#include "vyrui/ui/UI_Container.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vyrtest {

using namespace vyrui::drawbot;

std::uint32_t PixelAt(const ImageInterface& image, int x, int y)
{
    std::uint32_t pixel;
    std::memcpy(&pixel, image.GetPixels() + y * image.GetStride() + x * 4, 4);
    return pixel;
}

std::uint32_t PixelAt(SurfaceInterface& surface, int x, int y)
{
    return PixelAt(*surface.GetSurfaceImage(), x, y);
}

bool SamePixels(const ImageInterface& a, const ImageInterface& b)
{
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight())
        return false;
    for (int y = 0; y < a.GetHeight(); ++y)
        if (std::memcmp(a.GetPixels() + y * a.GetStride(), b.GetPixels() + y * b.GetStride(),
                        static_cast<size_t>(a.GetWidth()) * 4) != 0)
            return false;
    return true;
}

void ExpectMatchesGolden(const ImageInterface& actual, const GoldenPlace& place,
                         const std::string& name, int tolerance)
{
    std::string golden = place.directory + "/" + name + ".png";
    const char* update = std::getenv("VYRLUA_UPDATE_GOLDEN");
    if (update != nullptr && std::strcmp(update, "1") == 0) {
        std::string error;
        EXPECT_TRUE(WritePNG(actual, golden, &error)) << error;
        return;
    }
    std::ifstream in(golden, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    std::string data = bytes.str();
    ASSERT_FALSE(data.empty()) << "no golden " << golden
                               << " (run with VYRLUA_UPDATE_GOLDEN=1 to make it)";
    static std::shared_ptr<SupplierInterface> decoder = CreateDefaultSupplier();
    boost::intrusive_ptr<ImageInterface> expected = decoder->NewImageFromBuffer(1, data.data(), data.size());
    ASSERT_EQ(expected->GetWidth(), actual.GetWidth()) << name;
    ASSERT_EQ(expected->GetHeight(), actual.GetHeight()) << name;

    int worst = 0;
    int off = 0;
    for (int y = 0; y < actual.GetHeight(); ++y) {
        const std::uint8_t* a = actual.GetPixels() + y * actual.GetStride();
        const std::uint8_t* e = expected->GetPixels() + y * expected->GetStride();
        for (int i = 0; i < actual.GetWidth() * 4; ++i) {
            int diff = std::abs(int(a[i]) - int(e[i]));
            worst = std::max(worst, diff);
            off += diff > tolerance;
        }
    }
    if (worst > tolerance) {
        std::filesystem::create_directories(place.failures);
        std::string saved = place.failures + "/" + name + ".png";
        WritePNG(actual, saved);
        ADD_FAILURE() << name << ": " << off << " channel values differ by more than " << tolerance
                      << " (worst " << worst << "); rendering saved as " << saved;
    }
}

boost::intrusive_ptr<ImageInterface> RenderWindow(vyrui::ui::OS_Window& window,
                                                  const std::string& theme, float scale)
{
    window.UI_GetThemeComponent().SetThemeName(theme);
    window.SetViewScaleFactor(scale);
    boost::intrusive_ptr<SurfaceInterface> surface = window.RenderToSurface();
    if (!surface) {
        ADD_FAILURE() << "the window rendered nothing";
        return nullptr;
    }
    return surface->GetSurfaceImage();
}

boost::intrusive_ptr<ImageInterface> RenderNode(const vyrui::ui::UI_Node::Ptr& node,
                                                const std::string& theme, float scale, float margin)
{
    const vyrui::ui::RectF& rect = node->UI_GetLocalRectF();
    boost::intrusive_ptr<vyrui::ui::OS_Window> window(
        new vyrui::ui::OS_Window("golden", {0, 0, rect.width + 2 * margin, rect.height + 2 * margin}));
    node->UI_SetLocalRectF({margin, margin, rect.width, rect.height});
    vyrui::ui::UI_Container::ChildPushBack(*window, node);
    return RenderWindow(*window, theme, scale);
}

} // namespace vyrtest
