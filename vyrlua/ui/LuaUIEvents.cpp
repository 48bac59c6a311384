#include "vyrlua/ui/LuaUIEvents.h"

#include "vyrlua/ui/EventFields.h"

#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaFieldReaders.h"
#include "vyrlua/utility/LuaKind.h"
#include "vyrlua/utility/LuaStack.h"
#include "vyrlua/utility/LuaValueTypes.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace vyrlua::ui {

using namespace vyrui::events;
using utility::LuaError;
using vyrcore::geom::PointF;

namespace {

// ---------------------------------------------------------------------------
// The objects: each holds a heap copy of the event.

void CreateEventMetatables(lua_State* L);

template <typename Event>
struct EventTraits {
    using Payload = Event;
    static void MakeMetatable(lua_State* L) { CreateEventMetatables(L); }
    static const void* Identity(Event& event) { return &event; }
    static void Release(Event&) {}
};

template <typename Event>
struct Kind;

template <>
struct Kind<MouseEvent> : EventTraits<MouseEvent> {
    static constexpr const char* kMetatable = kMouseEventMetatable;
    static constexpr const char* kWord = "VYRUIMouseEvent";
    static constexpr const char* kConstructor = "vyrlua_CreateNewVYRUIMouseEvent";
};
template <>
struct Kind<KeyboardEvent> : EventTraits<KeyboardEvent> {
    static constexpr const char* kMetatable = kKeyboardEventMetatable;
    static constexpr const char* kWord = "VYRUIKeyboardEvent";
    static constexpr const char* kConstructor = "vyrlua_CreateNewVYRUIKeyboardEvent";
};
template <>
struct Kind<TouchEvent> : EventTraits<TouchEvent> {
    static constexpr const char* kMetatable = kTouchEventMetatable;
    static constexpr const char* kWord = "VYRUITouchEvent";
    static constexpr const char* kConstructor = "vyrlua_CreateNewVYRUITouchEvent";
};
template <>
struct Kind<MultiTouchEvent> : EventTraits<MultiTouchEvent> {
    static constexpr const char* kMetatable = kMultiTouchEventMetatable;
    static constexpr const char* kWord = "VYRUIMultiTouchEvent";
    static constexpr const char* kConstructor = "vyrlua_CreateNewVYRUIMultiTouchEvent";
};
template <>
struct Kind<GestureEvent> : EventTraits<GestureEvent> {
    static constexpr const char* kMetatable = kGestureEventMetatable;
    static constexpr const char* kWord = "VYRUIGestureEvent";
    static constexpr const char* kConstructor = "vyrlua_CreateNewVYRUIGestureEvent";
};

template <typename Event>
using LuaEvent = utility::LuaKind<Kind<Event>>;

// A new event object holding a copy of `event...` (none: a default
// event). The block's allocation may raise: the caller owns whatever
// `event` holds, or nothing.
template <typename Event, typename... From>
Event* PushEvent(lua_State* L, const From&... event)
{
    if (!utility::EnsureStack(L, 3))
        throw LuaError("stack overflow (no room to push an event)");
    return LuaEvent<Event>::Push(L, event...);
}

// The event at `index`; "out-of-scope VYRUIMouseEvent" for an emptied one.
template <typename Event>
Event& CheckEvent(lua_State* L, int index)
{
    Event* event = LuaEvent<Event>::Check(L, index);
    if (!event)
        throw LuaError(std::string("out-of-scope ") + Kind<Event>::kWord);
    return *event;
}

template <typename Event>
std::unique_ptr<Event> CopyEvent(lua_State* L, int index)
{
    Event* event = LuaEvent<Event>::Test(L, index);
    return event ? std::make_unique<Event>(*event) : nullptr;
}

// ---------------------------------------------------------------------------
// Fields, as e.name reads them.

void PushString(lua_State* L, std::string_view s)
{
    lua_pushlstring(L, s.data(), s.size());
}

bool PushMouseField(lua_State* L, const MouseEvent& e, std::string_view key)
{
    if (key == "type") PushString(L, MouseEventTypeName(e.type));
    else if (key == "x") lua_pushnumber(L, e.position.x);
    else if (key == "y") lua_pushnumber(L, e.position.y);
    else if (key == "globalX") lua_pushnumber(L, e.globalPosition.x);
    else if (key == "globalY") lua_pushnumber(L, e.globalPosition.y);
    else if (key == "button") lua_pushnumber(L, e.button);
    else if (key == "buttons") lua_pushnumber(L, e.buttons);
    else if (key == "modifiers") lua_pushnumber(L, e.modifiers);
    else if (key == "clickCount") lua_pushinteger(L, e.clickCount);
    else if (key == "wheelDeltaX") lua_pushnumber(L, e.wheelDelta.x);
    else if (key == "wheelDeltaY") lua_pushnumber(L, e.wheelDelta.y);
    else if (key == "timestamp") lua_pushnumber(L, e.timestamp);
    else return false;
    return true;
}

bool PushKeyboardField(lua_State* L, const KeyboardEvent& e, std::string_view key)
{
    if (key == "type") PushString(L, KeyboardEventTypeName(e.type));
    else if (key == "keyCode") lua_pushinteger(L, e.keyCode);
    // A copy: the allocation of the Lua string may run a finalizer that
    // frees the event. Pushed protected, so the copy is always freed.
    else if (key == "text") utility::PushLString(L, std::string(e.text));
    else if (key == "modifiers") lua_pushnumber(L, e.modifiers);
    else if (key == "isRepeat") lua_pushboolean(L, e.isRepeat);
    else if (key == "timestamp") lua_pushnumber(L, e.timestamp);
    else return false;
    return true;
}

bool PushTouchPointField(lua_State* L, const TouchPoint& t, std::string_view key)
{
    if (key == "touchID") lua_pushinteger(L, t.touchID);
    else if (key == "phase") PushString(L, TouchPhaseName(t.phase));
    else if (key == "x") lua_pushnumber(L, t.position.x);
    else if (key == "y") lua_pushnumber(L, t.position.y);
    else if (key == "globalX") lua_pushnumber(L, t.globalPosition.x);
    else if (key == "globalY") lua_pushnumber(L, t.globalPosition.y);
    else if (key == "pressure") lua_pushnumber(L, t.pressure);
    else return false;
    return true;
}

constexpr const char* kTouchPointFields[] = {"touchID", "phase", "x", "y",
                                             "globalX", "globalY", "pressure"};

// A touch point as a plain table with the fields above. A copy: the
// table's allocation may run a finalizer that frees the event.
void PushTouchPointTable(lua_State* L, TouchPoint t)
{
    lua_createtable(L, 0, 7);
    for (const char* name : kTouchPointFields) {
        PushTouchPointField(L, t, name);
        lua_setfield(L, -2, name);
    }
}

bool PushTouchField(lua_State* L, const TouchEvent& e, std::string_view key)
{
    if (PushTouchPointField(L, e.touch, key))
        return true;
    if (key == "tapCount") lua_pushinteger(L, e.tapCount);
    else if (key == "modifiers") lua_pushnumber(L, e.modifiers);
    else if (key == "timestamp") lua_pushnumber(L, e.timestamp);
    else return false;
    return true;
}

// The touches of the event at 1, which each allocation may free: looked up
// again before each touch is read.
void PushTouches(lua_State* L)
{
    lua_createtable(L, static_cast<int>(CheckEvent<MultiTouchEvent>(L, 1).touches.size()), 0);
    for (size_t i = 0; i < CheckEvent<MultiTouchEvent>(L, 1).touches.size(); ++i) {
        PushTouchPointTable(L, CheckEvent<MultiTouchEvent>(L, 1).touches[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
}

bool PushMultiTouchField(lua_State* L, const MultiTouchEvent& e, std::string_view key)
{
    if (key == "touches") PushTouches(L);
    else if (key == "count") lua_pushinteger(L, static_cast<lua_Integer>(e.touches.size()));
    else if (key == "modifiers") lua_pushnumber(L, e.modifiers);
    else if (key == "timestamp") lua_pushnumber(L, e.timestamp);
    else return false;
    return true;
}

bool PushGestureField(lua_State* L, const GestureEvent& e, std::string_view key)
{
    if (key == "kind") PushString(L, GestureKindName(e.kind));
    else if (key == "phase") PushString(L, GesturePhaseName(e.phase));
    else if (key == "x") lua_pushnumber(L, e.position.x);
    else if (key == "y") lua_pushnumber(L, e.position.y);
    else if (key == "globalX") lua_pushnumber(L, e.globalPosition.x);
    else if (key == "globalY") lua_pushnumber(L, e.globalPosition.y);
    else if (key == "deltaX") lua_pushnumber(L, e.delta.x);
    else if (key == "deltaY") lua_pushnumber(L, e.delta.y);
    else if (key == "magnification") lua_pushnumber(L, e.magnification);
    else if (key == "rotation") lua_pushnumber(L, e.rotation);
    else if (key == "modifiers") lua_pushnumber(L, e.modifiers);
    else if (key == "timestamp") lua_pushnumber(L, e.timestamp);
    else return false;
    return true;
}

bool PushField(lua_State* L, const MouseEvent& e, std::string_view key) { return PushMouseField(L, e, key); }
bool PushField(lua_State* L, const KeyboardEvent& e, std::string_view key) { return PushKeyboardField(L, e, key); }
bool PushField(lua_State* L, const TouchEvent& e, std::string_view key) { return PushTouchField(L, e, key); }
bool PushField(lua_State* L, const MultiTouchEvent& e, std::string_view key) { return PushMultiTouchField(L, e, key); }
bool PushField(lua_State* L, const GestureEvent& e, std::string_view key) { return PushGestureField(L, e, key); }

// __index: methods of the metatable first, then the event's fields.
template <typename Event>
int IndexBody(lua_State* L)
{
    Event& event = CheckEvent<Event>(L, 1);
    if (lua_type(L, 2) != LUA_TSTRING)
        return 0;
    lua_getmetatable(L, 1);
    lua_pushvalue(L, 2);
    lua_rawget(L, -2);
    if (!lua_isnil(L, -1))
        return 1;
    lua_pop(L, 2);
    size_t length = 0;
    const char* key = lua_tolstring(L, 2, &length);
    return PushField(L, event, std::string_view(key, length)) ? 1 : 0;
}

// ---------------------------------------------------------------------------
// Methods.

// Points are copied before the table that holds them is made (its
// allocation may run a finalizer that frees the event).
template <typename Event>
int GetPointBody(lua_State* L)
{
    const Event& e = CheckEvent<Event>(L, 1);
    PointF point;
    if constexpr (std::is_same_v<Event, TouchEvent>)
        point = e.touch.position;
    else
        point = e.position;
    return drawbot::PushPointF32ToLua(L, point);
}

template <typename Event>
int GetGlobalPointBody(lua_State* L)
{
    const Event& e = CheckEvent<Event>(L, 1);
    PointF point;
    if constexpr (std::is_same_v<Event, TouchEvent>)
        point = e.touch.globalPosition;
    else
        point = e.globalPosition;
    return drawbot::PushPointF32ToLua(L, point);
}

int GetWheelDeltaBody(lua_State* L)
{
    PointF delta = CheckEvent<MouseEvent>(L, 1).wheelDelta;
    return drawbot::PushPointF32ToLua(L, delta);
}

int GetDeltaBody(lua_State* L)
{
    PointF delta = CheckEvent<GestureEvent>(L, 1).delta;
    return drawbot::PushPointF32ToLua(L, delta);
}

template <typename Event>
int HasModifierBody(lua_State* L)
{
    lua_Integer mask = utility::CheckInteger(L, 2);
    const Event& e = CheckEvent<Event>(L, 1);
    lua_pushboolean(L, mask > 0 && (static_cast<lua_Integer>(e.modifiers) & mask) == mask);
    return 1;
}

// (i) -> the i-th touch (1-based) as a table, or nothing.
int GetTouchBody(lua_State* L)
{
    lua_Integer i = utility::CheckInteger(L, 2);
    const MultiTouchEvent& e = CheckEvent<MultiTouchEvent>(L, 1);
    if (i < 1 || static_cast<unsigned long long>(i) > e.touches.size())
        return 0;
    PushTouchPointTable(L, e.touches[static_cast<size_t>(i - 1)]);
    return 1;
}

template <typename Event>
constexpr luaL_Reg kCommonMethods[] = {
    {"__index", utility::LuaBoundary<IndexBody<Event>>},
    {"HasModifier", utility::LuaBoundary<HasModifierBody<Event>>},
    {nullptr, nullptr},
};

const luaL_Reg kMouseMethods[] = {
    {"GetPoint", utility::LuaBoundary<GetPointBody<MouseEvent>>},
    {"GetGlobalPoint", utility::LuaBoundary<GetGlobalPointBody<MouseEvent>>},
    {"GetWheelDelta", utility::LuaBoundary<GetWheelDeltaBody>},
    {nullptr, nullptr},
};

const luaL_Reg kKeyboardMethods[] = {
    {nullptr, nullptr},
};

const luaL_Reg kTouchMethods[] = {
    {"GetPoint", utility::LuaBoundary<GetPointBody<TouchEvent>>},
    {"GetGlobalPoint", utility::LuaBoundary<GetGlobalPointBody<TouchEvent>>},
    {nullptr, nullptr},
};

const luaL_Reg kMultiTouchMethods[] = {
    {"GetTouch", utility::LuaBoundary<GetTouchBody>},
    {nullptr, nullptr},
};

const luaL_Reg kGestureMethods[] = {
    {"GetPoint", utility::LuaBoundary<GetPointBody<GestureEvent>>},
    {"GetGlobalPoint", utility::LuaBoundary<GetGlobalPointBody<GestureEvent>>},
    {"GetDelta", utility::LuaBoundary<GetDeltaBody>},
    {nullptr, nullptr},
};

// ---------------------------------------------------------------------------
// Constructors: vyrlua_CreateNewVYRUIMouseEvent{ type = "down", x = 3, ... }.
// Every field is optional; a present field of the wrong type, or an unknown
// field, is an error naming the constructor and the field.

class FieldReader {
public:
    FieldReader(lua_State* L, int index, const char* constructor)
        : mL(L), mIndex(index), mConstructor(constructor)
    {
    }

    void Number(const char* name, double& out) const
    {
        if (Fetch(name)) {
            out = Numeric(name);
            lua_pop(mL, 1);
        }
    }
    void Float(const char* name, float& out) const
    {
        double d = out;
        Number(name, d);
        out = utility::ToFloat(d);
    }
    void Int(const char* name, int32_t& out) const
    {
        if (Fetch(name)) {
            out = static_cast<int32_t>(Integral(name, std::numeric_limits<int32_t>::min(),
                                                std::numeric_limits<int32_t>::max()));
            lua_pop(mL, 1);
        }
    }
    void Mask(const char* name, uint32_t& out) const
    {
        if (Fetch(name)) {
            out = static_cast<uint32_t>(Integral(name, 0, std::numeric_limits<uint32_t>::max()));
            lua_pop(mL, 1);
        }
    }
    void Bool(const char* name, bool& out) const
    {
        if (Fetch(name)) {
            out = lua_toboolean(mL, -1) != 0;
            lua_pop(mL, 1);
        }
    }
    // A string field, left on the stack (so the view stays valid) when
    // present; nothing is pushed for an absent one.
    std::optional<std::string_view> Text(const char* name) const
    {
        if (!Fetch(name))
            return std::nullopt;
        if (lua_type(mL, -1) != LUA_TSTRING)
            Fail(name, "must be a string");
        size_t length = 0;
        const char* s = lua_tolstring(mL, -1, &length);
        return std::string_view(s, length);
    }
    // A name field looked up with `fromName`; unknown names list the good ones.
    template <typename Enum>
    void Name(const char* name, Enum& out, bool (*fromName)(std::string_view, Enum&),
              const char* choices) const
    {
        std::optional<std::string_view> text = Text(name);
        if (!text)
            return;
        if (!fromName(*text, out))
            Fail(name, "'" + std::string(*text) + "' is not one of " + choices);
        lua_pop(mL, 1);
    }
    void Point(const char* xName, const char* yName, PointF& out) const
    {
        Float(xName, out.x);
        Float(yName, out.y);
    }

    lua_State* State() const { return mL; }

    [[noreturn]] void Fail(const char* name, const std::string& problem) const
    {
        throw LuaError(std::string(mConstructor) + ": field '" + name + "' " + problem);
    }

private:
    // Pushes the field; false (nothing pushed) when it is nil.
    bool Fetch(const char* name) const
    {
        if (mIndex == 0)
            return false;
        utility::PushField(mL, mIndex, name);
        if (lua_isnil(mL, -1)) {
            lua_pop(mL, 1);
            return false;
        }
        return true;
    }
    double Numeric(const char* name) const
    {
        if (lua_type(mL, -1) != LUA_TNUMBER)
            Fail(name, std::string("must be a number (got ") + lua_typename(mL, lua_type(mL, -1)) + ")");
        return lua_tonumber(mL, -1);
    }
    long long Integral(const char* name, long long low, long long high) const
    {
        double d = std::trunc(Numeric(name));
        if (!(d >= static_cast<double>(low) && d <= static_cast<double>(high)))
            Fail(name, "must be an integer from " + std::to_string(low) + " to " + std::to_string(high));
        return static_cast<long long>(d);
    }

    lua_State* mL;
    int mIndex; // 0: no table given
    const char* mConstructor;
};

template <typename Event>
FieldReader ConstructorArgs(lua_State* L)
{
    int type = lua_type(L, 1);
    if (type != LUA_TNONE && type != LUA_TNIL && type != LUA_TTABLE)
        utility::ThrowTypeError(L, 1, lua_typename(L, LUA_TTABLE));
    return FieldReader(L, type == LUA_TTABLE ? 1 : 0, Kind<Event>::kConstructor);
}

void ReadTouchPoint(const FieldReader& in, TouchPoint& t)
{
    in.Int("touchID", t.touchID);
    in.Name("phase", t.phase, TouchPhaseFromName, "began, moved, stationary, ended, cancelled");
    in.Point("x", "y", t.position);
    in.Point("globalX", "globalY", t.globalPosition);
    in.Float("pressure", t.pressure);
}

// The events read into locals are plain data: nothing to free should
// reading a field raise.
static_assert(std::is_trivially_destructible_v<MouseEvent>);
static_assert(std::is_trivially_destructible_v<TouchEvent>);
static_assert(std::is_trivially_destructible_v<GestureEvent>);

int NewMouseEventBody(lua_State* L)
{
    FieldReader in = ConstructorArgs<MouseEvent>(L);
    RefuseUnknownFields(L, 1, Kind<MouseEvent>::kConstructor, kMouseEventFieldNames);
    MouseEvent e;
    in.Name("type", e.type, MouseEventTypeFromName, "down, up, move, drag, enter, exit, wheel");
    in.Point("x", "y", e.position);
    in.Point("globalX", "globalY", e.globalPosition);
    in.Mask("button", e.button);
    in.Mask("buttons", e.buttons);
    in.Mask("modifiers", e.modifiers);
    in.Int("clickCount", e.clickCount);
    in.Point("wheelDeltaX", "wheelDeltaY", e.wheelDelta);
    in.Number("timestamp", e.timestamp);
    PushEvent<MouseEvent>(L, e);
    return 1;
}

int NewKeyboardEventBody(lua_State* L)
{
    FieldReader in = ConstructorArgs<KeyboardEvent>(L);
    RefuseUnknownFields(L, 1, Kind<KeyboardEvent>::kConstructor, kKeyboardEventFieldNames);
    // Plain fields, and the text as the Lua string itself until the event
    // holds its copy.
    struct {
        KeyboardEventType type = KeyboardEventType::KeyDown;
        int32_t keyCode = kKey_None;
        uint32_t modifiers = kModifier_None;
        bool isRepeat = false;
        double timestamp = 0;
    } plain;
    in.Name("type", plain.type, KeyboardEventTypeFromName, "keyDown, keyUp, char");
    in.Int("keyCode", plain.keyCode);
    in.Mask("modifiers", plain.modifiers);
    in.Bool("isRepeat", plain.isRepeat);
    in.Number("timestamp", plain.timestamp);
    std::string_view text = in.Text("text").value_or(std::string_view());
    KeyboardEvent* e = PushEvent<KeyboardEvent>(L);
    e->type = plain.type;
    e->keyCode = plain.keyCode;
    e->modifiers = plain.modifiers;
    e->isRepeat = plain.isRepeat;
    e->timestamp = plain.timestamp;
    e->text.assign(text);
    return 1;
}

int NewTouchEventBody(lua_State* L)
{
    FieldReader in = ConstructorArgs<TouchEvent>(L);
    RefuseUnknownFields(L, 1, Kind<TouchEvent>::kConstructor, kTouchEventFieldNames);
    TouchEvent e;
    ReadTouchPoint(in, e.touch);
    in.Int("tapCount", e.tapCount);
    in.Mask("modifiers", e.modifiers);
    in.Number("timestamp", e.timestamp);
    PushEvent<TouchEvent>(L, e);
    return 1;
}

int NewMultiTouchEventBody(lua_State* L)
{
    FieldReader in = ConstructorArgs<MultiTouchEvent>(L);
    RefuseUnknownFields(L, 1, Kind<MultiTouchEvent>::kConstructor, kMultiTouchEventFieldNames);
    uint32_t modifiers = kModifier_None;
    double timestamp = 0;
    in.Mask("modifiers", modifiers);
    in.Number("timestamp", timestamp);
    MultiTouchEvent* e = PushEvent<MultiTouchEvent>(L);
    e->modifiers = modifiers;
    e->timestamp = timestamp;
    int event = lua_gettop(L);
    if (lua_type(L, 1) == LUA_TTABLE) {
        utility::PushField(L, 1, "touches");
        int touches = lua_gettop(L);
        if (lua_type(L, touches) == LUA_TTABLE) {
            for (int i = 1;; ++i) {
                lua_rawgeti(L, touches, i);
                if (lua_isnil(L, -1)) {
                    lua_pop(L, 1);
                    break;
                }
                if (lua_type(L, -1) != LUA_TTABLE)
                    in.Fail("touches", "must hold tables (entry " + std::to_string(i) + " is not)");
                TouchPoint t;
                RefuseUnknownFields(L, -1, Kind<MultiTouchEvent>::kConstructor, kTouchPointFieldNames);
                ReadTouchPoint(FieldReader(L, lua_gettop(L), Kind<MultiTouchEvent>::kConstructor), t);
                // Looked up again: reading the touch ran script code.
                CheckEvent<MultiTouchEvent>(L, event).touches.push_back(t);
                lua_pop(L, 1);
            }
        } else if (!lua_isnil(L, touches)) {
            in.Fail("touches", "must be an array of tables");
        }
        lua_pop(L, 1);
    }
    return 1;
}

int NewGestureEventBody(lua_State* L)
{
    FieldReader in = ConstructorArgs<GestureEvent>(L);
    RefuseUnknownFields(L, 1, Kind<GestureEvent>::kConstructor, kGestureEventFieldNames);
    GestureEvent e;
    in.Name("kind", e.kind, GestureKindFromName, "pan, zoom, rotate, swipe, tap, longPress");
    in.Name("phase", e.phase, GesturePhaseFromName, "begin, change, end, cancel");
    in.Point("x", "y", e.position);
    in.Point("globalX", "globalY", e.globalPosition);
    in.Point("deltaX", "deltaY", e.delta);
    in.Float("magnification", e.magnification);
    in.Float("rotation", e.rotation);
    in.Mask("modifiers", e.modifiers);
    in.Number("timestamp", e.timestamp);
    PushEvent<GestureEvent>(L, e);
    return 1;
}

const luaL_Reg kConstructors[] = {
    {"vyrlua_CreateNewVYRUIMouseEvent", utility::LuaBoundary<NewMouseEventBody>},
    {"vyrlua_CreateNewVYRUIGestureEvent", utility::LuaBoundary<NewGestureEventBody>},
    {"vyrlua_CreateNewVYRUITouchEvent", utility::LuaBoundary<NewTouchEventBody>},
    {"vyrlua_CreateNewVYRUIMultiTouchEvent", utility::LuaBoundary<NewMultiTouchEventBody>},
    {"vyrlua_CreateNewVYRUIKeyboardEvent", utility::LuaBoundary<NewKeyboardEventBody>},
    {nullptr, nullptr},
};

template <typename Event>
void CreateMetatable(lua_State* L, const luaL_Reg* methods)
{
    RegisterMetatable(L, Kind<Event>::kMetatable, methods);
    // Last: the __index of kCommonMethods (fields, then methods) replaces
    // the metatable's own.
    LuaEvent<Event>::RegisterMetatable(L, kCommonMethods<Event>, LuaEvent<Event>::kCollected);
}

// Registry only: safe wherever an event is pushed.
void CreateEventMetatables(lua_State* L)
{
    if (!lua_checkstack(L, 4))
        throw LuaError("Cannot grow stack for event metatables");
    CreateMetatable<MouseEvent>(L, kMouseMethods);
    CreateMetatable<KeyboardEvent>(L, kKeyboardMethods);
    CreateMetatable<TouchEvent>(L, kTouchMethods);
    CreateMetatable<MultiTouchEvent>(L, kMultiTouchMethods);
    CreateMetatable<GestureEvent>(L, kGestureMethods);
}

} // namespace

int PushMouseEventToLua(lua_State* L, const MouseEvent& event) { PushEvent<MouseEvent>(L, event); return 1; }
int PushKeyboardEventToLua(lua_State* L, const KeyboardEvent& event) { PushEvent<KeyboardEvent>(L, event); return 1; }
int PushTouchEventToLua(lua_State* L, const TouchEvent& event) { PushEvent<TouchEvent>(L, event); return 1; }
int PushMultiTouchEventToLua(lua_State* L, const MultiTouchEvent& event) { PushEvent<MultiTouchEvent>(L, event); return 1; }
int PushGestureEventToLua(lua_State* L, const GestureEvent& event) { PushEvent<GestureEvent>(L, event); return 1; }

std::unique_ptr<MouseEvent> GetMouseEventFromLua(lua_State* L, int index) { return CopyEvent<MouseEvent>(L, index); }
std::unique_ptr<KeyboardEvent> GetKeyboardEventFromLua(lua_State* L, int index) { return CopyEvent<KeyboardEvent>(L, index); }
std::unique_ptr<TouchEvent> GetTouchEventFromLua(lua_State* L, int index) { return CopyEvent<TouchEvent>(L, index); }
std::unique_ptr<MultiTouchEvent> GetMultiTouchEventFromLua(lua_State* L, int index) { return CopyEvent<MultiTouchEvent>(L, index); }
std::unique_ptr<GestureEvent> GetGestureEventFromLua(lua_State* L, int index) { return CopyEvent<GestureEvent>(L, index); }

void OpenUIEvents(lua_State* L)
{
    CreateEventMetatables(L);
    // Raw: a "strict" globals metatable must not object to the library's
    // own constructors.
    lua_pushvalue(L, LUA_GLOBALSINDEX);
    for (const luaL_Reg* c = kConstructors; c->name; ++c) {
        lua_pushstring(L, c->name);
        lua_pushcfunction(L, c->func);
        lua_rawset(L, -3);
    }
    lua_pop(L, 1);
}

} // namespace vyrlua::ui
