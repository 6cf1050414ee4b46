-- closures over loop variables and upvalues shared between closures
local fns = {}
for i = 1, 3 do
  local j = i * 2
  fns[i] = function(delta) j = j + (delta or 0) return i, j end
end
print(fns[1]())
print(fns[2](5))
print(fns[2]())
print(fns[3](-6))
local get, set
do local v = 0 get = function() return v end set = function(x) v = x end end
set(99)
print(get())
local acc = {}
for k, v in pairs({a = 1}) do acc[#acc + 1] = function() return k .. v end end
print(acc[1]())
