// Script code run in the middle of a call (an argument table's __index, a
// finalizer run by an allocation) releasing the objects the call works on:
// the call sees them released, never freed memory.
#include "DrawbotFixture.h"

#include "support/TestHelpers.h"

#include <gmock/gmock.h>

namespace vyrtest {
namespace {

// trap(t, f): a table reading as t whose first read runs f.
constexpr const char* kPrelude = R"(
local function trap(t, f)
    return setmetatable({}, { __index = function(_, k) if f then f() f = nil end return t[k] end })
end
local s = supplier:CreateOffscreenSurface(8, 8, true)
local db = vyrDrawbot.NewDrawbot(supplier:CreateOffscreenSurface(8, 8, true))
local path = PathInterface.newPath(db)
path:AddRect(rect(0, 0, 4, 4))
local image = s:GetSurfaceImage()
)";

TEST_F(DrawbotTest, ArgumentTablesReleasingTheObjectsOfTheCall)
{
    // The surface itself: every method reading a table reports it out of scope.
    for (const char* call :
         {"s:PaintRect(rect(0, 0, 1, 1), trap(rgba(1, 1, 1), function() s:Release() end))",
          "s:PaintRect(trap(rect(0, 0, 1, 1), function() s:Release() end), rgba(1, 1, 1))",
          "s:DrawString('x', 1, 1, trap(rgba(1, 1, 1), function() s:Release() end))",
          "s:DrawMultiLineString('x', rect(0, 0, 8, 8), trap(rgba(0, 0, 0), function() s:Release() end))",
          "s:DrawOutline(rect(0, 0, 4, 4), trap(rgba(0, 0, 0), function() s:Release() end))",
          "s:DrawRoundedFill(rect(0, 0, 4, 4), trap(rgba(0, 0, 0), function() s:Release() end), 1)",
          "s:IsWithinClipBounds(trap(rect(0, 0, 1, 1), function() s:Release() end))",
          "s:FillPath(path, trap(rgba(1, 0, 0), function() s:Release() end))",
          "s:DrawImage(image, trap({ x = 0, y = 0 }, function() s:Release() end))"})
        EXPECT_THAT(Error(std::string(kPrelude) + call), testing::HasSubstr("out-of-scope SurfaceInterface"))
            << call;
    // The other objects: the call does what it does for a released object.
    for (const char* call :
         {"s:FillPath(path, trap(rgba(1, 0, 0), function() path:Release() end))",
          "s:StrokePath(path, trap(rgba(1, 0, 0), function() path:Release() end))",
          "path:AddRect(trap(rect(0, 0, 1, 1), function() path:Release() end))",
          "path:BezierTo({ x = 0, y = 0 }, { x = 1, y = 1 }, trap({ x = 2, y = 2 }, function() path:Release() end))",
          "path:AddArc(trap({ x = 2, y = 2 }, function() path:Release() end), 1)",
          "s:DrawImage(image, trap({ x = 0, y = 0 }, function() image:Release() end))",
          "s:DrawImage2(image, trap(rect(0, 0, 2, 2), function() image:Release() end))",
          "assert(not PenInterface.newPen(db, trap(rgba(0, 0, 0), function() db:Release() end), 1))",
          "assert(not Shader.newLinearShader(db, trap({ x = 0, y = 0 }, function() db:Release() end),"
          " { x = 1, y = 0 }, rgba(0, 0, 0), rgba(1, 1, 1)))",
          "local sup = db:GetSupplier()\n"
          "assert(not PenInterface.newPenFromSupplier(sup, trap(rgba(0, 0, 0),"
          " function() getmetatable(sup).__gc(sup) end), 1))"})
        EXPECT_EQ(Run(std::string(kPrelude) + call + "\nreturn tostring(s)").size(), 1u) << call;
}

TEST_F(DrawbotTest, FinalizersReleasingTheObjectsOfTheCall)
{
    // A finalizer run by the allocation of the call's new object: what the
    // call gives (its error text, or its result).
    struct Case {
        const char* released;
        const char* call;
        const char* gives;
    };
    for (const Case& c : {Case{"s", "s:GetSurfaceImage()", "test:18: out-of-scope SurfaceInterface"},
                          Case{"s", "vyrDrawbot.NewDrawbot(s)", "nil"},
                          Case{"db", "PathInterface.newPath(db)", "nil"},
                          Case{"db", "db:CreateOffscreenSurface(2, 2)", "nil"}}) {
        // Nothing allocates between arming and the call.
        std::string code = std::string(kArmedPrelude) + kPrelude + "local f = function() local got = " +
                           c.call + " return got end\narmed(function() " + c.released + ":Release() end)\n"
                           "local ok, got = pcall(f)\ncalm() assert(ran) return tostring(got)";
        EXPECT_EQ(Eval(code), c.gives) << c.call;
    }
}

} // namespace
} // namespace vyrtest
