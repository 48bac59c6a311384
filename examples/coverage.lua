-- Runs a script and writes the line coverage of the Lua files it ran as an
-- LCOV tracefile (genhtml coverage.info -o html/ makes a report of it).
-- Run it with:  scripts/run-example.sh examples/coverage.lua SCRIPT [OUT.info] [ARGS...]

local script, out = arg[1], arg[2] or "coverage.info"
assert(script, "usage: coverage.lua SCRIPT [OUT.info] [ARGS...]")
require "vyrlua.debugSupport"
local cov = debugSupport.coverageSupport

arg = {[0] = script, select(3, ...)}
cov.reset()
cov.start()
local ok, err = pcall(dofile, script)
cov.stop()
if not ok then io.stderr:write("covered script failed: ", tostring(err), "\n") end

local text = cov.getLcov(script:match("([^/]*)%.lua$") or "script")
local file = assert(io.open(out, "w"))
file:write(text)
file:close()
for path, lines in pairs(cov.getCoverage()) do
    if path:sub(1, 1) == "@" then
        local hit, all = 0, 0
        for _, count in pairs(lines) do
            all = all + 1
            if count > 0 then hit = hit + 1 end
        end
        print(string.format("%5.1f%%  %3d of %3d lines  %s", 100 * hit / all, hit, all, path:sub(2)))
    end
end
print("LCOV tracefile written to " .. out)
