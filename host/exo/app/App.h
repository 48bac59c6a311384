// The application object: one per process, made by the host program. It owns
// the application's services (resources now; the event loop, workspace and
// preferences as the host grows).
#pragma once

#include "vyrui/utility/ResourceManager.h"

#include <memory>

namespace vyrui {
class EventLoop;
}

namespace exo::app {

class AppBase {
public:
    AppBase();
    virtual ~AppBase();
    AppBase(const AppBase&) = delete;
    AppBase& operator=(const AppBase&) = delete;

    vyrui::utility::ResourceManager& GetAppResourceManager();
    // Serves resources from `dir` (the resource "x" of type "lua" is x.lua).
    void SetResourceDirectory(const vyrcore::filesupport::Dir& dir);
    // Replaces the resource store (tests, or a host with another store).
    void SetResourceManager(std::unique_ptr<vyrui::utility::ResourceManager> manager);

    // The application's event loop: timers, posted tasks, tool-tip delays.
    vyrui::EventLoop& GetEventLoop();

private:
    std::unique_ptr<vyrui::utility::ResourceManager> mResources;
    std::unique_ptr<vyrui::EventLoop> mEventLoop;
};

class App : public AppBase {
public:
    // Registers itself as the process's application; only one may live at a time.
    App();
    ~App() override;

    // The live application, or null when none exists.
    static App* GetApp();
};

} // namespace exo::app
