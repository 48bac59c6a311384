#include "vyrui/events/KeyCodes.h"

#include <array>
#include <utility>

namespace vyrui::events {

namespace {

constexpr std::array<std::pair<std::string_view, KeyCode>, 19> kNamedKeys{{
    {"Backspace", kKey_Backspace}, {"Tab", kKey_Tab},       {"Enter", kKey_Enter},
    {"Shift", kKey_Shift},         {"Control", kKey_Control}, {"Alt", kKey_Alt},
    {"Escape", kKey_Escape},       {"Space", kKey_Space},   {"PageUp", kKey_PageUp},
    {"PageDown", kKey_PageDown},   {"End", kKey_End},       {"Home", kKey_Home},
    {"Left", kKey_Left},           {"Up", kKey_Up},         {"Right", kKey_Right},
    {"Down", kKey_Down},           {"Insert", kKey_Insert}, {"Delete", kKey_Delete},
    {"Return", kKey_Enter},
}};

constexpr std::array<std::pair<char, KeyCode>, 11> kPunctuation{{
    {';', kKey_Semicolon}, {'=', kKey_Equals},      {',', kKey_Comma},
    {'-', kKey_Minus},     {'.', kKey_Period},      {'/', kKey_Slash},
    {'`', kKey_Backquote}, {'[', kKey_LeftBracket}, {'\\', kKey_Backslash},
    {']', kKey_RightBracket}, {'\'', kKey_Quote},
}};

} // namespace

std::optional<KeyCode> KeyCodeFromCharacter(char c)
{
    if (c >= 'a' && c <= 'z')
        return KeyCode(kKey_A + (c - 'a'));
    if (c >= 'A' && c <= 'Z')
        return KeyCode(kKey_A + (c - 'A'));
    if (c >= '0' && c <= '9')
        return KeyCode(kKey_0 + (c - '0'));
    if (c == ' ')
        return kKey_Space;
    if (c == '\t')
        return kKey_Tab;
    if (c == '\r' || c == '\n')
        return kKey_Enter;
    for (auto [ch, code] : kPunctuation)
        if (ch == c)
            return code;
    return std::nullopt;
}

std::optional<KeyCode> KeyCodeFromName(std::string_view name)
{
    for (auto [text, code] : kNamedKeys)
        if (text == name)
            return code;
    if (name.size() >= 2 && name.size() <= 3 && name[0] == 'F') {
        int n = 0;
        for (char c : name.substr(1)) {
            if (c < '0' || c > '9')
                return std::nullopt;
            n = n * 10 + (c - '0');
        }
        if (n >= 1 && n <= 12)
            return KeyCode(kKey_F1 + n - 1);
    }
    return std::nullopt;
}

std::string KeyCodeName(int32_t code)
{
    if (code >= kKey_A && code < kKey_A + 26)
        return std::string(1, char('A' + (code - kKey_A)));
    if (code >= kKey_0 && code < kKey_0 + 10)
        return std::string(1, char('0' + (code - kKey_0)));
    if (code >= kKey_F1 && code < kKey_F1 + 12)
        return "F" + std::to_string(code - kKey_F1 + 1);
    for (auto [ch, key] : kPunctuation)
        if (key == code)
            return std::string(1, ch);
    for (auto [text, key] : kNamedKeys)
        if (key == code)
            return std::string(text);
    return {};
}

} // namespace vyrui::events
