-- A first script: requires a few modules, prints what it did, and opens a
-- window with a label, a button and a check box.
-- Run it with:  scripts/run-example.sh examples/hello.lua [NAME]

local name = arg[1] or "world"

-- The master module: its value is the vyrString table; the global vyrlua
-- holds the numeric helpers.
local vyrString = require "vyrlua"
print(("hello, %s"):format(vyrString.ToUpper(name)))
print("trimmed: [" .. vyrString.Trim("   padded text   ") .. "]")
print("bytes 2..4 of 'vyrlua': " .. vyrString.SubstringB("vyrlua", 2, 3))

-- Matrices cross the boundary as arrays of nine numbers.
local m = vyrlua_CreateNewTransformMatrix(2, 0, 0, 3, 10, 20)
local inverse = vyrlua.numeric.invertMatrix(m)
print("inverse: " .. tostring(inverse))
local tx, ty, sx, sy, rotation, shear = vyrlua.numeric.unmatrix(m)
print(("unmatrix: translate (%g, %g) scale (%g, %g) rotation %g shear %g"):format(
  tx, ty, sx, sy, rotation, shear))

-- Other modules come from the same library through Lua's C searcher.
local crash = require "vyrlua.CrashReporter"
crash.addData("example", "hello.lua")
print("crash reporter has the key 'example'")

-- Errors from the library are ordinary Lua errors.
local ok, err = pcall(vyrString.SubstringB, "hello", 0)
print("SubstringB with start 0 fails: " .. tostring(err))

print("done")

-- A window: a label, a button that changes it, and a check box. Under a
-- display it opens for real; headless (--render DIR) it is drawn to a PNG.
require "vyrlua.vyrcontrols"
local R = vyrlua_CreateNewRectF32
window = vyrcontrols.NewWindow("hello", R(120, 120, 300, 120), "Hello, vyrlua")
local greeting = vyrcontrols.NewStaticText("greeting", R(16, 16, 268, 24), "Hello, " .. name .. "!")
greeting:SetCustomFontSize(16)
local shout = vyrcontrols.NewCheckbox("shout", R(16, 76, 120, 24), "Shout")
local button = vyrcontrols.NewButton("greet", R(184, 72, 100, 28), "Greet again")
window:ChildPushBack(greeting)
window:ChildPushBack(shout)
window:ChildPushBack(button)

local greetings = 0
button:NotifyWhenChanged(function()
  greetings = greetings + 1
  local text = ("Hello again, %s (%d)"):format(name, greetings)
  greeting:SetLabelText(shout:IsChecked() and vyrString.ToUpper(text) or text)
end)
print("window 'hello' is open")
