#include "vyrlua/ui/LuaBindingTable.h"

#include "vyrlua/ui/VyrBinder.h"

#include <any>

namespace vyrlua::ui {

using TablePtr = boost::intrusive_ptr<LuaBindingTable>;

LuaBindingTable::LuaBindingTable() = default;
LuaBindingTable::~LuaBindingTable() = default;

VyrBinder& LuaBindingTable::GetOrCreateBinder(vyrui::ui::UI_Node& node)
{
    if (!mBinder) {
        mBinder = new VyrBinder(&node);
        node.UI_SetBinder(mBinder);
    }
    return *mBinder;
}

LuaBindingTable* GetLuaBindingTable(vyrui::ui::UI_Node& node, bool createIfMissing)
{
    std::any& slot = node.UI_GetPropertySlot();
    if (TablePtr* table = std::any_cast<TablePtr>(&slot))
        return table->get();
    if (!createIfMissing || slot.has_value())
        return nullptr;
    slot = TablePtr(new LuaBindingTable);
    return std::any_cast<TablePtr>(&slot)->get();
}

} // namespace vyrlua::ui
