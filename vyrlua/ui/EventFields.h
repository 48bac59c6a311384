// The field names of the event kinds' constructor tables, and the check that
// refuses any other key: a misspelt field ("clickcount") is an error naming
// it rather than a field silently left at its default.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <initializer_list>

namespace vyrlua::ui {

using EventFieldNames = std::initializer_list<const char*>;

inline constexpr EventFieldNames kMouseEventFieldNames = {
    "type", "x", "y", "globalX", "globalY", "button", "buttons", "modifiers", "clickCount",
    "wheelDeltaX", "wheelDeltaY", "timestamp"};
inline constexpr EventFieldNames kKeyboardEventFieldNames = {
    "type", "keyCode", "text", "modifiers", "isRepeat", "timestamp"};
inline constexpr EventFieldNames kTouchPointFieldNames = {
    "touchID", "phase", "x", "y", "globalX", "globalY", "pressure"};
inline constexpr EventFieldNames kTouchEventFieldNames = {
    "touchID", "phase", "x", "y", "globalX", "globalY", "pressure", "tapCount", "modifiers",
    "timestamp"};
inline constexpr EventFieldNames kMultiTouchEventFieldNames = {"touches", "modifiers", "timestamp"};
inline constexpr EventFieldNames kGestureEventFieldNames = {
    "kind", "phase", "x", "y", "globalX", "globalY", "deltaX", "deltaY", "magnification",
    "rotation", "modifiers", "timestamp"};

// When the value at `index` is a table, throws utility::LuaError for its
// first key that is not one of `fields`:
//   "<who>: unknown field 'clickcount' (fields: type, x, y, ...)"
//   "<who>: unknown field of type number (fields have names)"
// A raw walk of the table: no metamethod runs and nothing is allocated.
void RefuseUnknownFields(lua_State* L, int index, const char* who, EventFieldNames fields);

} // namespace vyrlua::ui
