// The operations nodes dispatch to what scripts bind with BindVyrOperation:
// the one list of their names, so that a misspelt one ("OnMouseDown") is
// caught where it is bound instead of never running.
#pragma once

#include "vyrlua/utility/LuaApi.h"

#include <string_view>

namespace vyrlua::ui {

bool IsDispatchedOperation(std::string_view operation);

// What binding a name no node dispatches does: a warning (logged once per
// place, with the script's file and line), or an error raised at the
// binding. The host program chooses; --strict makes it an error.
enum class UnknownOperation { Warn, Error };
void SetUnknownOperationPolicy(UnknownOperation policy);

// Called by BindVyrOperation, in the body of the call.
void CheckBoundOperation(lua_State* L, std::string_view operation);

} // namespace vyrlua::ui
