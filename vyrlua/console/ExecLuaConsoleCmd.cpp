#include "vyrlua/console/ExecLuaConsoleCmd.h"

#include "vyrcore/string.h"
#include "vyrlua/utility/LuaFieldReaders.h"
#include "vyrworkspace/sharedui/ConsolePanel.h"

#include <cstdio>
#include <exception>

namespace vyrlua::console {

using vyrworkspace::sharedui::ConsolePanel;
using vyrworkspace::sharedui::UTF16OutputStream;

lua_State* ExecLuaConsoleCmd::mLuaState = nullptr;

namespace {

void PostLine(ConsolePanel& panel, std::string_view text)
{
    panel.PostBuffer(text);
    panel.PostBuffer("\n");
}

// The text of the value at `index` (a string or number), or a description of
// a value that has none.
std::string TextOf(lua_State* L, int index)
{
    size_t length = 0;
    if (const char* text = lua_tolstring(L, index, &length))
        return std::string(text, length);
    return std::string("(error object is a ") + lua_typename(L, lua_type(L, index)) + " value)";
}

// What Lua's tostring shows for a value without a __tostring of its own.
std::string PlainText(lua_State* L, int index)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%s: %p", lua_typename(L, lua_type(L, index)),
                  lua_topointer(L, index));
    return text;
}

// The value as the script's global tostring shows it, so __tostring
// metamethods apply. A failing tostring is reported to the panel and the
// plain form shown instead.
std::string ToStringText(lua_State* L, int index, ConsolePanel& panel)
{
    int top = lua_gettop(L);
    std::string text = PlainText(L, index);
    try {
        if (lua_checkstack(L, 2)) {
            utility::PushField(L, LUA_GLOBALSINDEX, "tostring");
            lua_pushvalue(L, index);
            if (lua_pcall(L, 1, 1, 0) != 0)
                PostLine(panel, TextOf(L, -1));
            else if (lua_type(L, -1) == LUA_TSTRING)
                text = TextOf(L, -1);
        }
    } catch (const std::exception& e) {
        PostLine(panel, e.what());
    }
    lua_settop(L, top);
    return text;
}

} // namespace

ExecLuaConsoleCmd::ExecLuaConsoleCmd(const std::wstring&, const std::wstring&) {}

void ExecLuaConsoleCmd::SetLuaState(lua_State* L)
{
    mLuaState = L;
}

const char* ExecLuaConsoleCmd::CompileErrorText(int status)
{
    switch (status) {
    case LUA_ERRSYNTAX: return "ERROR: Lua Syntax Error";
    case LUA_ERRMEM: return "ERROR: Lua Memory Error";
    default: return "ERROR: Unknown Lua Error";
    }
}

void ExecLuaConsoleCmd::Execute(const std::wstring& text, UTF16OutputStream& out)
{
    mLastResultCount = 0;
    ConsolePanel& panel = ConsolePanel::GetInstance();
    lua_State* L = mLuaState;
    if (L == nullptr) {
        PostLine(panel, "ERROR: the Lua console has no Lua state");
        return;
    }
    int base = lua_gettop(L);
    try {
        std::string chunk = vyrworkspace::sharedui::WideToUTF8(text);
        int status = luaL_loadbuffer(L, chunk.data(), chunk.size(), "VYRConsole");
        if (status != 0) {
            PostLine(panel, CompileErrorText(status));
            // The compiler's own message says where.
            PostLine(panel, TextOf(L, -1));
            lua_settop(L, base);
            return;
        }
        if (lua_pcall(L, 0, LUA_MULTRET, 0) != 0) {
            PostLine(panel, TextOf(L, -1));
            lua_pop(L, 1);
            return;
        }
        WriteResults(L, base + 1, out);
    } catch (const std::exception& e) {
        PostLine(panel, std::string("ERROR: ") + e.what());
    }
}

void ExecLuaConsoleCmd::WriteResults(lua_State* L, int first, UTF16OutputStream& out)
{
    ConsolePanel& panel = ConsolePanel::GetInstance();
    int last = lua_gettop(L);
    for (int i = first; i <= last; ++i) {
        if (i > first)
            out << u"\t";
        switch (lua_type(L, i)) {
        case LUA_TBOOLEAN: out << (lua_toboolean(L, i) != 0); break;
        case LUA_TNUMBER: out << static_cast<double>(lua_tonumber(L, i)); break;
        case LUA_TNIL: out << u"nil"; break;
        case LUA_TSTRING: {
            size_t length = 0;
            const char* bytes = lua_tolstring(L, i, &length);
            out << vyrcore::string::UTF8to16(std::string_view(bytes, length));
            break;
        }
        default: out << vyrcore::string::UTF8to16(ToStringText(L, i, panel)); break;
        }
        ++mLastResultCount;
    }
    if (mLastResultCount > 0)
        out << u"\n";
}

} // namespace vyrlua::console
