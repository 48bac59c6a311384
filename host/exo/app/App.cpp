#include "exo/app/App.h"

#include "vyrcore/InitializerRegistrar.h"
#include "vyrcore/config.h"
#include "vyrui/EventLoop.h"

#include <atomic>

namespace exo::app {

namespace {
std::atomic<App*> gApp{nullptr};
} // namespace

AppBase::AppBase()
    : mResources(std::make_unique<vyrui::utility::DirectoryResourceManager>()),
      mEventLoop(std::make_unique<vyrui::EventLoop>())
{
}

AppBase::~AppBase() = default;

vyrui::utility::ResourceManager& AppBase::GetAppResourceManager()
{
    return *mResources;
}

vyrui::EventLoop& AppBase::GetEventLoop()
{
    return *mEventLoop;
}

void AppBase::SetResourceDirectory(const vyrcore::filesupport::Dir& dir)
{
    mResources = std::make_unique<vyrui::utility::DirectoryResourceManager>(dir);
}

void AppBase::SetResourceManager(std::unique_ptr<vyrui::utility::ResourceManager> manager)
{
    if (manager)
        mResources = std::move(manager);
}

App::App()
{
    App* expected = nullptr;
    if (!gApp.compare_exchange_strong(expected, this))
        throw vyrcore::config::HostException("an application object already exists");
    vyrcore::InitializerRegistrar::InitializeAll();
}

App::~App()
{
    vyrcore::InitializerRegistrar::TerminateAll();
    App* expected = this;
    gApp.compare_exchange_strong(expected, nullptr);
}

App* App::GetApp()
{
    return gApp.load();
}

} // namespace exo::app
