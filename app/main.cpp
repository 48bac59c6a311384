// vyrlua-host: runs a Lua script inside the reference host.
#include "app/Console.h"
#include "app/HostRuntime.h"
#include "app/WindowRenderer.h"

#include "vyrcore/config.h"
#include "vyrcore/debug.h"
#include "vyrcrashreporter/CrashReporter.h"
#include "vyrui/EventLoop.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kUsage = R"(usage: vyrlua-host [options] SCRIPT [ARGS...]
       vyrlua-host [options] --console [SCRIPT [ARGS...]]

Runs SCRIPT in the reference host with the vyrlua library loaded. ARGS are
passed to the script as arg[1..] and as the chunk's "...".

options:
  --help                 show this text and exit
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
  --console              after SCRIPT (if any), run each line of standard input
                         as Lua; results to stdout, errors to stderr
  --run-for SECONDS      after SCRIPT, run the event loop (timers) for SECONDS
  --virtual-clock        with --run-for: a clock that jumps from timer to timer,
                         so the run takes no real time
  --render DIR           at the end, render every top-level window the script
                         left open to DIR/<window ID>.png (headless)

Exit status: 0 when the script ran to its end, 1 on an error (its text goes
to stderr), 2 on bad options.
)";

struct Options {
    vyrhost::HostOptions host;
    std::string settingsDir;
    std::string translations;
    std::string trace;
    std::string logFile;
    std::string crashReport;
    bool console = false;
    double runFor = 0;
    bool virtualClock = false;
    std::string renderDir;
    std::string script;
    std::vector<std::string> args;
};

int Fail(const std::string& message)
{
    std::cerr << "vyrlua-host: " << message << "\n";
    return 2;
}

// Returns -1 when the options are good, else the exit status.
int ParseOptions(int argc, char** argv, Options& options)
{
    if (const char* trace = std::getenv("VYRLUA_TRACE"))
        options.trace = trace;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        std::string option = argv[i];
        auto value = [&](std::string& into) {
            if (i + 1 >= argc)
                return false;
            into = argv[++i];
            return true;
        };
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
        } else if (option == "--run-for") {
            std::string seconds;
            if (!value(seconds))
                return Fail("--run-for needs a number of seconds");
            char* end = nullptr;
            options.runFor = std::strtod(seconds.c_str(), &end);
            if (seconds.empty() || *end != '\0' || !(options.runFor >= 0 && options.runFor <= 1e9))
                return Fail("--run-for needs a number of seconds from 0 to 1e9");
        } else if (option == "--virtual-clock") {
            options.virtualClock = true;
        } else if (option == "--render") {
            if (!value(options.renderDir) || options.renderDir.empty())
                return Fail("--render needs a directory");
        } else if (option == "--") {
            ++i;
            break;
        } else {
            return Fail("unknown option " + option + " (see --help)");
        }
    }
    if (i >= argc && options.console)
        return -1;
    if (i >= argc)
        return Fail("no script given (see --help)");
    options.script = argv[i++];
    options.args.assign(argv + i, argv + argc);
    return -1;
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
    vyrcore::config::SetErrorSink(
        [](const std::string& message) { std::cerr << "vyrlua-host: error: " << message << "\n"; });

    try {
        vyrhost::HostRuntime runtime(options.host);
        runtime.Application().SetSettingsDirectory(options.settingsDir);
        if (!options.console || !options.script.empty())
            error = runtime.RunFile(options.script, options.args);
        if (error.empty() && options.runFor > 0) {
            vyrui::EventLoop& loop = runtime.Application().GetEventLoop();
            if (options.virtualClock)
                loop.SetClock(vyrui::EventLoop::Clock::Virtual);
            loop.RunFor(options.runFor);
        }
        if (error.empty() && options.console) {
            int status = vyrhost::RunConsole(runtime, std::cin, std::cout, std::cerr, isatty(0) != 0);
            if (status != 0)
                return status;
        }
        if (error.empty() && !options.renderDir.empty()) {
            for (const std::string& path : vyrhost::RenderWindowsToPNG(options.renderDir))
                std::cout << "rendered " << path << "\n";
        }
    } catch (const std::exception& e) {
        error = e.what();
    }
    if (!error.empty()) {
        std::cerr << error << "\n";
        return 1;
    }
    return 0;
}
