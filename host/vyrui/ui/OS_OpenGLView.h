// A view whose content is drawn with OpenGL. It owns an offscreen GL context
// (vyrui::gl::GLContext) and runs a frame each time the node draws:
// InitOpenGL once per context, then PreDrawOpenGL (viewport and matrices),
// DrawOpenGL and PostDrawOpenGL (the frame read back), after which the frame
// is composited into the window's surface through the drawing transform and
// clip that the node draws with. The same path serves an on-screen window
// and headless rendering to images.
//
// Where no GL can be had at all, the view reports it once through the error
// service and draws its background colour.
#pragma once

#include "vyrui/ui/UI_Node.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace vyrui::gl {
class GLContext;
}
namespace vyrui::drawbot {
class SurfaceInterface;
}

namespace vyrui::ui {

// What every OpenGL view has apart from the context: the view matrix and the
// scale recorded at the last frame.
class OS_OpenGLViewBase : public UI_Node {
public:
    using UI_Node::UI_Node;

    // The 2D matrix (row-vector convention, as the drawing layer's) that
    // PreDrawOpenGL loads as the model-view matrix; identity at first.
    void SetViewMatrix(const vyrcore::geom::MatrixF& matrix) { mViewMatrix = matrix; }
    const vyrcore::geom::MatrixF& GetViewMatrix() const { return mViewMatrix; }
    // How long one unit of the view's drawing space was on the screen, along
    // x and y, when the view last drew; (1, 1) before it first drew.
    PointF GetLastDrawnTransformToScreenScale() const { return mLastScale; }

protected:
    void SetLastDrawnTransformToScreenScale(PointF scale) { mLastScale = scale; }

private:
    vyrcore::geom::MatrixF mViewMatrix;
    PointF mLastScale{1, 1};
};

class OS_OpenGLView : public OS_OpenGLViewBase {
public:
    explicit OS_OpenGLView(std::string id = {}, const RectF& rect = {});
    ~OS_OpenGLView() override;

    // The frame hooks, called in this order by UI_DrawSelf with the view's
    // context current and its frame buffer bound.
    // Once per context: asks for the nicest perspective correction.
    virtual void InitOpenGL();
    // The viewport covers the back buffer, the projection is identity (the
    // view spans -1..1 on both axes), the model-view is the view matrix, and
    // the buffers are cleared (colour to the background colour).
    virtual void PreDrawOpenGL();
    // Nothing: what the view shows is a subclass's.
    virtual void DrawOpenGL() {}
    // Finishes the frame and reads it back for compositing.
    virtual void PostDrawOpenGL();
    // At tear-down, with the context current: nothing by default.
    virtual void EndOpenGL() {}
    // From the next frame, a back buffer at the display's pixel density
    // (the drawing transform's scale to the screen) instead of one pixel per
    // view unit.
    virtual void EnableHiDPIBackBuffer() { mHiDPI = true; }
    bool IsHiDPIBackBufferEnabled() const { return mHiDPI; }

    // Makes the view's context current on the calling thread, creating the
    // context on first use and then, with `initialise`, running InitOpenGL
    // once for it. Outside a frame it binds a frame buffer sized to the
    // view, as the next frame's will be. False, after reporting once, when
    // no GL can be had.
    bool MakeContextCurrent(bool initialise = true);
    // Runs EndOpenGL (when InitOpenGL ran) and drops the context; the next
    // frame starts a new one. Done for every view while it is still whole
    // (so a subclass's EndOpenGL runs): when its handlers are released (its
    // window closes) and when its last use goes.
    void TearDownOpenGL();

    void SetBackgroundColor(const drawbot::ColorRGBA& color) { mBackground = color; }
    const drawbot::ColorRGBA& GetBackgroundColor() const { return mBackground; }

    // The back buffer's size in pixels at the last frame (0 before).
    int GetBackBufferWidth() const { return mFrameWidth; }
    int GetBackBufferHeight() const { return mFrameHeight; }
    int FrameCount() const { return mFrames; }

    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;

protected:
    void UI_OnReleaseHandlers() override;
    void OnLastUse() noexcept override;

private:
    bool EnsureContext();
    // TearDownOpenGL, reporting what fails.
    void TearDownReporting() noexcept;
    // Outside a frame: gives the context a frame buffer of the size the next
    // frame will have.
    void SizeFramebuffer();
    void Composite(drawbot::SurfaceInterface& surface, const RectF& bounds);

    std::unique_ptr<gl::GLContext> mContext;
    bool mInitialised = false;
    bool mReported = false;
    bool mHiDPI = false;
    bool mDrawing = false;
    drawbot::ColorRGBA mBackground{0, 0, 0, 1};
    std::vector<std::uint32_t> mFrame;
    int mFrameWidth = 0;
    int mFrameHeight = 0;
    int mFrames = 0;
};

} // namespace vyrui::ui
