#include "vyrcore/DebugDatabase.h"

#include "vyrcore/config.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace vyrcore::debug {

namespace {

std::string_view Trim(std::string_view s)
{
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

bool ParseBool(std::string_view text, bool& out)
{
    static constexpr std::pair<std::string_view, bool> names[] = {
        {"true", true}, {"1", true}, {"yes", true}, {"on", true},
        {"false", false}, {"0", false}, {"no", false}, {"off", false}};
    for (auto [name, value] : names) {
        if (text == name) {
            out = value;
            return true;
        }
    }
    return false;
}

// "type name = value" -> (name, value); empty name with an error text.
bool ParseEntry(std::string_view entry, std::string& name, DebugDatabase::Value& value,
                std::string& error)
{
    size_t equals = entry.find('=');
    size_t space = entry.find_first_of(" \t");
    if (equals == std::string_view::npos || space == std::string_view::npos || space > equals) {
        error = "expected 'type name = value'";
        return false;
    }
    std::string_view type = entry.substr(0, space);
    name = std::string(Trim(entry.substr(space, equals - space)));
    std::string valueText(Trim(entry.substr(equals + 1)));
    if (name.empty() || name.find_first_of(" \t") != std::string::npos) {
        error = "bad entry name";
        return false;
    }
    if (type == "bool") {
        bool b = false;
        if (!ParseBool(valueText, b)) {
            error = "bad bool value '" + valueText + "'";
            return false;
        }
        value = b;
    } else if (type == "int") {
        errno = 0;
        char* end = nullptr;
        long long n = std::strtoll(valueText.c_str(), &end, 0);
        if (valueText.empty() || *end != '\0' || errno == ERANGE) {
            error = "bad int value '" + valueText + "'";
            return false;
        }
        value = n;
    } else if (type == "number") {
        char* end = nullptr;
        double d = std::strtod(valueText.c_str(), &end);
        if (valueText.empty() || *end != '\0' || !std::isfinite(d)) {
            error = "bad number value '" + valueText + "'";
            return false;
        }
        value = d;
    } else if (type == "string") {
        value = valueText;
    } else {
        error = "unknown type '" + std::string(type) + "' (bool, int, number or string)";
        return false;
    }
    return true;
}

} // namespace

DebugDatabase& DebugDatabase::Get()
{
    static DebugDatabase* database = [] {
        static DebugDatabase instance;
        instance.LoadEnvironment();
        return &instance;
    }();
    return *database;
}

void DebugDatabase::LoadEnvironment()
{
    std::string error;
    if (const char* path = std::getenv("VYR_DEBUG_DATABASE"); path && *path) {
        if (!LoadFile(path, &error))
            config::ReportError("debug database: " + error);
    }
    if (const char* flags = std::getenv("VYR_DEBUG_FLAGS"); flags && *flags) {
        if (!LoadText(flags, &error))
            config::ReportError("debug database: VYR_DEBUG_FLAGS: " + error);
    }
}

std::optional<DebugDatabase::Value> DebugDatabase::Find(std::string_view name) const
{
    std::lock_guard lock(mMutex);
    auto it = mEntries.find(name);
    if (it == mEntries.end())
        return std::nullopt;
    return it->second;
}

namespace {
template <typename T>
T Typed(const std::optional<DebugDatabase::Value>& value, T def)
{
    if (value) {
        if (const T* v = std::get_if<T>(&*value))
            return *v;
    }
    return def;
}
} // namespace

bool DebugDatabase::GetBool(std::string_view name, bool def) const
{
    return Typed<bool>(Find(name), def);
}

long long DebugDatabase::GetInt(std::string_view name, long long def) const
{
    return Typed<long long>(Find(name), def);
}

double DebugDatabase::GetNumber(std::string_view name, double def) const
{
    return Typed<double>(Find(name), def);
}

std::string DebugDatabase::GetString(std::string_view name, const std::string& def) const
{
    return Typed<std::string>(Find(name), def);
}

void DebugDatabase::Set(std::string_view name, Value value)
{
    std::lock_guard lock(mMutex);
    mEntries.insert_or_assign(std::string(name), std::move(value));
    ++mChanges;
}

void DebugDatabase::Remove(std::string_view name)
{
    std::lock_guard lock(mMutex);
    if (auto it = mEntries.find(name); it != mEntries.end())
        mEntries.erase(it);
    ++mChanges;
}

void DebugDatabase::Clear()
{
    std::lock_guard lock(mMutex);
    mEntries.clear();
    ++mChanges;
}

unsigned DebugDatabase::ChangeCount() const
{
    std::lock_guard lock(mMutex);
    return mChanges;
}

bool DebugDatabase::LoadText(std::string_view text, std::string* error)
{
    bool ok = true;
    int number = 0;
    while (!text.empty() || number == 0) {
        ++number;
        size_t end = text.find_first_of(";\n");
        std::string_view entry = Trim(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (entry.empty() || entry.front() == '#')
            continue;
        std::string name;
        Value value;
        std::string problem;
        if (!ParseEntry(entry, name, value, problem)) {
            if (ok && error)
                *error = "entry " + std::to_string(number) + " '" + std::string(entry) +
                         "': " + problem;
            ok = false;
            continue;
        }
        Set(name, std::move(value));
    }
    return ok;
}

bool DebugDatabase::LoadFile(const std::string& path, std::string* error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error)
            *error = "cannot open " + path;
        return false;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    std::string problem;
    if (!LoadText(bytes.str(), &problem)) {
        if (error)
            *error = path + ": " + problem;
        return false;
    }
    return true;
}

} // namespace vyrcore::debug
