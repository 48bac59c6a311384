#include "exo/app/App.h"

#include "vyrcore/InitializerRegistrar.h"
#include "vyrcore/config.h"
#include "vyrui/EventLoop.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <atomic>

namespace exo::app {

namespace {
std::atomic<App*> gApp{nullptr};
} // namespace

AppBase::AppBase()
    : mResources(std::make_unique<vyrui::utility::DirectoryResourceManager>()),
      mEventLoop(std::make_unique<vyrui::EventLoop>()),
      mMainMenu(PlatformMenu::Create(""))
{
    for (const char* title : {"File", "Edit", "View", "Window", "Help"}) {
        MenuItem item;
        item.title = title;
        item.submenu = PlatformMenu::Create(title);
        mMainMenu->InsertItem(mMainMenu->ItemCount(), std::move(item));
    }
    // The node manager's frontmost flag (window focus, UI_Activate) and this
    // object's activation move together.
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get(true);
    mActive = manager->IsApplicationFrontmost();
    manager->AttachFrontmostListener(this, [this](bool active) { ActiveChanged(active); });
    // One save per burst of changes, on the loop's next pass.
    mSettings.SetChangedCallback([this] {
        if (mSavePosted)
            return;
        mSavePosted = true;
        mEventLoop->Post([this] {
            mSavePosted = false;
            mSettings.Save();
        });
    });
}

AppBase::~AppBase()
{
    if (auto* manager = vyrui::ui::UI_NodeManager::Get(false))
        manager->DetachFrontmostListener(this);
    try {
        mSettings.Save();
    } catch (const std::exception& e) {
        vyrcore::config::ReportError(std::string("settings: ") + e.what());
    }
}

void AppBase::EndEventLoop()
{
    mEventLoop->Quit();
}

const vyrcore::proplist::PropListPtr& AppBase::GetAppSettings() const
{
    return mSettings.Settings();
}

vyrcore::proplist::PropListPtr AppBase::GetOrCreateSubList(std::string_view name)
{
    return mSettings.Settings()->GetOrCreateSubList(name);
}

void AppBase::SetSettingsDirectory(const std::string& directory)
{
    mSettings.SetDirectory(directory);
}

bool AppBase::SaveAppSettings()
{
    return mSettings.Save();
}

void AppBase::PostCommand(CommandID id)
{
    mEventLoop->Post([this, id] { mCommands.Dispatch(id); });
}

void AppBase::SetApplicationActive(bool active)
{
    if (auto* manager = vyrui::ui::UI_NodeManager::Get(false))
        manager->SetApplicationFrontmost(active);
    ActiveChanged(active);
}

void AppBase::ActiveChanged(bool active)
{
    if (active == mActive)
        return;
    mActive = active;
    // A copy: a listener may add or remove listeners.
    std::vector<ActivationListener> listeners;
    for (const auto& entry : mActivationListeners)
        listeners.push_back(entry.second);
    for (const ActivationListener& listener : listeners)
        listener(active);
}

int AppBase::AddActivationListener(ActivationListener listener)
{
    int handle = mNextListener++;
    mActivationListeners.emplace(handle, std::move(listener));
    return handle;
}

void AppBase::RemoveActivationListener(int handle)
{
    mActivationListeners.erase(handle);
}

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
