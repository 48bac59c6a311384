// The application object: one per process, made by the host program. It owns
// the application's services (resources now; the event loop, workspace and
// preferences as the host grows).
#pragma once

#include "exo/app/Commands.h"
#include "exo/app/PlatformMenu.h"
#include "exo/app/SettingsStore.h"
#include "vyrcore/PropList.h"
#include "vyrui/utility/ResourceManager.h"

#include <functional>
#include <map>
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
    // Ends the event loop's Run.
    void EndEventLoop();

    // The application settings. Changes are saved by a task posted to the
    // event loop, and when the application ends.
    const vyrcore::proplist::PropListPtr& GetAppSettings() const;
    vyrcore::proplist::PropListPtr GetOrCreateSubList(std::string_view name);
    // Loads the settings kept in `directory` and keeps them there (see
    // SettingsStore); empty: in memory only, the default.
    void SetSettingsDirectory(const std::string& directory);
    SettingsStore& GetSettingsStore() { return mSettings; }
    // Writes changed settings now; false after reporting a failure.
    bool SaveAppSettings();

    // Commands: posted ones run on the event loop's next pass, in the first
    // handler that takes them.
    CommandDispatcher& GetCommandDispatcher() { return mCommands; }
    void PostCommand(CommandID id);
    CommandState GetCommandState(CommandID id) { return mCommands.GetState(id); }
    KeyMappings& GetKeyMappings() { return mKeyMappings; }

    // The menu bar: a menu whose items are the top-level menus.
    PlatformMenuPtr GetMainMenu() const { return mMainMenu; }

    // Activation: the platform tells the application when it comes to the
    // front or leaves it; listeners hear of each change.
    void SetApplicationActive(bool active);
    bool IsApplicationActive() const { return mActive; }
    using ActivationListener = std::function<void(bool active)>;
    int AddActivationListener(ActivationListener listener);
    void RemoveActivationListener(int handle);

private:
    void ActiveChanged(bool active);

    std::unique_ptr<vyrui::utility::ResourceManager> mResources;
    std::unique_ptr<vyrui::EventLoop> mEventLoop;
    SettingsStore mSettings;
    bool mSavePosted = false;
    CommandDispatcher mCommands;
    KeyMappings mKeyMappings;
    PlatformMenuPtr mMainMenu;
    bool mActive = true;
    std::map<int, ActivationListener> mActivationListeners;
    int mNextListener = 1;
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
