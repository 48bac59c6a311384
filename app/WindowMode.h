// vyrlua-host's window mode: every shown top-level window of the node tree
// gets an SDL2 window with its title, drawn through the host's rendering at
// the display's scale, and SDL's input (mouse buttons, motion, wheel, keys
// with modifiers, text, window focus) is handed to the node manager as the
// host's events, the same routing simulated input takes. Closing an SDL
// window hides its node window; closing a modal dialog's cancels it. While
// it lives, dialogs run modally in a nested loop of the same kind.
#pragma once

#include "app/HostRuntime.h"

#include <functional>
#include <memory>
#include <string>

namespace vyrui::ui {
class UI_Dialog;
class UI_Node;
}

namespace vyrhost {

class WindowMode {
public:
    // Starts SDL's video and installs the modal loop. Throws HostException with SDL's reason when there
    // is no display to show windows on.
    // `scale`: extra view scale on top of what the display reports (a HiDPI
    // screen whose scale SDL does not report); 0 for the environment's
    // VYRLUA_SCALE, else 1.
    explicit WindowMode(HostRuntime& runtime, float scale = 0);
    ~WindowMode();
    WindowMode(const WindowMode&) = delete;
    WindowMode& operator=(const WindowMode&) = delete;

    // Whether SDL can open windows here (a display, or SDL_VIDEODRIVER set).
    static bool DisplayAvailable();

    enum class End { WindowsClosed, Quit, TimeUp, Stopped, Error };
    // Shows windows and pumps input, timers and drawing until the last
    // window is closed, a script quits, `seconds` (> 0) have passed, `stop`
    // returns true, or `failed` does (an error under --strict).
    End Run(double seconds, const std::function<bool()>& stop = {},
            const std::function<bool()>& failed = {});

    // The nested loop of a modal run: as Run, until the dialog's run ends
    // (answered, closed or hidden), or ends it with the cancel result when
    // the script quits or the program is told to stop.
    void RunModal(vyrui::ui::UI_Dialog& dialog);

    // Makes and updates the SDL windows for the shown top-level windows and
    // draws what changed; returns how many are shown.
    int Sync();
    // The SDL window ID of a node window (0 when it has none), for tests
    // that push SDL events.
    unsigned SDLWindowID(const vyrui::ui::UI_Node& window) const;

private:
    struct Impl;
    std::unique_ptr<Impl> mImpl;
};

} // namespace vyrhost
