// Key codes of keyboard events: the virtual key numbering common to desktop
// toolkits (letters and digits are their upper-case ASCII codes).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vyrui::events {

enum KeyCode : int32_t {
    kKey_None = 0,
    kKey_Backspace = 0x08,
    kKey_Tab = 0x09,
    kKey_Enter = 0x0D,
    kKey_Shift = 0x10,
    kKey_Control = 0x11,
    kKey_Alt = 0x12,
    kKey_Escape = 0x1B,
    kKey_Space = 0x20,
    kKey_PageUp = 0x21,
    kKey_PageDown = 0x22,
    kKey_End = 0x23,
    kKey_Home = 0x24,
    kKey_Left = 0x25,
    kKey_Up = 0x26,
    kKey_Right = 0x27,
    kKey_Down = 0x28,
    kKey_Insert = 0x2D,
    kKey_Delete = 0x2E,
    kKey_0 = 0x30, // to kKey_0 + 9
    kKey_A = 0x41, // to kKey_A + 25
    kKey_F1 = 0x70, // to kKey_F1 + 11
    kKey_Semicolon = 0xBA,
    kKey_Equals = 0xBB,
    kKey_Comma = 0xBC,
    kKey_Minus = 0xBD,
    kKey_Period = 0xBE,
    kKey_Slash = 0xBF,
    kKey_Backquote = 0xC0,
    kKey_LeftBracket = 0xDB,
    kKey_Backslash = 0xDC,
    kKey_RightBracket = 0xDD,
    kKey_Quote = 0xDE,
};

// The key that types `c` without shift ("a" and "A" both give kKey_A).
std::optional<KeyCode> KeyCodeFromCharacter(char c);
// The key of a control name: "Enter", "Escape", "Left", "F5", ... (exact case).
std::optional<KeyCode> KeyCodeFromName(std::string_view name);
// A printable text: the character for character keys ("A", "7", ";"), the
// control name otherwise; empty for an unknown code.
std::string KeyCodeName(int32_t code);

} // namespace vyrui::events
