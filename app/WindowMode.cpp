#include "app/WindowMode.h"

#include "app/InputModule.h"
#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrui/EventLoop.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <SDL.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <utility>
#include <map>
#include <vector>

namespace vyrhost {

using namespace vyrui::events;
using vyrui::ui::OS_Window;
using vyrui::ui::UI_Node;
using vyrui::ui::UI_NodeManager;

namespace {

// Loop passes run after each wake: timers due now and what they post. A
// bound, so that timers faster than a pass cannot keep input waiting.
constexpr int kPassesPerWake = 8;

int32_t KeyCodeFromSDL(SDL_Keycode key)
{
    if (key >= SDLK_a && key <= SDLK_z)
        return kKey_A + (key - SDLK_a);
    if (key >= SDLK_0 && key <= SDLK_9)
        return kKey_0 + (key - SDLK_0);
    if (key >= SDLK_F1 && key <= SDLK_F12)
        return kKey_F1 + (key - SDLK_F1);
    static const std::map<SDL_Keycode, int32_t> keys = {
        {SDLK_BACKSPACE, kKey_Backspace}, {SDLK_TAB, kKey_Tab}, {SDLK_RETURN, kKey_Enter},
        {SDLK_KP_ENTER, kKey_Enter}, {SDLK_LSHIFT, kKey_Shift}, {SDLK_RSHIFT, kKey_Shift},
        {SDLK_LCTRL, kKey_Control}, {SDLK_RCTRL, kKey_Control}, {SDLK_LALT, kKey_Alt},
        {SDLK_RALT, kKey_Alt}, {SDLK_ESCAPE, kKey_Escape}, {SDLK_SPACE, kKey_Space},
        {SDLK_PAGEUP, kKey_PageUp}, {SDLK_PAGEDOWN, kKey_PageDown}, {SDLK_END, kKey_End},
        {SDLK_HOME, kKey_Home}, {SDLK_LEFT, kKey_Left}, {SDLK_UP, kKey_Up},
        {SDLK_RIGHT, kKey_Right}, {SDLK_DOWN, kKey_Down}, {SDLK_INSERT, kKey_Insert},
        {SDLK_DELETE, kKey_Delete}, {SDLK_SEMICOLON, kKey_Semicolon},
        {SDLK_EQUALS, kKey_Equals}, {SDLK_COMMA, kKey_Comma}, {SDLK_MINUS, kKey_Minus},
        {SDLK_PERIOD, kKey_Period}, {SDLK_SLASH, kKey_Slash}, {SDLK_BACKQUOTE, kKey_Backquote},
        {SDLK_LEFTBRACKET, kKey_LeftBracket}, {SDLK_BACKSLASH, kKey_Backslash},
        {SDLK_RIGHTBRACKET, kKey_RightBracket}, {SDLK_QUOTE, kKey_Quote},
    };
    auto it = keys.find(key);
    return it == keys.end() ? kKey_None : it->second;
}

// The host's bits for the SDL bits set in `value`.
uint32_t MaskFromSDL(uint32_t value, std::initializer_list<std::pair<uint32_t, uint32_t>> bits)
{
    uint32_t mask = 0;
    for (const auto& [sdl, host] : bits) {
        if (value & sdl)
            mask |= host;
    }
    return mask;
}

uint32_t ModifiersFromSDL(Uint16 mod)
{
    return MaskFromSDL(mod, {{KMOD_SHIFT, kModifier_Shift}, {KMOD_CTRL, kModifier_Control},
                             {KMOD_ALT, kModifier_Alt}, {KMOD_GUI, kModifier_Command}});
}

uint32_t ButtonFromSDL(Uint8 button)
{
    switch (button) {
    case SDL_BUTTON_LEFT: return kMouseButton_Left;
    case SDL_BUTTON_RIGHT: return kMouseButton_Right;
    case SDL_BUTTON_MIDDLE: return kMouseButton_Middle;
    default: return kMouseButton_None;
    }
}

uint32_t ButtonsFromSDL(Uint32 state)
{
    return MaskFromSDL(state, {{SDL_BUTTON_LMASK, kMouseButton_Left},
                               {SDL_BUTTON_RMASK, kMouseButton_Right},
                               {SDL_BUTTON_MMASK, kMouseButton_Middle}});
}

std::string TitleOf(const OS_Window& window)
{
    std::string title = vyrcore::string::UTF16to8(window.GetTitle());
    if (title.empty())
        title = window.UI_GetNodeID();
    return title.empty() ? "vyrlua-host" : title;
}

} // namespace

struct WindowMode::Impl {
    struct Shown {
        vyrcore::utility::WeakPtr<UI_Node> node;
        SDL_Window* window = nullptr;
        SDL_Renderer* renderer = nullptr;
        SDL_Texture* texture = nullptr;
        int textureWidth = 0;
        int textureHeight = 0;
        std::string title;
        float width = 0; // the node's size last given to SDL
        float height = 0;
        bool redraw = true;
    };

