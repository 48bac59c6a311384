// Surfaces: Cairo image surfaces (ARGB32) with Pango text.
#include "vyrui/drawbot/CairoDrawbot.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace vyrui::drawbot::cairo {

namespace {

template <typename T>
const T& Own(const auto& object, const char* what)
{
    auto* own = dynamic_cast<const T*>(&object);
    if (own == nullptr)
        throw std::invalid_argument(std::string(what) + " from another kind of supplier");
    return *own;
}

cairo_filter_t Filter(InterpolationPolicy policy)
{
    switch (policy) {
    case InterpolationPolicy::None: return CAIRO_FILTER_NEAREST;
    case InterpolationPolicy::Med: return CAIRO_FILTER_BILINEAR;
    case InterpolationPolicy::High: return CAIRO_FILTER_GOOD;
    }
    return CAIRO_FILTER_BILINEAR;
}

cairo_antialias_t Antialias(AntiAliasPolicy policy)
{
    switch (policy) {
    case AntiAliasPolicy::None: return CAIRO_ANTIALIAS_NONE;
    case AntiAliasPolicy::Med: return CAIRO_ANTIALIAS_FAST;
    case AntiAliasPolicy::High: return CAIRO_ANTIALIAS_GOOD;
    }
    return CAIRO_ANTIALIAS_GOOD;
}

float Clamp01(float opacity)
{
    if (!std::isfinite(opacity))
        throw std::invalid_argument("opacity must be finite");
    return std::clamp(opacity, 0.0f, 1.0f);
}

// A Cairo view of any image's pixels (not copied; read only).
cairo_surface_t* WrapImage(const ImageInterface& image)
{
    int width = image.GetWidth();
    if (image.GetStride() != cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width))
        throw std::invalid_argument("image rows are not laid out as ARGB32");
    return cairo_image_surface_create_for_data(const_cast<std::uint8_t*>(image.GetPixels()),
                                               CAIRO_FORMAT_ARGB32, width, image.GetHeight(),
                                               image.GetStride());
}

// Throws when `cr` is in its error state.
void ThrowIfFailed(cairo_t* cr)
{
    if (cairo_status_t status = cairo_status(cr); status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("drawing failed: ") + cairo_status_to_string(status));
}

void SetColor(cairo_t* cr, const ColorRGBA& c)
{
    cairo_set_source_rgba(cr, c.red, c.green, c.blue, c.alpha);
}

// The size of text in device pixels: `size` times the largest stretch of
// the transform.
double DeviceTextSize(cairo_t* cr, float size)
{
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    double squares = m.xx * m.xx + m.yx * m.yx + m.xy * m.xy + m.yy * m.yy;
    double det = m.xx * m.yy - m.xy * m.yx;
    double largest = std::sqrt((squares + std::sqrt(std::max(0.0, squares * squares - 4 * det * det))) / 2);
    return largest * size;
}

// Text is drawn through a Cairo context of its own, set up as the surface's
// (transform, clip, antialiasing): a font the rasteriser refuses puts that
// context in its error state, never the surface's, which Cairo would keep
// for good. A clip that is not a set of rectangles cannot be copied; the
// text then goes to a group of the surface's context, composited through
// that clip.
class TextPass {
public:
    TextPass(cairo_t* surfaceCr, cairo_surface_t* target) : mSurfaceCr(surfaceCr)
    {
        cairo_matrix_t matrix;
        cairo_get_matrix(surfaceCr, &matrix);
        cairo_rectangle_list_t* clips = cairo_copy_clip_rectangle_list(surfaceCr);
        if (clips->status == CAIRO_STATUS_SUCCESS) {
            mCr = cairo_create(target);
            cairo_set_matrix(mCr, &matrix);
            for (int i = 0; i < clips->num_rectangles; ++i) {
                const cairo_rectangle_t& r = clips->rectangles[i];
                cairo_rectangle(mCr, r.x, r.y, r.width, r.height);
            }
            cairo_clip(mCr);
        } else {
            cairo_save(surfaceCr);
            cairo_push_group(surfaceCr);
            mGrouped = true;
            mCr = cairo_create(cairo_get_group_target(surfaceCr));
            cairo_set_matrix(mCr, &matrix);
        }
        cairo_rectangle_list_destroy(clips);
        cairo_set_antialias(mCr, cairo_get_antialias(surfaceCr));
    }
    ~TextPass()
    {
        cairo_destroy(mCr);
        if (mGrouped) {
            cairo_pop_group_to_source(mSurfaceCr);
            cairo_paint(mSurfaceCr);
            cairo_restore(mSurfaceCr);
        }
    }
    TextPass(const TextPass&) = delete;
    TextPass& operator=(const TextPass&) = delete;

