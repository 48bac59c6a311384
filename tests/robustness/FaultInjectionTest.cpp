// Fault injection: the state's allocator fails the k-th growing allocation,
// for every k of a scenario (up to a cap), and host operations throw on
// their k-th call. Whatever fails, the process survives, the error mentions
// memory (or carries the host's text), registry references return to where
// they were, and the same scenario succeeds when run again without the
// fault.
#include "support/ApiExerciser.h"
#include "support/HostActions.h"
#include "support/LuaFixture.h"

#include "app/HostRuntime.h"
#include "vyrcore/config.h"
#include "vyrcore/string.h"
#include "vyrlua/ui/LuaWrapperMethods.h"
#include "vyrlua/utility/LuaReference.h"
#include "vyrui/EventLoop.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VYRTEST_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VYRTEST_ASAN 1
#endif
#ifdef VYRTEST_ASAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using vyrtest::ApiExerciser;
using vyrtest::SharedInventory;

// Counts growing allocations (new blocks and blocks that grow) once armed,
// and fails exactly the k-th. Shrinking and freeing never fail: Lua 5.1
// relies on that.
struct CountingAllocator {
    bool armed = false;
    size_t growing = 0;
    size_t failAt = 0;  // 0: never
    size_t failures = 0;

    void Arm(size_t k)
    {
        armed = true;
        growing = 0;
        failAt = k;
    }
    void Disarm() { armed = false; }

    static void* Alloc(void* data, void* block, size_t oldSize, size_t newSize)
    {
        auto* self = static_cast<CountingAllocator*>(data);
        if (newSize == 0) {
            std::free(block);
            return nullptr;
        }
        if (self->armed && newSize > oldSize && ++self->growing == self->failAt) {
            ++self->failures;
            return nullptr;
        }
        return std::realloc(block, newSize);
    }
};

// Live registry references: integer keys holding anything but the numbers
// of luaL_ref's free list.
int LiveReferences(lua_State* L)
{
    lua_gc(L, LUA_GCCOLLECT, 0);
    int live = 0;
    lua_pushnil(L);
    while (lua_next(L, LUA_REGISTRYINDEX) != 0) {
        if (lua_type(L, -2) == LUA_TNUMBER && lua_type(L, -1) != LUA_TNUMBER)
            ++live;
        lua_pop(L, 1);
    }
    return live;
}

bool MentionsMemory(const std::string& text)
{
    return text.find("memory") != std::string::npos ||
           text.find("bad_alloc") != std::string::npos;
}

