// Calls the library's registered functions with chosen arguments and checks
// every call: the Lua stack stays balanced (a C function may not return more
// values than it pushed nor disturb its caller's slots), an error value is a
// string, and the state still runs a pcall, a coroutine and a full
// collection afterwards.
//
// Arguments are ids into a value pool kept in the state: an adversarial set
// (odd numbers, odd strings, raising tables and functions, tables whose
// fields release the call's receiver or collect, foreign and forged userdata,
// released and collected instances, instances wearing another kind's
// metatable or a forged wrapper mark), plausible candidates
// (numbers, strings, rectangle/point/colour/matrix tables, functions), and
// instances of each named metatable harvested from the library's own calls.
// Valid arguments are derived per callable and arity by trying candidates per
// position (see Baseline).
//
// Used by the API sweep test and by the fuzzer; knows nothing of any module,
// so what the library registers later is exercised without changes here.
#pragma once

#include "support/LibraryInventory.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vyrtest {

struct CallOutcome {
    bool ok = false;
    int results = 0;
    std::string error;  // the Lua error text when !ok
    std::vector<std::string> values;  // results as text (other than strings,
                                      // numbers and booleans: the type name)
    std::string fault;  // non-empty: a robustness violation
};

class ApiExerciser {
public:
    enum class ValueKind {
        Adversarial, Candidate, Instance, Released, Collected, Forged, Gone,
        Hostile,   // runs script code when read: releases the receiver, collects
        Disguised  // an instance wearing another kind's metatable, or a forged mark
    };
    struct Value {
        std::string label;
        ValueKind kind;
        std::string metatable;  // instances and their variants
    };

    // Opens every module of `inventory` in `L` and builds the value pool.
    // Throws std::runtime_error when the pool cannot be built.
    ApiExerciser(lua_State* L, const Inventory& inventory);
    ~ApiExerciser();
    ApiExerciser(const ApiExerciser&) = delete;
    ApiExerciser& operator=(const ApiExerciser&) = delete;

    lua_State* State() const { return mL; }
    const Inventory& Library() const { return mInventory; }
    const std::vector<std::string>& OpenErrors() const { return mOpenErrors; }

    const std::vector<Value>& Values() const { return mValues; }
    // The adversarial values to try at `position` (1-based) of `callable`.
    std::vector<size_t> AdversarialFor(size_t callable, int position) const;
    const std::vector<size_t>& AdversarialScalars() const { return mAdversarial; }

    // Calls callable `index` with the pooled values `args`, checked. With
    // `harvest`, userdata results of named metatables join the pool; results
    // also go to the stash slots when there are any.
    CallOutcome Call(size_t index, const std::vector<size_t>& args, bool harvest = false);

    // Moves that run script code in the middle of a call, from outside its
    // arguments: finalizers of fresh garbage that release the call's first
    // argument or raise, run by the allocations of the call (every one of
    // them runs a whole collection); and the call made from inside a
    // coroutine.
    enum class Finalizers { None, Release, Raise };
    struct Twist {
        bool coroutine = false;
        Finalizers finalizers = Finalizers::None;
    };
    CallOutcome CallTwisted(size_t index, const std::vector<size_t>& args, Twist twist);

    // Kinds left out of the moves above and of the hostile and disguised
    // values: no disguised variants are made of them or wearing their
    // metatables, and callers skip twisted calls, and calls with hostile
    // or disguised arguments, where Fragile(callable, args) (the callable
    // is a method of such a kind, or an argument is one). For kinds whose
    // checks are known not to survive these moves yet (none today); set
    // before DiscoverInstances.
    void SetFragileKinds(std::vector<std::string> kinds) { mFragile = std::move(kinds); }
    bool Fragile(size_t index, const std::vector<size_t>& args) const;
    bool Hostile(const std::vector<size_t>& args) const;
    // Whether the check after each call includes a full collection (on by
    // default; the fuzzer collects as one of its own steps instead).
    void SetCollectAfterEachCall(bool collect) { mCollectEachCall = collect; }
    // Makes `count` pool slots that keep the latest call results, in turn.
    void EnableStash(size_t count);
    const std::vector<size_t>& StashSlots() const { return mStash; }
    // Runs the state check (pcall, coroutine, and a full collection when
    // `collect`); returns what failed, or an empty string.
    std::string HealthCheck(bool collect = true);

    // Instances of named metatables are found by calling module functions
    // and then methods with candidate arguments, in rounds until no new kind
    // appears. Then released, collected and forged variants are made.
    void DiscoverInstances(int rounds = 3);
    // What the state checks between the callables of DiscoverInstances found.
    const std::vector<std::string>& DiscoveryFaults() const { return mDiscoveryFaults; }
    // Kinds (metatable names) that have an instance in the pool.
    std::vector<std::string> KindsWithInstances() const;

