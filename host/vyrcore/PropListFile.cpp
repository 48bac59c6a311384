#include "vyrcore/PropListFile.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace vyrcore::proplist {

namespace {

using nlohmann::json;

constexpr const char* kFormat = "vyrlua property list";
constexpr int kVersion = 1;
constexpr uint64_t kQuietNaN = 0x7ff8000000000000ull;

json NumberToJSON(double d)
{
    if (std::isfinite(d))
        return d;
    if (std::isinf(d))
        return d > 0 ? "inf" : "-inf";
    uint64_t bits = std::bit_cast<uint64_t>(d);
    if (bits == kQuietNaN)
        return "nan";
    char hex[17] = {};
    std::to_chars(hex, hex + 16, bits, 16);
    return std::string("nan(0x") + hex + ")";
}

bool NumberFromText(const std::string& text, double& out)
{
    if (text == "inf" || text == "-inf") {
        out = text[0] == '-' ? -HUGE_VAL : HUGE_VAL;
        return true;
    }
    if (text == "nan") {
        out = std::bit_cast<double>(kQuietNaN);
        return true;
    }
    constexpr std::string_view prefix = "nan(0x";
    if (text.size() > prefix.size() + 1 && text.compare(0, prefix.size(), prefix) == 0 &&
        text.back() == ')') {
        uint64_t bits = 0;
        const char* first = text.data() + prefix.size();
        const char* last = text.data() + text.size() - 1;
        auto [end, ec] = std::from_chars(first, last, bits, 16);
        double d = std::bit_cast<double>(bits);
        if (ec == std::errc() && end == last && std::isnan(d)) {
            out = d;
            return true;
        }
    }
    return false;
}

json ValueToJSON(const PropValue& value);

json ListToJSON(const PropList& list)
{
    json object = json::object();
    for (const auto& [key, value] : list.Values())
        object[key] = ValueToJSON(value);
    return object;
}

json ValueToJSON(const PropValue& value)
{
    switch (TypeOf(value)) {
    case PropType::Bool: return {{"bool", std::get<bool>(value)}};
    case PropType::Number: return {{"number", NumberToJSON(std::get<double>(value))}};
    case PropType::String: return {{"string", std::get<std::string>(value)}};
    case PropType::List: {
        const PropListPtr& list = std::get<PropListPtr>(value);
        return {{"list", list ? ListToJSON(*list) : json::object()}};
    }
    case PropType::Array: {
        json items = json::array();
        if (const PropArrayPtr& array = std::get<PropArrayPtr>(value))
            for (const PropValue& item : array->items)
                items.push_back(ValueToJSON(item));
        return {{"array", std::move(items)}};
    }
    }
    return nullptr;
}

// A JSON pointer's escaping of one key ("~" and "/"), for problem texts.
std::string PathOf(const std::string& parent, const std::string& key)
{
    std::string path = parent + "/";
    for (char c : key) {
        if (c == '~')
            path += "~0";
        else if (c == '/')
            path += "~1";
        else if (c == '\0')
            path += "\\0";
        else
            path += c;
    }
    return path;
}

struct Reader {
    std::vector<std::string>& problems;

    void Problem(const std::string& path, const std::string& text)
    {
        problems.push_back((path.empty() ? "/" : path) + ": " + text);
    }

    // False (with a problem noted) when the entry is skipped.
    bool Value(const json& entry, const std::string& path, int depth, PropValue& out)
    {
        if (!entry.is_object() || entry.size() != 1) {
            Problem(path, "expected an object with one member naming the type");
            return false;
        }
        const std::string& type = entry.begin().key();
        const json& v = entry.begin().value();
        if (type == "bool" && v.is_boolean()) {
            out = v.get<bool>();
        } else if (type == "number" && v.is_number()) {
            out = v.get<double>();
        } else if (type == "number" && v.is_string()) {
            double d = 0;
            if (!NumberFromText(v.get<std::string>(), d)) {
                Problem(path, "bad number '" + v.get<std::string>() + "'");
                return false;
            }
            out = d;
        } else if (type == "string" && v.is_string()) {
            out = v.get<std::string>();
        } else if ((type == "list" && v.is_object()) || (type == "array" && v.is_array())) {
            if (depth > kMaxDepth) {
                Problem(path, "nested more than " + std::to_string(kMaxDepth) + " deep");
                return false;
            }
            if (type == "list") {
                PropListPtr list = PropList::Create();
                List(v, path, depth, *list);
                out = list;
            } else {
                auto array = std::make_shared<PropArray>();
                for (size_t i = 0; i < v.size(); ++i) {
                    PropValue item;
                    if (Value(v[i], path + "/" + std::to_string(i), depth + 1, item))
                        array->items.push_back(std::move(item));
                }
                out = array;
            }
        } else if (type == "bool" || type == "number" || type == "string" || type == "list" ||
                   type == "array") {
            Problem(path, std::string("a ") + type + " cannot be a JSON " + v.type_name());
            return false;
        } else {
            Problem(path, "unknown type '" + type + "'");
            return false;
        }
        return true;
    }

