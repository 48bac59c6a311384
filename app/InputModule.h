// The host program's modules for scripts that drive and test themselves.
//
// "vyrhost.input": simulated input that takes exactly the path real input
// takes: the node manager's routing (modal windows, input capture, mouse
// filters, hit-testing, enabled and shown checks, the held button's grab,
// bubbling to ancestors, mouse-over and cursor messages, click counting,
// keyboard focus and Tab). `node` is any wrapped node; points are in its
// local coordinates and are sent to its root (its window) as real input
// would be. Each function returns whether the event was handled.
//
//   input.move(node, x, y [, modifiers])
//   input.press(node, x, y [, button [, modifiers]])
//   input.release(node, x, y [, button [, modifiers]])
//   input.click(node, x, y [, button [, modifiers]])         -- move, press, release
//   input.doubleClick(node, x, y [, button [, modifiers]])   -- two clicks
//   input.drag(node, points [, button [, modifiers]])        -- press at the first
//       point, drag through the others, release at the last ({x, y} tables or
//       PointF32 values)
//   input.wheel(node, x, y, dx, dy [, modifiers])
//   input.mouse(node, event)   -- a VYRUIMouseEvent or a table of its fields
//   input.keyDown(key [, modifiers]), input.keyUp(key [, modifiers])
//   input.key(key [, modifiers])            -- down and up
//   input.type(text)                        -- one character event per character
//   input.focus(node [, reason])            -- reason "mouse" (default), "tab",
//       "window" or "programmatic"; true when the node took the focus
//   input.activate(active)                  -- the application comes to the
//       front (true) or goes to the back
//   input.modalWindow()                     -- the modal window (a dialog to
//       answer) or nil
//   input.onModal(handler)                  -- handler(dialog) answers the
//       next modal run when it begins (dialog:RunModal() and Alert.Show
//       block until answered); handlers queue up, one per run, first first;
//       onModal(nil) forgets them. A headless run that nothing answers (no
//       handler, no timer that ends it) ends with the dialog's cancel result
//       and reports "headless: dialog '<title>' was not answered".
//   input.wait(seconds)                     -- headless: runs the event loop
//       (timers) for that long on the virtual clock, so it takes no time
//
// Buttons: "left" (default), "right", "middle". Modifiers: a mask of
// vyrui's modifier bits, or names joined by "+" ("shift+command"); names
// are shift, control (ctrl), alt (option), command (cmd). Keys: a name
// ("Enter", "Tab", "Left", "F5"), one character ("a", "7", ";") or a key
// code. Timestamps come from the event loop's clock; click and doubleClick
// begin a new click sequence, while press and release continue the current
// one (so press, release, press makes a double click, as it would by hand).
//
// "vyrhost.app": quit() ends the event loop (the program then exits);
// headless is true when no window is shown on a display.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrui/ui/UI_Node.h"

namespace vyrhost {

// Puts "vyrhost.input" and "vyrhost.app" into package.preload, and makes
// dialogs run modally in the headless way (WindowMode installs its own
// loop while it lives).
void PreloadInputModule(lua_State* L);

// The live node a script passed at `index`, held for work that may run
// script code; an argument error ("node expected, got nil") otherwise.
vyrui::ui::UI_Node::Ptr CheckNode(lua_State* L, int index);

// What the program tells scripts, and what they ask of it.
void SetHeadless(bool headless);
bool QuitRequested();
void ClearQuitRequest();

// Marks the event loop as running while it lives: input.wait refuses to run
// it again from inside (a timer or handler calling wait).
class LoopRunScope {
public:
    LoopRunScope();
    ~LoopRunScope();
    LoopRunScope(const LoopRunScope&) = delete;
    LoopRunScope& operator=(const LoopRunScope&) = delete;
    static bool Active();
};

} // namespace vyrhost
