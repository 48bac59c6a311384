// Host configuration services: the host exception type, the error service
// (report a text; run a function turning any exception into a status) and
// the localiser.
#pragma once

#include "vyrcore/ForeignException.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vyrcore::config {

// The host's exception: carries the UTF-8 message text.
class HostException : public std::runtime_error {
public:
    explicit HostException(const std::string& message) : std::runtime_error(message) {}
};

// Where reported errors go. The host program installs a sink (stderr, a log
// file, a dialog); without one they are written to stderr.
using ErrorSink = std::function<void(const std::string& message)>;
void SetErrorSink(ErrorSink sink);
void ReportError(const std::string& message);

// Raises a host error. Level 1 and above throw HostException with the text
// (with "^1".."^4" replaced by the four values when any is given); level 0
// only reports.
// `hasText` false means no message was available: a generic text is used.
void ThrowError(int level, const char* message, int code, int flags, bool hasText,
                const std::string& r1 = {}, const std::string& r2 = {},
                const std::string& r3 = {}, const std::string& r4 = {});

// The host's assertion: throws HostException with the text
// "Assertion failed in <function> (<source>:<line>)", after reporting it
// through the error service.
[[noreturn]] void DoSimpleAssert(const char* source, int line, const char* function);

// Runs `fn`; returns its result, or 1 after reporting any C++ exception it
// threw. A foreign exception goes on (vyrcore/ForeignException.h).
int ExecuteFunctionAndConvertException(const std::function<int()>& fn);

// Turns keys of the form "$$$/path/Key=Default text" into display text.
//
// Translation files are UTF-8 text, one entry per line: the key's path part,
// "=", then the translated text ("$$$/vyrlua/Hello=Bonjour"). Blank lines and
// lines starting with "#" are skipped; "\n" in a text stands for a line break.
class Localizer {
public:
    static Localizer& Get();

    // The translation for `key`, or its default text when there is none.
    // Text without the "$$$/" prefix is returned unchanged.
    std::u16string Localize(std::u16string_view key) const;
    std::string LocalizeUTF8(std::string_view key) const;

    // Loads a translation file; entries add to (and override) those loaded
    // before. Returns false when the file cannot be read; the table is then
    // unchanged. A line without "=" is an error reported with its number.
    bool LoadTranslationFile(const std::string& path, std::string* error = nullptr);
    void Clear();

private:
    Localizer() = default;
    std::map<std::string, std::string, std::less<>> mTranslations;
};

} // namespace vyrcore::config
