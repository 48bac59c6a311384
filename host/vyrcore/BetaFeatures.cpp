#include "vyrcore/BetaFeatures.h"

#include "vyrcore/DebugDatabase.h"

#include <mutex>
#include <set>
#include <string>

namespace vyrcore::config {

namespace {

struct Declared {
    std::mutex mutex;
    std::set<std::string, std::less<>> features;
};

Declared& BetaPrimeFeatures()
{
    static Declared declared;
    return declared;
}

} // namespace

bool IsBetaPrime()
{
    return debug::DebugDatabase::Get().GetBool("betaPrime", false);
}

bool IsBetaFeatureEnabled(std::string_view feature)
{
    std::string name = "beta.";
    name.append(feature);
    if (auto value = debug::DebugDatabase::Get().Find(name))
        if (const bool* on = std::get_if<bool>(&*value))
            return *on;
    if (!IsBetaPrime())
        return false;
    std::lock_guard lock(BetaPrimeFeatures().mutex);
    return BetaPrimeFeatures().features.count(feature) != 0;
}

void DeclareBetaPrimeFeature(std::string_view feature)
{
    std::lock_guard lock(BetaPrimeFeatures().mutex);
    BetaPrimeFeatures().features.emplace(feature);
}

} // namespace vyrcore::config
