// Settings on disk: kept between runs of the program, never torn by a
// killed writer, and a bad file never stops the start-up.
#include "support/TestHelpers.h"

#include "exo/app/SettingsStore.h"
#include "vyrcore/PropListFile.h"
#include "vyrcore/config.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using vyrcore::proplist::PropListPtr;

std::string FreshDir(const std::string& name)
{
    fs::path dir = fs::path(::testing::TempDir()) / ("appservices-" + name + "-" +
                                                     std::to_string(getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    return dir.string();
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(Persistence, PreferencesWrittenByOneRunAreReadByTheNext)
{
    std::string dir = FreshDir("runs");
    std::string script = dir + "/prefs.lua";
    std::ofstream(script) << R"(
        require "vyrlua.exo.app"
        local app = App.GetApp()
        if arg[1] == "write" then
            app:SetPref("view\0main", "zoom\0level", 1/3)
            app:SetPref("view\0main", "snap", true)
            app:SetPref("view\0main", "name", "caf\195\169\0!")
            app:SetPref("limits", "low", -1/0)
            app:SetPref("limits", "nan", 0/0)
            app:SetPref("limits", "tiny", 4.9406564584124654e-324)
        else
            local z = app:GetPref("view\0main", "zoom\0level", 0)
            print(z == 1/3, app:GetPref("view\0main", "snap", false),
                  app:GetPref("view\0main", "name", "") == "caf\195\169\0!",
                  app:GetPref("limits", "low", 0), app:GetPref("limits", "nan", 0) ~= app:GetPref("limits", "nan", 0),
                  app:GetPref("limits", "tiny", 0) == 4.9406564584124654e-324,
                  app:GetPref("limits", "absent", "default"))
        end
    )";
    EXPECT_EQ(vyrtest::RunHostProgram("--settings " + dir + " " + script + " write"), "");
    EXPECT_EQ(vyrtest::RunHostProgram("--settings " + dir + " " + script + " read"),
              "true\ttrue\ttrue\t-inf\ttrue\ttrue\tdefault\n");
}

TEST(Persistence, NumbersKeepEveryBitThroughTheFile)
{
    const double values[] = {-0.0, 0.1, 1e308, 5e-324, -HUGE_VAL, HUGE_VAL,
                             std::bit_cast<double>(0x7ff8000000000000ull),
                             std::bit_cast<double>(0xfff8000000000001ull)};
    PropListPtr list = vyrcore::proplist::PropList::Create();
    for (size_t i = 0; i < std::size(values); ++i)
        list->SetNumber(std::to_string(i), values[i]);
    std::vector<std::string> problems;
    PropListPtr back = vyrcore::proplist::FromJSON(vyrcore::proplist::ToJSON(*list), problems);
    ASSERT_TRUE(back);
    EXPECT_TRUE(problems.empty());
    for (size_t i = 0; i < std::size(values); ++i)
        EXPECT_EQ(std::bit_cast<uint64_t>(*back->GetNumber(std::to_string(i))),
                  std::bit_cast<uint64_t>(values[i]))
            << i;
}

// A file from a newer or hand-edited version: what can be read loads, the
// rest is reported, and the file is kept before anything overwrites it.
TEST(Persistence, MistypedEntriesAreReportedAndTheRestLoads)
{
    std::vector<std::string> errors;
    vyrcore::config::SetErrorSink([&](const std::string& m) { errors.push_back(m); });
    std::string dir = FreshDir("mistyped");
    std::ofstream(dir + "/settings.json") << R"({"format": "vyrlua property list", "version": 2,
        "values": {"good": {"number": 2}, "bad": {"number": "two"}, "odd": {"colour": "red"},
                   "flag": {"bool": 1}, "sub": {"list": {"ok": {"string": "yes"}, "x": 3}},
                   "arr": {"array": [{"bool": true}, 7, {"string": "s"}]}}})";
    exo::app::SettingsStore store;
    store.SetDirectory(dir);
    vyrcore::config::SetErrorSink(nullptr);
    const PropListPtr& s = store.Settings();
    EXPECT_EQ(s->GetNumber("good"), 2);
    EXPECT_FALSE(s->Has("bad") || s->Has("odd") || s->Has("flag"));
    EXPECT_EQ(s->GetSubList("sub")->GetString("ok"), "yes");
    EXPECT_EQ(std::get<vyrcore::proplist::PropArrayPtr>(*s->Find("arr"))->items.size(), 2u);
    std::string all;
    for (const auto& e : errors)
        all += e + "\n";
    for (const char* expected : {"another version (2)", "/bad: bad number 'two'",
                                 "/odd: unknown type 'colour'", "/flag: a bool cannot be a JSON number",
                                 "/sub/x: expected an object", "/arr/1: expected an object",
                                 "partly-read-1"})
        EXPECT_NE(all.find(expected), std::string::npos) << expected << " in\n" << all;
    EXPECT_TRUE(fs::exists(dir + "/settings.json.partly-read-1"));
}

