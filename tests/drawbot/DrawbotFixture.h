// Drawing tests: the drawbot modules opened, the default supplier as the
// global `supplier`, the test data directory as `data`, and rendering
// compared against golden PNGs.
#pragma once

#include "support/Golden.h"
#include "support/LuaFixture.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <string>

namespace vyrtest {

class DrawbotTest : public LuaTest {
protected:
    void SetUp() override;

    // Runs `code`, which returns a surface object, and compares the
    // surface with tests/drawbot/golden/<name>.png.
    void ExpectGolden(const std::string& name, const std::string& code);
    // The surface of the surface object `code` returns (null on failure).
    boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> SurfaceOf(const std::string& code);
    // ARGB of one pixel of a surface, as 0xAARRGGBB (premultiplied).
    static unsigned Pixel(vyrui::drawbot::SurfaceInterface& surface, int x, int y);
    static std::string DataFile(const std::string& name);
};

} // namespace vyrtest
