-- Runs a script under the profiler and prints where its time went.
-- Run it with:  scripts/run-example.sh examples/profile.lua SCRIPT [FOLDED] [ARGS...]
-- FOLDED (default profile.folded) receives the folded stacks, which
-- flame-graph tools read (flamegraph.pl profile.folded > profile.svg).

local script, folded = arg[1], arg[2] or "profile.folded"
assert(script, "usage: profile.lua SCRIPT [FOLDED] [ARGS...]")
local P = require "vyrlua.CodeProfilerManager"

local chunk = assert(loadfile(script))
arg = {[0] = script, select(3, ...)}
P.reset()
P.start(true)
local ok, err = pcall(chunk, select(3, ...))
P.stop()
if not ok then io.stderr:write("profiled script failed: ", tostring(err), "\n") end

print(P.getSummary(15))
print("lines with the most time (their own and their C calls):")
for i, row in ipairs(P.getLineReport()) do
    if i > 8 then break end
    print(string.format("  %-28s %6d runs %9.3f ms", row.source .. ":" .. row.line,
                        row.count, row.time * 1e3))
end
local file = assert(io.open(folded, "w"))
file:write(P.getFoldedStacks())
file:close()
print("folded stacks written to " .. folded)
