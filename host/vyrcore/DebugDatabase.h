// The debug database: named, typed switches for diagnostics and behaviour
// that developers turn on without rebuilding ("vyrluaNilReturnGripe").
//
// Entries are "type name = value", one per line in a file or separated by
// ";" in the environment, with type one of bool, int, number, string:
//
//     # comments and blank lines are skipped
//     bool vyrluaNilReturnGripe = true
//     int redrawFlashMilliseconds = 250
//     string logCategory = vyrlua
//
// bool values are true/false/1/0/yes/no/on/off. On first use the database
// loads the file named by VYR_DEBUG_DATABASE (if set), then the entries of
// VYR_DEBUG_FLAGS (which win). A malformed entry is reported through the
// host error service and skipped; the rest still load.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vyrcore::debug {

class DebugDatabase {
public:
    using Value = std::variant<bool, long long, double, std::string>;

    // The process's database, loaded from the environment on first use.
    static DebugDatabase& Get();

    // A typed read: the default when the entry is missing or of another type.
    bool GetBool(std::string_view name, bool def = false) const;
    long long GetInt(std::string_view name, long long def = 0) const;
    double GetNumber(std::string_view name, double def = 0) const;
    std::string GetString(std::string_view name, const std::string& def = {}) const;
    std::optional<Value> Find(std::string_view name) const;

    void Set(std::string_view name, Value value);
    void Remove(std::string_view name);
    void Clear();

    // Adds the entries of `text` (lines or ";"-separated); returns false and
    // describes the first bad entry in `error`, loading the good ones.
    bool LoadText(std::string_view text, std::string* error = nullptr);
    bool LoadFile(const std::string& path, std::string* error = nullptr);

    // Grows on every change, so readers can cache a value and re-read only
    // when the database changed.
    unsigned ChangeCount() const;

private:
    DebugDatabase() = default;
    void LoadEnvironment();

    mutable std::mutex mMutex;
    std::map<std::string, Value, std::less<>> mEntries;
    unsigned mChanges = 0;
};

} // namespace vyrcore::debug