TEST(Persistence, AnUnreadableFileIsKeptAsideAndStartUpGoesOn)
{
    std::vector<std::string> errors;
    vyrcore::config::SetErrorSink([&](const std::string& m) { errors.push_back(m); });
    std::string dir = FreshDir("corrupt");
    for (const char* bytes : {"{\"format\": \"vyrlua property list\", \"values\": {\"a\":",
                              "[1, 2]", "\xff\xfe garbage"}) {
        std::ofstream(dir + "/settings.json", std::ios::trunc) << bytes;
        exo::app::SettingsStore store;
        store.SetDirectory(dir);
        EXPECT_EQ(store.Settings()->Count(), 0u);
        store.Settings()->SetBool("fresh", true);
        EXPECT_TRUE(store.Save());
        EXPECT_NE(ReadFile(dir + "/settings.json").find("fresh"), std::string::npos);
    }
    vyrcore::config::SetErrorSink(nullptr);
    for (int n = 1; n <= 3; ++n)
        EXPECT_TRUE(fs::exists(dir + "/settings.json.unreadable-" + std::to_string(n))) << n;
    ASSERT_GE(errors.size(), 3u);
    EXPECT_NE(errors[0].find("not JSON"), std::string::npos) << errors[0];
}

// Kills a writer 200 times, each time after it reported 1 to 3 saves and a
// random few microseconds more, so the kills fall amid writes; every file
// left must load without a problem, hold one whole round of values, and be
// newer than the last one.
TEST(Persistence, KilledWritersLeaveTheOldSettingsOrTheNew)
{
    std::string dir = FreshDir("kill");
    std::string path = dir + "/settings.json";
    std::mt19937 random(12345);
    std::uniform_int_distribution<int> savesFirst(1, 3);
    std::uniform_int_distribution<int> delayMicroseconds(0, 3000);
    double lastRound = 0;
    for (int kill = 0; kill < 200; ++kill) {
        int out[2];
        ASSERT_EQ(pipe(out), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        pid_t pid = 0;
        char* argv[] = {const_cast<char*>(SETTINGS_WRITER), dir.data(), nullptr};
        ASSERT_EQ(posix_spawn(&pid, SETTINGS_WRITER, &actions, nullptr, argv, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(out[1]);
        int saves = savesFirst(random);
        char line[2];
        for (int i = 0; i < saves; ++i)
            ASSERT_EQ(read(out[0], line, 2), 2) << "the writer failed at kill " << kill;
        std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
        ::kill(pid, SIGKILL);
        int status = 0;
        waitpid(pid, &status, 0);
        close(out[0]);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself at kill " << kill;

        std::vector<std::string> problems;
        PropListPtr s = vyrcore::proplist::FromJSON(ReadFile(path), problems);
        ASSERT_TRUE(s) << "kill " << kill << ": " << problems.front();
        ASSERT_TRUE(problems.empty()) << problems.front();
        double round = s->GetNumber("round").value_or(-1);
        ASSERT_GE(round, lastRound + saves) << "a file older than the reported saves at kill " << kill;
        auto sub = s->GetSubList(std::string("sec\0tion", 8));
        ASSERT_TRUE(sub);
        EXPECT_EQ(sub->GetString(std::string("k\0ey", 4)),
                  "round " + std::to_string(round) + std::string("\0!", 2));
        EXPECT_EQ(sub->GetNumber("third"), round / 3);
        EXPECT_EQ(sub->GetBool("odd"), std::fmod(round, 2) == 1);
        EXPECT_EQ(sub->GetNumber("inf"), HUGE_VAL);
        lastRound = round;
    }
}

} // namespace
