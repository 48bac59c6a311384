#include "app/WindowRenderer.h"

#include "vyrcore/config.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/drawbot/Supplier.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace vyrhost {

namespace {

// The node ID when it makes a plain file name, else a numbered name.
std::string FileNameFor(const std::string& id, size_t index, const std::set<std::string>& taken)
{
    bool plain = !id.empty() && id.size() <= 64 && id[0] != '.' &&
                 std::all_of(id.begin(), id.end(), [](char c) {
                     return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' ||
                            c == '.';
                 });
    std::string name = plain ? id : "window-" + std::to_string(index + 1);
    while (taken.count(name + ".png"))
        name += "_";
    return name + ".png";
}

} // namespace

std::vector<std::string> RenderWindowsToPNG(const std::string& directory)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::create_directories(directory, ec);
    if (ec)
        throw vyrcore::config::HostException("cannot create " + directory + ": " + ec.message());

    std::vector<std::string> written;
    std::set<std::string> taken;
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get(false);
    if (manager == nullptr)
        return written;
    std::vector<vyrui::ui::UI_Node::Ptr> windows = manager->GetWindows();
    for (size_t i = 0; i < windows.size(); ++i) {
        auto* window = dynamic_cast<vyrui::ui::OS_Window*>(windows[i].get());
        // Only top-level windows: a window put inside another tree is drawn there.
        if (window == nullptr || window->UI_GetParentNode())
            continue;
        auto surface = window->RenderToSurface();
        if (!surface)
            continue;
        std::string name = FileNameFor(window->UI_GetNodeID(), i, taken);
        taken.insert(name);
        std::string path = (fs::path(directory) / name).string();
        std::string error;
        if (!vyrui::drawbot::WritePNG(*surface, path, &error))
            throw vyrcore::config::HostException("cannot write " + path + ": " + error);
        written.push_back(path);
    }
    return written;
}

} // namespace vyrhost
