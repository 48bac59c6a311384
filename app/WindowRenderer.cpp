#include "app/WindowRenderer.h"

#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/drawbot/FontSet.h"
#include "vyrui/drawbot/Supplier.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace vyrhost {

std::string SafeWindowFileName(const std::string& id, size_t index,
                               const std::vector<std::string>& taken)
{
    std::string name;
    bool replaced = false;
    for (char c : id) {
        bool plain = std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' ||
                     c == '.';
        if (plain) {
            if (!(c == '.' && name.empty()))
                name += c;
            replaced = false;
        } else if (!replaced) {
            name += '_';
            replaced = true;
        }
        if (name.size() >= 100)
            break;
    }
    if (name.empty() || name == "_")
        name = "window-" + std::to_string(index + 1);
    std::string file = name + ".png";
    for (int n = 2; std::find(taken.begin(), taken.end(), file) != taken.end(); ++n)
        file = name + "-" + std::to_string(n) + ".png";
    return file;
}

namespace {

std::string Number(float value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return text;
}

std::string Describe(const vyrui::ui::OS_Window& window, size_t index)
{
    std::string title = vyrcore::string::UTF16to8(window.GetTitle());
    std::string text = window.UI_GetNodeID().empty()
                           ? "window " + std::to_string(index + 1) + " (no ID)"
                           : "window '" + window.UI_GetNodeID() + "'";
    return title.empty() ? text : text + " (\"" + title + "\")";
}

} // namespace

boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> Framed(
    vyrui::ui::OS_Window& window, vyrui::drawbot::SurfaceInterface& content)
{
    using namespace vyrui::drawbot;
    std::shared_ptr<SupplierInterface> supplier = window.UI_GetDrawSupplier();
    float scale = window.GetViewScaleFactor();
    int bar = static_cast<int>(std::ceil(kTitleBarHeight * scale));
    auto framed = supplier->NewOffscreenSurface(content.GetWidth(), content.GetHeight() + bar, true);
    framed->FillRect({0, 0, static_cast<float>(content.GetWidth()), static_cast<float>(bar)},
                     *supplier->NewSolidBrush({0.22f, 0.23f, 0.25f, 1}));
    std::u16string title = window.GetTitle();
    if (title.empty())
        title = vyrcore::string::UTF8to16(window.UI_GetNodeID());
    auto font = supplier->NewFont(kUIFontFamily, 12 * scale);
    FontMetrics metrics = supplier->GetFontMetrics(*font);
    float baseline = (static_cast<float>(bar) + metrics.ascent - metrics.descent) / 2;
    float margin = 8 * scale;
    framed->DrawString(*supplier->NewSolidBrush({0.93f, 0.93f, 0.94f, 1}), *font, title,
                       {margin, baseline}, TextAlignment::Center,
                       std::max(0.0f, static_cast<float>(content.GetWidth()) - 2 * margin),
                       TextTruncation::EndEllipsis);
    framed->DrawImage(*content.GetSurfaceImage(), {0, static_cast<float>(bar)}, 1);
    return framed;
}

RenderResult RenderWindowsToPNG(const std::string& directory, float scale, bool frame)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::create_directories(directory, ec);
    if (ec)
        throw vyrcore::config::HostException("cannot create " + directory + ": " + ec.message());

    RenderResult result;
    std::vector<std::string> taken;
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get(false);
    if (manager == nullptr)
        return result;
    std::vector<vyrui::ui::UI_Node::Ptr> windows = manager->GetWindows();
    for (size_t i = 0; i < windows.size(); ++i) {
        auto* window = dynamic_cast<vyrui::ui::OS_Window*>(windows[i].get());
        // Only top-level windows: a window put inside another tree is drawn there.
        if (window == nullptr || window->UI_GetParentNode() || !window->UI_IsShown())
            continue;
        if (scale > 0)
            window->SetViewScaleFactor(scale);
        auto refused = [&](const std::string& why) {
            const vyrcore::geom::RectF& rect = window->UI_GetLocalRectF();
            result.failures.push_back("cannot render " + Describe(*window, i) + ": its size " +
                                      Number(rect.width) + " x " + Number(rect.height) +
                                      " at scale " + Number(window->GetViewScaleFactor()) + why);
        };
        boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface> surface;
        try {
            surface = window->RenderToSurface();
            if (surface && frame)
                surface = Framed(*window, *surface);
        } catch (const std::invalid_argument& e) {
            // The surface (or the framed one) is larger than a surface can be.
            refused(std::string(" is too large (") + e.what() + ")");
            continue;
        }
        if (!surface) {
            refused(" is empty or beyond a million pixels a side");
            continue;
        }
        std::string name = SafeWindowFileName(window->UI_GetNodeID(), i, taken);
        taken.push_back(name);
        std::string path = (fs::path(directory) / name).string();
        std::string error; // names the path
        if (vyrui::drawbot::WritePNG(*surface, path, &error))
            result.written.push_back(path);
        else
            result.failures.push_back(error);
    }
    return result;
}

} // namespace vyrhost
