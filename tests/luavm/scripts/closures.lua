-- closures and shared upvalues
local function counter()
  local n = 0
  return function() n = n + 1 return n end, function() return n end
end
local inc, get = counter()
inc() inc() inc()
print(get())
local fs = {}
for i = 1, 5 do fs[i] = function() return i * 10 end end
print(fs[1](), fs[3](), fs[5]())
local function adder(x) return function(y) return x + y end end
print(adder(3)(4), adder(2.5)(0.5), adder("1")(2))
local a = {}
local x = 1
while x <= 3 do local y = x a[x] = function() return y end x = x + 1 end
print(a[1](), a[2](), a[3]())
local function compose(f, g) return function(...) return f(g(...)) end end
print(compose(math.abs, math.floor)(-3.5))
