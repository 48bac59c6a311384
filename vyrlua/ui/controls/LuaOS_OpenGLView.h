// The host's OpenGL view with each frame hook open to a Lua function bound
// (with bindGLOperation) under a fixed operation name. The hooks go through
// the node's binder like every other notification:
//
//   "initOpenGL", "endOpenGL": called with no arguments.
//   "preDraw", "draw", "postDraw": called with the back buffer's width and
//   height in pixels, then the view.
//
// A hook whose function returns true has handled the step: the host's own
// step is skipped. Otherwise (nothing bound, nil, false, or an error, which
// is reported) the host's step runs after it. The host's steps: InitOpenGL
// sets a hint; PreDrawOpenGL sets the viewport and matrices and clears;
// DrawOpenGL does nothing; PostDrawOpenGL reads the frame back for the
// window; EndOpenGL does nothing. So a "draw" function needs no result, a
// "preDraw" function that sets its own matrices returns true (calling
// view:preDrawOpenGL() first when it wants the host's set-up as a start),
// and a "postDraw" function returning true keeps the frame off the window
// unless it calls view:postDrawOpenGL().
#pragma once

#include "vyrui/ui/OS_OpenGLView.h"

#include <array>

namespace vyrlua::ui {

// The operation names, in their published order.
inline constexpr std::array<const char*, 5> kOpenGLOperations = {
    "preDraw", "draw", "postDraw", "initOpenGL", "endOpenGL",
};

class LuaOS_OpenGLView : public vyrui::ui::OS_OpenGLView {
public:
    using OS_OpenGLView::OS_OpenGLView;

    void InitOpenGL() override;
    void PreDrawOpenGL() override;
    void DrawOpenGL() override;
    void PostDrawOpenGL() override;
    void EndOpenGL() override;

private:
    // Whether the function bound to `operation` handled it.
    bool Notify(const char* operation, bool frame);
};

} // namespace vyrlua::ui
