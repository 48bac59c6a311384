// A top-level window: the root of a node tree that the platform shows. It
// owns the tree's dirty region (as any root does), has a title, a display
// scale factor and a draw supplier, and renders through the function the
// application installs (to the screen, or headless to an image).
#pragma once

#include "vyrui/ui/UI_Node.h"

#include <functional>
#include <string>
#include <vector>

#include <boost/intrusive_ptr.hpp>

namespace vyrui::drawbot {
class PainterCache;
class SurfaceInterface;
}
namespace vyrui::controls {
class UI_ControlView;
}
namespace vyrui {
class EventLoop;
}

namespace vyrui::ui {

class OS_Window : public UI_Node {
public:
    // Registers with the node manager's window list.
    explicit OS_Window(std::string id = {}, const RectF& structureRect = {}, std::u16string title = {});
    ~OS_Window() override;

    const std::u16string& GetTitle() const { return mTitle; }
    void SetTitle(std::u16string title) { mTitle = std::move(title); }

    // Must be finite and > 0 (HostException otherwise).
    void SetViewScaleFactor(float scale);
    float GetViewScaleFactor() const override { return mScale; }
    // The scale the window's content should be drawn at on its display.
    float GetRecommendedScaleFactor() const { return mScale; }

    // The window's frame on the screen: a top-level window's rectangle is
    // its place on the screen; a window inside another tree reports its
    // global rectangle and is placed relative to its parent.
    void UI_SetGlobalStructureRect(const RectF& rect);
    RectF UI_GetGlobalStructureRect() const;

    // The window this one belongs to (a dialog's document window); a window
    // opened without a place of its own is centred on its owner. Weak.
    void SetOwner(OS_Window* owner);
    boost::intrusive_ptr<OS_Window> GetOwner() const;
    // Brings the window to the front: the application becomes frontmost and
    // the window the node manager's active one.
    void UI_Activate();

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
    vyrcore::utility::WeakPtr<UI_Node> mOwner;
};

// A transient window (menus, pop-overs).
class OS_PopupWindow : public OS_Window {
public:
    using OS_Window::OS_Window;
};

// A dialog: a window that can run modally, refusing input to other trees
// while it does. RunModal blocks in a nested event loop that the
// application installs (SetModalLoop) until the run ends with a result:
// EndModal(result), a click on a button given a result, Enter (the default
// button), Escape or closing (the cancel button, else the cancel result).
class UI_Dialog : public OS_Window {
public:
    // Hidden until it runs (or is shown).
    explicit UI_Dialog(std::string id = {}, const RectF& structureRect = {}, std::u16string title = {});
    ~UI_Dialog() override;

    // Modal without blocking: input to other trees is refused until
    // EndModal. EndModal() keeps the result as it is.
    void BeginModal();
    void EndModal();
    void EndModal(int result);
    bool IsModal() const { return mModal; }
    // The result of the last modal run (the cancel result until one ends).
    int GetModalResult() const { return mResult; }

    // Shows the dialog (centred on its owner when it has no place of its
    // own), makes it modal and runs the installed modal loop until the run
    // ends; hides it and returns its result. HostException when the dialog is closed or
    // runs already.
    int RunModal();
    bool IsRunningModal() const { return mRunning; }

    // The nested loop: runs until the dialog is no longer modal. Returns the
    // loop installed before. Without one, RunModalOnEventLoop with the node
    // manager's loop.
    using ModalLoop = std::function<void(UI_Dialog&)>;
    static ModalLoop SetModalLoop(ModalLoop loop);

    // Enter clicks the default button, Escape and closing click the cancel
    // button; a click on either ends the run with `result`. A button given
    // a result with SetButtonResult ends the run with it when clicked. Null
    // clears the role. Buttons are held weakly.
    void SetDefaultButton(controls::UI_ControlView* button, int result = 1);
    void SetCancelButton(controls::UI_ControlView* button, int result = 0);
    void SetButtonResult(controls::UI_ControlView& button, int result);
    boost::intrusive_ptr<controls::UI_ControlView> GetDefaultButton() const;
    boost::intrusive_ptr<controls::UI_ControlView> GetCancelButton() const;
    // What Escape without a cancel button, closing and an unanswered run
    // give (0 until set; SetCancelButton sets it too).
    void SetCancelResult(int result) { mCancelResult = result; }
    int GetCancelResult() const { return mCancelResult; }

    // The user's answer "cancel": clicks the cancel button when there is an
    // enabled one, else ends a modal run with the cancel result.
    void Cancel();
    // Title or ID, for messages.
    std::string DisplayName() const;

    // Closing is cancelling: a modal run ends with the cancel result.
    void Close() override;

protected:
    bool UI_OnKeyboardEvent(const events::KeyboardEvent& event) override;

private:
    struct ResultButton {
        vyrcore::utility::WeakPtr<UI_Node> button;
        int result = 0;
    };
    void ButtonClicked(const UI_Node* button);
    void FinishRun();

    bool mModal = false;
    bool mRunning = false;
    int mResult = 0;
    int mCancelResult = 0;
    vyrcore::utility::WeakPtr<UI_Node> mDefault;
    vyrcore::utility::WeakPtr<UI_Node> mCancel;
    std::vector<ResultButton> mResults;
};

// Runs `loop` until `dialog` is no longer modal. A run that goes unanswered
// (the loop has nothing left to do, or keeps running past its limits: 1000
// passes, or an hour on a virtual clock and a second on a real one) ends
// with the cancel result and is reported through the host error service as
// "<prefix>dialog '<name>' was not answered".
void RunModalOnEventLoop(UI_Dialog& dialog, EventLoop* loop, const std::string& prefix);

} // namespace vyrui::ui
