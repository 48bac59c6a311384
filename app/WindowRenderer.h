// Headless rendering of the application's top-level windows to PNG files.
//
// File names: a window's file is its node ID made safe, plus ".png". Every
// run of bytes other than ASCII letters, digits, '-', '_' and '.' becomes
// one '_', leading dots are dropped, and the name is cut to 100 bytes. A
// window whose ID leaves nothing is "window-<n>", n being its place among
// the open top-level windows (from 1, in creation order). A name already
// taken in this run gets "-2", "-3", ... before ".png".
#pragma once

#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <string>
#include <vector>

namespace vyrui::ui {
class OS_Window;
}

namespace vyrhost {

// The file name (without directory) the rule above gives.
std::string SafeWindowFileName(const std::string& id, size_t index,
                               const std::vector<std::string>& taken);

// Height of the title bar drawn above a window's content, in view units.
inline constexpr float kTitleBarHeight = 24;

// The window as a screen shows it: a title bar with the title (or ID) above
// `content`, the window's rendered content.
boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> Framed(
    vyrui::ui::OS_Window& window, vyrui::drawbot::SurfaceInterface& content);

struct RenderResult {
    std::vector<std::string> written;  // paths, in window order
    std::vector<std::string> failures; // one message per window, naming it
};

// Renders every shown top-level window into `directory` (created if needed),
// at view scale `scale` when it is above 0 (else at the window's own); with
// `frame`, a title bar showing the window's title (or ID) sits above the
// content, as on a screen. A window that cannot be rendered or written is
// reported in `failures` and the others are still written. Throws
// vyrcore::config::HostException only when the directory cannot be made.
RenderResult RenderWindowsToPNG(const std::string& directory, float scale = 0, bool frame = true);

} // namespace vyrhost
