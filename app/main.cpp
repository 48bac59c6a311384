// vyrlua-host: runs a Lua script inside the reference host.
#include "app/ApiDump.h"
#include "app/Console.h"
#include "app/ErrorReport.h"
#include "app/HostRuntime.h"
#include "app/Inspect.h"
#include "app/InputModule.h"
#include "app/ScriptWatch.h"
#include "app/TestRunner.h"
#include "app/WindowMode.h"
#include "app/WindowRenderer.h"

#include "vyrlua/ui/KnownOperations.h"
#include "vyrcore/config.h"
#include "vyrcore/debug.h"
#include "vyrcrashreporter/CrashReporter.h"
#include "vyrui/EventLoop.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kUsage = R"(usage: vyrlua-host [options] SCRIPT [ARGS...]
       vyrlua-host [options] --console [SCRIPT [ARGS...]]
       vyrlua-host --dump-api markdown|lua
       vyrlua-host --test [test options] [PATH...]

Runs SCRIPT in the reference host with the vyrlua library loaded. ARGS are
passed to the script as arg[1..] and as the chunk's "...".

With a display (DISPLAY or WAYLAND_DISPLAY set), every top-level window the
script leaves shown opens as a real window with mouse and keyboard input; the
program ends when the last one is closed or the script calls
require("vyrhost.app").quit(). Without a display, or with --headless, the
script and the event loop run until idle, on a virtual clock that jumps from
timer to timer.

options:
  --help                 show this text and exit
  --headless             do not open windows even when a display is there
  --scale FACTOR         view scale of the windows (HiDPI), 0.25 to 8; headless
                         renders at it too (default: the display's, or the
                         VYRLUA_SCALE environment variable)
  --run-for SECONDS      run the event loop (timers) for SECONDS after SCRIPT;
                         headless on the virtual clock, so it takes no time
  --virtual-clock        use the virtual clock in window mode too
  --render DIR           (headless) at the end of the run (of each run with
                         --watch), render every shown top-level window to
                         DIR/<name>.png, <name> being the window's ID
                         made safe: runs of bytes other than letters, digits,
                         '-', '_' and '.' become '_', leading dots are dropped,
                         at most 100 bytes; "window-<n>" when nothing is left;
                         "-2", "-3", ... for a name used twice; a title bar
                         with the window's title sits above its content
  --no-frame             with --render: the content only, no title bar
  --dump-tree            (headless) at the end of the run, print the node tree
                         of every shown top-level window: per node its
                         metatable, ID, rectangle, theme and bound operations
                         (what require("vyrhost.inspect")(node) returns)
  --watch                run SCRIPT again whenever it or a module it required
                         from disk changes (once the files have stayed the
                         same for a tenth of a second), closing and rebuilding
                         its windows; a failed run is reported and watching
                         goes on, a module that failed to load included
  --strict               any error reported (in a handler, a timer, a draw or
                         undo callback) ends the run with exit status 1 (with
                         --watch: fails that run; the next one starts afresh);
                         binding an operation no node dispatches (a misspelt
                         "OnMouseDown") is an error at the binding, not a
                         warning
  --dump-api FORMAT      write what the library registers, read from a live
                         state, to standard output: "markdown" (docs/api.md)
                         or "lua" (language server ---@meta definitions)
  --console              after SCRIPT (if any), run each line of standard input
                         as Lua; results to stdout, errors to stderr
  --resources DIR        serve the host's Lua resources from DIR
  --embedded-last        look for resource-held modules after Lua files on disk
  --settings DIR         keep the application settings in DIR/settings.json
                         (default: $XDG_CONFIG_HOME/vyrlua-host, else
                         ~/.config/vyrlua-host)
  --translations FILE    load a translation table for localised texts
  --trace LEVELS         log levels by category, e.g. vyrlua=trace,LuaCrashReporter=info
                         (default: the VYRLUA_TRACE environment variable)
  --log-file FILE        write log lines to FILE instead of stderr
  --crash-report FILE    on a fatal signal, write a crash report to FILE

