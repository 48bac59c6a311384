// The application's event loop: posted tasks and timed tasks, run in due
// order from a clock. The application object owns one; nodes reach it
// through the node manager (UI_NodeManager::GetEventLoop).
//
// Times and intervals are seconds (double here, float at UI_Node's timer
// API). The clock is monotonic by default; a virtual clock stands still
// until the loop is told to run, and then jumps straight to the next due
// task, so headless runs and tests see timers fire deterministically and at
// once. UI thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace vyrui {

class EventLoop {
public:
    enum class Clock { Monotonic, Virtual };
    using TaskID = uint64_t;

    // Registers itself with the node manager as the loop nodes use, unless
    // another loop is registered already.
    explicit EventLoop(Clock clock = Clock::Monotonic);
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    // Process-unique, so a node can tell which loop its timers live in.
    uint64_t Serial() const { return mSerial; }

    // Seconds on this loop's clock.
    double Now() const;
    Clock GetClock() const { return mClock; }
    // Switches the clock; Now() carries on from the same reading.
    void SetClock(Clock clock);

    // Shortest interval a repeating task may have; shorter ones are raised to
    // it, so a zero interval cannot starve the loop.
    static constexpr double kMinInterval = 0.001;

    // Runs `task` once, `delay` seconds from now (NaN or negative: now).
    TaskID CallAfter(double delay, std::function<void()> task);
    // Runs `task` every `interval` seconds, the first time one interval from
    // now, until cancelled or until it returns false.
    TaskID CallEvery(double interval, std::function<bool()> task);
    // Runs `task` on the next pass, before timed tasks.
    void Post(std::function<void()> task);
    // Stops a timed task. With dropDue false, a firing that is already due in
    // the pass now running still happens, and the task stops after it.
    void Cancel(TaskID id, bool dropDue = true);
    bool IsScheduled(TaskID id) const;
    size_t ScheduledCount() const { return mTasks.size(); }
    // When the next timed task is due, if any.
    std::optional<double> NextDueTime() const;

    // One pass: posted tasks, then every timed task due now, in due order
    // (equal times in scheduling order). Returns the number of tasks run.
    size_t RunOnce();
    // Runs for `seconds`: a virtual clock jumps from due time to due time and
    // ends exactly `seconds` later; a monotonic one sleeps in between.
    void RunFor(double seconds);
    // Virtual clock: jumps to the next due task and runs that pass. Monotonic:
    // waits for it. Returns false when nothing is scheduled.
    bool RunNext();
    // Runs until Quit() is called or nothing is left to do.
    void Run();
    void Quit() { mQuit = true; }

private:
    struct Task {
        double due = 0;
        double interval = 0; // 0: once
        std::function<bool()> fn;
        uint64_t order = 0;
        bool stopAfterDue = false;
    };

    TaskID Schedule(double delay, double interval, std::function<bool()> fn);
    size_t RunPosted();
    size_t RunDue(double now);
    double MonotonicSeconds() const;
    void AdvanceTo(double time);

    Clock mClock;
    uint64_t mSerial;
    double mVirtualNow = 0;
    double mMonotonicBase = 0; // added to the monotonic reading
    TaskID mNextID = 1;
    uint64_t mNextOrder = 0;
    std::map<TaskID, Task> mTasks;
    // (due, order, id): due order, then scheduling order.
    std::set<std::tuple<double, uint64_t, TaskID>> mQueue;
    std::vector<std::function<void()>> mPosted;
    std::set<TaskID> mDueThisPass;
    bool mQuit = false;
};

} // namespace vyrui