    cairo_t* Cr() const { return mCr; }
    // Throws when the text could not be drawn.
    void Check() const { ThrowIfFailed(mCr); }

private:
    cairo_t* mSurfaceCr;
    cairo_t* mCr = nullptr;
    bool mGrouped = false;
};

} // namespace

CairoSurface::CairoSurface(std::shared_ptr<CairoSupplier> supplier, int width, int height,
                           bool opaque)
    : mSupplier(std::move(supplier)), mWidth(width), mHeight(height)
{
    if (width < 1 || height < 1 || width > kMaxSurfaceSide || height > kMaxSurfaceSide ||
        std::int64_t{width} * height > kMaxSurfacePixels)
        throw std::invalid_argument("surface size must be from 1 to 32767 on each side and at "
                                    "most 16777216 pixels");
    mTarget = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    mCr = cairo_create(mTarget);
    if (cairo_status(mCr) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(mCr);
        cairo_surface_destroy(mTarget);
        throw std::runtime_error("cannot create a surface of that size");
    }
    mTextContext = mSupplier->NewTextContext();
    cairo_set_antialias(mCr, Antialias(mState.antiAlias));
    if (opaque) {
        cairo_set_source_rgb(mCr, 1, 1, 1);
        cairo_paint(mCr);
    }
}

CairoSurface::~CairoSurface()
{
    g_object_unref(mTextContext);
    cairo_destroy(mCr);
    cairo_surface_destroy(mTarget);
}

void CairoSurface::CheckStatus() const
{
    // The checks before each call keep Cairo out of its error state; if it
    // got there anyway, the surface draws nothing more, so say so.
    ThrowIfFailed(mCr);
}

void CairoSurface::SetSourceColor(const ColorRGBA& c)
{
    SetColor(mCr, c);
}

void CairoSurface::PushState()
{
    cairo_save(mCr);
    mSaved.push_back(mState);
}

bool CairoSurface::PopState()
{
    if (mSaved.empty())
        return false;
    cairo_restore(mCr);
    mState = mSaved.back();
    mSaved.pop_back();
    return true;
}

void CairoSurface::FillRect(const RectF& rect, const BrushInterface& brush)
{
    CheckRect("rectangle", rect);
    SetSourceColor(brush.GetColor());
    cairo_new_path(mCr);
    cairo_rectangle(mCr, rect.left, rect.top, rect.width, rect.height);
    cairo_fill(mCr);
    CheckStatus();
}

