#include "app/InputModule.h"

#include "exo/app/App.h"
#include "vyrlua/ui/EventFields.h"
#include "vyrlua/ui/LuaControlWrapperBase.h"
#include "vyrlua/ui/LuaControlWrapperFactory.h"
#include "vyrlua/ui/LuaUIEvents.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaBoundary.h"
#include "vyrlua/utility/LuaModules.h"
#include "vyrlua/utility/LuaValueTypes.h"
#include "KzKernel/KzKernel.h"
#include "vyrcore/config.h"
#include "vyrlua/utility/LuaProtectedCall.h"
#include "vyrui/EventLoop.h"
#include "vyrui/ui/OS_Window.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace vyrhost {

namespace {

using namespace vyrui::events;
using vyrlua::utility::LuaBoundary;
using vyrlua::utility::LuaError;
using vyrui::ui::UI_Node;
using vyrui::ui::UI_NodeManager;

bool gHeadless = true;
bool gQuit = false;
int gLoopRuns = 0;
// The last simulated timestamp; see Stamp.
double gLastStamp = -1e9;

// Steps between simulated events: presses of one sequence stay within the
// double-click time, and a new sequence starts well beyond it.
constexpr double kEventStep = 0.05;
constexpr double kNewSequence = 2 * UI_NodeManager::kDoubleClickTime;
// A drag path longer than this is refused (points are read before routing).
constexpr int kMaxDragPoints = 1024;

vyrui::EventLoop* Loop()
{
    exo::app::App* app = exo::app::App::GetApp();
    return app ? &app->GetEventLoop() : nullptr;
}

double Stamp(bool newSequence)
{
    vyrui::EventLoop* loop = Loop();
    double now = loop ? loop->Now() : 0;
    gLastStamp = std::max(now, gLastStamp + (newSequence ? kNewSequence : kEventStep));
    return gLastStamp;
}


uint32_t ModifierNamed(std::string_view name)
{
    if (name == "shift")
        return kModifier_Shift;
    if (name == "control" || name == "ctrl")
        return kModifier_Control;
    if (name == "alt" || name == "option")
        return kModifier_Alt;
    if (name == "command" || name == "cmd")
        return kModifier_Command;
    return 0;
}

uint32_t OptModifiers(lua_State* L, int index)
{
    if (lua_isnoneornil(L, index))
        return kModifier_None;
    if (lua_type(L, index) == LUA_TNUMBER) {
        lua_Integer mask = vyrlua::utility::CheckInteger(L, index);
        if (mask < 0 || mask > 15)
            throw vyrlua::utility::ArgumentError(index, "modifier mask from 0 to 15 expected");
        return static_cast<uint32_t>(mask);
    }
    std::string_view text = vyrlua::utility::CheckLString(L, index);
    uint32_t mask = 0;
    while (!text.empty()) {
        size_t plus = text.find('+');
        std::string_view name = text.substr(0, plus);
        uint32_t bit = ModifierNamed(name);
        if (bit == 0)
            throw vyrlua::utility::ArgumentError(
                index, "unknown modifier '" + std::string(name) +
                           "' (shift, control, alt, command, joined by +)");
        mask |= bit;
        text = plus == std::string_view::npos ? std::string_view() : text.substr(plus + 1);
    }
    return mask;
}

uint32_t OptButton(lua_State* L, int index)
{
    std::string_view name = vyrlua::utility::OptLString(L, index, "left");
    if (name == "left")
        return kMouseButton_Left;
    if (name == "right")
        return kMouseButton_Right;
    if (name == "middle")
        return kMouseButton_Middle;
    throw vyrlua::utility::ArgumentError(index, "button 'left', 'right' or 'middle' expected");
}

int32_t CheckKey(lua_State* L, int index)
{
    if (lua_type(L, index) == LUA_TNUMBER)
        return vyrlua::utility::CheckInt(L, index);
    std::string_view text = vyrlua::utility::CheckLString(L, index);
    std::optional<KeyCode> key = KeyCodeFromName(text);
    if (!key && text.size() == 1)
        key = KeyCodeFromCharacter(text[0]);
    if (!key)
        throw vyrlua::utility::ArgumentError(index, "unknown key '" + std::string(text) + "'");
    return *key;
}

// A point of `node` in its root's coordinates.
vyrcore::geom::PointF RootPoint(const UI_Node& node, float x, float y)
{
    return node.UI_LocalToRootPointF({x, y});
}

struct Pointer {
    UI_Node::Ptr node;
    float x = 0;
    float y = 0;
    uint32_t button = kMouseButton_Left;
    uint32_t modifiers = 0;
};

Pointer ReadPointer(lua_State* L, bool withButton)
{
    Pointer p;
    p.x = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 2));
    p.y = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 3));
    if (withButton)
        p.button = OptButton(L, 4);
    p.modifiers = OptModifiers(L, withButton ? 5 : 4);
    p.node = CheckNode(L, 1);
    return p;
}

