#include "exo/app/PlatformMenu.h"

#include "exo/app/App.h"
#include "vyrcore/config.h"

namespace exo::app {

PlatformMenuPtr PlatformMenu::Create(const std::string& title)
{
    return PlatformMenuPtr(new PlatformMenu(title));
}

const MenuItem* PlatformMenu::GetItem(size_t index) const
{
    return index < mItems.size() ? &mItems[index] : nullptr;
}

MenuItem* PlatformMenu::GetItem(size_t index)
{
    return index < mItems.size() ? &mItems[index] : nullptr;
}

bool PlatformMenu::Contains(const PlatformMenu* menu) const
{
    if (menu == this)
        return true;
    for (const MenuItem& item : mItems)
        if (item.submenu && item.submenu->Contains(menu))
            return true;
    return false;
}

size_t PlatformMenu::InsertItem(size_t index, MenuItem item)
{
    if (item.submenu && item.submenu->Contains(this))
        throw vyrcore::config::HostException("a menu cannot contain itself");
    index = std::min(index, mItems.size());
    mItems.insert(mItems.begin() + static_cast<std::ptrdiff_t>(index), std::move(item));
    return index;
}

bool PlatformMenu::RemoveItem(size_t index)
{
    if (index >= mItems.size())
        return false;
    mItems.erase(mItems.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

MenuItem* PlatformMenu::FindItemByCommand(CommandID id)
{
    for (MenuItem& item : mItems) {
        if (!item.separator && item.command == id && id != 0)
            return &item;
        if (item.submenu)
            if (MenuItem* found = item.submenu->FindItemByCommand(id))
                return found;
    }
    return nullptr;
}

void PlatformMenu::Update(AppBase& app)
{
    // By position: a handler asked for its state may change this menu.
    for (size_t i = 0; i < mItems.size(); ++i) {
        if (mItems[i].separator || mItems[i].command == 0)
            continue;
        CommandState state = app.GetCommandState(mItems[i].command);
        if (i >= mItems.size())
            break;
        mItems[i].enabled = state.enabled;
        mItems[i].checked = state.checked.value_or(false);
    }
    for (size_t i = 0; i < mItems.size(); ++i)
        if (PlatformMenuPtr submenu = mItems[i].submenu)
            submenu->Update(app);
}

bool PlatformMenu::Choose(AppBase& app, size_t index)
{
    const MenuItem* item = GetItem(index);
    if (!item || item->separator || item->submenu || !item->enabled || item->command == 0)
        return false;
    app.PostCommand(item->command);
    return true;
}

std::string PlatformMenu::ShortcutText(AppBase& app, size_t index) const
{
    const MenuItem* item = GetItem(index);
    return item && item->command != 0 ? app.GetKeyMappings().GetShortcutString(item->command)
                                      : std::string();
}

} // namespace exo::app
