// Input events as the toolkit delivers them to nodes. Positions are in the
// receiving node's local coordinates; global positions are in the root's
// parent space (screen coordinates for a window root). Timestamps are
// seconds on the event loop's clock.
#pragma once

#include "vyrcore/geom.h"
#include "vyrui/events/KeyCodes.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vyrui::events {

using vyrcore::geom::PointF;

// Modifier keys held during an event (bit mask).
enum Modifier : uint32_t {
    kModifier_None = 0,
    kModifier_Shift = 1,
    kModifier_Control = 2,
    kModifier_Alt = 4,
    kModifier_Command = 8,
};

// Mouse buttons (bit mask in MouseEvent::buttons; one bit in ::button).
enum MouseButton : uint32_t {
    kMouseButton_None = 0,
    kMouseButton_Left = 1,
    kMouseButton_Right = 2,
    kMouseButton_Middle = 4,
};

enum class MouseEventType : int32_t { Down, Up, Move, Drag, Enter, Exit, Wheel };

struct MouseEvent {
    MouseEventType type = MouseEventType::Move;
    PointF position;
    PointF globalPosition;
    uint32_t button = kMouseButton_None;  // the button that went down or up
    uint32_t buttons = kMouseButton_None; // every button held
    uint32_t modifiers = kModifier_None;
    int32_t clickCount = 0; // 1 single, 2 double, ... on Down and Up
    PointF wheelDelta;      // lines scrolled, on Wheel
    double timestamp = 0;
    friend bool operator==(const MouseEvent&, const MouseEvent&) = default;
};

enum class KeyboardEventType : int32_t { KeyDown, KeyUp, Char };

struct KeyboardEvent {
    KeyboardEventType type = KeyboardEventType::KeyDown;
    int32_t keyCode = kKey_None; // a KeyCode
    std::string text;            // UTF-8 text the key types (Char events)
    uint32_t modifiers = kModifier_None;
    bool isRepeat = false;
    double timestamp = 0;
    friend bool operator==(const KeyboardEvent&, const KeyboardEvent&) = default;
};

enum class TouchPhase : int32_t { Began, Moved, Stationary, Ended, Cancelled };

struct TouchPoint {
    int32_t touchID = 0;
    TouchPhase phase = TouchPhase::Began;
    PointF position;
    PointF globalPosition;
    float pressure = 1;
    friend bool operator==(const TouchPoint&, const TouchPoint&) = default;
};

struct TouchEvent {
    TouchPoint touch;
    int32_t tapCount = 0;
    uint32_t modifiers = kModifier_None;
    double timestamp = 0;
    friend bool operator==(const TouchEvent&, const TouchEvent&) = default;
};

// Every touch currently on the surface, in one event.
struct MultiTouchEvent {
    std::vector<TouchPoint> touches;
    uint32_t modifiers = kModifier_None;
    double timestamp = 0;
    friend bool operator==(const MultiTouchEvent&, const MultiTouchEvent&) = default;
};

enum class GestureKind : int32_t { Pan, Zoom, Rotate, Swipe, Tap, LongPress };
enum class GesturePhase : int32_t { Begin, Change, End, Cancel };

struct GestureEvent {
    GestureKind kind = GestureKind::Pan;
    GesturePhase phase = GesturePhase::Begin;
    PointF position;
    PointF globalPosition;
    PointF delta;             // pan and swipe distance since the last event
    float magnification = 0;  // zoom: relative change (0.1 = 10% larger)
    float rotation = 0;       // rotate: degrees, counter-clockwise positive
    uint32_t modifiers = kModifier_None;
    double timestamp = 0;
    friend bool operator==(const GestureEvent&, const GestureEvent&) = default;
};

// Names as scripts and logs show them ("down", "keyUp", "began", "zoom").
std::string_view MouseEventTypeName(MouseEventType type);
std::string_view KeyboardEventTypeName(KeyboardEventType type);
std::string_view TouchPhaseName(TouchPhase phase);
std::string_view GestureKindName(GestureKind kind);
std::string_view GesturePhaseName(GesturePhase phase);
// The reverse look-ups; false for an unknown name.
bool MouseEventTypeFromName(std::string_view name, MouseEventType& type);
bool KeyboardEventTypeFromName(std::string_view name, KeyboardEventType& type);
bool TouchPhaseFromName(std::string_view name, TouchPhase& phase);
bool GestureKindFromName(std::string_view name, GestureKind& kind);
bool GesturePhaseFromName(std::string_view name, GesturePhase& phase);

} // namespace vyrui::events
