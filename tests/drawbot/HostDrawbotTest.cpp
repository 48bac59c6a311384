// The drawing layer on its own, without Lua: hand-outs, decoding limits,
// PNG round trips.
#include "support/Golden.h"

#include "vyrcore/filesupport.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/drawbot/Supplier.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

using namespace vyrui::drawbot;

std::uint32_t Crc32(const std::string& bytes)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char b : bytes) {
        crc ^= b;
        for (int i = 0; i < 8; ++i)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

std::string BigEndian(std::uint32_t v)
{
    return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string Chunk(const std::string& type, const std::string& data)
{
    std::string body = type + data;
    return BigEndian(static_cast<std::uint32_t>(data.size())) + body + BigEndian(Crc32(body));
}

// A PNG that claims a size, with a few bytes of pixel data.
std::string PngHeader(std::uint32_t width, std::uint32_t height)
{
    return std::string("\x89PNG\r\n\x1a\n", 8) +
           Chunk("IHDR", BigEndian(width) + BigEndian(height) + std::string("\x08\x06\0\0\0", 5)) +
           Chunk("IDAT", std::string("\x78\x9c\x63\x00\x00", 5));
}

std::string DecodeError(SupplierInterface& supplier, const std::string& bytes)
{
    try {
        supplier.NewImageFromBuffer(1, bytes.data(), bytes.size());
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "decoded";
}

TEST(HostDrawbot, HugeImagesAreRefusedBeforeTheirPixelsAreAllocated)
{
    auto supplier = CreateDefaultSupplier();
    EXPECT_EQ(DecodeError(*supplier, PngHeader(100000, 100000)), "the image is too large");
    EXPECT_EQ(DecodeError(*supplier, PngHeader(40000, 1)), "the image is too large");
    EXPECT_NE(DecodeError(*supplier, PngHeader(16, 16)), "decoded"); // no pixels: an error
    EXPECT_NE(DecodeError(*supplier, "GIF89a"), "decoded");
    EXPECT_THROW(supplier->NewImageFromBuffer(0, "x", 1), std::invalid_argument);
}

TEST(HostDrawbot, LeasesEndWithTheDrawbotOrTheirHolder)
{
    auto supplier = CreateDefaultSupplier();
    auto surface = supplier->NewOffscreenSurface(4, 4, false);
    boost::intrusive_ptr<DrawbotLease> kept, ended;
    {
        Drawbot drawbot(supplier, surface);
        kept = drawbot.HandOut();
        ended = drawbot.HandOut();
        ended->End();
        EXPECT_EQ(drawbot.GetHandOutCount(), 1u);
        EXPECT_EQ(kept->GetDrawbot(), &drawbot);
    }
    EXPECT_EQ(kept->GetDrawbot(), nullptr);
    EXPECT_THROW(Drawbot(nullptr, surface), std::invalid_argument);
}

TEST(HostDrawbot, PngRoundTripKeepsPixelsAndOpaqueSurfacesStartWhite)
{
    auto supplier = CreateDefaultSupplier();
    auto surface = supplier->NewOffscreenSurface(5, 3, true);
    auto brush = supplier->NewSolidBrush({0.0f, 0.5f, 1.0f, 1.0f});
    surface->FillRect({1, 1, 2, 1}, *brush);
    std::string path = (std::filesystem::temp_directory_path() / "vyrlua-roundtrip.png").string();
    std::string error;
    ASSERT_TRUE(WritePNG(*surface, path, &error)) << error;
    std::string bytes;
    ASSERT_TRUE(vyrcore::filesupport::File::FromUTF8(path).ReadAll(bytes));
    std::filesystem::remove(path);
    auto image = supplier->NewImageFromBuffer(1, bytes.data(), bytes.size());
    EXPECT_TRUE(vyrtest::SamePixels(*image, *surface->GetSurfaceImage()));
    EXPECT_EQ(vyrtest::PixelAt(*image, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(vyrtest::PixelAt(*image, 1, 1), 0xFF0080FFu);
    EXPECT_FALSE(WritePNG(*surface, "/no/such/dir/x.png", &error));
    EXPECT_NE(error.find("/no/such/dir/x.png"), std::string::npos);
}

TEST(HostDrawbot, FontNamesValidateToKnownFamilies)
{
    EXPECT_EQ(ValidateFontName(u"dejavu serif"), u"DejaVu Serif");
    EXPECT_EQ(ValidateFontName(u"Comic Sans"), vyrui::ui::GetFontName());
    EXPECT_EQ(vyrui::ui::GetFontName(), u"DejaVu Sans");
    EXPECT_THROW(SetRedrawDebugFlashDelay(-1), std::invalid_argument);
    SetRedrawDebugFlashDelay(0.25);
    EXPECT_EQ(GetRedrawDebugFlashDelay(), 0.25);
    SetRedrawDebugFlashDelay(0);
}

} // namespace
