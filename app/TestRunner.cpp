#include "app/TestRunner.h"

#include "app/InputModule.h"
#include "app/ScriptWatch.h"
#include "app/WindowRenderer.h"
#include "vyrcore/config.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrui/EventLoop.h"
#include "vyrui/drawbot/Supplier.h"
#include "vyrui/theme/Theme.h"
#include "vyrui/ui/OS_Window.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <thread>

namespace vyrhost {

namespace {

namespace fs = std::filesystem;
using vyrlua::utility::LuaBoundary;
using vyrlua::utility::LuaError;

struct TestResult {
    std::string file;
    std::string name;
    std::string status; // pass, fail, error, skip
    std::string message;
    std::string where;
    double seconds = 0;
};

// Instructions between two looks at the limits.
constexpr int kHookEvery = 1000;

// The file being run: where its results go and the limits of its current
// test. The hook and the module's functions reach it from C.
struct FileRun {
    const TestOptions* options = nullptr;
    std::string file;
    std::vector<TestResult>* results = nullptr;
    std::vector<std::string> reported;
    vyrui::EventLoop* loop = nullptr;
    double started = 0;       // virtual clock
    double timeLimit = 0;     // virtual seconds
    double instructions = 0;
    std::chrono::steady_clock::time_point wallStart;
};
FileRun* gRun = nullptr;

double VirtualElapsed()
{
    return gRun->loop->Now() - gRun->started;
}

// Why the current test must stop, or empty.
std::string LimitExceeded()
{
    if (gRun->instructions > gRun->options->instructionLimit)
        return "ran past its limit of " + std::to_string(static_cast<long long>(gRun->options->instructionLimit)) +
               " Lua instructions (a loop that never ends?)";
    if (VirtualElapsed() >= gRun->timeLimit) {
        char text[96];
        std::snprintf(text, sizeof text, "ran past its time limit of %g s on the virtual clock", gRun->timeLimit);
        return text;
    }
    return {};
}

// Counts instructions; raises in the running Lua code once a limit is past
// (again at every look, so that a pcall in a loop does not hide it).
void LimitHook(lua_State* L, lua_Debug*)
{
    if (gRun == nullptr)
        return;
    gRun->instructions += kHookEvery;
    if (gRun->instructions > gRun->options->instructionLimit || VirtualElapsed() > gRun->timeLimit) {
        char text[160];
        std::snprintf(text, sizeof text, "%s", LimitExceeded().c_str());
        luaL_error(L, "%s", text);
    }
}

void Begin(double timeLimit)
{
    gRun->started = gRun->loop->Now();
    gRun->timeLimit = timeLimit > 0 ? timeLimit : gRun->options->timeLimit;
    gRun->instructions = 0;
    gRun->reported.clear();
    gRun->wallStart = std::chrono::steady_clock::now();
}

// begin([timeLimit]): a test starts.
int BeginBody(lua_State* L)
{
    Begin(vyrlua::utility::OptNumber(L, 1, 0));
    return 0;
}

// record(name, status, message, where)
int RecordBody(lua_State* L)
{
    TestResult result;
    result.file = gRun->file;
    result.name = vyrlua::utility::CheckLString(L, 1);
    result.status = vyrlua::utility::CheckLString(L, 2);
    result.message = vyrlua::utility::OptLString(L, 3, "");
    result.where = vyrlua::utility::OptLString(L, 4, "");
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - gRun->wallStart).count();
    gRun->results->push_back(std::move(result));
    return 0;
}

// reported(): the errors reported (by handlers, timers, draws) since the
// test began, one a line, or nil.
int ReportedBody(lua_State* L)
{
    if (gRun->reported.empty())
        return 0;
    std::string text;
    for (const std::string& message : gRun->reported)
        text += (text.empty() ? "" : "\n") + message;
    gRun->reported.clear();
    vyrlua::utility::PushLString(L, text);
    return 1;
}

int TimeLeftBody(lua_State* L)
{
    lua_pushnumber(L, std::max(0.0, gRun->timeLimit - VirtualElapsed()));
    return 1;
}

// limitExceeded(): why the test must stop, or nil.
int LimitExceededBody(lua_State* L)
{
    std::string exceeded = LimitExceeded();
    if (exceeded.empty())
        return 0;
    vyrlua::utility::PushLString(L, exceeded);
    return 1;
}

using Surface = boost::intrusive_ptr<vyrui::drawbot::SurfaceInterface>;

// Restores what a golden rendering changed on the way.
struct RenderSettings {
    vyrui::ui::OS_Window& window;
    float scale;
    std::string theme = vyrui::ui::Theme::GetDefaultThemeName();
    ~RenderSettings()
    {
        window.SetViewScaleFactor(scale);
        vyrui::ui::Theme::SetDefaultThemeName(theme);
    }
};

// `node` as it shows at `scale`: its window's rendering cut to it.
Surface RenderNode(vyrui::ui::UI_Node& node, float scale, const std::string& theme, bool frame)
{
    auto* window = dynamic_cast<vyrui::ui::OS_Window*>(node.UI_GetRootNode());
    if (window == nullptr)
        throw LuaError("golden: the node is in no window");
    if (!theme.empty() && !vyrui::ui::Theme::Exists(theme))
        throw LuaError("golden: no theme named '" + theme + "'");
    RenderSettings restore{*window, window->GetViewScaleFactor()};
    window->SetViewScaleFactor(scale);
    if (!theme.empty())
        vyrui::ui::Theme::SetDefaultThemeName(theme);
    Surface surface = window->RenderToSurface();
    if (!surface)
        throw LuaError("golden: the window is empty or too large to render");
    if (&node == window)
        return frame ? Framed(*window, *surface) : surface;
    auto at = node.UI_LocalToRootPointF({0, 0});
    const vyrcore::geom::RectF& rect = node.UI_GetLocalRectF();
    int width = static_cast<int>(std::ceil(rect.width * scale));
    int height = static_cast<int>(std::ceil(rect.height * scale));
    if (width <= 0 || height <= 0)
        throw LuaError("golden: the node is empty");
    Surface cut = window->UI_GetDrawSupplier()->NewOffscreenSurface(width, height, true);
    cut->DrawImage(*surface->GetSurfaceImage(), {-at.x * scale, -at.y * scale}, 1);
    return cut;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Write(vyrui::drawbot::SurfaceInterface& surface, const std::string& path)
{
    std::error_code ec;
    fs::create_directories(fs::path(path).parent_path(), ec);
    std::string error;
    if (!vyrui::drawbot::WritePNG(surface, path, &error))
        throw LuaError("golden: cannot write " + path + ": " + error);
}

// How `actual` differs from `expected`, channel by channel.
struct Comparison {
    long differing = 0;
    int largest = 0;
    std::vector<std::pair<int, int>> pixels; // x, y of those beyond the tolerance
};

Comparison Compare(const vyrui::drawbot::ImageInterface& actual, const vyrui::drawbot::ImageInterface& expected,
                   int tolerance)
{
    Comparison result;
    int width = std::max(actual.GetWidth(), expected.GetWidth());
    int height = std::max(actual.GetHeight(), expected.GetHeight());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            int difference = 255;
            if (x < actual.GetWidth() && y < actual.GetHeight() && x < expected.GetWidth() &&
                y < expected.GetHeight()) {
                const uint8_t* a = actual.GetPixels() + y * actual.GetStride() + 4 * x;
                const uint8_t* e = expected.GetPixels() + y * expected.GetStride() + 4 * x;
                difference = 0;
                for (int c = 0; c < 4; ++c)
                    difference = std::max(difference, std::abs(a[c] - e[c]));
            }
            result.largest = std::max(result.largest, difference);
            if (difference > tolerance) {
                ++result.differing;
                result.pixels.emplace_back(x, y);
            }
        }
    }
    return result;
}

