#include "vyrlua/ui/controls/LuaStaticTextWrapper.h"

#include "vyrlua/ui/LuaWrapperMethods.h"

namespace vyrlua::ui {

using vyrui::controls::UI_StaticText;

const luaL_Reg LuaStaticTextWrapper::methods[] = {
    {"SetStringValue", Method<UI_StaticText, &UI_StaticText::SetStringValue, Utf16>},
    {"GetStringValue", Method<UI_StaticText, &UI_StaticText::GetStringValue>},
    {"SetCustomTextColor", Method<UI_StaticText, &UI_StaticText::SetCustomTextColor, Color>},
    {"SetIsMultiline", Method<UI_StaticText, &UI_StaticText::SetIsMultiline, Bool>},
    {"SetAlignment", Method<UI_StaticText, &UI_StaticText::SetAlignment, Int>},
    {"SetCustomFontSize", Method<UI_StaticText, &UI_StaticText::SetCustomFontSize, Float>},
    {"SetCustomFontStyle", Method<UI_StaticText, &UI_StaticText::SetCustomFontStyle, Int>},
    {"SetTextTruncation", Method<UI_StaticText, &UI_StaticText::SetTextTruncation, Int>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