// Buttons held, as the manager last saw them.
uint32_t HeldButtons()
{
    UI_NodeManager* manager = UI_NodeManager::Get(true);
    const std::optional<MouseEvent>& last = manager->GetLastMouseEvent();
    return last ? last->buttons : 0;
}

bool SendMouse(const UI_Node::Ptr& node, MouseEventType type, vyrcore::geom::PointF point,
               uint32_t button, uint32_t modifiers, bool newSequence = false)
{
    MouseEvent e;
    e.type = type;
    e.position = point;
    e.modifiers = modifiers;
    e.timestamp = Stamp(newSequence);
    uint32_t held = HeldButtons();
    if (type == MouseEventType::Down) {
        e.button = button;
        held |= button;
    } else if (type == MouseEventType::Up) {
        e.button = button;
        held &= ~button;
    }
    e.buttons = held;
    if (type == MouseEventType::Move && held != 0)
        e.type = MouseEventType::Drag;
    UI_Node::Ptr root(node->UI_GetRootNode());
    return UI_NodeManager::Get(true)->DispatchMouseEvent(*root, e);
}

int PushHandled(lua_State* L, bool handled)
{
    lua_pushboolean(L, handled);
    return 1;
}

int MoveBody(lua_State* L)
{
    Pointer p = ReadPointer(L, false);
    return PushHandled(L, SendMouse(p.node, MouseEventType::Move, RootPoint(*p.node, p.x, p.y),
                                    0, p.modifiers));
}

int PressBody(lua_State* L)
{
    Pointer p = ReadPointer(L, true);
    return PushHandled(L, SendMouse(p.node, MouseEventType::Down, RootPoint(*p.node, p.x, p.y),
                                    p.button, p.modifiers));
}

int ReleaseBody(lua_State* L)
{
    Pointer p = ReadPointer(L, true);
    return PushHandled(L, SendMouse(p.node, MouseEventType::Up, RootPoint(*p.node, p.x, p.y),
                                    p.button, p.modifiers));
}

// A move to the point, then `clicks` presses and releases.
bool Clicks(const Pointer& p, int clicks)
{
    vyrcore::geom::PointF at = RootPoint(*p.node, p.x, p.y);
    SendMouse(p.node, MouseEventType::Move, at, 0, p.modifiers, true);
    bool handled = false;
    for (int i = 0; i < clicks; ++i) {
        handled = SendMouse(p.node, MouseEventType::Down, at, p.button, p.modifiers) || handled;
        handled = SendMouse(p.node, MouseEventType::Up, at, p.button, p.modifiers) || handled;
    }
    return handled;
}

int ClickBody(lua_State* L)
{
    return PushHandled(L, Clicks(ReadPointer(L, true), 1));
}

int DoubleClickBody(lua_State* L)
{
    return PushHandled(L, Clicks(ReadPointer(L, true), 2));
}

int DragBody(lua_State* L)
{
    vyrlua::utility::CheckType(L, 2, LUA_TTABLE);
    int count = static_cast<int>(lua_objlen(L, 2));
    if (count < 2 || count > kMaxDragPoints)
        throw vyrlua::utility::ArgumentError(
            2, "a path of 2 to " + std::to_string(kMaxDragPoints) + " points expected");
    uint32_t button = OptButton(L, 3);
    uint32_t modifiers = OptModifiers(L, 4);
    // Read before anything with a destructor exists: reading may run __index.
    static thread_local vyrcore::geom::PointF points[kMaxDragPoints];
    for (int i = 0; i < count; ++i) {
        lua_rawgeti(L, 2, i + 1);
        int point = lua_gettop(L);
        bool pair = false;
        if (lua_type(L, point) == LUA_TTABLE) {
            lua_rawgeti(L, point, 1);
            lua_rawgeti(L, point, 2);
            pair = lua_type(L, -2) == LUA_TNUMBER && lua_type(L, -1) == LUA_TNUMBER;
            if (pair)
                points[i] = {vyrlua::utility::ToFloat(lua_tonumber(L, -2)),
                             vyrlua::utility::ToFloat(lua_tonumber(L, -1))};
            lua_pop(L, 2);
        }
        // Else a point value: {x = .., y = ..} or a PointF32.
        if (!pair)
            vyrlua::drawbot::GetPointF32FromLua(L, point, points[i]);
        lua_pop(L, 1);
    }
    UI_Node::Ptr node = CheckNode(L, 1);
    SendMouse(node, MouseEventType::Move, RootPoint(*node, points[0].x, points[0].y), 0,
              modifiers, true);
    bool handled = SendMouse(node, MouseEventType::Down,
                             RootPoint(*node, points[0].x, points[0].y), button, modifiers);
    for (int i = 1; i < count; ++i)
        handled = SendMouse(node, MouseEventType::Move, RootPoint(*node, points[i].x, points[i].y),
                            0, modifiers) || handled;
    const vyrcore::geom::PointF& last = points[count - 1];
    handled = SendMouse(node, MouseEventType::Up, RootPoint(*node, last.x, last.y), button,
                        modifiers) || handled;
    return PushHandled(L, handled);
}

