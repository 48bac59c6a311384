#include "vyrlua/ui/controls/LuaOS_WindowWrapper.h"

#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrui/controls/UI_ControlView.h"

namespace vyrlua::ui {

using vyrui::controls::UI_ControlView;
using vyrui::ui::OS_Window;
using vyrui::ui::UI_Dialog;
using vyrui::ui::UI_Node;

namespace {

// A node argument that may be nil (clearing an owner or a role).
struct OptNode {
    using Raw = int; // its stack index, 0 for nil
    static constexpr const char* kLuaType = "vyrUINode?";
    static int Read(lua_State* L, int i)
    {
        if (lua_isnoneornil(L, i))
            return 0;
        NodeAt(L, i); // fails early for a value that is not a wrapper
        return i;
    }
    static UI_Node* ToHost(lua_State* L, int i) { return i ? NodeAt(L, i) : nullptr; }
};

// SetOwner(window or nil): nil (or a released window) clears the owner.
void SetOwner(OS_Window& window, UI_Node* owner)
{
    auto* ownerWindow = dynamic_cast<OS_Window*>(owner);
    if (owner != nullptr && ownerWindow == nullptr)
        utility::ThrowArgError(2, "window expected");
    window.SetOwner(ownerWindow);
}

UI_ControlView* ControlOrNull(UI_Node* node, const char* method)
{
    if (node == nullptr)
        return nullptr;
    auto* control = dynamic_cast<UI_ControlView*>(node);
    if (control == nullptr)
        throw vyrcore::config::HostException(std::string(method) + ": the button must be a control");
    return control;
}

void SetDefaultButton(UI_Dialog& dialog, UI_Node* button, int result)
{
    dialog.SetDefaultButton(ControlOrNull(button, "SetDefaultButton"), result);
}

void SetCancelButton(UI_Dialog& dialog, UI_Node* button, int result)
{
    dialog.SetCancelButton(ControlOrNull(button, "SetCancelButton"), result);
}

void SetButtonResult(UI_Dialog& dialog, UI_Node* button, int result)
{
    if (UI_ControlView* control = ControlOrNull(button, "SetButtonResult"))
        dialog.SetButtonResult(*control, result);
}

UI_ControlView* GetDefaultButton(UI_Dialog& dialog)
{
    return dialog.GetDefaultButton().get();
}

UI_ControlView* GetCancelButton(UI_Dialog& dialog)
{
    return dialog.GetCancelButton().get();
}

} // namespace

const luaL_Reg LuaOS_WindowWrapper::methods[] = {
    {"UI_SetGlobalStructureRect", Method<OS_Window, &OS_Window::UI_SetGlobalStructureRect, Rect>},
    {"UI_GetGlobalStructureRect", Method<OS_Window, &OS_Window::UI_GetGlobalStructureRect>},
    {"GetRecommendedScaleFactor", Method<OS_Window, &OS_Window::GetRecommendedScaleFactor>},
    {"SetOwner", Method<OS_Window, &SetOwner, OptNode>},
    {"UI_Activate", Method<OS_Window, &OS_Window::UI_Activate>},
    {nullptr, nullptr},
};

const luaL_Reg LuaDialogWrapper::methods[] = {
    {"RunModal", Method<UI_Dialog, &UI_Dialog::RunModal>},
    {"EndModal", Method<UI_Dialog, static_cast<void (UI_Dialog::*)(int)>(&UI_Dialog::EndModal), Int>},
    {"IsModal", Method<UI_Dialog, &UI_Dialog::IsModal>},
    {"GetModalResult", Method<UI_Dialog, &UI_Dialog::GetModalResult>},
    {"SetDefaultButton", Method<UI_Dialog, &SetDefaultButton, OptNode, OptInt<1>>},
    {"GetDefaultButton", Method<UI_Dialog, &GetDefaultButton>},
    {"SetCancelButton", Method<UI_Dialog, &SetCancelButton, OptNode, OptInt<0>>},
    {"GetCancelButton", Method<UI_Dialog, &GetCancelButton>},
    {"SetButtonResult", Method<UI_Dialog, &SetButtonResult, NodeArg, Int>},
    {"SetCancelResult", Method<UI_Dialog, &UI_Dialog::SetCancelResult, Int>},
    {"GetCancelResult", Method<UI_Dialog, &UI_Dialog::GetCancelResult>},
    {"Cancel", Method<UI_Dialog, &UI_Dialog::Cancel>},
    {"Close", Method<UI_Dialog, &UI_Dialog::Close>},
    {"SetTitle", Method<OS_Window, &OS_Window::SetTitle, Utf16>},
    {"GetTitle", Method<OS_Window, &OS_Window::GetTitle>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
