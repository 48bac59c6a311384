// "vyrlua.CodeProfilerManager": a profiler of Lua code by function and by
// line. While it runs, call and return hooks (and line hooks when asked)
// time every function call on the threads it watches; stopped, it removes
// its hooks, so it costs nothing. An anonymous module of nine functions.
//
// Times are seconds of the steady clock. A function's total time counts each
// outermost call once (recursion is not counted twice); its self time
// leaves out the functions it called. The call tree behind the folded
// stacks keeps the self time of every path of calls.
#include "KzKernel/KzKernel.h"
#include "vyrlua/utility/LuaArgs.h"
#include "vyrlua/utility/LuaModules.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vyrlua::utility {

namespace {

struct FunctionStats {
    std::string name;
    std::string source;  // short source, as in error messages
    int line = 0;        // where it is defined (-1 for C functions)
    long long calls = 0;
    double total = 0;
    double self = 0;
    int active = 0;  // calls of it on the stacks now
};

struct Node {
    int function = -1;  // -1: the root
    double self = 0;
    long long calls = 0;
    std::map<int, int> children;  // function -> node
};

struct LineStats;

struct Frame {
    int function;
    int node;
    double start;
    double children = 0;
    bool lua = false;               // a Lua function: its lines are its own
    LineStats* callerLine = nullptr;  // the line that called it
};

constexpr size_t kMaxPathDepth = 200;

struct LineStats {
    long long count = 0;
    double time = 0;
};

struct ThreadState {
    std::vector<Frame> frames;
    LineStats* lastLine = nullptr;  // the line running now (map nodes stay put)
    double lastLineTime = 0;

    // The time since the last line event goes to the line running.
    void FlushLine(double now)
    {
        if (lastLine)
            lastLine->time += now - lastLineTime;
        lastLineTime = now;
    }
};

struct Profiler {
    bool running = false;
    bool lines = false;
    std::vector<FunctionStats> functions;
    std::map<std::string, int, std::less<>> byKey;
    std::vector<Node> nodes{Node{}};
    std::map<std::pair<std::string, int>, LineStats> lineStats;
    std::unordered_map<lua_State*, ThreadState> threads;

