#include "BenchHarness.h"

#include "vyrlua/utility/LuaModules.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define VYRBENCH_HAVE_CALLGRIND 1
#else
#define VYRBENCH_HAVE_CALLGRIND 0
#endif

namespace vyrbench {

namespace {

std::vector<Case>& Cases()
{
    static std::vector<Case> cases;
    return cases;
}

class TimerMeter : public Meter {
public:
    explicit TimerMeter(benchmark::State& state) : mState(state) {}
    void Pause() override { mState.PauseTiming(); }
    void Resume() override { mState.ResumeTiming(); }

private:
    benchmark::State& mState;
};

class NullMeter : public Meter {
public:
    void Pause() override {}
    void Resume() override {}
};

void RunTimed(benchmark::State& state, const Case& c)
{
    std::unique_ptr<Scenario> scenario = c.make();
    // Warm: first-call costs (metatable creation, JIT traces, caches) are
    // not what is being measured.
    NullMeter warming;
    scenario->Run(std::min<std::int64_t>(c.batch, 256), warming);
    scenario->Settle();
    TimerMeter meter(state);
    for (auto _ : state)
        scenario->Run(c.batch, meter);
    state.counters["ops"] = static_cast<double>(c.batch);
    for (const auto& [name, value] : scenario->Figures())
        state.counters[name] = value;
}

#if VYRBENCH_HAVE_CALLGRIND
// Collection is on only between Start and Stop, and not while paused.
class CallgrindMeter : public Meter {
public:
    void Start()
    {
        mArmed = true;
        Resume();
    }
    void Stop()
    {
        Pause();
        mArmed = false;
    }
    void Pause() override
    {
        if (mOn) {
            CALLGRIND_TOGGLE_COLLECT;
            mOn = false;
        }
    }
    void Resume() override
    {
        if (mArmed && !mOn) {
            CALLGRIND_TOGGLE_COLLECT;
            mOn = true;
        }
    }

private:
    bool mArmed = false;
    bool mOn = false;
};

// Under callgrind (started with --collect-atstart=no): each case runs its
// fixed count with collection on, then dumps a part named after the case.
// scripts/bench.sh divides each part's instruction total by the count
// printed here.
int RunCounted(int argc, char** argv)
{
    std::string filter = ".*";
    for (int i = 1; i < argc; ++i) {
        const char* prefix = "--benchmark_filter=";
        if (std::strncmp(argv[i], prefix, std::strlen(prefix)) == 0)
            filter = argv[i] + std::strlen(prefix);
    }
    std::regex selected(filter);
    for (const Case& c : Cases()) {
        if (!std::regex_search(c.name, selected) || c.countedOps <= 0)
            continue;
        std::unique_ptr<Scenario> scenario = c.make();
        CallgrindMeter meter;
        scenario->Run(std::min<std::int64_t>(c.countedOps, 256), meter);
        scenario->Settle();
        CALLGRIND_ZERO_STATS;
        meter.Start();
        scenario->Run(c.countedOps, meter);
        meter.Stop();
        CALLGRIND_DUMP_STATS_AT(c.name.c_str());
        std::printf("counted %s %lld\n", c.name.c_str(), static_cast<long long>(c.countedOps));
        std::fflush(stdout);
    }
    return 0;
}
#endif

} // namespace

void AddCase(Case c)
{
    Cases().push_back(std::move(c));
}

int Main(int argc, char** argv)
{
#if VYRBENCH_HAVE_CALLGRIND
    if (RUNNING_ON_VALGRIND)
        return RunCounted(argc, argv);
#endif
    for (const Case& c : Cases()) {
        benchmark::RegisterBenchmark(c.name.c_str(),
                                     [c](benchmark::State& state) { RunTimed(state, c); })
            ->Unit(benchmark::kNanosecond);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

std::unique_ptr<vyrhost::HostRuntime> NewHost()
{
    auto host = std::make_unique<vyrhost::HostRuntime>();
    lua_State* L = host->State();
    for (const char* module : {"vyrlua.vyrcontrols", "vyrlua.drawbot.vyrDrawbot",
                               "vyrlua.drawbot.vyrSurfaceInterface"})
        vyrlua::RequireLuaModule(L, module, false);
    lua_settop(L, 0);
    return host;
}

void CompactRegistry(lua_State* L)
{
    // Growing the table past its hash part makes Lua re-lay it out, with
    // every dense run of integer keys in the array part; the temporary keys
    // are removed again afterwards.
    int entries = 0;
    lua_pushnil(L);
    while (lua_next(L, LUA_REGISTRYINDEX) != 0) {
        lua_pop(L, 1);
        ++entries;
    }
    // Negative numbers: keys no reference uses, and never array keys.
    int added = 2 * entries + 8;
    for (int i = 1; i <= added; ++i) {
        lua_pushinteger(L, -i);
        lua_pushboolean(L, 1);
        lua_rawset(L, LUA_REGISTRYINDEX);
    }
    for (int i = 1; i <= added; ++i) {
        lua_pushinteger(L, -i);
        lua_pushnil(L);
        lua_rawset(L, LUA_REGISTRYINDEX);
    }
}

void Fail(lua_State* L, const char* what)
{
    const char* message = lua_tostring(L, -1);
    std::fprintf(stderr, "benchmark failed: %s: %s\n", what, message ? message : "(no message)");
    std::abort();
}

void RunChunk(lua_State* L, const char* code, int nargs)
{
    if (luaL_loadstring(L, code) != 0)
        Fail(L, "compiling a chunk");
    lua_insert(L, -(nargs + 1));
    if (lua_pcall(L, nargs, 1, 0) != 0)
        Fail(L, "running a chunk");
}

int MakeLoop(lua_State* L, const char* code, int nargs)
{
    RunChunk(L, code, nargs);
    if (!lua_isfunction(L, -1))
        Fail(L, "a loop chunk must return a function");
    return luaL_ref(L, LUA_REGISTRYINDEX);
}

void RunLoop(lua_State* L, int ref, std::int64_t n)
{
    lua_rawgeti(L, LUA_REGISTRYINDEX, ref);
    lua_pushnumber(L, static_cast<lua_Number>(n));
    if (lua_pcall(L, 1, 0, 0) != 0)
        Fail(L, "running a loop");
}

} // namespace vyrbench
