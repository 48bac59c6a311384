#include "vyrcore/config.h"

#include "vyrcore/string.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <vector>

namespace vyrcore::config {

namespace {

struct ErrorService {
    std::mutex mutex;
    ErrorSink sink;
};

ErrorService& Errors()
{
    static ErrorService service;
    return service;
}

} // namespace

void SetErrorSink(ErrorSink sink)
{
    std::lock_guard lock(Errors().mutex);
    Errors().sink = std::move(sink);
}

void ReportError(const std::string& message)
{
    ErrorSink sink;
    {
        std::lock_guard lock(Errors().mutex);
        sink = Errors().sink;
    }
    if (sink)
        sink(message);
    else
        std::cerr << "error: " << message << '\n';
}

void ThrowError(int level, const char* message, int code, int flags, bool hasText,
                const std::string& r1, const std::string& r2, const std::string& r3,
                const std::string& r4)
{
    std::string text = hasText && message ? message : "Unknown error";
    // Without replacement values the text is passed through untouched, so a
    // message that happens to contain "^1" is not altered.
    if (!(r1.empty() && r2.empty() && r3.empty() && r4.empty()))
        text = string::UTF16to8(string::ReplaceInString(
            string::UTF8to16(text), {string::UTF8to16(r1), string::UTF8to16(r2),
                                     string::UTF8to16(r3), string::UTF8to16(r4)}));
    if (level <= 0) {
        ReportError(text);
        return;
    }
    throw HostException(text);
}

void DoSimpleAssert(const char* source, int line, const char* function)
{
    std::string text = std::string("Assertion failed in ") + function + " (" + source + ":" +
                       std::to_string(line) + ")";
    ReportError(text);
    throw HostException(text);
}

int ExecuteFunctionAndConvertException(const std::function<int()>& fn)
{
    try {
        return fn();
    } catch (const std::exception& e) {
        ReportError(e.what());
    } catch (...) {
        RethrowForeignException();
        ReportError("Unknown exception");
    }
    return 1;
}

bool IsForeignException() noexcept
{
    // The C++ runtime gives no exception_ptr for an exception it did not
    // throw; inside a handler, a C++ exception always has one.
    return !std::current_exception();
}

void RethrowForeignException()
{
    if (IsForeignException())
        throw;
}

Localizer& Localizer::Get()
{
    static Localizer instance;
    return instance;
}

std::string Localizer::LocalizeUTF8(std::string_view key) const
{
    constexpr std::string_view prefix = "$$$/";
    if (key.substr(0, prefix.size()) != prefix)
        return std::string(key);
    size_t equals = key.find('=');
    std::string_view path = key.substr(0, equals);
    if (auto it = mTranslations.find(path); it != mTranslations.end())
        return it->second;
    return equals == std::string_view::npos ? std::string() : std::string(key.substr(equals + 1));
}

std::u16string Localizer::Localize(std::u16string_view key) const
{
    return string::UTF8to16(LocalizeUTF8(string::UTF16to8(key)));
}

bool Localizer::LoadTranslationFile(const std::string& path, std::string* error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error)
            *error = "cannot open " + path;
        return false;
    }
    std::map<std::string, std::string, std::less<>> loaded;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        size_t equals = line.find('=');
        if (equals == std::string::npos) {
            if (error)
                *error = path + ":" + std::to_string(number) + ": expected key=text";
            return false;
        }
        std::string text;
        for (size_t i = equals + 1; i < line.size(); ++i) {
            if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == 'n') {
                text.push_back('\n');
                ++i;
            } else {
                text.push_back(line[i]);
            }
        }
        loaded[line.substr(0, equals)] = std::move(text);
    }
    for (auto& [key, text] : loaded)
        mTranslations[key] = std::move(text);
    return true;
}

void Localizer::Clear()
{
    mTranslations.clear();
}

} // namespace vyrcore::config
