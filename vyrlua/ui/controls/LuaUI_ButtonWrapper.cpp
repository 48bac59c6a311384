#include "vyrlua/ui/controls/LuaUI_ButtonWrapper.h"

#include "vyrlua/ui/LuaWrapperMethods.h"

namespace vyrlua::ui {

using vyrui::controls::UI_Button;

// A boolean setter and its getter, as the button names them.
#define VYR_BUTTON_FLAG(Set, Get)                         \
    {#Set, Method<UI_Button, &UI_Button::Set, Bool>},     \
    {#Get, Method<UI_Button, &UI_Button::Get>}

const luaL_Reg LuaUI_ButtonWrapper::methods[] = {
    {"SetValue", Method<UI_Button, &UI_Button::SetValue, Int>},
    {"GetValue", Method<UI_Button, &UI_Button::GetValue>},
    VYR_BUTTON_FLAG(SetDisplayContainerNever, ShouldDisplayContainerNever),
    VYR_BUTTON_FLAG(SetDisplayContainerAlways, ShouldDisplayContainerAlways),
    VYR_BUTTON_FLAG(SetDisplayBorderNever, ShouldDisplayBorderNever),
    VYR_BUTTON_FLAG(SetDisplayBackground, ShouldDisplayBackground),
    VYR_BUTTON_FLAG(SetDisplayBorderAlways, ShouldDisplayBorderAlways),
    VYR_BUTTON_FLAG(SetDisplayChromelessNormalState, ShouldDisplayChromelessNormalState),
    VYR_BUTTON_FLAG(SetInsetUndrawnSpace, ShouldInsetUndrawnSpace),
    VYR_BUTTON_FLAG(SetDrawInnerBevelOutline, ShouldDrawInnerBevelOutline),
    VYR_BUTTON_FLAG(SetChangeFocusOnClick, GetChangeFocusOnClick),
    VYR_BUTTON_FLAG(SetNotificationOnMouseDown, GetNotificationOnMouseDown),
    VYR_BUTTON_FLAG(SetSpringLoaded, GetSpringLoaded),
    {"SetContentOffset", Method<UI_Button, &UI_Button::SetContentOffset, Point>},
    {"SetCornerRadius", Method<UI_Button, &UI_Button::SetCornerRadius, Float>},
    {"GetCornerRadius", Method<UI_Button, &UI_Button::GetCornerRadius>},
    {"SetStrokeSizes", Method<UI_Button, &UI_Button::SetStrokeSizes, Point>},
    {"GetStrokeSizes", Method<UI_Button, &UI_Button::GetStrokeSizes>},
    VYR_BUTTON_FLAG(SetCommitAppearance, GetCommitAppearance),
    VYR_BUTTON_FLAG(SetDefaultAppearance, GetDefaultAppearance),
    {nullptr, nullptr},
};

#undef VYR_BUTTON_FLAG

} // namespace vyrlua::ui
