-- integer limits through the common operations
local max, min = 2147483647, -2147483648
print(max, min, max + 0, min + 0, max - -1, min + -1)
print(max % 2, min % 2, max % -2, min % 3, -7 % 2147483647)
print(max / max, min / min, min / max, max / 1, min / 1)
print(math.abs(min), -min == 2147483648, min * min)
print(#tostring(max), tostring(min):len())
local t = {}
t[max] = "max" t[min] = "min"
print(t[max], t[min], t[2147483647.0], t[-2147483648.0])
print(string.format("%d %d", max, min), string.format("%.0f", max + 1))
for i = max - 2, max do io.write(i, ";") end
print()
for i = min + 2, min, -1 do io.write(i, ";") end
print()
