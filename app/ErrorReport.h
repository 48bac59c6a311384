// How vyrlua-host reports errors to a script author: each distinct message
// once, with the traceback of the Lua stack it came from when one was
// recorded (script, handler, timer, draw and undo callbacks alike), and a
// count that --strict turns into the exit status.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <set>
#include <string>

namespace vyrhost {

class ErrorReport {
public:
    explicit ErrorReport(std::ostream& out) : mOut(out) {}

    // Writes "vyrlua-host: error: MESSAGE" and its traceback, unless the same
    // message was reported before. `traceback` empty: the one recorded with
    // the message by the library, if any.
    void Report(const std::string& message, std::string traceback = {});
    // Every report, repeated ones too.
    std::size_t Count() const { return mCount; }
    // A new run (a reload): messages seen before are reported again.
    void NewRun() { mSeen.clear(); }

private:
    std::ostream& mOut;
    std::set<std::string> mSeen;
    std::size_t mCount = 0;
};

} // namespace vyrhost
