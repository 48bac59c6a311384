#include "vyrcore/InitializerRegistrar.h"

#include <algorithm>
#include <mutex>

namespace vyrcore {

namespace {

struct Entry {
    const InitializerRegistrar* owner;
    std::string name;
    InitializerRegistrar::Step init;
    InitializerRegistrar::Step terminate;
    bool initialized;
};

struct Registry {
    std::mutex mutex;
    std::vector<Entry> entries;
    bool running = false;
};

Registry& TheRegistry()
{
    static Registry registry;
    return registry;
}

} // namespace

InitializerRegistrar::InitializerRegistrar(const char* name, Step init, Step terminate)
{
    Registry& registry = TheRegistry();
    bool runNow;
    {
        std::lock_guard lock(registry.mutex);
        runNow = registry.running;
        registry.entries.push_back({this, name, init, terminate, runNow});
    }
    if (runNow && init)
        init();
}

InitializerRegistrar::~InitializerRegistrar()
{
    Registry& registry = TheRegistry();
    Step terminate = nullptr;
    {
        std::lock_guard lock(registry.mutex);
        auto it = std::find_if(registry.entries.begin(), registry.entries.end(),
                               [this](const Entry& e) { return e.owner == this; });
        if (it == registry.entries.end())
            return;
        if (it->initialized)
            terminate = it->terminate;
        registry.entries.erase(it);
    }
    if (terminate)
        terminate();
}

void InitializerRegistrar::InitializeAll()
{
    Registry& registry = TheRegistry();
    std::vector<Step> steps;
    {
        std::lock_guard lock(registry.mutex);
        registry.running = true;
        for (Entry& entry : registry.entries) {
            if (!entry.initialized && entry.init)
                steps.push_back(entry.init);
            entry.initialized = true;
        }
    }
    for (Step step : steps)
        step();
}

void InitializerRegistrar::TerminateAll()
{
    Registry& registry = TheRegistry();
    std::vector<Step> steps;
    {
        std::lock_guard lock(registry.mutex);
        registry.running = false;
        for (auto it = registry.entries.rbegin(); it != registry.entries.rend(); ++it) {
            if (it->initialized && it->terminate)
                steps.push_back(it->terminate);
            it->initialized = false;
        }
    }
    for (Step step : steps)
        step();
}

std::vector<std::string> InitializerRegistrar::Names()
{
    std::lock_guard lock(TheRegistry().mutex);
    std::vector<std::string> names;
    for (const Entry& entry : TheRegistry().entries)
        names.push_back(entry.name);
    return names;
}

} // namespace vyrcore
