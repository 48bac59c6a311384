#include "vyrlua/ui/LuaBindingTable.h"

#include "vyrlua/ui/VyrBinder.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrui/ui/OS_Window.h"

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

void LuaBindingTable::AnchorWrapper(lua_State* L)
{
    KzDeferredLuaStateLocator locator = utility::FindDeferredLuaStateLocator(L);
    if (locator == nullptr)
        return;
    if (mAnchor == 0) {
        mAnchor = utility::NewAnchorNumber();
        mAnchorLocator = locator;
    } else if (locator != mAnchorLocator) {
        return; // the node is anchored in another state
    }
    utility::PushAnchorTable(L, mAnchor, true);
    lua_setfenv(L, -2);
}

namespace {

struct SettleRequest {
    LuaBindingTable* table;
    KzDeferredLuaStateLocator locator;
    int anchor;
};

// Runs protected: moves every reference of the state to the anchor.
int MoveReferences(lua_State* L)
{
    auto* request = static_cast<SettleRequest*>(lua_touserdata(L, 1));
    LuaBindingTable& table = *request->table;
    int anchor = request->anchor;
    if (anchor != 0) {
        // The anchor goes with the node's last wrapper: none left, nothing
        // else would keep the references.
        utility::PushAnchorTable(L, anchor, false);
        if (!lua_istable(L, -1))
            anchor = 0;
        lua_pop(L, 1);
    }
    auto move = [&](const LuaFunctionRef& function) {
        if (function && function->Locator() == request->locator)
            function->MoveTo(L, anchor);
    };
    if (VyrBinder* binder = table.GetBinder())
        binder->ForEachFunction(move);
    for (const auto& entry : table.timerFunctions)
        move(entry.second);
    for (const LuaFunctionRef& function : table.changed.functions)
        move(function);
    for (const LuaFunctionRef& function : table.interactive.functions)
        move(function);
    lua_pushnil(L);
    return 1;
}

} // namespace

void LuaBindingTable::Settle(vyrui::ui::UI_Node& node)
{
    bool held = node.UI_GetParentNode() != nullptr ||
                dynamic_cast<vyrui::ui::OS_Window*>(&node) != nullptr;
    MoveAll(held ? 0 : mAnchor);
}

void LuaBindingTable::WrapperGone(vyrui::ui::UI_Node& node)
{
    // One use count is the wrapper's own.
    if (--wrappers == 0 && node.GetUseCount() > 1)
        MoveAll(0);
}

void LuaBindingTable::MoveAll(int anchor)
{
    if (mAnchorLocator == nullptr)
        return;
    lua_State* L = mAnchorLocator();
    if (L == nullptr)
        return;
    SettleRequest request{this, mAnchorLocator, anchor};
    try {
        utility::PushFromProtectedCall(L, MoveReferences, &request);
        lua_pop(L, 1);
    } catch (const std::exception&) {
        // Out of memory: the references stay where they are, which only
        // keeps them longer.
    }
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
