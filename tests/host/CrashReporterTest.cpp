// The crash reporter writes its data and a backtrace when the program dies.
#include "vyrcrashreporter/CrashReporter.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

TEST(CrashReporterTest, FatalSignalWritesReport)
{
    const std::string path = ::testing::TempDir() + "crash_report.txt";
    std::remove(path.c_str());
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto& reporter = vyrcrashreporter::CrashReporter::GetInstance();
        reporter.AddData("script", "first.lua");
        reporter.AddData("script", "poster.lua"); // replaces
        reporter.AddData("frame", "12");
        reporter.InstallHandler(path);
        std::raise(SIGSEGV);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGSEGV);

    std::ifstream in(path);
    std::string report((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(report.rfind("signal: Segmentation fault\nscript: poster.lua\nframe: 12\nbacktrace:\n", 0),
              0u)
        << report;
    EXPECT_FALSE(vyrcrashreporter::CrashReporter::GetInstance().InstallHandler(""));
}
