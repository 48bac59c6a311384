// vyrlua-host --watch as a script author uses it: edit, save, look at the
// new render; break the script, see the error once, fix it, go on.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Steps wait this long at most: far beyond a run, even under sanitizers;
// only a hang reaches it.
constexpr auto kDeadline = std::chrono::seconds(60);

// The host program running in `dir`, its stdout and stderr read through one
// pipe. It is killed whatever way the test leaves.
class HostProcess {
public:
    HostProcess(const fs::path& dir, std::vector<std::string> arguments)
    {
        std::string program =
            (fs::read_symlink("/proc/self/exe").parent_path() / "vyrlua-host").string();
        arguments.insert(arguments.begin(), program);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0)
            return;
        mPid = fork();
        if (mPid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // the test dying takes it along
            dup2(fds[1], 1);
            dup2(fds[1], 2);
            if (chdir(dir.c_str()) == 0)
                execv(argv[0], argv.data());
            _exit(127);
        }
        close(fds[1]);
        mOut = fds[0];
    }
    ~HostProcess()
    {
        if (Running()) {
            kill(mPid, SIGKILL);
            waitpid(mPid, nullptr, 0);
        }
        if (mOut >= 0)
            close(mOut);
    }

    // Asks it to end as Ctrl-C would; whether it did before the deadline.
    bool Stop()
    {
        if (Running())
            kill(mPid, SIGINT);
        auto until = std::chrono::steady_clock::now() + kDeadline;
        while (Running() && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return !Running();
    }

    bool Running()
    {
        if (mPid <= 0 || mEnded)
            return false;
        mEnded = waitpid(mPid, nullptr, WNOHANG) == mPid;
        return !mEnded;
    }

    // Reads until `done(output so far)` holds; false when the deadline
    // passes or the output ends first.
    bool WaitFor(const std::function<bool(const std::string&)>& done)
    {
        auto until = std::chrono::steady_clock::now() + kDeadline;
        while (!done(mText)) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                until - std::chrono::steady_clock::now());
            if (mOut < 0 || left.count() <= 0)
                return false;
            pollfd p{mOut, POLLIN, 0};
            int ready = poll(&p, 1, static_cast<int>(left.count()));
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                return false;
            char buffer[4096];
            ssize_t n = read(mOut, buffer, sizeof buffer);
            if (n == 0)
                return false;
            if (n > 0)
                mText.append(buffer, static_cast<size_t>(n));
        }
        return true;
    }

    const std::string& Output() const { return mText; }

private:
    pid_t mPid = -1;
    int mOut = -1;
    bool mEnded = false;
    std::string mText;
};

size_t Occurrences(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

std::string Bytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Save(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text << "\n";
}

} // namespace

TEST(WatchTest, ReloadsOnSavesRendersEachRunAndOutlivesBrokenSaves)
{
    fs::path dir = fs::path(::testing::TempDir()) / "watch";
    fs::remove_all(dir);
    fs::create_directories(dir);
    Save(dir / "look.lua", "return { title = 'First', width = 80 }");
    Save(dir / "main.lua", "require 'vyrlua.vyrcontrols'\n"
                           "local look = require 'look'\n"
                           "win = vyrcontrols.NewWindow('watched', "
                           "vyrlua_CreateNewRectF32(0, 0, look.width, 40), look.title)\n");
    const std::string script = "main.lua:1: unexpected symbol near 'then'";
    const std::string module = "look.lua:1: '}' expected near 'width'";
    const fs::path png = dir / "out" / "watched.png";

    // --strict: an error ends its run only, the next one renders again.
    HostProcess host(dir, {"--headless", "--strict", "--watch", "--settings", (dir / "settings").string(),
                           "--render", "out", "main.lua"});
    size_t runs = 0;
    std::string run; // what the last run printed
    // Waits for the next run to end.
    auto nextRun = [&] {
        size_t from = host.Output().size();
        ++runs;
        bool ended = host.WaitFor([&](const std::string& text) {
            return Occurrences(text, " for changes (Ctrl-C stops)\n") == runs;
        });
        run = host.Output().substr(from);
        return ended;
    };

    ASSERT_TRUE(nextRun()) << host.Output();
    ASSERT_NE(run.find("rendered out/watched.png\n"), std::string::npos) << run;
    EXPECT_NE(run.find("watching 2 file(s)"), std::string::npos) << run;
    std::string first = Bytes(png);

    // A module's change shows; the last run's window is gone (else the same
    // ID would be rendered twice, as watched-2).
    Save(dir / "look.lua", "return { title = 'Second', width = 120 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_NE(run.find("reloading main.lua"), std::string::npos) << run;
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    std::string second = Bytes(png);
    EXPECT_TRUE(second != first) << "the render did not change";

    // A module that does not compile is reported once and still watched: its
    // fix alone brings the window back.
    Save(dir / "look.lua", "return { title = 'Third' width = 160 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, module), 1u) << run;
    EXPECT_EQ(Occurrences(run, "rendered "), 0u) << run;
    EXPECT_TRUE(host.Running());
    Save(dir / "look.lua", "return { title = 'Third', width = 160 }");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    EXPECT_TRUE(Bytes(png) != second) << "the render did not change";

    // The same for the script itself, twice: a new run reports the same
    // error again, once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        Save(dir / "main.lua", "if then");
        ASSERT_TRUE(nextRun()) << host.Output();
        EXPECT_EQ(Occurrences(run, script), 1u) << run;
        EXPECT_TRUE(host.Running());
    }
    Save(dir / "main.lua", "require 'vyrlua.vyrcontrols'\n"
                           "win = vyrcontrols.NewWindow('watched', "
                           "vyrlua_CreateNewRectF32(0, 0, 50, 20), 'Fixed')\n");
    ASSERT_TRUE(nextRun()) << host.Output();
    EXPECT_EQ(Occurrences(run, "rendered "), 1u) << run;
    EXPECT_TRUE(host.Stop()) << host.Output();
}
