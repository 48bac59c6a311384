#include "exo/app/SettingsStore.h"

#include "vyrcore/PropListFile.h"
#include "vyrcore/config.h"
#include "vyrcore/filesupport.h"

#include <cstdlib>
#include <filesystem>

namespace exo::app {

namespace fs = std::filesystem;
using vyrcore::proplist::PropList;
using vyrcore::proplist::PropListPtr;

namespace {
constexpr size_t kProblemsReported = 20;
}

SettingsStore::SettingsStore()
{
    Adopt(PropList::Create());
}

SettingsStore::~SettingsStore()
{
    // The tree may outlive the store (scripts hold sub-lists).
    mSettings->Notifier()->onChange = nullptr;
}

void SettingsStore::Adopt(PropListPtr settings)
{
    if (mSettings)
        mSettings->Notifier()->onChange = nullptr;
    mSettings = std::move(settings);
    mDirty = false;
    mSettings->Notifier()->onChange = [this] {
        bool first = !mDirty;
        mDirty = true;
        if (first && mChanged)
            mChanged();
    };
}

void SettingsStore::SetChangedCallback(std::function<void()> callback)
{
    mChanged = std::move(callback);
}

void SettingsStore::KeepAside(const std::string& suffix, bool copy)
{
    std::error_code ec;
    for (int n = 1; n < 1000; ++n) {
        std::string aside = mFile + "." + suffix + "-" + std::to_string(n);
        if (fs::exists(aside, ec))
            continue;
        if (copy)
            fs::copy_file(mFile, aside, ec);
        else
            fs::rename(mFile, aside, ec);
        if (ec)
            vyrcore::config::ReportError("settings: cannot keep " + mFile + " as " + aside +
                                         ": " + ec.message());
        else
            vyrcore::config::ReportError("settings: kept " + mFile + " as " + aside);
        return;
    }
}

void SettingsStore::SetDirectory(const std::string& directory)
{
    mFile = directory.empty() ? std::string() : (fs::path(directory) / "settings.json").string();
    if (mFile.empty()) {
        Adopt(PropList::Create());
        return;
    }
    vyrcore::proplist::RemoveStaleTemporaries(mFile);
    std::error_code ec;
    if (!fs::exists(mFile, ec)) {
        Adopt(PropList::Create());
        return;
    }
    std::string bytes;
    std::vector<std::string> problems;
    PropListPtr loaded;
    if (!vyrcore::filesupport::File::FromUTF8(mFile).ReadAll(bytes))
        problems.push_back("cannot be read");
    else
        loaded = vyrcore::proplist::FromJSON(bytes, problems);
    if (!loaded) {
        vyrcore::config::ReportError("settings: " + mFile + ": " +
                                     (problems.empty() ? "unreadable" : problems.front()) +
                                     "; starting with default settings");
        KeepAside("unreadable", false);
        Adopt(PropList::Create());
        return;
    }
    for (size_t i = 0; i < problems.size() && i < kProblemsReported; ++i)
        vyrcore::config::ReportError("settings: " + mFile + ": " + problems[i]);
    if (problems.size() > kProblemsReported)
        vyrcore::config::ReportError("settings: " + mFile + ": and " +
                                     std::to_string(problems.size() - kProblemsReported) +
                                     " more problems");
    if (!problems.empty())
        KeepAside("partly-read", true);
    Adopt(loaded);
}

bool SettingsStore::Save()
{
    if (!mDirty || mFile.empty())
        return true;
    std::error_code ec;
    fs::create_directories(fs::path(mFile).parent_path(), ec);
    std::string error;
    if (!vyrcore::proplist::WriteFileAtomically(mFile, vyrcore::proplist::ToJSON(*mSettings),
                                                error)) {
        vyrcore::config::ReportError("settings: " + error);
        return false;
    }
    mDirty = false;
    return true;
}

std::string DefaultSettingsDirectory()
{
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config == '/')
        return (fs::path(config) / "vyrlua-host").string();
    if (const char* home = std::getenv("HOME"); home && *home)
        return (fs::path(home) / ".config" / "vyrlua-host").string();
    return {};
}

} // namespace exo::app
