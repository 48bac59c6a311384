// vyrlua-host's interactive Lua console.
#pragma once

#include "app/HostRuntime.h"

#include <iosfwd>

namespace vyrhost {

// Reads `in` line by line until it ends; each line is one chunk, run through
// the library's console command in the runtime's state, so globals persist
// from line to line. A line starting with "=" is shorthand for "return".
// Results go to `out` (tab-separated, one line per chunk); what the command
// posts to the console panel (errors) goes to `err`. With `prompt`, "> " is
// written before each line. After each line the runtime settles at the top
// level (HostRuntime::Settle), so "hostUndo" requests are carried out before
// the next line. Returns the exit status: 0.
int RunConsole(HostRuntime& runtime, std::istream& in, std::ostream& out, std::ostream& err,
               bool prompt);

} // namespace vyrhost
