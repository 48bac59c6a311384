// The "interactiveChangeMessage" metatable: the phases of an interactive
// (dragging) change that a control reports, as integer fields scripts
// compare a change message's "changeMessage" with.
#pragma once

#include "vyrlua/utility/LuaApi.h"

namespace vyrlua::ui {

inline constexpr const char* kInteractiveChangeMessageMetatable = "interactiveChangeMessage";

enum InteractiveChangePhase : int {
    kBeginChange = 0,
    kContinueChange = 1,
    kFinishChange = 2,
    kCancelChange = 3,
};

// Creates the metatable once per state. Throws LuaError("Cannot grow stack
// for message metatables") when the stack cannot grow.
void CreateInteractiveChangeMessageMetatable(lua_State* L);

} // namespace vyrlua::ui
