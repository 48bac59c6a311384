// vyrlua-host as a user runs it: arguments, exit status, error output.
#include "HostProgramSupport.h"
#include "vyrui/drawbot/DrawbotInterfaces.h"
#include "vyrui/drawbot/Supplier.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

using vyrhost::testing::HostProgram;
using vyrhost::testing::Outcome;
using vyrhost::testing::RunCommand;

// Headless even where a display is: the window mode has its own test.
Outcome RunHost(const std::string& arguments)
{
    return RunCommand(HostProgram() + " --headless " + arguments + " 2>&1");
}

std::string Script(const std::string& name, const std::string& text)
{
    std::string path = ::testing::TempDir() + name;
    std::ofstream(path) << text;
    return path;
}

} // namespace

TEST(HostProgramTest, RunsScriptWithArguments)
{
    std::string script = Script("args.lua", R"(
        local a, b = ...
        print(arg[0] == (...) and "" or "script " .. arg[0]:match("[^/]*$"), #arg, a, b)
        print(type(vyrlua.numeric), require("vyrlua") == vyrString)
        print(tostring(vyrlua_CreateNewPointF32(1, 2)))
    )");
    Outcome o = RunHost(script + " one 'two words'");
    EXPECT_EQ(o.status, 0) << o.out;
    EXPECT_EQ(o.out, "script args.lua\t2\tone\ttwo words\ntable\ttrue\nPointF32(1, 2)\n");
}

TEST(HostProgramTest, ErrorsExitWithOneAndTheirText)
{
    Outcome runtime = RunHost(Script("fails.lua", "local x = nil\nerror('stopped here')\n"));
    EXPECT_EQ(runtime.status, 1);
    EXPECT_NE(runtime.out.find("fails.lua:2: stopped here\n"), std::string::npos) << runtime.out;

    Outcome syntax = RunHost(Script("syntax.lua", "if then"));
    EXPECT_EQ(syntax.status, 1);
    EXPECT_NE(syntax.out.find("syntax.lua:1:"), std::string::npos) << syntax.out;

    Outcome missing = RunHost("/nonexistent/script.lua");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("cannot open /nonexistent/script.lua"), std::string::npos);
}

TEST(HostProgramTest, OptionsAreChecked)
{
    Outcome help = RunHost("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: vyrlua-host [options] SCRIPT [ARGS...]", 0), 0u);
    EXPECT_EQ(RunHost("").status, 2);
    Outcome unknown = RunHost("--frobnicate x.lua");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.out, "vyrlua-host: unknown option --frobnicate (see --help)\n");
    EXPECT_EQ(RunHost("--trace nonsense x.lua").status, 2);
}

TEST(HostProgramTest, TranslationsAndResourcesFromOptions)
{
    fs::path resources = fs::path(::testing::TempDir()) / "host_resources";
    fs::create_directories(resources);
    // The host's own resources are needed too: copy them beside a new module.
    fs::path shipped = fs::path(HostProgram()).parent_path() / "resources";
    for (auto& entry : fs::directory_iterator(shipped))
        fs::copy_file(entry.path(), resources / entry.path().filename(),
                      fs::copy_options::overwrite_existing);
    std::ofstream(resources / "greeting_words.lua") << "return { hello = 'hej' }";
    std::string translations = Script("sv.txt", "$$$/demo/Bye=Hej då\n");
    std::string script = Script(
        "uses.lua", "print(require('greeting.words').hello, vyrString.Localize('$$$/demo/Bye=Bye'))");
    Outcome o = RunHost("--resources " + resources.string() + " --translations " + translations +
                        " " + script);
    EXPECT_EQ(o.status, 0) << o.out;
    EXPECT_EQ(o.out, "hej\tHej då\n");
}

TEST(HostProgramTest, CrashReportOnFatalSignal)
{
    std::string report = ::testing::TempDir() + "host_crash.txt";
    std::remove(report.c_str());
    // A script cannot crash the host; a signal sent to it stands in for a crash.
    std::string script = Script("crash.lua", R"(
        require("vyrlua.CrashReporter").addData("phase", "rendering")
        os.execute("kill -SEGV " .. io.open("/proc/self/stat"):read("*n"))
    )");
    Outcome o = RunHost("--crash-report " + report + " " + script);
    EXPECT_NE(o.status, 0);
    std::ifstream in(report);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("phase: rendering\n"), std::string::npos) << text;
    EXPECT_NE(text.find("backtrace:\n"), std::string::npos);
}

