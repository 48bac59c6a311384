// vyrlua-host --test as a script author runs it: what a failing test
// prints, how hangs end, golden images and the JUnit file.
#include "HostProgramSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using vyrhost::testing::Outcome;
using vyrhost::testing::RunCommand;
using vyrhost::testing::HostProgram;

// A fresh directory of test files named by `files` (name, text).
fs::path Suite(const std::string& name, std::initializer_list<std::pair<const char*, const char*>> files)
{
    fs::path dir = fs::path(::testing::TempDir()) / name;
    fs::remove_all(dir);
    fs::create_directories(dir);
    for (const auto& [file, text] : files)
        std::ofstream(dir / file) << "local t = require 'vyrhost.test' " << text;
    return dir;
}

Outcome RunTests(const fs::path& dir, const std::string& options = "")
{
    return RunCommand("cd " + dir.string() + " && " + HostProgram() + " --test " + options + " 2>&1");
}

} // namespace

TEST(TestRunnerTest, ReportsEachFailureWithItsPlaceAndEndsWithTheCounts)
{
    fs::path dir = Suite("runner-failures", {
        {"a_test.lua", "t.test('adds', function() t.eq(1 + 1, 2) end)\n"
                       "t.test('compares tables', function()\n"
                       "  t.eq({a = 1, b = {2, 3}}, {a = 1, b = {2, 4}, c = 'x'}, 'the layout')\n"
                       "end)\n"
                       "t.test('indexes nil', function() local x; return x.y end)\n"
                       "t.test('expects an error', function() t.raises(function() end, 'boom') end)\n"
                       "t.test('is skipped', function() t.skip('not here') end)\n"},
        // Setup and teardown wrap each later test; teardown runs after a failure too.
        {"b-test.lua", "local log = {}\n"
                       "t.setup(function() log[#log + 1] = 'setup' end)\n"
                       "t.teardown(function() log[#log + 1] = 'teardown' end)\n"
                       "t.test('fails', function() t.ok(false, 'on purpose') end)\n"
                       "t.test('sees both', function() t.eq(log, {'setup', 'teardown', 'setup'}) end)\n"},
        {"helper.lua", "error('not a test file')\n"},
    });
    Outcome o = RunTests(dir, "--junit " + (dir / "junit.xml").string());
    EXPECT_EQ(o.status, 1);
    EXPECT_EQ(o.out,
              "a_test.lua:3: FAIL compares tables: the layout: tables differ: .b[2]: expected 4, got 3; "
              ".c: missing (expected \"x\")\n"
              "a_test.lua:5: ERROR indexes nil: attempt to index local 'x' (a nil value)\n"
              "a_test.lua:6: FAIL expects an error: expected an error containing \"boom\", none was raised\n"
              "b-test.lua:4: FAIL fails: on purpose\n"
              "1 skipped\n"
              "2 passed, 4 failed\n");
    std::ifstream junit(dir / "junit.xml");
    std::string xml((std::istreambuf_iterator<char>(junit)), std::istreambuf_iterator<char>());
    EXPECT_NE(xml.find("<testsuite name=\"a_test.lua\" tests=\"5\" failures=\"2\" errors=\"1\" skipped=\"1\">"),
              std::string::npos) << xml;
    EXPECT_NE(xml.find("<failure message=\"on purpose\">b-test.lua:4: on purpose</failure>"), std::string::npos)
        << xml;

    // A file named directly is run whatever its name; all passing exits 0.
    std::ofstream(dir / "c.lua") << "require('vyrhost.test').test('fine', function() end)\n";
    Outcome named = RunTests(dir, "c.lua");
    EXPECT_EQ(named.status, 0) << named.out;
    EXPECT_EQ(named.out, "1 passed, 0 failed\n");
}

TEST(TestRunnerTest, HangsEndAtTheLimitsAndLaterTestsRun)
{
    fs::path dir = Suite("runner-hangs", {
        {"hang_test.lua", "local input = require 'vyrhost.input'\n"
                          "t.test('spins', function() while true do end end)\n"
                          "t.test('spins under pcall', function() while true do pcall(function() end) end end)\n"
                          "t.timeLimit(5)\n"
                          "t.test('waits forever', function()\n"
                          "  while true do input.wait(1) end\n"
                          "end)\n"
                          "t.test('handler errors fail the test', function()\n"
                          "  require 'vyrlua.vyrcontrols'\n"
                          "  local w = vyrcontrols.NewWindow('w', vyrlua_CreateNewRectF32(0, 0, 10, 10), 'W')\n"
                          "  w:UI_InstallTimer(0.1, function() error('in a timer') end)\n"
                          "  input.wait(1)\n"
                          "end)\n"
                          "t.test('still runs', function() end)\n"},
    });
    Outcome o = RunTests(dir, "--instruction-limit 1e6");
    EXPECT_EQ(o.status, 1);
    EXPECT_NE(o.out.find("hang_test.lua:2: ERROR spins: ran past its limit of 1000000 Lua instructions"),
              std::string::npos) << o.out;
    EXPECT_NE(o.out.find("hang_test.lua:3: ERROR spins under pcall: ran past its limit"), std::string::npos) << o.out;
    EXPECT_NE(o.out.find("hang_test.lua:6: ERROR waits forever: ran past its time limit of 5 s on the virtual clock\n"),
              std::string::npos) << o.out;
    EXPECT_NE(o.out.find("ERROR handler errors fail the test: reported: "), std::string::npos) << o.out;
    EXPECT_NE(o.out.find("\n1 passed, 4 failed\n"), std::string::npos) << o.out;
}