// The actual image faded, with the pixels that differ in red.
Surface DiffImage(vyrui::drawbot::SupplierInterface& supplier, vyrui::drawbot::ImageInterface& actual,
                  const vyrui::drawbot::ImageInterface& expected, const Comparison& comparison)
{
    Surface diff = supplier.NewOffscreenSurface(std::max(actual.GetWidth(), expected.GetWidth()),
                                                std::max(actual.GetHeight(), expected.GetHeight()), true);
    diff->FillRect({0, 0, static_cast<float>(diff->GetWidth()), static_cast<float>(diff->GetHeight())},
                   *supplier.NewSolidBrush({1, 1, 1, 1}));
    diff->DrawImage(actual, {0, 0}, 0.25f);
    auto red = supplier.NewSolidBrush({1, 0, 0, 1});
    for (auto [x, y] : comparison.pixels)
        diff->FillRect({static_cast<float>(x), static_cast<float>(y), 1, 1}, *red);
    return diff;
}

// The outcome of a golden comparison: empty when it passed.
std::string Golden(vyrui::ui::UI_Node& node, const std::string& path, float scale, const std::string& theme,
                   int tolerance, bool frame)
{
    Surface surface = RenderNode(node, scale, theme, frame);
    auto actual = surface->GetSurfaceImage();
    std::shared_ptr<vyrui::drawbot::SupplierInterface> supplier = surface->GetSupplier();
    const bool update = gRun->options->updateGoldens;
    if (!fs::exists(path)) {
        if (update) {
            Write(*surface, path);
            return {};
        }
        return "golden: no reference image " + path + " (--update-goldens writes it)";
    }
    std::string bytes = ReadFile(path);
    boost::intrusive_ptr<vyrui::drawbot::ImageInterface> expected;
    try {
        expected = supplier->NewImageFromBuffer(1, bytes.data(), bytes.size());
    } catch (const std::exception& e) {
        return "golden: cannot read the reference image " + path + ": " + e.what();
    }
    Comparison comparison = Compare(*actual, *expected, tolerance);
    if (comparison.differing == 0)
        return {};
    if (update) {
        Write(*surface, path);
        return {};
    }
    std::string stem = path.substr(0, path.size() - 4);
    std::string actualPath = stem + ".actual.png", diffPath = stem + ".diff.png";
    Write(*surface, actualPath);
    Write(*DiffImage(*supplier, *actual, *expected, comparison), diffPath);
    std::string sizes;
    if (actual->GetWidth() != expected->GetWidth() || actual->GetHeight() != expected->GetHeight())
        sizes = " (the size is " + std::to_string(actual->GetWidth()) + " x " + std::to_string(actual->GetHeight()) +
                ", the reference's " + std::to_string(expected->GetWidth()) + " x " +
                std::to_string(expected->GetHeight()) + ")";
    return "golden: " + std::to_string(comparison.differing) + " pixel(s) differ from " + path + " by more than " +
           std::to_string(tolerance) + " (up to " + std::to_string(comparison.largest) + ")" + sizes +
           "; actual: " + actualPath + ", difference: " + diffPath;
}

