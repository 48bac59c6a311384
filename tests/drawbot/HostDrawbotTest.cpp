// The drawing layer on its own, without Lua: hand-outs, decoding limits and
// font names.
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/drawbot/Supplier.h"

#include <gtest/gtest.h>

#include <cstdint>
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

TEST(HostDrawbot, FontNamesValidateToKnownFamilies)
{
    EXPECT_EQ(ValidateFontName(u"dejavu serif"), u"DejaVu Serif");
    EXPECT_EQ(ValidateFontName(u"Comic Sans"), vyrui::ui::GetFontName());
    EXPECT_THROW(SetRedrawDebugFlashDelay(-1), std::invalid_argument);
}

} // namespace
