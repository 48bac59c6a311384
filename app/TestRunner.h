// vyrlua-host --test: finds test files, runs each in a fresh runtime
// (fresh temporary settings, headless, the virtual clock) with the
// "vyrhost.test" module (app/resources/vyrlua_host_test.lua), prints one
// line per failure and a summary, and writes JUnit XML when asked.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "app/HostRuntime.h"

namespace vyrhost {

struct TestOptions {
    HostOptions host;
    // Files, or directories searched (recursively) for *_test.lua and
    // *-test.lua; none: the current directory.
    std::vector<std::string> paths;
    std::string junitFile;
    // Golden images that are missing or differ are written, not failed.
    bool updateGoldens = false;
    // Each test's limits: seconds on the virtual clock, Lua instructions.
    double timeLimit = 60;
    double instructionLimit = 2e8;
    bool watch = false;
    float scale = 0;
};

// The test files `paths` name, sorted; a named file is taken whatever its
// name. Throws vyrcore::config::HostException for a path that is not there.
std::vector<std::string> FindTestFiles(const std::vector<std::string>& paths);

// Runs the tests; returns the exit status (0: all passed, 1: a failure).
int RunTests(const TestOptions& options, std::ostream& out);

} // namespace vyrhost
