// Input events as Lua objects: mouse, keyboard, touch, multi-touch and
// gesture events are full userdata (one pointer to a heap copy of the host
// event) whose fields read as e.x, e.type, ... and whose methods give points
// (e:GetPoint()). Scripts make them with the global constructors
// vyrlua_CreateNewVYRUIMouseEvent{...} and the four others. docs/events.md
// gives every field.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/events/UIEvents.h"

#include <memory>

namespace vyrlua::ui {

inline constexpr const char* kMouseEventMetatable = "vyrlua.VYRUIMouseEvent";
inline constexpr const char* kKeyboardEventMetatable = "vyrlua.VYRUIKeyboardEvent";
inline constexpr const char* kTouchEventMetatable = "vyrlua.VYRUITouchEvent";
inline constexpr const char* kMultiTouchEventMetatable = "vyrlua.VYRUIMultiTouchEvent";
inline constexpr const char* kGestureEventMetatable = "vyrlua.VYRUIGestureEvent";

// Push a copy of the event as its Lua object; each returns the number of
// values pushed (1). The metatables are made on first use.
int PushMouseEventToLua(lua_State* L, const vyrui::events::MouseEvent& event);
int PushKeyboardEventToLua(lua_State* L, const vyrui::events::KeyboardEvent& event);
int PushTouchEventToLua(lua_State* L, const vyrui::events::TouchEvent& event);
int PushMultiTouchEventToLua(lua_State* L, const vyrui::events::MultiTouchEvent& event);
int PushGestureEventToLua(lua_State* L, const vyrui::events::GestureEvent& event);

// A copy of the event object at `index`; null when the value is not an
// event of that kind (or was emptied).
std::unique_ptr<vyrui::events::MouseEvent> GetMouseEventFromLua(lua_State* L, int index);
std::unique_ptr<vyrui::events::KeyboardEvent> GetKeyboardEventFromLua(lua_State* L, int index);
std::unique_ptr<vyrui::events::TouchEvent> GetTouchEventFromLua(lua_State* L, int index);
std::unique_ptr<vyrui::events::MultiTouchEvent> GetMultiTouchEventFromLua(lua_State* L, int index);
std::unique_ptr<vyrui::events::GestureEvent> GetGestureEventFromLua(lua_State* L, int index);

// Makes the five metatables (once per state) and sets the five global
// constructors. Called by the UI modules' openers.
void OpenUIEvents(lua_State* L);

} // namespace vyrlua::ui
