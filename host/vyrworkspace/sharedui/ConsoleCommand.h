// Commands of the developer console, the UTF-16 stream they write results
// to, and the console's text conversions.
#pragma once

#include <string>
#include <string_view>

namespace vyrworkspace::sharedui {

// Collects a command's output as UTF-16 text.
class UTF16OutputStream {
public:
    UTF16OutputStream& operator<<(std::u16string_view text);
    UTF16OutputStream& operator<<(const char16_t* text);
    // "true" or "false".
    UTF16OutputStream& operator<<(bool value);
    // As "%.14g" formats it (the way Lua prints numbers): 42, 0.1, 1e+100, inf.
    UTF16OutputStream& operator<<(double value);
    // Integers in decimal. Without these an int would choose the bool form.
    UTF16OutputStream& operator<<(int value);
    UTF16OutputStream& operator<<(long long value);

    const std::u16string& Str() const { return mText; }
    std::string UTF8() const;
    bool Empty() const { return mText.empty(); }
    void Clear() { mText.clear(); }

private:
    std::u16string mText;
};

class ConsoleCommand {
public:
    ConsoleCommand() = default;
    virtual ~ConsoleCommand();
    ConsoleCommand(const ConsoleCommand&) = default;
    ConsoleCommand& operator=(const ConsoleCommand&) = default;
    ConsoleCommand(ConsoleCommand&&) = default;
    ConsoleCommand& operator=(ConsoleCommand&&) = default;

    // Runs the text typed after the command; results go to `out`, errors to
    // the console panel.
    virtual void Execute(const std::wstring& text, UTF16OutputStream& out) = 0;
};

// Console text arrives as wide strings (UTF-32 here). Ill-formed input
// becomes U+FFFD; conversion never fails.
std::string WideToUTF8(std::wstring_view text);
std::wstring UTF8ToWide(std::string_view utf8);

} // namespace vyrworkspace::sharedui
