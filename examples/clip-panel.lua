-- A clip inspector, made the way a video application's panel is: labels,
-- buttons and check boxes from the toolkit, a level meter the script draws
-- and animates with a timer, handlers, undo for every change, and a
-- preference the application keeps between runs.
-- Run it with:  build/puc/bin/vyrlua-host examples/clip-panel.lua
-- (a window under a display; headless add --render out --run-for 1).
-- examples/clip-panel-test.lua drives it with simulated input.

require "vyrlua.vyrcontrols"
require "vyrlua.exo.app"
local R, RGBA = vyrlua_CreateNewRectF32, vyrlua_CreateNewRGBA

-- Preferences live in the application's settings, under a section of the
-- panel's own; a missing one reads as the default given.
local app, PREFS = App.GetApp(), "examples.clip-panel"

local clip = { name = "Interview_A012.mov", duration = "00:01:12:05", rate = "25 fps", gain = 0, muted = false }

local panel = {}
local window = vyrcontrols.NewWindow("clip-panel", R(160, 120, 340, 236), "Clip Inspector")
window:SetThemeName("dark")
panel.window = window

local function add(node) window:ChildPushBack(node) return node end
local function label(id, y, text, size)
  local t = add(vyrcontrols.NewStaticText(id, R(16, y, 308, 20), text))
  if size then t:SetCustomFontSize(size) end
  return t
end

local title = label("title", 12, clip.name, 15)
title:SetCustomFontStyle(1) -- bold
label("duration", 40, "Duration  " .. clip.duration .. "   ·   " .. clip.rate)
panel.gainLabel = add(vyrcontrols.NewStaticText("gain", R(16, 62, 200, 20), ""))

-- The level meter: a view the script draws. Two bars, green to red, with
-- the peak held for a moment.
local meter = add(vyrcontrols.NewSubView("meter", R(16, 92, 308, 44)))
panel.meter = meter
local levels, peaks = { 0, 0 }, { 0, 0 }
local showPeaks = app:GetPref(PREFS, "showPeaks", true)
panel.levels = levels
meter:BindVyrOperation("OnDraw", function(drawbot, view)
  local s = drawbot:GetSurface()
  local w = view:UI_GetLocalRectF().width
  s:DrawRoundedFill(R(0, 0, w, 44), RGBA(0.09, 0.09, 0.1, 1), 4)
  for i = 1, 2 do
    local y = 8 + (i - 1) * 16
    local lit = math.floor(levels[i] * 30 + 0.5)
    for seg = 0, 29 do
      local x = 8 + seg * ((w - 16) / 30)
      local hot = seg >= 24 and RGBA(0.95, 0.3, 0.25, 1) or seg >= 18 and RGBA(0.95, 0.8, 0.25, 1)
                  or RGBA(0.3, 0.85, 0.45, 1)
      local on = seg < lit or showPeaks and seg == math.floor(peaks[i] * 30)
      s:PaintRect(R(x, y, (w - 16) / 30 - 2, 12), on and hot or RGBA(0.2, 0.2, 0.22, 1))
    end
  end
end)

-- The timer: the clip "plays", so the levels move (a fixed wave, so that a
-- headless render is the same every time).
local tick = 0
meter:UI_InstallTimer(0.05, function()
  tick = tick + 1
  local loud = clip.muted and 0 or 10 ^ (clip.gain / 20)
  for i = 1, 2 do
    local wave = 0.55 + 0.3 * math.sin(tick * 0.37 + i) * math.sin(tick * 0.11)
    levels[i] = math.min(1, math.max(0, wave * loud))
    peaks[i] = (levels[i] > peaks[i] or tick % 20 == 0) and levels[i] or peaks[i]
  end
  meter:UI_Invalidate()
end)

local function show()
  panel.gainLabel:SetLabelText(("Gain  %+.1f dB%s"):format(clip.gain, clip.muted and "   (muted)" or ""))
end
show()

-- Every change is an undo step: the handlers put the clip back.
local function change(name, apply, revert)
  apply()
  show()
  hostUndo.record(name, {
    handleActionUndo = function() revert() show() end,
    handleActionRedo = function() apply() show() end,
  })
end

local function gainButton(id, x, text, step)
  local b = add(vyrcontrols.NewButton(id, R(x, 148, 96, 28), text))
  b:NotifyWhenChanged(function()
    local before = clip.gain
    change(text, function() clip.gain = before + step end, function() clip.gain = before end)
  end)
  return b
end
panel.quieter = gainButton("quieter", 16, "Gain −3 dB", -3)
panel.louder = gainButton("louder", 122, "Gain +3 dB", 3)

panel.mute = add(vyrcontrols.NewCheckbox("mute", R(236, 150, 88, 24), "Mute"))
panel.mute:NotifyWhenChanged(function()
  local muted = panel.mute:IsChecked()
  change(muted and "Mute" or "Unmute", function() clip.muted = muted panel.mute:SetChecked(muted) end,
         function() clip.muted = not muted panel.mute:SetChecked(not muted) end)
end)

-- Showing the peaks is how the user likes to look, not an edit of the clip:
-- it is no undo step, it is stored the moment it changes.
panel.showPeaks = add(vyrcontrols.NewCheckbox("peaks", R(224, 60, 100, 24), "Show peaks"))
panel.showPeaks:SetChecked(showPeaks)
panel.showPeaks:NotifyWhenChanged(function()
  showPeaks = panel.showPeaks:IsChecked()
  app:SetPref(PREFS, "showPeaks", showPeaks)
  meter:UI_Invalidate()
end)

panel.undo = add(vyrcontrols.NewButton("undo", R(16, 192, 148, 28), "Undo"))
panel.undo:NotifyWhenChanged(function() hostUndo.undo() end)
panel.redo = add(vyrcontrols.NewButton("redo", R(176, 192, 148, 28), "Redo"))
panel.redo:NotifyWhenChanged(function() hostUndo.redo() end)

panel.clip = clip
return panel
