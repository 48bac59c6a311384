// Operation binding: Lua functions stored under operation names, and the
// one way a bound function is called when the host delivers a message.
#pragma once

#include "vyrcore/RefCounted.h"
#include "vyrlua/ui/LuaControlWrapperBase.h"

#include <map>
#include <string>
#include <string_view>

namespace vyrlua::ui {

class LuaBinder : public virtual vyrcore::utility::RefCountedObject {
public:
    // Stores `function` under `operation`, replacing (and releasing) any
    // earlier one.
    virtual void Bind(std::string_view operation, LuaFunctionRef function);
    LuaFunctionRef Find(std::string_view operation) const;
    // The bound function's slot, or null: no copy on the dispatch path.
    const LuaFunctionRef* FindPtr(std::string_view operation) const;
    size_t OperationCount() const { return mOperations.size(); }
    // The operations bound, by name (for inspecting a node).
    const std::map<std::string, LuaFunctionRef, std::less<>>& Operations() const { return mOperations; }
    template <typename F>
    void ForEachFunction(F&& f) const
    {
        for (const auto& entry : mOperations)
            f(entry.second);
    }

    // Calls `function` with the arguments `pushArgs(L)` pushes (it returns
    // their count), asking for one result. Returns the result's Lua truth
    // (nil and false: not handled); false too when the function is null,
    // the state is gone, or the call failed (the failure is reported through
    // the host error service). Afterwards the Lua stack is emptied at the
    // top level, else put back as it was (utility::EndHostCall). A nil
    // result is logged when the debug-database flag "vyrluaNilReturnGripe"
    // is set.
    template <typename PushArgs>
    static bool Dispatch(const LuaFunctionRef& function, const char* operation, PushArgs&& pushArgs);

protected:
    LuaBinder() = default;
    ~LuaBinder() override = default;

private:
    static bool Finish(lua_State* L, int entryTop, const LuaFunctionRef& function,
                       const char* operation, bool called, bool handled, bool resultWasNil);

    std::map<std::string, LuaFunctionRef, std::less<>> mOperations;
};

template <typename PushArgs>
bool LuaBinder::Dispatch(const LuaFunctionRef& function, const char* operation, PushArgs&& pushArgs)
{
    lua_State* L = function ? function->State() : nullptr;
    if (L == nullptr)
        return false;
    const int entryTop = lua_gettop(L);
    // Held: the handler may rebind its own operation.
    LuaFunctionRef held = function;
    bool handled = false;
    bool wasNil = false;
    bool called = utility::CallLuaReference(
        held, 1, pushArgs,
        [&](lua_State* S) {
            handled = lua_toboolean(S, -1) != 0;
            wasNil = lua_isnil(S, -1);
        },
        utility::OnLuaError::Report);
    return Finish(L, entryTop, held, operation, called, handled, wasNil);
}

// Whether "vyrluaNilReturnGripe" is set: read from the host debug database
// once, and again only when the database changes.
bool NilReturnGripeEnabled();

} // namespace vyrlua::ui
