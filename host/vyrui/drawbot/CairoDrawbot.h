// The Cairo and Pango implementation of the drawing interfaces. Private to
// the drawbot library: only its own .cpp files include this header.
#pragma once

#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <memory>
#include <string>
#include <vector>

typedef struct _FcConfig FcConfig;

namespace vyrui::drawbot::cairo {

// Throws std::invalid_argument naming `what` unless every value is finite
// and within ±limit.
void CheckRange(const char* what, std::initializer_list<double> values, double limit = kMaxCoordinate);
void CheckPoint(const char* what, PointF point);
void CheckRect(const char* what, const RectF& rect);
void CheckColor(const char* what, const ColorRGBA& color);
cairo_matrix_t ToCairo(const MatrixF& matrix);
MatrixF FromCairo(const cairo_matrix_t& matrix);

// Decodes image file bytes into a new ARGB32 image surface, or throws
// std::runtime_error with the reason.
using Decoder = cairo_surface_t* (*)(const void* bytes, std::size_t size);
// Runs `decode` in a child process under the decoding limits
// (kMaxDecodeSeconds of processor time); its result is copied back.
cairo_surface_t* DecodeInChildProcess(const void* bytes, std::size_t size, Decoder decode);

// Text as Pango takes it: UTF-8 with no NUL characters.
std::string PangoText(std::u16string_view text);

class CairoBrush final : public BrushInterface {
public:
    explicit CairoBrush(const ColorRGBA& color) : mColor(color) {}
    ColorRGBA GetColor() const override { return mColor; }

private:
    ColorRGBA mColor;
};

class CairoPen final : public PenInterface {
public:
    CairoPen(const ColorRGBA& color, float width);
    void SetWidth(float width) override;
    float GetWidth() const override { return mWidth; }
    void SetMiterLimit(float limit) override;
    float GetMiterLimit() const override { return mMiterLimit; }
    void SetLineJoin(LineJoin join) override { mJoin = join; }
    LineJoin GetLineJoin() const override { return mJoin; }
    void SetLineCap(LineCap cap) override { mCap = cap; }
    LineCap GetLineCap() const override { return mCap; }
    void SetDashPattern(const float* lengths, std::size_t count) override;
    std::vector<float> GetDashPattern() const override { return mDashes; }
    ColorRGBA GetColor() const override { return mColor; }

private:
    ColorRGBA mColor;
    float mWidth = 1;
    float mMiterLimit = 10;
    LineJoin mJoin = LineJoin::Miter;
    LineCap mCap = LineCap::Flat;
    std::vector<float> mDashes;
};

class CairoShader final : public ShaderInterface {
public:
    explicit CairoShader(cairo_pattern_t* pattern) : mPattern(pattern) {}
    ~CairoShader() override { cairo_pattern_destroy(mPattern); }
    cairo_pattern_t* Pattern() const { return mPattern; }

private:
    cairo_pattern_t* mPattern;
};

class CairoPath final : public PathInterface {
public:
    void MoveTo(PointF point) override;
    void LineTo(PointF point) override;
    void BezierTo(PointF control1, PointF control2, PointF end) override;
    void AddRect(const RectF& rect) override;
    void AddArc(PointF centre, float radius, float startDegrees, float endDegrees) override;
    void Close() override;
    bool IsEmpty() const override { return mOps.empty(); }
    // Makes the path the context's current path.
    void Replay(cairo_t* cr) const;

private:
    enum class Op { Move, Line, Curve, Rect, Arc, Close };
    struct Step {
        Op op;
        double v[6];
    };
    std::vector<Step> mOps;
};

class CairoFont final : public FontInterface {
public:
    CairoFont(std::u16string family, float size, bool bold = false);
    ~CairoFont() override { pango_font_description_free(mDescription); }
    std::u16string GetFamily() const override { return mFamily; }
    float GetSize() const override { return mSize; }
    const PangoFontDescription* Description() const { return mDescription; }

private:
    std::u16string mFamily;
    float mSize;
    PangoFontDescription* mDescription;
};

// Premultiplied ARGB32 pixels in a Cairo image surface.
class CairoImage final : public ImageInterface {
public:
    explicit CairoImage(cairo_surface_t* image) : mImage(image) {}
    ~CairoImage() override { cairo_surface_destroy(mImage); }
    int GetWidth() const override { return cairo_image_surface_get_width(mImage); }
    int GetHeight() const override { return cairo_image_surface_get_height(mImage); }
    int GetStride() const override { return cairo_image_surface_get_stride(mImage); }
    const std::uint8_t* GetPixels() const override { return cairo_image_surface_get_data(mImage); }

private:
    cairo_surface_t* mImage;
};

// Fonts, text settings and the factory for everything else.
class CairoSupplier final : public SupplierInterface {
public:
    explicit CairoSupplier(bool deviceDependentText);
    ~CairoSupplier() override;
    CairoSupplier(const CairoSupplier&) = delete;
    CairoSupplier& operator=(const CairoSupplier&) = delete;

