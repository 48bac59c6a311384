#include "DrawbotFixture.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/drawbot/LuaSurface.h"
#include "vyrui/drawbot/Supplier.h"

#include <cstdlib>

namespace vyrtest {

using namespace vyrui::drawbot;

void DrawbotTest::SetUp()
{
    LuaTest::SetUp();
    Run(R"(
        for _, m in ipairs { "vyrDrawbot", "vyrSurfaceInterface", "vyrImageInterface",
                             "vyrPathInterface", "PenInterface", "ShaderInterface", "vyrSupplier" } do
            require("vyrlua.drawbot." .. m)
        end
        function rgba(r, g, b, a) return { red = r, green = g, blue = b, alpha = a or 1 } end
        function rect(l, t, w, h) return { left = l, top = t, width = w, height = h } end
        function pt(x, y) return { x = x, y = y } end)");
    vyrlua::drawbot::PushSupplierToLua(L(), vyrlua::drawbot::DefaultDrawSupplier().get());
    lua_setglobal(L(), "supplier");
    const char* data = std::getenv("VYRLUA_TEST_DATA");
    lua_pushstring(L(), data ? data : "");
    lua_setglobal(L(), "data");
}

std::string DrawbotTest::DataFile(const std::string& name)
{
    const char* data = std::getenv("VYRLUA_TEST_DATA");
    return std::string(data ? data : ".") + "/" + name;
}

boost::intrusive_ptr<SurfaceInterface> DrawbotTest::SurfaceOf(const std::string& code)
{
    lua_State* S = L();
    int base = lua_gettop(S);
    if (luaL_loadbuffer(S, code.data(), code.size(), "=test") != 0 || lua_pcall(S, 0, 1, 0) != 0) {
        ADD_FAILURE() << "Lua error: " << lua_tostring(S, -1) << "\nin:\n" << code;
        lua_settop(S, base);
        return nullptr;
    }
    auto* object = vyrlua::drawbot::LuaSurface::Test(S, -1);
    boost::intrusive_ptr<SurfaceInterface> surface(object ? object->surface : nullptr);
    lua_settop(S, base);
    if (!surface)
        ADD_FAILURE() << "the code returned no live surface object\nin:\n" << code;
    return surface;
}

void DrawbotTest::ExpectGolden(const std::string& name, const std::string& code)
{
    boost::intrusive_ptr<SurfaceInterface> surface = SurfaceOf(code);
    if (surface)
        ExpectMatchesGolden(*surface->GetSurfaceImage(), {VYRLUA_GOLDEN_DIR, VYRLUA_GOLDEN_FAILURES},
                            name);
}

} // namespace vyrtest