With --test, runs the test files among PATHs (files named *_test.lua or
*-test.lua in the directories, searched recursively, and files named
directly; none: the current directory). Each file runs in a fresh Lua state,
headless, on the virtual clock, with fresh temporary settings, and declares
its tests with require("vyrhost.test") (docs/testing.md). One line per
failure, "FILE:LINE: FAIL|ERROR TEST: MESSAGE", then "N passed, M failed";
exit status 1 when any failed.
test options:
  --junit FILE           also write the results as JUnit XML to FILE
  --update-goldens       write golden images that are missing or differ
                         instead of failing
  --time-limit SECONDS   how long each test may run on the virtual clock
                         (default 60)
  --instruction-limit N  how many Lua instructions each test may run
                         (default 2e8): a busy loop fails rather than hangs
  --watch                run the files again whenever one, or a module it
                         required, changes; new test files are run too

Errors are reported once per distinct message, with file, line and traceback.
Exit status: 0 when the script ran to its end, 1 on an error in the script
(or any reported error with --strict), 2 on bad options.
)";

struct Options {
    vyrhost::HostOptions host;
    std::string settingsDir;
    std::string translations;
    std::string trace;
    std::string logFile;
    std::string crashReport;
    bool console = false;
    bool headless = false;
    bool watch = false;
    bool strict = false;
    double runFor = 0;
    float scale = 0;
    bool virtualClock = false;
    bool frame = true;
    std::string renderDir;
    bool dumpTree = false;
    std::string dumpApi;
    bool test = false;
    vyrhost::TestOptions testOptions;
    std::string script;
    std::vector<std::string> args;
};

int Fail(const std::string& message)
{
    std::cerr << "vyrlua-host: " << message << "\n";
    return 2;
}

bool ParseNumber(const std::string& text, double low, double high, double& out)
{
    char* end = nullptr;
    out = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && out >= low && out <= high;
}

