// The supplier: a private font set (so text looks the same whatever the
// machine's font configuration), text settings, image decoding.
#include "vyrui/drawbot/CairoDrawbot.h"
#include "vyrui/drawbot/FontSet.h"

#include <fontconfig/fontconfig.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <pango/pangofc-fontmap.h>
#include <png.h>

#include <algorithm>
#include <bit>

#include <cmath>
#include <stdexcept>

namespace vyrui::drawbot::cairo {

CairoSupplier::CairoSupplier(bool deviceDependentText) : mDeviceDependentText(deviceDependentText)
{
    // Only the fonts of the fixed set, and no configuration files: the
    // choice of font cannot depend on what else the machine has installed.
    mFontConfig = FcConfigCreate();
    bool any = false;
    for (const FontFile& font : FontSetFiles()) {
        std::string path = std::string(kFontDirectory) + "/" + font.file;
        any = FcConfigAppFontAddFile(mFontConfig, reinterpret_cast<const FcChar8*>(path.c_str())) ||
              any;
    }
    if (!any) {
        FcConfigDestroy(mFontConfig);
        throw std::runtime_error(std::string("no UI font in ") + kFontDirectory +
                                 " (install fonts-dejavu-core)");
    }
    mFontMap = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(mFontMap), mFontConfig);
    mMeasureContext = NewTextContext();
    ConfigureText(mMeasureContext, mDeviceDependentText, true);
}

CairoSupplier::~CairoSupplier()
{
    g_object_unref(mMeasureContext);
    g_object_unref(mFontMap);
    FcConfigDestroy(mFontConfig);
}

PangoContext* CairoSupplier::NewTextContext() const
{
    PangoContext* context = pango_font_map_create_context(mFontMap);
    pango_cairo_context_set_resolution(context, 72);
    return context;
}

void CairoSupplier::ConfigureText(PangoContext* context, bool deviceDependent, bool antiAlias)
{
    // Every option is set explicitly, so the surface's own defaults never
    // leak in and measuring (with no surface) agrees with drawing.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options,
                                     antiAlias ? CAIRO_ANTIALIAS_GRAY : CAIRO_ANTIALIAS_NONE);
    cairo_font_options_set_subpixel_order(options, CAIRO_SUBPIXEL_ORDER_RGB);
    cairo_font_options_set_hint_style(options, deviceDependent ? CAIRO_HINT_STYLE_SLIGHT
                                                               : CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, deviceDependent ? CAIRO_HINT_METRICS_ON
                                                                 : CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context, deviceDependent);
}

boost::intrusive_ptr<SurfaceInterface> CairoSupplier::NewOffscreenSurface(int width, int height,
                                                                          bool opaque)
{
    auto self = std::static_pointer_cast<CairoSupplier>(shared_from_this());
    boost::intrusive_ptr<CairoSurface> surface(new CairoSurface(self, width, height, opaque));
    surface->SetDeviceDependentTextRendering(mDeviceDependentText);
    return surface;
}

boost::intrusive_ptr<BrushInterface> CairoSupplier::NewSolidBrush(const ColorRGBA& color)
{
    CheckColor("brush colour", color);
    return new CairoBrush(color);
}

boost::intrusive_ptr<PenInterface> CairoSupplier::NewSolidPen(const ColorRGBA& color, float width)
{
    return new CairoPen(color, width);
}

namespace {

cairo_pattern_t* AddStops(cairo_pattern_t* pattern, const ColorRGBA& a, const ColorRGBA& b)
{
    cairo_pattern_add_color_stop_rgba(pattern, 0, a.red, a.green, a.blue, a.alpha);
    cairo_pattern_add_color_stop_rgba(pattern, 1, b.red, b.green, b.blue, b.alpha);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    return pattern;
}

} // namespace

boost::intrusive_ptr<ShaderInterface> CairoSupplier::NewLinearShader(PointF start, PointF end,
                                                                     const ColorRGBA& startColor,
                                                                     const ColorRGBA& endColor)
{
    CheckPoint("shader point", start);
    CheckPoint("shader point", end);
    CheckColor("shader colour", startColor);
    CheckColor("shader colour", endColor);
    return new CairoShader(AddStops(cairo_pattern_create_linear(start.x, start.y, end.x, end.y),
                                    startColor, endColor));
}

