// The host program's "vyrhost.image" module.
#include "DrawbotFixture.h"

#include <filesystem>

namespace vyrtest {
namespace {

TEST_F(DrawbotTest, HostImageModuleWritesWhatWasDrawn)
{
    std::string path = (std::filesystem::temp_directory_path() / "vyrlua-writer.png").string();
    EXPECT_EQ(Run(R"(
        local image = require "vyrhost.image"
        local s = image.supplier():CreateOffscreenSurface(6, 4, true)
        s:PaintRect({ left = 0, top = 0, width = 3, height = 4 }, { red = 1, green = 0, blue = 0, alpha = 1 })
        local ok = image.writePNG(s, ")" + path + R"(")
        local back = supplier:newImageFromFile(")" + path + R"(")
        local check = supplier:CreateOffscreenSurface(6, 4)
        check:DrawImage(back, { x = 0, y = 0 })
        return ok, back:GetWidth(), back:GetHeight(), check)"),
              (std::vector<std::string>{"true", "6", "4", "userdata"}));
    auto check = SurfaceOf(R"(
        local s = supplier:CreateOffscreenSurface(6, 4)
        s:DrawImage(supplier:newImageFromFile(")" + path + R"("), { x = 0, y = 0 })
        return s)");
    ASSERT_TRUE(check);
    EXPECT_EQ(PixelAt(*check, 1, 1), 0xFFFF0000u);
    EXPECT_EQ(PixelAt(*check, 4, 1), 0xFFFFFFFFu);
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