void CairoSurface::FillPath(const PathInterface& path, const BrushInterface& brush, bool evenOdd)
{
    const auto& own = Own<CairoPath>(path, "a path");
    SetSourceColor(brush.GetColor());
    own.Replay(mCr);
    cairo_set_fill_rule(mCr, evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
    cairo_fill(mCr);
    cairo_set_fill_rule(mCr, CAIRO_FILL_RULE_WINDING);
    CheckStatus();
}

void CairoSurface::StrokePath(const PathInterface& path, const PenInterface& pen)
{
    const auto& own = Own<CairoPath>(path, "a path");
    cairo_save(mCr);
    SetSourceColor(pen.GetColor());
    cairo_set_line_width(mCr, pen.GetWidth());
    cairo_set_miter_limit(mCr, pen.GetMiterLimit());
    static constexpr cairo_line_join_t joins[] = {CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_BEVEL,
                                                  CAIRO_LINE_JOIN_ROUND};
    static constexpr cairo_line_cap_t caps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_ROUND,
                                                CAIRO_LINE_CAP_SQUARE};
    cairo_set_line_join(mCr, joins[static_cast<int>(pen.GetLineJoin())]);
    cairo_set_line_cap(mCr, caps[static_cast<int>(pen.GetLineCap())]);
    std::vector<float> dashes = pen.GetDashPattern();
    std::vector<double> lengths(dashes.begin(), dashes.end());
    cairo_set_dash(mCr, lengths.data(), static_cast<int>(lengths.size()), 0);
    own.Replay(mCr);
    cairo_stroke(mCr);
    cairo_restore(mCr);
    CheckStatus();
}

void CairoSurface::ShadePath(const PathInterface& path, const ShaderInterface& shader, bool evenOdd)
{
    const auto& own = Own<CairoPath>(path, "a path");
    const auto& pattern = Own<CairoShader>(shader, "a shader");
    cairo_set_source(mCr, pattern.Pattern());
    own.Replay(mCr);
    cairo_set_fill_rule(mCr, evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
    cairo_fill(mCr);
    cairo_set_fill_rule(mCr, CAIRO_FILL_RULE_WINDING);
    CheckStatus();
}

PangoLayout* CairoSurface::NewLayout(const FontInterface& font, std::u16string_view text)
{
    const auto& own = Own<CairoFont>(font, "a font");
    // FreeType refuses glyphs some way above this many pixels.
    if (DeviceTextSize(mCr, own.GetSize()) > kMaxTextSize)
        throw std::invalid_argument("text size must be at most 4096 pixels once transformed");
    std::string utf8 = PangoText(text);
    CairoSupplier::ConfigureText(mTextContext, mState.deviceDependentText,
                                 mState.antiAlias != AntiAliasPolicy::None);
    pango_cairo_update_context(mCr, mTextContext);
    PangoLayout* layout = pango_layout_new(mTextContext);
    pango_layout_set_font_description(layout, own.Description());
    pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
    return layout;
}

void CairoSurface::DrawString(const BrushInterface& brush, const FontInterface& font,
                              std::u16string_view text, PointF origin, TextAlignment alignment,
                              float boxWidth, TextTruncation truncation)
{
    CheckPoint("text origin", origin);
    CheckRange("text box width", {boxWidth});
    boxWidth = std::max(boxWidth, 0.0f);
    PangoLayout* layout = NewLayout(font, text);
    pango_layout_set_single_paragraph_mode(layout, true);
    bool ellipsis = truncation == TextTruncation::EndEllipsis ||
                    truncation == TextTruncation::PathEllipsis;
    if (boxWidth > 0 && ellipsis) {
        pango_layout_set_width(layout, static_cast<int>(std::lround(boxWidth * PANGO_SCALE)));
        pango_layout_set_ellipsize(layout, truncation == TextTruncation::EndEllipsis
                                               ? PANGO_ELLIPSIZE_END
                                               : PANGO_ELLIPSIZE_MIDDLE);
    }
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    double width = static_cast<double>(logical.width) / PANGO_SCALE;
    double height = static_cast<double>(logical.height) / PANGO_SCALE;
    double baseline = static_cast<double>(pango_layout_get_baseline(layout)) / PANGO_SCALE;
    bool clip = boxWidth > 0 && truncation == TextTruncation::End && width > boxWidth;

    double offset = 0;
    if (!clip) {
        double room = boxWidth > 0 ? boxWidth - width : -width;
        if (alignment == TextAlignment::Center)
            offset = room / 2;
        else if (alignment == TextAlignment::Right)
            offset = room;
    }
    TextPass pass(mCr, mTarget);
    cairo_t* cr = pass.Cr();
    if (clip) {
        cairo_rectangle(cr, origin.x, origin.y - baseline, boxWidth, height);
        cairo_clip(cr);
    }
    SetColor(cr, brush.GetColor());
    // The layout's own position counts from its logical left edge.
    cairo_move_to(cr, origin.x + offset - static_cast<double>(logical.x) / PANGO_SCALE,
                  origin.y - baseline);
    pango_cairo_show_layout(cr, layout);
    g_object_unref(layout);
    pass.Check();
}

void CairoSurface::DrawMultiLineString(const BrushInterface& brush, const FontInterface& font,
                                       std::u16string_view text, const RectF& rect,
                                       TextAlignment alignment)
{
    CheckRect("text rectangle", rect);
    if (rect.IsEmpty())
        return;
    PangoLayout* layout = NewLayout(font, text);
    pango_layout_set_width(layout, static_cast<int>(std::lround(rect.width * PANGO_SCALE)));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD);
    static constexpr PangoAlignment aligns[] = {PANGO_ALIGN_LEFT, PANGO_ALIGN_CENTER,
                                                PANGO_ALIGN_RIGHT};
    pango_layout_set_alignment(layout, aligns[static_cast<int>(alignment)]);
    TextPass pass(mCr, mTarget);
    cairo_t* cr = pass.Cr();
    cairo_rectangle(cr, rect.left, rect.top, rect.width, rect.height);
    cairo_clip(cr);
    SetColor(cr, brush.GetColor());
    cairo_move_to(cr, rect.left, rect.top);
    pango_cairo_show_layout(cr, layout);
    g_object_unref(layout);
    pass.Check();
}

