// Keeps key/value pairs that describe what the program was doing, and writes
// them with a backtrace to a crash report file when the program dies on a
// fatal signal.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vyrcrashreporter {

class CrashReporter {
public:
    static CrashReporter& GetInstance();

    // Adds or replaces the value stored under `key`.
    void AddData(const std::string& key, const std::string& value);
    std::vector<std::pair<std::string, std::string>> Data() const;

    // Installs handlers for SIGSEGV, SIGBUS, SIGILL, SIGFPE and SIGABRT that
    // write the report to `reportPath` and then let the signal kill the
    // process as before. Returns false when the path is empty.
    bool InstallHandler(const std::string& reportPath);

private:
    CrashReporter() = default;
};

} // namespace vyrcrashreporter