// golden(node, path, scale, theme, tolerance, frame): nil, or why it failed.
int GoldenBody(lua_State* L)
{
    std::string_view path = vyrlua::utility::CheckLString(L, 2);
    lua_Number scale = vyrlua::utility::CheckNumber(L, 3);
    if (!(scale >= 0.25 && scale <= 8))
        throw vyrlua::utility::ArgumentError(3, "scale from 0.25 to 8 expected");
    std::string_view theme = lua_isnoneornil(L, 4) ? std::string_view() : vyrlua::utility::CheckLString(L, 4);
    lua_Number tolerance = vyrlua::utility::CheckNumber(L, 5);
    if (!(tolerance >= 0 && tolerance <= 255))
        throw vyrlua::utility::ArgumentError(5, "tolerance from 0 to 255 expected");
    bool frame = lua_toboolean(L, 6) != 0;
    vyrui::ui::UI_Node::Ptr node = CheckNode(L, 1);
    std::string problem = Golden(*node, std::string(path), static_cast<float>(scale), std::string(theme),
                                 static_cast<int>(tolerance), frame);
    node.reset();
    if (problem.empty())
        return 0;
    vyrlua::utility::PushLString(L, problem);
    return 1;
}

const luaL_Reg kHostFunctions[] = {
    {"begin", LuaBoundary<BeginBody>},
    {"record", LuaBoundary<RecordBody>},
    {"reported", LuaBoundary<ReportedBody>},
    {"timeLeft", LuaBoundary<TimeLeftBody>},
    {"limitExceeded", LuaBoundary<LimitExceededBody>},
    {"golden", LuaBoundary<GoldenBody>},
    {nullptr, nullptr},
};

