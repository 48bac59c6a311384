#include "vyrlua/ui/controls/LuaOS_OpenGLView.h"

#include "vyrui/ui/UI_Binder.h"

namespace vyrlua::ui {

bool LuaOS_OpenGLView::Notify(const char* operation, bool frame)
{
    if (!frame)
        return vyrui::ui::UI_NotifyBinder(*this, operation, {}, false);
    return vyrui::ui::UI_NotifyBinder(*this, operation,
                                      {GetBackBufferWidth(), GetBackBufferHeight()}, true);
}

void LuaOS_OpenGLView::InitOpenGL()
{
    if (!Notify("initOpenGL", false))
        OS_OpenGLView::InitOpenGL();
}

void LuaOS_OpenGLView::PreDrawOpenGL()
{
    if (!Notify("preDraw", true))
        OS_OpenGLView::PreDrawOpenGL();
}

void LuaOS_OpenGLView::DrawOpenGL()
{
    if (!Notify("draw", true))
        OS_OpenGLView::DrawOpenGL();
}

void LuaOS_OpenGLView::PostDrawOpenGL()
{
    if (!Notify("postDraw", true))
        OS_OpenGLView::PostDrawOpenGL();
}

void LuaOS_OpenGLView::EndOpenGL()
{
    if (!Notify("endOpenGL", false))
        OS_OpenGLView::EndOpenGL();
}

} // namespace vyrlua::ui
