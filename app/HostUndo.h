// The host program's undo stack, and the global table "hostUndo" through
// which scripts use it in every mode (a script file, the console, handlers
// and timers):
//
//   hostUndo.record(name, handlers [, restorer])
//       records a step `name` whose action is a LuaAction on the table
//       `handlers` (its "handleActionUndo" and "handleActionRedo" methods)
//       and, when given, a LuaStateRestorer on the table `restorer` (its
//       "restoreState" method). The change itself is already made. Inside
//       a group the action joins the group's step.
//   hostUndo.beginGroup(name), hostUndo.endGroup()
//       everything recorded between them is one step named `name`; pairs
//       nest. A group a callback leaves open is closed at the top level.
//   hostUndo.undo(), hostUndo.redo()
//       ask the host to undo or redo a step, as its Edit menu would: the
//       host does so at the top level, once the running callback has
//       returned (the undo service calls into Lua only from there). Several
//       requests made in one callback are all carried out, in order.
//   hostUndo.canUndo(), hostUndo.canRedo()      -> boolean
//   hostUndo.undoName(), hostUndo.redoName()    -> the next step's name or nil
//   hostUndo.undoCount(), hostUndo.redoCount()  -> number of steps
//       as the stack is now (requests still waiting are not counted in).
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrundo/UndoStack.h"

#include <memory>
#include <vector>

namespace vyrhost {

class HostUndo {
public:
    // Creates the global "hostUndo" in `L` (protected: throws HostException
    // when that fails). Requests are carried out by a task posted to the
    // application's event loop, when there is one, else by RunRequests.
    explicit HostUndo(lua_State* L, std::size_t depthLimit = 100);
    // Detaches "hostUndo" (its functions then fail with "the host undo stack
    // is gone") and drops the history. Must run while the state is open, or
    // after it is closed: never half-way.
    ~HostUndo();
    HostUndo(const HostUndo&) = delete;
    HostUndo& operator=(const HostUndo&) = delete;

    vyrundo::UndoStack& Stack() { return mStack; }

    // Closes a group left open, then carries out the undo and redo requests
    // made so far, in order. Requests made meanwhile wait for the next call.
    // Call from the top level.
    void RunRequests();
    bool HasRequests() const { return !mRequests.empty(); }

    // For the Lua functions.
    void Record(lua_State* L, const char* name, int handlers, int restorer);
    void Request(bool undo);
    void BeginGroup(std::u16string name);
    // False when no group is open.
    bool EndGroup();

private:
    static int Install(lua_State* L);

    lua_State* mL;
    int mSelfRef = LUA_NOREF;
    vyrundo::UndoStack mStack;
    std::vector<bool> mRequests; // true: undo, false: redo
    int mGroupDepth = 0;
    bool mPosted = false;
    // Expires with this object, so a posted task never outlives it.
    std::shared_ptr<HostUndo*> mAlive;
};

} // namespace vyrhost
