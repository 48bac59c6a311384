-- vyrlua-host --dump-api: what the library registered, read from the live
-- state. Called by the host program with the format ("markdown" or "lua"),
-- the names of the modules to open (the library's exported openers and
-- package.preload), and the global names and registry keys a plain Lua state
-- has, which are left out, and signatureOf(f), which gives the parameter and
-- result types the library recorded for a function. Returns the text.

return function(format, moduleNames, plainGlobals, plainRegistry, plainPreload, signatureOf)

local function sortedKeys(t, filter)
  local keys = {}
  for k, v in pairs(t) do
    if type(k) == "string" and (not filter or filter(k, v)) then keys[#keys + 1] = k end
  end
  table.sort(keys)
  return keys
end

local function isConstant(v)
  local t = type(v)
  return t == "number" or t == "string" or t == "boolean"
end

local function hasFunction(t)
  for _, v in pairs(t) do
    if type(v) == "function" then return true end
  end
  return false
end

-- The host's preloaded modules join the library's.
local listed = {}
for _, name in ipairs(moduleNames) do listed[name] = true end
for _, name in ipairs(sortedKeys(package.preload)) do
  if not listed[name] and not plainPreload[name] then moduleNames[#moduleNames + 1] = name end
end
table.sort(moduleNames)

-- Every module, opened.
local modules = {}
for _, name in ipairs(moduleNames) do
  local ok, value = pcall(require, name)
  modules[#modules + 1] = { name = name, ok = ok, value = value }
end

-- The global that holds each module table, if any.
local globalOf = {}
for _, g in ipairs(sortedKeys(_G)) do
  local v = rawget(_G, g)
  if type(v) == "table" and globalOf[v] == nil then globalOf[v] = g end
end

local moduleTables = {}
for _, m in ipairs(modules) do
  if type(m.value) == "table" then moduleTables[m.value] = m.name end
end

-- A table's functions, constants and one level of nested tables.
local function describeTable(t)
  local d = { functions = {}, constants = {}, tables = {} }
  for _, k in ipairs(sortedKeys(t)) do
    local v = rawget(t, k)
    if type(v) == "function" then
      d.functions[#d.functions + 1] = k
    elseif isConstant(v) then
      d.constants[#d.constants + 1] = { name = k, value = v }
    elseif type(v) == "table" and v ~= t and not moduleTables[v] then
      local fields = {}
      for _, f in ipairs(sortedKeys(v)) do
        local fv = rawget(v, f)
        if type(fv) == "function" then fields[#fields + 1] = f end
      end
      if #fields > 0 then d.tables[#d.tables + 1] = { name = k, functions = fields } end
    end
  end
  return d
end

-- Object kinds: named metatables in the registry with functions in them.
-- Methods are flattened: the metatable's own, then those its __index tables
-- add (a kind's base classes).
local registry = debug.getregistry()
local kinds = {}
for _, name in ipairs(sortedKeys(registry, function(k, v)
  return type(v) == "table" and not plainRegistry[k] and hasFunction(v)
end)) do
  local mt = registry[name]
  local methods, metamethods, seen, functions, constants = {}, {}, {}, {}, {}
  local t, depth = mt, 0
  while type(t) == "table" and depth < 16 do
    for _, k in ipairs(sortedKeys(t)) do
      -- Constants its values answer (surface:kTextAlignment_Center).
      if isConstant(rawget(t, k)) and type(k) == "string" and not seen[k] then
        seen[k] = true
        constants[#constants + 1] = { name = k, value = rawget(t, k) }
      end
      if type(rawget(t, k)) == "function" and not seen[k] then
        seen[k] = true
        functions[k] = rawget(t, k)
        if k:sub(1, 2) == "__" then metamethods[#metamethods + 1] = k
        else methods[#methods + 1] = k end
      end
    end
    local nextIndex = rawget(t, "__index")
    if nextIndex == t then break end
    t, depth = nextIndex, depth + 1
  end
  table.sort(methods)
  table.sort(metamethods)
  table.sort(constants, function(a, b) return a.name < b.name end)
  kinds[#kinds + 1] = { name = name, methods = methods, metamethods = metamethods,
                        functions = functions, constants = constants }
end

-- Globals the library and the host program add beyond a plain state.
local globalFunctions, globalTables = {}, {}
for _, g in ipairs(sortedKeys(_G, function(k) return not plainGlobals[k] end)) do
  local v = rawget(_G, g)
  if type(v) == "function" then
    globalFunctions[#globalFunctions + 1] = g
  elseif type(v) == "table" and not moduleTables[v] then
    globalTables[#globalTables + 1] = { name = g, description = describeTable(v) }
  end
end

local out = {}
local function emit(...)
  for i = 1, select("#", ...) do out[#out + 1] = select(i, ...) end
end

local function code(names, prefix)
  local parts = {}
  for i, n in ipairs(names) do parts[i] = "`" .. (prefix or "") .. n .. "`" end
  return table.concat(parts, ", ")
end

local function constantText(v)
  if type(v) == "string" then return string.format("%q", v) end
  return tostring(v)
end

-- A method with the types the library recorded: "SetValue(boolean)",
-- "GetText() -> string"; its name alone when none were.
local function methodText(name, fn)
  local params, result = signatureOf(fn)
  if not params then return name end
  return name .. "(" .. table.concat(params, ", ") .. ")" .. (result and (" -> " .. result) or "")
end

local function markdownTable(d, prefix)
  if #d.functions > 0 then emit("Functions: ", code(d.functions, prefix), "\n\n") end
  for _, nested in ipairs(d.tables) do
    emit("Functions of `", prefix, nested.name, "`: ", code(nested.functions), "\n\n")
  end
  if #d.constants > 0 then
    emit("| Constant | Value |\n|---|---|\n")
    for _, c in ipairs(d.constants) do
      emit("| `", prefix, c.name, "` | `", constantText(c.value), "` |\n")
    end
    emit("\n")
  end
end

local function markdown()
  emit("# vyrlua API reference\n\n",
       "What the library and the host program register, read from a live state by\n",
       "`vyrlua-host --dump-api markdown` (this file is its output; regenerate it\n",
       "rather than editing it). Where the library knows a method's types, they\n",
       "follow its name: `SetEnabled(boolean?)`, `GetRectF() -> RectF32` (\"?\": may be\n",
       "left out); a name alone is a method whose types are not recorded.\n\n",
       "## Modules\n\n")
  for _, m in ipairs(modules) do
    emit("### `", m.name, "`\n\n")
    local global = type(m.value) == "table" and globalOf[m.value]
    local prefix = global and (global .. ".") or ""
    if not m.ok then
      emit("Opening it fails here: ", tostring(m.value):gsub("\n.*", ""), "\n\n")
    elseif type(m.value) == "table" then
      emit("`require \"", m.name, "\"` returns a table",
           global and (", also the global `" .. global .. "`") or "", ".\n\n")
      markdownTable(describeTable(m.value), prefix)
    else
      emit("`require \"", m.name, "\"` returns a ", type(m.value), ".\n\n")
    end
  end
  emit("## Object kinds\n\n",
       "Each kind is a metatable in the registry under its name; the methods are\n",
       "all those its values answer, inherited ones included.\n\n")
  for _, k in ipairs(kinds) do
    emit("### `", k.name, "`\n\n")
    if #k.methods > 0 then
      local texts = {}
      for i, m in ipairs(k.methods) do texts[i] = methodText(m, k.functions[m]) end
      emit("Methods (", #k.methods, "): ", code(texts), "\n\n")
    end
    if #k.metamethods > 0 then emit("Metamethods: ", code(k.metamethods), "\n\n") end
    if #k.constants > 0 then
      emit("| Constant (`value.name`) | Value |\n|---|---|\n")
      for _, c in ipairs(k.constants) do emit("| `", c.name, "` | `", constantText(c.value), "` |\n") end
      emit("\n")
    end
  end
  emit("## Globals\n\n")
  if #globalFunctions > 0 then emit("Functions: ", code(globalFunctions), "\n\n") end
  for _, t in ipairs(globalTables) do
    emit("### `", t.name, "`\n\n")
    markdownTable(t.description, t.name .. ".")
  end
end

local function luaName(name)
  return name:match("^[%a_][%w_]*$") and name or nil
end

local keywords = {}
for w in ([[and break do else elseif end false for function if in local nil not
            or repeat return then true until while]]):gmatch("%a+") do keywords[w] = true end

-- Parameter names for the definitions: a setter's one argument is named
-- after what it sets (SetChecked(checked), UI_SetEnabled(enabled)); others
-- after their type.
local byType = { boolean = "flag", integer = "n", number = "x", string = "text",
                 PointF32 = "point", RectF32 = "rect", RGBA = "color", MatrixF32 = "matrix",
                 vyrUINode = "node" }
local function paramNames(method, params)
  local names, used = {}, {}
  for i, p in ipairs(params) do
    local base = p:gsub("%?$", "")
    local name = byType[base] or "arg"
    if #params == 1 then
      local set = method:match("^Set(%u%w*)$") or method:match("^UI_Set(%u%w*)$")
      if set then name = set:sub(1, 1):lower() .. set:sub(2) end
    end
    if keywords[name] then name = name .. "_" end
    if used[name] then name = name .. i end
    used[name] = true
    names[i] = name
  end
  return names
end

-- A method's definition, with ---@param and ---@return where known.
local function luaMethod(owner, name, fn)
  local params, result = signatureOf(fn)
  if not params then
    emit("function ", owner, ":", name, "(...) end\n")
    return
  end
  local names = paramNames(name, params)
  for i, p in ipairs(params) do
    local optional = p:sub(-1) == "?"
    emit("---@param ", names[i], optional and "? " or " ", optional and p:sub(1, -2) or p, "\n")
  end
  if result then emit("---@return ", result, "\n") end
  emit("function ", owner, ":", name, "(", table.concat(names, ", "), ") end\n")
end

local function luaTable(d, owner)
  for _, f in ipairs(d.functions) do
    if luaName(f) then emit("function ", owner, ".", f, "(...) end\n") end
  end
  for _, nested in ipairs(d.tables) do
    if luaName(nested.name) then
      emit(owner, ".", nested.name, " = {}\n")
      for _, f in ipairs(nested.functions) do
        if luaName(f) then emit("function ", owner, ".", nested.name, ".", f, "(...) end\n") end
      end
    end
  end
  for _, c in ipairs(d.constants) do
    if luaName(c.name) then emit(owner, ".", c.name, " = ", constantText(c.value), "\n") end
  end
end

local function lua()
  emit("---@meta\n",
       "-- vyrlua definitions for the Lua language server, generated by\n",
       "-- `vyrlua-host --dump-api lua` from a live state. A module without a\n",
       "-- global is a class named after its require name:\n",
       "--   local input = require \"vyrhost.input\" ---@type vyrhost.input\n\n",
       "-- Value types, made by the vyrlua_CreateNew* constructors.\n",
       "---@class PointF32\n---@field x number\n---@field y number\n\n",
       "---@class RectF32\n---@field left number\n---@field top number\n",
       "---@field width number\n---@field height number\n\n",
       "---@class RGBA\n---@field red number\n---@field green number\n",
       "---@field blue number\n---@field alpha number\n\n",
       "---@class MatrixF32: number[] nine numbers, row-major\n\n")
  for _, m in ipairs(modules) do
    if m.ok and type(m.value) == "table" then
      local global = globalOf[m.value]
      local owner = global or ("M_" .. m.name:gsub("%W", "_"))
      emit("---@class ", m.name, "\n", global and "" or "local ", owner, " = {}\n")
      luaTable(describeTable(m.value), owner)
      emit("\n")
    end
  end
  for _, k in ipairs(kinds) do
    local owner = "K_" .. k.name:gsub("%W", "_")
    emit("---@class ", k.name, "\nlocal ", owner, " = {}\n")
    for _, f in ipairs(k.methods) do
      if luaName(f) then luaMethod(owner, f, k.functions[f]) end
    end
    for _, c in ipairs(k.constants) do
      if luaName(c.name) then emit(owner, ".", c.name, " = ", constantText(c.value), "\n") end
    end
    emit("\n")
  end
  for _, f in ipairs(globalFunctions) do
    if luaName(f) then emit("function ", f, "(...) end\n") end
  end
  for _, t in ipairs(globalTables) do
    if luaName(t.name) then
      emit("\n---@class ", t.name, "\n", t.name, " = {}\n")
      luaTable(t.description, t.name)
    end
  end
end

if format == "markdown" then markdown() else lua() end
return table.concat(out)
end
