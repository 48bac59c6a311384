-- Draws a small poster on an offscreen surface and saves it as a PNG:
-- gradients, shapes, a dashed path, text and an image.
-- Run it with:  scripts/run-example.sh examples/poster.lua [OUT.png]

local out = arg[1] or "poster.png"
local here = (arg[0] or ""):match("^(.*)/[^/]*$") or "."

require "vyrlua.drawbot.vyrDrawbot"
require "vyrlua.drawbot.vyrPathInterface"
require "vyrlua.drawbot.PenInterface"
require "vyrlua.drawbot.ShaderInterface"
local image = require "vyrhost.image"

local function rgba(r, g, b, a) return vyrlua_CreateNewRGBA(r, g, b, a or 1) end
local function rect(l, t, w, h) return vyrlua_CreateNewRectF32(l, t, w, h) end
local function pt(x, y) return vyrlua_CreateNewPointF32(x, y) end

-- The host program lends headless scripts the default supplier.
local supplier = image.supplier()
local W, H = 480, 300
local s = supplier:CreateOffscreenSurface(W, H, true)
local db = vyrDrawbot.NewDrawbot(s)

-- Background: a vertical gradient.
local page = PathInterface.newPath(db)
page:AddRect(rect(0, 0, W, H))
s:ShadePath(page, Shader.newLinearShader(db, pt(0, 0), pt(0, H),
                                         rgba(0.10, 0.12, 0.20), rgba(0.22, 0.10, 0.28)))

-- A glowing sun behind everything, clipped to the upper half.
s:PushStateStack()
local upper = PathInterface.newPath(db)
upper:AddRect(rect(0, 0, W, 190))
s:Clip(upper)
local sun = PathInterface.newPath(db)
sun:AddArc(pt(360, 190), 110)
s:ShadePath(sun, Shader.newRadialShader(db, pt(360, 190), pt(470, 190),
                                        rgba(1.0, 0.75, 0.3), rgba(0.9, 0.25, 0.35, 0.0)))
s:PopStateStack()

-- Horizon and a dashed road drawn in perspective.
s:PaintRect(rect(0, 190, W, 110), rgba(0.08, 0.07, 0.12))
local road = PathInterface.newPath(db)
road:MoveTo(330, 196)
road:BezierTo(pt(340, 230), pt(390, 270), pt(420, 300))
local dashes = PenInterface.newPen(db, rgba(1, 0.85, 0.4), 3)
dashes:SetDashPattern(10, 8)
dashes:SetLineCap(PenInterface.kLineCapType_Round)
s:StrokePath(road, dashes)

-- Cards with rounded corners, tilted a little.
s:PushStateStack()
s:Transform(vyrlua_CreateNewTransformMatrix(math.cos(-0.08), math.sin(-0.08),
                                            -math.sin(-0.08), math.cos(-0.08), 30, 70))
s:DrawRoundedFill(rect(0, 0, 200, 120), rgba(1, 1, 1, 0.92), 12)
s:DrawOutline(rect(0, 0, 200, 120), rgba(0.9, 0.3, 0.4), 6, 2)
local frame = supplier:newImageFromFile(here .. "/film-frame.png")
if frame then
  s:DrawImage(frame, pt(16, 28))
  s:DrawImage2(frame, rect(92, 40, 40, 40), nil, 0.6)
  s:DrawImage2(frame, rect(144, 40, 40, 40), rect(20, 16, 28, 32), 0.9)
end
s:PopStateStack()

-- Text: a title, a centred line and a wrapped paragraph.
local white = rgba(1, 1, 1)
s:DrawString("vyrlua", 24, 46, white, s.kTextAlignment_Left, 30)
s:DrawString("drawn by a script", 24, 46, rgba(1, 0.8, 0.5), s.kTextAlignment_Right, 14, W - 48)
s:DrawMultiLineString("Paths, pens, dashes, gradients, clipping, transforms, images and text, "
                      .. "on Cairo and Pango.", rect(24, 206, 200, 60), rgba(0.85, 0.85, 0.95),
                      s.kTextAlignment_Left, 12)
s:DrawString("A long caption that will not fit in the space it is given", 24, 286,
             rgba(0.7, 0.7, 0.8), s.kTextAlignment_Left, 11, 200, s.kTextTruncation_EndEllipsis)

image.writePNG(s, out)
db:Release()
s:Release()
print("wrote " .. out)
