-- A spinning textured quad in an OpenGL view, turned by a timer.
-- Run it headless with a virtual clock and render the window to out/:
--   build/puc/bin/vyrlua-host --run-for 1.5 --virtual-clock --render out examples/gl.lua
-- (scripts/run-example.sh examples/gl.lua builds first; add the options
-- after it to let the timer run.)

require "vyrlua.vyrcontrols"
local gl = require "vyrlua.gl"

-- A global: a window lives while a wrapper holds it, and the timer below
-- runs after this chunk has ended.
win = vyrcontrols.NewWindow("gl", vyrlua_CreateNewRectF32(100, 100, 320, 240), "gl")
local view = vyrcontrols.NewOpenGLView("spinner", vyrlua_CreateNewRectF32(20, 20, 280, 200))
win:ChildPushBack(view)

local angle = 0
local texture

-- A 64x64 texture: a checkerboard tinted by a diagonal gradient, built
-- as a table of rows of RGB bytes.
local function checkerboard(size)
  local rows = {}
  for y = 0, size - 1 do
    local row = {}
    for x = 0, size - 1 do
      local on = (math.floor(x / 8) + math.floor(y / 8)) % 2 == 0
      local t = (x + y) / (2 * size)
      row[#row + 1] = on and 255 or math.floor(40 + 180 * t)
      row[#row + 1] = on and math.floor(200 * (1 - t)) or 60
      row[#row + 1] = on and 80 or math.floor(120 + 135 * t)
    end
    rows[#rows + 1] = row
  end
  return rows
end

-- Once per context: the texture. Returning nothing lets the host's own
-- initialisation run too.
view:bindGLOperation(view.initOpenGL, function()
  texture = gl.GenTextures(1)[1]
  gl.BindTexture("TEXTURE_2D", texture)
  gl.TexParameter("TEXTURE_2D", "TEXTURE_MIN_FILTER", "LINEAR")
  gl.TexParameter("TEXTURE_2D", "TEXTURE_MAG_FILTER", "NEAREST")
  gl.TexImage2D("TEXTURE_2D", 0, "RGB", 64, 64, 0, "RGB", "UNSIGNED_BYTE", checkerboard(64))
end)

-- Our own frame set-up: the host's (viewport, clear), then a perspective.
view:bindGLOperation(view.preDraw, function(width, height, v)
  v:preDrawOpenGL()
  gl.ClearColor(0.08, 0.09, 0.12, 1)
  gl.Clear("COLOR_BUFFER_BIT,DEPTH_BUFFER_BIT")
  gl.MatrixMode("PROJECTION")
  gl.LoadIdentity()
  local aspect = width / height
  gl.Frustum(-0.1 * aspect, 0.1 * aspect, -0.1, 0.1, 0.2, 20)
  gl.MatrixMode("MODELVIEW")
  gl.LoadIdentity()
  return true
end)

view:bindGLOperation(view.draw, function()
  gl.Enable("DEPTH_TEST")
  gl.Enable("TEXTURE_2D")
  gl.BindTexture("TEXTURE_2D", texture)
  gl.TexEnv("TEXTURE_ENV", "TEXTURE_ENV_MODE", "MODULATE")
  gl.Translate(0, 0, -3.6)
  gl.Rotate(angle, 0.3, 1, 0.2)
  gl.Begin("QUADS")
  gl.Color(1, 1, 1)
  gl.TexCoord(0, 0) gl.Vertex(-1, -1)
  gl.TexCoord(1, 0) gl.Vertex(1, -1)
  gl.TexCoord(1, 1) gl.Vertex(1, 1)
  gl.TexCoord(0, 1) gl.Vertex(-1, 1)
  gl.End()
  gl.Disable("TEXTURE_2D")
  gl.Disable("DEPTH_TEST")
end)

-- 30 frames a second: turn and ask for a redraw.
view:UI_InstallTimer(1 / 30, function()
  angle = (angle + 3) % 360
  view:UI_Invalidate()
end)

print("gl " .. gl._VERSION .. ": spinning quad in window 'gl'")