TEST(TestRunnerTest, GoldenMismatchWritesActualAndDifferenceBesideTheReference)
{
    const char* panel = "require 'vyrlua.vyrcontrols'\n"
                        "local R = vyrlua_CreateNewRectF32\n"
                        "local w = vyrcontrols.NewWindow('w', R(0, 0, 120, 60), 'Panel')\n"
                        "local b = vyrcontrols.NewButton('b', R(10, 10, 80, 24), LABEL)\n"
                        "w:ChildPushBack(b)\n"

                        "t.test('window', function() t.golden(w, 'window', {scale = 2}) end)\n"
                        "t.test('button', function() t.golden(b, 'button', {theme = 'dark'}) end)\n"
                        "t.test('dialog', function()\n"
                        "  local d = vyrcontrols.NewDialog('d', R(0, 0, 100, 50), 'Ask')\n"
                        "  d:ChildPushBack(vyrcontrols.NewButton('ok', R(10, 10, 60, 24), LABEL))\n"
                        "  require('vyrhost.input').onModal(function(dialog)\n"
                        "    t.golden(dialog, 'dialog', {frame = true})\n"
                        "    dialog:EndModal(1)\n"
                        "  end)\n"
                        "  t.eq(d:RunModal(), 1)\n"
                        "end)\n";
    auto write = [&](const fs::path& dir, const char* label) {
        std::ofstream(dir / "panel_test.lua") << "local t = require 'vyrhost.test' LABEL = '" << label << "'\n"
                                               << panel;
    };
    fs::path dir = Suite("runner-golden", {});
    write(dir, "OK");
    Outcome missing = RunTests(dir);
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("panel_test.lua:7: FAIL window: golden: no reference image ./golden/window.png "
                               "(--update-goldens writes it)"), std::string::npos) << missing.out;
    Outcome update = RunTests(dir, "--update-goldens");
    EXPECT_EQ(update.out, "3 passed, 0 failed\n");
    EXPECT_EQ(RunTests(dir).out, "3 passed, 0 failed\n");

    write(dir, "Changed");
    Outcome changed = RunTests(dir);
    EXPECT_EQ(changed.status, 1);
    for (const char* name : {"window", "button", "dialog"}) {
        std::string stem = std::string("./golden/") + name;
        EXPECT_NE(changed.out.find("pixel(s) differ from " + stem + ".png by more than 0"), std::string::npos)
            << changed.out;
        EXPECT_NE(changed.out.find("; actual: " + stem + ".actual.png, difference: " + stem + ".diff.png"),
                  std::string::npos) << changed.out;
        EXPECT_TRUE(fs::exists(dir / "golden" / (std::string(name) + ".actual.png"))) << name;
        EXPECT_TRUE(fs::exists(dir / "golden" / (std::string(name) + ".diff.png"))) << name;
    }
    // The reference stays until the switch writes the change.
    EXPECT_EQ(RunTests(dir, "--update-goldens").status, 0);
    EXPECT_EQ(RunTests(dir).status, 0);
}

// The testing reference names every function the two modules have.
TEST(TestRunnerTest, ReferenceDocumentsEveryFunction)
{
    const char* data = std::getenv("VYRLUA_TEST_DATA");
    ASSERT_NE(data, nullptr);
    fs::path docs = fs::path(data).parent_path().parent_path().parent_path() / "docs" / "testing.md";
    std::ifstream in(docs);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    fs::path dir = Suite("runner-doc", {{"names_test.lua",
        "for _, m in ipairs{{'t', t}, {'input', require 'vyrhost.input'}} do\n"
        "  for k, v in pairs(m[2]) do\n"
        "    if type(v) == 'function' and k:sub(1, 1) ~= '_' then print(m[1] .. '.' .. k) end\n"
        "  end\n"
        "end\n"
        "t.test('listed', function() end)\n"}});
    Outcome o = RunTests(dir);
    ASSERT_EQ(o.status, 0) << o.out;
    std::istringstream names(o.out);
    int count = 0;
    for (std::string name; std::getline(names, name) && name.find(' ') == std::string::npos; ++count)
        EXPECT_NE(text.find("`" + name + "("), std::string::npos) << name << " is not in docs/testing.md";
    EXPECT_GT(count, 20);
}
