-- Value constructors the scripting library calls to build geometry and
-- colour values. Scripts may replace any of them; the library looks them up
-- on every use and reads values back only by field name.

local Point = {}
Point.__index = Point
Point.__tostring = function(p) return string.format("PointF32(%g, %g)", p.x, p.y) end

function vyrlua_CreateNewPointF32(x, y)
  return setmetatable({ x = x, y = y }, Point)
end

local Rect = {}
Rect.__index = Rect
Rect.__tostring = function(r)
  return string.format("RectF32(left %g, top %g, width %g, height %g)", r.left, r.top, r.width, r.height)
end
function Rect:right() return self.left + self.width end
function Rect:bottom() return self.top + self.height end
function Rect:contains(x, y)
  return x >= self.left and y >= self.top and x < self:right() and y < self:bottom()
end

function vyrlua_CreateNewRectF32(left, top, width, height)
  return setmetatable({ left = left, top = top, width = width, height = height }, Rect)
end

local RGBA = {}
RGBA.__index = RGBA
RGBA.__tostring = function(c)
  return string.format("RGBA(%g, %g, %g, %g)", c.red, c.green, c.blue, c.alpha)
end

function vyrlua_CreateNewRGBA(red, green, blue, alpha)
  return setmetatable({ red = red, green = green, blue = blue, alpha = alpha or 1 }, RGBA)
end

-- Matrices are arrays of nine numbers in row-major order.
local Matrix = {}
Matrix.__index = Matrix
Matrix.__tostring = function(m)
  return "MatrixF32(" .. table.concat(m, ", ") .. ")"
end

function vyrlua_CreateNewMatrixF32(...)
  local m = { ... }
  if #m ~= 9 then
    error("vyrlua_CreateNewMatrixF32 takes 9 numbers, got " .. #m, 2)
  end
  return setmetatable(m, Matrix)
end

-- A 2D transform x' = a*x + c*y + tx, y' = b*x + d*y + ty, as a matrix.
function vyrlua_CreateNewTransformMatrix(a, b, c, d, tx, ty)
  return setmetatable({ a, b, 0, c, d, 0, tx, ty, 1 }, Matrix)
end
