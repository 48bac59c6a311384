// Who owns what: owned and borrowed drawbots, released and out-of-scope
// surfaces, and released paths, pens, shaders and images.
#include "DrawbotFixture.h"

#include "vyrlua/drawbot/DrawbotSupport.h"
#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrui/drawbot/Drawbot.h"

namespace vyrtest {
namespace {

using namespace vyrui::drawbot;

TEST_F(DrawbotTest, ReleasedSurfaceFailsOnEveryMethodWithTheSameText)
{
    std::vector<std::string> results = Run(R"(
        local s = supplier:CreateOffscreenSurface(8, 8)
        s:Release()
        local names, failures = {}, {}
        for name, value in pairs(getmetatable(s)) do
            if type(value) == "function" and name ~= "__gc" and name ~= "__tostring" then
                names[#names + 1] = name
                local ok, err = pcall(value, s)
                if ok or err ~= "out-of-scope SurfaceInterface" then
                    failures[#failures + 1] = name .. ": " .. tostring(err)
                end
            end
        end
        return #names > 0, table.concat(failures, "; "), tostring(s))");
    // __gc and __tostring must keep working.
    EXPECT_EQ(results, (std::vector<std::string>{"true", "", "vyrSurfaceInterface(released)"}));
    EXPECT_EQ(Error("local s = supplier:CreateOffscreenSurface(8, 8)\ns:Release()\ns:Release()"),
              "test:3: out-of-scope SurfaceInterface");
}

TEST_F(DrawbotTest, NewDrawbotOnAReleasedSurfaceReturnsNothing)
{
    EXPECT_EQ(Eval(R"(
        local s = supplier:CreateOffscreenSurface(8, 8)
        s:Release()
        return select("#", vyrDrawbot.NewDrawbot(s)))"),
              "0");
}

TEST_F(DrawbotTest, OwnedDrawbotTakesItsHandedOutSurfacesWithIt)
{
    std::vector<std::string> results = Run(R"(
        local s = supplier:CreateOffscreenSurface(8, 8)
        local db = vyrDrawbot.NewDrawbot(s)
        local handed = db:GetSurface()
        handed:PaintRect(rect(0, 0, 4, 4), rgba(1, 0, 0))
        db:Release()
        db:Release()
        local ok, err = pcall(handed.PaintRect, handed, rect(0, 0, 1, 1), rgba(0, 0, 0))
        -- The surface the drawbot was made over is the script's own: still usable.
        s:PaintRect(rect(4, 4, 4, 4), rgba(0, 1, 0))
        return err, select("#", db:GetSurface()), tostring(db), tostring(handed))");
    EXPECT_EQ(results, (std::vector<std::string>{"out-of-scope SurfaceInterface", "0",
                                                 "vyrDrawbot(released)",
                                                 "vyrSurfaceInterface(released)"}));
}

TEST_F(DrawbotTest, SecondGetSurfaceGivesTheSameBlockAsLightUserdata)
{
    std::vector<std::string> results = Run(R"(
        local s = supplier:CreateOffscreenSurface(8, 8, true)
        local db = vyrDrawbot.NewDrawbot(s)
        local first = db:GetSurface()
        local text = tostring(first)
        first = nil
        collectgarbage()
        local second = db:GetSurface()
        second:PaintRect(rect(0, 0, 8, 8), rgba(0, 0, 1))
        local third = db:GetSurface()
        return text == tostring(second), rawequal(second, third), second.kTextAlignment_Right,
               type(second))");
    EXPECT_EQ(results, (std::vector<std::string>{"true", "true", "2", "userdata"}));
}

// Light surfaces outliving their drawbot objects through every order of
// release and incremental collection, while new surface objects take the
// freed blocks: each call is out of scope or draws on a live surface.
TEST_F(DrawbotTest, LightSurfacesOutlivingTheirOwnersNeverReachFreedBlocks)
{
    EXPECT_EQ(Eval(R"(
        local lights, drew = {}, 0
        for i = 1, 200 do
            local s = supplier:CreateOffscreenSurface(4, 4, true)
            local db = vyrDrawbot.NewDrawbot(s)
            local first = db:GetSurface()
            lights[#lights + 1] = db:GetSurface()
            if i % 3 == 0 then s:Release() end
            if i % 5 == 0 then first = nil end
            collectgarbage("step", 1)
            for _, light in ipairs(lights) do
                if pcall(light.PaintRect, light, rect(0, 0, 1, 1), rgba(0, 0, 0)) then
                    drew = drew + 1
                end
                tostring(light)
            end
        end
        collectgarbage()
        for _, light in ipairs(lights) do
            local ok, err = pcall(light.Flush, light)
            assert(not ok and err == "out-of-scope SurfaceInterface", err)
        end
        return drew > 0)"),
              "true");
}

TEST_F(DrawbotTest, BorrowedDrawbotGoesOutOfScopeWithTheNativeDrawbot)
{
    std::shared_ptr<SupplierInterface> supplier = vyrlua::drawbot::DefaultDrawSupplier();
    boost::intrusive_ptr<SurfaceInterface> surface = supplier->NewOffscreenSurface(8, 8, true);
    {
        // What a native draw callback does: a drawbot on its own stack.
        Drawbot drawbot(supplier, surface);
        vyrlua::drawbot::PushDrawbotToLua(L(), drawbot);
        lua_setglobal(L(), "callbackDrawbot");
        Run(R"(
            kept = callbackDrawbot:GetSurface()
            kept:PaintRect(rect(0, 0, 8, 8), rgba(1, 0, 0))
            callbackDrawbot:Release() -- lets go, destroys nothing
            return select("#", callbackDrawbot:GetSurface()))");
        EXPECT_EQ(drawbot.GetHandOutCount(), 1u); // the surface object's
        EXPECT_EQ(PixelAt(*surface, 4, 4), 0xFFFF0000u);
    }
    EXPECT_EQ(Error("kept:Flush()"), "test:1: out-of-scope SurfaceInterface");
    EXPECT_EQ(Eval("return tostring(callbackDrawbot)"), "vyrDrawbot(released)");
    Run("kept = nil callbackDrawbot = nil collectgarbage() collectgarbage()");
    EXPECT_EQ(surface->GetUseCount(), 1); // every reference the objects took is back
}

TEST_F(DrawbotTest, BorrowedDrawbotSurvivesItsLuaObject)
{
    std::shared_ptr<SupplierInterface> supplier = vyrlua::drawbot::DefaultDrawSupplier();
    boost::intrusive_ptr<SurfaceInterface> surface = supplier->NewOffscreenSurface(8, 8, true);
    Drawbot drawbot(supplier, surface);
    vyrlua::drawbot::PushDrawbotToLua(L(), drawbot);
    lua_setglobal(L(), "callbackDrawbot");
    Run("callbackDrawbot:GetSurface() callbackDrawbot = nil collectgarbage() collectgarbage()");
    EXPECT_EQ(drawbot.GetHandOutCount(), 0u);
    EXPECT_EQ(drawbot.GetSurface(), surface.get());
}

TEST_F(DrawbotTest, SupplierSurfaceOwnsItsDrawbotAndGivesEverythingBack)
{
    boost::intrusive_ptr<SurfaceInterface> surface = SurfaceOf(R"(
        kept = supplier:CreateOffscreenSurface(8, 8)
        local db = vyrDrawbot.NewDrawbot(kept)
        db:GetSurface()
        return kept)");
    ASSERT_TRUE(surface);
    int inUse = surface->GetUseCount();
    EXPECT_GE(inUse, 3); // this test, the surface object, its drawbot, the new drawbot
    Run("kept:Release() kept = nil collectgarbage() collectgarbage()");
    EXPECT_EQ(surface->GetUseCount(), 1);
}

TEST_F(DrawbotTest, ReleasedPathsPensShadersAndImagesDoNothing)
{
    std::vector<std::string> results = Run(R"(
        local s = supplier:CreateOffscreenSurface(8, 8, true)
        local db = vyrDrawbot.NewDrawbot(s)
        local path = PathInterface.newPath(db)
        path:AddRect(rect(0, 0, 8, 8))
        local pen = PenInterface.newPen(db, rgba(0, 0, 0), 3)
        local shader = Shader.newLinearShader(db, { x = 0, y = 0 }, { x = 8, y = 0 },
                                              rgba(0, 0, 0), rgba(0, 0, 0))
        local image = s:GetSurfaceImage()
        for _, o in ipairs { path, pen, shader, image } do o:Release() o:Release() end
        local counts = {}
        local function count(...) counts[#counts + 1] = select("#", ...) end
        count(path:MoveTo(1, 1)) count(path:LineTo(2, 2)) count(path:AddArc({ x = 1, y = 1 }, 1))
        count(path:ClosePath()) count(path:AddRect(rect(0, 0, 1, 1)))
        count(pen:GetWidth()) count(pen:SetWidth(2)) count(pen:GetLineJoin()) count(pen:GetLineCap())
        count(pen:GetMiterLimit()) count(pen:SetDashPattern(1, 2))
        count(image:GetWidth()) count(image:GetHeight())
        -- Drawing with them draws nothing.
        s:FillPath(path, rgba(0, 0, 0))
        s:StrokePath(PathInterface.newPath(db), pen)
        s:ShadePath(path, shader)
        s:Clip(path)
        s:DrawImage(image, { x = 0, y = 0 })
        return table.concat(counts, ","), tostring(path), tostring(pen), tostring(shader),
               tostring(image))");
    EXPECT_EQ(results, (std::vector<std::string>{"0,0,0,0,0,0,0,0,0,0,0,0,0",
                                                 "vyrPathInterface(released)",
                                                 "PenInterface(released)",
                                                 "ShaderInterface(released)",
                                                 "ImageInterface(released)"}));
}

TEST_F(DrawbotTest, ForgedBlocksAreRefusedAndCollectedQuietly)
{
    EXPECT_EQ(Error(R"(
        local forged = newproxy(false)
        debug.setmetatable(forged, getmetatable(supplier:CreateOffscreenSurface(1, 1)))
        forged:Flush())"),
              "test:4: calling 'Flush' on bad self (vyrlua.vyrSurfaceInterface expected, got "
              "userdata)");
    Run(R"(
        for _, name in ipairs { "vyrlua.vyrDrawbot", "vyrlua.vyrPathInterface", "vyrlua.Shader",
                                "vyrlua.drawbot.PenInterface", "vyrlua.vyrImageInterface",
                                "vyrlua.drawbot.vyrSupplierInterface" } do
            debug.setmetatable(newproxy(false), debug.getregistry()[name])
        end
        collectgarbage())");
}

} // namespace
} // namespace vyrtest
