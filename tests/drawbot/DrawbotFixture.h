// Drawing tests: the drawbot modules opened, the default supplier as the
// global `supplier`, the test data directory as `data`, table makers
// rgba(r, g, b[, a]), rect(l, t, w, h) and pt(x, y), and rendering compared
// against golden PNGs.
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
    static std::string DataFile(const std::string& name);
};

} // namespace vyrtest
