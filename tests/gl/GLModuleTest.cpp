#include "support/LuaFixture.h"

#include "vyrui/gl/GLContext.h"

#include <fstream>
#include <map>
#include <regex>
#include <sstream>

namespace {

using vyrtest::LuaTest;

// A 32x32 frame buffer on a current context, with "gl" loaded.
class GLTest : public LuaTest {
protected:
    void SetUp() override
    {
        LuaTest::SetUp();
        mContext = std::make_unique<vyrui::gl::GLContext>();
        mContext->SetFramebufferSize(32, 32);
        Run("gl = require 'vyrlua.gl'");
    }
    void TearDown() override
    {
        mContext.reset();
        LuaTest::TearDown();
    }
    std::unique_ptr<vyrui::gl::GLContext> mContext;
};

// "#define GL_NAME value" of the system headers, resolving aliases.
std::map<std::string, long long> HeaderConstants()
{
    std::map<std::string, std::string> raw;
    std::regex define(R"(^#define\s+GL_(\w+)\s+(0x[0-9A-Fa-f]+|\d+|GL_\w+)\s*$)");
    for (const char* path : {"/usr/include/GL/gl.h", "/usr/include/GL/glext.h"}) {
        std::ifstream in(path);
        std::string line;
        std::smatch m;
        while (std::getline(in, line)) {
            if (std::regex_match(line, m, define))
                raw.emplace(m[1], m[2]);
        }
    }
    std::map<std::string, long long> values;
    for (auto& [name, text] : raw) {
        std::string v = text;
        for (int depth = 0; v.rfind("GL_", 0) == 0 && depth < 4; ++depth)
            v = raw.count(v.substr(3)) ? raw[v.substr(3)] : "";
        if (!v.empty())
            values[name] = std::stoll(v, nullptr, 0);
    }
    return values;
}

TEST_F(GLTest, ConstantsMatchTheSystemHeaderExceptTheAttributeMask)
{
    std::vector<std::string> fields = Run(R"(
        local out = {}
        for k, v in pairs(gl) do
            if type(v) == 'number' then out[#out + 1] = k .. '=' .. string.format('%.0f', v) end
        end
        return unpack(out))");
    std::map<std::string, long long> header = HeaderConstants();
    ASSERT_GT(header.size(), 1000u);
    size_t checked = 0;
    for (const std::string& field : fields) {
        std::string name = field.substr(0, field.find('='));
        long long value = std::stoll(field.substr(field.find('=') + 1));
        if (name == "ALL_ATTRIB_BITS") {
            EXPECT_EQ(value, 1048575);
            continue;
        }
        auto found = header.find(name);
        if (found == header.end()) {
            // Only extension names the headers lack (the generator aliases them).
            EXPECT_TRUE(name.ends_with("_EXT") || name.ends_with("_WIN")) << name;
            continue;
        }
        EXPECT_EQ(value, found->second) << name;
        ++checked;
    }
    EXPECT_GE(checked, 570u);
    EXPECT_EQ(Eval("return gl.CLIENT_ALL_ATTRIB_BITS"), "4294967295");
    EXPECT_EQ(Run("return gl.GetConst('COLOR_BUFFER_BIT,DEPTH_BUFFER_BIT'), gl.GetConst(0x1701)"),
              (std::vector<std::string>{"16640", "PROJECTION"}));
}

TEST_F(GLTest, EnumerationsReadAsNumbersNamesAndCommaLists)
{
    // A number and a name clear the same buffer.
    EXPECT_EQ(Run(R"(
        gl.ClearColor(1, 0, 0, 1) gl.Clear(gl.COLOR_BUFFER_BIT)
        local a = gl.ReadPixels(0, 0, 1, 1, 'RGBA')
        gl.ClearColor(0, 0, 1, 1) gl.Clear('COLOR_BUFFER_BIT')
        local b = gl.ReadPixels(0, 0, 1, 1, 'RGBA')
        return a[1], a[3], b[1], b[3])"),
              (std::vector<std::string>{"1", "0", "0", "1"}));
    // Names joined by commas are OR-ed: colour and depth both cleared.
    EXPECT_EQ(Run(R"(
        gl.ClearDepth(0.25) gl.ClearColor(0, 1, 0, 1)
        gl.Clear('COLOR_BUFFER_BIT,DEPTH_BUFFER_BIT')
        local d = gl.ReadPixels(5, 5, 1, 1, 'DEPTH_COMPONENT')
        local c = gl.ReadPixels(5, 5, 1, 1, 'RGB')
        return string.format('%.2f', d[1]), c[2])"),
              (std::vector<std::string>{"0.25", "1"}));
    // One unknown name fails the whole argument: nothing is cleared.
    EXPECT_EQ(Error("gl.ClearColor(1, 1, 1, 1) gl.Clear('COLOR_BUFFER_BIT,NO_SUCH_BIT')"),
              "test:1: bad argument #1 to 'Clear' (unknown or invalid enumeration)");
    EXPECT_EQ(Eval("return gl.ReadPixels(0, 0, 1, 1, 'RGB')[1]"), "0");
    EXPECT_EQ(Error("gl.Enable({})"), "test:1: bad argument #1 to 'Enable' (string expected, got table)");
}

TEST_F(GLTest, TableSizeErrorsAreExact)
{
    const std::pair<const char*, const char*> cases[] = {
        {"gl.Color({1, 2})", "bad argument #1 to 'Color' (invalid number of items in table (n<3).)"},
        {"gl.Normal({1, 2})", "bad argument #1 to 'Normal' (invalid number of elements in the table (n<3))"},
        {"gl.RasterPos({1})", "bad argument #1 to 'RasterPos' (invalid number of items in table (n<2).)"},
        {"gl.Vertex({1})", "bad argument #1 to 'Vertex' (invalid number of arguments)"},
        {"gl.LoadMatrix({1, 2, 3})",
         "bad argument #1 to 'LoadMatrix' (invalid number of elements in the matrix table (n<16).)"},
        {"gl.PolygonStipple({{1}})",
         "bad argument #1 to 'PolygonStipple' (invalid stipple size (width != 32 && height != 32))"},
        {"gl.Bitmap(0, 0, 0, 0, {1, 0, 1})", "bad argument #5 to 'Bitmap' (must be a table of tables)"},
        {"gl.GetTexImage('TEXTURE_2D', 0, 'TEXTURE_2D')", "bad argument #3 to 'GetTexImage' (unknown format)"},
        {"gl.Get('TEXTURE_ENV')", "bad argument #1 to 'Get' (unknown enumeration.)"},
        {"gl.TexImage2D('TEXTURE_2D', 0, 'RGBA', 1000, 1000, 0, 'RGBA', 'FLOAT', {1,2,3,4,5,6,7,8,9,10})",
         "bad argument #9 to 'TexImage2D' (invalid number of items in table (n<4000000).)"},
    };
    for (const auto& [code, message] : cases)
        EXPECT_EQ(Error(code), std::string("test:1: ") + message) << code;
}

TEST_F(GLTest, GetReturnsTheStateTableCounts)
{
    EXPECT_EQ(Run("return gl.Get('VIEWPORT')"), (std::vector<std::string>{"0", "0", "32", "32"}));
    EXPECT_EQ(Run("return gl.Get('DEPTH_RANGE')"), (std::vector<std::string>{"0", "1"}));
    EXPECT_EQ(Run("gl.Normal(0, 1, 0) return gl.Get('CURRENT_NORMAL')"),
              (std::vector<std::string>{"0", "1", "0"}));
    EXPECT_EQ(Eval("gl.MatrixMode('MODELVIEW') gl.LoadIdentity() gl.Translate(3, 4, 5) "
                   "local m = gl.GetArray('MODELVIEW_MATRIX') return #m .. ':' .. m[13] .. m[14] .. m[15]"),
              "16:345");
    EXPECT_EQ(Run("return gl.Get(gl.MATRIX_MODE) == gl.MODELVIEW, gl.IsEnabled('DEPTH_TEST')"),
              (std::vector<std::string>{"true", "false"}));
}

TEST_F(GLTest, ImmediateModeTriangleAndTextureReachThePixels)
{
    // Green triangle over the lower half on red; its apex at the top centre.
    EXPECT_EQ(Run(R"(
        gl.ClearColor(1, 0, 0, 1) gl.Clear('COLOR_BUFFER_BIT')
        gl.Begin('TRIANGLES') gl.Color(0, 1, 0)
        gl.Vertex(-1, -1) gl.Vertex({1, -1}) gl.Vertex(0, 1, 0) gl.End()
        local inside = gl.ReadPixels(16, 4, 1, 1, 'RGB', 'UNSIGNED_BYTE')
        local corner = gl.ReadPixels(1, 30, 1, 1, 'RGB', 'UNSIGNED_BYTE')
        return table.concat(inside, ','), table.concat(corner, ','))"),
              (std::vector<std::string>{"0,255,0", "255,0,0"}));
    // A 2x2 texture in, the same texels back, and drawn on a quad.
    EXPECT_EQ(Run(R"(
        local tex = gl.GenTextures(1)[1]
        gl.BindTexture('TEXTURE_2D', tex)
        gl.TexParameter('TEXTURE_2D', 'TEXTURE_MIN_FILTER', 'NEAREST')
        gl.TexParameter('TEXTURE_2D', 'TEXTURE_MAG_FILTER', gl.NEAREST)
        gl.TexImage2D('TEXTURE_2D', 0, 'RGB', 2, 2, 0, 'RGB', 'UNSIGNED_BYTE',
                      {{255,0,0, 0,255,0}, {0,0,255, 255,255,255}})
        local back = gl.GetTexImage('TEXTURE_2D', 0, 'RGB', 'UNSIGNED_BYTE')
        gl.Enable('TEXTURE_2D') gl.Color(1, 1, 1)
        gl.Begin('QUADS')
        gl.TexCoord(0, 0) gl.Vertex(-1, -1) gl.TexCoord(1, 0) gl.Vertex(1, -1)
        gl.TexCoord(1, 1) gl.Vertex(1, 1) gl.TexCoord(0, 1) gl.Vertex(-1, 1)
        gl.End() gl.Disable('TEXTURE_2D')
        local lowLeft = gl.ReadPixels(4, 4, 1, 1, 'RGB', 'UNSIGNED_BYTE')
        local upRight = gl.ReadPixels(28, 28, 1, 1, 'RGB', 'UNSIGNED_BYTE')
        return table.concat(back, ','), table.concat(lowLeft, ','), table.concat(upRight, ','))"),
              (std::vector<std::string>{"255,0,0,0,255,0,0,0,255,255,255,255", "255,0,0",
                                        "255,255,255"}));
}

TEST_F(GLTest, ClientMemoryIsCheckedAgainstWhatOpenGLWillTouch)
{
    Run(R"(gl.VertexPointer(2, {-1,-1, 1,-1, 0,1}) gl.EnableClientState('VERTEX_ARRAY'))");
    EXPECT_EQ(Run("gl.DrawArrays('TRIANGLES', 0, 3) gl.DrawElements('TRIANGLES', {2, 1, 0}) "
                  "gl.Begin('POINTS') gl.ArrayElement(2) gl.End() return gl.GetError()"),
              (std::vector<std::string>{"0"}));
    EXPECT_EQ(Error("gl.DrawArrays('TRIANGLES', 1, 3)"),
              "test:1: bad argument #3 to 'DrawArrays' (elements 1 to 3 go past the end of an enabled array)");
    EXPECT_EQ(Error("gl.DrawElements('TRIANGLES', {0, 1, 3})"),
              "test:1: bad argument #2 to 'DrawElements' (index 3 is past the end of an enabled array)");
    EXPECT_EQ(Error("gl.Begin('POINTS') gl.ArrayElement(3)"),
              "test:1: bad argument #1 to 'ArrayElement' (element 3 is past the end of an enabled array)");
    // An array switched on between Begin and End cannot be checked: refused.
    EXPECT_EQ(Error("gl.End() gl.Begin('POINTS') gl.EnableClientState('COLOR_ARRAY') gl.ArrayElement(0)"),
              "test:1: client arrays changed between gl.Begin and gl.End");
    Run("gl.End() gl.GetError()");
    // An enabled array whose data never came from the module.
    EXPECT_EQ(Error("gl.Enable(0x8457) gl.DrawArrays('POINTS', 0, 1)"),
              "test:1: an enabled client array has no data (array; set it with this module)");
    Run("gl.Disable(0x8457) gl.EnableClientState('COLOR_ARRAY')");
    EXPECT_EQ(Error("gl.DrawArrays('POINTS', 0, 1)"),
              "test:1: an enabled client array has no data (COLOR_ARRAY; set it with gl.ColorPointer)");
    // Native blocks: sized against the pixel-store state.
    EXPECT_EQ(Error("gl.ReadPixelsRaw(0, 0, 4, 4, 'RGBA', 'UNSIGNED_BYTE', gl.NewData(63))"),
              "test:1: bad argument #7 to 'ReadPixelsRaw' (data block too small (63 bytes, 64 needed))");
    EXPECT_EQ(Error("gl.PixelStore('PACK_ROW_LENGTH', 8) "
                    "gl.ReadPixelsRaw(0, 0, 4, 4, 'RGBA', 'UNSIGNED_BYTE', gl.NewData(64))"),
              "test:1: bad argument #7 to 'ReadPixelsRaw' (data block too small (64 bytes, 112 needed))");
    // Sizes the script's pixel-store state makes too large to compute.
    EXPECT_EQ(Error("gl.PixelStore('PACK_ROW_LENGTH', 2^30) gl.PixelStore('PACK_SKIP_ROWS', 2^30 - 3) "
                    "gl.ReadPixelsRaw(0, 0, 4, 4, 'RGBA', 'FLOAT', gl.NewData(64))"),
              "test:1: bad argument #7 to 'ReadPixelsRaw' (data block too small (64 bytes, "
              "18446744073709551615 needed))");
    EXPECT_EQ(Run(R"(
        gl.PixelStore('PACK_SKIP_ROWS', 0)
        gl.PixelStore('PACK_ROW_LENGTH', 0)
        gl.ClearColor(0, 0, 1, 1) gl.Clear('COLOR_BUFFER_BIT')
        local block = gl.NewData(16)
        gl.ReadPixelsRaw(0, 0, 2, 2, 'RGBA', 'UNSIGNED_BYTE', block)
        local bytes = block:Values('UNSIGNED_BYTE')
        gl.FreeData(block)
        return bytes[3], bytes[16], block:Size(), pcall(gl.DrawPixelsRaw, 1, 1, 'RGBA', 'FLOAT', block))"),
              (std::vector<std::string>{"255", "255", "0", "false",
                                        "bad argument #5 to 'DrawPixelsRaw' (the data block was freed)"}));
    EXPECT_EQ(Error("local u = newproxy() debug.setmetatable(u, debug.getregistry()['vyrlua.gl.Data']) "
                    "gl.DrawPixelsRaw(1, 1, 'RGBA', 'FLOAT', u)"),
              "test:1: bad argument #5 to 'DrawPixelsRaw' (vyrlua.gl.Data expected, got userdata)");
}

TEST_F(GLTest, SelectionBufferStaysWhileOpenGLWritesIt)
{
    EXPECT_EQ(Run(R"(
        gl.SelectBuffer(16)
        gl.RenderMode('SELECT') gl.InitNames() gl.PushName(7)
        gl.Begin('TRIANGLES') gl.Vertex(-1, -1) gl.Vertex(1, -1) gl.Vertex(0, 1) gl.End()
        local freeing = select(2, pcall(gl.FreeSelectBuffer))
        local hits = gl.RenderMode('RENDER')
        local buffer = gl.GetSelectBuffer(4)
        gl.FreeSelectBuffer()
        return hits, buffer[1], buffer[4], freeing, gl.GetSelectBuffer())"),
              (std::vector<std::string>{"1", "1", "7", "FreeSelectBuffer: not while in selection mode"}));
}

TEST_F(GLTest, LeavingFeedbackModeGivesTheCountAndTheValues)
{
    EXPECT_EQ(Run(R"(
        gl.FeedbackBuffer(64, '2D') gl.RenderMode('FEEDBACK')
        gl.Begin('POINTS') gl.Vertex(0, 0) gl.Vertex(1, 1) gl.End()
        local count, values = gl.RenderMode('RENDER')
        return count, #values, values[1] == gl.POINT_TOKEN, values[2], values[6])"),
              (std::vector<std::string>{"6", "6", "true", "16", "32"}));
}

TEST_F(GLTest, CallsWithoutACurrentContextAreRefused)
{
    vyrui::gl::ClearCurrentContext();
    EXPECT_EQ(Error("gl.Clear('COLOR_BUFFER_BIT')"),
              "test:1: no current OpenGL context (draw from an OpenGL view's hooks or "
              "executeInViewContext)");
    EXPECT_EQ(Eval("return gl.GetConst('TRIANGLES')"), "4");
}

} // namespace
