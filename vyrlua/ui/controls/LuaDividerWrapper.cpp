#include "vyrlua/ui/controls/LuaDividerWrapper.h"

namespace vyrlua::ui {

const luaL_Reg LuaDividerWrapper::methods[] = {
    {nullptr, nullptr},
};

} // namespace vyrlua::ui
