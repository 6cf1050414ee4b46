-- locals, globals, shadowing and environments
x = "global"
local x = "local"
print(x, _G.x)
do local x = "inner" print(x) end
print(x)
local function f() return x end
x = "changed"
print(f())
local env = {print = print}
local g = loadstring("y = 5; print(y)")
setfenv(g, env)
g()
print(env.y, y)
print(getfenv(1) == _G, type(getfenv(g)))
local a, b, c = 1, 2
print(a, b, c)
local p, q = 1, 2, 3
print(p, q)
a, b = b, a
print(a, b)
