-- zero, negative zero, infinities and not-a-number
local z = 0
local nz = -z
print(nz, 0 * -1, -0.0 == 0, 1 / nz, 1 / z)
print(z / -5, -z / 5, 0 % 5, 0 % -5)
local inf = 1 / z
print(inf, -inf, inf - inf ~= inf - inf, inf > 1e308, math.huge == inf)
local nan = z / z
print(nan ~= nan, nan == nan, 5 % z ~= 5 % z)
print(math.floor(-0.5), math.ceil(-0.5), math.abs(-0.0))
