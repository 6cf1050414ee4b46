-- __call, __tostring, __concat, __len on tables
local callable = setmetatable({}, {__call = function(self, a, b) return a + b, self end})
print(callable(2, 3) == 5, select("#", callable(1, 1)))
local memo = setmetatable({}, {__mode = "k", __call = function(self, n)
  if not rawget(self, n) then rawset(self, n, n * n) end
  return self[n]
end})
print(memo(4), memo(4), memo(12))
local named = setmetatable({}, {__tostring = function() return "I am named" end})
print(tostring(named), named == named)
local cc = setmetatable({}, {__concat = function(a, b)
  return (type(a) == "table" and "T" or a) .. (type(b) == "table" and "T" or b) end})
print(cc .. "x", "x" .. cc, 1 .. cc)
print(pcall(function() return {} + 1 end))
print(pcall(function() local x = {} x() end))
