#include "vyrlua/ui/controls/LuaControlViewWrapper.h"

#include "vyrlua/ui/LuaBindingTable.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrlua/ui/VyrBinder.h"

namespace vyrlua::ui {

using namespace vyrui::controls;
using vyrui::ui::UI_Node;
using Listener = LuaBindingTable::ControlListener;

namespace {

constexpr const char* kValueChanged = "NotifyWhenChanged";
constexpr const char* kInteractiveChanged = "NotifyWhenChangedInteractively";

// Only the first attached function is ever called: a script that wants
// several reactions composes them in one function.
void DeliverToFirst(const Listener& listener, UI_Node& control, const char* operation,
                    std::initializer_list<vyrui::ui::UI_NotificationArg> args)
{
    if (listener.functions.empty())
        return;
    NotifyLuaFunction(listener.functions.front(), control,
                      {operation, std::span(args.begin(), args.size()), false});
}

// The listener `which` of the control's binding table, its host callback
// registered on first use. The callback holds the table, which the control
// (through its node) owns: it lives exactly as long as the control.
Listener* AttachListener(UI_ControlView& control, Listener LuaBindingTable::*which)
{
    LuaBindingTable* table = GetLuaBindingTable(control, true);
    if (!table)
        return nullptr;
    Listener& listener = table->*which;
    if (!listener.registered) {
        boost::intrusive_ptr<LuaBindingTable> held(table);
        UI_ControlView* node = &control;
        if (which == &LuaBindingTable::changed) {
            control.NotifyWhenChanged([held, node](const std::shared_ptr<Message>&) {
                DeliverToFirst(held->changed, *node, kValueChanged, {});
            });
        } else {
            auto* interactive = dynamic_cast<UI_InteractiveControlView*>(&control);
            if (!interactive)
                return nullptr;
            interactive->NotifyWhenChangedInteractively(
                [held, node](const std::shared_ptr<Message>& message) {
                    auto* change = dynamic_cast<UI_InteractiveControlChangedMessage*>(message.get());
                    if (!change)
                        return;
                    vyrui::ui::UI_InteractiveChange arg{change->GetControl().get(),
                                                        change->GetChangeMessage()};
                    DeliverToFirst(held->interactive, *node, kInteractiveChanged, {arg});
                });
        }
        listener.registered = true;
    }
    return &listener;
}

// NotifyWhenChanged(f) and NotifyWhenChangedInteractively(f): true when
// attached; false for an empty wrapper or a node that is not such a control.
template <typename Control, Listener LuaBindingTable::*Which>
int AttachBody(lua_State* L)
{
    if (!NodeAt(L, 1)) {
        lua_pushboolean(L, false);
        return 1;
    }
    utility::CheckType(L, 2, LUA_TFUNCTION);
    bool attached = false;
    {
        lua_pushvalue(L, 2);
        LuaFunctionRef function = utility::LuaReference<LUA_TFUNCTION>::Create(L);
        auto* control = dynamic_cast<Control*>(NodeAt(L, 1));
        if (Listener* listener = control ? AttachListener(*control, Which) : nullptr) {
            listener->functions.push_back(std::move(function));
            attached = true;
        }
    }
    lua_pushboolean(L, attached);
    return 1;
}

template <Listener LuaBindingTable::*Which>
void Clear(UI_ControlView& control)
{
    if (LuaBindingTable* table = GetLuaBindingTable(control, false)) {
        // Moved out first: releasing a reference may run Lua, which may
        // attach again.
        std::vector<LuaFunctionRef> dropped;
        dropped.swap((table->*Which).functions);
    }
}

} // namespace

void ClearControlNotifications(UI_Node& node)
{
    if (auto* control = dynamic_cast<UI_ControlView*>(&node))
        Clear<&LuaBindingTable::changed>(*control);
}

const luaL_Reg LuaControlViewWrapper::methods[] = {
    {"SetEnabled", Method<UI_ControlView, &UI_ControlView::SetEnabled, OptBool<true>>},
    {"GetEnabled", Method<UI_ControlView, &UI_ControlView::GetEnabled>},
    {"SetValueUnknown", Method<UI_ControlView, &UI_ControlView::SetValueUnknown>},
    {"IsValueUnknown", Method<UI_ControlView, &UI_ControlView::IsValueUnknown>},
    {"GetDownState", Method<UI_ControlView, &UI_ControlView::GetDownState>},
    {"SetDownState", Method<UI_ControlView, &UI_ControlView::SetDownState, OptBool<false>>},
    {"NotifyWhenChanged", utility::LuaBoundary<AttachBody<UI_ControlView, &LuaBindingTable::changed>>},
    {"ClearNotifications", Method<UI_ControlView, Clear<&LuaBindingTable::changed>>},
    {"GetSuppressFocusDrawing", Method<UI_ControlView, &UI_ControlView::GetSuppressFocusDrawing>},
    {"SetSuppressFocusDrawing", Method<UI_ControlView, &UI_ControlView::SetSuppressFocusDrawing, OptBool<true>>},
    {"GetWantsKeyboardFocus", Method<UI_ControlView, &UI_ControlView::UI_WantsKeyboardFocus>},
    {"SetWantsKeyboardFocus", Method<UI_ControlView, &UI_ControlView::UI_SetWantsKeyboardFocus, OptBool<true>>},
    {nullptr, nullptr},
};

const luaL_Reg LuaInteractiveControlViewWrapper::methods[] = {
    {"NotifyWhenChangedInteractively",
     utility::LuaBoundary<AttachBody<UI_InteractiveControlView, &LuaBindingTable::interactive>>},
    {"ClearInteractiveNotifications",
     Method<UI_InteractiveControlView, Clear<&LuaBindingTable::interactive>>},
    {nullptr, nullptr},
};

const luaL_Reg LuaTextControlBaseWrapper::methods[] = {
    {"SetLabelText", Method<UI_TextControlBase, &UI_TextControlBase::SetLabelText, Utf16>},
    {"GetLabelText", Method<UI_TextControlBase, &UI_TextControlBase::GetLabelText>},
    {"SetFontSizeId", Method<UI_TextControlBase, &UI_TextControlBase::SetFontSizeId,
                             EnumArg<vyrui::ui::ThemeFont, vyrui::ui::kThemeFont_Count, "font size id">>},
    {"GetLabelTextRect", Method<UI_TextControlBase, &UI_TextControlBase::GetLabelTextRect>},
    {"SetTextAlignment", Method<UI_TextControlBase, &UI_TextControlBase::SetTextAlignment, TextAlignmentArg>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