namespace {

// Width and height from a PNG file's header, or {0, 0}.
size_t Occurrences(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

std::pair<unsigned, unsigned> PNGSize(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    unsigned char header[24] = {};
    if (!in.read(reinterpret_cast<char*>(header), sizeof header) || header[1] != 'P')
        return {0, 0};
    auto be32 = [&](int at) {
        return unsigned(header[at]) << 24 | unsigned(header[at + 1]) << 16 |
               unsigned(header[at + 2]) << 8 | unsigned(header[at + 3]);
    };
    return {be32(16), be32(20)};
}

} // namespace

TEST(HostProgramTest, RendersOpenWindowsToPNG)
{
    fs::path out = fs::path(::testing::TempDir()) / "rendered";
    fs::remove_all(out);
    std::string script = Script("windows.lua", R"(
        require "vyrlua.vyrcontrols"
        main = vyrcontrols.NewWindow("main", vyrlua_CreateNewRectF32(100, 100, 64, 32), "Main")
        odd = vyrcontrols.NewWindow("../escape", vyrlua_CreateNewRectF32(0, 0, 10, 12))
        local dropped = vyrcontrols.NewWindow("dropped", vyrlua_CreateNewRectF32(0, 0, 5, 5))
        dropped = nil
        collectgarbage()
    )");
    Outcome o = RunHost("--render " + out.string() + " " + script);
    EXPECT_EQ(o.status, 0) << o.out;
    EXPECT_EQ(o.out, "rendered " + (out / "main.png").string() + "\nrendered " +
                         (out / "_escape.png").string() + "\n");
    // A title bar of 24 sits above the content; --no-frame leaves it out.
    EXPECT_EQ(PNGSize(out / "main.png"), std::make_pair(64u, 56u));
    EXPECT_EQ(PNGSize(out / "_escape.png"), std::make_pair(10u, 36u));
    EXPECT_FALSE(fs::exists(out / "dropped.png"));
    EXPECT_EQ(RunHost("--no-frame --scale 2 --render " + out.string() + " " + script).status, 0);
    EXPECT_EQ(PNGSize(out / "main.png"), std::make_pair(128u, 64u));

    // A window that cannot be rendered is named.
    Outcome empty = RunHost("--render " + out.string() + " " +
                            Script("empty.lua", "require 'vyrlua.vyrcontrols'\n"
                                                "w = vyrcontrols.NewWindow('w', nil, 'Nothing')"));
    EXPECT_EQ(empty.status, 1);
    EXPECT_NE(empty.out.find("cannot render window 'w' (\"Nothing\"): its size 0 x 0 at scale 1"),
              std::string::npos)
        << empty.out;

    // A window that cannot be rendered or written fails the run, named once,
    // and the windows after it are still written.
    fs::remove_all(out);
    fs::create_directories(out / "main.png");
    Outcome some = RunHost("--render " + out.string() + " " +
                           Script("some.lua", "require 'vyrlua.vyrcontrols'\n"
                                              "local R = vyrlua_CreateNewRectF32\n"
                                              "a = vyrcontrols.NewWindow('main', R(0, 0, 8, 8))\n"
                                              "b = vyrcontrols.NewWindow('wide', R(0, 0, 40000, 8))\n"
                                              "c = vyrcontrols.NewWindow('last', R(0, 0, 8, 8))"));
    EXPECT_EQ(some.status, 1);
    EXPECT_NE(some.out.find("cannot write " + (out / "main.png").string() + ": "), std::string::npos)
        << some.out;
    EXPECT_EQ(Occurrences(some.out, "cannot write"), 1u) << some.out;
    EXPECT_NE(some.out.find("cannot render window 'wide': its size 40000 x 8 at scale 1 is too "
                            "large (surface size must be from 1 to 32767"),
              std::string::npos)
        << some.out;
    EXPECT_NE(some.out.find("rendered " + (out / "last.png").string()), std::string::npos) << some.out;
    EXPECT_EQ(PNGSize(out / "last.png"), std::make_pair(8u, 32u));

    // A directory that cannot be made is an error, not a silent success.
    Outcome bad = RunHost("--render /proc/no/such/dir " + script);
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.out.find("cannot create /proc/no/such/dir"), std::string::npos) << bad.out;
}

