// The API sweep: every function and method the library registers, called
// with 0 to 4 arguments, each position in turn given every adversarial value
// while the other positions hold values that were found to be valid. Every
// call is checked by ApiExerciser (balanced stack, string errors, a working
// state afterwards); under the sanitizers a memory or UB fault aborts.
// Every valid call is also made from a coroutine and under garbage whose
// finalizers release its receiver or raise.
//
// The work is split into shards run as separate tests, so ctest can run them
// side by side; the count is fixed so the test list is stable.
#include "support/ApiExerciser.h"

#include "support/HostActions.h"

#include "app/HostRuntime.h"
#include "vyrui/events/UIEvents.h"
#include "vyrui/ui/UI_Node.h"
#include "vyrcore/config.h"

#include <gtest/gtest.h>

#include <set>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

using vyrtest::ApiExerciser;
using vyrtest::Inventory;

constexpr int kShards = 16;
// Faults are listed in full up to this many; the rest are counted.
constexpr size_t kFaultsShown = 40;

// A number that reaches an integer or size parameter is taken exactly or
// refused; it never wraps. Where a valid call takes a whole number b at some
// position and b + 1 gives a different result (the position matters), b and
// b + 1 shifted by 2^32 (either way) or 2^33 must not give the same two
// results back. Returns the number of positions checked.
size_t CheckNothingWraps(ApiExerciser& exerciser, int shard, std::vector<std::string>& faults)
{
    size_t checked = 0;
    const auto& callables = exerciser.Library().callables;
    for (size_t i = 0; i < callables.size(); ++i) {
        if (static_cast<int>(i % kShards) != shard)
            continue;
        for (int arity = 1; arity <= 4; ++arity) {
            if (!exerciser.BaselineSucceeds(i, arity))
                continue;
            for (int position = 1; position <= arity; ++position) {
                // One receiver for every call, so results differ only by
                // the number at `position`.
                const std::vector<size_t> args = exerciser.Baseline(i, arity, true);
                lua_State* L = exerciser.State();
                exerciser.PushValue(args[position - 1]);
                const bool whole = lua_type(L, -1) == LUA_TNUMBER &&
                                   lua_tonumber(L, -1) == static_cast<lua_Integer>(lua_tonumber(L, -1));
                const lua_Number b = lua_tonumber(L, -1);
                lua_pop(L, 1);
                if (!whole)
                    continue;
                auto resultsWith = [&](lua_Number n, bool* ok) {
                    std::vector<size_t> a = args;
                    a[position - 1] = exerciser.NumberValue(n);
                    vyrtest::CallOutcome outcome = exerciser.Call(i, a);
                    if (!outcome.fault.empty())
                        faults.push_back(outcome.fault);
                    *ok = outcome.ok;
                    return outcome.values;
                };
                bool ok = false, okAgain = false, okNext = false;
                const auto base = resultsWith(b, &ok);
                const auto again = resultsWith(b, &okAgain);
                const auto next = resultsWith(b + 1, &okNext);
                // Only where the number decides the results, and alone.
                if (!ok || !okAgain || !okNext || base != again || base == next)
                    continue;
                ++checked;
                // Wrapping shifts both: b + k gives b's results and b + 1 + k
                // gives b + 1's. (A clamp or a coincidence of text does not.)
                for (lua_Number offset : {4294967296.0, -4294967296.0, 8589934592.0}) {
                    bool okFar = false, okFarNext = false;
                    const bool same = resultsWith(b + offset, &okFar) == base;
                    const bool sameNext = resultsWith(b + 1 + offset, &okFarNext) == next;
                    if (okFar && okFarNext && same && sameNext)
                        faults.push_back(exerciser.Describe(i, args) + ": argument " +
                                         std::to_string(position) + " wraps: " +
                                         std::to_string(b) + " and " + std::to_string(b + offset) +
                                         " give the same results");
                }
            }
        }
    }
    return checked;
}