    void Reset()
    {
        functions.clear();
        byKey.clear();
        nodes.assign(1, Node{});
        lineStats.clear();
        threads.clear();
    }
};

Profiler& Data()
{
    static auto* profiler = new Profiler;
    return *profiler;
}

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// ---- hook work: C++ only, never throws ------------------------------------

int FunctionIndex(const lua_Debug& ar, const void* cFunction)
{
    std::string key = cFunction ? "C:" + std::to_string(reinterpret_cast<uintptr_t>(cFunction))
                                : std::string(ar.source) + ":" + std::to_string(ar.linedefined);
    auto it = Data().byKey.find(key);
    if (it != Data().byKey.end()) {
        // A first call that gave no name (a tail call) leaves a placeholder
        // that a named call replaces.
        FunctionStats& known = Data().functions[static_cast<size_t>(it->second)];
        if (ar.name && (known.name == "function" || known.name == "?"))
            known.name = ar.name;
        return it->second;
    }
    FunctionStats stats;
    stats.source = ar.short_src;
    stats.line = ar.linedefined;
    if (ar.what && std::strcmp(ar.what, "main") == 0)
        stats.name = "main chunk";
    else if (ar.name)
        stats.name = ar.name;
    else
        stats.name = cFunction ? "?" : "function";
    int index = static_cast<int>(Data().functions.size());
    Data().functions.push_back(std::move(stats));
    Data().byKey.emplace(std::move(key), index);
    return index;
}

void OnCall(lua_State* L, const lua_Debug& ar, const void* cFunction, double now) noexcept
{
    try {
        Profiler& p = Data();
        ThreadState& thread = p.threads[L];
        int function = FunctionIndex(ar, cFunction);
        int parent = thread.frames.empty() ? 0 : thread.frames.back().node;
        // A Lua function's lines count their own time; a C function's time
        // stays with the line that called it.
        LineStats* callerLine = nullptr;
        if (!cFunction) {
            thread.FlushLine(now);
            callerLine = std::exchange(thread.lastLine, nullptr);
        }
        // Deeper calls (deep recursion) share their ancestor's path, so no
        // folded stack grows beyond kMaxPathDepth frames.
        if (thread.frames.size() >= kMaxPathDepth) {
            thread.frames.push_back(Frame{function, parent, now, 0, !cFunction, callerLine});
            ++p.functions[static_cast<size_t>(function)].calls;
            ++p.functions[static_cast<size_t>(function)].active;
            return;
        }
        auto [child, added] = p.nodes[static_cast<size_t>(parent)].children.emplace(
            function, static_cast<int>(p.nodes.size()));
        if (added) {
            Node node;
            node.function = function;
            p.nodes.push_back(std::move(node));
        }
        int node = child->second;
        ++p.nodes[static_cast<size_t>(node)].calls;
        thread.frames.push_back(Frame{function, node, now, 0, !cFunction, callerLine});
        FunctionStats& stats = p.functions[static_cast<size_t>(function)];
        ++stats.calls;
        ++stats.active;
    } catch (const std::exception&) {
        Data().running = false;
    }
}

void OnReturn(lua_State* L, double now) noexcept
{
    Profiler& p = Data();
    auto it = p.threads.find(L);
    // A return with no call seen: the profiler started inside it.
    if (it == p.threads.end() || it->second.frames.empty())
        return;
    std::vector<Frame>& frames = it->second.frames;
    Frame frame = frames.back();
    frames.pop_back();
    if (frame.lua) {
        it->second.FlushLine(now);
        it->second.lastLine = frame.callerLine;
    }
    double elapsed = now - frame.start;
    double self = elapsed - frame.children;
    FunctionStats& stats = p.functions[static_cast<size_t>(frame.function)];
    stats.self += self;
    if (--stats.active == 0)
        stats.total += elapsed;
    p.nodes[static_cast<size_t>(frame.node)].self += self;
    if (!frames.empty())
        frames.back().children += elapsed;
}

void OnLine(lua_State* L, const char* source, int line, double now) noexcept
{
    try {
        Profiler& p = Data();
        ThreadState& thread = p.threads[L];
        thread.FlushLine(now);
        thread.lastLine = &p.lineStats[{source, line}];
        ++thread.lastLine->count;
    } catch (const std::exception&) {
        Data().running = false;
    }
}

// Holds nothing with a destructor: the Lua calls here do not allocate.
void ProfilerHook(lua_State* L, lua_Debug* ar)
{
    if (!Data().running) {
        // A coroutine made while profiling keeps the hook until here.
        lua_sethook(L, nullptr, 0, 0);
        return;
    }
    double now = Now();
    switch (ar->event) {
    case LUA_HOOKCALL: {
        if (!lua_getinfo(L, "Sn", ar))
            return;
        const void* cFunction = nullptr;
        if (ar->what && std::strcmp(ar->what, "C") == 0 && lua_getinfo(L, "f", ar)) {
            cFunction = lua_topointer(L, -1);
            lua_pop(L, 1);
        }
        OnCall(L, *ar, cFunction, now);
        break;
    }
    case LUA_HOOKRET:
    case LUA_HOOKTAILRET: OnReturn(L, now); break;
    case LUA_HOOKLINE:
        if (lua_getinfo(L, "S", ar) && ar->source)
            OnLine(L, ar->short_src, ar->currentline, now);
        break;
    default: break;
    }
}

// ---- the module's functions -------------------------------------------------

bool HookIsOurs(lua_State* L)
{
    return lua_gethook(L) == ProfilerHook;
}

// Running in this state: a state closed while profiling took the hooks
// with it.
bool RunningHere(lua_State* L)
{
    lua_State* main = KzKernel_CurrentLuaState();
    return Data().running && (HookIsOurs(L) || (main && HookIsOurs(main)));
}

void Hook(lua_State* L)
{
    lua_sethook(L, ProfilerHook, LUA_MASKCALL | LUA_MASKRET | (Data().lines ? LUA_MASKLINE : 0),
                0);
}

// start([byLine]): watches the calling thread and the main one. Returns
// false when it was running already.
int StartBody(lua_State* L)
{
    bool lines = lua_toboolean(L, 1) != 0;
    lua_State* main = KzKernel_CurrentLuaState();
    for (lua_State* thread : {L, main})
        if (thread && lua_gethook(thread) != nullptr && !HookIsOurs(thread))
            throw LuaError("CodeProfilerManager: another hook is installed (coverage, or "
                           "debug.sethook)");
    if (RunningHere(L)) {
        lua_pushboolean(L, false);
        return 1;
    }
    Data().running = true;
    Data().lines = lines;
    Data().threads.clear();
    for (FunctionStats& f : Data().functions)
        f.active = 0;
    Hook(L);
    if (main && main != L)
        Hook(main);
    lua_pushboolean(L, true);
    return 1;
}

int StopBody(lua_State* L)
{
    Data().running = false;
    if (HookIsOurs(L))
        lua_sethook(L, nullptr, 0, 0);
    if (lua_State* main = KzKernel_CurrentLuaState(); main && HookIsOurs(main))
        lua_sethook(main, nullptr, 0, 0);
    // Calls still open stay open: their time is not counted.
    for (auto& [thread, state] : Data().threads)
        for (const Frame& frame : state.frames)
            --Data().functions[static_cast<size_t>(frame.function)].active;
    Data().threads.clear();
    return 0;
}

int ResetBody(lua_State*)
{
    bool running = Data().running;
    Data().Reset();
    Data().running = running;
    return 0;
}

int IsRunningBody(lua_State* L)
{
    lua_pushboolean(L, RunningHere(L));
    return 1;
}

// Tables built inside PushFromProtectedCall from a copy the body owns.
void SetNumber(lua_State* L, const char* key, double value)
{
    lua_pushnumber(L, value);
    lua_setfield(L, -2, key);
}

void SetString(lua_State* L, const char* key, const std::string& value)
{
    lua_pushlstring(L, value.data(), value.size());
    lua_setfield(L, -2, key);
}

int PushFunctionRows(lua_State* L)
{
    const auto* rows = static_cast<const std::vector<FunctionStats>*>(lua_touserdata(L, 1));
    lua_createtable(L, static_cast<int>(rows->size()), 0);
    for (size_t i = 0; i < rows->size(); ++i) {
        const FunctionStats& row = (*rows)[i];
        lua_createtable(L, 0, 6);
        SetString(L, "name", row.name);
        SetString(L, "source", row.source);
        SetNumber(L, "line", row.line);
        SetNumber(L, "calls", static_cast<double>(row.calls));
        SetNumber(L, "totalTime", row.total);
        SetNumber(L, "selfTime", row.self);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    return 1;
}

std::vector<FunctionStats> SortedFunctions()
{
    std::vector<FunctionStats> rows = Data().functions;
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.self > b.self; });
    return rows;
}

