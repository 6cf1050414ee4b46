-- numeric loops with fractional and mixed bounds and steps
local function collect(a, b, c)
  local out = {}
  for i = a, b, c do out[#out + 1] = i if #out > 20 then break end end
  return table.concat(out, " ")
end
print(collect(1, 2, 0.25))
print(collect(0, 1, 0.1))
print(collect(1, 5.5, 1))
print(collect(5, 1.5, -1))
print(collect(1.5, 4, 1))
print(collect("1", "3", "1"))
print(collect(1, 3, 1.0))
print(collect(10, 1, -2.5))
print(pcall(collect, 1, "x", 1))
