// Pens, paths, fonts and the argument checks shared by the Cairo classes.
#include "vyrui/drawbot/CairoDrawbot.h"

#include "vyrcore/string.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace vyrui::drawbot::cairo {

void CheckRange(const char* what, std::initializer_list<double> values, double limit)
{
    for (double v : values) {
        if (!std::isfinite(v) || std::fabs(v) > limit)
            throw std::invalid_argument(std::string(what) + " must be finite and within ±" +
                                        std::to_string(static_cast<long long>(limit)));
    }
}

void CheckPoint(const char* what, PointF point)
{
    CheckRange(what, {point.x, point.y});
}

void CheckRect(const char* what, const RectF& rect)
{
    CheckRange(what, {rect.left, rect.top, rect.width, rect.height});
}

void CheckColor(const char* what, const ColorRGBA& color)
{
    for (float c : {color.red, color.green, color.blue, color.alpha}) {
        if (!std::isfinite(c))
            throw std::invalid_argument(std::string(what) + " components must be finite");
    }
}

cairo_matrix_t ToCairo(const MatrixF& matrix)
{
    // Row-vector convention: x' = x*m0 + y*m3 + m6, y' = x*m1 + y*m4 + m7.
    const auto& m = matrix.m;
    cairo_matrix_t c;
    cairo_matrix_init(&c, m[0], m[1], m[3], m[4], m[6], m[7]);
    return c;
}

MatrixF FromCairo(const cairo_matrix_t& c)
{
    MatrixF m;
    m.m = {static_cast<float>(c.xx), static_cast<float>(c.yx), 0,
           static_cast<float>(c.xy), static_cast<float>(c.yy), 0,
           static_cast<float>(c.x0), static_cast<float>(c.y0), 1};
    return m;
}

std::string PangoText(std::u16string_view text)
{
    if (text.size() > kMaxTextLength)
        throw std::invalid_argument("text is longer than 10000 characters");
    std::string utf8 = vyrcore::string::UTF16to8(text);
    // Pango rejects embedded NULs as invalid UTF-8; show them as U+FFFD.
    std::string out;
    out.reserve(utf8.size());
    for (char c : utf8) {
        if (c == '\0')
            out += "\xEF\xBF\xBD";
        else
            out += c;
    }
    return out;
}

CairoPen::CairoPen(const ColorRGBA& color, float width) : mColor(color)
{
    CheckColor("pen colour", color);
    SetWidth(width);
}

void CairoPen::SetWidth(float width)
{
    if (!std::isfinite(width) || width < 0 || width > kMaxPenWidth)
        throw std::invalid_argument("pen width must be between 0 and 10000");
    mWidth = width;
}

void CairoPen::SetMiterLimit(float limit)
{
    if (!std::isfinite(limit) || limit < 1 || limit > kMaxCoordinate)
        throw std::invalid_argument("miter limit must be finite and at least 1");
    mMiterLimit = limit;
}

void CairoPen::SetDashPattern(const float* lengths, std::size_t count)
{
    if (count > kMaxDashCount)
        throw std::invalid_argument("a dash pattern has at most 256 lengths");
    bool anyOn = false;
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(lengths[i]) || lengths[i] < 0 || lengths[i] > kMaxCoordinate)
            throw std::invalid_argument("dash lengths must be finite and between 0 and 1000000");
        anyOn = anyOn || lengths[i] > 0;
    }
    // Cairo refuses a pattern of zeros; it would draw nothing anyway.
    if (count > 0 && !anyOn)
        throw std::invalid_argument("a dash pattern needs a length above 0");
    mDashes.assign(lengths, lengths + count);
}

void CairoPath::MoveTo(PointF point)
{
    CheckPoint("path point", point);
    mOps.push_back({Op::Move, {point.x, point.y}});
}

void CairoPath::LineTo(PointF point)
{
    CheckPoint("path point", point);
    mOps.push_back({Op::Line, {point.x, point.y}});
}

void CairoPath::BezierTo(PointF control1, PointF control2, PointF end)
{
    CheckPoint("path point", control1);
    CheckPoint("path point", control2);
    CheckPoint("path point", end);
    mOps.push_back({Op::Curve, {control1.x, control1.y, control2.x, control2.y, end.x, end.y}});
}

void CairoPath::AddRect(const RectF& rect)
{
    CheckRect("path rectangle", rect);
    mOps.push_back({Op::Rect, {rect.left, rect.top, rect.width, rect.height}});
}

void CairoPath::AddArc(PointF centre, float radius, float startDegrees, float endDegrees)
{
    CheckPoint("arc centre", centre);
    if (!std::isfinite(radius) || radius < 0 || radius > kMaxCoordinate)
        throw std::invalid_argument("arc radius must be between 0 and 1000000");
    if (!std::isfinite(startDegrees) || !std::isfinite(endDegrees))
        throw std::invalid_argument("arc angles must be finite");
    // Cairo turns the end angle forward a full turn at a time until it is
    // past the start; do it here in one step so huge angles cost nothing.
    double sweep = static_cast<double>(endDegrees) - startDegrees;
    if (sweep < 0)
        sweep = 360 - std::fmod(-sweep, 360.0);
    sweep = std::min(sweep, 360.0);
    double start = std::fmod(static_cast<double>(startDegrees), 360.0);
    constexpr double toRadians = std::numbers::pi / 180;
    mOps.push_back({Op::Arc, {centre.x, centre.y, radius, start * toRadians,
                              (start + sweep) * toRadians}});
}

void CairoPath::Close()
{
    mOps.push_back({Op::Close, {}});
}

void CairoPath::Replay(cairo_t* cr) const
{
    cairo_new_path(cr);
    for (const Step& s : mOps) {
        const double* v = s.v;
        switch (s.op) {
        case Op::Move: cairo_move_to(cr, v[0], v[1]); break;
        case Op::Line: cairo_line_to(cr, v[0], v[1]); break;
        case Op::Curve: cairo_curve_to(cr, v[0], v[1], v[2], v[3], v[4], v[5]); break;
        case Op::Rect: cairo_rectangle(cr, v[0], v[1], v[2], v[3]); break;
        case Op::Arc: cairo_arc(cr, v[0], v[1], v[2], v[3], v[4]); break;
        case Op::Close: cairo_close_path(cr); break;
        }
    }
}

CairoFont::CairoFont(std::u16string family, float size, bool bold)
    : mFamily(std::move(family)), mSize(size)
{
    if (!std::isfinite(size) || size <= 0 || size > kMaxTextSize)
        throw std::invalid_argument("text size must be above 0 and at most 4096");
    mDescription = pango_font_description_new();
    std::string name = PangoText(mFamily);
    pango_font_description_set_family(mDescription, name.c_str());
    // Absolute: a point is a user-space unit, whatever the font resolution.
    pango_font_description_set_absolute_size(mDescription, static_cast<double>(size) * PANGO_SCALE);
    if (bold)
        pango_font_description_set_weight(mDescription, PANGO_WEIGHT_BOLD);
}

} // namespace vyrui::drawbot::cairo
