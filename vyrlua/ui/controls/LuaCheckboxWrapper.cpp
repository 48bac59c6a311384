#include "vyrlua/ui/controls/LuaCheckboxWrapper.h"

#include "vyrlua/ui/LuaWrapperMethods.h"

namespace vyrlua::ui {

using vyrui::controls::UI_Checkbox;

const luaL_Reg LuaCheckboxWrapper::methods[] = {
    {"IsChecked", Method<UI_Checkbox, &UI_Checkbox::IsChecked>},
    {"SetChecked", Method<UI_Checkbox, &UI_Checkbox::SetChecked, Bool>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
