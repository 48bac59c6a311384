// Small pieces several test binaries share: a click, the log text written
// while a capture is alive, a finalizer armed to run inside the next
// allocation, and the host program run as a user runs it.
#pragma once

#include "vyrcore/debug.h"
#include "vyrui/events/UIEvents.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vyrtest {

// A left-button press at (x, y).
inline vyrui::events::MouseEvent MouseDown(float x, float y)
{
    vyrui::events::MouseEvent e;
    e.type = vyrui::events::MouseEventType::Down;
    e.position = {x, y};
    e.button = e.buttons = vyrui::events::kMouseButton_Left;
    return e;
}

// Sends the log to a file of its own while alive; Text() reads it back.
class LogCapture {
public:
    LogCapture() : mPath(testing::TempDir() + "vyrlua_log_capture.txt")
    {
        std::remove(mPath.c_str());
        vyrcore::debug::SetLogFile(mPath);
    }
    ~LogCapture() { vyrcore::debug::SetLogFile({}); }
    std::string Text() const
    {
        std::ifstream in(mPath, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string mPath;
};

// Lua: armed(f) makes f run as a finalizer at the next allocation the
// library makes (each allocation then runs a whole collection) and sets
// `ran` when it did; calm() puts the collector back.
inline constexpr const char* kArmedPrelude = R"(
ran = false
function armed(f)
    collectgarbage("setpause", 0) collectgarbage("setstepmul", 1000000000) collectgarbage()
    local p = newproxy(true)
    getmetatable(p).__gc = function() ran = true f() end
end
function calm() collectgarbage("setpause", 200) collectgarbage("setstepmul", 200) end
)";

// vyrlua-host, next to the test binary, run by the shell with `arguments`
// (redirections may follow): its output and error text together, and its
// exit status in `status`.
inline std::string RunHostProgram(const std::string& arguments, int* status = nullptr)
{
    std::filesystem::path host =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vyrlua-host";
    std::string output;
    if (FILE* pipe = popen((host.string() + " " + arguments + " 2>&1").c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            output.append(buffer, n);
        const int exit = pclose(pipe);
        if (status)
            *status = WEXITSTATUS(exit);
    }
    return output;
}

} // namespace vyrtest
