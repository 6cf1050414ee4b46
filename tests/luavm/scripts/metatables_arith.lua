-- arithmetic metamethods on a vector type
local V = {}
V.__index = V
local function vec(x, y) return setmetatable({x = x, y = y}, V) end
V.__add = function(a, b) return vec(a.x + b.x, a.y + b.y) end
V.__sub = function(a, b) return vec(a.x - b.x, a.y - b.y) end
V.__mul = function(a, b)
  if type(a) == "number" then return vec(a * b.x, a * b.y) end
  if type(b) == "number" then return vec(a.x * b, a.y * b) end
  return a.x * b.x + a.y * b.y
end
V.__div = function(a, s) return vec(a.x / s, a.y / s) end
V.__mod = function(a, s) return vec(a.x % s, a.y % s) end
V.__pow = function(a, s) return vec(a.x ^ s, a.y ^ s) end
V.__unm = function(a) return vec(-a.x, -a.y) end
V.__tostring = function(a) return "(" .. a.x .. "," .. a.y .. ")" end
V.__eq = function(a, b) return a.x == b.x and a.y == b.y end
V.__lt = function(a, b) return a.x < b.x end
V.__le = function(a, b) return a.x <= b.x end
V.__concat = function(a, b) return tostring(a) .. tostring(b) end
V.__len = function(a) return 2 end
local a, b = vec(1, 2), vec(3, 4)
print(tostring(a + b), tostring(a - b), a * b, tostring(2 * a), tostring(a * 3))
print(tostring(b / 2), tostring(b % 2), tostring(a ^ 2), tostring(-a))
print(a == vec(1, 2), a ~= b, a < b, b <= a, a .. b, #a)