// Input events reach Lua only as handler arguments: a node's handlers keep
// the ones the host dispatches, and they join the pool (out of their
// handler's scope by then, as a script that keeps one has it).
void AdoptHandlerArguments(ApiExerciser& exerciser)
{
    lua_State* L = exerciser.State();
    const char* code = R"(
        local controls = require 'vyrlua.vyrcontrols'
        local node = vyrcontrols.NewNode()
        local kept = {}
        for _, op in ipairs { 'OnDoMouseEvent', 'OnDoKeyboardEvent', 'OnDoTouchEvent',
                              'OnDoMultiTouchEvent', 'OnDoGestureEvent' } do
          node:BindVyrOperation(op, function(e) kept[#kept + 1] = e return true end)
        end
        return node, kept)";
    if (luaL_loadstring(L, code) != 0 || lua_pcall(L, 0, 2, 0) != 0) {
        ADD_FAILURE() << "cannot set up the event handlers: " << lua_tostring(L, -1);
        lua_pop(L, 1);
        return;
    }
    vyrlua::ui::NodePtr node = vyrtest::WrappedNode(L, -2);
    // Dispatch empties the whole stack, as the host's dispatcher owns it.
    const int kept = luaL_ref(L, LUA_REGISTRYINDEX);
    lua_pop(L, 1);
    if (node) {
        node->UI_DoMouseEvent({});
        node->UI_DoKeyboardEvent({});
        node->UI_DoTouchEvent({});
        node->UI_DoMultiTouchEvent({});
        node->UI_DoGestureEvent({});
    }
    lua_rawgeti(L, LUA_REGISTRYINDEX, kept);
    luaL_unref(L, LUA_REGISTRYINDEX, kept);
    for (int i = 1; i <= static_cast<int>(lua_objlen(L, -1)); ++i) {
        lua_rawgeti(L, -1, i);
        exerciser.AdoptInstance();
    }
    lua_pop(L, 1);
}

class ApiSweep : public ::testing::TestWithParam<int> {};

TEST_P(ApiSweep, EveryCallSurvivesAdversarialArguments)
{
    const int shard = GetParam();
    const auto started = std::chrono::steady_clock::now();
    const Inventory inventory = vyrtest::TakeInventory();

    size_t reported = 0;
    vyrcore::config::SetErrorSink([&](const std::string&) { ++reported; });
    vyrhost::HostRuntime runtime;
    vyrtest::CallWatchdog watchdog(std::chrono::seconds(60));
    ApiExerciser exerciser(runtime.State(), inventory);
    exerciser.SetWatchdog(&watchdog);
    vyrtest::GLContextKeeper glContext;
    exerciser.SetCallObserver([&](bool entering) {
        if (entering)
            glContext.Ensure();
    });
    exerciser.SetNodeDestroyer([](lua_State* L, int index) {
        vyrlua::ui::NodePtr node = vyrtest::WrappedNode(L, index);
        if (node)
            vyrtest::DestroyNodeHostSide(*node);
        return node != nullptr;
    });
    for (const std::string& error : exerciser.OpenErrors())
        ADD_FAILURE() << "opening: " << error;

    AdoptHandlerArguments(exerciser);
    exerciser.DiscoverInstances();
    const size_t discoveryCalls = exerciser.CallsMade();
    const double discoverySeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    std::vector<std::string> faults = exerciser.DiscoveryFaults();
    size_t swept = 0, functions = 0, methods = 0, validBaselines = 0, baselines = 0, twisted = 0;
    for (size_t i = 0; i < inventory.callables.size(); ++i) {
        if (static_cast<int>(i % kShards) != shard)
            continue;
        ++swept;
        (inventory.callables[i].method ? methods : functions) += 1;
        for (int arity = 0; arity <= 4; ++arity) {
            exerciser.Baseline(i, arity);
            ++baselines;
            validBaselines += exerciser.BaselineSucceeds(i, arity);
            // The valid call again, from a coroutine and under finalizers
            // that release its receiver or raise.
            if (exerciser.BaselineSucceeds(i, arity) &&
                !exerciser.Fragile(i, exerciser.Baseline(i, arity))) {
                using Twist = ApiExerciser::Twist;
                using Finalizers = ApiExerciser::Finalizers;
                for (Twist twist : {Twist{true, Finalizers::None}, Twist{false, Finalizers::Release},
                                    Twist{true, Finalizers::Raise}}) {
                    vyrtest::CallOutcome outcome =
                        exerciser.CallTwisted(i, exerciser.Baseline(i, arity, true), twist);
                    ++twisted;
                    if (!outcome.fault.empty())
                        faults.push_back(outcome.fault);
                }
            }
            for (int position = 1; position <= arity; ++position) {
                std::vector<size_t> base = exerciser.Baseline(i, arity, true);
                for (size_t value : exerciser.AdversarialFor(i, position)) {
                    std::vector<size_t> args = base;
                    args[position - 1] = value;
                    if (exerciser.Hostile(args) && exerciser.Fragile(i, args))
                        continue;
                    vyrtest::CallOutcome outcome = exerciser.Call(i, args);
                    if (!outcome.fault.empty())
                        faults.push_back(outcome.fault);
                }
            }
        }
    }
    const size_t wrapChecks = CheckNothingWraps(exerciser, shard, faults);
    const std::string finalCheck = exerciser.HealthCheck(true);
    vyrcore::config::SetErrorSink(nullptr);

    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("sweep shard %d/%d: %zu callables (%zu functions, %zu methods) of %zu; "
                "%zu kinds with instances of %zu metatables; %zu of %zu baselines valid; "
                "%zu calls (%zu finding arguments, %zu from coroutines or under hostile "
                "finalizers); %zu numeric positions checked for wrapping; "
                "%zu host error reports; %zu faults; %.1f s (%.1f s finding arguments)\n",
                shard + 1, kShards, swept, functions, methods, inventory.callables.size(),
                exerciser.KindsWithInstances().size(), inventory.metatables.size(),
                validBaselines, baselines, exerciser.CallsMade(), discoveryCalls, twisted, wrapChecks,
                reported,
                faults.size(), seconds, discoverySeconds);
    // Kinds with no object of their own: base wrapper classes whose methods
    // every subclass carries, message and module tables. Any other kind
    // needs a constructor the sweep can find, or its methods never run on
    // a live receiver.
    static const std::set<std::string> kNoInstances = {
        "interactiveChangeMessage", "vyrControlView", "vyrInteractiveControlView",
        "vyrlua.Shader", "vyrlua.core.vyrTypes", "vyrlua.guid", "vyrlua.NumberString",
        "vyrlua.uisupport.Alert"};
    std::string missing;
    const auto kinds = exerciser.KindsWithInstances();
    for (const std::string& kind : inventory.metatables) {
        if (std::find(kinds.begin(), kinds.end(), kind) != kinds.end())
            continue;
        missing += " " + kind;
        EXPECT_TRUE(kNoInstances.count(kind)) << "no call made an object of kind " << kind;
    }
    if (shard == 0 && !missing.empty())
        std::printf("kinds no constructor call produced:%s\n", missing.c_str());
    EXPECT_EQ(finalCheck, "");
    for (size_t i = 0; i < faults.size() && i < kFaultsShown; ++i)
        ADD_FAILURE() << faults[i];
    EXPECT_EQ(faults.size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Shards, ApiSweep, ::testing::Range(0, kShards));

} // namespace