// Returns -1 when the options are good, else the exit status.
int ParseOptions(int argc, char** argv, Options& options)
{
    if (const char* trace = std::getenv("VYRLUA_TRACE"))
        options.trace = trace;
    // Read here rather than by the window mode alone, so headless renders
    // follow it too.
    if (const char* scale = std::getenv("VYRLUA_SCALE"); scale && *scale) {
        double number = 0;
        if (!ParseNumber(scale, 0.25, 8, number))
            return Fail("VYRLUA_SCALE needs a factor from 0.25 to 8");
        options.scale = static_cast<float>(number);
    }
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        std::string option = argv[i];
        auto value = [&](std::string& into) {
            if (i + 1 >= argc)
                return false;
            into = argv[++i];
            return true;
        };
        std::string text;
        double number = 0;
        if (option == "--help") {
            std::cout << kUsage;
            return 0;
        }
        if (option == "--embedded-last") {
            options.host.embeddedFirst = false;
        } else if (option == "--resources") {
            if (!value(options.host.resourceDir))
                return Fail("--resources needs a directory");
        } else if (option == "--settings") {
            if (!value(options.settingsDir) || options.settingsDir.empty())
                return Fail("--settings needs a directory");
        } else if (option == "--translations") {
            if (!value(options.translations))
                return Fail("--translations needs a file");
        } else if (option == "--trace") {
            if (!value(options.trace))
                return Fail("--trace needs levels, e.g. vyrlua=trace");
        } else if (option == "--log-file") {
            if (!value(options.logFile))
                return Fail("--log-file needs a file");
        } else if (option == "--crash-report") {
            if (!value(options.crashReport))
                return Fail("--crash-report needs a file");
        } else if (option == "--console") {
            options.console = true;
        } else if (option == "--headless") {
            options.headless = true;
        } else if (option == "--watch") {
            options.watch = true;
        } else if (option == "--strict") {
            options.strict = true;
        } else if (option == "--run-for") {
            if (!value(text) || !ParseNumber(text, 0, 1e9, options.runFor))
                return Fail("--run-for needs a number of seconds from 0 to 1e9");
        } else if (option == "--scale") {
            if (!value(text) || !ParseNumber(text, 0.25, 8, number))
                return Fail("--scale needs a factor from 0.25 to 8");
            options.scale = static_cast<float>(number);
        } else if (option == "--dump-tree") {
            options.dumpTree = true;
        } else if (option == "--no-frame") {
            options.frame = false;
        } else if (option == "--virtual-clock") {
            options.virtualClock = true;
        } else if (option == "--render") {
            if (!value(options.renderDir) || options.renderDir.empty())
                return Fail("--render needs a directory");
        } else if (option == "--dump-api") {
            if (!value(options.dumpApi) ||
                (options.dumpApi != "markdown" && options.dumpApi != "lua"))
                return Fail("--dump-api needs a format: markdown or lua");
        } else if (option == "--test") {
            options.test = true;
        } else if (option == "--junit") {
            if (!value(options.testOptions.junitFile) || options.testOptions.junitFile.empty())
                return Fail("--junit needs a file");
        } else if (option == "--update-goldens") {
            options.testOptions.updateGoldens = true;
        } else if (option == "--time-limit") {
            if (!value(text) || !ParseNumber(text, 0.001, 1e6, options.testOptions.timeLimit))
                return Fail("--time-limit needs a number of seconds from 0.001 to 1e6");
        } else if (option == "--instruction-limit") {
            if (!value(text) || !ParseNumber(text, 1e4, 1e15, options.testOptions.instructionLimit))
                return Fail("--instruction-limit needs a number from 1e4 to 1e15");
        } else if (option == "--") {
            ++i;
            break;
        } else {
            return Fail("unknown option " + option + " (see --help)");
        }
    }
    if (options.test) {
        if (options.console || !options.dumpApi.empty())
            return Fail("--test cannot be used with --console or --dump-api");
        options.testOptions.paths.assign(argv + i, argv + argc);
        options.testOptions.watch = options.watch;
        return -1;
    }
    if (i >= argc && (options.console || !options.dumpApi.empty()))
        return -1;
    if (i >= argc)
        return Fail("no script given (see --help)");
    options.script = argv[i++];
    options.args.assign(argv + i, argv + argc);
    if (options.watch && options.console)
        return Fail("--watch and --console cannot be used together");
    return -1;
}

enum class Outcome { Ok, Failed, Reload };

