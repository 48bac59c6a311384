// Comparing renderings with golden PNGs, and rendering a node or a window
// in a theme at a scale for that. VYRLUA_UPDATE_GOLDEN=1 writes the goldens
// instead of comparing; a mismatch saves the rendering for a look.
#pragma once

#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"

#include <cstdint>
#include <string>

namespace vyrtest {

// Largest difference allowed in any channel of any pixel (0..255).
inline constexpr int kGoldenTolerance = 2;

struct GoldenPlace {
    std::string directory; // the goldens, in the source tree
    std::string failures;  // where mismatching renderings go
};

// One pixel as 0xAARRGGBB (premultiplied).
std::uint32_t PixelAt(const vyrui::drawbot::ImageInterface& image, int x, int y);
std::uint32_t PixelAt(vyrui::drawbot::SurfaceInterface& surface, int x, int y);
// Whether two images have the same size and pixels.
bool SamePixels(const vyrui::drawbot::ImageInterface& a, const vyrui::drawbot::ImageInterface& b);

// Compares `actual` with <directory>/<name>.png, channel by channel.
void ExpectMatchesGolden(const vyrui::drawbot::ImageInterface& actual, const GoldenPlace& place,
                         const std::string& name, int tolerance = kGoldenTolerance);

// The window drawn in `theme` at `scale` (both set on the window).
boost::intrusive_ptr<vyrui::drawbot::ImageInterface> RenderWindow(vyrui::ui::OS_Window& window,
                                                                  const std::string& theme,
                                                                  float scale);
// `node` drawn alone, `margin` units from the edges of a window of the
// theme's background; the node is moved into that window.
boost::intrusive_ptr<vyrui::drawbot::ImageInterface> RenderNode(const vyrui::ui::UI_Node::Ptr& node,
                                                                const std::string& theme,
                                                                float scale, float margin = 4);

} // namespace vyrtest
