// Module shapes, argument handling, measuring and images, as a script sees
// them.
#include "DrawbotFixture.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <unistd.h>

namespace vyrtest {
namespace {

constexpr const char* kPrelude =
    "local s = supplier:CreateOffscreenSurface(64, 32, true)\n"
    "local db = vyrDrawbot.NewDrawbot(s)\n";

std::string WithSurface(const std::string& body)
{
    return std::string(kPrelude) + body;
}

TEST_F(DrawbotTest, ToStringNamesTheKindAndThePointer)
{
    std::vector<std::string> texts = Run(WithSurface(R"(
        return tostring(db), tostring(s), tostring(supplier), tostring(PathInterface.newPath(db)),
               tostring(PenInterface.newPen(db, rgba(0, 0, 0), 1)),
               tostring(Shader.newRadialShader(db, { x = 0, y = 0 }, { x = 1, y = 0 }, rgba(0, 0, 0), rgba(1, 1, 1))),
               tostring(s:GetSurfaceImage()))"));
    const char* prefixes[] = {"vyrDrawbot(0x", "vyrSurfaceInterface(0x", "vyrSupplierInterface(0x",
                              "vyrPathInterface(0x", "PenInterface(0x", "ShaderInterface(0x",
                              "ImageInterface(0x"};
    ASSERT_EQ(texts.size(), 7u);
    for (size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(texts[i].rfind(prefixes[i], 0), 0u) << texts[i];
}

TEST_F(DrawbotTest, PoliciesRoundTripAreSavedWithStateAndRefuseBadValues)
{
    EXPECT_EQ(Run(WithSurface(R"(
        local before = s:GetAntiAliasPolicy() .. s:GetInterpolationPolicy()
        s:PushStateStack()
        s:SetAntiAliasPolicy(s.kAntiAliasPolicy_None)
        s:SetInterpolationPolicy(s.kInterpolationPolicy_High)
        local inside = s:GetAntiAliasPolicy() .. s:GetInterpolationPolicy()
        s:PopStateStack()
        return before, inside, s:GetAntiAliasPolicy() .. s:GetInterpolationPolicy())")),
              (std::vector<std::string>{"21", "02", "21"}));
    EXPECT_EQ(Error(WithSurface("s:SetAntiAliasPolicy(3)")),
              "test:3: bad argument #1 to 'SetAntiAliasPolicy' (invalid kAntiAliasPolicy)");
    EXPECT_EQ(Error(WithSurface("s:SetInterpolationPolicy(-1)")),
              "test:3: bad argument #1 to 'SetInterpolationPolicy' (invalid kInterpolationPolicy)");
    EXPECT_EQ(Error(WithSurface("s:PopStateStack()")),
              "test:3: PopStateStack without a matching PushStateStack");
}

TEST_F(DrawbotTest, ClipBoundsAndTheIntegerWithinTest)
{
    EXPECT_EQ(Run(WithSurface(R"(
        local all = s:GetClipBounds()
        local p = PathInterface.newPath(db)
        p:AddRect(rect(10, 4, 20, 8))
        s:Clip(p, 0)
        local b = s:GetClipBounds()
        return all.width, all.height, b.left, b.top, b.width, b.height,
               s:IsWithinClipBounds(rect(25, 10, 10, 10)), s:IsWithinClipBounds(rect(40, 0, 5, 5)),
               math.type and "" or type(s:IsWithinClipBounds(rect(0, 0, 1, 1))))")),
              (std::vector<std::string>{"64", "32", "10", "4", "20", "8", "1", "0", "number"}));
}

TEST_F(DrawbotTest, TransformsConcatenateAndRefuseBadMatrices)
{
    EXPECT_EQ(Run(WithSurface(R"(
        s:Transform({ 2, 0, 0, 0, 3, 0, 5, 7, 1 })
        s:Transform(vyrlua_CreateNewTransformMatrix(1, 0, 0, 1, 1, 1))
        local m = s:GetTransform()
        local scale = s:GetTransformToScreenScale()
        return table.concat(m, ","), scale.x, scale.y)")),
              (std::vector<std::string>{"2,0,0,0,3,0,7,10,1", "2", "3"}));
    EXPECT_EQ(Error(WithSurface("s:Transform({ 1, 0, 0, 0, 1, 0, 0, 0 })")),
              "test:3: incorrect number of values for MatrixF32");
    EXPECT_EQ(Error(WithSurface("s:Transform({ 1, 2, 0, 2, 4, 0, 0, 0, 1 })")),
              "test:3: transform is not invertible");
    EXPECT_EQ(Error(WithSurface("s:Transform({ 0/0, 0, 0, 0, 1, 0, 0, 0, 1 })")),
              "test:3: transform values must be finite");
    // A refused transform leaves the surface drawing as before.
    EXPECT_EQ(Eval(WithSurface(R"(
        pcall(s.Transform, s, { 0, 0, 0, 0, 0, 0, 0, 0, 1 })
        s:PaintRect(rect(0, 0, 1, 1), rgba(0, 0, 0))
        return table.concat(s:GetTransform(), ","))")),
              "1,0,0,0,1,0,0,0,1");
}

TEST_F(DrawbotTest, OutOfRangeGeometryIsAClearErrorAndDrawsNothing)
{
    EXPECT_EQ(Error(WithSurface("s:PaintRect(rect(0/0, 0, 1, 1), rgba(0, 0, 0))")),
              "test:3: rectangle must be finite and within ±1000000");
    EXPECT_EQ(Error(WithSurface("PathInterface.newPath(db):AddArc({ x = 0, y = 0 }, 1/0)")),
              "test:3: arc radius must be between 0 and 1000000");
    EXPECT_EQ(Error(WithSurface("s:DrawString('x', 0, 0, rgba(0, 0, 0), 0, 0)")),
              "test:3: text size must be above 0 and at most 4096");
    EXPECT_EQ(Error(WithSurface("s:DrawString('x', 0, 0, rgba(0, 0, 0), 3)")),
              "test:3: bad argument #5 to 'DrawString' (invalid kTextAlignment)");
    EXPECT_EQ(Error(WithSurface("s:DrawString('x', 2^40, 0, rgba(0, 0, 0))")),
              "test:3: bad argument #2 to 'DrawString' (number has no integer representation)");
    EXPECT_EQ(Error(WithSurface("s:DrawString('x', 0, 0)")),
              "test:3: bad argument #4 to 'DrawString' (table expected, got no value)");
    EXPECT_EQ(Error(WithSurface("PenInterface.newPen(db, rgba(0, 0, 0), 1):SetDashPattern(0, 0)")),
              "test:3: a dash pattern needs a length above 0");
    EXPECT_EQ(Error(WithSurface("PenInterface.newPen(db, rgba(0, 0, 0), 1):SetLineCap(7)")),
              "test:3: bad argument #1 to 'SetLineCap' (invalid kLineCapType)");
    for (const char* size : {"0, 4", "40000, 1", "5000, 5000", "-1, -1"})
        EXPECT_EQ(Error(std::string("supplier:CreateOffscreenSurface(") + size + ")"),
                  "test:1: surface size must be from 1 to 32767 on each side and at most 16777216 "
                  "pixels");
    // An arc with angles far apart completes at once: at most one full turn.
    Run(WithSurface("local p = PathInterface.newPath(db) p:AddArc({ x = 9, y = 9 }, 5, -1e30, 1e30) "
                    "s:FillPath(p, rgba(0, 0, 0))"));
}

TEST_F(DrawbotTest, DashPatternWithNoLengthsIsSolid)
{
    boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface = SurfaceOf(WithSurface(R"(
        local pen = PenInterface.newPen(db, rgba(0, 0, 0), 2)
        pen:SetDashPattern(2, 6)
        pen:SetDashPattern()
        local p = PathInterface.newPath(db)
        p:MoveTo(0, 10) p:LineTo(64, 10)
        s:StrokePath(p, pen)
        return s)"));
    ASSERT_TRUE(surface);
    for (int x = 0; x < 64; ++x)
        ASSERT_EQ(PixelAt(*surface, x, 10), 0xFF000000u) << "x = " << x;
}

TEST_F(DrawbotTest, DrawStringDefaultsAreLeftUntruncatedAtTheControlTextSize)
{
    std::string code = R"(
        local s = supplier:CreateOffscreenSurface(100, 24, true)
        s:DrawString("Defaults", 2, 16, { red = 0, green = 0, blue = 0, alpha = 1 }%s)
        return s)";
    char withDefaults[512], explicitArgs[512];
    std::snprintf(withDefaults, sizeof withDefaults, code.c_str(), "");
    std::snprintf(explicitArgs, sizeof explicitArgs, code.c_str(),
                  ", 0, vyrDrawbot.GetDefaultControlTextSize(), 0, 0");
    EXPECT_TRUE(SamePixels(*SurfaceOf(withDefaults)->GetSurfaceImage(),
                           *SurfaceOf(explicitArgs)->GetSurfaceImage()));
    EXPECT_NE(PixelAt(*SurfaceOf(withDefaults), 4, 12), 0xFFFFFFFFu); // something was drawn
}

TEST_F(DrawbotTest, MeasuringAgreesWithDrawing)
{
    std::vector<std::string> widths = Run(WithSurface(R"(
        return s:MeasureStringWidth("Measured", 14), vyrDrawbot.MeasureStringWidth("Measured", 14),
               vyrDrawbot.MeasureStringWidth("Measured", 14, "no such font"),
               vyrDrawbot.MeasureStringWidth("Measured", 14, "dejavu sans mono") ~=
                   vyrDrawbot.MeasureStringWidth("Measured", 14),
               s:MeasureStringWidth(""), s:MeasureStringWidth("Measured", 28) >
                   2 * s:MeasureStringWidth("Measured", 14) - 2)"));
    ASSERT_EQ(widths.size(), 6u);
    EXPECT_EQ(widths[0], widths[1]);
    EXPECT_EQ(widths[1], widths[2]);
    EXPECT_EQ(widths[3], "true");
    EXPECT_EQ(widths[4], "0");
    EXPECT_EQ(widths[5], "true");

    // The ink of a right-aligned string ends where a left-aligned one
    // starting at x - width would end.
    double width = std::stod(widths[0]);
    auto surface = SurfaceOf(R"(
        local s = supplier:CreateOffscreenSurface(120, 24, true)
        s:DrawString("Measured", 10, 18, { red = 0, green = 0, blue = 0, alpha = 1 }, 0, 14)
        return s)");
    ASSERT_TRUE(surface);
    int right = -1;
    for (int x = 0; x < 120; ++x)
        for (int y = 0; y < 24; ++y)
            if ((PixelAt(*surface, x, y) & 0xFF) < 0x80)
                right = x;
    EXPECT_NEAR(right + 1, 10 + width, 2.5);

    std::vector<std::string> heights = Run(R"(
        local text = "one two three four five six seven"
        return vyrDrawbot.MeasureMultiLineStringHeight(text, 12, nil, 40),
               vyrDrawbot.MeasureMultiLineStringHeight(text, 12, nil, 1000),
               vyrDrawbot.MeasureMultiLineStringHeight("a\nb", 12))");
    ASSERT_EQ(heights.size(), 3u);
    EXPECT_GT(std::stod(heights[0]), 3 * std::stod(heights[1]));
    EXPECT_NEAR(std::stod(heights[2]), 2 * std::stod(heights[1]), 0.01);
}

TEST_F(DrawbotTest, FontMetricsAreAscentDescentLeading)
{
    std::vector<std::string> m = Run("return supplier:GetFontMetrics(20)");
    ASSERT_EQ(m.size(), 3u);
    double ascent = std::stod(m[0]), descent = std::stod(m[1]), leading = std::stod(m[2]);
    EXPECT_GT(ascent, descent);
    EXPECT_GT(descent, 0);
    EXPECT_GE(leading, 0);
    EXPECT_NEAR(ascent + descent, 20 * 1.16, 2); // DejaVu Sans: 0.93 + 0.24 em
    EXPECT_EQ(Eval("local a = supplier:GetFontMetrics() local b = supplier:GetFontMetrics("
                   "vyrDrawbot.GetDefaultControlTextSize()) return a == b"),
              "true");
}

TEST_F(DrawbotTest, SurfaceImageIsASnapshot)
{
    auto check = SurfaceOf(WithSurface(R"(
        local before = s:GetSurfaceImage()
        s:PaintRect(rect(0, 0, 64, 32), rgba(0, 0, 0))
        local after = s:GetSurfaceImage()
        assert(before:GetWidth() == 64 and before:GetHeight() == 32)
        local check = supplier:CreateOffscreenSurface(2, 1)
        check:DrawImage(before, { x = 0, y = 0 })
        check:DrawImage(after, { x = 1, y = 0 })
        return check)"));
    ASSERT_TRUE(check);
    EXPECT_EQ(PixelAt(*check, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(PixelAt(*check, 1, 0), 0xFF000000u);
}

// Text sizes are bounded on the device: a size and a transform each within
// their limits used to break the surface for good ("error occurred in
// libfreetype" from every later call).
TEST_F(DrawbotTest, TextTooLargeOnTheDeviceIsRefusedAndTheSurfaceDrawsOn)
{
    auto surface = SurfaceOf(WithSurface(R"(
        s:Transform({ 10, 0, 0, 0, 10, 0, 0, 0, 1 })
        local ok, err = pcall(s.DrawString, s, "W", 0, 10, rgba(0, 0, 0), 0, 4096)
        assert(not ok and err == "text size must be at most 4096 pixels once transformed", err)
        ok, err = pcall(s.DrawMultiLineString, s, "W", rect(0, 0, 9, 9), rgba(0, 0, 0), 0, 500)
        assert(not ok and err == "text size must be at most 4096 pixels once transformed", err)
        s:Transform({ 0.1, 0, 0, 0, 0.1, 0, 0, 0, 1 })
        s:PaintRect(rect(0, 0, 4, 4), rgba(1, 0, 0))
        -- Text under a clip that is no rectangle list (rotated) still draws.
        local clip = PathInterface.newPath(db)
        clip:AddArc({ x = 48, y = 16 }, 14)
        s:Clip(clip)
        s:Transform(vyrlua_CreateNewTransformMatrix(0.8, 0.6, -0.6, 0.8, 0, 0))
        s:DrawString("\226\150\136\226\150\136", 40, 2, rgba(0, 0, 1), 0, 40)
        return s)"));
    ASSERT_TRUE(surface);
    EXPECT_EQ(PixelAt(*surface, 1, 1), 0xFFFF0000u);
    int inside = 0, outside = 0;
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 64; ++x) {
            if (PixelAt(*surface, x, y) != 0xFF0000FFu)
                continue;
            ((x - 48) * (x - 48) + (y - 16) * (y - 16) <= 15 * 15 ? inside : outside) += 1;
        }
    }
    EXPECT_GT(inside, 50);
    EXPECT_EQ(outside, 0);
}

// Decoding is bounded: file size, pixels, and the work of the decoder (SVG
// filters can take minutes on a few hundred bytes). Past a bound, or on a
// truncated, empty or non-image file, the load fails with the reason; a
// decoder that leaks (librsvg on entity declarations) leaks nothing into the
// host.
TEST_F(DrawbotTest, ImagesFromFilesAndTheirFailures)
{
    EXPECT_EQ(Run(R"(
        local png = supplier:newImageFromFile(data .. "/quadrants.png")
        local jpg = supplier:newImageFromFile(data .. "/quadrants.jpg")
        return png:GetWidth(), png:GetHeight(), jpg:GetWidth(), jpg:GetHeight(),
               supplier:newImageFromFile(data .. "/no such file.png"))"),
              (std::vector<std::string>{"16", "12", "16", "12", "false"}));
    EXPECT_EQ(Eval("return supplier:newImageFromFile('" + DataFile("") + "')"), "false");

    std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                ("vyrlua-images-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    auto write = [&](const std::string& name, const std::string& bytes) {
        std::string path = (dir / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    };
    auto load = [&](const std::string& path) {
        return Error("local image = supplier:newImageFromFile('" + path + "')");
    };
    for (const char* source : {"quadrants.png", "quadrants.jpg"}) {
        std::ifstream in(DataFile(source), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        for (size_t keep : {bytes.size() / 2, size_t{20}, size_t{0}}) {
            std::string path = write(std::string("cut-") + source, bytes.substr(0, keep));
            std::string error = load(path);
            EXPECT_EQ(error.rfind("test:1: cannot decode image file '" + path + "': ", 0), 0u)
                << error;
        }
    }
    std::string big = (dir / "big.png").string();
    std::ofstream(big, std::ios::binary).put('x');
    std::filesystem::resize_file(big, (64u << 20) + 1);
    EXPECT_EQ(load(big), "test:1: cannot read image file '" + big + "': larger than 64 MiB");

    std::string wide = write("wide.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='5000' "
                                         "height='4000'><rect width='9' height='9'/></svg>");
    EXPECT_EQ(load(wide), "test:1: cannot decode image file '" + wide + "': the image is too large");

    std::string slow = write("slow.svg",
                             "<svg xmlns='http://www.w3.org/2000/svg' width='4000' height='4000'>"
                             "<filter id='f'><feTurbulence baseFrequency='0.9' numOctaves='1000'/>"
                             "</filter><rect width='4000' height='4000' filter='url(#f)'/></svg>");
    EXPECT_EQ(load(slow), "test:1: cannot decode image file '" + slow +
                              "': decoding takes more than 2 s of processor time");

    std::string entity = write("entity.svg",
                               "<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY a '" +
                                   std::string(20000, 'x') + "'>]>"
                                   "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='2'>"
                                   "<desc>&a;</desc><rect width='2' height='2' fill='red'/></svg>");
    size_t before = mallinfo2().uordblks;
    EXPECT_EQ(Run("for i = 1, 100 do\n"
                  "  local image = supplier:newImageFromFile('" + entity + "')\n"
                  "  assert(image:GetWidth() == 4) image:Release()\n"
                  "end\n"
                  "collectgarbage()"),
              std::vector<std::string>{});
    EXPECT_LT(mallinfo2().uordblks, before + (1u << 20));
    std::filesystem::remove_all(dir);
}

} // namespace
} // namespace vyrtest
