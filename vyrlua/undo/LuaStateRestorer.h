// A state restorer whose restore step is the "restoreState" method of a
// script's table.
#pragma once

#include "vyrlua/undo/LuaHandlerTable.h"
#include "vyrundo/StateRestorer.h"

namespace vyrlua::undo {

class LuaStateRestorer : public vyrundo::StateRestorer {
public:
    // `ref` is a registry reference to the restorer table (0: none); the
    // restorer owns it from now on and frees it when destroyed.
    LuaStateRestorer(const int& ref, lua_State* L);
    ~LuaStateRestorer() override;

    void RestoreState() override;
    // A disabled restorer stays where it is and does nothing when run.
    void DisableRestorer(const bool& disable);
    bool IsDisabled() const { return mDisabled; }

    // Creates the global table "vyrLuaStateRestorer" (no functions). Leaves
    // the stack as found.
    static void InitLua(lua_State* L);

private:
    int mRef;
    bool mDisabled = false;
    HeldState mState;
};

} // namespace vyrlua::undo
