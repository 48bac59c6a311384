-- vyrhost.inspect (see app/Inspect.h): the node tree as tables and text.
-- The host attaches `facts(node)` ({metatable =, theme =, operations =}:
-- what only it knows) and `windows()` (the shown top-level windows).

local M = {}
local host

local function inspect(node, depth)
  local facts = host.facts(node)
  local r = node:UI_GetLocalRectF()
  local info = {
    id = node:UI_GetNodeID(), metatable = facts.metatable, theme = facts.theme, operations = facts.operations,
    rect = {left = r.left, top = r.top, width = r.width, height = r.height}, children = {},
  }
  -- Deep trees are cut rather than risking the C stack.
  if depth < 100 then
    for i = 1, node:ChildSize() do
      info.children[i] = inspect(node:ChildGet(i), depth + 1)
    end
  end
  return info
end

local function line(info, indent, out)
  local r = info.rect
  out[#out + 1] = ("%s%s %q  %g,%g %gx%g  theme %s%s"):format(
    indent, info.metatable or "?", info.id, r.left, r.top, r.width, r.height, info.theme,
    #info.operations > 0 and ("  binds " .. table.concat(info.operations, ", ")) or "")
  for _, child in ipairs(info.children) do line(child, indent .. "  ", out) end
end

-- tree(node): the node and its descendants, one a line, children indented:
--   vyrButton "louder"  122,148 96x28  theme dark  binds OnDoMouseEvent
local function checked(node, name)
  if type(node) ~= "userdata" then
    error(("bad argument #1 to '%s' (node expected, got %s)"):format(name, type(node)), 3)
  end
  return node
end

function M.tree(node)
  local out = {}
  line(inspect(checked(node, "tree"), 0), "", out)
  return table.concat(out, "\n") .. "\n"
end

-- dump(): the trees of all shown top-level windows (as --dump-tree prints
-- them), a blank line between them.
function M.dump()
  local out = {}
  for _, window in ipairs(host.windows()) do out[#out + 1] = M.tree(window) end
  return table.concat(out, "\n")
end

function M._attach(side)
  host = side
  M._attach = nil
end

return setmetatable(M, {__call = function(_, node) return inspect(checked(node, "inspect"), 0) end})
