#include "vyrui/events/UIEvents.h"

#include <array>

namespace vyrui::events {

namespace {

template <typename Enum, size_t N>
std::string_view NameOf(const std::array<std::string_view, N>& names, Enum value)
{
    auto index = static_cast<size_t>(value);
    return index < N ? names[index] : std::string_view();
}

template <typename Enum, size_t N>
bool ValueOf(const std::array<std::string_view, N>& names, std::string_view name, Enum& value)
{
    for (size_t i = 0; i < N; ++i) {
        if (names[i] == name) {
            value = static_cast<Enum>(i);
            return true;
        }
    }
    return false;
}

constexpr std::array<std::string_view, 7> kMouseTypes = {"down", "up",   "move", "drag",
                                                         "enter", "exit", "wheel"};
constexpr std::array<std::string_view, 3> kKeyboardTypes = {"keyDown", "keyUp", "char"};
constexpr std::array<std::string_view, 5> kTouchPhases = {"began", "moved", "stationary",
                                                          "ended", "cancelled"};
constexpr std::array<std::string_view, 6> kGestureKinds = {"pan",   "zoom", "rotate",
                                                           "swipe", "tap",  "longPress"};
constexpr std::array<std::string_view, 4> kGesturePhases = {"begin", "change", "end", "cancel"};

} // namespace

std::string_view MouseEventTypeName(MouseEventType type)
{
    return NameOf(kMouseTypes, type);
}
std::string_view KeyboardEventTypeName(KeyboardEventType type)
{
    return NameOf(kKeyboardTypes, type);
}
std::string_view TouchPhaseName(TouchPhase phase)
{
    return NameOf(kTouchPhases, phase);
}
std::string_view GestureKindName(GestureKind kind)
{
    return NameOf(kGestureKinds, kind);
}
std::string_view GesturePhaseName(GesturePhase phase)
{
    return NameOf(kGesturePhases, phase);
}

bool MouseEventTypeFromName(std::string_view name, MouseEventType& type)
{
    return ValueOf(kMouseTypes, name, type);
}
bool KeyboardEventTypeFromName(std::string_view name, KeyboardEventType& type)
{
    return ValueOf(kKeyboardTypes, name, type);
}
bool TouchPhaseFromName(std::string_view name, TouchPhase& phase)
{
    return ValueOf(kTouchPhases, name, phase);
}
bool GestureKindFromName(std::string_view name, GestureKind& kind)
{
    return ValueOf(kGestureKinds, name, kind);
}
bool GesturePhaseFromName(std::string_view name, GesturePhase& phase)
{
    return ValueOf(kGesturePhases, name, phase);
}

} // namespace vyrui::events
