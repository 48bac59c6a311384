// Makes controls behave as if the user had changed them, for automated UI
// scripts: the same messages reach the same callbacks.
#pragma once

#include <cstdint>

namespace vyrui::controls {

class UI_ControlView;
class UI_InteractiveControlView;

class UI_TestingSupport {
public:
    // The control's ordinary value-changed message.
    static void SendControlValueChangeMessage(UI_ControlView& control);
    // One step of a drag carrying `modifierFlags`; a drag step with no change
    // running begins one first, as a real drag would have.
    static void SimulateContinueInteractiveChange(UI_InteractiveControlView& control,
                                                  uint8_t modifierFlags);
};

} // namespace vyrui::controls
