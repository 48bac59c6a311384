#include "vyrui/ui/OS_Window.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <cmath>

namespace vyrui::ui {

OS_Window::OS_Window(std::string id, const RectF& structureRect)
    : UI_Node(std::move(id), structureRect)
{
    UI_NodeManager::Get(true)->RegisterWindow(*this);
}

OS_Window::~OS_Window()
{
    if (UI_NodeManager* manager = UI_NodeManager::Get(false))
        manager->UnregisterWindow(*this);
}

void OS_Window::SetViewScaleFactor(float scale)
{
    if (!std::isfinite(scale) || scale <= 0)
        throw vyrcore::config::HostException("OS_Window: the scale factor must be finite and > 0");
    mScale = scale;
    UI_Invalidate();
}

void OS_Window::UI_DrawSelf(drawbot::Drawbot& drawbot)
{
    drawbot::Painter(drawbot).Fill(UI_GetBoundsF(),
                                   ResolvedTheme(*this).Color(kThemeColor_WindowBackground));
}

void OS_Window::SetDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier)
{
    mSupplier = std::move(supplier);
}

std::shared_ptr<drawbot::SupplierInterface> OS_Window::UI_GetDrawSupplier() const
{
    if (mSupplier)
        return mSupplier;
    return UI_Node::UI_GetDrawSupplier();
}

boost::intrusive_ptr<drawbot::SurfaceInterface> OS_Window::RenderToSurface()
{
    std::shared_ptr<drawbot::SupplierInterface> supplier = UI_GetDrawSupplier();
    const RectF& rect = UI_GetLocalRectF();
    double width = std::ceil(static_cast<double>(rect.width) * mScale);
    double height = std::ceil(static_cast<double>(rect.height) * mScale);
    if (!supplier || !(width >= 1 && height >= 1) || width > 1e6 || height > 1e6)
        return {};
    boost::intrusive_ptr<drawbot::SurfaceInterface> surface =
        supplier->NewOffscreenSurface(static_cast<int>(width), static_cast<int>(height), true);
    if (!surface)
        return {};
    drawbot::Drawbot drawbot(supplier, surface);
    if (mScale != 1) {
        vyrcore::geom::MatrixF zoom;
        zoom.m[0] = mScale;
        zoom.m[4] = mScale;
        surface->ConcatTransform(zoom);
    }
    UI_Draw(drawbot);
    return surface;
}

void OS_Window::UI_UpdateNow()
{
    if (UI_GetParentNode()) {
        UI_Node::UI_UpdateNow();
        return;
    }
    RectI dirty = UI_GetDirtyRegion();
    if (dirty.width <= 0 || dirty.height <= 0 || !mRender)
        return;
    UI_ClearDirtyRegion();
    ++mRenders;
    mRender(*this, dirty);
}

UI_Dialog::~UI_Dialog()
{
    if (mModal) {
        if (UI_NodeManager* manager = UI_NodeManager::Get(false))
            manager->EndModal(*this);
    }
}

void UI_Dialog::BeginModal()
{
    mModal = true;
    UI_NodeManager::Get(true)->BeginModal(*this);
}

void UI_Dialog::EndModal()
{
    mModal = false;
    UI_NodeManager::Get(true)->EndModal(*this);
}

} // namespace vyrui::ui