// Leaks found since the last check, reported by LeakSanitizer (ASan builds).
bool LeaksSinceLastCheck()
{
#ifdef VYRTEST_ASAN
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

// Runs `body` in a child process, a copy of this one with its Lua state, and
// returns the failures it lists. The child ends with a leak check, so what
// LeakSanitizer finds there belongs to `body` alone.
std::vector<std::string> InChild(const std::function<std::vector<std::string>()>& body,
                                 bool checkLeaks = true)
{
    std::fflush(nullptr);
    int fds[2];
    if (pipe(fds) != 0)
        return {"cannot make a pipe"};
    const pid_t pid = fork();
    if (pid < 0)
        return {"cannot fork"};
    if (pid == 0) {
        close(fds[0]);
        std::vector<std::string> failures = body();
        if (checkLeaks && LeaksSinceLastCheck())
            failures.push_back("memory leaked (see LeakSanitizer's report above)");
        std::string text;
        for (const std::string& f : failures)
            text += f + '\n';
        for (size_t done = 0; done < text.size();) {
            ssize_t n = write(fds[1], text.data() + done, text.size() - done);
            if (n <= 0)
                break;
            done += static_cast<size_t>(n);
        }
        std::fflush(nullptr);
        _exit(0);
    }
    close(fds[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    std::vector<std::string> failures;
    for (size_t at = 0; at < text.size();) {
        size_t end = text.find('\n', at);
        failures.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        failures.push_back(WIFSIGNALED(status)
                               ? "died of signal " + std::to_string(WTERMSIG(status))
                               : "exited with status " + std::to_string(WEXITSTATUS(status)));
    return failures;
}

class AllocationFailure : public ::testing::Test {
protected:
    void SetUp() override
    {
        SharedInventory();
        vyrcore::config::SetErrorSink([this](const std::string& m) { reports.push_back(m); });
    }
    void TearDown() override { vyrcore::config::SetErrorSink(nullptr); }

    // A runtime on the counting allocator, or null when this Lua refuses one.
    std::unique_ptr<vyrhost::HostRuntime> MakeRuntime()
    {
        vyrhost::HostOptions options;
        options.allocator = CountingAllocator::Alloc;
        options.allocatorData = &allocator;
        try {
            return std::make_unique<vyrhost::HostRuntime>(options);
        } catch (const std::exception&) {
            return nullptr;
        }
    }

    CountingAllocator allocator;
    std::vector<std::string> reports;
};

// Why a test skips where MakeRuntime gives nothing.
constexpr const char* kNoCustomAllocator =
    "this Lua refuses lua_newstate with a custom allocator (64-bit LuaJIT); allocation failure "
    "is tested under PUC Lua";

constexpr size_t kStartupCap = 4000;
constexpr size_t kPerCallCap = 400;
constexpr size_t kScenarioCap = 6000;

// The host's whole start-up with the k-th allocation failing: it either
// completes or throws, and the kernel is free for the next state.
TEST_F(AllocationFailure, StartupFailsCleanlyAtEveryAllocation)
{
    if (!MakeRuntime())
        GTEST_SKIP() << kNoCustomAllocator;
    // Lua 5.1's own io library, run out of memory while it wraps stdin and
    // stdout, leaves them with the closing finaliser, and the collector then
    // closes the process's standard streams. So the failures start after the
    // kernel has opened the standard libraries.
    allocator.Arm(0);
    lua_State* bare = KzKernel_NewLuaStateWithAllocator(CountingAllocator::Alloc, &allocator);
    ASSERT_NE(bare, nullptr);
    const size_t kernelAllocations = allocator.growing;
    allocator.Disarm();
    KzKernel_CloseLuaState(bare);

    size_t tried = 0, failedStartups = 0;
    std::vector<std::string> failures = InChild([&] {
        std::vector<std::string> found;
        size_t k = kernelAllocations + 1;
        for (; k <= kStartupCap; ++k) {
            allocator.Arm(k);
            std::unique_ptr<vyrhost::HostRuntime> runtime;
            std::string error;
            try {
                runtime = std::make_unique<vyrhost::HostRuntime>(vyrhost::HostOptions{
                    VYRLUA_DEFAULT_RESOURCES, true, CountingAllocator::Alloc, &allocator});
            } catch (const std::exception& e) {
                error = e.what();
            }
            const bool injected = allocator.growing >= k;
            allocator.Disarm();
            if (!injected)
                break;  // start-up needs fewer than k allocations: all were tried
            ++tried;
            // InitEmbeddedCodeLoader calls whatever its compile left, by
            // design: a compile that ran out of memory reads as calling a string.
            if (!runtime && !MentionsMemory(error) && error != "cannot create the Lua state" &&
                error != "attempt to call a string value")
                found.push_back("allocation " + std::to_string(k) + ": " + error);
            failedStartups += runtime == nullptr;
            if (runtime && lua_gettop(runtime->State()) != 0)
                found.push_back("allocation " + std::to_string(k) + ": stack left non-empty");
        }
        if (k > kStartupCap)
            found.push_back("start-up needs more allocations than the cap");
        std::printf("start-up: %zu allocation failure points tried (after the kernel's %zu), "
                    "%zu start-ups failed\n",
                    tried, kernelAllocations, failedStartups);
        return found;
    });
    for (const std::string& f : failures)
        ADD_FAILURE() << f;
    EXPECT_NE(MakeRuntime(), nullptr) << "a state can be made again afterwards";
}

// Every registered function whose valid call the sweep finds, with each of
// its growing allocations failing in turn. Each function's failures run in a
// child process, so a leak is pinned on the function that caused it. The
// functions are dealt round shards that ctest runs side by side: visiting
// every failure point of every function is minutes of work under the
// sanitizers, too long for one test.
constexpr int kAllocationShards = 16;

class AllocationFailureShard : public AllocationFailure,
                               public ::testing::WithParamInterface<int> {};

TEST_P(AllocationFailureShard, EveryValidCallFailsCleanlyAtEveryAllocation)
{
    const int shard = GetParam();
    auto runtime = MakeRuntime();
    if (!runtime)
        GTEST_SKIP() << kNoCustomAllocator;
    ApiExerciser exerciser(runtime->State(), SharedInventory());
    exerciser.DiscoverInstances();
    lua_State* L = runtime->State();
    // A child's leak check also reports what leaked before it was made, so
    // leaks are pinned on functions only while the parent has none.
    const bool checkLeaks = !LeaksSinceLastCheck();
    EXPECT_TRUE(checkLeaks) << "memory leaked by plain calls, before any allocation failed";

    size_t points = 0, callables = 0, failing = 0;
    const auto& all = SharedInventory().callables;
    for (size_t i = shard; i < all.size(); i += kAllocationShards) {
        int arity = -1;
        for (int n = 1; n <= 4 && arity < 0; ++n)
            if (exerciser.BaselineSucceeds(i, n))
                arity = n;
        if (arity < 0 && exerciser.BaselineSucceeds(i, 0))
            arity = 0;
        if (arity < 0)
            continue;
        ++callables;

        // What one unlimited call may keep referenced (a timer it installs...).
        int before = LiveReferences(L);
        std::vector<size_t> args = exerciser.Baseline(i, arity, true);
        EXPECT_TRUE(exerciser.Call(i, args).ok) << exerciser.Describe(i, args);
        const int allowance = std::max(0, LiveReferences(L) - before);

        // The count of points tried comes back through the child's output.
        std::vector<std::string> failures = InChild([&] {
            std::vector<std::string> found;
            size_t k = 1;
            for (; k <= kPerCallCap; ++k) {
                std::vector<size_t> a = exerciser.Baseline(i, arity, true);
                const int refs = LiveReferences(L);
                exerciser.SetCallObserver([&, k](bool entering) {
                    if (entering)
                        allocator.Arm(k);
                    else
                        allocator.Disarm();
                });
                vyrtest::CallOutcome outcome = exerciser.Call(i, a);
                exerciser.SetCallObserver(nullptr);
                if (allocator.growing < k)
                    break;
                const std::string what =
                    exerciser.Describe(i, a) + " with allocation " + std::to_string(k) + " failing: ";
                if (!outcome.fault.empty())
                    found.push_back(what + outcome.fault);
                else if (!outcome.ok && !MentionsMemory(outcome.error))
                    found.push_back(what + "the error does not mention memory: " + outcome.error);
                if (LiveReferences(L) - refs > allowance)
                    found.push_back(what + "registry references were not released");
            }
            std::vector<size_t> a = exerciser.Baseline(i, arity, true);
            if (!exerciser.Call(i, a).ok)
                found.push_back(exerciser.Describe(i, a) + " fails after the allocation failures");
            found.push_back("#points " + std::to_string(k - 1));
            return found;
        }, checkLeaks);
        bool failed = false;
        for (const std::string& f : failures) {
            if (f.rfind("#points ", 0) == 0) {
                points += std::stoul(f.substr(8));
                continue;
            }
            failed = true;
            ADD_FAILURE() << all[i].label << ": " << f;
        }
        failing += failed;
    }
    std::printf("allocation failure, shard %d/%d: %zu callables, %zu failure points tried, "
                "%zu failing\n",
                shard + 1, kAllocationShards, callables, points, failing);
}

INSTANTIATE_TEST_SUITE_P(Shards, AllocationFailureShard, ::testing::Range(0, kAllocationShards));

// A script as a person writes one (a window, a node with a handler and a
// timer, text work, an offscreen surface), then the host firing its timers,
// dispatching clicks and rendering, with each growing allocation of all that
// failing in turn, handlers included. Errors in the script mention memory;
// errors in handlers reach the host's error service and mention memory too;
// the state is checked and closed after each run.
TEST_F(AllocationFailure, AScriptAndItsCallbacksFailCleanlyAtEveryAllocation)
{
    if (!MakeRuntime())
        GTEST_SKIP() << kNoCustomAllocator;
    static constexpr char kScript[] = R"(
        require 'vyrlua.vyrcontrols'
        local function rect(l, t, w, h) return vyrlua_CreateNewRectF32(l, t, w, h) end
        window = vyrcontrols.NewWindow()
        window:UI_SetLocalRectF(rect(0, 0, 100, 50))
        local node = vyrcontrols.NewNode()
        node:UI_SetLocalRectF(rect(10, 10, 20, 20))
        window:ChildPushBack(node)
        node:BindVyrOperation('OnDoMouseEvent', function(e, self)
          local words = {}
          for i = 1, 8 do words[i] = vyrString.ToUpper('click ' .. i) end
          return #words > 0
        end)
        node:UI_InstallTimer(0.1, function()
          ticks = (ticks or 0) + 1
          local s = vyrString.ReplaceB('tick tock ' .. ticks, 't', 'T')
        end)
        local parts = {}
        for i = 1, 8 do parts[i] = vyrString.Trim('  part ' .. i .. '  ') end
        local key, value = vyrString.MatchB('key=value', '([a-z]+)=([a-z]+)')
        local supplier = node:UI_GetDrawSupplier()
        if supplier then surface = supplier:CreateOffscreenSurface(8, 8, true) end
        return table.concat(parts, ',') .. key .. value)";

    size_t tried = 0, scriptFailures = 0, handlerFailures = 0;
    std::vector<std::string> failures = InChild([&] {
        std::vector<std::string> found;
        size_t k = 1;
        for (; k <= kScenarioCap; ++k) {
            auto runtime = MakeRuntime();
            if (!runtime)
                return std::vector<std::string>{"no state for allocation " + std::to_string(k)};
            lua_State* L = runtime->State();
            reports.clear();
            allocator.Arm(k);
            std::string error;
            if (luaL_loadbuffer(L, kScript, sizeof kScript - 1, "=script") != 0 ||
                lua_pcall(L, 0, 0, 0) != 0)
                error = lua_isstring(L, -1) ? lua_tostring(L, -1) : "(not a string)";
            lua_settop(L, 0);
            for (const vyrtest::HostAction& action : vyrtest::HostActions())
                action.run(runtime->Application(), 3);
            runtime->Application().GetEventLoop().RunFor(0.5);
            const bool injected = allocator.growing >= k;
            allocator.Disarm();
            const std::string at = "allocation " + std::to_string(k) + ": ";
            if (!error.empty()) {
                ++scriptFailures;
                if (!MentionsMemory(error))
                    found.push_back(at + "the script failed with " + error);
            }
            for (const std::string& report : reports) {
                ++handlerFailures;
                if (!MentionsMemory(report))
                    found.push_back(at + "a handler failed with " + report);
            }
            if (lua_gettop(L) != 0)
                found.push_back(at + "the stack was left with values");
            if (luaL_dostring(L, "return pcall(error, 'x')") != 0)
                found.push_back(at + "the state no longer runs");
            runtime.reset();
            if (!injected)
                break;
            ++tried;
        }
        if (k > kScenarioCap)
            found.push_back("the scenario needs more allocations than the cap");
        std::printf("script and call-backs: %zu allocation failure points tried, %zu script "
                    "errors, %zu handler errors reported\n",
                    tried, scriptFailures, handlerFailures);
        return found;
    });
    for (const std::string& f : failures)
        ADD_FAILURE() << f;
}

// ---------------------------------------------------------------------------
// A host operation that throws on its k-th call: the resource store behind
// the embedded-code loader.

class ThrowingResources : public vyrtest::TestResources {
public:
    using TestResources::TestResources;
    mutable size_t calls = 0;
    size_t throwAt = 0;

    bool ResourceExists(std::u16string_view name, std::u16string_view type) const override
    {
        Tick();
        return TestResources::ResourceExists(name, type);
    }
    bool ReadResource(std::u16string_view name, std::u16string_view type,
                      std::string& bytes) const override
    {
        Tick();
        return TestResources::ReadResource(name, type, bytes);
    }

private:
    void Tick() const
    {
        if (++calls == throwAt)
            throw vyrcore::config::HostException("resource store failed");
    }
};

class HostFailure : public vyrtest::LuaTest {};

// Requires a resource-held module, directly and from a callback the host
// makes, with the store throwing on each of its calls in turn.
TEST_F(HostFailure, ThrowingResourceStoreGivesErrorsNotCrashes)
{
    auto owned = std::make_unique<ThrowingResources>(vyrhost::HostOptions{}.resourceDir);
    ThrowingResources* store = owned.get();
    store->Add("faulty_module", "lua", "return { answer = 42 }");
    Runtime().Application().SetResourceManager(std::move(owned));

    lua_State* S = L();
    for (size_t k = 1; k <= 8; ++k) {
        store->calls = 0;
        store->throwAt = k;
        // Direct.
        std::string error = Error("package.loaded.faulty_module = nil\n"
                                  "local m = require 'faulty_module'\n"
                                  "if m.answer == 42 then error('no fault', 0) end");
        EXPECT_TRUE(error == "no fault" || error.find("resource store failed") != std::string::npos)
            << "call " << k << ": " << error;

        // Inside a callback, reported through the host's error service.
        store->calls = 0;
        Run("package.loaded.faulty_module = nil");
        reportedErrors.clear();
        ASSERT_EQ(luaL_loadstring(S, "return require('faulty_module').answer"), 0);
        auto callback = vyrlua::utility::LuaFunctionReference::Create(S);
        int answer = 0;
        bool called = vyrlua::utility::CallLuaReference(
            callback, 1, vyrlua::utility::NoArguments,
            [&](lua_State* L) { answer = static_cast<int>(lua_tointeger(L, -1)); },
            vyrlua::utility::OnLuaError::Report);
        if (called) {
            EXPECT_EQ(answer, 42);
        } else {
            ASSERT_EQ(reportedErrors.size(), 1u) << "call " << k;
            EXPECT_NE(reportedErrors[0].find("resource store failed"), std::string::npos)
                << reportedErrors[0];
        }
        callback.reset();
        EXPECT_EQ(lua_gettop(S), 0);
    }
    // And without the fault, the module loads.
    store->throwAt = 0;
    EXPECT_EQ(Eval("package.loaded.faulty_module = nil return require('faulty_module').answer"),
              "42");
}

} // namespace

// Strings the sweep pushes are interned by earlier calls, so pushing them
// allocates nothing. A node ID the state has never seen must be allocated
// when a method pushes it; with that allocation failing, the method must not
// skip the release of anything it holds (a node it kept a use count on).
TEST_F(AllocationFailure, PushingAFreshStringHoldsNothing)
{
    auto runtime = MakeRuntime();
    if (!runtime)
        GTEST_SKIP() << kNoCustomAllocator;
    lua_State* L = runtime->State();
    ASSERT_EQ(luaL_dostring(L, "require 'vyrlua.vyrcontrols' node = vyrcontrols.NewNode()"), 0);
    lua_getglobal(L, "node");
    vyrui::ui::UI_Node* node = vyrlua::ui::NodeAt(L, -1);
    lua_pop(L, 1);
    ASSERT_NE(node, nullptr);
    const int held = node->GetUseCount();

    static constexpr const char* kCalls[] = {
        "return node:UI_GetNodeID()",
        "return tostring(node)",
        "return node:BindVyrOperation(fresh, function() end)",
    };
    int failed = 0;
    for (const char* call : kCalls) {
        for (size_t k = 1; k <= 50; ++k) {
            // A text the state has not interned: an ID, or an operation name.
            const std::string fresh = "fresh operation " + std::to_string(k) + " for " + call;
            node->UI_SetNodeID("fresh ID " + std::to_string(k) + " for " + call);
            ASSERT_EQ(luaL_loadstring(L, call), 0);
            allocator.Arm(0);
            lua_pushlstring(L, fresh.data(), fresh.size());
            lua_setglobal(L, "fresh");
            allocator.Arm(k);
            const bool ok = lua_pcall(L, 0, LUA_MULTRET, 0) == 0;
            const bool injected = allocator.growing >= k;
            allocator.Disarm();
            failed += !ok;
            if (!ok) {
                EXPECT_TRUE(MentionsMemory(lua_tostring(L, -1))) << call << ": " << lua_tostring(L, -1);
            }
            lua_settop(L, 0);
            EXPECT_EQ(node->GetUseCount(), held) << call << " with allocation " << k << " failing";
            if (!injected)
                break;
        }
    }
    EXPECT_GT(failed, 0) << "no call ran out of memory: the test tests nothing";
}

// The host calls a handler from outside any Lua call, as an event loop
// does: running out of memory while the arguments are pushed (an event
// object, a node wrapper, a fresh string) must be reported, never reach
// Lua's panic or skip the caller's frames.
TEST_F(AllocationFailure, HostCallsWithFailingArgumentPushesAreReported)
{
    if (!MakeRuntime())
        GTEST_SKIP() << KzKernel_LuaName()
                     << " refuses lua_newstate with a custom allocator (64-bit LuaJIT); "
                        "allocation failure is tested under PUC Lua";
    size_t reported = 0;
    std::vector<std::string> failures = InChild([&] {
        std::vector<std::string> found;
        auto runtime = MakeRuntime();
        lua_State* L = runtime->State();
        if (luaL_dostring(L, R"(
                require 'vyrlua.vyrcontrols'
                node = vyrcontrols.NewNode('fresh node name')
                node:BindVyrOperation('OnDoMouseEvent', function(e, self) return self ~= nil end)
                node:BindVyrOperation('OnDoKeyboardEvent', function(e, self) return true end))") != 0)
            return std::vector<std::string>{lua_tostring(L, -1)};
        lua_getglobal(L, "node");
        vyrui::ui::UI_Node::Ptr node(vyrlua::ui::NodeAt(L, -1));
        lua_settop(L, 0);
        const int held = node->GetUseCount();
        for (size_t k = 1; k <= kPerCallCap; ++k) {
            lua_gc(L, LUA_GCCOLLECT, 0);
            reports.clear();
            allocator.Arm(k);
            vyrui::events::MouseEvent mouse;
            node->UI_DoMouseEvent(mouse);
            vyrui::events::KeyboardEvent key;
            key.text = "typed text not interned yet";
            node->UI_DoKeyboardEvent(key);
            const bool injected = allocator.growing >= k;
            allocator.Disarm();
            for (const std::string& report : reports) {
                ++reported;
                if (!MentionsMemory(report))
                    found.push_back("allocation " + std::to_string(k) + ": reported " + report);
            }
            if (lua_gettop(L) != 0)
                found.push_back("allocation " + std::to_string(k) + ": the stack was left with values");
            if (!injected)
                break;
        }
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (node->GetUseCount() != held)
            found.push_back("the node's use count changed");
        if (reported == 0)
            found.push_back("no push ran out of memory: the test tests nothing");
        return found;
    });
    for (const std::string& f : failures)
        ADD_FAILURE() << f;
}