boost::intrusive_ptr<ShaderInterface> CairoSupplier::NewRadialShader(PointF centre, PointF rim,
                                                                     const ColorRGBA& startColor,
                                                                     const ColorRGBA& endColor)
{
    CheckPoint("shader point", centre);
    CheckPoint("shader point", rim);
    CheckColor("shader colour", startColor);
    CheckColor("shader colour", endColor);
    double radius = std::hypot(double(rim.x) - centre.x, double(rim.y) - centre.y);
    return new CairoShader(AddStops(
        cairo_pattern_create_radial(centre.x, centre.y, 0, centre.x, centre.y, radius), startColor,
        endColor));
}

boost::intrusive_ptr<PathInterface> CairoSupplier::NewPath()
{
    return new CairoPath;
}

boost::intrusive_ptr<FontInterface> CairoSupplier::NewFont(std::u16string_view family, float size)
{
    return new CairoFont(std::u16string(family), size);
}

boost::intrusive_ptr<FontInterface> CairoSupplier::NewBoldFont(std::u16string_view family,
                                                               float size)
{
    return new CairoFont(std::u16string(family), size, true);
}

namespace {

bool TooLarge(std::int64_t width, std::int64_t height)
{
    return width > kMaxSurfaceSide || height > kMaxSurfaceSide ||
           width * height > kMaxSurfacePixels;
}

struct DecodeLimits {
    bool tooLarge = false;
};

void OnSizePrepared(GdkPixbufLoader* loader, int width, int height, gpointer data)
{
    if (TooLarge(width, height)) {
        static_cast<DecodeLimits*>(data)->tooLarge = true;
        // A zero size makes the decoder stop with an error before it
        // allocates the pixels.
        gdk_pixbuf_loader_set_size(loader, 0, 0);
    }
}

// Copies 8-bit RGB(A) rows into premultiplied ARGB32.
cairo_surface_t* ToCairoImage(GdkPixbuf* pixbuf)
{
    int width = gdk_pixbuf_get_width(pixbuf);
    int height = gdk_pixbuf_get_height(pixbuf);
    int channels = gdk_pixbuf_get_n_channels(pixbuf);
    if (gdk_pixbuf_get_bits_per_sample(pixbuf) != 8 || (channels != 3 && channels != 4))
        throw std::runtime_error("unsupported pixel format");
    cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        throw std::runtime_error("out of memory for the image");
    }
    const guint8* src = gdk_pixbuf_read_pixels(pixbuf);
    int srcStride = gdk_pixbuf_get_rowstride(pixbuf);
    unsigned char* dst = cairo_image_surface_get_data(image);
    int dstStride = cairo_image_surface_get_stride(image);
    for (int y = 0; y < height; ++y) {
        const guint8* s = src + static_cast<std::ptrdiff_t>(y) * srcStride;
        auto* d = reinterpret_cast<std::uint32_t*>(dst + static_cast<std::ptrdiff_t>(y) * dstStride);
        for (int x = 0; x < width; ++x, s += channels) {
            std::uint32_t a = channels == 4 ? s[3] : 255;
            auto premultiply = [a](std::uint32_t c) { return (c * a + 127) / 255; };
            d[x] = a << 24 | premultiply(s[0]) << 16 | premultiply(s[1]) << 8 | premultiply(s[2]);
        }
    }
    cairo_surface_mark_dirty(image);
    return image;
}

// PNG through libpng's own reader: unlike the incremental decoder it
// reports a file cut short as an error instead of a partial image.
cairo_surface_t* DecodePNG(const void* bytes, std::size_t size)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&png, bytes, size))
        throw std::runtime_error(png.message);
    if (TooLarge(png.width, png.height)) {
        png_image_free(&png);
        throw std::runtime_error("the image is too large");
    }
    // Cairo's ARGB32 is a native-endian 32-bit word.
    png.format = std::endian::native == std::endian::little ? PNG_FORMAT_BGRA : PNG_FORMAT_ARGB;
    cairo_surface_t* image = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(png.width), static_cast<int>(png.height));
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        png_image_free(&png);
        cairo_surface_destroy(image);
        throw std::runtime_error("out of memory for the image");
    }
    unsigned char* data = cairo_image_surface_get_data(image);
    int stride = cairo_image_surface_get_stride(image);
    if (!png_image_finish_read(&png, nullptr, data, stride, nullptr)) {
        cairo_surface_destroy(image);
        throw std::runtime_error(png.message);
    }
    for (int y = 0; y < static_cast<int>(png.height); ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + static_cast<std::ptrdiff_t>(y) * stride);
        for (int x = 0; x < static_cast<int>(png.width); ++x) {
            std::uint32_t p = row[x], a = p >> 24;
            auto premultiply = [a](std::uint32_t c) { return (c * a + 127) / 255; };
            row[x] = a << 24 | premultiply(p >> 16 & 0xFF) << 16 | premultiply(p >> 8 & 0xFF) << 8 |
                     premultiply(p & 0xFF);
        }
    }
    cairo_surface_mark_dirty(image);
    return image;
}