TEST(HostProgramTest, CallbackErrorsAreReportedOnceWithTracebackAndStrictFails)
{
    std::string script = Script("ticks.lua", R"(require "vyrlua.vyrcontrols"
ticks = vyrcontrols.NewNode()
local function check(n) if n > 1 then error("tick " .. "failed") end end
local count = 0
ticks:UI_InstallTimer(0.1, function() count = count + 1 check(count) end)
print("started")
)");
    // Ten ticks on the virtual clock, nine failing: one report.
    Outcome lenient = RunHost("--run-for 1 " + script);
    EXPECT_EQ(lenient.status, 0) << lenient.out;
    size_t first = lenient.out.find("ticks.lua:3: tick failed\n");
    ASSERT_NE(first, std::string::npos) << lenient.out;
    EXPECT_EQ(lenient.out.find("tick failed", first + 30), std::string::npos) << lenient.out;
    EXPECT_NE(lenient.out.find("stack traceback:\n\t[C]: in function 'error'\n\t"
                               + script + ":3: in function 'check'\n\t" + script + ":5: in function <"),
              std::string::npos)
        << lenient.out;

    Outcome strict = RunHost("--strict --run-for 1 " + script);
    EXPECT_EQ(strict.status, 1) << strict.out;
}

TEST(HostProgramTest, HostUndoWorksInAScriptFileAfterEachCallback)
{
    std::string script = Script("undo.lua", R"(
        require "vyrlua.vyrcontrols"
        doc = { n = 0 }
        local step = {}
        function step:handleActionUndo() doc.n = doc.n - 1 end
        function step:handleActionRedo() doc.n = doc.n + 1 end
        hostUndo.beginGroup("Add two")
        doc.n = 1 hostUndo.record("one", step)
        doc.n = 2 hostUndo.record("two", step)
        hostUndo.endGroup()
        print(hostUndo.canUndo(), hostUndo.undoName(), hostUndo.undoCount(), hostUndo.canRedo())
        -- Requests wait for the top level, then all run, in order.
        hostUndo.undo() hostUndo.redo() hostUndo.undo()
        print("in the script", doc.n)
        local ticks = 0
        timer = vyrcontrols.NewNode()
        timer:UI_InstallTimer(0.1, function()
          ticks = ticks + 1
          if ticks == 1 then
            print("after", doc.n, hostUndo.canRedo(), hostUndo.redoName())
            hostUndo.redo()
          elseif ticks == 2 then
            print("redone", doc.n, hostUndo.undoName())
          end
        end)
    )");
    Outcome o = RunHost("--run-for 0.25 " + script);
    EXPECT_EQ(o.status, 0) << o.out;
    EXPECT_EQ(o.out, "true\tAdd two\t1\tfalse\nin the script\t2\nafter\t0\ttrue\tAdd two\n"
                     "redone\t2\tAdd two\n");
    EXPECT_EQ(RunHost("--strict " + Script("group.lua", "hostUndo.beginGroup('never closed')")).status, 1);
}

