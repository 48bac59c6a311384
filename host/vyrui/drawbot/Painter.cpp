#include "vyrui/drawbot/Painter.h"

#include <algorithm>
#include <cmath>

namespace vyrui::drawbot {

namespace {

std::tuple<float, float, float, float> Key(const ColorRGBA& c)
{
    return {c.red, c.green, c.blue, c.alpha};
}

} // namespace

void PainterCache::Prepare(SupplierInterface& supplier)
{
    if (mSupplier == &supplier && Size() < kLimit)
        return;
    mBrushes.clear();
    mPens.clear();
    mFonts.clear();
    mSupplier = &supplier;
}

BrushInterface& PainterCache::Brush(SupplierInterface& supplier, const ColorRGBA& color)
{
    Prepare(supplier);
    auto& slot = mBrushes[Key(color)];
    if (!slot) {
        slot = supplier.NewSolidBrush(color);
        ++mMade;
    }
    return *slot;
}

PenInterface& PainterCache::Pen(SupplierInterface& supplier, const ColorRGBA& color, float width)
{
    Prepare(supplier);
    auto& slot = mPens[{Key(color), width}];
    if (!slot) {
        slot = supplier.NewSolidPen(color, width);
        slot->SetLineCap(LineCap::Round);
        slot->SetLineJoin(LineJoin::Round);
        ++mMade;
    }
    return *slot;
}

FontInterface& PainterCache::Font(SupplierInterface& supplier, const FontSpec& font)
{
    Prepare(supplier);
    auto& slot = mFonts[{font.family, font.size, font.bold}];
    if (!slot) {
        slot = font.bold ? supplier.NewBoldFont(font.family, font.size)
                         : supplier.NewFont(font.family, font.size);
        ++mMade;
    }
    return *slot;
}

Painter::Painter(Drawbot& drawbot)
    : mSupplier(*drawbot.GetSupplier()), mSurface(*drawbot.GetSurface()),
      mCache(drawbot.GetPainterCache()), mTransform(mSurface.GetTransform())
{
    const auto& m = mTransform.m;
    mAxisAligned = m[1] == 0 && m[3] == 0 && m[0] != 0 && m[4] != 0;
}

RectF Painter::Snap(const RectF& rect) const
{
    if (!mAxisAligned)
        return rect;
    const auto& m = mTransform.m;
    // To device space, round, and back.
    auto snap = [](float v, float scale, float offset) {
        return static_cast<float>((std::round(double(v) * scale + offset) - offset) / scale);
    };
    float left = snap(rect.left, m[0], m[6]);
    float top = snap(rect.top, m[4], m[7]);
    float right = snap(rect.left + rect.width, m[0], m[6]);
    float bottom = snap(rect.top + rect.height, m[4], m[7]);
    return {std::min(left, right), std::min(top, bottom), std::fabs(right - left),
            std::fabs(bottom - top)};
}

float Painter::SnapLength(float length) const
{
    PointF scale = mSurface.GetTransformToScreenScale();
    float s = std::max(scale.x, scale.y);
    if (!(s > 0) || !std::isfinite(s))
        return length;
    return std::max(1.0f, std::round(length * s)) / s;
}

void Painter::Fill(const RectF& rect, const ColorRGBA& color)
{
    RectF r = Snap(rect);
    if (!r.IsEmpty())
        mSurface.FillRect(r, mCache.Brush(mSupplier, color));
}

void Painter::Frame(const RectF& rect, const ColorRGBA& color, float width)
{
    RectF r = Snap(rect);
    float t = std::min({SnapLength(width), r.width / 2, r.height / 2});
    if (r.IsEmpty() || !(t > 0))
        return;
    BrushInterface& brush = mCache.Brush(mSupplier, color);
    // Four strips that do not overlap, so a translucent colour stays even.
    mSurface.FillRect({r.left, r.top, r.width, t}, brush);
    mSurface.FillRect({r.left, r.Bottom() - t, r.width, t}, brush);
    if (r.height > 2 * t) {
        mSurface.FillRect({r.left, r.top + t, t, r.height - 2 * t}, brush);
        mSurface.FillRect({r.Right() - t, r.top + t, t, r.height - 2 * t}, brush);
    }
}

boost::intrusive_ptr<PathInterface> Painter::RoundedPath(const RectF& r, float radius)
{
    boost::intrusive_ptr<PathInterface> path = mSupplier.NewPath();
    float k = std::min({radius, r.width / 2, r.height / 2});
    if (!(k > 0)) {
        path->AddRect(r);
        return path;
    }
    float left = r.left, top = r.top, right = r.Right(), bottom = r.Bottom();
    path->AddArc({left + k, top + k}, k, 180, 270);
    path->AddArc({right - k, top + k}, k, 270, 360);
    path->AddArc({right - k, bottom - k}, k, 0, 90);
    path->AddArc({left + k, bottom - k}, k, 90, 180);
    path->Close();
    return path;
}

void Painter::FillRounded(const RectF& rect, const ColorRGBA& color, float radius)
{
    RectF r = Snap(rect);
    if (!r.IsEmpty())
        mSurface.FillPath(*RoundedPath(r, radius), mCache.Brush(mSupplier, color), false);
}

void Painter::FrameRounded(const RectF& rect, const ColorRGBA& color, float radius, float width)
{
    if (!(radius > 0)) {
        Frame(rect, color, width);
        return;
    }
    RectF r = Snap(rect);
    float w = SnapLength(width);
    if (r.width <= w || r.height <= w)
        return;
    // The stroke's centre line half a width inside: its edges land on pixels.
    RectF centre{r.left + w / 2, r.top + w / 2, r.width - w, r.height - w};
    mSurface.StrokePath(*RoundedPath(centre, std::max(0.0f, radius - w / 2)),
                        mCache.Pen(mSupplier, color, w));
}

void Painter::FocusRing(const RectF& rect, const ColorRGBA& color, float radius, float width,
                        float gap)
{
    float w = SnapLength(width);
    float out = (gap > 0 ? SnapLength(gap) : 0) + w;
    FrameRounded({rect.left - out, rect.top - out, rect.width + 2 * out, rect.height + 2 * out},
                 color, radius + out, w);
}

void Painter::StrokePolyline(std::initializer_list<PointF> points, const ColorRGBA& color,
                             float width)
{
    boost::intrusive_ptr<PathInterface> path = mSupplier.NewPath();
    bool first = true;
    for (PointF p : points) {
        if (first)
            path->MoveTo(p);
        else
            path->LineTo(p);
        first = false;
    }
    mSurface.StrokePath(*path, mCache.Pen(mSupplier, color, width));
}

void Painter::CheckMark(const RectF& box, const ColorRGBA& color, float width)
{
    float x = box.left, y = box.top, w = box.width, h = box.height;
    StrokePolyline({{x + 0.22f * w, y + 0.53f * h}, {x + 0.42f * w, y + 0.72f * h},
                    {x + 0.78f * w, y + 0.30f * h}},
                   color, width);
}

void Painter::Dash(const RectF& box, const ColorRGBA& color, float width)
{
    float t = SnapLength(width);
    RectF bar{box.left + 0.25f * box.width, box.top + (box.height - t) / 2, 0.5f * box.width, t};
    FillRounded(bar, color, t / 2);
}

void Painter::FillTriangle(const RectF& box, const ColorRGBA& color)
{
    boost::intrusive_ptr<PathInterface> path = mSupplier.NewPath();
    path->MoveTo({box.left + box.width / 2, box.top});
    path->LineTo({box.left + box.width, box.top + box.height});
    path->LineTo({box.left, box.top + box.height});
    path->Close();
    mSurface.FillPath(*path, mCache.Brush(mSupplier, color), false);
}

void Painter::Cross(const RectF& box, const ColorRGBA& color, float width)
{
    const float right = box.left + box.width, bottom = box.top + box.height;
    StrokePolyline({{box.left, box.top}, {right, bottom}}, color, width);
    StrokePolyline({{right, box.top}, {box.left, bottom}}, color, width);
}

void Painter::Chevron(const RectF& box, const ColorRGBA& color, ChevronDirection direction,
                      float width)
{
    float cx = box.left + box.width / 2, cy = box.top + box.height / 2;
    float a = std::min(box.width, box.height) * 0.3f; // half the opening
    float b = a / 2;                                   // half the depth
    switch (direction) {
    case ChevronDirection::Down:
        StrokePolyline({{cx - a, cy - b}, {cx, cy + b}, {cx + a, cy - b}}, color, width);
        break;
    case ChevronDirection::Up:
        StrokePolyline({{cx - a, cy + b}, {cx, cy - b}, {cx + a, cy + b}}, color, width);
        break;
    case ChevronDirection::Right:
        StrokePolyline({{cx - b, cy - a}, {cx + b, cy}, {cx - b, cy + a}}, color, width);
        break;
    case ChevronDirection::Left:
        StrokePolyline({{cx + b, cy - a}, {cx - b, cy}, {cx + b, cy + a}}, color, width);
        break;
    }
}

void Painter::Label(std::u16string_view text, const RectF& box, const FontSpec& fontSpec,
                    const ColorRGBA& color, TextAlignment alignment, TextTruncation truncation)
{
    if (text.empty() || box.width <= 0)
        return;
    FontInterface& font = Font(fontSpec);
    FontMetrics metrics = mSupplier.GetFontMetrics(font);
    float baseline = box.top + (box.height - (metrics.ascent + metrics.descent)) / 2 + metrics.ascent;
    if (mAxisAligned) {
        const auto& m = mTransform.m;
        baseline = static_cast<float>((std::round(double(baseline) * m[4] + m[7]) - m[7]) / m[4]);
    }
    mSurface.DrawString(mCache.Brush(mSupplier, color), font, text, {box.left, baseline},
                        alignment, box.width, truncation);
}

void Painter::MultiLineLabel(std::u16string_view text, const RectF& box, const FontSpec& font,
                             const ColorRGBA& color, TextAlignment alignment)
{
    if (!text.empty() && !box.IsEmpty())
        mSurface.DrawMultiLineString(mCache.Brush(mSupplier, color), Font(font), text, box,
                                     alignment);
}

float Painter::MeasureText(std::u16string_view text, const FontSpec& font)
{
    return mSupplier.MeasureString(Font(font), text);
}

} // namespace vyrui::drawbot
