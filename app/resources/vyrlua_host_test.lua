-- vyrhost.test: what a test file run by `vyrlua-host --test` writes its
-- tests with. Each test runs when it is declared; the runner (app/TestRunner)
-- gives this module its `host` side (results, limits, goldens) and prints
-- what it records. See docs/testing.md for the reference.

local M = {}

local host -- set by the runner: record, begin, reported, golden, limits
local setups, teardowns = {}, {}
local timeLimit -- virtual seconds a test may run; nil: the runner's
local thisSource = debug.getinfo(1, "S").source

-- A failed assertion travels as this table, so that it is told apart from
-- an error the test did not expect.
-- (Raised in a handler or a modal answer, it is reported as its text.)
local function describe(e) return (e.where and e.where .. ": " or "") .. e.message end
local Failure = {__tostring = describe}
local Skip = {__tostring = describe}

-- The first frame outside this module, from `level` up: where the test
-- file called the assertion.
local function callerWhere(level)
  level = (level or 1) + 1
  while true do
    local info = debug.getinfo(level, "Sl")
    if not info then return nil end
    if info.source ~= thisSource and info.currentline and info.currentline > 0 then
      return info.short_src .. ":" .. info.currentline
    end
    level = level + 1
  end
end

-- The first failure of the running test, kept for when it is raised where
-- the host catches it (a handler, a modal answer) and reports it as an error.
local pending

local function fail(message, level)
  local failure = setmetatable({message = message, where = callerWhere((level or 1) + 1)}, Failure)
  pending = pending or failure
  error(failure, 0)
end

