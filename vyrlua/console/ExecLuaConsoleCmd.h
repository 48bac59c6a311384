// The developer console's Lua command: compiles and runs the typed text in
// the host's Lua state, errors to the console panel, results to the stream.
#pragma once

#include "vyrlua/utility/LuaApi.h"
#include "vyrworkspace/sharedui/ConsoleCommand.h"

#include <string>

namespace vyrlua::console {

class ExecLuaConsoleCmd : public vyrworkspace::sharedui::ConsoleCommand {
public:
    // The name and description belong to the host's command list; this
    // class does not keep them.
    ExecLuaConsoleCmd(const std::wstring& name, const std::wstring& description);

    // The state every instance runs in. The host sets it once and clears it
    // (null) before it closes the state.
    static void SetLuaState(lua_State* L);

    // Runs `text` as a chunk named "VYRConsole". Compile and run errors go
    // to the console panel; results are written to `out` separated by tabs,
    // with a line break after the last, and are left on the Lua stack for
    // the host to clear. Nothing escapes: errors are only posted.
    void Execute(const std::wstring& text, vyrworkspace::sharedui::UTF16OutputStream& out) override;

    // How many results the last Execute wrote.
    int LastResultCount() const { return mLastResultCount; }

    // The panel's text for a failed compile status.
    static const char* CompileErrorText(int status);

private:
    void WriteResults(lua_State* L, int first, vyrworkspace::sharedui::UTF16OutputStream& out);

    static lua_State* mLuaState;
    int mLastResultCount = 0;
};

} // namespace vyrlua::console
