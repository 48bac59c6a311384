// The host program's undo stack, and the global table "hostUndo" through
// which scripts use it:
//
//   hostUndo.record(name, handlers [, restorer])
//       records a step `name` whose action is a LuaAction on the table
//       `handlers` (its "handleActionUndo" and "handleActionRedo" methods)
//       and, when given, a LuaStateRestorer on the table `restorer` (its
//       "restoreState" method). The change itself is already made.
//   hostUndo.undo(), hostUndo.redo()
//       ask the host to undo or redo a step, as its Edit menu would: the
//       host does so once the running script has returned (RunRequests),
//       since the undo service calls into Lua only from the top level.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrundo/UndoStack.h"

#include <vector>

namespace vyrhost {

class HostUndo {
public:
    // Creates the global "hostUndo" in `L`.
    explicit HostUndo(lua_State* L, std::size_t depthLimit = 100);
    // Detaches "hostUndo" (its functions then fail with "the host undo stack
    // is gone") and drops the history. Must run while the state is open, or
    // after it is closed: never half-way.
    ~HostUndo();
    HostUndo(const HostUndo&) = delete;
    HostUndo& operator=(const HostUndo&) = delete;

    vyrundo::UndoStack& Stack() { return mStack; }

    // Carries out the undo and redo requests made so far, in order. Requests
    // made meanwhile wait for the next call. Call from the top level.
    void RunRequests();

    // For the Lua functions.
    void Record(lua_State* L, const char* name, int handlers, int restorer);
    void Request(bool undo) { mRequests.push_back(undo); }

private:
    lua_State* mL;
    int mSelfRef = LUA_NOREF;
    vyrundo::UndoStack mStack;
    std::vector<bool> mRequests; // true: undo, false: redo
};

} // namespace vyrhost