-- A table's keys in an order that does not depend on the Lua in use.
local function sortedKeys(t)
  local keys = {}
  for k in pairs(t) do keys[#keys + 1] = k end
  table.sort(keys, function(a, b)
    if type(a) ~= type(b) then return type(a) < type(b) end
    if type(a) == "number" or type(a) == "string" then return a < b end
    return tostring(a) < tostring(b)
  end)
  return keys
end

-- Values as a test author reads them: strings quoted, tables in short.
local function show(value, depth)
  depth = depth or 0
  if type(value) == "string" then
    return string.format("%q", value):gsub("\\\n", "\\n")
  elseif type(value) == "table" and getmetatable(value) == nil then
    if depth > 1 then return "{...}" end
    local parts, n = {}, 0
    for _, k in ipairs(sortedKeys(value)) do
      local v = value[k]
      n = n + 1
      if n > 8 then parts[#parts + 1] = "..." break end
      local key = type(k) == "string" and k:match("^[%a_][%w_]*$") and k or "[" .. show(k, depth + 1) .. "]"
      parts[#parts + 1] = key .. " = " .. show(v, depth + 1)
    end
    return "{" .. table.concat(parts, ", ") .. "}"
  end
  return tostring(value)
end

local function pathOf(prefix, key)
  if type(key) == "string" and key:match("^[%a_][%w_]*$") then
    return prefix .. "." .. key
  end
  return prefix .. "[" .. show(key, 2) .. "]"
end

-- Where two values differ, as "path: expected X, got Y" lines (at most
-- `room` of them); plain tables are compared by content.
local function differences(actual, expected, path, out, room, seen)
  if #out >= room then return end
  if type(actual) == "table" and type(expected) == "table"
     and getmetatable(actual) == nil and getmetatable(expected) == nil then
    if actual == expected then return end
    seen = seen or {}
    if seen[actual] == expected then return end
    seen[actual] = expected
    for _, k in ipairs(sortedKeys(expected)) do
      local v = expected[k]
      if actual[k] == nil then
        out[#out + 1] = pathOf(path, k) .. ": missing (expected " .. show(v) .. ")"
        if #out >= room then return end
      else
        differences(actual[k], v, pathOf(path, k), out, room, seen)
      end
    end
    for _, k in ipairs(sortedKeys(actual)) do
      if #out >= room then return end
      if expected[k] == nil then
        out[#out + 1] = pathOf(path, k) .. ": unexpected " .. show(actual[k])
      end
    end
  elseif actual ~= expected and not (actual ~= actual and expected ~= expected) then
    out[#out + 1] = (path ~= "" and path .. ": " or "") .. "expected " .. show(expected) .. ", got " .. show(actual)
  end
end

local function prefixed(message, text)
  return message and (message .. ": " .. text) or text
end

---- Assertions --------------------------------------------------------------

function M.ok(value, message)
  if not value then fail(message or ("expected a true value, got " .. show(value)), 2) end
  return value
end

function M.eq(actual, expected, message)
  local out = {}
  differences(actual, expected, "", out, 6)
  if #out == 0 then return actual end
  local text
  if type(actual) == "table" and type(expected) == "table" then
    if #out > 5 then out[6] = "..." end
    text = "tables differ: " .. table.concat(out, "; ")
  else
    text = out[1]
  end
  fail(prefixed(message, text), 2)
end

function M.ne(actual, unexpected, message)
  local out = {}
  differences(actual, unexpected, "", out, 1)
  if #out == 0 then fail(prefixed(message, "expected a value other than " .. show(unexpected)), 2) end
  return actual
end

function M.near(actual, expected, tolerance, message)
  if type(actual) ~= "number" or math.abs(actual - expected) > tolerance then
    fail(prefixed(message, ("expected %s within %s, got %s"):format(show(expected), show(tolerance), show(actual))), 2)
  end
  return actual
end

function M.match(text, pattern, message)
  if type(text) ~= "string" or not text:find(pattern) then
    fail(prefixed(message, "expected text matching " .. show(pattern) .. ", got " .. show(text)), 2)
  end
  return text
end

-- raises(f, expected, ...): calls f(...), which must raise an error whose
-- message contains `expected` (plain text; nil: any error). Returns the
-- message.
function M.raises(f, expected, ...)
  if type(f) ~= "function" then
    error("bad argument #1 to 'raises' (function expected, got " .. type(f) .. ")", 2)
  end
  local ok, err = pcall(f, ...)
  if ok then
    fail(expected and ("expected an error containing " .. show(expected) .. ", none was raised")
         or "expected an error, none was raised", 2)
  end
  if getmetatable(err) == Failure then error(err, 0) end
  local text = tostring(err)
  if expected and not text:find(expected, 1, true) then
    fail("expected an error containing " .. show(expected) .. ", got " .. show(text), 2)
  end
  return text
end

function M.fail(message)
  fail(message or "failed", 2)
end

-- Inside a test: ends it as skipped.
function M.skip(reason)
  error(setmetatable({message = reason or "skipped", where = callerWhere(2)}, Skip), 0)
end

---- Structure ---------------------------------------------------------------

-- setup(f) / teardown(f): run before / after each test declared after them.
-- Teardowns run even when the test failed, the last declared first.
function M.setup(f) setups[#setups + 1] = f end
function M.teardown(f) table.insert(teardowns, 1, f) end

-- timeLimit(seconds): how long, on the virtual clock, each later test may
-- run (input.wait included) before it fails; nil puts the runner's back.
function M.timeLimit(seconds)
  if seconds ~= nil and (type(seconds) ~= "number" or not (seconds > 0)) then
    error("bad argument #1 to 'timeLimit' (positive number expected, got " .. show(seconds) .. ")", 2)
  end
  timeLimit = seconds
end

-- The outcome of a protected call as (status, message, where).
local function outcome(ok, err, fallbackWhere)
  if ok then return "pass" end
  local mt = getmetatable(err)
  if mt == Failure then return "fail", err.message, err.where or fallbackWhere end
  if mt == Skip then return "skip", err.message, err.where or fallbackWhere end
  return "error", tostring(err.message or err), err.where or fallbackWhere
end

-- An unexpected error's message and the innermost line of a Lua file on
-- the stack when it was raised.
local function catch(err)
  if type(err) == "table" then return err end
  local where
  for level = 2, 40 do
    local info = debug.getinfo(level, "Sl")
    if not info then break end
    if info.source ~= thisSource and info.source:sub(1, 1) == "@" and info.currentline > 0 then
      where = info.short_src .. ":" .. info.currentline
      break
    end
  end
  return {message = tostring(err), where = where}
end

local function run(f, where)
  local ok, err = xpcall(f, catch)
  return outcome(ok, err, where)
end

function M.test(name, f)
  if type(name) ~= "string" then
    error("bad argument #1 to 'test' (string expected, got " .. type(name) .. ")", 2)
  end
  if type(f) ~= "function" then
    error("bad argument #2 to 'test' (function expected, got " .. type(f) .. ")", 2)
  end
  local declared = callerWhere(2)
  host.begin(timeLimit)
  pending = nil
  local status, message, where = "pass"
  for _, setup in ipairs(setups) do
    status, message, where = run(setup, declared)
    if status ~= "pass" then message = "in setup: " .. message break end
  end
  if status == "pass" then
    status, message, where = run(f, declared)
  end
  for _, teardown in ipairs(teardowns) do
    local s, m, w = run(teardown, declared)
    if s ~= "pass" and status == "pass" then
      status, message, where = s, "in teardown: " .. m, w
    end
  end
  -- An error a handler, timer or draw raised during the test fails it too;
  -- a failed assertion there fails it as itself.
  local reported = host.reported()
  if pending then
    status, message, where = "fail", pending.message, pending.where
    reported = nil
  end
  if reported and status == "pass" then
    status, message, where = "error", "reported: " .. reported, reported:match("^([^:\n]+:%d+):") or declared
  elseif reported then
    message = message .. "; reported: " .. reported
  end
  host.record(name, status, message, where or declared)
  return status == "pass"
end

-- golden(node, name [, options]): renders `node` (a window, a dialog, also
-- while it runs modally, or any node of a window) and compares it with the
-- reference image golden/<name>.png beside the test file. Options: scale
-- (default 1), theme (a theme name), tolerance (how far a colour channel
-- may be off, 0 to 255; default 0), frame (a window with its title bar).
function M.golden(node, name, options)
  if type(name) ~= "string" or not name:match("^[%w_%-%.]+$") then
    error("bad argument #2 to 'golden' (a name of letters, digits, '-', '_' and '.' expected, got " .. show(name) .. ")", 2)
  end
  if options ~= nil and type(options) ~= "table" then
    error("bad argument #3 to 'golden' (table expected, got " .. type(options) .. ")", 2)
  end
  options = options or {}
  local file = debug.getinfo(2, "S").source
  local dir = file:sub(1, 1) == "@" and file:sub(2):match("^(.*)/[^/]*$") or "."
  local problem = host.golden(node, dir .. "/golden/" .. name .. ".png", options.scale or 1,
                              options.theme, options.tolerance or 0, options.frame or false)
  if problem then fail(problem, 2) end
end

setmetatable(M, {__call = function(_, name, f) return M.test(name, f) end})

-- Called once by the runner when it loads the module.
function M._attach(side)
  host = side
  -- input.wait stops at the time limit rather than running past it.
  local input = require "vyrhost.input"
  local wait = input.wait
  input.wait = function(seconds)
    local left = host.timeLeft()
    if type(seconds) == "number" and seconds > left then
      wait(left)
      error(host.limitExceeded() or "ran past its time limit", 2)
    end
    return wait(seconds)
  end
  M._attach = nil
end

return M