    HostRuntime& runtime;
    float extraScale = 1;
    std::vector<Shown> shown;
    // The modal loop installed before, put back at the end.
    vyrui::ui::UI_Dialog::ModalLoop headlessLoop;

    Impl(HostRuntime& r, float scale) : runtime(r), extraScale(scale) {}
    void Wake();

    ~Impl()
    {
        for (Shown& s : shown)
            Destroy(s);
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }

    static void Destroy(Shown& s)
    {
        if (s.texture)
            SDL_DestroyTexture(s.texture);
        if (s.renderer)
            SDL_DestroyRenderer(s.renderer);
        if (s.window)
            SDL_DestroyWindow(s.window);
        s = Shown();
    }

    Shown* Find(Uint32 windowID)
    {
        for (Shown& s : shown) {
            if (s.window && SDL_GetWindowID(s.window) == windowID)
                return &s;
        }
        return nullptr;
    }

    static std::vector<boost::intrusive_ptr<OS_Window>> TopLevelWindows()
    {
        std::vector<boost::intrusive_ptr<OS_Window>> windows;
        UI_NodeManager* manager = UI_NodeManager::Get(false);
        if (!manager)
            return windows;
        for (const UI_Node::Ptr& node : manager->GetWindows()) {
            auto* window = dynamic_cast<OS_Window*>(node.get());
            if (window && !window->UI_GetParentNode() && window->UI_IsShown())
                windows.emplace_back(window);
        }
        return windows;
    }

