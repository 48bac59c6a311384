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

namespace {

// The window's size in device pixels; false when there is nothing to draw
// or too much.
bool DeviceSize(const RectF& rect, float scale, int& width, int& height)
{
    double w = std::ceil(static_cast<double>(rect.width) * scale);
    double h = std::ceil(static_cast<double>(rect.height) * scale);
    if (!(w >= 1 && h >= 1) || w > 1e6 || h > 1e6)
        return false;
    width = static_cast<int>(w);
    height = static_cast<int>(h);
    return true;
}

void Zoom(drawbot::SurfaceInterface& surface, float scale)
{
    if (scale == 1)
        return;
    vyrcore::geom::MatrixF zoom;
    zoom.m[0] = scale;
    zoom.m[4] = scale;
    surface.ConcatTransform(zoom);
}

} // namespace

boost::intrusive_ptr<drawbot::SurfaceInterface> OS_Window::RenderToSurface()
{
    std::shared_ptr<drawbot::SupplierInterface> supplier = UI_GetDrawSupplier();
    int width = 0, height = 0;
    if (!supplier || !DeviceSize(UI_GetLocalRectF(), mScale, width, height))
        return {};
    boost::intrusive_ptr<drawbot::SurfaceInterface> surface =
        supplier->NewOffscreenSurface(width, height, true);
    if (!surface)
        return {};
    if (!mPainterCache)
        mPainterCache = std::make_shared<drawbot::PainterCache>();
    drawbot::Drawbot drawbot(supplier, surface, mPainterCache);
    Zoom(*surface, mScale);
    UI_Draw(drawbot);
    return surface;
}

boost::intrusive_ptr<drawbot::SurfaceInterface> OS_Window::RenderRegion(const RectI& dirty)
{
    std::shared_ptr<drawbot::SupplierInterface> supplier = UI_GetDrawSupplier();
    int width = 0, height = 0;
    if (!supplier || !DeviceSize(UI_GetLocalRectF(), mScale, width, height)) {
        mRetained.reset();
        return {};
    }
    RectI area = dirty;
    if (!mRetained || mRetained->GetWidth() != width || mRetained->GetHeight() != height ||
        mRetainedScale != mScale || mRetained->GetSupplier() != supplier) {
        mRetained = supplier->NewOffscreenSurface(width, height, true);
        mRetainedScale = mScale;
        area = RoundOutward(UI_GetBoundsF());
    }
    if (area.width <= 0 || area.height <= 0)
        return mRetained;
    if (!mPainterCache)
        mPainterCache = std::make_shared<drawbot::PainterCache>();
    drawbot::Drawbot drawbot(supplier, mRetained, mPainterCache);
    mRetained->PushState();
    try {
        Zoom(*mRetained, mScale);
        boost::intrusive_ptr<drawbot::PathInterface> clip = supplier->NewPath();
        clip->AddRect({static_cast<float>(area.left), static_cast<float>(area.top),
                       static_cast<float>(area.width), static_cast<float>(area.height)});
        mRetained->ClipToPath(*clip, false);
        UI_Draw(drawbot);
    } catch (...) {
        mRetained->PopState();
        throw;
    }
    mRetained->PopState();
    return mRetained;
}

void OS_Window::UI_UpdateNow()
{
    if (UI_GetParentNode()) {
        UI_Node::UI_UpdateNow();
        return;
    }
    RectI dirty = UI_GetDirtyRegion();
    if (dirty.width <= 0 || dirty.height <= 0)
        return;
    UI_ClearDirtyRegion();
    ++mRenders;
    if (mRender)
        mRender(*this, dirty);
    else
        RenderRegion(dirty);
}

void OS_Window::Close()
{
    if (mClosed)
        return;
    mClosed = true;
    Ptr keep(this);
    if (UI_NodeManager* manager = UI_NodeManager::Get(false))
        manager->UnregisterWindow(*this);
    mRender = nullptr;
    UI_ReleaseHandlers();
}

void UI_Dialog::Close()
{
    if (mModal)
        EndModal();
    OS_Window::Close();
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
