// A top-level window: the root of a node tree that the platform shows. It
// owns the tree's dirty region (as any root does), has a title, a display
// scale factor and a draw supplier, and renders through the function the
// application installs (to the screen, or headless to an image).
#pragma once

#include "vyrui/ui/UI_Node.h"

#include <functional>
#include <string>

#include <boost/intrusive_ptr.hpp>

namespace vyrui::drawbot {
class PainterCache;
class SurfaceInterface;
}

namespace vyrui::ui {

class OS_Window : public UI_Node {
public:
    // Registers with the node manager's window list.
    explicit OS_Window(std::string id = {}, const RectF& structureRect = {});
    ~OS_Window() override;

    const std::u16string& GetTitle() const { return mTitle; }
    void SetTitle(std::u16string title) { mTitle = std::move(title); }

    // Must be finite and > 0 (HostException otherwise).
    void SetViewScaleFactor(float scale);
    float GetViewScaleFactor() const override { return mScale; }

    // The theme's window background under everything.
    void UI_DrawSelf(drawbot::Drawbot& drawbot) override;

    void SetDrawSupplier(std::shared_ptr<drawbot::SupplierInterface> supplier);
    std::shared_ptr<drawbot::SupplierInterface> UI_GetDrawSupplier() const override;

    // Draws the whole window into a new opaque surface of its size times its
    // scale factor, made by its draw supplier. Null for an empty window or
    // without a supplier.
    boost::intrusive_ptr<drawbot::SurfaceInterface> RenderToSurface();

    // Draws `dirty` (window coordinates) into the window's own surface,
    // which it keeps between updates, and returns that surface: pixels
    // outside the area stay as they were and only nodes that reach into it
    // draw. The first time, or after a change of size, scale or supplier,
    // the whole window is drawn. Null when RenderToSurface would be.
    boost::intrusive_ptr<drawbot::SurfaceInterface> RenderRegion(const RectI& dirty);
    const boost::intrusive_ptr<drawbot::SurfaceInterface>& GetRetainedSurface() const
    {
        return mRetained;
    }

    // Presents `dirty` (window coordinates) of the window; without one, the
    // window renders the region into its own surface (RenderRegion).
    using RenderFunction = std::function<void(OS_Window& window, const RectI& dirty)>;
    void SetRenderFunction(RenderFunction render) { mRender = std::move(render); }
    // Renders the dirty region, if any, and clears it.
    void UI_UpdateNow() override;
    int RenderCount() const { return mRenders; }

    // What the platform does when the user closes the window: it leaves the
    // window list (and a modal run), stops rendering, and every node of its
    // tree loses its timers and handlers (UI_ReleaseHandlers). The nodes
    // themselves live on while something holds them. Closing twice does
    // nothing more.
    virtual void Close();
    bool IsClosed() const { return mClosed; }

private:
    std::u16string mTitle;
    float mScale = 1;
    std::shared_ptr<drawbot::SupplierInterface> mSupplier;
    boost::intrusive_ptr<drawbot::SurfaceInterface> mRetained;
    float mRetainedScale = 0;
    // Brushes, pens and fonts kept from frame to frame.
    std::shared_ptr<drawbot::PainterCache> mPainterCache;
    RenderFunction mRender;
    int mRenders = 0;
    bool mClosed = false;
};

// A transient window (menus, pop-overs).
class OS_PopupWindow : public OS_Window {
public:
    using OS_Window::OS_Window;
};

// A dialog: a window that can run modally, refusing input to other trees
// while it does.
class UI_Dialog : public OS_Window {
public:
    using OS_Window::OS_Window;
    ~UI_Dialog() override;
    void BeginModal();
    void EndModal();
    bool IsModal() const { return mModal; }
    void Close() override;

private:
    bool mModal = false;
};

} // namespace vyrui::ui
