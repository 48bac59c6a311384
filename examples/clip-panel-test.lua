-- Tests the clip inspector as a user would use it: clicks, keys and time,
-- all simulated through the host's real input path.
-- Run it with:  build/puc/bin/vyrlua-host --headless --strict examples/clip-panel-test.lua

local here = (arg[0] or ""):match("^(.*)/[^/]*$") or "."

-- The panel keeps a preference in the application settings. The test starts
-- it from the defaults and puts back what was there when it ends, so that it
-- neither depends on nor changes the settings of whoever runs it.
require "vyrlua.exo.app"
local settings, PREFS = App.GetApp():GetAppSettings(), "examples.clip-panel"
local saved = settings:GetSubList(PREFS)
saved = saved and saved:Clone()
settings:RemoveValue(PREFS)

local panel = dofile(here .. "/clip-panel.lua")
local input = require "vyrhost.input"

local passed, failed = 0, 0
local function check(what, ok, detail)
  if ok then
    passed = passed + 1
  else
    failed = failed + 1
    print("FAILED: " .. what .. (detail and (" (" .. tostring(detail) .. ")") or ""))
  end
end
local function gainText() return panel.gainLabel:GetLabelText() end

-- Clicks go through hit-testing to the buttons.
check("a click on Gain +3 dB is handled", input.click(panel.louder, 40, 14))
input.click(panel.louder, 40, 14)
check("two clicks raise the gain by 6 dB", gainText() == "Gain  +6.0 dB", gainText())
check("a click beside the buttons changes nothing",
      not input.click(panel.window, 230, 170) and gainText() == "Gain  +6.0 dB")

-- Undo and redo run at the top level, after the click's handler returned.
input.click(panel.undo, 10, 10)
check("undo waits for the top level", gainText() == "Gain  +6.0 dB", gainText())
input.wait(0.01)
check("undo takes one step back", gainText() == "Gain  +3.0 dB", gainText())
input.click(panel.redo, 10, 10)
input.wait(0.01)
check("redo makes it again", gainText() == "Gain  +6.0 dB", gainText())

-- The check box mutes; the meter follows on the timer's next ticks.
input.click(panel.mute, 8, 12)
check("a click mutes", panel.clip.muted and gainText():find("muted"), gainText())
input.wait(0.2)
check("the timer drew the meter silent", panel.levels[1] == 0 and panel.levels[2] == 0)
input.click(panel.undo, 10, 10)
input.wait(0.2)
check("undo unmutes and the meter moves again",
      not panel.clip.muted and not panel.mute:IsChecked() and panel.levels[1] > 0)

-- Show peaks is remembered: the next time the panel opens, it is as the user
-- left it.
check("peaks are shown on a first run", panel.showPeaks:IsChecked())
input.click(panel.showPeaks, 8, 12)
check("unticking Show peaks stores it at once",
      App.GetApp():GetPref(PREFS, "showPeaks", true) == false)
check("and is no undo step", hostUndo.undoName() ~= "Show peaks", hostUndo.undoName())
local again = dofile(here .. "/clip-panel.lua")
check("the panel opens again without peaks", not again.showPeaks:IsChecked())
input.click(again.showPeaks, 8, 12)
check("ticking it again stores that too", App.GetApp():GetPref(PREFS, "showPeaks", false) == true)

settings:RemoveValue(PREFS)
if saved then settings:SetValue(PREFS, saved) end

print(("%d passed, %d failed"):format(passed, failed))
if failed > 0 then error("the clip inspector failed its tests", 0) end
