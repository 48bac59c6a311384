#include "vyrlua/ui/KnownOperations.h"

#include "vyrlua/ui/controls/LuaSubView.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrcore/debug.h"
#include "vyrui/ui/UI_Binder.h"

#include <mutex>
#include <set>
#include <string>

namespace vyrlua::ui {

namespace {

// Every node's input operations, then a script-drawn view's.
constexpr const char* kDispatchedOperations[] = {
    vyrui::ui::kOp_MouseEvent,      vyrui::ui::kOp_PreMouseEvent, vyrui::ui::kOp_KeyboardEvent,
    vyrui::ui::kOp_TouchEvent,      vyrui::ui::kOp_MultiTouchEvent, vyrui::ui::kOp_GestureEvent,
    vyrui::ui::kOp_Cursor,          LuaSubView::kOp_Draw,          LuaSubView::kOp_SizeChanged,
    LuaSubView::kOp_LayoutChildren,
};

UnknownOperation gPolicy = UnknownOperation::Warn;

} // namespace

bool IsDispatchedOperation(std::string_view operation)
{
    for (const char* known : kDispatchedOperations)
        if (operation == known)
            return true;
    return false;
}

void SetUnknownOperationPolicy(UnknownOperation policy)
{
    gPolicy = policy;
}

void CheckBoundOperation(lua_State* L, std::string_view operation)
{
    if (IsDispatchedOperation(operation))
        return;
    std::string message = "BindVyrOperation: no node dispatches the operation '" + std::string(operation) +
                          "', so its handler would never run (operations:";
    for (const char* known : kDispatchedOperations)
        message += std::string(" ") + known;
    message += ")";
    if (gPolicy == UnknownOperation::Error)
        throw utility::LuaError(message);
    // The binding's place, as an error would give it; once per place.
    lua_Debug ar;
    std::string where;
    if (lua_getstack(L, 1, &ar) && lua_getinfo(L, "Sl", &ar) && ar.currentline > 0)
        where = std::string(ar.short_src) + ":" + std::to_string(ar.currentline) + ": ";
    static std::mutex mutex;
    static std::set<std::string> warned;
    std::lock_guard lock(mutex);
    if (warned.insert(where + std::string(operation)).second)
        vyrcore::debug::Log("vyrlua", vyrcore::debug::Level::Warning, where + message);
}

} // namespace vyrlua::ui
