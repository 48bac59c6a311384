#include "vyrlua/ui/VyrBinder.h"

#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"

namespace vyrlua::ui {

using namespace vyrui::events;

void VyrBinder::Bind(std::string_view operation, LuaFunctionRef function)
{
    for (size_t i = 0; i < kNodeOperationNames.size(); ++i) {
        if (operation == kNodeOperationNames[i])
            mKnown[i] = function;
    }
    LuaBinder::Bind(operation, std::move(function));
}

template <typename Event, typename PushEvent>
bool VyrBinder::Deliver(NodeOperation op, vyrui::ui::UI_Node& node, const Event& event,
                        PushEvent push)
{
    const LuaFunctionRef& function = mKnown[static_cast<size_t>(op)];
    if (!function)
        return false;
    return Dispatch(function, kNodeOperationNames[static_cast<size_t>(op)], [&](lua_State* L) {
        int nargs = push(L, event);
        if (LuaControlWrapperFactory(NodePtr(&node), L))
            ++nargs;
        return nargs;
    });
}

bool VyrBinder::OnDoMouseEvent(vyrui::ui::UI_Node& node, const MouseEvent& event)
{
    return Deliver(NodeOperation::MouseEvent, node, event, PushMouseEventToLua);
}

bool VyrBinder::OnDoPreMouseEvent(vyrui::ui::UI_Node& node, const MouseEvent& event)
{
    return Deliver(NodeOperation::PreMouseEvent, node, event, PushMouseEventToLua);
}

bool VyrBinder::OnDoKeyboardEvent(vyrui::ui::UI_Node& node, const KeyboardEvent& event)
{
    return Deliver(NodeOperation::KeyboardEvent, node, event, PushKeyboardEventToLua);
}

bool VyrBinder::OnDoTouchEvent(vyrui::ui::UI_Node& node, const TouchEvent& event)
{
    return Deliver(NodeOperation::TouchEvent, node, event, PushTouchEventToLua);
}

bool VyrBinder::OnDoMultiTouchEvent(vyrui::ui::UI_Node& node, const MultiTouchEvent& event)
{
    return Deliver(NodeOperation::MultiTouchEvent, node, event, PushMultiTouchEventToLua);
}

bool VyrBinder::OnDoGestureEvent(vyrui::ui::UI_Node& node, const GestureEvent& event)
{
    return Deliver(NodeOperation::GestureEvent, node, event, PushGestureEventToLua);
}

bool VyrBinder::OnDoCursor(vyrui::ui::UI_Node& node, const MouseEvent& event)
{
    return Deliver(NodeOperation::Cursor, node, event, PushMouseEventToLua);
}

} // namespace vyrlua::ui
