#include "vyrui/ui/OS_OpenGLView.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/gl/GLContext.h"

#include <GL/gl.h>

#include <cmath>

namespace vyrui::ui {

namespace {

// The read-back frame as the drawing layer's image: borrowed pixels, alive
// only while the view composites them.
class FrameImage final : public drawbot::ImageInterface {
public:
    FrameImage(const std::uint32_t* pixels, int width, int height)
        : mPixels(pixels), mWidth(width), mHeight(height)
    {
    }
    int GetWidth() const override { return mWidth; }
    int GetHeight() const override { return mHeight; }
    int GetStride() const override { return mWidth * 4; }
    const std::uint8_t* GetPixels() const override
    {
        return reinterpret_cast<const std::uint8_t*>(mPixels);
    }

private:
    const std::uint32_t* mPixels;
    int mWidth;
    int mHeight;
};

// Pixels for `units` view units at `scale` pixels each, at least one.
int BackBufferSide(float units, float scale)
{
    double pixels = std::ceil(static_cast<double>(units) * scale - 1e-3);
    if (!(pixels >= 1))
        return 1;
    return pixels > gl::GLContext::kMaxSide ? gl::GLContext::kMaxSide : static_cast<int>(pixels);
}

} // namespace

OS_OpenGLView::OS_OpenGLView(std::string id, const RectF& rect)
    : OS_OpenGLViewBase(std::move(id), rect)
{
}

OS_OpenGLView::~OS_OpenGLView()
{
    // Done already unless the view was never use-counted.
    TearDownReporting();
}

void OS_OpenGLView::TearDownReporting() noexcept
{
    try {
        TearDownOpenGL();
    } catch (const std::exception& e) {
        vyrcore::config::ReportError(e.what());
    }
}

void OS_OpenGLView::UI_OnReleaseHandlers()
{
    TearDownReporting();
}

void OS_OpenGLView::OnLastUse() noexcept
{
    TearDownReporting();
}

bool OS_OpenGLView::EnsureContext()
{
    if (mContext)
        return true;
    try {
        mContext = std::make_unique<gl::GLContext>();
    } catch (const std::exception& e) {
        if (!mReported) {
            mReported = true;
            vyrcore::config::ReportError(e.what());
        }
        return false;
    }
    mInitialised = false;
    return true;
}

bool OS_OpenGLView::MakeContextCurrent(bool initialise)
{
    if (!EnsureContext())
        return false;
    mContext->MakeCurrent();
    if (!mDrawing)
        SizeFramebuffer();
    if (initialise && !mInitialised) {
        mInitialised = true;
        InitOpenGL();
    }
    return true;
}

void OS_OpenGLView::TearDownOpenGL()
{
    if (!mContext)
        return;
    if (mInitialised) {
        mInitialised = false;
        mContext->MakeCurrent();
        EndOpenGL();
    }
    mContext.reset();
}

void OS_OpenGLView::SizeFramebuffer()
{
    const RectF bounds = UI_GetBoundsF();
    const PointF scale = GetLastDrawnTransformToScreenScale();
    mContext->SetFramebufferSize(BackBufferSide(bounds.width, mHiDPI ? scale.x : 1),
                                 BackBufferSide(bounds.height, mHiDPI ? scale.y : 1));
}

void OS_OpenGLView::InitOpenGL()
{
    glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST);
}

void OS_OpenGLView::PreDrawOpenGL()
{
    glViewport(0, 0, mFrameWidth, mFrameHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    // The 2D row-vector matrix as a column-major 4x4 one.
    const auto& m = GetViewMatrix().m;
    const GLfloat modelView[16] = {m[0], m[1], 0, 0, m[3], m[4], 0, 0,
                                   0,    0,    1, 0, m[6], m[7], 0, 1};
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixf(modelView);
    glClearColor(mBackground.red, mBackground.green, mBackground.blue, mBackground.alpha);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

void OS_OpenGLView::PostDrawOpenGL()
{
    if (!mContext)
        return;
    // A hook may have made another view's context current.
    mContext->MakeCurrent();
    glFinish();
    mFrame = mContext->ReadFrame();
}

void OS_OpenGLView::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    drawbot::SurfaceInterface* surface = drawbot.GetSurface();
    const RectF bounds = UI_GetBoundsF();
    if (!surface || bounds.IsEmpty())
        return;
    // A hook that draws the window again gets the last frame, not a frame
    // inside a frame.
    if (mDrawing) {
        Composite(*surface, bounds);
        return;
    }
    SetLastDrawnTransformToScreenScale(surface->GetTransformToScreenScale());
    // Sizes the frame buffer for this frame.
    if (!MakeContextCurrent()) {
        boost::intrusive_ptr<drawbot::BrushInterface> brush =
            drawbot.GetSupplier()->NewSolidBrush(mBackground);
        surface->FillRect(bounds, *brush);
        return;
    }
    // An "initOpenGL" function may have torn the context down again.
    if (!mContext)
        return;
    mContext->MakeCurrent();
    mFrameWidth = mContext->Width();
    mFrameHeight = mContext->Height();
    mFrame.clear();
    ++mFrames;
    mDrawing = true;
    try {
        PreDrawOpenGL();
        DrawOpenGL();
        PostDrawOpenGL();
    } catch (...) {
        mDrawing = false;
        throw;
    }
    mDrawing = false;
    Composite(*surface, bounds);
}

void OS_OpenGLView::Composite(drawbot::SurfaceInterface& surface, const RectF& bounds)
{
    // Nothing when a hook skipped the read-back.
    if (mFrame.empty() ||
        mFrame.size() != static_cast<size_t>(mFrameWidth) * static_cast<size_t>(mFrameHeight))
        return;
    FrameImage image(mFrame.data(), mFrameWidth, mFrameHeight);
    surface.DrawImage(image, bounds, nullptr, 1);
}

} // namespace vyrui::ui
