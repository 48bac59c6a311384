// Supplier factories, the font set and the drawing helpers built on the
// interfaces alone.
#include "vyrui/drawbot/Supplier.h"

#include "vyrui/drawbot/CairoDrawbot.h"
#include "vyrui/drawbot/FontSet.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <stdexcept>

namespace vyrui::drawbot {

namespace {

constexpr FontFile kFontSet[] = {
    {"DejaVuSans.ttf", u"DejaVu Sans"},
    {"DejaVuSans-Bold.ttf", u"DejaVu Sans"},
    {"DejaVuSansMono.ttf", u"DejaVu Sans Mono"},
    {"DejaVuSansMono-Bold.ttf", u"DejaVu Sans Mono"},
    {"DejaVuSerif.ttf", u"DejaVu Serif"},
    {"DejaVuSerif-Bold.ttf", u"DejaVu Serif"},
};

char16_t Lower(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

std::atomic<double> gRedrawDebugFlashDelay{0};

} // namespace

std::span<const FontFile> FontSetFiles()
{
    return kFontSet;
}

std::shared_ptr<SupplierInterface> CreateDefaultSupplier()
{
    return std::make_shared<cairo::CairoSupplier>(false);
}

std::shared_ptr<SupplierInterface> CreateOSSupplier()
{
    return std::make_shared<cairo::CairoSupplier>(true);
}

std::u16string ValidateFontName(std::u16string_view name)
{
    for (const FontFile& font : kFontSet) {
        std::u16string_view family = font.family;
        if (std::equal(family.begin(), family.end(), name.begin(), name.end(),
                       [](char16_t a, char16_t b) { return Lower(a) == Lower(b); }))
            return std::u16string(family);
    }
    return vyrui::ui::GetFontName();
}

float DefaultTextSize()
{
    return 12.0f;
}

void SetRedrawDebugFlashDelay(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0)
        throw std::invalid_argument("the flash delay must be a finite number of seconds >= 0");
    gRedrawDebugFlashDelay = seconds;
}

double GetRedrawDebugFlashDelay()
{
    return gRedrawDebugFlashDelay;
}

bool WritePNG(const ImageInterface& image, const std::string& path, std::string* error)
{
    int width = image.GetWidth();
    if (image.GetStride() != cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width)) {
        if (error)
            *error = "image rows are not laid out as ARGB32";
        return false;
    }
    cairo_surface_t* pixels = cairo_image_surface_create_for_data(
        const_cast<std::uint8_t*>(image.GetPixels()), CAIRO_FORMAT_ARGB32, width,
        image.GetHeight(), image.GetStride());
    cairo_status_t status = cairo_surface_write_to_png(pixels, path.c_str());
    cairo_surface_destroy(pixels);
    if (status != CAIRO_STATUS_SUCCESS) {
        if (error)
            *error = std::string("cannot write ") + path + ": " + cairo_status_to_string(status);
        return false;
    }
    return true;
}

bool WritePNG(SurfaceInterface& surface, const std::string& path, std::string* error)
{
    boost::intrusive_ptr<ImageInterface> image = surface.GetSurfaceImage();
    return WritePNG(*image, path, error);
}

} // namespace vyrui::drawbot

namespace vyrui::ui {

std::u16string GetFontName()
{
    return vyrui::drawbot::kUIFontFamily;
}

} // namespace vyrui::ui

namespace vyrui::utils {

using namespace vyrui::drawbot;

void DrawOutline(SupplierInterface& supplier, SurfaceInterface& surface, const RectF& rect,
                 const ColorRGBA& color, float inset, float thickness)
{
    cairo::CheckRect("outline rectangle", rect);
    cairo::CheckRange("outline inset and thickness", {inset, thickness});
    RectF r{rect.left + inset, rect.top + inset, rect.width - 2 * inset, rect.height - 2 * inset};
    if (r.IsEmpty() || !(thickness > 0))
        return;
    boost::intrusive_ptr<BrushInterface> brush = supplier.NewSolidBrush(color);
    // Four strips that do not overlap, so a translucent colour stays even.
    float t = std::min({thickness, r.width / 2, r.height / 2});
    surface.FillRect({r.left, r.top, r.width, t}, *brush);
    surface.FillRect({r.left, r.Bottom() - t, r.width, t}, *brush);
    if (r.height > 2 * t) {
        surface.FillRect({r.left, r.top + t, t, r.height - 2 * t}, *brush);
        surface.FillRect({r.Right() - t, r.top + t, t, r.height - 2 * t}, *brush);
    }
}

void DrawRoundedFill(SupplierInterface& supplier, SurfaceInterface& surface, const RectF& rect,
                     const ColorRGBA& color, float radius)
{
    cairo::CheckRect("rounded rectangle", rect);
    cairo::CheckRange("corner radius", {radius});
    if (rect.IsEmpty())
        return;
    boost::intrusive_ptr<BrushInterface> brush = supplier.NewSolidBrush(color);
    float r = std::min({radius, rect.width / 2, rect.height / 2});
    if (!(r > 0)) {
        surface.FillRect(rect, *brush);
        return;
    }
    boost::intrusive_ptr<PathInterface> path = supplier.NewPath();
    float left = rect.left, top = rect.top, right = rect.Right(), bottom = rect.Bottom();
    path->AddArc({left + r, top + r}, r, 180, 270);
    path->AddArc({right - r, top + r}, r, 270, 360);
    path->AddArc({right - r, bottom - r}, r, 0, 90);
    path->AddArc({left + r, bottom - r}, r, 90, 180);
    path->Close();
    surface.FillPath(*path, *brush, false);
}

} // namespace vyrui::utils
