// Running vyrlua-host from a test, as a user runs it.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>

namespace vyrhost::testing {

struct Outcome {
    int status;
    std::string out; // stdout and stderr together
};

// The program sits next to the test binary.
inline std::string HostProgram()
{
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vyrlua-host").string();
}

inline Outcome RunCommand(const std::string& command)
{
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

} // namespace vyrhost::testing
