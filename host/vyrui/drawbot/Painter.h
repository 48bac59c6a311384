// Drawing the pieces of controls: fills, frames, rounded shapes, the focus
// ring, check mark, chevron and labels, on device pixels so that a line one
// unit wide is crisp at scale 1 and at scale 2. Brushes, pens and fonts come
// from the cache of the surface being drawn (PainterCache), not one per call.
#pragma once

#include "vyrui/drawbot/Drawbot.h"

#include <map>
#include <string>
#include <tuple>

namespace vyrui::drawbot {

struct FontSpec {
    std::u16string family;
    float size = 12; // points
    bool bold = false;
};

// The drawing objects made for one surface (a window keeps its cache from
// frame to frame). Made again when asked for by another supplier.
class PainterCache {
public:
    BrushInterface& Brush(SupplierInterface& supplier, const ColorRGBA& color);
    PenInterface& Pen(SupplierInterface& supplier, const ColorRGBA& color, float width);
    FontInterface& Font(SupplierInterface& supplier, const FontSpec& font);
    // Objects held (for tests).
    std::size_t Size() const { return mBrushes.size() + mPens.size() + mFonts.size(); }
    // Objects made since the cache began (for tests).
    std::size_t Made() const { return mMade; }

private:
    // Too many distinct colours (an animation) empty the cache, not memory.
    static constexpr std::size_t kLimit = 512;
    void Prepare(SupplierInterface& supplier);

    using ColorKey = std::tuple<float, float, float, float>;
    const SupplierInterface* mSupplier = nullptr;
    std::map<ColorKey, boost::intrusive_ptr<BrushInterface>> mBrushes;
    std::map<std::tuple<ColorKey, float>, boost::intrusive_ptr<PenInterface>> mPens;
    std::map<std::tuple<std::u16string, float, bool>, boost::intrusive_ptr<FontInterface>> mFonts;
    std::size_t mMade = 0;
};

enum class ChevronDirection { Up, Down, Left, Right };

class Painter {
public:
    explicit Painter(Drawbot& drawbot);

    SupplierInterface& Supplier() const { return mSupplier; }
    SurfaceInterface& Surface() const { return mSurface; }

    // The rectangle with its edges moved to the nearest device pixel
    // boundaries (unchanged under a rotating transform).
    RectF Snap(const RectF& rect) const;
    // A length as whole device pixels, at least one.
    float SnapLength(float length) const;

    void Fill(const RectF& rect, const ColorRGBA& color);
    // A frame `width` wide just inside the rectangle.
    void Frame(const RectF& rect, const ColorRGBA& color, float width = 1);
    void FillRounded(const RectF& rect, const ColorRGBA& color, float radius);
    void FrameRounded(const RectF& rect, const ColorRGBA& color, float radius, float width = 1);
    // A ring `width` wide, `gap` outside the rectangle, following its corners.
    void FocusRing(const RectF& rect, const ColorRGBA& color, float radius, float width, float gap);
    // A tick fitted into the box, strokes `width` wide.
    void CheckMark(const RectF& box, const ColorRGBA& color, float width);
    // The mixed-state bar across the middle of the box.
    void Dash(const RectF& box, const ColorRGBA& color, float width);
    void Chevron(const RectF& box, const ColorRGBA& color, ChevronDirection direction, float width);
    // An upright triangle fitted into the box (a warning sign).
    void FillTriangle(const RectF& box, const ColorRGBA& color);
    // A cross (x) fitted into the box, strokes `width` wide.
    void Cross(const RectF& box, const ColorRGBA& color, float width);

    // One line of text centred vertically in the box (its baseline on a
    // device pixel), aligned and truncated within the box's width.
    void Label(std::u16string_view text, const RectF& box, const FontSpec& font,
               const ColorRGBA& color, TextAlignment alignment = TextAlignment::Left,
               TextTruncation truncation = TextTruncation::EndEllipsis);
    // Text wrapped into the box from its top.
    void MultiLineLabel(std::u16string_view text, const RectF& box, const FontSpec& font,
                        const ColorRGBA& color, TextAlignment alignment = TextAlignment::Left);
    float MeasureText(std::u16string_view text, const FontSpec& font);
    FontInterface& Font(const FontSpec& font) { return mCache.Font(mSupplier, font); }

private:
    boost::intrusive_ptr<PathInterface> RoundedPath(const RectF& rect, float radius);
    void StrokePolyline(std::initializer_list<PointF> points, const ColorRGBA& color, float width);

    SupplierInterface& mSupplier;
    SurfaceInterface& mSurface;
    PainterCache& mCache;
    MatrixF mTransform;
    bool mAxisAligned;
};

} // namespace vyrui::drawbot
