// An undoable action whose undo and redo are methods of a script's table
// ("handleActionUndo", "handleActionRedo").
#pragma once

#include "vyrlua/undo/LuaHandlerTable.h"
#include "vyrundo/Action.h"

#include <string>

namespace vyrlua::undo {

class LuaAction : public vyrundo::Action {
public:
    // `referenceText` holds the decimal number of a registry reference to the
    // handler table (empty: none). The action owns that reference from now
    // on and frees it when destroyed. The flags go to the host's Action.
    LuaAction(bool undoable, bool redoable, const std::string& name,
              const std::string& referenceText, lua_State* L);
    ~LuaAction() override;

    // Creates the global table "vyrUndoAction" (no functions), a namespace
    // for scripts. Leaves the stack as found.
    static void InitLua(lua_State* L);

protected:
    void UndoSelf() override;
    void RedoSelf() override;
    // Calls the named method of the handler table, if any.
    void InvokeAction(const char* method);

private:
    std::string mReferenceText;
    HeldState mState;
};

} // namespace vyrlua::undo
