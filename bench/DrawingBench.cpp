// Drawing from Lua: a fill and a line of text through the surface object,
// each beside the same drawing done in C++ through the host on the same
// Cairo surface; and a whole frame of script-drawn nodes.
#include "BenchHarness.h"

#include "vyrlua/drawbot/LuaDrawbot.h"
#include "vyrlua/utility/LuaReference.h"
#include "vyrui/drawbot/Drawbot.h"
#include "vyrui/drawbot/Supplier.h"
#include "vyrui/ui/UI_Container.h"
#include "vyrui/ui/UI_Node.h"

namespace {

using vyrbench::AddCase;
using vyrbench::Meter;
using vyrbench::Scenario;
using namespace vyrui::drawbot;

// A host and an offscreen surface with its drawbot. Lua receives the
// drawbot as a draw callback would.
class SurfaceScenario : public Scenario {
public:
    SurfaceScenario(int width, int height)
        : mHost(vyrbench::NewHost()), L(mHost->State()), mSupplier(CreateDefaultSupplier()),
          mSurface(mSupplier->NewOffscreenSurface(width, height, true))
    {
    }
    void Settle() override
    {
        vyrbench::CompactRegistry(L);
        lua_gc(L, LUA_GCCOLLECT, 0);
    }

protected:
    std::unique_ptr<vyrhost::HostRuntime> mHost;
    lua_State* L;
    std::shared_ptr<SupplierInterface> mSupplier;
    boost::intrusive_ptr<SurfaceInterface> mSurface;
};

constexpr const char* kLabel = "Track 01: Intro."; // 16 characters
constexpr const char16_t* kLabel16 = u"Track 01: Intro.";

// surface:PaintRect or surface:DrawString in a Lua loop, with the values
// the script's own constructors make.
class LuaSurfaceLoop : public SurfaceScenario {
public:
    explicit LuaSurfaceLoop(const char* loop) : SurfaceScenario(64, 64)
    {
        mDrawbot = std::make_unique<Drawbot>(mSupplier, mSurface);
        vyrlua::drawbot::PushDrawbotToLua(L, *mDrawbot);
        lua_pushstring(L, kLabel);
        mLoop = vyrbench::MakeLoop(L, loop, 2);
    }
    ~LuaSurfaceLoop() override
    {
        // The drawbot goes before the state, as at the end of a draw.
        mDrawbot.reset();
    }
    void Run(std::int64_t n, Meter&) override { vyrbench::RunLoop(L, mLoop, n); }

private:
    std::unique_ptr<Drawbot> mDrawbot;
    int mLoop;
};

constexpr const char* kPaintRectLoop = R"(
    local drawbot = ...
    local surface = drawbot:GetSurface()
    local rect = vyrlua_CreateNewRectF32(8, 8, 16, 16)
    local colour = vyrlua_CreateNewRGBA(0.2, 0.4, 0.6, 1)
    return function(n)
        for i = 1, n do surface:PaintRect(rect, colour) end
    end)";

constexpr const char* kDrawStringLoop = R"(
    local drawbot, label = ...
    local surface = drawbot:GetSurface()
    local colour = vyrlua_CreateNewRGBA(0.1, 0.1, 0.1, 1)
    return function(n)
        for i = 1, n do surface:DrawString(label, 4, 20, colour) end
    end)";

// The same fill made by a C++ caller of the host: a brush of the colour,
// then the fill.
class RawPaintRect : public SurfaceScenario {
public:
    RawPaintRect() : SurfaceScenario(64, 64) {}
    void Run(std::int64_t n, Meter&) override
    {
        const RectF rect{8, 8, 16, 16};
        const ColorRGBA colour{0.2f, 0.4f, 0.6f, 1};
        for (std::int64_t i = 0; i < n; ++i) {
            boost::intrusive_ptr<BrushInterface> brush = mSupplier->NewSolidBrush(colour);
            mSurface->FillRect(rect, *brush);
        }
    }
};

