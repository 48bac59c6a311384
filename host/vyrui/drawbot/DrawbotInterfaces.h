// The 2D drawing layer as its clients see it: abstract surfaces, paths,
// pens, shaders, images and fonts, all made by a supplier. The one
// implementation (Cairo and Pango) stays behind these classes, so including
// this header pulls in no graphics library.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrcore/geom.h"
#include "vyrui/drawbot/ColorRGBA.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vyrui::drawbot {

using vyrcore::geom::MatrixF;
using vyrcore::geom::PointF;
using vyrcore::geom::RectF;

enum class AntiAliasPolicy { None = 0, Med = 1, High = 2 };
enum class InterpolationPolicy { None = 0, Med = 1, High = 2 };
enum class TextAlignment { Left = 0, Center = 1, Right = 2 };
// End clips the text at the end of its box; the ellipsis forms replace the
// end, or the middle ("path" style), by an ellipsis.
enum class TextTruncation { None = 0, End = 1, EndEllipsis = 2, PathEllipsis = 3 };
enum class LineJoin { Miter = 0, Bevel = 1, Round = 2 };
enum class LineCap { Flat = 0, Round = 1, Square = 2 };

// Limits every implementation enforces; beyond them a call throws
// std::invalid_argument and draws nothing.
inline constexpr int kMaxSurfaceSide = 32767;
inline constexpr std::int64_t kMaxSurfacePixels = std::int64_t{1} << 24; // 64 MiB of pixels
inline constexpr float kMaxCoordinate = 1.0e6f;   // user-space coordinates and radii
inline constexpr float kMaxTransformScale = 1.0e4f;
inline constexpr float kMaxPenWidth = 1.0e4f;
inline constexpr float kMaxTextSize = 4096.0f;     // points, and pixels once transformed
inline constexpr std::size_t kMaxDashCount = 256;
// UTF-16 code units in one text to draw or measure: laying out more, one
// character a line in a narrow box, would stall the UI.
inline constexpr std::size_t kMaxTextLength = 10000;
// Image files: at most this many bytes, and decoded (all but PNG) in a
// child process stopped after this much processor time (std::runtime_error).
inline constexpr std::uintmax_t kMaxImageFileBytes = std::uintmax_t{64} << 20;
inline constexpr int kMaxDecodeSeconds = 2;

class SupplierInterface;

class BrushInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual ColorRGBA GetColor() const = 0;
};

struct FontMetrics {
    float ascent = 0;
    float descent = 0;
    float leading = 0;
};

class FontInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual std::u16string GetFamily() const = 0;
    virtual float GetSize() const = 0; // points
};

class PenInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual void SetWidth(float width) = 0;
    virtual float GetWidth() const = 0;
    virtual void SetMiterLimit(float limit) = 0;
    virtual float GetMiterLimit() const = 0;
    virtual void SetLineJoin(LineJoin join) = 0;
    virtual LineJoin GetLineJoin() const = 0;
    virtual void SetLineCap(LineCap cap) = 0;
    virtual LineCap GetLineCap() const = 0;
    // Alternating on and off lengths; an empty pattern is a solid line.
    virtual void SetDashPattern(const float* lengths, std::size_t count) = 0;
    virtual std::vector<float> GetDashPattern() const = 0;
    virtual ColorRGBA GetColor() const = 0;
};

class ShaderInterface : public vyrcore::utility::RefCountedObject {};

class PathInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual void MoveTo(PointF point) = 0;
    virtual void LineTo(PointF point) = 0;
    virtual void BezierTo(PointF control1, PointF control2, PointF end) = 0;
    virtual void AddRect(const RectF& rect) = 0;
    // Angles in degrees, clockwise on screen (y grows downwards); a sweep of
    // more than a full turn draws one full circle.
    virtual void AddArc(PointF centre, float radius, float startDegrees, float endDegrees) = 0;
    virtual void Close() = 0;
    virtual bool IsEmpty() const = 0;
};

// Pixels are 32-bit native-endian ARGB with premultiplied alpha, rows
// `GetStride()` bytes apart.
class ImageInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    virtual int GetStride() const = 0;
    virtual const std::uint8_t* GetPixels() const = 0;
};

class SurfaceInterface : public vyrcore::utility::RefCountedObject {
public:
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    // The supplier that made this surface (null for none).
    virtual std::shared_ptr<SupplierInterface> GetSupplier() const = 0;

    // Saves transform, clip and policies; PopState returns false (and does
    // nothing) when there is no saved state left.
    virtual void PushState() = 0;
    virtual bool PopState() = 0;
    virtual int GetStateDepth() const = 0;

    virtual void FillRect(const RectF& rect, const BrushInterface& brush) = 0;
    virtual void FillPath(const PathInterface& path, const BrushInterface& brush, bool evenOdd) = 0;
    virtual void StrokePath(const PathInterface& path, const PenInterface& pen) = 0;
    virtual void ShadePath(const PathInterface& path, const ShaderInterface& shader, bool evenOdd) = 0;

