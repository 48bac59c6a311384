// Headless rendering of the application's top-level windows to PNG files.
#pragma once

#include <string>
#include <vector>

namespace vyrhost {

// Renders every open top-level window into `directory` (created if needed)
// as "<node ID>.png", or "window-<n>.png" for a window without a usable ID.
// Returns the paths written; throws vyrcore::config::HostException when a
// file cannot be written.
std::vector<std::string> RenderWindowsToPNG(const std::string& directory);

} // namespace vyrhost
