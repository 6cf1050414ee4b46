-- results past 32 bits continue as doubles
local max, min = 2147483647, -2147483648
print(max + 1, min - 1, max * 2, min * -1, -min, max * max)
print(max + 1 - 1, (max + 1) == 2147483648, min / -1)
local x = 1
for i = 1, 40 do x = x * 2 end
print(x, x / 2 ^ 40)
local s = 0
for i = 1, 100 do s = s + 2147483647 end
print(s, s % 1000)
print(65536 * 65536, 46341 * 46341, 46340 * 46340)
print(2 ^ 31, 2 ^ 32, (-2) ^ 31, (-2) ^ 63, 3 ^ 20, 3 ^ 21)