int WheelBody(lua_State* L)
{
    float x = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 2));
    float y = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 3));
    float dx = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 4));
    float dy = vyrlua::utility::ToFloat(vyrlua::utility::CheckNumber(L, 5));
    uint32_t modifiers = OptModifiers(L, 6);
    UI_Node::Ptr node = CheckNode(L, 1);
    MouseEvent e;
    e.type = MouseEventType::Wheel;
    e.position = RootPoint(*node, x, y);
    e.wheelDelta = {dx, dy};
    e.modifiers = modifiers;
    e.buttons = HeldButtons();
    e.timestamp = Stamp(false);
    UI_Node::Ptr root(node->UI_GetRootNode());
    return PushHandled(L, UI_NodeManager::Get(true)->DispatchMouseEvent(*root, e));
}

// mouse(node, event): an event object or a table of its fields (made into
// one by the library's constructor, which reads tables strictly), position
// in the node's coordinates; its timestamp, when 0, from the loop's clock.
int MouseBody(lua_State* L)
{
    if (lua_type(L, 2) == LUA_TTABLE) {
        // Checked here first, so that a misspelt field is reported as this
        // function's, not the constructor's.
        vyrlua::ui::RefuseUnknownFields(L, 2, "mouse", vyrlua::ui::kMouseEventFieldNames);
        lua_pushliteral(L, "vyrlua_CreateNewVYRUIMouseEvent");
        lua_rawget(L, LUA_GLOBALSINDEX);
        lua_pushvalue(L, 2);
        // The constructor's error is raised again from here, so that it
        // carries the calling script's position.
        if (lua_pcall(L, 1, 1, 0) != 0) {
            const char* message = lua_tostring(L, -1);
            throw LuaError(message ? message : "mouse: the event table was refused");
        }
        lua_replace(L, 2);
    }
    std::unique_ptr<MouseEvent> given = vyrlua::ui::GetMouseEventFromLua(L, 2);
    if (!given)
        vyrlua::utility::ThrowTypeError(L, 2, "VYRUIMouseEvent or table");
    MouseEvent e = *given;
    UI_Node::Ptr node = CheckNode(L, 1);
    e.position = RootPoint(*node, e.position.x, e.position.y);
    if (e.timestamp == 0)
        e.timestamp = Stamp(false);
    UI_Node::Ptr root(node->UI_GetRootNode());
    return PushHandled(L, UI_NodeManager::Get(true)->DispatchMouseEvent(*root, e));
}

bool SendKey(KeyboardEventType type, int32_t key, uint32_t modifiers, std::string text = {})
{
    KeyboardEvent e;
    e.type = type;
    e.keyCode = key;
    e.modifiers = modifiers;
    e.text = std::move(text);
    e.timestamp = Stamp(false);
    return UI_NodeManager::Get(true)->DispatchKeyboardEvent(e);
}

int KeyDownBody(lua_State* L)
{
    int32_t key = CheckKey(L, 1);
    return PushHandled(L, SendKey(KeyboardEventType::KeyDown, key, OptModifiers(L, 2)));
}

int KeyUpBody(lua_State* L)
{
    int32_t key = CheckKey(L, 1);
    return PushHandled(L, SendKey(KeyboardEventType::KeyUp, key, OptModifiers(L, 2)));
}

int KeyBody(lua_State* L)
{
    int32_t key = CheckKey(L, 1);
    uint32_t modifiers = OptModifiers(L, 2);
    bool down = SendKey(KeyboardEventType::KeyDown, key, modifiers);
    bool up = SendKey(KeyboardEventType::KeyUp, key, modifiers);
    return PushHandled(L, down || up);
}