// getReport(): one row per function called, most self time first:
// {name, source, line, calls, totalTime, selfTime}.
int GetReportBody(lua_State* L)
{
    std::vector<FunctionStats> rows = SortedFunctions();
    PushFromProtectedCall(L, PushFunctionRows, &rows);
    return 1;
}

struct LineRow {
    std::string source;
    int line;
    LineStats stats;
};

int PushLineRows(lua_State* L)
{
    const auto* rows = static_cast<const std::vector<LineRow>*>(lua_touserdata(L, 1));
    lua_createtable(L, static_cast<int>(rows->size()), 0);
    for (size_t i = 0; i < rows->size(); ++i) {
        const LineRow& row = (*rows)[i];
        lua_createtable(L, 0, 4);
        SetString(L, "source", row.source);
        SetNumber(L, "line", row.line);
        SetNumber(L, "count", static_cast<double>(row.stats.count));
        SetNumber(L, "time", row.stats.time);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    return 1;
}

// getLineReport(): one row per line run (when started with byLine), most
// time first: {source, line, count, time}; a line's time includes the C
// functions called from it, not the Lua functions (their lines have it).
int GetLineReportBody(lua_State* L)
{
    std::vector<LineRow> rows;
    for (const auto& [key, stats] : Data().lineStats)
        rows.push_back(LineRow{key.first, key.second, stats});
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.stats.time > b.stats.time; });
    PushFromProtectedCall(L, PushLineRows, &rows);
    return 1;
}

// A frame's name in a folded stack: "name (source:line)", with the
// characters the format gives meaning to replaced.
std::string FoldedName(const FunctionStats& f)
{
    std::string name = f.name + " (" + f.source + ":" + std::to_string(f.line) + ")";
    std::replace_if(name.begin(), name.end(),
                    [](char c) { return c == ';' || c == '\n' || c == '\r'; }, '_');
    return name;
}

