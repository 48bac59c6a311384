// The application's menus as the platform keeps them: items with a title, a
// command, a check mark, an enabled state, separators and submenus. The
// main menu belongs to the application; scripts add menus and items to it.
#pragma once

#include "exo/app/Commands.h"
#include "vyrcore/RefCounted.h"

#include <string>
#include <vector>

namespace exo::app {

class AppBase;
class PlatformMenu;
using PlatformMenuPtr = boost::intrusive_ptr<PlatformMenu>;

struct MenuItem {
    std::string title;
    CommandID command = 0;  // 0: none
    bool separator = false;
    bool enabled = true;
    bool checked = false;
    PlatformMenuPtr submenu;
};

class PlatformMenu : public vyrcore::utility::RefCountedObject {
public:
    static PlatformMenuPtr Create(const std::string& title);

    const std::string& Title() const { return mTitle; }
    void SetTitle(const std::string& title) { mTitle = title; }

    size_t ItemCount() const { return mItems.size(); }
    // Items by zero-based position; out of range gives null.
    const MenuItem* GetItem(size_t index) const;
    MenuItem* GetItem(size_t index);
    // Inserts before `index` (ItemCount() or more appends); returns the
    // position used. A submenu may not contain this menu (HostException).
    size_t InsertItem(size_t index, MenuItem item);
    bool RemoveItem(size_t index);
    // The first item with that command, searching submenus too; null if none.
    MenuItem* FindItemByCommand(CommandID id);
    // Whether `menu` is this menu or lies anywhere below it.
    bool Contains(const PlatformMenu* menu) const;

    // What the platform does before showing the menu: each item with a
    // command takes its enabled state and check mark from the command's
    // handler (an item no handler takes is disabled).
    void Update(AppBase& app);
    // The user picked item `index`: an enabled item with a command posts it
    // to the application. Returns whether a command was posted.
    bool Choose(AppBase& app, size_t index);

    // The shortcut text shown beside the item: the key mapping of its command.
    std::string ShortcutText(AppBase& app, size_t index) const;

private:
    explicit PlatformMenu(std::string title) : mTitle(std::move(title)) {}
    std::string mTitle;
    std::vector<MenuItem> mItems;
};

} // namespace exo::app