// type(text): a character event per UTF-8 character; true when every one
// was handled.
int TypeBody(lua_State* L)
{
    std::string text(vyrlua::utility::CheckLString(L, 1));
    bool all = !text.empty();
    for (size_t i = 0; i < text.size();) {
        size_t next = i + 1;
        while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80)
            ++next;
        all = SendKey(KeyboardEventType::Char, kKey_None, 0, text.substr(i, next - i)) && all;
        i = next;
    }
    return PushHandled(L, all);
}

int FocusBody(lua_State* L)
{
    std::string_view reason = vyrlua::utility::OptLString(L, 2, "mouse");
    int code = reason == "mouse"          ? vyrui::ui::kFocusReason_Mouse
               : reason == "tab"          ? vyrui::ui::kFocusReason_Tab
               : reason == "window"       ? vyrui::ui::kFocusReason_WindowActivation
               : reason == "programmatic" ? vyrui::ui::kFocusReason_Programmatic
                                          : -1;
    if (code < 0)
        throw vyrlua::utility::ArgumentError(
            2, "reason 'mouse', 'tab', 'window' or 'programmatic' expected");
    UI_Node::Ptr node = CheckNode(L, 1);
    return PushHandled(L, UI_NodeManager::Get(true)->SetKeyboardFocus(*node, code));
}

int ActivateBody(lua_State* L)
{
    UI_NodeManager::Get(true)->SetApplicationFrontmost(lua_toboolean(L, 1) != 0);
    return 0;
}

int ModalWindowBody(lua_State* L)
{
    UI_Node::Ptr modal = UI_NodeManager::Get(true)->GetModalWindow();
    if (!modal)
        return 0;
    return vyrlua::ui::LuaControlWrapperFactory(modal, L) ? 1 : 0;
}

// The handlers for modal runs still to begin, first first: a table in the
// registry, so that it goes with the state.
constexpr const char* kModalHandlers = "vyrhost.input.onModal";

// Pushes the handler queue, made on first use.
void PushModalHandlers(lua_State* L)
{
    lua_getfield(L, LUA_REGISTRYINDEX, kModalHandlers);
    if (lua_istable(L, -1))
        return;
    lua_pop(L, 1);
    lua_newtable(L);
    lua_pushvalue(L, -1);
    lua_setfield(L, LUA_REGISTRYINDEX, kModalHandlers);
}

// onModal(handler): handler(window) is called once, when the next modal run
// begins (dialog:RunModal(), Alert.Show), to answer it; several wait in
// turn. onModal(nil) forgets the handlers that wait.
int OnModalBody(lua_State* L)
{
    if (lua_isnoneornil(L, 1)) {
        lua_newtable(L);
        lua_setfield(L, LUA_REGISTRYINDEX, kModalHandlers);
        return 0;
    }
    vyrlua::utility::CheckType(L, 1, LUA_TFUNCTION);
    PushModalHandlers(L);
    lua_pushvalue(L, 1);
    lua_rawseti(L, -2, static_cast<int>(lua_objlen(L, -2)) + 1);
    return 0;
}

// Inside lua_cpcall: takes the first waiting handler, if any, and calls it
// with the dialog; its errors are reported.
int RunModalHandlerBody(lua_State* L)
{
    auto* dialog = static_cast<vyrui::ui::UI_Dialog*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    lua_getfield(L, LUA_REGISTRYINDEX, kModalHandlers);
    if (!lua_istable(L, 1))
        return 0;
    const int count = static_cast<int>(lua_objlen(L, 1));
    if (count == 0)
        return 0;
    lua_rawgeti(L, 1, 1);
    for (int i = 1; i < count; ++i) {
        lua_rawgeti(L, 1, i + 1);
        lua_rawseti(L, 1, i);
    }
    lua_pushnil(L);
    lua_rawseti(L, 1, count);
    if (!vyrlua::ui::LuaControlWrapperFactory(UI_Node::Ptr(dialog), L))
        return 0;
    vyrlua::utility::CallLuaFromCppMaybeIgnoreErrors(L, 1, 0);
    return 0;
}