void Fold(int node, const std::string& path, std::string& out)
{
    const Node& n = Data().nodes[static_cast<size_t>(node)];
    std::string here = path;
    if (n.function >= 0) {
        here += (path.empty() ? "" : ";") +
                FoldedName(Data().functions[static_cast<size_t>(n.function)]);
        long long micro = static_cast<long long>(n.self * 1e6 + 0.5);
        if (micro > 0)
            out += here + " " + std::to_string(micro) + "\n";
    }
    for (const auto& [function, child] : n.children)
        Fold(child, here, out);
}

// Self time in microseconds per path of calls, "a;b;c 1234" a line: the
// folded-stack text flame-graph tools read.
std::string FoldedStacks()
{
    std::string out;
    Fold(0, "", out);
    return out;
}

int GetFoldedStacksBody(lua_State* L)
{
    std::string text = FoldedStacks();
    PushLString(L, text);
    return 1;
}

// The call tree as nested tables, built from a copy of the profiler's
// nodes and functions (see GetCallTreeBody).
struct TreeCopy {
    std::vector<Node> nodes;
    std::vector<FunctionStats> functions;
};

double PushTreeNode(lua_State* L, const TreeCopy& tree, int index)
{
    luaL_checkstack(L, 4, "CodeProfilerManager: the call tree is too deep");
    const Node& node = tree.nodes[static_cast<size_t>(index)];
    lua_createtable(L, 0, 7);
    if (node.function >= 0) {
        const FunctionStats& f = tree.functions[static_cast<size_t>(node.function)];
        SetString(L, "name", f.name);
        SetString(L, "source", f.source);
        SetNumber(L, "line", f.line);
    }
    SetNumber(L, "calls", static_cast<double>(node.calls));
    SetNumber(L, "selfTime", node.self);
    lua_createtable(L, static_cast<int>(node.children.size()), 0);
    double total = node.self;
    int position = 0;
    for (const auto& [function, child] : node.children) {
        total += PushTreeNode(L, tree, child);
        lua_rawseti(L, -2, ++position);
    }
    lua_setfield(L, -2, "children");
    SetNumber(L, "totalTime", total);
    return total;
}

int PushCallTree(lua_State* L)
{
    PushTreeNode(L, *static_cast<const TreeCopy*>(lua_touserdata(L, 1)), 0);
    return 1;
}

// getCallTree(): the root {calls = 0, selfTime = 0, totalTime, children},
// each child {name, source, line, calls, selfTime, totalTime, children}
// for one path of calls.
int GetCallTreeBody(lua_State* L)
{
    TreeCopy tree{Data().nodes, Data().functions};
    PushFromProtectedCall(L, PushCallTree, &tree);
    return 1;
}

// getSummary([limit]): the report as text, the `limit` (default 20)
// functions with the most self time.
int GetSummaryBody(lua_State* L)
{
    lua_Integer limit = OptInteger(L, 1, 20);
    std::vector<FunctionStats> rows = SortedFunctions();
    std::string text = "   calls   total ms    self ms  function\n";
    char line[96];
    for (size_t i = 0; i < rows.size() && static_cast<lua_Integer>(i) < limit; ++i) {
        std::snprintf(line, sizeof line, "%8lld %10.3f %10.3f  ", rows[i].calls,
                      rows[i].total * 1e3, rows[i].self * 1e3);
        text += line + FoldedName(rows[i]) + "\n";
    }
    PushLString(L, text);
    return 1;
}

const luaL_Reg kFunctions[] = {
    {"start", LuaBoundary<StartBody>},
    {"stop", LuaBoundary<StopBody>},
    {"reset", LuaBoundary<ResetBody>},
    {"isRunning", LuaBoundary<IsRunningBody>},
    {"getReport", LuaBoundary<GetReportBody>},
    {"getLineReport", LuaBoundary<GetLineReportBody>},
    {"getFoldedStacks", LuaBoundary<GetFoldedStacksBody>},
    {"getCallTree", LuaBoundary<GetCallTreeBody>},
    {"getSummary", LuaBoundary<GetSummaryBody>},
    {nullptr, nullptr},
};

int OpenBody(lua_State* L)
{
    return RegisterModule(L, kFunctions);
}

} // namespace

} // namespace vyrlua::utility

extern "C" int luaopen_vyrlua_CodeProfilerManager(lua_State* L)
{
    return vyrlua::utility::LuaBoundary<vyrlua::utility::OpenBody>(L);
}
