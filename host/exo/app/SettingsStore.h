// The application's settings: a property list kept in a file in the user's
// configuration directory and written back whenever it changed.
//
// The file is "settings.json" (see vyrcore/PropListFile.h for its format),
// replaced atomically on every save, so a killed process leaves the old
// settings or the new ones. A file that cannot be read is reported through
// the host error service, renamed aside ("settings.json.unreadable-<n>"),
// and the application starts with empty settings; entries that cannot be
// read are reported and skipped, and a copy of that file is kept beside it
// ("settings.json.partly-read-<n>") before anything overwrites it.
#pragma once

#include "vyrcore/PropList.h"

#include <functional>
#include <string>

namespace exo::app {

class SettingsStore {
public:
    SettingsStore();
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    const vyrcore::proplist::PropListPtr& Settings() const { return mSettings; }

    // Reads the settings of `directory` (created on the first save) and
    // saves there from now on; an empty path keeps settings in memory only.
    void SetDirectory(const std::string& directory);
    const std::string& FilePath() const { return mFile; }

    // Called when the settings first change after a save, so the owner can
    // schedule one.
    void SetChangedCallback(std::function<void()> callback);
    bool IsDirty() const { return mDirty; }
    // Writes the file now if anything changed. Returns false after
    // reporting a failure (the settings stay dirty and are tried again).
    bool Save();

private:
    void Adopt(vyrcore::proplist::PropListPtr settings);
    void KeepAside(const std::string& suffix, bool copy);

    vyrcore::proplist::PropListPtr mSettings;
    std::string mFile;
    bool mDirty = false;
    std::function<void()> mChanged;
};

// $XDG_CONFIG_HOME/vyrlua-host, or ~/.config/vyrlua-host; empty when
// neither variable is set.
std::string DefaultSettingsDirectory();

} // namespace exo::app