// The modal loop of headless runs: the next waiting handler answers, else
// the event loop's timers may; an unanswered run ends with the cancel
// result and is reported.
void RunHeadlessModal(vyrui::ui::UI_Dialog& dialog)
{
    LoopRunScope running;
    if (lua_State* L = KzKernel_CurrentLuaState()) {
        int top = lua_gettop(L);
        if (lua_cpcall(L, LuaBoundary<RunModalHandlerBody>, &dialog) != 0) {
            const char* message = lua_tostring(L, -1);
            vyrcore::config::ReportError(message ? message : "onModal: the handler failed");
        }
        lua_settop(L, top);
    }
    if (QuitRequested() && dialog.IsModal())
        dialog.EndModal(dialog.GetCancelResult());
    vyrui::ui::RunModalOnEventLoop(dialog, Loop(), "headless: ");
}

int WaitBody(lua_State* L)
{
    double seconds = vyrlua::utility::CheckNumber(L, 1);
    if (!(seconds >= 0 && seconds <= 1e6))
        throw vyrlua::utility::ArgumentError(1, "seconds from 0 to 1e6 expected");
    if (LoopRunScope::Active())
        throw LuaError("wait: the event loop is running already (call wait from the script's "
                       "main chunk, not from a handler or timer)");
    vyrui::EventLoop* loop = Loop();
    // On a real clock waiting would stall the windows and their input.
    if (loop == nullptr || loop->GetClock() != vyrui::EventLoop::Clock::Virtual)
        throw LuaError("wait: only headless runs, on the virtual clock, can wait");
    LoopRunScope running;
    loop->RunFor(seconds);
    return 0;
}

const luaL_Reg kInputFunctions[] = {
    {"move", LuaBoundary<MoveBody>},
    {"press", LuaBoundary<PressBody>},
    {"release", LuaBoundary<ReleaseBody>},
    {"click", LuaBoundary<ClickBody>},
    {"doubleClick", LuaBoundary<DoubleClickBody>},
    {"drag", LuaBoundary<DragBody>},
    {"wheel", LuaBoundary<WheelBody>},
    {"mouse", LuaBoundary<MouseBody>},
    {"keyDown", LuaBoundary<KeyDownBody>},
    {"keyUp", LuaBoundary<KeyUpBody>},
    {"key", LuaBoundary<KeyBody>},
    {"type", LuaBoundary<TypeBody>},
    {"focus", LuaBoundary<FocusBody>},
    {"activate", LuaBoundary<ActivateBody>},
    {"modalWindow", LuaBoundary<ModalWindowBody>},
    {"onModal", LuaBoundary<OnModalBody>},
    {"wait", LuaBoundary<WaitBody>},
    {nullptr, nullptr},
};

int QuitBody(lua_State*)
{
    gQuit = true;
    if (vyrui::EventLoop* loop = Loop())
        loop->Quit();
    return 0;
}

const luaL_Reg kAppFunctions[] = {
    {"quit", LuaBoundary<QuitBody>},
    {nullptr, nullptr},
};

int OpenInput(lua_State* L)
{
    return vyrlua::RegisterModule(L, kInputFunctions);
}

int OpenApp(lua_State* L)
{
    vyrlua::RegisterModule(L, kAppFunctions);
    lua_pushboolean(L, gHeadless);
    lua_setfield(L, -2, "headless");
    return 1;
}

} // namespace

UI_Node::Ptr CheckNode(lua_State* L, int index)
{
    if (lua_type(L, index) != LUA_TUSERDATA)
        throw vyrlua::utility::ArgumentError(index, std::string("node expected, got ") + luaL_typename(L, index));
    vyrlua::ui::LuaControlWrapperBase* wrapper = vyrlua::ui::GetControlUserData(L, index);
    UI_Node::Ptr node = wrapper ? wrapper->GetNode() : nullptr;
    if (!node)
        throw vyrlua::utility::ArgumentError(index, "node expected, got a released one");
    return node;
}

void PreloadInputModule(lua_State* L)
{
    vyrlua::SetPreloadedModule(L, "vyrhost.input", LuaBoundary<OpenInput>);
    vyrlua::SetPreloadedModule(L, "vyrhost.app", LuaBoundary<OpenApp>);
    vyrui::ui::UI_Dialog::SetModalLoop(RunHeadlessModal);
}

void SetHeadless(bool headless)
{
    gHeadless = headless;
}

bool QuitRequested()
{
    return gQuit;
}

void ClearQuitRequest()
{
    gQuit = false;
}

LoopRunScope::LoopRunScope()
{
    ++gLoopRuns;
}

LoopRunScope::~LoopRunScope()
{
    --gLoopRuns;
}

bool LoopRunScope::Active()
{
    return gLoopRuns > 0;
}

} // namespace vyrhost
