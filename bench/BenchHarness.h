// What every benchmark program shares: cases that each do one operation n
// times, run either under Google Benchmark (time per operation) or, when the
// program runs under callgrind, once with a fixed count between two
// collection toggles (instructions per operation, repeatable on a busy
// machine). Operations come in pairs: the library's way and a raw Lua C API
// baseline doing the same work, so results read as ratios.
#pragma once

#include "app/HostRuntime.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vyrbench {

// Stops and restarts the measurement inside a run, for set-up work that
// must happen between operations (a fresh state for each start-up).
class Meter {
public:
    virtual ~Meter() = default;
    virtual void Pause() = 0;
    virtual void Resume() = 0;
};

// One prepared operation: Run(n) does it n times.
class Scenario {
public:
    virtual ~Scenario() = default;
    virtual void Run(std::int64_t n, Meter& meter) = 0;
    // Called before a measured stretch: lets garbage from warming up go, so
    // each stretch starts from the same collector state.
    virtual void Settle() {}
    // Figures that are not times (bytes, counts), reported as counters.
    virtual std::map<std::string, double> Figures() { return {}; }
};

using ScenarioMaker = std::function<std::unique_ptr<Scenario>()>;

struct Case {
    std::string name;          // "method_trivial/library", "method_trivial/raw"
    std::int64_t batch;        // operations per benchmark iteration
    std::int64_t countedOps;   // operations in the instruction-counted stretch
    ScenarioMaker make;
};

// Registers a case; call from a static initialiser (VYRBENCH_CASES).
void AddCase(Case c);

// The benchmark program's main: Google Benchmark normally; the fixed-count
// instruction run when started under valgrind.
int Main(int argc, char** argv);

// ---------------------------------------------------------------------------
// Lua helpers for scenarios.

// Moves the registry's integer keys (luaL_ref references) into its array
// part. Where a reference lands depends on what was inserted before it and
// when the table last grew, so without this one side of a pair can pay for
// a hash-chain walk the other side is spared, which is the table's layout
// and not either side's work.
void CompactRegistry(lua_State* L);

// The host with a fresh state and the modules the UI needs required.
std::unique_ptr<vyrhost::HostRuntime> NewHost();

// Runs `code` (which must not fail) with the values on top of the stack as
// its arguments, popping them, and pushes its single result.
void RunChunk(lua_State* L, const char* code, int nargs);

// Compiles `code` with the `nargs` values on top of the stack as its
// arguments (popped); the chunk returns a function taking a count n. Keeps
// that function in the registry and returns its reference.
int MakeLoop(lua_State* L, const char* code, int nargs);
// Calls the loop function `ref` with n; a Lua error aborts the program (a
// benchmark that fails measures nothing).
void RunLoop(lua_State* L, int ref, std::int64_t n);

// Prints the message on top of the stack and aborts.
[[noreturn]] void Fail(lua_State* L, const char* what);

} // namespace vyrbench

#define VYRBENCH_CONCAT2(a, b) a##b
#define VYRBENCH_CONCAT(a, b) VYRBENCH_CONCAT2(a, b)
// VYRBENCH_CASES { AddCase(...); ... } registers cases at start-up.
#define VYRBENCH_CASES                                                                   \
    static void VYRBENCH_CONCAT(RegisterCases_, __LINE__)();                             \
    static const bool VYRBENCH_CONCAT(registered_, __LINE__) =                           \
        (VYRBENCH_CONCAT(RegisterCases_, __LINE__)(), true);                             \
    static void VYRBENCH_CONCAT(RegisterCases_, __LINE__)()
