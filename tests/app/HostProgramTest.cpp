// vyrlua-host as a user runs it: arguments, exit status, error output.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Outcome {
    int status;
    std::string out; // stdout and stderr together
};

// The program sits next to the test binary.
std::string HostProgram()
{
    return (fs::read_symlink("/proc/self/exe").parent_path() / "vyrlua-host").string();
}

Outcome RunHost(const std::string& arguments)
{
    std::string command = HostProgram() + " " + arguments + " 2>&1";
    Outcome outcome{-1, {}};
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return outcome;
    std::array<char, 512> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        outcome.out.append(buffer.data(), n);
    int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
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
    EXPECT_EQ(PNGSize(out / "main.png"), std::make_pair(64u, 32u));
    EXPECT_EQ(PNGSize(out / "_escape.png"), std::make_pair(10u, 12u));
    EXPECT_FALSE(fs::exists(out / "dropped.png"));

    // A directory that cannot be made is an error, not a silent success.
    Outcome bad = RunHost("--render /proc/no/such/dir " + script);
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.out.find("cannot create /proc/no/such/dir"), std::string::npos) << bad.out;
}
