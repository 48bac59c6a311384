#include "app/Console.h"

#include "app/InputModule.h"

#include "vyrlua/console/ExecLuaConsoleCmd.h"
#include "vyrworkspace/sharedui/ConsolePanel.h"

#include <exception>
#include <istream>
#include <ostream>
#include <string>

namespace vyrhost {

namespace {

using vyrlua::console::ExecLuaConsoleCmd;
using vyrworkspace::sharedui::ConsolePanel;

// Hands the state to the console command for as long as the console runs.
class ConsoleState {
public:
    explicit ConsoleState(lua_State* L) { ExecLuaConsoleCmd::SetLuaState(L); }
    ~ConsoleState() { ExecLuaConsoleCmd::SetLuaState(nullptr); }
    ConsoleState(const ConsoleState&) = delete;
    ConsoleState& operator=(const ConsoleState&) = delete;
};

} // namespace

int RunConsole(HostRuntime& runtime, std::istream& in, std::ostream& out, std::ostream& err,
               bool prompt)
{
    lua_State* L = runtime.State();
    if (L == nullptr) {
        err << "vyrlua-host: the Lua state is closed\n";
        return 1;
    }
    ConsoleState state(L);
    ExecLuaConsoleCmd command(L"lua", L"Runs Lua in the host's state");
    ConsolePanel& panel = ConsolePanel::GetInstance();
    panel.Clear();
    vyrworkspace::sharedui::UTF16OutputStream results;

    std::string line;
    // require("vyrhost.app").quit(), from the script or a line, ends the
    // console as it ends the event loop.
    while (!QuitRequested()) {
        if (prompt)
            out << "> " << std::flush;
        if (!std::getline(in, line))
            break;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line[0] == '=')
            line = "return " + line.substr(1);
        results.Clear();
        try {
            command.Execute(vyrworkspace::sharedui::UTF8ToWide(line), results);
            // The command leaves its results on the stack; the console keeps
            // none between lines.
            lua_settop(L, 0);
            // The top level: undo requests and what else the line set going.
            runtime.Settle();
        } catch (const std::exception& e) {
            panel.PostBuffer(std::string("ERROR: ") + e.what() + "\n");
        }
        lua_settop(L, 0);
        out << results.UTF8() << std::flush;
        err << panel.Take() << std::flush;
    }
    if (prompt)
        out << "\n";
    return 0;
}

} // namespace vyrhost
