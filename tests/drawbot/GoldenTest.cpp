// Rendering compared with golden PNGs (tests/drawbot/golden). Regenerate
// them with VYRLUA_UPDATE_GOLDEN=1 after a deliberate change, and look at
// every one before committing it.
#include "DrawbotFixture.h"

namespace vyrtest {
namespace {

// Every golden script starts with `s`, a white W x H surface, and its `db`.
std::string Scene(int width, int height, const std::string& body)
{
    return "local s = supplier:CreateOffscreenSurface(" +
           std::to_string(width) + ", " + std::to_string(height) +
           ", true)\n"
           "local db = vyrDrawbot.NewDrawbot(s)\n" +
           body + "\nreturn s\n";
}

TEST_F(DrawbotTest, GoldenRectanglesAndOutlines)
{
    ExpectGolden("rects_outlines", Scene(64, 48, R"(
        s:PaintRect(rect(4, 4, 24, 16), rgba(0.9, 0.2, 0.1))
        s:PaintRect(rect(16, 12, 24, 16), rgba(0.1, 0.3, 0.9, 0.5))
        s:PaintRect(rect(44.5, 4.5, 15, 15), rgba(0, 0.6, 0.2))
        s:DrawOutline(rect(4, 28, 24, 16), rgba(0, 0, 0))
        s:DrawOutline(rect(34, 26, 26, 20), rgba(0.8, 0.1, 0.6), 2, 3)
    )"));
}

TEST_F(DrawbotTest, GoldenRoundedFills)
{
    ExpectGolden("rounded_fills", Scene(64, 32, R"(
        s:DrawRoundedFill(rect(2, 2, 18, 28), rgba(0.2, 0.5, 0.9), 0)
        s:DrawRoundedFill(rect(23, 2, 18, 28), rgba(0.9, 0.5, 0.1), 6)
        s:DrawRoundedFill(rect(44, 2, 18, 28), rgba(0.3, 0.7, 0.3), 100)
    )"));
}

TEST_F(DrawbotTest, GoldenPathJoinsCapsAndDashes)
{
    // One zigzag with a Bézier and an arc, stroked in each join (rows) and
    // each cap (columns); the last row is dashed.
    ExpectGolden("path_joins_caps", Scene(120, 100, R"(
        local function zigzag(x, y)
            local p = PathInterface.newPath(db)
            p:MoveTo(x, y + 14)
            p:LineTo(x + 8, y)
            p:LineTo(x + 14, y + 14)
            p:BezierTo(pt(x + 18, y), pt(x + 24, y), pt(x + 26, y + 10))
            p:AddArc(pt(x + 30, y + 10), 4, 180, 360)
            return p
        end
        local joins = { PenInterface.kLineJoinType_Miter, PenInterface.kLineJoinType_Bevel,
                        PenInterface.kLineJoinType_Round }
        local caps = { PenInterface.kLineCapType_Flat, PenInterface.kLineCapType_Round,
                       PenInterface.kLineCapType_Square }
        for row, join in ipairs(joins) do
            for col, cap in ipairs(caps) do
                local pen = PenInterface.newPen(db, rgba(0.1, 0.1, 0.4), 4)
                pen:SetLineJoin(join)
                pen:SetLineCap(cap)
                s:StrokePath(zigzag(4 + (col - 1) * 40, 4 + (row - 1) * 24), pen)
            end
        end
        local dashed = PenInterface.newPenFromSupplier(supplier, rgba(0.8, 0.2, 0.1), 2)
        dashed:SetDashPattern(6, 3, 1, 3)
        local line = PathInterface.newPath(db)
        line:MoveTo(4, 88)
        line:LineTo(116, 88)
        line:MoveTo(4, 94)
        line:BezierTo(pt(40, 80), pt(80, 108), pt(116, 94))
        s:StrokePath(line, dashed)
    )"));
}

TEST_F(DrawbotTest, GoldenFullCircleFromDefaultArc)
{
    ExpectGolden("circle", Scene(40, 40, R"(
        local p = PathInterface.newPath(db)
        p:AddArc(pt(20, 20), 14)
        s:FillPath(p, rgba(0.95, 0.8, 0.2))
        s:StrokePath(p, rgba(0.2, 0.2, 0.2), 2)
    )"));
}

TEST_F(DrawbotTest, GoldenLinearAndRadialShaders)
{
    ExpectGolden("shaders", Scene(80, 40, R"(
        local left = PathInterface.newPath(db)
        left:AddRect(rect(2, 2, 36, 36))
        s:ShadePath(left, Shader.newLinearShader(db, pt(2, 2), pt(38, 38),
                                                 rgba(1, 0, 0), rgba(0, 0, 1)))
        local right = PathInterface.newPath(db)
        right:AddArc(pt(60, 20), 18)
        s:ShadePath(right, Shader.newRadialShader(db, pt(60, 20), pt(78, 20),
                                                  rgba(1, 1, 0.6), rgba(0.1, 0.5, 0.2, 0.6)))
    )"));
}

TEST_F(DrawbotTest, GoldenClipToPath)
{
    ExpectGolden("clip", Scene(48, 48, R"(
        s:PushStateStack()
        local diamond = PathInterface.newPath(db)
        diamond:MoveTo(24, 2) diamond:LineTo(46, 24) diamond:LineTo(24, 46) diamond:LineTo(2, 24)
        diamond:ClosePath()
        s:Clip(diamond)
        for i = 0, 5 do
            s:PaintRect(rect(0, i * 8, 48, 4), rgba(0.2, 0.4, 0.8))
        end
        s:PopStateStack()
        s:PaintRect(rect(0, 44, 48, 4), rgba(0.9, 0.3, 0.1))
    )"));
}

TEST_F(DrawbotTest, GoldenTransform)
{
    ExpectGolden("transform", Scene(64, 64, R"(
        local c, r = math.cos(math.rad(30)), math.sin(math.rad(30))
        s:Transform(vyrlua_CreateNewTransformMatrix(1, 0, 0, 1, 32, 32))
        s:Transform(vyrlua_CreateNewTransformMatrix(c, r, -r, c, 0, 0))
        s:PushStateStack()
        s:Transform({ { 1.5, 0, 0 }, { 0, 0.75, 0 }, { 0, 0, 1 } })
        s:PaintRect(rect(-12, -12, 24, 24), rgba(0.5, 0.2, 0.7))
        s:PopStateStack()
        s:DrawString("Tx", 0, 5, rgba(1, 1, 1), s.kTextAlignment_Center, 14)
    )"));
}

TEST_F(DrawbotTest, GoldenTextAlignmentAndTruncation)
{
    // Three alignments in a 120-wide box with a guide line at the box's
    // edges, then the four truncations of a text too long for 70.
    ExpectGolden("text_single", Scene(140, 130, R"(
        local black, grey = rgba(0, 0, 0), rgba(0.75, 0.75, 0.75)
        s:PaintRect(rect(10, 0, 1, 130), grey)
        s:PaintRect(rect(130, 0, 1, 130), grey)
        s:PaintRect(rect(80, 60, 1, 70), grey)
        s:DrawString("Left", 10, 16, black)
        s:DrawString("Centre", 10, 32, black, s.kTextAlignment_Center, 12, 120)
        s:DrawString("Right", 10, 48, black, s.kTextAlignment_Right, 12, 120)
        local long = "Truncated text here"
        s:DrawString(long, 10, 72, black, s.kTextAlignment_Left, 12, 70, s.kTextTruncation_None)
        s:DrawString(long, 10, 90, black, s.kTextAlignment_Left, 12, 70, s.kTextTruncation_End)
        s:DrawString(long, 10, 108, black, s.kTextAlignment_Left, 12, 70, s.kTextTruncation_EndEllipsis)
        s:DrawString(long, 10, 126, black, s.kTextAlignment_Left, 12, 70, s.kTextTruncation_PathEllipsis)
    )"));
}

TEST_F(DrawbotTest, GoldenMultiLineText)
{
    ExpectGolden("text_multi", Scene(180, 64, R"(
        local text = "Wrapped words fill the box line by line."
        local black = rgba(0, 0, 0)
        for i, align in ipairs { s.kTextAlignment_Left, s.kTextAlignment_Center, s.kTextAlignment_Right } do
            local box = rect(2 + (i - 1) * 60, 2, 56, 60)
            s:PaintRect(box, rgba(0.9, 0.93, 1))
            s:DrawMultiLineString(text, box, black, align, 10)
        end
    )"));
}

TEST_F(DrawbotTest, GoldenImagesWholeScaledAndBySourceRect)
{
    ExpectGolden("images", Scene(96, 40, R"(
        local image = supplier:newImageFromFile(data .. "/quadrants.png")
        s:PaintRect(rect(0, 20, 96, 20), rgba(0.2, 0.2, 0.2))
        s:DrawImage(image, pt(4, 4))
        s:SetInterpolationPolicy(s.kInterpolationPolicy_None)
        s:DrawImage2(image, rect(24, 4, 32, 24))
        s:SetInterpolationPolicy(s.kInterpolationPolicy_Med)
        s:DrawImage2(image, rect(60, 4, 32, 32), rect(4, 3, 8, 6), 0.5)
        s:DrawImage(supplier:newImageFromFile(data .. "/quadrants.jpg"), pt(4, 22), 0.75)
    )"));
}

} // namespace
} // namespace vyrtest
