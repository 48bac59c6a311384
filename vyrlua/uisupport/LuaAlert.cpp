// require "vyrlua.uisupport.Alert": alerts for scripts.
//
//   Alert.Show(message [, title [, type [, icon]]]) -> the button chosen
//   Alert.New(message [, title [, type [, icon]]])  -> the alert's dialog,
//       not shown ("vyrLuaDialog"; RunModal gives the button chosen)
//
// Types kAlertType_OK (the default), _OKCancel, _YesNo, _YesNoCancel; icons
// kAlertIcon_None (the default), _Info, _Warning, _Error; answers
// kAlertButton_OK, _Cancel, _Yes, _No. Show blocks in a modal run until the
// alert is answered; headless runs answer it through vyrhost.input.
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrcore/string.h"
#include "vyrui/ui/UI_Alert.h"

namespace vyr::lua::uisupport {

namespace {

using namespace vyrui::ui;
using vyrlua::utility::LuaBoundary;

struct AlertArgs {
    std::string_view message;
    std::string_view title;
    int type = kAlertType_OK;
    int icon = kAlertIcon_None;
};

AlertArgs ReadAlertArgs(lua_State* L)
{
    AlertArgs args;
    args.message = vyrlua::utility::CheckLString(L, 1);
    args.title = vyrlua::utility::OptLString(L, 2, {});
    args.type = vyrlua::utility::OptInt(L, 3, kAlertType_OK);
    args.icon = vyrlua::utility::OptInt(L, 4, kAlertIcon_None);
    if (args.type < 0 || args.type >= kAlertType_Count)
        vyrlua::utility::ThrowArgError(3, "alert type expected (Alert.kAlertType_*)");
    if (args.icon < 0 || args.icon >= kAlertIcon_Count)
        vyrlua::utility::ThrowArgError(4, "alert icon expected (Alert.kAlertIcon_*)");
    return args;
}

int ShowBody(lua_State* L)
{
    AlertArgs args = ReadAlertArgs(L);
    const int answer = ShowAlert(vyrcore::string::UTF8to16(args.message),
                                 vyrcore::string::UTF8to16(args.title), args.type, args.icon);
    lua_pushinteger(L, answer);
    return 1;
}

int NewBody(lua_State* L)
{
    AlertArgs args = ReadAlertArgs(L);
    vyrlua::ui::NodePtr alert = MakeAlert(vyrcore::string::UTF8to16(args.message),
                                          vyrcore::string::UTF8to16(args.title), args.type, args.icon);
    return vyrlua::ui::LuaControlWrapperFactory(alert, L) ? 1 : 0;
}

const luaL_Reg kNoMethods[] = {{nullptr, nullptr}};

const luaL_Reg kFunctions[] = {
    {"Show", LuaBoundary<ShowBody>},
    {"New", LuaBoundary<NewBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    vyrlua::RegisterMetatable(L, "vyrlua.uisupport.Alert", kNoMethods);
    luaL_register(L, "Alert", kFunctions);
    const std::pair<const char*, int> constants[] = {
        {"kAlertType_OK", kAlertType_OK},
        {"kAlertType_OKCancel", kAlertType_OKCancel},
        {"kAlertType_YesNo", kAlertType_YesNo},
        {"kAlertType_YesNoCancel", kAlertType_YesNoCancel},
        {"kAlertType_Default", kAlertType_OK},
        {"kAlertIcon_None", kAlertIcon_None},
        {"kAlertIcon_Info", kAlertIcon_Info},
        {"kAlertIcon_Warning", kAlertIcon_Warning},
        {"kAlertIcon_Error", kAlertIcon_Error},
        {"kAlertIcon_Default", kAlertIcon_None},
        {"kAlertButton_OK", kAlertButton_OK},
        {"kAlertButton_Cancel", kAlertButton_Cancel},
        {"kAlertButton_Yes", kAlertButton_Yes},
        {"kAlertButton_No", kAlertButton_No},
    };
    for (const auto& [name, value] : constants)
        vyrlua::SetIntegerField(L, name, value);
    return 1;
}

} // namespace

} // namespace vyr::lua::uisupport

extern "C" int luaopen_vyrlua_uisupport_Alert(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyr::lua::uisupport::OpenBody>(L);
}
