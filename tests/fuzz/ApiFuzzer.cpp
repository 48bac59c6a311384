// libFuzzer target: the fuzz input is read as a program of steps over a fresh
// host state with every module open: calls of any registered function with
// arguments from the exerciser's pool (adversarial values, candidates,
// instances of every kind and their released, collected and forged variants,
// earlier results), the same calls from a coroutine or under finalizers that
// release the receiver or raise, garbage collections, host-side actions (see
// HostActions, also run while a coroutine runs)
// and closing the state, after which the host acts again on what is left and
// a new state is opened.
//
// Every call is checked as in the sweep; a fault aborts with the call named.
// The same input always replays the same steps: nothing carries over from
// one input to the next except the inventory and the recipes for instances.
#include "support/ApiExerciser.h"

#include "support/HostActions.h"
#include "app/HostRuntime.h"
#include "vyrcore/config.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using vyrtest::ApiExerciser;

struct Shared {
    vyrtest::Inventory inventory;
    std::map<std::string, ApiExerciser::Recipe> recipes;
    std::vector<std::string> kinds;
};

Shared& Process()
{
    static Shared shared;
    return shared;
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : mData(data), mSize(size) {}
    bool More() const { return mPos < mSize; }
    unsigned Byte() { return mPos < mSize ? mData[mPos++] : 0; }
    unsigned Word() { return Byte() | (Byte() << 8); }

private:
    const uint8_t* mData;
    size_t mSize;
    size_t mPos = 0;
};

constexpr size_t kStashSlots = 8;
constexpr int kMaxSteps = 64;

bool DestroyWrappedNode(lua_State* L, int index)
{
    vyrlua::ui::NodePtr node = vyrtest::WrappedNode(L, index);
    if (node)
        vyrtest::DestroyNodeHostSide(*node);
    return node != nullptr;
}

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "robustness fault: %s\n", what.c_str());
    std::abort();
}

class World {
public:
    World() { Open(); }
    ~World()
    {
        mExerciser.reset();
        mRuntime.reset();
    }

    ApiExerciser& Exerciser() { return *mExerciser; }

    void Open()
    {
        mRuntime = std::make_unique<vyrhost::HostRuntime>();
        mExerciser = std::make_unique<ApiExerciser>(mRuntime->State(), Process().inventory);
        mExerciser->SetCollectAfterEachCall(false);
        mExerciser->AdoptRecipes(Process().recipes);
        mExerciser->EnableStash(kStashSlots);
        mExerciser->SetNodeDestroyer(DestroyWrappedNode);
        mExerciser->SetCallObserver([](bool entering) {
            // One context for the whole run: the "gl" functions use it.
            static vyrtest::GLContextKeeper glContext;
            if (entering)
                glContext.Ensure();
        });
        mBaseValues = mExerciser->Values().size();
    }

    // Closes the state while whatever the script made still lives, lets the
    // host act on it, then starts over.
    void CloseAndReopen(Input& in)
    {
        mExerciser.reset();
        mRuntime->Close();
        for (auto& action : vyrtest::HostActions())
            action.run(mRuntime->Application(), in.Byte());
        mRuntime.reset();
        Open();
    }

    size_t PickValue(Input& in)
    {
        const auto& kinds = Process().kinds;
        const size_t space = mBaseValues + kinds.size() * 5;
        size_t pick = in.Word() % space;
        if (pick < mBaseValues)
            return pick;  // includes the stash slots
        pick -= mBaseValues;
        const std::string& kind = kinds[pick / 5];
        std::optional<size_t> id = pick % 5 == 0 ? mExerciser->AnyInstance(kind)
                                                 : mExerciser->Variant(kind, pick % 5 - 1);
        return id ? *id : 0;
    }

    // With `twisted`, the call is made from a coroutine or under hostile
    // finalizers, as the input says.
    void Call(Input& in, bool asMethod, bool twisted = false)
    {
        const auto& callables = Process().inventory.callables;
        if (callables.empty())
            return;
        const size_t index = in.Word() % callables.size();
        const int arity = static_cast<int>(in.Byte() % 5);
        std::vector<size_t> args;
        for (int i = 0; i < arity; ++i)
            args.push_back(PickValue(in));
        // A method with a receiver of its own kind, so calls get past self.
        const auto& c = callables[index];
        if (asMethod && c.method && !args.empty() && !c.metatables.empty())
            if (auto id = mExerciser->AnyInstance(c.metatables[in.Byte() % c.metatables.size()]))
                args[0] = *id;
        ApiExerciser::Twist twist;
        if (twisted) {
            const unsigned how = in.Byte();
            twist.coroutine = (how & 1) != 0;
            twist.finalizers = static_cast<ApiExerciser::Finalizers>((how >> 1) % 3);
        }
        if ((twisted || mExerciser->Hostile(args)) && mExerciser->Fragile(index, args))
            return;
        vyrtest::CallOutcome outcome = mExerciser->CallTwisted(index, args, twist);
        if (!outcome.fault.empty())
            Fail(outcome.fault);
    }

