-- Tests the clip inspector as a user would use it: clicks, keys and time,
-- all simulated through the host's real input path.
-- Run it with:  build/puc/bin/vyrlua-host --test examples/clip-panel-test.lua
-- The runner gives each test file fresh, empty application settings, so the
-- panel starts from its defaults whoever runs it.

local t = require "vyrhost.test"
local input = require "vyrhost.input"
require "vyrlua.exo.app"

local here = (arg[0] or ""):match("^(.*)/[^/]*$") or "."
local PREFS = "examples.clip-panel"
local panel = dofile(here .. "/clip-panel.lua")
local function gainText() return panel.gainLabel:GetLabelText() end

t.test("the panel looks as it should when it opens", function()
  t.golden(panel.window, "clip-panel", {tolerance = 8})
end)

t.test("clicks go through hit-testing to the buttons", function()
  t.ok(input.click(panel.louder, 40, 14), "a click on Gain +3 dB is handled")
  input.click(panel.louder, 40, 14)
  t.eq(gainText(), "Gain  +6.0 dB")
  t.ok(not input.click(panel.window, 230, 170), "a click beside the buttons is not handled")
  t.eq(gainText(), "Gain  +6.0 dB")
end)

t.test("undo and redo run at the top level, after the click's handler", function()
  input.click(panel.undo, 10, 10)
  t.eq(gainText(), "Gain  +6.0 dB", "undo waits for the top level")
  input.wait(0.01)
  t.eq(gainText(), "Gain  +3.0 dB", "undo takes one step back")
  input.click(panel.redo, 10, 10)
  input.wait(0.01)
  t.eq(gainText(), "Gain  +6.0 dB", "redo makes it again")
end)

t.test("the check box mutes; the meter follows on the timer's next ticks", function()
  input.click(panel.mute, 8, 12)
  t.ok(panel.clip.muted, "a click mutes")
  t.match(gainText(), "muted")
  input.wait(0.2)
  t.eq(panel.levels, {0, 0}, "the timer drew the meter silent")
  t.golden(panel.window, "clip-panel-muted", {tolerance = 8})
  input.click(panel.undo, 10, 10)
  input.wait(0.2)
  t.ok(not panel.clip.muted and not panel.mute:IsChecked(), "undo unmutes")
  t.ok(panel.levels[1] > 0, "the meter moves again")
end)

t.test("Show peaks is remembered for the next time the panel opens", function()
  t.ok(panel.showPeaks:IsChecked(), "peaks are shown on a first run")
  input.click(panel.showPeaks, 8, 12)
  t.eq(App.GetApp():GetPref(PREFS, "showPeaks", true), false, "unticking stores it at once")
  t.ne(hostUndo.undoName(), "Show peaks", "and is no undo step")
  local again = dofile(here .. "/clip-panel.lua")
  t.ok(not again.showPeaks:IsChecked(), "the panel opens again without peaks")
  input.click(again.showPeaks, 8, 12)
  t.eq(App.GetApp():GetPref(PREFS, "showPeaks", false), true, "ticking it again stores that too")
end)