// Every format gdk-pixbuf's loaders know (SVG through librsvg included).
cairo_surface_t* DecodeWithPixbuf(const void* bytes, std::size_t size)
{
    DecodeLimits limits;
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new();
    g_signal_connect(loader, "size-prepared", G_CALLBACK(OnSizePrepared), &limits);
    GError* error = nullptr;
    bool ok = gdk_pixbuf_loader_write(loader, static_cast<const guchar*>(bytes), size, &error);
    // The loader must be closed whatever happened; its error counts only
    // when writing went well.
    ok = gdk_pixbuf_loader_close(loader, ok ? &error : nullptr) && ok;
    GdkPixbuf* pixbuf = ok ? gdk_pixbuf_loader_get_pixbuf(loader) : nullptr;
    std::string reason;
    if (limits.tooLarge)
        reason = "the image is too large";
    else if (pixbuf == nullptr)
        reason = error ? error->message : "not an image";
    if (error)
        g_error_free(error);
    if (!reason.empty()) {
        g_object_unref(loader);
        throw std::runtime_error(reason);
    }
    cairo_surface_t* image = nullptr;
    try {
        image = ToCairoImage(pixbuf);
    } catch (...) {
        g_object_unref(loader);
        throw;
    }
    g_object_unref(loader);
    return image;
}

} // namespace

boost::intrusive_ptr<ImageInterface> CairoSupplier::NewImageFromBuffer(int flags, const void* bytes,
                                                                       std::size_t size)
{
    if (flags != 1)
        throw std::invalid_argument("image flags must be 1");
    if (size > kMaxImageFileBytes)
        throw std::runtime_error("larger than " + std::to_string(kMaxImageFileBytes >> 20) +
                                 " MiB");
    // libpng's work is bounded by the pixel limit, checked before decoding;
    // the other decoders' is not.
    if (size >= 8 && png_sig_cmp(static_cast<png_const_bytep>(bytes), 0, 8) == 0)
        return new CairoImage(DecodePNG(bytes, size));
    return new CairoImage(DecodeInChildProcess(bytes, size, DecodeWithPixbuf));
}

namespace {

PangoLayout* MeasureLayout(PangoContext* context, const FontInterface& font,
                           std::u16string_view text)
{
    auto* cairoFont = dynamic_cast<const CairoFont*>(&font);
    if (cairoFont == nullptr)
        throw std::invalid_argument("a font from another supplier");
    PangoLayout* layout = pango_layout_new(context);
    pango_layout_set_font_description(layout, cairoFont->Description());
    std::string utf8 = PangoText(text);
    pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
    return layout;
}

float LogicalWidth(PangoLayout* layout)
{
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    return static_cast<float>(logical.width) / PANGO_SCALE;
}

} // namespace

FontMetrics CairoSupplier::GetFontMetrics(const FontInterface& font)
{
    auto* cairoFont = dynamic_cast<const CairoFont*>(&font);
    if (cairoFont == nullptr)
        throw std::invalid_argument("a font from another supplier");
    PangoFontMetrics* metrics =
        pango_context_get_metrics(mMeasureContext, cairoFont->Description(), nullptr);
    FontMetrics result;
    result.ascent = static_cast<float>(pango_font_metrics_get_ascent(metrics)) / PANGO_SCALE;
    result.descent = static_cast<float>(pango_font_metrics_get_descent(metrics)) / PANGO_SCALE;
    float height = static_cast<float>(pango_font_metrics_get_height(metrics)) / PANGO_SCALE;
    result.leading = std::max(0.0f, height - result.ascent - result.descent);
    pango_font_metrics_unref(metrics);
    return result;
}

float CairoSupplier::MeasureString(const FontInterface& font, std::u16string_view text)
{
    PangoLayout* layout = MeasureLayout(mMeasureContext, font, text);
    pango_layout_set_single_paragraph_mode(layout, true);
    float width = LogicalWidth(layout);
    g_object_unref(layout);
    return width;
}

