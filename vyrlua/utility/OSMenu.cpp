#include "vyrlua/utility/OSMenu.h"

#include "exo/app/App.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaObjectBlock.h"

#include <string>

namespace vyrlua::utility {

namespace {

using exo::app::App;
using exo::app::MenuItem;
using exo::app::PlatformMenu;
using exo::app::PlatformMenuPtr;

struct OSMenuKind : HeldKind<PlatformMenu> {
    static constexpr const char* kMetatable = kOSMenuMetatable;
    static constexpr const char* kWord = "OSMenu";
    static void MakeMetatable(lua_State* L);
};
using Kind = ObjectKind<OSMenuKind>;

// A 1-based item position of `menu`: 1..count, or 1..count + 1 where an
// insertion may append.
size_t PositionArg(lua_State* L, int narg, size_t count, bool forInsert)
{
    lua_Integer position = CheckInteger(L, narg);
    lua_Integer last = static_cast<lua_Integer>(count) + (forInsert ? 1 : 0);
    if (position < 1 || position > last)
        ThrowArgError(narg, "position out of range (1 to " + std::to_string(last) + ")");
    return static_cast<size_t>(position - 1);
}

App& RequireApp()
{
    App* app = App::GetApp();
    if (!app)
        throw LuaError("OSMenu: there is no application");
    return *app;
}

int NewBody(lua_State* L)
{
    std::string_view title = OptUTF8(L, 1, "title", "");
    return Kind::PushMade(L, [&] { return PlatformMenu::Create(std::string(title)); });
}

int GetTitleBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    std::string title = menu->Title();
    PushLString(L, title);
    return 1;
}

int SetTitleBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view title = CheckUTF8(L, 2, "title");
    if (PlatformMenu* menu = Kind::CheckObject(L, 1))
        menu->SetTitle(std::string(title));
    return 0;
}

int GetItemCountBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(menu->ItemCount()));
    return 1;
}

// (position, title, command [, shortcut]) for InsertItem; AppendItem has
// no position. The shortcut becomes the command's key mapping.
int AddItem(lua_State* L, bool insert)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    int first = insert ? 3 : 2;
    std::string_view title = CheckUTF8(L, first, "title");
    int command = CheckInt(L, first + 1);
    std::string_view shortcut = OptLString(L, first + 2, "");
    bool withShortcut = !lua_isnoneornil(L, first + 2);
    // "" removes the command's shortcut.
    if (!shortcut.empty() && !exo::app::KeyMappings::IsShortcutText(shortcut))
        ThrowArgError(first + 2, "shortcut must be modifiers (Ctrl, Shift, Alt, Cmd) and one key "
                                 "joined by '+', as in \"Ctrl+Shift+S\"");
    menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    size_t position = insert ? PositionArg(L, 2, menu->ItemCount(), true) : menu->ItemCount();
    if (command == 0)
        ThrowArgError(first + 1, "command ID 0 is no command");
    MenuItem item;
    item.title = std::string(title);
    item.command = command;
    position = menu->InsertItem(position, std::move(item));
    if (withShortcut)
        RequireApp().GetKeyMappings().SetShortcut(command, std::string(shortcut));
    lua_pushinteger(L, static_cast<lua_Integer>(position + 1));
    return 1;
}

int AppendItemBody(lua_State* L)
{
    return AddItem(L, false);
}

int InsertItemBody(lua_State* L)
{
    return AddItem(L, true);
}

int AppendSeparatorBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    MenuItem item;
    item.separator = true;
    size_t position = menu->InsertItem(menu->ItemCount(), std::move(item));
    lua_pushinteger(L, static_cast<lua_Integer>(position + 1));
    return 1;
}

// AppendSubmenu(title [, menu]): adds `menu` (or a new one) as a submenu and
// returns it.
int AppendSubmenuBody(lua_State* L)
{
    Kind::CheckObject(L, 1);
    std::string_view title = CheckUTF8(L, 2, "title");
    if (!lua_isnoneornil(L, 3) && !Kind::CheckObject(L, 3))
        throw LuaError("OSMenu: the submenu was released");
    if (!Kind::CheckObject(L, 1))
        return 0;
    return Kind::PushMade(L, [&]() -> PlatformMenuPtr {
        PlatformMenu* menu = Kind::CheckObject(L, 1);
        PlatformMenu* given = lua_isnoneornil(L, 3) ? nullptr : Kind::CheckObject(L, 3);
        if (!menu)
            return nullptr;
        PlatformMenuPtr submenu = given ? PlatformMenuPtr(given)
                                        : PlatformMenu::Create(std::string(title));
        MenuItem item;
        item.title = std::string(title);
        item.submenu = submenu;
        menu->InsertItem(menu->ItemCount(), std::move(item));
        return submenu;
    });
}

int RemoveItemBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    lua_Integer position = CheckInteger(L, 2);
    menu = Kind::CheckObject(L, 1);
    lua_pushboolean(L, menu && position >= 1 &&
                           menu->RemoveItem(static_cast<size_t>(position - 1)));
    return 1;
}

// The item at a position, as a table: title, command, separator, enabled,
// checked, shortcut and submenu (an OSMenu, or absent).
struct ItemView {
    MenuItem item;
    std::string shortcut;
};