    // "Valid" arguments for calling `index` with `arity` arguments: for each
    // position in turn the first candidate giving the best outcome is kept
    // (a successful call; else an error that blames a later argument; else
    // one that blames none), two passes when the first ends in an error.
    // Methods try instances of their own metatables first at position 1.
    // Cached; `fresh` replaces the receiver by a new instance.
    std::vector<size_t> Baseline(size_t index, int arity, bool fresh = false);
    // Whether the baseline of (index, arity) made a successful call.
    bool BaselineSucceeds(size_t index, int arity) const;

    // How instances were made, so that another exerciser over the same
    // inventory can make them without discovering them again.
    struct Recipe {
        size_t callable;
        std::vector<size_t> args;
        std::vector<std::string> argKinds;  // kind of an instance argument, else ""
        int result;                         // 1-based position among the results
    };
    const std::map<std::string, Recipe>& Recipes() const { return mRecipes; }
    void AdoptRecipes(const std::map<std::string, Recipe>& recipes) { mRecipes = recipes; }
    // An instance of `metatable` already in the pool, else a fresh one.
    std::optional<size_t> AnyInstance(const std::string& metatable);
    // A released, collected or forged variant (`which` picks among them),
    // made on first use.
    std::optional<size_t> Variant(const std::string& metatable, unsigned which);

    // A new instance of `metatable` from the recipe that first produced one;
    // nullopt when none is known or the recipe no longer yields one. Unless
    // `ownSlot`, the instance replaces the kind's previous fresh one.
    std::optional<size_t> FreshInstance(const std::string& metatable, bool ownSlot = false);

    // Labels calls for fault messages: "vyrString.Trim(hello, nan)".
    std::string Describe(size_t index, const std::vector<size_t>& args) const;

    size_t CallsMade() const { return mCalls; }

    // Called with true right before the library function runs and with false
    // right after it returned or raised (fault injection arms around this).
    void SetCallObserver(std::function<void(bool entering)> observer)
    {
        mObserver = std::move(observer);
    }

    // Tears down, host-side, the node that the userdata at the index wraps;
    // false when it wraps none. With one set, every kind gets a "node gone"
    // variant: a fresh instance whose host node was destroyed.
    void SetNodeDestroyer(std::function<bool(lua_State*, int)> destroyer)
    {
        mNodeDestroyer = std::move(destroyer);
    }

    // Every checked call runs under the watchdog when one is set.
    void SetWatchdog(class CallWatchdog* watchdog) { mWatchdog = watchdog; }

    // Pushes pooled value `id`.
    void PushValue(size_t id);
    // Adds the value on top of the stack to the pool (pops it).
    size_t AddValue(std::string label, ValueKind kind, std::string metatable = {});
    // Adds the value on top of the stack (popped) as an instance of its kind,
    // for kinds no library call returns (objects the host hands to handlers).
    // False, and nothing added, when it is of no named kind.
    bool AdoptInstance();
    // A pooled number, added on first use.
    size_t NumberValue(lua_Number n);

private:
    struct CachedBaseline {
        std::vector<size_t> args;
        bool succeeds;
    };

    void BuildPool();
    void PushHook(const char* name);
    void SetReceiver(std::optional<size_t> id);
    int Rank(const CallOutcome& outcome, int position) const;
    std::vector<size_t> CandidatesFor(size_t index, int position);
    void Harvest(size_t index, const std::vector<size_t>& args, int first, int count);
    std::string MetatableNameAt(int index) const;
    void MakeVariants();
    void MakeVariantsOf(const std::string& kind);
    std::optional<size_t> FreshInstanceAt(const std::string& metatable, bool ownSlot, int depth);

    lua_State* mL;
    const Inventory& mInventory;
    std::vector<std::string> mOpenErrors;
    std::vector<Value> mValues;
    std::vector<size_t> mAdversarial;
    std::vector<size_t> mCandidates;
    std::map<std::string, std::vector<size_t>> mInstances;  // metatable -> ids
    std::map<std::string, Recipe> mRecipes;
    std::map<std::string, size_t> mFreshSlots;
    std::map<lua_Number, size_t> mNumbers;
    std::map<std::string, std::vector<size_t>> mVariants;  // metatable -> released etc.
    std::map<std::pair<size_t, int>, CachedBaseline> mBaselines;
    int mValuesRef = LUA_NOREF;
    int mCheckRef = LUA_NOREF;
    int mSentinelRef = LUA_NOREF;
    int mHooksRef = LUA_NOREF;
    Twist mTwist;
    std::vector<std::string> mFragile;
    std::vector<std::string> mDiscoveryFaults;
    size_t mCalls = 0;
    class CallWatchdog* mWatchdog = nullptr;
    bool mCollectEachCall = true;
    std::function<void(bool)> mObserver;
    std::function<bool(lua_State*, int)> mNodeDestroyer;
    std::vector<size_t> mStash;
    size_t mNextStash = 0;
};

// Aborts the process with the call's description when one call runs longer
// than the limit, so a hang shows as a named failure rather than a time-out.
class CallWatchdog {
public:
    explicit CallWatchdog(std::chrono::seconds limit);
    ~CallWatchdog();
    void Begin(const std::string& what);
    void End();

private:
    struct State;
    State* mState;
};

} // namespace vyrtest
