// Tracing and logging by category and level. Output goes to stderr unless
// the host program chose a log file.
#pragma once

#include <string>
#include <string_view>

namespace vyrcore::debug {

enum class Level { Error = 0, Warning = 1, Info = 2, Trace = 3 };

// Messages of a category are written when their level is at or below the
// category's level. Categories start at Warning.
void SetLevel(std::string_view category, Level level);
Level GetLevel(std::string_view category);
void Log(std::string_view category, Level level, std::string_view text);

// Tracing is logging at Level::Trace. TraceChangeCount grows whenever a
// level changes, so callers can cache TraceEnabled and re-check cheaply.
bool TraceEnabled(std::string_view category);
unsigned TraceChangeCount();
void Trace(std::string_view category, std::string_view text);

// Reads levels from text like "vyrlua=trace,LuaCrashReporter=info" (the
// host program passes its option or the VYRLUA_TRACE variable). Returns false
// and leaves the levels unchanged on a malformed entry.
bool ConfigureLevels(std::string_view levels, std::string* error = nullptr);

// Sends log lines to a file (appending) instead of stderr; an empty path
// returns to stderr. Returns false when the file cannot be opened.
bool SetLogFile(const std::string& path);

} // namespace vyrcore::debug
