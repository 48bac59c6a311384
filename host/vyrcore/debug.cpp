#include "vyrcore/debug.h"

#include <atomic>
#include <cstdio>
#include <map>
#include <mutex>
#include <vector>

namespace vyrcore::debug {

namespace {

struct Logger {
    std::mutex mutex;
    std::map<std::string, Level, std::less<>> levels;
    std::FILE* file = nullptr;
    std::atomic<unsigned> changes{0};

    ~Logger()
    {
        if (file)
            std::fclose(file);
    }
};

Logger& Log()
{
    static Logger logger;
    return logger;
}

const char* LevelName(Level level)
{
    switch (level) {
    case Level::Error: return "error";
    case Level::Warning: return "warning";
    case Level::Info: return "info";
    case Level::Trace: return "trace";
    }
    return "?";
}

bool ParseLevel(std::string_view text, Level& level)
{
    static constexpr std::pair<std::string_view, Level> names[] = {
        {"error", Level::Error}, {"warning", Level::Warning},
        {"info", Level::Info}, {"trace", Level::Trace}};
    for (auto [name, value] : names) {
        if (text == name) {
            level = value;
            return true;
        }
    }
    return false;
}

} // namespace

void SetLevel(std::string_view category, Level level)
{
    std::lock_guard lock(Log().mutex);
    Log().levels[std::string(category)] = level;
    ++Log().changes;
}

Level GetLevel(std::string_view category)
{
    std::lock_guard lock(Log().mutex);
    auto it = Log().levels.find(category);
    return it == Log().levels.end() ? Level::Warning : it->second;
}

void Log(std::string_view category, Level level, std::string_view text)
{
    if (level > GetLevel(category))
        return;
    std::lock_guard lock(Log().mutex);
    std::FILE* out = Log().file ? Log().file : stderr;
    // Written as bytes: a NUL inside the text or the category is kept, not
    // taken for the end.
    std::fputc('[', out);
    std::fwrite(category.data(), 1, category.size(), out);
    std::fprintf(out, "] %s: ", LevelName(level));
    std::fwrite(text.data(), 1, text.size(), out);
    std::fputc('\n', out);
    std::fflush(out);
}

bool TraceEnabled(std::string_view category)
{
    return GetLevel(category) >= Level::Trace;
}

unsigned TraceChangeCount()
{
    return Log().changes.load();
}

void Trace(std::string_view category, std::string_view text)
{
    Log(category, Level::Trace, text);
}

bool ConfigureLevels(std::string_view levels, std::string* error)
{
    std::vector<std::pair<std::string, Level>> parsed;
    while (!levels.empty()) {
        size_t comma = levels.find(',');
        std::string_view entry = levels.substr(0, comma);
        levels = comma == std::string_view::npos ? std::string_view() : levels.substr(comma + 1);
        if (entry.empty())
            continue;
        size_t equals = entry.find('=');
        Level level;
        if (equals == std::string_view::npos || equals == 0 ||
            !ParseLevel(entry.substr(equals + 1), level)) {
            if (error)
                *error = "bad trace entry '" + std::string(entry) +
                         "' (expected category=error|warning|info|trace)";
            return false;
        }
        parsed.emplace_back(std::string(entry.substr(0, equals)), level);
    }
    for (auto& [category, level] : parsed)
        SetLevel(category, level);
    return true;
}

bool SetLogFile(const std::string& path)
{
    std::FILE* file = nullptr;
    if (!path.empty()) {
        file = std::fopen(path.c_str(), "a");
        if (!file)
            return false;
    }
    std::lock_guard lock(Log().mutex);
    if (Log().file)
        std::fclose(Log().file);
    Log().file = file;
    return true;
}

} // namespace vyrcore::debug