float CairoSurface::MeasureString(const FontInterface& font, std::u16string_view text)
{
    PangoLayout* layout = NewLayout(font, text);
    pango_layout_set_single_paragraph_mode(layout, true);
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    g_object_unref(layout);
    return static_cast<float>(logical.width) / PANGO_SCALE;
}

void CairoSurface::ClipToPath(const PathInterface& path, bool antiAlias)
{
    const auto& own = Own<CairoPath>(path, "a path");
    own.Replay(mCr);
    cairo_antialias_t previous = cairo_get_antialias(mCr);
    cairo_set_antialias(mCr, antiAlias ? previous : CAIRO_ANTIALIAS_NONE);
    cairo_clip(mCr);
    cairo_set_antialias(mCr, previous);
    CheckStatus();
}

RectF CairoSurface::GetClipBounds() const
{
    double x1, y1, x2, y2;
    cairo_clip_extents(mCr, &x1, &y1, &x2, &y2);
    return RectF{static_cast<float>(x1), static_cast<float>(y1), static_cast<float>(x2 - x1),
                 static_cast<float>(y2 - y1)};
}

bool CairoSurface::IsWithinClipBounds(const RectF& rect) const
{
    CheckRect("rectangle", rect);
    double x1, y1, x2, y2;
    cairo_clip_extents(mCr, &x1, &y1, &x2, &y2);
    double right = static_cast<double>(rect.left) + rect.width;
    double bottom = static_cast<double>(rect.top) + rect.height;
    return rect.width > 0 && rect.height > 0 && rect.left < x2 && right > x1 && rect.top < y2 &&
           bottom > y1;
}

void CairoSurface::ConcatTransform(const MatrixF& matrix)
{
    for (float v : matrix.m) {
        if (!std::isfinite(v))
            throw std::invalid_argument("transform values must be finite");
    }
    cairo_matrix_t m = ToCairo(matrix);
    cairo_matrix_t current;
    cairo_get_matrix(mCr, &current);
    cairo_matrix_t product;
    cairo_matrix_multiply(&product, &m, &current);
    cairo_matrix_t inverse = product;
    // Cairo stops drawing for good after a singular matrix: refuse it here.
    if (cairo_matrix_invert(&inverse) != CAIRO_STATUS_SUCCESS)
        throw std::invalid_argument("transform is not invertible");
    for (double v : {product.xx, product.yx, product.xy, product.yy}) {
        if (std::fabs(v) > kMaxTransformScale)
            throw std::invalid_argument("transform scales beyond 10000");
    }
    CheckRange("transform translation", {product.x0, product.y0},
               double(kMaxCoordinate) * kMaxTransformScale);
    cairo_set_matrix(mCr, &product);
    CheckStatus();
}

