// Beta switches: whether this is a "beta prime" build (one handed to
// testers ahead of release) and which unfinished features are on.
//
// Both are read from the debug database (vyrcore/DebugDatabase.h), so a
// tester turns them on without a rebuild:
//
//     bool betaPrime = true
//     bool beta.newTrimTool = true
//
// A feature that has no entry is on only when the host declared it on by
// default for beta-prime builds and this is one.
#pragma once

#include <string_view>

namespace vyrcore::config {

bool IsBetaPrime();

// The debug-database name of a feature's switch: "beta." + name.
bool IsBetaFeatureEnabled(std::string_view feature);

// Host start-up: a feature that is on in beta-prime builds unless its
// switch says otherwise.
void DeclareBetaPrimeFeature(std::string_view feature);

} // namespace vyrcore::config