int PushItemTable(lua_State* L)
{
    const auto* view = static_cast<const ItemView*>(lua_touserdata(L, 1));
    lua_createtable(L, 0, 7);
    lua_pushlstring(L, view->item.title.data(), view->item.title.size());
    lua_setfield(L, -2, "title");
    lua_pushinteger(L, view->item.command);
    lua_setfield(L, -2, "command");
    lua_pushboolean(L, view->item.separator);
    lua_setfield(L, -2, "separator");
    lua_pushboolean(L, view->item.enabled);
    lua_setfield(L, -2, "enabled");
    lua_pushboolean(L, view->item.checked);
    lua_setfield(L, -2, "checked");
    lua_pushlstring(L, view->shortcut.data(), view->shortcut.size());
    lua_setfield(L, -2, "shortcut");
    if (view->item.submenu) {
        Kind::PushObject(L, view->item.submenu.get());
        lua_setfield(L, -2, "submenu");
    }
    return 1;
}

int GetItemBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    size_t position = PositionArg(L, 2, Kind::CheckObject(L, 1)->ItemCount(), false);
    menu = Kind::CheckObject(L, 1);
    ItemView view{*menu->GetItem(position), {}};
    if (App* app = App::GetApp())
        view.shortcut = menu->ShortcutText(*app, position);
    PushFromProtectedCall(L, PushItemTable, &view);
    return 1;
}

// SetItemChecked / SetItemEnabled (position, boolean) and SetItemTitle
// (position, text).
template <typename Apply>
int ChangeItem(lua_State* L, int valueType, Apply apply)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    size_t position = PositionArg(L, 2, menu->ItemCount(), false);
    CheckType(L, 3, valueType);
    menu = Kind::CheckObject(L, 1);
    if (MenuItem* item = menu ? menu->GetItem(position) : nullptr)
        apply(*item);
    return 0;
}

int SetItemCheckedBody(lua_State* L)
{
    return ChangeItem(L, LUA_TBOOLEAN, [L](MenuItem& item) { item.checked = lua_toboolean(L, 3); });
}

int SetItemEnabledBody(lua_State* L)
{
    return ChangeItem(L, LUA_TBOOLEAN, [L](MenuItem& item) { item.enabled = lua_toboolean(L, 3); });
}

int SetItemTitleBody(lua_State* L)
{
    return ChangeItem(L, LUA_TSTRING,
                      [L](MenuItem& item) { item.title = std::string(CheckUTF8(L, 3, "title")); });
}

int FindItemByCommandBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    int command = CheckInt(L, 2);
    menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    for (size_t i = 0; i < menu->ItemCount(); ++i) {
        const MenuItem* item = menu->GetItem(i);
        if (!item->separator && command != 0 && item->command == command) {
            lua_pushinteger(L, static_cast<lua_Integer>(i + 1));
            return 1;
        }
    }
    lua_pushnil(L);
    return 1;
}

// Update(): items take their enabled state and check mark from their
// commands' handlers, as before the menu is shown. Handlers may run script
// code, so the menu is held for the call.
int UpdateBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    PlatformMenuPtr held(menu);
    held->Update(RequireApp());
    return 0;
}

// Choose(position): what the user's pick does; returns whether the item's
// command was posted.
int ChooseBody(lua_State* L)
{
    PlatformMenu* menu = Kind::CheckObject(L, 1);
    if (!menu)
        return 0;
    size_t position = PositionArg(L, 2, menu->ItemCount(), false);
    menu = Kind::CheckObject(L, 1);
    lua_pushboolean(L, menu && menu->Choose(RequireApp(), position));
    return 1;
}

const luaL_Reg kMethods[] = {
    {"GetTitle", LuaBoundary<GetTitleBody>},
    {"SetTitle", LuaBoundary<SetTitleBody>},
    {"GetItemCount", LuaBoundary<GetItemCountBody>},
    {"AppendItem", LuaBoundary<AppendItemBody>},
    {"InsertItem", LuaBoundary<InsertItemBody>},
    {"AppendSeparator", LuaBoundary<AppendSeparatorBody>},
    {"AppendSubmenu", LuaBoundary<HostRefusals<AppendSubmenuBody>>},
    {"RemoveItem", LuaBoundary<RemoveItemBody>},
    {"GetItem", LuaBoundary<GetItemBody>},
    {"SetItemChecked", LuaBoundary<SetItemCheckedBody>},
    {"SetItemEnabled", LuaBoundary<SetItemEnabledBody>},
    {"SetItemTitle", LuaBoundary<SetItemTitleBody>},
    {"FindItemByCommand", LuaBoundary<FindItemByCommandBody>},
    {"Update", LuaBoundary<UpdateBody>},
    {"Choose", LuaBoundary<ChooseBody>},
    {nullptr, nullptr},
};

const luaL_Reg kFunctions[] = {
    {"New", LuaBoundary<NewBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    OSMenuKind::MakeMetatable(L);
    luaL_register(L, "OSMenu", kFunctions);
    return 1;
}

void OSMenuKind::MakeMetatable(lua_State* L)
{
    Kind::RegisterMetatable(L, kMethods);
}

} // namespace

int CreateOSMenuFromPlatformMenu(lua_State* L, const std::function<PlatformMenuPtr()>& make)
{
    return Kind::PushMade(L, make);
}

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_OSMenu(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