// One run of the script in a fresh runtime: the script, the event loop (in
// windows or headless), the console, rendering.
Outcome RunScript(const Options& options, bool headless, vyrhost::ErrorReport& report,
                  vyrhost::ScriptWatch* watch)
{
    vyrhost::HostRuntime runtime(options.host);
    runtime.Application().SetSettingsDirectory(options.settingsDir);
    vyrui::EventLoop& loop = runtime.Application().GetEventLoop();
    if (headless || options.virtualClock)
        loop.SetClock(vyrui::EventLoop::Clock::Virtual);
    vyrhost::ClearQuitRequest();
    // Only this run's errors count: a fixed script renders again under --watch.
    const size_t reportedBefore = report.Count();
    auto failed = [&] { return options.strict && report.Count() > reportedBefore; };
    // Made before the script runs, so that a dialog it runs modally shows.
    std::optional<vyrhost::WindowMode> windows;
    if (!headless && !options.console)
        windows.emplace(runtime, options.scale);

    if (!options.console || !options.script.empty()) {
        if (watch)
            watch->Prepare(runtime.State(), options.script);
        std::string error = runtime.RunFile(options.script, options.args);
        if (watch)
            watch->Collect(runtime.State(), options.script);
        if (!error.empty()) {
            std::string message = error.substr(0, error.find('\n'));
            std::string traceback = error.size() > message.size() ? error.substr(message.size() + 1) : "";
            report.Report(message, traceback);
            return Outcome::Failed;
        }
    }
    runtime.Settle();
    if (windows) {
        auto changed = [&] { return watch && watch->Changed(); };
        vyrhost::WindowMode::End end = windows->Run(options.runFor, changed, failed);
        if (end == vyrhost::WindowMode::End::Stopped)
            return Outcome::Reload;
    } else if (options.runFor > 0 && !vyrhost::QuitRequested()) {
        vyrhost::LoopRunScope running;
        loop.RunFor(options.runFor);
    }
    runtime.Settle();
    if (failed())
        return Outcome::Failed;
    if (options.console) {
        if (vyrhost::RunConsole(runtime, std::cin, std::cout, std::cerr, isatty(0) != 0) != 0)
            return Outcome::Failed;
    }
    if (options.dumpTree)
        std::cout << vyrhost::DumpWindowTrees(runtime.State());
    if (!options.renderDir.empty()) {
        vyrhost::RenderResult rendered =
            vyrhost::RenderWindowsToPNG(options.renderDir, options.scale, options.frame);
        for (const std::string& path : rendered.written)
            std::cout << "rendered " << path << "\n";
        for (const std::string& failure : rendered.failures)
            report.Report(failure);
        if (!rendered.failures.empty())
            return Outcome::Failed;
    }
    return failed() ? Outcome::Failed : Outcome::Ok;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    options.settingsDir = exo::app::DefaultSettingsDirectory();
    if (int status = ParseOptions(argc, argv, options); status >= 0)
        return status;

    std::string error;
    if (!options.trace.empty() && !vyrcore::debug::ConfigureLevels(options.trace, &error))
        return Fail(error);
    if (!options.logFile.empty() && !vyrcore::debug::SetLogFile(options.logFile))
        return Fail("cannot open log file " + options.logFile);
    if (!options.crashReport.empty())
        vyrcrashreporter::CrashReporter::GetInstance().InstallHandler(options.crashReport);
    if (!options.translations.empty() &&
        !vyrcore::config::Localizer::Get().LoadTranslationFile(options.translations, &error))
        return Fail(error);

    vyrhost::ErrorReport report(std::cerr);
    vyrcore::config::SetErrorSink([&report](const std::string& message) { report.Report(message); });
    options.host.tracebacks = true;

    const bool headless = options.headless || options.console || !options.renderDir.empty() || options.dumpTree ||
                          !options.dumpApi.empty() || !vyrhost::WindowMode::DisplayAvailable();
    vyrhost::SetHeadless(headless);
    // A handler bound to an operation no node dispatches never runs.
    vyrlua::ui::SetUnknownOperationPolicy(options.strict || options.test ? vyrlua::ui::UnknownOperation::Error
                                                                          : vyrlua::ui::UnknownOperation::Warn);

    int status = 0;
    try {
        if (options.test) {
            options.testOptions.host = options.host;
            return vyrhost::RunTests(options.testOptions, std::cout);
        }
        if (!options.dumpApi.empty()) {
            vyrhost::HostRuntime runtime(options.host);
            std::cout << vyrhost::DumpApi(runtime.State(), options.dumpApi);
            return 0;
        }
        std::unique_ptr<vyrhost::ScriptWatch> watch;
        if (options.watch)
            watch = std::make_unique<vyrhost::ScriptWatch>();
        for (;;) {
            Outcome outcome = RunScript(options, headless, report, watch.get());
            status = outcome == Outcome::Failed ? 1 : 0;
            if (!watch || vyrhost::QuitRequested())
                break;
            if (outcome != Outcome::Reload) {
                // What the run printed is seen before the wait, in a pipe too.
                std::cout.flush();
                std::fflush(stdout);
                std::cerr << "vyrlua-host: watching " << watch->Count()
                          << " file(s) for changes (Ctrl-C stops)\n";
                while (!watch->Changed())
                    std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            watch->WaitUntilSettled();
            std::cerr << "vyrlua-host: reloading " << options.script << "\n";
            report.NewRun();
        }
    } catch (const std::exception& e) {
        report.Report(e.what());
        status = 1;
    }
    return status;
}
