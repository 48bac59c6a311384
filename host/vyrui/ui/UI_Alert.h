// Alerts: a message, an optional sign and a row of answer buttons in a
// modal dialog made of the host's own controls, the answer being the button
// chosen. The dialog is an ordinary UI_Dialog, so everything that answers a
// dialog (a click, Enter, Escape, closing, simulated input) answers an alert.
#pragma once

#include "vyrui/ui/OS_Window.h"

#include <string>

namespace vyrui::ui {

enum AlertType : int {
    kAlertType_OK = 0,
    kAlertType_OKCancel = 1,
    kAlertType_YesNo = 2,
    kAlertType_YesNoCancel = 3,
    kAlertType_Count = 4,
};

enum AlertIcon : int {
    kAlertIcon_None = 0,
    kAlertIcon_Info = 1,
    kAlertIcon_Warning = 2,
    kAlertIcon_Error = 3,
    kAlertIcon_Count = 4,
};

// The answers (the results of the alert's modal run).
enum AlertButton : int {
    kAlertButton_OK = 1,
    kAlertButton_Cancel = 2,
    kAlertButton_Yes = 6,
    kAlertButton_No = 7,
};

// A new alert dialog, not yet shown. The buttons are named "ok", "cancel",
// "yes" and "no", the message "message" and the sign "icon"; the
// affirmative button is the default (Enter), and Escape or closing answers
// Cancel, else No, else OK. The dialog's title is `title`, or "Alert" when
// empty. HostException for a type or icon out of range.
boost::intrusive_ptr<UI_Dialog> MakeAlert(std::u16string message, std::u16string title,
                                          int type = kAlertType_OK, int icon = kAlertIcon_None);

// MakeAlert, run modally over the active window, closed; returns the answer.
int ShowAlert(std::u16string message, std::u16string title, int type = kAlertType_OK,
              int icon = kAlertIcon_None);

} // namespace vyrui::ui
