#include "vyrui/ui/OS_Window.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrui/EventLoop.h"
#include "vyrui/controls/UI_ControlView.h"
#include "vyrui/drawbot/Painter.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <cmath>

namespace vyrui::ui {

OS_Window::OS_Window(std::string id, const RectF& structureRect, std::u16string title)
    : UI_Node(std::move(id), structureRect), mTitle(std::move(title))
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

void OS_Window::UI_SetGlobalStructureRect(const RectF& rect)
{
    RectF local = rect;
    if (UI_Node* parent = UI_GetParentNode()) {
        PointF origin = parent->UI_GlobalToLocalPointF({rect.left, rect.top});
        local.left = origin.x;
        local.top = origin.y;
    }
    UI_SetLocalRectF(local);
}

RectF OS_Window::UI_GetGlobalStructureRect() const
{
    if (!UI_GetParentNode())
        return UI_GetLocalRectF();
    const RectF& local = UI_GetLocalRectF();
    return UI_LocalToGlobalRectF({0, 0, local.width, local.height});
}

void OS_Window::SetOwner(OS_Window* owner)
{
    for (OS_Window* o = owner; o; o = o->GetOwner().get()) {
        if (o == this)
            throw vyrcore::config::HostException("SetOwner: a window cannot own itself");
    }
    mOwner.Reset(owner);
}

boost::intrusive_ptr<OS_Window> OS_Window::GetOwner() const
{
    UI_Node::Ptr owner = mOwner.Lock();
    return boost::intrusive_ptr<OS_Window>(static_cast<OS_Window*>(owner.get()));
}

void OS_Window::UI_Activate()
{
    UI_NodeManager* manager = UI_NodeManager::Get(true);
    manager->SetApplicationFrontmost(true);
    manager->SetActiveWindow(*this);
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

UI_Dialog::UI_Dialog(std::string id, const RectF& structureRect, std::u16string title)
    : OS_Window(std::move(id), structureRect, std::move(title))
{
    UI_Show(false);
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

void UI_Dialog::EndModal(int result)
{
    mResult = result;
    EndModal();
}

namespace {

UI_Dialog::ModalLoop& InstalledModalLoop()
{
    static UI_Dialog::ModalLoop loop;
    return loop;
}

// Where a dialog opens when the script gave it no place: centred on its
// owner, else on the active window.
void PlaceOnOwner(UI_Dialog& dialog)
{
    RectF rect = dialog.UI_GetLocalRectF();
    if (rect.left != 0 || rect.top != 0 || dialog.UI_GetParentNode())
        return;
    UI_Node::Ptr owner = dialog.GetOwner();
    if (!owner)
        owner = UI_NodeManager::Get(true)->GetActiveWindow();
    if (!owner || owner.get() == &dialog)
        return;
    RectF frame = static_cast<OS_Window&>(*owner).UI_GetGlobalStructureRect();
    rect.left = std::round(frame.left + (frame.width - rect.width) / 2);
    rect.top = std::round(frame.top + (frame.height - rect.height) / 2);
    dialog.UI_SetLocalRectF(rect);
}

} // namespace

int UI_Dialog::RunModal()
{
    if (IsClosed())
        throw vyrcore::config::HostException("RunModal: dialog '" + DisplayName() + "' is closed");
    if (mRunning)
        throw vyrcore::config::HostException("RunModal: dialog '" + DisplayName() +
                                             "' runs modally already");
    Ptr keep(this);
    PlaceOnOwner(*this);
    UI_Show(true);
    mResult = mCancelResult;
    mRunning = true;
    BeginModal();
    try {
        // A copy: the loop may install another while it runs.
        ModalLoop loop = InstalledModalLoop();
        if (loop)
            loop(*this);
        else
            RunModalOnEventLoop(*this, UI_NodeManager::Get(true)->GetEventLoop(), "");
    } catch (...) {
        FinishRun();
        throw;
    }
    FinishRun();
    return mResult;
}

void UI_Dialog::FinishRun()
{
    mRunning = false;
    if (mModal)
        EndModal(mCancelResult);
    UI_Show(false);
}

UI_Dialog::ModalLoop UI_Dialog::SetModalLoop(ModalLoop loop)
{
    return std::exchange(InstalledModalLoop(), std::move(loop));
}

void UI_Dialog::SetButtonResult(controls::UI_ControlView& button, int result)
{
    for (ResultButton& entry : mResults) {
        if (entry.button.Refers(&button)) {
            entry.result = result;
            return;
        }
    }
    mResults.erase(std::remove_if(mResults.begin(), mResults.end(),
                                  [](const ResultButton& e) { return e.button.Expired(); }),
                   mResults.end());
    mResults.push_back({vyrcore::utility::WeakPtr<UI_Node>(&button), result});
    vyrcore::utility::WeakPtr<UI_Node> self(this);
    const UI_Node* clicked = &button;
    button.NotifyWhenChanged([self, clicked](const std::shared_ptr<controls::Message>&) {
        if (UI_Node::Ptr dialog = self.Lock())
            static_cast<UI_Dialog&>(*dialog).ButtonClicked(clicked);
    });
}

void UI_Dialog::ButtonClicked(const UI_Node* button)
{
    if (!mModal)
        return;
    for (const ResultButton& entry : mResults) {
        if (entry.button.Refers(button) && !entry.button.Expired()) {
            EndModal(entry.result);
            return;
        }
    }
}

void UI_Dialog::SetDefaultButton(controls::UI_ControlView* button, int result)
{
    mDefault.Reset(button);
    if (button)
        SetButtonResult(*button, result);
}

void UI_Dialog::SetCancelButton(controls::UI_ControlView* button, int result)
{
    mCancel.Reset(button);
    if (button) {
        SetButtonResult(*button, result);
        mCancelResult = result;
    }
}

namespace {

boost::intrusive_ptr<controls::UI_ControlView> ButtonOf(const vyrcore::utility::WeakPtr<UI_Node>& weak)
{
    UI_Node::Ptr button = weak.Lock();
    return boost::intrusive_ptr<controls::UI_ControlView>(
        static_cast<controls::UI_ControlView*>(button.get()));
}

} // namespace

boost::intrusive_ptr<controls::UI_ControlView> UI_Dialog::GetDefaultButton() const
{
    return ButtonOf(mDefault);
}

boost::intrusive_ptr<controls::UI_ControlView> UI_Dialog::GetCancelButton() const
{
    return ButtonOf(mCancel);
}

namespace {

// A button the keyboard may press: alive, shown, enabled, still in the
// dialog's tree.
bool Pressable(const controls::UI_ControlView* button, const UI_Node& dialog)
{
    return button && button->UI_GetRootNode() == &dialog && button->UI_IsVisible() &&
           button->IsEffectivelyEnabled();
}

} // namespace

void UI_Dialog::Cancel()
{
    Ptr keep(this);
    boost::intrusive_ptr<controls::UI_ControlView> button = GetCancelButton();
    if (Pressable(button.get(), *this))
        button->Click();
    if (mModal)
        EndModal(mCancelResult);
}

std::string UI_Dialog::DisplayName() const
{
    std::string name = vyrcore::string::UTF16to8(GetTitle());
    return name.empty() ? UI_GetNodeID() : name;
}

bool UI_Dialog::UI_OnKeyboardEvent(const events::KeyboardEvent& event)
{
    if (event.type != events::KeyboardEventType::KeyDown || event.modifiers != 0)
        return false;
    if (event.keyCode == events::kKey_Enter) {
        boost::intrusive_ptr<controls::UI_ControlView> button = GetDefaultButton();
        if (!Pressable(button.get(), *this))
            return false;
        button->Click();
        return true;
    }
    if (event.keyCode == events::kKey_Escape) {
        Cancel();
        return true;
    }
    return false;
}

void UI_Dialog::Close()
{
    if (mModal)
        EndModal(mCancelResult);
    OS_Window::Close();
}

void RunModalOnEventLoop(UI_Dialog& dialog, EventLoop* loop, const std::string& prefix)
{
    constexpr int kMaxPasses = 1000;
    const double limit = loop && loop->GetClock() == EventLoop::Clock::Virtual ? 3600 : 1;
    const double start = loop ? loop->Now() : 0;
    for (int pass = 0; dialog.IsModal(); ++pass) {
        bool answerable = loop != nullptr && pass < kMaxPasses && loop->Now() - start <= limit;
        if (answerable && loop->RunOnce() > 0)
            continue;
        std::optional<double> due = answerable ? loop->NextDueTime() : std::nullopt;
        if (!dialog.IsModal())
            break;
        if (!due || *due - start > limit) {
            dialog.EndModal(dialog.GetCancelResult());
            vyrcore::config::ReportError(prefix + "dialog '" + dialog.DisplayName() +
                                         "' was not answered");
            break;
        }
        loop->RunNext();
    }
}

} // namespace vyrui::ui
