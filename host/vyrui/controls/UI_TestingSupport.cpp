#include "vyrui/controls/UI_TestingSupport.h"

#include "vyrui/controls/UI_InteractiveControlView.h"

namespace vyrui::controls {

void UI_TestingSupport::SendControlValueChangeMessage(UI_ControlView& control)
{
    control.NotifyValueChanged();
}

void UI_TestingSupport::SimulateContinueInteractiveChange(UI_InteractiveControlView& control,
                                                          uint8_t modifierFlags)
{
    ui::UI_Node::Ptr held(&control);
    if (!control.IsChangingInteractively())
        control.BeginInteractiveChange();
    control.ContinueInteractiveChange(modifierFlags);
}

} // namespace vyrui::controls
