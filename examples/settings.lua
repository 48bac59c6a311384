-- Remembers how often it ran and when, in the application settings, and
-- adds a menu item whose command a Lua handler carries out.
-- Run it twice with:  scripts/run-example.sh examples/settings.lua
-- (vyrlua-host keeps the settings in ~/.config/vyrlua-host/settings.json;
-- --settings DIR puts them elsewhere.)

require "vyrlua.exo.app"
require "vyrlua.vyrLocale"
require "vyrlua.vyrCmdAttachment"

local app = App.GetApp()
local here = vyrLocale.GetCurrent()

local runs = app:GetPref("examples.settings", "runs", 0) + 1
local last = app:GetPref("examples.settings", "lastRun", 0)
if runs == 1 then
    print("first run")
else
    print(("run %d; the last one was %s"):format(
        runs, here:FormatDateTime(last, vyrLocale.kDateStyle_Medium)))
end
app:SetPref("examples.settings", "runs", runs)
app:SetPref("examples.settings", "lastRun", os.time())

-- A command of our own, in the View menu, with a shortcut.
local cmd = app:ReserveCmd()
local grid = false
local attachment = vyrCmdAttachment.New(cmd, function() grid = not grid end,
                                        nil, function() return grid end)
local view = app:GetMainMenu():GetItem(3).submenu
local position = view:AppendItem("Show Grid", cmd, "Ctrl+G")
assert(view:Choose(position))
app:PostCommand(cmd)
print(("menu %q item %q (%s) posts command %d"):format(view:GetTitle(),
      view:GetItem(position).title, App.GetShortcutString(cmd), cmd))
attachment:Release()