    // A host action (an event dispatched to handlers, a timer firing...)
    // made while a coroutine runs on the host's state.
    void HostActionFromCoroutine(Input& in)
    {
        auto& actions = vyrtest::HostActions();
        lua_State* L = mRuntime->State();
        const int top = lua_gettop(L);
        // Lua 5.1 runs only a Lua function as a coroutine's body.
        if (luaL_loadstring(L, "local f = ... return coroutine.resume(coroutine.create(function() return f() end))") != 0)
            Fail("cannot load the coroutine runner");
        lua_pushlightuserdata(L, &mRuntime->Application());
        lua_pushlightuserdata(L, const_cast<vyrtest::HostAction*>(&actions[in.Byte() % actions.size()]));
        lua_pushinteger(L, static_cast<lua_Integer>(in.Byte()));
        lua_pushcclosure(L, RunHostAction, 3);
        if (lua_pcall(L, 1, 0, 0) != 0)
            Fail(std::string("host action in a coroutine: ") +
                 (lua_isstring(L, -1) ? lua_tostring(L, -1) : "?"));
        lua_settop(L, top);
        Check(false);
    }

    void Check(bool collect)
    {
        std::string failure = mExerciser->HealthCheck(collect);
        if (!failure.empty())
            Fail("state check: " + failure);
    }

    // One incremental step, protected: a __gc that raises is a fault.
    void StepCollector()
    {
        auto step = [](lua_State* L) -> int {
            lua_gc(L, LUA_GCSTEP, 0);
            return 0;
        };
        if (lua_cpcall(mRuntime->State(), step, nullptr) != 0)
            Fail(std::string("collector step raised: ") +
                 (lua_isstring(mRuntime->State(), -1) ? lua_tostring(mRuntime->State(), -1) : "?"));
    }

    void HostAction(Input& in)
    {
        auto& actions = vyrtest::HostActions();
        if (actions.empty())
            return;
        auto& action = actions[in.Byte() % actions.size()];
        action.run(mRuntime->Application(), in.Byte());
        Check(false);
    }

private:
    static int RunHostAction(lua_State* L)
    {
        auto* app = static_cast<exo::app::App*>(lua_touserdata(L, lua_upvalueindex(1)));
        auto* action = static_cast<const vyrtest::HostAction*>(lua_touserdata(L, lua_upvalueindex(2)));
        action->run(*app, static_cast<unsigned>(lua_tointeger(L, lua_upvalueindex(3))));
        return 0;
    }

    std::unique_ptr<vyrhost::HostRuntime> mRuntime;
    std::unique_ptr<ApiExerciser> mExerciser;
    size_t mBaseValues = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    vyrcore::config::SetErrorSink([](const std::string&) {});
    Shared& shared = Process();
    shared.inventory = vyrtest::TakeInventory();
    // Learn once how to make an instance of each kind; every input then
    // makes only the ones it uses.
    vyrhost::HostRuntime runtime;
    ApiExerciser exerciser(runtime.State(), shared.inventory);
    exerciser.SetCollectAfterEachCall(false);
    exerciser.SetNodeDestroyer(DestroyWrappedNode);
    exerciser.DiscoverInstances();
    shared.recipes = exerciser.Recipes();
    shared.kinds = exerciser.KindsWithInstances();
    std::fprintf(stderr, "fuzzer: %zu callables (%zu functions, %zu methods), %zu kinds\n",
                 shared.inventory.callables.size(), shared.inventory.FunctionCount(),
                 shared.inventory.MethodCount(), shared.kinds.size());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input in(data, size);
    World world;
    for (int step = 0; step < kMaxSteps && in.More(); ++step) {
        const unsigned op = in.Byte() % 18;
        if (op < 9)
            world.Call(in, false);
        else if (op < 12)
            world.Call(in, true);
        else if (op == 16)
            world.Call(in, true, true);
        else if (op == 17)
            world.HostActionFromCoroutine(in);
        else if (op == 12)
            world.Check(true);
        else if (op == 13)
            world.StepCollector();
        else if (op == 14)
            world.HostAction(in);
        else
            world.CloseAndReopen(in);
    }
    world.Check(true);
    return 0;
}
