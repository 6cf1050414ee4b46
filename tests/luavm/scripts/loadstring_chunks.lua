-- compiling chunks at run time
local f = loadstring("return 1 + 2")
print(f())
print(loadstring("syntax error here"))
print(type(loadstring("return ...", "=mychunk")))
local g = loadstring("local a, b = ... return a * b")
print(g(6, 7))
local parts = {"return ", "10", " * ", "3"}
local i = 0
print(load(function() i = i + 1 return parts[i] end)())
print(pcall(loadstring("error('in chunk')", "=named")))
local dumped = string.dump(function(a) return a + 1 end)
print(type(dumped), loadstring(dumped)(41))
print(loadstring("return 2^31, 7 / 2, -0")())