MatrixF CairoSurface::GetTransform() const
{
    cairo_matrix_t m;
    cairo_get_matrix(mCr, &m);
    return FromCairo(m);
}

PointF CairoSurface::GetTransformToScreenScale() const
{
    cairo_matrix_t m;
    cairo_get_matrix(mCr, &m);
    return PointF{static_cast<float>(std::hypot(m.xx, m.yx)),
                  static_cast<float>(std::hypot(m.xy, m.yy))};
}

void CairoSurface::DrawImage(const ImageInterface& image, PointF topLeft, float opacity)
{
    RectF dest{topLeft.x, topLeft.y, static_cast<float>(image.GetWidth()),
               static_cast<float>(image.GetHeight())};
    DrawImage(image, dest, nullptr, opacity);
}

void CairoSurface::DrawImage(const ImageInterface& image, const RectF& dest, const RectF* source,
                             float opacity)
{
    CheckRect("image rectangle", dest);
    RectF src{0, 0, static_cast<float>(image.GetWidth()), static_cast<float>(image.GetHeight())};
    if (source != nullptr) {
        CheckRect("source rectangle", *source);
        src = *source;
    }
    opacity = Clamp01(opacity);
    if (dest.IsEmpty() || src.IsEmpty() || opacity == 0)
        return;
    // User space to image space: the source rectangle stretched over dest.
    cairo_matrix_t toImage;
    cairo_matrix_init_translate(&toImage, src.left, src.top);
    cairo_matrix_scale(&toImage, double(src.width) / dest.width, double(src.height) / dest.height);
    cairo_matrix_translate(&toImage, -double(dest.left), -double(dest.top));
    cairo_matrix_t check = toImage;
    if (cairo_matrix_invert(&check) != CAIRO_STATUS_SUCCESS)
        return; // too extreme a scale to draw anything visible
    cairo_surface_t* pixels = WrapImage(image);
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(pixels);
    cairo_pattern_set_matrix(pattern, &toImage);
    cairo_pattern_set_filter(pattern, Filter(mState.interpolation));
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_NONE);
    cairo_save(mCr);
    cairo_new_path(mCr);
    cairo_rectangle(mCr, dest.left, dest.top, dest.width, dest.height);
    cairo_clip(mCr);
    cairo_set_source(mCr, pattern);
    cairo_paint_with_alpha(mCr, opacity);
    cairo_restore(mCr);
    cairo_pattern_destroy(pattern);
    cairo_surface_destroy(pixels);
    CheckStatus();
}

void CairoSurface::SetAntiAliasPolicy(AntiAliasPolicy policy)
{
    mState.antiAlias = policy;
    cairo_set_antialias(mCr, Antialias(policy));
}

void CairoSurface::SetInterpolationPolicy(InterpolationPolicy policy)
{
    mState.interpolation = policy;
}

boost::intrusive_ptr<ImageInterface> CairoSurface::GetSurfaceImage()
{
    cairo_surface_flush(mTarget);
    cairo_surface_t* copy = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, mWidth, mHeight);
    if (cairo_surface_status(copy) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(copy);
        throw std::runtime_error("out of memory for the surface image");
    }
    const unsigned char* from = cairo_image_surface_get_data(mTarget);
    unsigned char* to = cairo_image_surface_get_data(copy);
    std::size_t bytes =
        static_cast<std::size_t>(cairo_image_surface_get_stride(mTarget)) * mHeight;
    std::memcpy(to, from, bytes);
    cairo_surface_mark_dirty(copy);
    return new CairoImage(copy);
}

void CairoSurface::Flush()
{
    cairo_surface_flush(mTarget);
}

} // namespace vyrui::drawbot::cairo