    // One line of text; `origin` is the left end of its baseline. With a
    // box width above 0 the text is aligned and truncated in [x, x + width];
    // without one, alignment is about x (centred on it, or ending at it).
    virtual void DrawString(const BrushInterface& brush, const FontInterface& font,
                            std::u16string_view text, PointF origin, TextAlignment alignment,
                            float boxWidth, TextTruncation truncation) = 0;
    // Text wrapped at word boundaries into the rectangle and clipped to it.
    virtual void DrawMultiLineString(const BrushInterface& brush, const FontInterface& font,
                                     std::u16string_view text, const RectF& rect,
                                     TextAlignment alignment) = 0;
    virtual float MeasureString(const FontInterface& font, std::u16string_view text) = 0;

    // Intersects the clip with the path; `antiAlias` false gives hard edges.
    virtual void ClipToPath(const PathInterface& path, bool antiAlias) = 0;
    virtual RectF GetClipBounds() const = 0;
    // Whether any part of the rectangle lies inside the clip bounds.
    virtual bool IsWithinClipBounds(const RectF& rect) const = 0;

    // Applies `matrix` before the current transform. A matrix that is not
    // finite, not invertible or that scales beyond kMaxTransformScale throws.
    virtual void ConcatTransform(const MatrixF& matrix) = 0;
    virtual MatrixF GetTransform() const = 0;
    // How long a user-space unit is on the screen, along x and along y.
    virtual PointF GetTransformToScreenScale() const = 0;

    virtual void DrawImage(const ImageInterface& image, PointF topLeft, float opacity) = 0;
    // The source rectangle (the whole image when null) scaled into `dest`.
    virtual void DrawImage(const ImageInterface& image, const RectF& dest, const RectF* source,
                           float opacity) = 0;

    virtual void SetAntiAliasPolicy(AntiAliasPolicy policy) = 0;
    virtual AntiAliasPolicy GetAntiAliasPolicy() const = 0;
    virtual void SetInterpolationPolicy(InterpolationPolicy policy) = 0;
    virtual InterpolationPolicy GetInterpolationPolicy() const = 0;
    // Device-dependent text snaps glyph metrics to the pixel grid.
    virtual void SetDeviceDependentTextRendering(bool on) = 0;
    virtual bool GetDeviceDependentTextRendering() const = 0;

    // A copy of the pixels as they are now.
    virtual boost::intrusive_ptr<ImageInterface> GetSurfaceImage() = 0;
    virtual void Flush() = 0;
};

class SupplierInterface : public std::enable_shared_from_this<SupplierInterface> {
public:
    virtual ~SupplierInterface() = default;

    // Sizes from 1 to kMaxSurfaceSide, at most kMaxSurfacePixels in all.
    // An opaque surface starts white, any other fully transparent.
    virtual boost::intrusive_ptr<SurfaceInterface> NewOffscreenSurface(int width, int height,
                                                                       bool opaque) = 0;
    virtual boost::intrusive_ptr<BrushInterface> NewSolidBrush(const ColorRGBA& color) = 0;
    virtual boost::intrusive_ptr<PenInterface> NewSolidPen(const ColorRGBA& color, float width) = 0;
    virtual boost::intrusive_ptr<ShaderInterface> NewLinearShader(PointF start, PointF end,
                                                                  const ColorRGBA& startColor,
                                                                  const ColorRGBA& endColor) = 0;
    // From `centre` (startColor) out to the circle through `rim` (endColor).
    virtual boost::intrusive_ptr<ShaderInterface> NewRadialShader(PointF centre, PointF rim,
                                                                  const ColorRGBA& startColor,
                                                                  const ColorRGBA& endColor) = 0;
    virtual boost::intrusive_ptr<PathInterface> NewPath() = 0;
    // `size` in points, above 0 and at most kMaxTextSize.
    virtual boost::intrusive_ptr<FontInterface> NewFont(std::u16string_view family, float size) = 0;
    // Decodes encoded image bytes (PNG, JPEG and the other formats the
    // decoder knows). Throws std::runtime_error with the reason when the
    // bytes are not a whole image. `flags` is reserved and must be 1.
    virtual boost::intrusive_ptr<ImageInterface> NewImageFromBuffer(int flags, const void* bytes,
                                                                    std::size_t size) = 0;

    virtual FontMetrics GetFontMetrics(const FontInterface& font) = 0;
    virtual float MeasureString(const FontInterface& font, std::u16string_view text) = 0;
    // Height of the text wrapped at `width` (no wrapping when width <= 0).
    virtual float MeasureMultiLineStringHeight(const FontInterface& font, std::u16string_view text,
                                               float width) = 0;

    // The same font in bold (a family without a bold face is drawn
    // emboldened).
    virtual boost::intrusive_ptr<FontInterface> NewBoldFont(std::u16string_view family,
                                                            float size) = 0;

    // Caret positions in one line of text, which move by whole graphemes
    // (a letter and its accents, a surrogate pair, an emoji sequence). Indices
    // are UTF-16 positions from 0 to the text's length; x is measured from
    // the text's left end.
    // The caret position nearest to `x` (0 before the text, the length
    // after it).
    virtual std::size_t HitTestString(const FontInterface& font, std::u16string_view text,
                                      float x) = 0;
    // The x of the caret at `index`; an index inside a grapheme counts as the
    // grapheme's start, one past the end as the end.
    virtual float GetCaretOffset(const FontInterface& font, std::u16string_view text,
                                 std::size_t index) = 0;
};

} // namespace vyrui::drawbot