    void Open(OS_Window& window)
    {
        Shown s;
        s.node.Reset(&window);
        const vyrcore::geom::RectF& rect = window.UI_GetLocalRectF();
        s.width = rect.width;
        s.height = rect.height;
        s.title = TitleOf(window);
        int w = std::max(1, static_cast<int>(std::lround(rect.width * extraScale)));
        int h = std::max(1, static_cast<int>(std::lround(rect.height * extraScale)));
        int x = rect.left > 0 ? static_cast<int>(rect.left) : SDL_WINDOWPOS_CENTERED;
        int y = rect.top > 0 ? static_cast<int>(rect.top) : SDL_WINDOWPOS_CENTERED;
        s.window = SDL_CreateWindow(s.title.c_str(), x, y, w, h,
                                    SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
        if (!s.window)
            throw vyrcore::config::HostException("cannot open a window for '" + s.title +
                                                 "': " + SDL_GetError());
        s.renderer = SDL_CreateRenderer(s.window, -1, 0);
        if (!s.renderer)
            s.renderer = SDL_CreateRenderer(s.window, -1, SDL_RENDERER_SOFTWARE);
        if (!s.renderer) {
            std::string why = SDL_GetError();
            Destroy(s);
            throw vyrcore::config::HostException("cannot draw in the window for '" + s.title +
                                                 "': " + why);
        }
        UpdateScale(s, window);
        shown.push_back(s);
    }

    // The view scale: the display's pixels per window point, times the extra.
    void UpdateScale(Shown& s, OS_Window& window)
    {
        int w = 0, h = 0, pw = 0, ph = 0;
        SDL_GetWindowSize(s.window, &w, &h);
        SDL_GetRendererOutputSize(s.renderer, &pw, &ph);
        float display = w > 0 && pw > 0 ? static_cast<float>(pw) / static_cast<float>(w) : 1.0f;
        float scale = display * extraScale;
        if (std::isfinite(scale) && scale > 0 && scale != window.GetViewScaleFactor()) {
            window.SetViewScaleFactor(scale);
            s.redraw = true;
        }
    }

    void Draw(Shown& s, OS_Window& window)
    {
        vyrcore::geom::RectI dirty = window.UI_GetDirtyRegion();
        if (!s.redraw && (dirty.width <= 0 || dirty.height <= 0))
            return;
        window.UI_ClearDirtyRegion();
        s.redraw = false;
        boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface = window.RenderToSurface();
        SDL_SetRenderDrawColor(s.renderer, 255, 255, 255, 255);
        SDL_RenderClear(s.renderer);
        if (surface) {
            boost::intrusive_ptr<vyrui::drawbot::ImageInterface> image = surface->GetSurfaceImage();
            if (!s.texture || s.textureWidth != image->GetWidth() ||
                s.textureHeight != image->GetHeight()) {
                if (s.texture)
                    SDL_DestroyTexture(s.texture);
                s.texture = SDL_CreateTexture(s.renderer, SDL_PIXELFORMAT_ARGB8888,
                                              SDL_TEXTUREACCESS_STREAMING, image->GetWidth(),
                                              image->GetHeight());
                s.textureWidth = image->GetWidth();
                s.textureHeight = image->GetHeight();
            }
            if (s.texture) {
                SDL_UpdateTexture(s.texture, nullptr, image->GetPixels(), image->GetStride());
                SDL_RenderCopy(s.renderer, s.texture, nullptr, nullptr);
            }
        }
        SDL_RenderPresent(s.renderer);
    }

    int Sync()
    {
        std::vector<boost::intrusive_ptr<OS_Window>> windows = TopLevelWindows();
        // Windows gone or hidden lose their SDL window.
        for (Shown& s : shown) {
            UI_Node::Ptr node = s.node.Lock();
            bool still = node && std::any_of(windows.begin(), windows.end(),
                                              [&](const auto& w) { return w.get() == node.get(); });
            if (!still)
                Destroy(s);
        }
        shown.erase(std::remove_if(shown.begin(), shown.end(),
                                   [](const Shown& s) { return s.window == nullptr; }),
                    shown.end());
        for (const auto& window : windows) {
            bool known = std::any_of(shown.begin(), shown.end(), [&](const Shown& s) {
                return s.node.Lock().get() == window.get();
            });
            if (!known)
                Open(*window);
        }
        for (Shown& s : shown) {
            UI_Node::Ptr node = s.node.Lock();
            auto* window = static_cast<OS_Window*>(node.get());
            std::string title = TitleOf(*window);
            if (title != s.title) {
                s.title = title;
                SDL_SetWindowTitle(s.window, title.c_str());
            }
            const vyrcore::geom::RectF& rect = window->UI_GetLocalRectF();
            if (rect.width != s.width || rect.height != s.height) {
                s.width = rect.width;
                s.height = rect.height;
                SDL_SetWindowSize(s.window, std::max(1, static_cast<int>(std::lround(rect.width * extraScale))),
                                  std::max(1, static_cast<int>(std::lround(rect.height * extraScale))));
                s.redraw = true;
            }
            UpdateScale(s, *window);
            Draw(s, *window);
        }
        return static_cast<int>(shown.size());
    }

    double Now() { return runtime.Application().GetEventLoop().Now(); }

    void Mouse(Shown& s, MouseEventType type, int x, int y, uint32_t button, uint32_t buttons,
               PointF wheel = {})
    {
        UI_Node::Ptr root = s.node.Lock();
        if (!root)
            return;
        MouseEvent e;
        e.type = type;
        e.position = {static_cast<float>(x) / extraScale, static_cast<float>(y) / extraScale};
        e.button = button;
        e.buttons = buttons;
        e.modifiers = ModifiersFromSDL(static_cast<Uint16>(SDL_GetModState()));
        e.wheelDelta = wheel;
        e.timestamp = Now();
        UI_NodeManager::Get(true)->DispatchMouseEvent(*root, e);
    }

    void Key(KeyboardEventType type, int32_t code, Uint16 mod, bool repeat, std::string text = {})
    {
        KeyboardEvent e;
        e.type = type;
        e.keyCode = code;
        e.modifiers = ModifiersFromSDL(mod);
        e.isRepeat = repeat;
        e.text = std::move(text);
        e.timestamp = Now();
        UI_NodeManager::Get(true)->DispatchKeyboardEvent(e);
    }

    void WindowEvent(Shown& s, const SDL_WindowEvent& w)
    {
        UI_Node::Ptr node = s.node.Lock();
        if (!node)
            return;
        UI_NodeManager* manager = UI_NodeManager::Get(true);
        switch (w.event) {
        case SDL_WINDOWEVENT_CLOSE:
            if (auto* dialog = dynamic_cast<vyrui::ui::UI_Dialog*>(node.get());
                dialog && dialog->IsModal())
                dialog->Cancel();
            else
                node->UI_Show(false);
            break;
        case SDL_WINDOWEVENT_SIZE_CHANGED: {
            vyrcore::geom::RectF rect = node->UI_GetLocalRectF();
            rect.width = static_cast<float>(w.data1) / extraScale;
            rect.height = static_cast<float>(w.data2) / extraScale;
            s.width = rect.width;
            s.height = rect.height;
            node->UI_SetLocalRectF(rect);
            s.redraw = true;
            break;
        }
        case SDL_WINDOWEVENT_EXPOSED:
            s.redraw = true;
            break;
        case SDL_WINDOWEVENT_LEAVE:
            Mouse(s, MouseEventType::Exit, 0, 0, 0, 0);
            break;
        case SDL_WINDOWEVENT_FOCUS_GAINED: {
            manager->SetApplicationFrontmost(true);
            // Activation gives the focus back to where it was in this window.
            UI_Node::Ptr previous = manager->GetPreviousKeyboardFocusNode();
            UI_Node::Ptr focus = manager->GetKeyboardFocusLeafNode();
            if (!focus && previous && previous->UI_GetRootNode() == node.get())
                manager->SetKeyboardFocus(*previous, vyrui::ui::kFocusReason_WindowActivation);
            break;
        }
        case SDL_WINDOWEVENT_FOCUS_LOST:
            // Focus passing to another of our windows does not leave the front.
            if (SDL_GetKeyboardFocus() == nullptr)
                manager->SetApplicationFrontmost(false);
            break;
        default:
            break;
        }
    }

    void Handle(const SDL_Event& e)
    {
        switch (e.type) {
        case SDL_QUIT:
            for (Shown& s : shown) {
                if (UI_Node::Ptr node = s.node.Lock())
                    node->UI_Show(false);
            }
            break;
        case SDL_WINDOWEVENT:
            if (Shown* s = Find(e.window.windowID))
                WindowEvent(*s, e.window);
            break;
        case SDL_MOUSEMOTION:
            if (Shown* s = Find(e.motion.windowID)) {
                uint32_t buttons = ButtonsFromSDL(e.motion.state);
                Mouse(*s, buttons ? MouseEventType::Drag : MouseEventType::Move, e.motion.x,
                      e.motion.y, 0, buttons);
            }
            break;
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP:
            if (Shown* s = Find(e.button.windowID)) {
                uint32_t button = ButtonFromSDL(e.button.button);
                if (button == kMouseButton_None)
                    break;
                uint32_t buttons = ButtonsFromSDL(SDL_GetMouseState(nullptr, nullptr));
                bool down = e.type == SDL_MOUSEBUTTONDOWN;
                // Synthetic events may come before SDL's own state knows.
                buttons = down ? (buttons | button) : (buttons & ~button);
                Mouse(*s, down ? MouseEventType::Down : MouseEventType::Up, e.button.x, e.button.y,
                      button, buttons);
            }
            break;
        case SDL_MOUSEWHEEL:
            if (Shown* s = Find(e.wheel.windowID)) {
                int x = 0, y = 0;
                Uint32 state = SDL_GetMouseState(&x, &y);
                Mouse(*s, MouseEventType::Wheel, x, y, 0, ButtonsFromSDL(state),
                      {e.wheel.preciseX, e.wheel.preciseY});
            }
            break;
        case SDL_KEYDOWN:
        case SDL_KEYUP:
            Key(e.type == SDL_KEYDOWN ? KeyboardEventType::KeyDown : KeyboardEventType::KeyUp,
                KeyCodeFromSDL(e.key.keysym.sym), e.key.keysym.mod, e.key.repeat != 0);
            break;
        case SDL_TEXTINPUT:
            Key(KeyboardEventType::Char, kKey_None, static_cast<Uint16>(SDL_GetModState()), false,
                e.text.text);
            break;
        default:
            break;
        }
    }
};

bool WindowMode::DisplayAvailable()
{
    return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") ||
           std::getenv("SDL_VIDEODRIVER");
}

WindowMode::WindowMode(HostRuntime& runtime, float scale)
{
    if (scale <= 0) {
        const char* env = std::getenv("VYRLUA_SCALE");
        scale = env ? std::strtof(env, nullptr) : 1.0f;
        if (!(std::isfinite(scale) && scale >= 0.25f && scale <= 8))
            scale = 1;
    }
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0)
        throw vyrcore::config::HostException(std::string("cannot show windows: ") +
                                             SDL_GetError());
    mImpl = std::make_unique<Impl>(runtime, scale);
    SDL_StartTextInput();
    mImpl->headlessLoop =
        vyrui::ui::UI_Dialog::SetModalLoop([this](vyrui::ui::UI_Dialog& d) { RunModal(d); });
}

WindowMode::~WindowMode()
{
    vyrui::ui::UI_Dialog::SetModalLoop(std::move(mImpl->headlessLoop));
}

int WindowMode::Sync()
{
    return mImpl->Sync();
}

unsigned WindowMode::SDLWindowID(const UI_Node& window) const
{
    for (const Impl::Shown& s : mImpl->shown) {
        if (s.node.Lock().get() == &window)
            return SDL_GetWindowID(s.window);
    }
    return 0;
}

// Sleeps until input or the next timer (at most a tenth of a second, for
// --watch), then handles what came and runs what is due.
void WindowMode::Impl::Wake()
{
    vyrui::EventLoop& loop = runtime.Application().GetEventLoop();
    double wait = 0.1;
    if (std::optional<double> due = loop.NextDueTime())
        wait = std::clamp(*due - loop.Now(), 0.0, wait);
    SDL_Event e;
    if (SDL_WaitEventTimeout(&e, static_cast<int>(std::ceil(wait * 1000)))) {
        Handle(e);
        runtime.Settle(kPassesPerWake);
        while (SDL_PollEvent(&e)) {
            Handle(e);
            runtime.Settle(kPassesPerWake);
        }
    }
    runtime.Settle(kPassesPerWake);
}

WindowMode::End WindowMode::Run(double seconds, const std::function<bool()>& stop,
                                const std::function<bool()>& failed)
{
    vyrui::EventLoop& loop = mImpl->runtime.Application().GetEventLoop();
    const double start = loop.Now();
    for (;;) {
        if (failed && failed())
            return End::Error;
        if (QuitRequested())
            return End::Quit;
        if (Sync() == 0)
            return End::WindowsClosed;
        if (seconds > 0 && loop.Now() - start >= seconds)
            return End::TimeUp;
        if (stop && stop())
            return End::Stopped;
        mImpl->Wake();
    }
}

void WindowMode::RunModal(vyrui::ui::UI_Dialog& dialog)
{
    vyrui::ui::UI_Node::Ptr keep(&dialog);
    while (dialog.IsModal()) {
        if (QuitRequested() || dialog.IsClosed() || !dialog.UI_IsShown()) {
            dialog.EndModal(dialog.GetCancelResult());
            break;
        }
        Sync();
        mImpl->Wake();
    }
    Sync();
}

} // namespace vyrhost