TEST(HostProgramTest, CheckedInApiReferenceIsWhatTheLibraryRegisters)
{
    const char* data = std::getenv("VYRLUA_TEST_DATA");
    ASSERT_NE(data, nullptr);
    // VYRLUA_TEST_DATA is tests/app/data here.
    std::ifstream in(fs::path(data).parent_path().parent_path().parent_path() / "docs" / "api.md");
    std::string checkedIn((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Outcome dump = RunHost("--dump-api markdown");
    EXPECT_EQ(dump.status, 0);
    if (dump.out != checkedIn)
        std::ofstream(::testing::TempDir() + "api-dump.md") << dump.out;
    EXPECT_TRUE(dump.out == checkedIn)
        << "docs/api.md is stale: regenerate it with vyrlua-host --dump-api markdown > docs/api.md";

    // The editor definitions are Lua that loads, with the types the method
    // descriptions recorded.
    std::string definitions = ::testing::TempDir() + "vyrlua-meta.lua";
    EXPECT_EQ(RunHost("--dump-api lua > " + definitions).status, 0);
    Outcome loads = RunHost(Script("load.lua", "assert(loadfile('" + definitions + "')) print('ok')"));
    EXPECT_EQ(loads.out, "ok\n");
    std::ifstream defs(definitions);
    std::string lua((std::istreambuf_iterator<char>(defs)), std::istreambuf_iterator<char>());
    EXPECT_NE(lua.find("---@param checked boolean\nfunction K_vyrCheckbox:SetChecked(checked) end"),
              std::string::npos);
    EXPECT_NE(lua.find("---@param enabled? boolean\nfunction K_vyrControlView:SetEnabled(enabled) end"),
              std::string::npos);
}

TEST(HostProgramTest, StockInterpreterSaysWhatNeedsTheHost)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a stock lua5.1 cannot load a library built with AddressSanitizer";
#endif
    // What needs no host works in a stock lua5.1; what does says so plainly.
    std::string bin = fs::path(HostProgram()).parent_path().string();
    std::string command = "lua5.1 -e \"package.cpath = '" + bin + "/?.so;' .. package.cpath "
                          "require 'vyrlua.vyrcontrols' local n = vyrcontrols.NewNode('n') "
                          "print(n:UI_GetNodeID(), pcall(n.UI_InstallTimer, n, 1, print))\" 2>&1";
    EXPECT_EQ(RunCommand(command).out, "n\tfalse\tvyrlua: this needs the host application's state locator; run the "
                   "script with vyrlua-host\n");
}

namespace {

// Distinct pixel values below the title bar of a rendered window.
size_t ContentColours(const fs::path& png)
{
    std::ifstream in(png, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto image = vyrui::drawbot::CreateDefaultSupplier()->NewImageFromBuffer(1, bytes.data(), bytes.size());
    std::set<uint32_t> colours;
    for (int y = 24; y < image->GetHeight(); ++y) {
        const auto* row = reinterpret_cast<const uint32_t*>(image->GetPixels() + y * image->GetStride());
        colours.insert(row, row + image->GetWidth());
    }
    return colours.size();
}

} // namespace

TEST(HostProgramTest, ExamplesRenderAndTestThemselves)
{
    const char* data = std::getenv("VYRLUA_TEST_DATA");
    ASSERT_NE(data, nullptr);
    fs::path examples = fs::path(data).parent_path().parent_path().parent_path() / "examples";
    fs::path out = fs::path(::testing::TempDir()) / "examples";
    fs::remove_all(out);
    // Fresh settings: the examples keep preferences, the user's must not count.
    std::string host = "--strict --settings " + (out / "settings").string() + " ";
    EXPECT_EQ(RunHost(host + "--render " + out.string() + " " + (examples / "hello.lua").string()).status, 0);
    EXPECT_EQ(RunHost(host + "--run-for 1 --render " + out.string() + " " +
                      (examples / "clip-panel.lua").string()).status, 0);
    // Text, controls and the meter: far more than a blank window's colours.
    EXPECT_GT(ContentColours(out / "hello.png"), 20u);
    EXPECT_GT(ContentColours(out / "clip-panel.png"), 20u);

    Outcome test = RunCommand(HostProgram() + " --test " + examples.string() + " 2>&1");
    EXPECT_EQ(test.status, 0) << test.out;
    EXPECT_NE(test.out.find(" passed, 0 failed\n"), std::string::npos) << test.out;
}

namespace {

std::string FileText(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The host program running in `dir`, stdout and stderr to dir/host.log;
// killed however the test ends.
class BackgroundHost {
public:
    BackgroundHost(const fs::path& dir, std::vector<std::string> arguments) : mLog(dir / "host.log")
    {
        arguments.insert(arguments.begin(), HostProgram());
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        int log = open(mLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        mPid = fork();
        if (mPid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // a crashed test takes it along
            if (dup2(log, 1) >= 0 && dup2(log, 2) >= 0 && chdir(dir.c_str()) == 0)
                execv(argv[0], argv.data());
            _exit(127);
        }
        close(log);
    }
    ~BackgroundHost()
    {
        if (Running()) {
            kill(mPid, SIGKILL);
            waitpid(mPid, nullptr, 0);
        }
    }

    bool Running()
    {
        if (mPid > 0 && waitpid(mPid, nullptr, WNOHANG) == mPid)
            mPid = -1;
        return mPid > 0;
    }
    std::string Output() const { return FileText(mLog); }

    // Polls until `done` holds. The deadline is far beyond a run, even under
    // sanitizers: only a hang reaches it.
    bool WaitFor(const std::function<bool()>& done)
    {
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!done()) {
            if (std::chrono::steady_clock::now() > until)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return true;
    }
    bool Stop()
    {
        if (Running())
            kill(mPid, SIGTERM);
        return WaitFor([this] { return !Running(); });
    }

private:
    fs::path mLog;
    pid_t mPid = -1;
};

} // namespace

TEST(HostProgramTest, WatchReloadsOnSavesRendersEachRunAndOutlivesBrokenSaves)
{
    fs::path dir = fs::path(::testing::TempDir()) / "watch";
    fs::remove_all(dir);
    fs::create_directories(dir);
    auto save = [&](const char* file, const std::string& text) { std::ofstream(dir / file) << text; };
    save("look.lua", "return { title = 'First', width = 80 }");
    save("main.lua", "require 'vyrlua.vyrcontrols'\n"
                     "local look = require 'look'\n"
                     "win = vyrcontrols.NewWindow('watched', "
                     "vyrlua_CreateNewRectF32(0, 0, look.width, 40), look.title)\n");
    const fs::path png = dir / "out" / "watched.png";

    // --strict: an error fails its own run only; the next one renders again.
    BackgroundHost host(dir, {"--headless", "--strict", "--watch", "--settings",
                              (dir / "settings").string(), "--render", "out", "main.lua"});
    size_t runs = 0;
    std::string run; // what the last run printed
    auto nextRun = [&] {
        size_t from = host.Output().size();
        ++runs;
        bool ended = host.WaitFor([&] {
            return Occurrences(host.Output(), " for changes (Ctrl-C stops)\n") == runs;
        });
        run = host.Output().substr(from);
        return ended;
    };

    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_NE(run.find("rendered out/watched.png\nvyrlua-host: watching 2 file(s)"), std::string::npos)
        << run;
    std::string first = FileText(png);

    // A module's change shows; the last run's window is gone (else the same
    // ID would be rendered twice, the second time as watched-2).
    save("look.lua", "return { title = 'Second', width = 120 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_NE(run.find("reloading main.lua"), std::string::npos) << run;
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    std::string second = FileText(png);
    EXPECT_TRUE(second != first) << "the render did not change";

    // A module that does not compile is reported once and stays watched: its
    // fix alone brings the window back.
    save("look.lua", "return { title = 'Third' width = 160 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, "look.lua:1: '}' expected near 'width'"), 1u) << run;
    EXPECT_EQ(Occurrences(run, "rendered "), 0u) << run;
    save("look.lua", "return { title = 'Third', width = 160 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    EXPECT_TRUE(FileText(png) != second) << "the render did not change";

    // The script itself, broken twice: each run reports its error, once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        save("main.lua", "if then");
        ASSERT_TRUE(nextRun()) << host.Output();
        EXPECT_EQ(Occurrences(run, "main.lua:1: unexpected symbol near 'then'"), 1u) << run;
        EXPECT_TRUE(host.Running());
    }
    save("main.lua", "require 'vyrlua.vyrcontrols'\n"
                     "win = vyrcontrols.NewWindow('watched', vyrlua_CreateNewRectF32(0, 0, 50, 20))");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    EXPECT_TRUE(host.Stop()) << host.Output();
}

TEST(HostProgramTest, HeadlessDialogsAreAnsweredByTimersOrFailTheStrictRun)
{
    // A timer that keeps ticking on the virtual clock answers the first
    // alert; the second wants Yes or No, which the timer never gives, so the
    // run ends unanswered instead of ticking for ever.
    std::string script = Script("dialogs.lua", R"(
        require "vyrlua.vyrcontrols"
        require "vyrlua.uisupport.Alert"
        local input = require "vyrhost.input"
        local w = vyrcontrols.NewWindow("w", vyrlua_CreateNewRectF32(0, 0, 100, 100))
        w:UI_InstallTimer(0.25, function()
          local m = input.modalWindow()
          if m and m:GetDescendentByID("ok") then input.key("Enter") end
        end)
        local saved = Alert.Show("Saved.", "Export")
        print(saved, Alert.Show("Delete?", "Delete clip?", Alert.kAlertType_YesNo))
    )");
    Outcome o = RunHost("--strict " + script);
    EXPECT_EQ(o.status, 1) << o.out;
    EXPECT_NE(o.out.find("1\t7\n"), std::string::npos) << o.out;
    EXPECT_NE(o.out.find("vyrlua-host: error: headless: dialog 'Delete clip?' was not answered\n"),
              std::string::npos)
        << o.out;
}
