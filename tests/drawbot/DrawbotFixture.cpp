#include "DrawbotFixture.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaSupplier.h"
#include "vyrlua/drawbot/LuaSurface.h"
#include "vyrui/drawbot/Supplier.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vyrtest {

using namespace vyrui::drawbot;

void DrawbotTest::SetUp()
{
    LuaTest::SetUp();
    Run(R"(
        for _, m in ipairs { "vyrDrawbot", "vyrSurfaceInterface", "vyrImageInterface",
                             "vyrPathInterface", "PenInterface", "ShaderInterface", "vyrSupplier" } do
            require("vyrlua.drawbot." .. m)
        end)");
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
    auto* object = vyrlua::drawbot::TestBlock<vyrlua::drawbot::SurfaceObject>(
        S, -1, vyrlua::drawbot::kSurfaceMetatable);
    boost::intrusive_ptr<SurfaceInterface> surface(object ? object->surface : nullptr);
    lua_settop(S, base);
    if (!surface)
        ADD_FAILURE() << "the code returned no live surface object\nin:\n" << code;
    return surface;
}

unsigned DrawbotTest::Pixel(SurfaceInterface& surface, int x, int y)
{
    boost::intrusive_ptr<ImageInterface> image = surface.GetSurfaceImage();
    std::uint32_t pixel;
    std::memcpy(&pixel, image->GetPixels() + y * image->GetStride() + x * 4, 4);
    return pixel;
}

namespace {

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

} // namespace

void DrawbotTest::ExpectGolden(const std::string& name, const std::string& code)
{
    boost::intrusive_ptr<SurfaceInterface> surface = SurfaceOf(code);
    if (!surface)
        return;
    boost::intrusive_ptr<ImageInterface> actual = surface->GetSurfaceImage();
    std::string golden = std::string(VYRLUA_GOLDEN_DIR) + "/" + name + ".png";

    const char* update = std::getenv("VYRLUA_UPDATE_GOLDEN");
    if (update != nullptr && std::strcmp(update, "1") == 0) {
        std::string error;
        EXPECT_TRUE(WritePNG(*actual, golden, &error)) << error;
        return;
    }

    std::string bytes = ReadFile(golden);
    ASSERT_FALSE(bytes.empty()) << "no golden " << golden
                                << " (run with VYRLUA_UPDATE_GOLDEN=1 to make it)";
    boost::intrusive_ptr<ImageInterface> expected =
        vyrlua::drawbot::DefaultDrawSupplier()->NewImageFromBuffer(1, bytes.data(), bytes.size());
    ASSERT_EQ(expected->GetWidth(), actual->GetWidth()) << name;
    ASSERT_EQ(expected->GetHeight(), actual->GetHeight()) << name;

    int worst = 0;
    int off = 0;
    for (int y = 0; y < actual->GetHeight(); ++y) {
        const std::uint8_t* a = actual->GetPixels() + y * actual->GetStride();
        const std::uint8_t* e = expected->GetPixels() + y * expected->GetStride();
        for (int i = 0; i < actual->GetWidth() * 4; ++i) {
            int diff = std::abs(int(a[i]) - int(e[i]));
            worst = std::max(worst, diff);
            off += diff > kGoldenTolerance;
        }
    }
    if (worst > kGoldenTolerance) {
        std::filesystem::create_directories(VYRLUA_GOLDEN_FAILURES);
        std::string saved = std::string(VYRLUA_GOLDEN_FAILURES) + "/" + name + ".png";
        WritePNG(*actual, saved);
        ADD_FAILURE() << name << ": " << off << " channel values differ by more than "
                      << kGoldenTolerance << " (worst " << worst << "); rendering saved as "
                      << saved;
    }
}

} // namespace vyrtest
