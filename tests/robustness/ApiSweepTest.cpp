// The API sweep: every function and method the library registers, called
// with 0 to 4 arguments, each position in turn given every adversarial value
// while the other positions hold values that were found to be valid. Every
// call is checked by ApiExerciser (balanced stack, string errors, a working
// state afterwards); under the sanitizers a memory or UB fault aborts.
//
// The work is split into shards run as separate tests, so ctest can run them
// side by side; the count is fixed so the test list is stable.
#include "support/ApiExerciser.h"

#include "support/HostActions.h"

#include "app/HostRuntime.h"
#include "vyrcore/config.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

namespace {

using vyrtest::ApiExerciser;
using vyrtest::Inventory;

constexpr int kShards = 4;
// Faults are listed in full up to this many; the rest are counted.
constexpr size_t kFaultsShown = 40;

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
    exerciser.SetNodeDestroyer([](lua_State* L, int index) {
        vyrlua::ui::NodePtr node = vyrtest::WrappedNode(L, index);
        if (node)
            vyrtest::DestroyNodeHostSide(*node);
        return node != nullptr;
    });
    for (const std::string& error : exerciser.OpenErrors())
        ADD_FAILURE() << "opening: " << error;

    exerciser.DiscoverInstances();
    const size_t discoveryCalls = exerciser.CallsMade();

    std::vector<std::string> faults;
    size_t swept = 0, functions = 0, methods = 0, validBaselines = 0, baselines = 0;
    for (size_t i = 0; i < inventory.callables.size(); ++i) {
        if (static_cast<int>(i % kShards) != shard)
            continue;
        ++swept;
        (inventory.callables[i].method ? methods : functions) += 1;
        for (int arity = 0; arity <= 4; ++arity) {
            exerciser.Baseline(i, arity);
            ++baselines;
            validBaselines += exerciser.BaselineSucceeds(i, arity);
            for (int position = 1; position <= arity; ++position) {
                std::vector<size_t> base = exerciser.Baseline(i, arity, true);
                for (size_t value : exerciser.AdversarialFor(i, position)) {
                    std::vector<size_t> args = base;
                    args[position - 1] = value;
                    vyrtest::CallOutcome outcome = exerciser.Call(i, args);
                    if (!outcome.fault.empty())
                        faults.push_back(outcome.fault);
                }
            }
        }
    }
    const std::string finalCheck = exerciser.HealthCheck(true);
    vyrcore::config::SetErrorSink(nullptr);

    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("sweep shard %d/%d: %zu callables (%zu functions, %zu methods) of %zu; "
                "%zu kinds with instances of %zu metatables; %zu of %zu baselines valid; "
                "%zu calls (%zu finding arguments); %zu host error reports; %zu faults; %.1f s\n",
                shard + 1, kShards, swept, functions, methods, inventory.callables.size(),
                exerciser.KindsWithInstances().size(), inventory.metatables.size(),
                validBaselines, baselines, exerciser.CallsMade(), discoveryCalls, reported,
                faults.size(), seconds);
    EXPECT_EQ(finalCheck, "");
    for (size_t i = 0; i < faults.size() && i < kFaultsShown; ++i)
        ADD_FAILURE() << faults[i];
    EXPECT_EQ(faults.size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Shards, ApiSweep, ::testing::Range(0, kShards));

} // namespace
