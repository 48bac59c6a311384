// The host program's "vyrhost.image" module: PNGs written keep every pixel.
#include "DrawbotFixture.h"

#include "vyrlua/drawbot/DrawbotSupport.h"

#include <filesystem>
#include <fstream>

namespace vyrtest {
namespace {

TEST_F(DrawbotTest, HostImageModuleWritesWhatWasDrawn)
{
    std::string path = (std::filesystem::temp_directory_path() / "vyrlua-writer.png").string();
    auto drawn = SurfaceOf(R"(
        local image = require "vyrhost.image"
        local s = image.supplier():CreateOffscreenSurface(6, 4, true)
        s:PaintRect(rect(1, 1, 3, 2), rgba(0, 0.5, 1))
        assert(image.writePNG(s, ")" + path + R"("))
        return s)");
    ASSERT_TRUE(drawn);
    std::ifstream in(path, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    auto back = vyrlua::drawbot::DefaultDrawSupplier()->NewImageFromBuffer(1, bytes.data(), bytes.size());
    EXPECT_TRUE(SamePixels(*back, *drawn->GetSurfaceImage()));
    EXPECT_EQ(PixelAt(*back, 0, 0), 0xFFFFFFFFu); // opaque surfaces start white
    EXPECT_EQ(PixelAt(*back, 1, 1), 0xFF0080FFu);
    EXPECT_EQ(Eval("return supplier:newImageFromFile('" + path + "'):GetWidth()"), "6");
    std::filesystem::remove(path);

    std::string error = Error(R"(
        local image = require "vyrhost.image"
        image.writePNG(image.supplier():CreateOffscreenSurface(1, 1), "/no/such/dir/x.png"))");
    EXPECT_EQ(error.rfind("test:3: cannot write /no/such/dir/x.png: ", 0), 0u) << error;
    EXPECT_EQ(Error(R"(
        local image = require "vyrhost.image"
        local s = image.supplier():CreateOffscreenSurface(1, 1)
        s:Release()
        image.writePNG(s, "x.png"))"),
              "test:5: out-of-scope SurfaceInterface");
}

} // namespace
} // namespace vyrtest
