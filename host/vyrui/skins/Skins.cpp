#include "vyrui/skins/Skins.h"

#include <atomic>

namespace vyrui::skins {

namespace {
// This host draws the current look unless told otherwise.
std::atomic<int> gSkinVersion{7};
} // namespace

int GetSkinVersion()
{
    return gSkinVersion.load();
}

void SetSkinVersion(int version)
{
    gSkinVersion.store(version);
}

bool IsRunningV7OrBeyond()
{
    return GetSkinVersion() >= 7;
}

} // namespace vyrui::skins
