#include "vyrlua/ui/controls/LuaStaticTextWrapper.h"

#include "vyrlua/ui/LuaWrapperMethods.h"

namespace vyrlua::ui {

using vyrui::controls::FontStyle;
using vyrui::controls::UI_StaticText;

const luaL_Reg LuaStaticTextWrapper::methods[] = {
    {"SetStringValue", Method<UI_StaticText, &UI_StaticText::SetStringValue, Utf16>},
    {"GetStringValue", Method<UI_StaticText, &UI_StaticText::GetStringValue>},
    {"SetCustomTextColor", Method<UI_StaticText, &UI_StaticText::SetCustomTextColor, Color>},
    {"SetIsMultiline", Method<UI_StaticText, &UI_StaticText::SetIsMultiline, Bool>},
    {"SetAlignment", Method<UI_StaticText, &UI_StaticText::SetAlignment, TextAlignmentArg>},
    {"SetCustomFontSize", Method<UI_StaticText, &UI_StaticText::SetCustomFontSize, Float>},
    {"SetCustomFontStyle",
     Method<UI_StaticText, &UI_StaticText::SetCustomFontStyle, EnumArg<FontStyle, 2, "font style">>},
    {"SetTextTruncation", Method<UI_StaticText, &UI_StaticText::SetTextTruncation, TextTruncationArg>},
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
