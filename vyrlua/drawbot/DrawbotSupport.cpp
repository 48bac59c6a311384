#include "vyrlua/drawbot/DrawbotSupport.h"

#include "vyrui/drawbot/Supplier.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <string>

namespace vyrlua::drawbot {

void PushMetatable(lua_State* L, const char* name, MetatableRegistrar registrar)
{
    luaL_getmetatable(L, name);
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        registrar(L);
        luaL_getmetatable(L, name);
    }
}

std::shared_ptr<vyrui::drawbot::SupplierInterface> DefaultDrawSupplier()
{
    // The node manager keeps its suppliers; one it was not given yet is made
    // here and handed to it, so every caller shares the same one.
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get();
    if (!manager->GetDefaultDrawSupplier())
        manager->SetDefaultDrawSupplier(vyrui::drawbot::CreateDefaultSupplier());
    return manager->GetDefaultDrawSupplier();
}

std::shared_ptr<vyrui::drawbot::SupplierInterface> OSDrawSupplier()
{
    vyrui::ui::UI_NodeManager* manager = vyrui::ui::UI_NodeManager::Get();
    if (!manager->GetOSDrawSupplier())
        manager->SetOSDrawSupplier(vyrui::drawbot::CreateOSSupplier());
    return manager->GetOSDrawSupplier();
}

boost::intrusive_ptr<vyrui::drawbot::FontInterface>
NewUIFont(vyrui::drawbot::SupplierInterface& supplier, float size)
{
    return supplier.NewFont(vyrui::drawbot::ValidateFontName(vyrui::ui::GetFontName()), size);
}

float OptTextSize(lua_State* L, int narg)
{
    if (lua_isnoneornil(L, narg))
        return vyrui::drawbot::DefaultTextSize();
    return utility::ToFloat(utility::CheckNumber(L, narg));
}

int CheckEnum(lua_State* L, int narg, int count, const char* kind)
{
    lua_Number n = utility::CheckNumber(L, narg);
    if (!(n >= 0 && n < count))
        utility::ThrowArgError(narg, std::string("invalid ") + kind);
    return static_cast<int>(n);
}

int OptEnum(lua_State* L, int narg, int def, int count, const char* kind)
{
    return lua_isnoneornil(L, narg) ? def : CheckEnum(L, narg, count, kind);
}

} // namespace vyrlua::drawbot
