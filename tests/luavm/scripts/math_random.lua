-- the random generator with a fixed seed stays within bounds
math.randomseed(1234)
local ok = true
for i = 1, 1000 do
  local a, b, c = math.random(), math.random(10), math.random(5, 7)
  if a < 0 or a >= 1 or b < 1 or b > 10 or c < 5 or c > 7 or b % 1 ~= 0 then ok = false end
end
print(ok)
print(pcall(math.random, 0), pcall(math.random, 3, 1))
print(pcall(math.random, 1, 2, 3))