    boost::intrusive_ptr<SurfaceInterface> NewOffscreenSurface(int width, int height,
                                                               bool opaque) override;
    boost::intrusive_ptr<BrushInterface> NewSolidBrush(const ColorRGBA& color) override;
    boost::intrusive_ptr<PenInterface> NewSolidPen(const ColorRGBA& color, float width) override;
    boost::intrusive_ptr<ShaderInterface> NewLinearShader(PointF start, PointF end,
                                                          const ColorRGBA& startColor,
                                                          const ColorRGBA& endColor) override;
    boost::intrusive_ptr<ShaderInterface> NewRadialShader(PointF centre, PointF rim,
                                                          const ColorRGBA& startColor,
                                                          const ColorRGBA& endColor) override;
    boost::intrusive_ptr<PathInterface> NewPath() override;
    boost::intrusive_ptr<FontInterface> NewFont(std::u16string_view family, float size) override;
    boost::intrusive_ptr<ImageInterface> NewImageFromBuffer(int flags, const void* bytes,
                                                            std::size_t size) override;
    FontMetrics GetFontMetrics(const FontInterface& font) override;
    float MeasureString(const FontInterface& font, std::u16string_view text) override;
    float MeasureMultiLineStringHeight(const FontInterface& font, std::u16string_view text,
                                       float width) override;
    boost::intrusive_ptr<FontInterface> NewBoldFont(std::u16string_view family, float size) override;
    std::size_t HitTestString(const FontInterface& font, std::u16string_view text, float x) override;
    float GetCaretOffset(const FontInterface& font, std::u16string_view text,
                         std::size_t index) override;

    // A Pango context on this supplier's fonts, set up for the given text
    // rendering (the caller unrefs it).
    PangoContext* NewTextContext() const;
    static void ConfigureText(PangoContext* context, bool deviceDependent, bool antiAlias);
    bool DeviceDependentText() const { return mDeviceDependentText; }

private:
    bool mDeviceDependentText;
    FcConfig* mFontConfig = nullptr;
    PangoFontMap* mFontMap = nullptr;
    PangoContext* mMeasureContext = nullptr;
};

class CairoSurface final : public SurfaceInterface {
public:
    CairoSurface(std::shared_ptr<CairoSupplier> supplier, int width, int height, bool opaque);
    ~CairoSurface() override;

    int GetWidth() const override { return mWidth; }
    int GetHeight() const override { return mHeight; }
    std::shared_ptr<SupplierInterface> GetSupplier() const override { return mSupplier; }

    void PushState() override;
    bool PopState() override;
    int GetStateDepth() const override { return static_cast<int>(mSaved.size()); }

    void FillRect(const RectF& rect, const BrushInterface& brush) override;
    void FillPath(const PathInterface& path, const BrushInterface& brush, bool evenOdd) override;
    void StrokePath(const PathInterface& path, const PenInterface& pen) override;
    void ShadePath(const PathInterface& path, const ShaderInterface& shader, bool evenOdd) override;

    void DrawString(const BrushInterface& brush, const FontInterface& font,
                    std::u16string_view text, PointF origin, TextAlignment alignment,
                    float boxWidth, TextTruncation truncation) override;
    void DrawMultiLineString(const BrushInterface& brush, const FontInterface& font,
                             std::u16string_view text, const RectF& rect,
                             TextAlignment alignment) override;
    float MeasureString(const FontInterface& font, std::u16string_view text) override;

    void ClipToPath(const PathInterface& path, bool antiAlias) override;
    RectF GetClipBounds() const override;
    bool IsWithinClipBounds(const RectF& rect) const override;

    void ConcatTransform(const MatrixF& matrix) override;
    MatrixF GetTransform() const override;
    PointF GetTransformToScreenScale() const override;

    void DrawImage(const ImageInterface& image, PointF topLeft, float opacity) override;
    void DrawImage(const ImageInterface& image, const RectF& dest, const RectF* source,
                   float opacity) override;

    void SetAntiAliasPolicy(AntiAliasPolicy policy) override;
    AntiAliasPolicy GetAntiAliasPolicy() const override { return mState.antiAlias; }
    void SetInterpolationPolicy(InterpolationPolicy policy) override;
    InterpolationPolicy GetInterpolationPolicy() const override { return mState.interpolation; }
    void SetDeviceDependentTextRendering(bool on) override { mState.deviceDependentText = on; }
    bool GetDeviceDependentTextRendering() const override { return mState.deviceDependentText; }

    boost::intrusive_ptr<ImageInterface> GetSurfaceImage() override;
    void Flush() override;

private:
    struct State {
        AntiAliasPolicy antiAlias = AntiAliasPolicy::High;
        InterpolationPolicy interpolation = InterpolationPolicy::Med;
        bool deviceDependentText = false;
    };

    // A layout of `text` in `font` on this surface, its context brought up
    // to date with the transform and text settings (the caller unrefs it).
    PangoLayout* NewLayout(const FontInterface& font, std::u16string_view text);
    void SetSourceColor(const ColorRGBA& color);
    void CheckStatus() const;

    std::shared_ptr<CairoSupplier> mSupplier;
    int mWidth;
    int mHeight;
    cairo_surface_t* mTarget = nullptr;
    cairo_t* mCr = nullptr;
    PangoContext* mTextContext = nullptr;
    State mState;
    std::vector<State> mSaved;
};

} // namespace vyrui::drawbot::cairo