float CairoSupplier::MeasureMultiLineStringHeight(const FontInterface& font,
                                                  std::u16string_view text, float width)
{
    CheckRange("wrapping width", {width});
    PangoLayout* layout = MeasureLayout(mMeasureContext, font, text);
    if (width > 0) {
        pango_layout_set_width(layout, static_cast<int>(std::lround(width * PANGO_SCALE)));
        pango_layout_set_wrap(layout, PANGO_WRAP_WORD);
    }
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    g_object_unref(layout);
    return static_cast<float>(logical.height) / PANGO_SCALE;
}

namespace {

// The UTF-8 offset (in the text as Pango gets it) of every UTF-16 position
// from 0 to the length: positions inside a surrogate pair share the pair's
// start.
std::vector<int> Utf8Offsets(std::u16string_view text)
{
    std::vector<int> offsets(text.size() + 1);
    int byte = 0;
    for (std::size_t i = 0; i < text.size();) {
        bool pair = i + 1 < text.size() && text[i] >= 0xD800 && text[i] <= 0xDBFF &&
                    text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        std::size_t units = pair ? 2 : 1;
        for (std::size_t k = 0; k < units; ++k)
            offsets[i + k] = byte;
        byte += static_cast<int>(PangoText(text.substr(i, units)).size());
        i += units;
    }
    offsets[text.size()] = byte;
    return offsets;
}

// A one-line layout of the text with its grapheme boundaries.
struct CaretLayout {
    PangoLayout* layout;
    std::vector<int> offsets;      // UTF-16 position to UTF-8 offset
    std::vector<bool> caretBefore; // per UTF-16 position: a grapheme starts there
    ~CaretLayout() { g_object_unref(layout); }
};

void BuildCarets(CaretLayout& c, std::u16string_view text)
{
    pango_layout_set_single_paragraph_mode(c.layout, true);
    c.offsets = Utf8Offsets(text);
    int count = 0;
    const PangoLogAttr* attrs = pango_layout_get_log_attrs_readonly(c.layout, &count);
    // Log attributes are per character (code point) plus one for the end.
    c.caretBefore.assign(text.size() + 1, false);
    int character = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        bool starts = i == 0 || c.offsets[i] != c.offsets[i - 1];
        if (!starts)
            continue;
        c.caretBefore[i] = character < count && attrs[character].is_cursor_position;
        ++character;
    }
    c.caretBefore[0] = true;
    c.caretBefore[text.size()] = true;
}

} // namespace

std::size_t CairoSupplier::HitTestString(const FontInterface& font, std::u16string_view text,
                                         float x)
{
    CheckRange("hit position", {x});
    CaretLayout c{MeasureLayout(mMeasureContext, font, text), {}, {}};
    BuildCarets(c, text);
    if (x <= 0 || text.empty())
        return 0;
    int byte = 0, trailing = 0;
    pango_layout_xy_to_index(c.layout, static_cast<int>(std::lround(x * PANGO_SCALE)), 0, &byte,
                             &trailing);
    (void)trailing; // Pango splits a cluster's width among its characters
    // The grapheme hit, then whichever of its edges is nearer.
    std::size_t start = static_cast<std::size_t>(
        std::upper_bound(c.offsets.begin(), c.offsets.end(), byte) - c.offsets.begin() - 1);
    while (start > 0 && !c.caretBefore[start])
        --start;
    std::size_t end = std::min(start + 1, text.size());
    while (end < text.size() && !c.caretBefore[end])
        ++end;
    PangoRectangle a, b;
    pango_layout_index_to_pos(c.layout, c.offsets[start], &a);
    pango_layout_index_to_pos(c.layout, c.offsets[end], &b);
    double px = static_cast<double>(x) * PANGO_SCALE;
    std::size_t index = std::fabs(px - a.x) <= std::fabs(px - b.x) ? start : end;
    return std::min(index, text.size());
}

float CairoSupplier::GetCaretOffset(const FontInterface& font, std::u16string_view text,
                                    std::size_t index)
{
    CaretLayout c{MeasureLayout(mMeasureContext, font, text), {}, {}};
    BuildCarets(c, text);
    index = std::min(index, text.size());
    while (index > 0 && !c.caretBefore[index])
        --index;
    PangoRectangle pos;
    pango_layout_index_to_pos(c.layout, c.offsets[index], &pos);
    return static_cast<float>(pos.x) / PANGO_SCALE;
}

} // namespace vyrui::drawbot::cairo
