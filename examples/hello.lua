-- A first script: requires a few modules and prints what it did.
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
