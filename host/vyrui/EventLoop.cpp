#include "vyrui/EventLoop.h"

#include "vyrui/ui/UI_NodeManager.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

namespace vyrui {

namespace {
std::atomic<uint64_t> gNextLoopSerial{1};
} // namespace

EventLoop::EventLoop(Clock clock) : mClock(clock), mSerial(gNextLoopSerial++)
{
    ui::UI_NodeManager::Get(true)->AttachEventLoop(this);
}

EventLoop::~EventLoop()
{
    if (ui::UI_NodeManager* manager = ui::UI_NodeManager::Get(false))
        manager->DetachEventLoop(this);
}

double EventLoop::MonotonicSeconds() const
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double EventLoop::Now() const
{
    return mClock == Clock::Virtual ? mVirtualNow : MonotonicSeconds() + mMonotonicBase;
}

void EventLoop::SetClock(Clock clock)
{
    if (clock == mClock)
        return;
    double now = Now();
    mClock = clock;
    if (clock == Clock::Virtual)
        mVirtualNow = now;
    else
        mMonotonicBase = now - MonotonicSeconds();
}

EventLoop::TaskID EventLoop::Schedule(double delay, double interval, std::function<bool()> fn)
{
    if (!(delay >= 0))
        delay = 0;
    TaskID id = mNextID++;
    Task task;
    task.due = Now() + delay;
    task.interval = interval;
    task.fn = std::move(fn);
    task.order = mNextOrder++;
    mQueue.emplace(task.due, task.order, id);
    mTasks.emplace(id, std::move(task));
    return id;
}

EventLoop::TaskID EventLoop::CallAfter(double delay, std::function<void()> task)
{
    return Schedule(delay, 0, [task = std::move(task)] {
        task();
        return false;
    });
}

EventLoop::TaskID EventLoop::CallEvery(double interval, std::function<bool()> task)
{
    // Also catches NaN.
    if (!(interval >= kMinInterval))
        interval = kMinInterval;
    return Schedule(interval, interval, std::move(task));
}

void EventLoop::Post(std::function<void()> task)
{
    mPosted.push_back(std::move(task));
}

void EventLoop::Cancel(TaskID id, bool dropDue)
{
    auto it = mTasks.find(id);
    if (it == mTasks.end())
        return;
    if (!dropDue && mDueThisPass.count(id) != 0) {
        it->second.stopAfterDue = true;
        return;
    }
    mQueue.erase({it->second.due, it->second.order, id});
    mTasks.erase(it);
}

bool EventLoop::IsScheduled(TaskID id) const
{
    auto it = mTasks.find(id);
    return it != mTasks.end() && !it->second.stopAfterDue;
}

std::optional<double> EventLoop::NextDueTime() const
{
    if (mQueue.empty())
        return std::nullopt;
    return std::get<0>(*mQueue.begin());
}

size_t EventLoop::RunPosted()
{
    size_t count = 0;
    // Tasks posted while these run wait for the next pass.
    std::vector<std::function<void()>> posted;
    posted.swap(mPosted);
    for (auto& task : posted) {
        task();
        ++count;
    }
    return count;
}

size_t EventLoop::RunDue(double now)
{
    std::vector<TaskID> due;
    for (const auto& [time, order, id] : mQueue) {
        if (!(time <= now))
            break;
        due.push_back(id);
    }
    mDueThisPass.insert(due.begin(), due.end());
    size_t count = 0;
    for (TaskID id : due) {
        mDueThisPass.erase(id);
        auto it = mTasks.find(id);
        if (it == mTasks.end())
            continue; // cancelled by an earlier task of this pass
        Task& task = it->second;
        mQueue.erase({task.due, task.order, id});
        std::function<bool()> fn;
        bool repeat = task.interval > 0 && !task.stopAfterDue;
        if (repeat) {
            // Keep the cadence; after a stall, start again from now rather
            // than firing a burst of missed ticks.
            double next = task.due + task.interval;
            task.due = next > now ? next : now + task.interval;
            task.order = mNextOrder++;
            mQueue.emplace(task.due, task.order, id);
            fn = task.fn;
        } else {
            fn = std::move(task.fn);
            mTasks.erase(it);
        }
        ++count;
        if (!fn() && repeat)
            Cancel(id);
    }
    mDueThisPass.clear();
    return count;
}

size_t EventLoop::RunOnce()
{
    size_t count = RunPosted();
    return count + RunDue(Now());
}

void EventLoop::AdvanceTo(double time)
{
    if (mClock == Clock::Virtual) {
        if (time > mVirtualNow)
            mVirtualNow = time;
        return;
    }
    double wait = time - Now();
    if (wait > 0)
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(wait, 3600.0)));
}

void EventLoop::RunFor(double seconds)
{
    if (!(seconds >= 0))
        seconds = 0;
    mQuit = false;
    double end = Now() + seconds;
    RunOnce();
    while (!mQuit) {
        std::optional<double> next = NextDueTime();
        if (!mPosted.empty()) {
            RunOnce();
            continue;
        }
        if (next && *next <= end) {
            AdvanceTo(*next);
            RunOnce();
            continue;
        }
        if (Now() >= end)
            break;
        AdvanceTo(end);
    }
    if (mClock == Clock::Virtual && mVirtualNow < end)
        mVirtualNow = end;
}

bool EventLoop::RunNext()
{
    if (!mPosted.empty()) {
        RunOnce();
        return true;
    }
    std::optional<double> next = NextDueTime();
    if (!next || !std::isfinite(*next))
        return false;
    AdvanceTo(*next);
    RunOnce();
    return true;
}

void EventLoop::Run()
{
    mQuit = false;
    while (!mQuit) {
        if (!RunNext())
            break;
    }
}

} // namespace vyrui