    void List(const json& object, const std::string& path, int depth, PropList& into)
    {
        for (auto it = object.begin(); it != object.end(); ++it) {
            PropValue value;
            std::string where = PathOf(path, it.key());
            if (!Value(it.value(), where, depth + 1, value))
                continue;
            try {
                into.SetValue(it.key(), value);
            } catch (const std::exception& e) {
                Problem(where, e.what());
            }
        }
    }
};

} // namespace

std::string ToJSON(const PropList& list)
{
    json document = {{"format", kFormat}, {"version", kVersion}, {"values", ListToJSON(list)}};
    return document.dump(2) + "\n";
}

PropListPtr FromJSON(std::string_view text, std::vector<std::string>& problems)
{
    json document;
    try {
        document = json::parse(text.begin(), text.end());
    } catch (const json::exception& e) {
        problems.push_back(std::string("not JSON: ") + e.what());
        return nullptr;
    }
    auto format = document.is_object() ? document.find("format") : document.end();
    if (!document.is_object() || format == document.end() || *format != kFormat) {
        problems.push_back(std::string("not a property list (no \"format\": \"") + kFormat +
                           "\")");
        return nullptr;
    }
    if (auto version = document.find("version");
        version == document.end() || !version->is_number() || *version != kVersion)
        problems.push_back("written by another version (" +
                           (version == document.end() ? std::string("none") : version->dump()) +
                           "); reading what this version knows");
    PropListPtr list = PropList::Create();
    auto values = document.find("values");
    if (values == document.end() || !values->is_object()) {
        problems.push_back("/values: missing or not an object");
        return list;
    }
    Reader{problems}.List(*values, "", 0, *list);
    return list;
}

namespace {

std::string Describe(const std::string& what, const std::string& path)
{
    return what + " " + path + ": " + std::strerror(errno);
}

} // namespace

bool WriteFileAtomically(const std::string& path, std::string_view bytes, std::string& error)
{
    static std::atomic<unsigned> counter{0};
    std::string temporary = path + ".tmp-" + std::to_string(getpid()) + "-" +
                            std::to_string(counter.fetch_add(1));
    int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = Describe("cannot create", temporary);
        return false;
    }
    bool ok = true;
    for (size_t done = 0; ok && done < bytes.size();) {
        ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            error = Describe("cannot write", temporary);
            ok = false;
        } else {
            done += static_cast<size_t>(n);
        }
    }
    // On disk before it takes the old file's place: a crash after the
    // rename must not find an empty file.
    if (ok && fsync(fd) != 0) {
        error = Describe("cannot flush", temporary);
        ok = false;
    }
    if (close(fd) != 0 && ok) {
        error = Describe("cannot close", temporary);
        ok = false;
    }
    if (ok && rename(temporary.c_str(), path.c_str()) != 0) {
        error = Describe("cannot rename to", path);
        ok = false;
    }
    if (!ok) {
        unlink(temporary.c_str());
        return false;
    }
    // The directory entry too, so the rename itself survives a power cut.
    std::string dir = std::filesystem::path(path).parent_path().string();
    if (int dirfd = open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        dirfd >= 0) {
        fsync(dirfd);
        close(dirfd);
    }
    return true;
}

int RemoveStaleTemporaries(const std::string& path)
{
    namespace fs = std::filesystem;
    fs::path file(path);
    fs::path dir = file.has_parent_path() ? file.parent_path() : fs::path(".");
    std::string prefix = file.filename().string() + ".tmp-";
    int removed = 0;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::string name = it->path().filename().string();
        if (name.compare(0, prefix.size(), prefix) != 0)
            continue;
        // Only a dead writer's: another process may be writing its own.
        int pid = 0;
        const char* first = name.data() + prefix.size();
        auto [stop, parsed] = std::from_chars(first, name.data() + name.size(), pid);
        bool writerAlive = parsed == std::errc() && *stop == '-' && pid > 0 && pid != getpid() &&
                           (kill(pid, 0) == 0 || errno == EPERM);
        std::error_code removeError;
        if (!writerAlive && fs::remove(it->path(), removeError))
            ++removed;
    }
    return removed;
}

} // namespace vyrcore::proplist