// The same text drawn by a C++ caller of the host: brush, UI font at the
// default size, the text already in UTF-16.
class RawDrawString : public SurfaceScenario {
public:
    RawDrawString() : SurfaceScenario(64, 64) {}
    void Run(std::int64_t n, Meter&) override
    {
        const ColorRGBA colour{0.1f, 0.1f, 0.1f, 1};
        for (std::int64_t i = 0; i < n; ++i) {
            boost::intrusive_ptr<BrushInterface> brush = mSupplier->NewSolidBrush(colour);
            boost::intrusive_ptr<FontInterface> font = mSupplier->NewFont(
                ValidateFontName(vyrui::ui::GetFontName()), DefaultTextSize());
            mSurface->DrawString(*brush, *font, kLabel16, PointF{4, 20}, TextAlignment::Left, 0,
                                 TextTruncation::None);
        }
    }
};

// ---------------------------------------------------------------------------
// A frame: 200 nodes, each drawn by a Lua handler that receives a drawbot
// object and the node's number, fills a rounded rectangle and writes a short
// label.

using HandlerRef = boost::shared_ptr<vyrlua::utility::LuaFunctionReference>;

class ScriptDrawnNode : public vyrui::ui::UI_Node {
public:
    ScriptDrawnNode(int index, const RectF& rect, HandlerRef handler)
        : UI_Node("cell", rect), mIndex(index), mHandler(std::move(handler))
    {
    }
    void UI_DrawSelf(Drawbot& drawbot) override
    {
        vyrlua::utility::CallLuaReference(
            mHandler, 0,
            [&](lua_State* L) {
                vyrlua::drawbot::PushDrawbotToLua(L, drawbot);
                lua_pushinteger(L, mIndex);
                return 2;
            },
            vyrlua::utility::NoResults, vyrlua::utility::OnLuaError::Report);
    }

private:
    int mIndex;
    HandlerRef mHandler;
};

constexpr const char* kCellHandler = R"(
    local labels = {}
    for i = 1, 200 do labels[i] = "Cell " .. i end
    local cell = vyrlua_CreateNewRectF32(1, 1, 38, 18)
    local fill = vyrlua_CreateNewRGBA(0.85, 0.88, 0.95, 1)
    local ink = vyrlua_CreateNewRGBA(0.1, 0.1, 0.2, 1)
    return function(drawbot, i)
        local surface = drawbot:GetSurface()
        surface:DrawRoundedFill(cell, fill, 4)
        surface:DrawString(labels[i], 4, 14, ink)
    end)";

class Frame : public SurfaceScenario {
public:
    static constexpr int kColumns = 20;
    static constexpr int kRows = 10;

    Frame() : SurfaceScenario(kColumns * 40, kRows * 20)
    {
        mRoot.reset(new vyrui::ui::UI_Node("frame", RectF{0, 0, kColumns * 40, kRows * 20}));
        vyrbench::RunChunk(L, kCellHandler, 0);
        HandlerRef handler = vyrlua::utility::LuaFunctionReference::Create(L);
        for (int i = 0; i < kColumns * kRows; ++i) {
            RectF rect{static_cast<float>(i % kColumns * 40), static_cast<float>(i / kColumns * 20),
                       40, 20};
            vyrui::ui::UI_Container::ChildPushBack(*mRoot, new ScriptDrawnNode(i + 1, rect, handler));
        }
    }
    void Run(std::int64_t n, Meter&) override
    {
        for (std::int64_t i = 0; i < n; ++i) {
            // A window renders each frame with a drawbot of its own.
            Drawbot drawbot(mSupplier, mSurface);
            mRoot->UI_Draw(drawbot);
        }
    }

private:
    boost::intrusive_ptr<vyrui::ui::UI_Node> mRoot;
};

template <typename T, typename... Args>
vyrbench::ScenarioMaker Make(Args... args)
{
    return [=] { return std::unique_ptr<Scenario>(new T(args...)); };
}

VYRBENCH_CASES
{
    AddCase({"paint_rect/library", 200, 2000, Make<LuaSurfaceLoop>(kPaintRectLoop)});
    AddCase({"paint_rect/raw", 200, 2000, Make<RawPaintRect>()});
    AddCase({"draw_string/library", 50, 200, Make<LuaSurfaceLoop>(kDrawStringLoop)});
    AddCase({"draw_string/raw", 50, 200, Make<RawDrawString>()});
    AddCase({"frame_200_nodes/library", 1, 3, Make<Frame>()});
}

} // namespace

int main(int argc, char** argv)
{
    return vyrbench::Main(argc, argv);
}