// The module, attached to this run.
int OpenTestModule(lua_State* L)
{
    return RequireWithHostFunctions(L, "vyrlua.host.test", kHostFunctions);
}

// "file:line" at the start of an error message, else the file.
std::string WhereIn(const std::string& message, const std::string& file)
{
    size_t colon = message.find(':');
    if (colon != std::string::npos) {
        size_t end = message.find(':', colon + 1);
        if (end != std::string::npos && end > colon + 1 &&
            message.find_first_not_of("0123456789", colon + 1) == end)
            return message.substr(0, end);
    }
    return file;
}

// A temporary settings directory, removed with it.
struct TempDir {
    std::string path;
    TempDir()
    {
        std::string pattern = (fs::temp_directory_path() / "vyrlua-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw vyrcore::config::HostException("cannot make a temporary directory");
        path = pattern;
    }
    ~TempDir()
    {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
};

void RunFile(const TestOptions& options, const std::string& file, std::vector<TestResult>& results,
             ScriptWatch* watch)
{
    TempDir settings;
    HostRuntime runtime(options.host);
    runtime.Application().SetSettingsDirectory(settings.path);
    vyrui::EventLoop& loop = runtime.Application().GetEventLoop();
    loop.SetClock(vyrui::EventLoop::Clock::Virtual);
    ClearQuitRequest();

    FileRun run;
    run.options = &options;
    run.file = file;
    run.results = &results;
    run.loop = &loop;
    gRun = &run;
    // However the file's run ends, nothing is left pointing at it.
    struct Detach {
        lua_State* L;
        ~Detach()
        {
            if (L)
                lua_sethook(L, nullptr, 0, 0);
            vyrcore::config::SetErrorSink([](const std::string& message) { std::cerr << message << "\n"; });
            gRun = nullptr;
        }
    } detach{runtime.State()};
    Begin(0);
    lua_State* L = runtime.State();
    vyrlua::SetPreloadedModule(L, "vyrhost.test", LuaBoundary<OpenTestModule>);
    // LuaJIT's compiled code does not call count hooks: a busy loop would
    // never meet its limit. Tests check behaviour, so they run interpreted.
    if (luaL_dostring(L, "if jit then jit.off() end") != 0)
        lua_pop(L, 1);
    lua_sethook(L, LimitHook, LUA_MASKCOUNT, kHookEvery);
    vyrcore::config::SetErrorSink([&run](const std::string& message) { run.reported.push_back(message); });

    if (watch)
        watch->Prepare(L, file);
    size_t before = results.size();
    std::string error = runtime.RunFile(file, {});
    if (watch)
        watch->Collect(L, file);
    if (error.empty()) {
        runtime.Settle();
    } else {
        std::string message = error.substr(0, error.find('\n'));
        results.push_back({file, "(file)", "error", message, WhereIn(message, file), 0});
    }
    for (const std::string& message : run.reported)
        results.push_back({file, "(file)", "error", "reported: " + message, WhereIn(message, file), 0});
    if (results.size() == before)
        results.push_back({file, "(file)", "error", "no tests (declare them with require(\"vyrhost.test\").test)",
                           file, 0});
}

bool IsTestFile(const fs::path& path)
{
    std::string name = path.filename().string();
    auto endsWith = [&](const std::string& tail) {
        return name.size() > tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0;
    };
    return endsWith("_test.lua") || endsWith("-test.lua");
}

void WriteJUnit(const std::string& path, const std::vector<TestResult>& results)
{
    using boost::property_tree::ptree;
    ptree suites;
    std::map<std::string, ptree> byFile;
    std::vector<std::string> order;
    std::map<std::string, std::map<std::string, int>> counts;
    for (const TestResult& result : results) {
        if (!byFile.count(result.file))
            order.push_back(result.file);
        ptree& suite = byFile[result.file];
        ptree testcase;
        testcase.put("<xmlattr>.name", result.name);
        testcase.put("<xmlattr>.classname", result.file);
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.3f", result.seconds);
        testcase.put("<xmlattr>.time", seconds);
        ++counts[result.file]["tests"];
        if (result.status == "fail" || result.status == "error") {
            const char* kind = result.status == "fail" ? "failure" : "error";
            ptree& node = testcase.add(kind, result.where + ": " + result.message);
            node.put("<xmlattr>.message", result.message);
            ++counts[result.file][result.status == "fail" ? "failures" : "errors"];
        } else if (result.status == "skip") {
            testcase.add("skipped", "").put("<xmlattr>.message", result.message);
            ++counts[result.file]["skipped"];
        }
        suite.add_child("testcase", testcase);
    }
    ptree& root = suites.add("testsuites", "");
    for (const std::string& file : order) {
        ptree& suite = byFile[file];
        suite.put("<xmlattr>.name", file);
        for (const char* key : {"tests", "failures", "errors", "skipped"})
            suite.put(std::string("<xmlattr>.") + key, counts[file][key]);
        root.add_child("testsuite", suite);
    }
    std::ofstream out(path);
    boost::property_tree::write_xml(out, suites, boost::property_tree::xml_writer_make_settings<std::string>(' ', 2));
    if (!out)
        throw vyrcore::config::HostException("cannot write " + path);
}

// Runs `files`, prints their failures; returns whether all passed.
bool RunAndReport(const TestOptions& options, const std::vector<std::string>& files,
                  std::map<std::string, ScriptWatch>* watches, std::ostream& out)
{
    std::vector<TestResult> results;
    for (const std::string& file : files)
        RunFile(options, file, results, watches ? &(*watches)[file] : nullptr);
    int passed = 0, failed = 0, skipped = 0;
    for (const TestResult& result : results) {
        if (result.status == "pass") {
            ++passed;
        } else if (result.status == "skip") {
            ++skipped;
        } else {
            ++failed;
            // An error's message often starts with the same place.
            std::string_view message = result.message;
            if (message.substr(0, result.where.size() + 2) == result.where + ": ")
                message.remove_prefix(result.where.size() + 2);
            out << result.where << ": " << (result.status == "fail" ? "FAIL " : "ERROR ") << result.name << ": "
                << message << "\n";
        }
    }
    if (skipped > 0)
        out << skipped << " skipped\n";
    out << passed << " passed, " << failed << " failed\n";
    out.flush();
    if (!options.junitFile.empty())
        WriteJUnit(options.junitFile, results);
    return failed == 0;
}

} // namespace

std::vector<std::string> FindTestFiles(const std::vector<std::string>& paths)
{
    std::vector<std::string> files;
    for (const std::string& path : paths.empty() ? std::vector<std::string>{"."} : paths) {
        std::error_code ec;
        if (fs::is_regular_file(path, ec)) {
            files.push_back(path);
        } else if (fs::is_directory(path, ec)) {
            std::vector<std::string> found;
            for (auto it = fs::recursive_directory_iterator(path, ec); !ec && it != fs::recursive_directory_iterator();
                 it.increment(ec)) {
                if (it->is_regular_file(ec) && IsTestFile(it->path()))
                    found.push_back(it->path().lexically_normal().string());
            }
            std::sort(found.begin(), found.end());
            files.insert(files.end(), found.begin(), found.end());
        } else {
            throw vyrcore::config::HostException("no test file or directory " + path);
        }
    }
    return files;
}

int RunTests(const TestOptions& options, std::ostream& out)
{
    SetHeadless(true);
    std::vector<std::string> files = FindTestFiles(options.paths);
    if (!options.watch)
        return RunAndReport(options, files, nullptr, out) ? 0 : 1;

    std::map<std::string, ScriptWatch> watches;
    std::vector<std::string> toRun = files;
    for (;;) {
        RunAndReport(options, toRun, &watches, out);
        std::cerr << "vyrlua-host: watching " << files.size() << " test file(s) for changes (Ctrl-C stops)\n";
        for (;;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            // Test files added since are run too.
            files = FindTestFiles(options.paths);
            toRun.clear();
            for (const std::string& file : files) {
                auto it = watches.find(file);
                if (it == watches.end() || it->second.Changed())
                    toRun.push_back(file);
            }
            if (!toRun.empty())
                break;
        }
        for (const std::string& file : toRun) {
            auto it = watches.find(file);
            if (it != watches.end())
                it->second.WaitUntilSettled();
        }
    }
}

} // namespace vyrhost
