#include "vyrlua/undo/LuaAction.h"

#include "vyrcore/string.h"

#include <climits>
#include <optional>

namespace vyrlua::undo {

namespace {

// The reference number held as text; nothing for text that names no int.
std::optional<int> ParseReference(const std::string& text)
{
    bool ok = false;
    double n = vyrcore::string::StringToNumber(vyrcore::string::UTF8to16(text), &ok);
    if (!ok || !(n >= INT_MIN && n <= INT_MAX) || n != static_cast<double>(static_cast<int>(n)))
        return std::nullopt;
    return static_cast<int>(n);
}

} // namespace

LuaAction::LuaAction(bool undoable, bool redoable, const std::string& name,
                     const std::string& referenceText, lua_State* L)
    : vyrundo::Action(undoable, redoable, vyrcore::string::UTF8to16(name)),
      mReferenceText(referenceText), mState(L)
{
}

LuaAction::~LuaAction()
{
    if (!mReferenceText.empty()) {
        std::optional<int> ref = ParseReference(mReferenceText);
        lua_State* L = mState.Get();
        if (ref && L != nullptr)
            luaL_unref(L, LUA_REGISTRYINDEX, *ref);
        mReferenceText.clear();
    }
}

void LuaAction::InitLua(lua_State* L)
{
    RegisterNamespaceTable(L, "vyrUndoAction");
}

void LuaAction::UndoSelf()
{
    InvokeAction("handleActionUndo");
}

void LuaAction::RedoSelf()
{
    InvokeAction("handleActionRedo");
}

void LuaAction::InvokeAction(const char* method)
{
    if (mReferenceText.empty())
        return;
    std::optional<int> ref = ParseReference(mReferenceText);
    lua_State* L = mState.Get();
    if (!ref || L == nullptr)
        return;
    CallHandlerMethod(L, *ref, method);
}

} // namespace vyrlua::undo
