-- while, repeat, numeric and generic for, break
local i, out = 0, {}
while true do i = i + 1 if i > 5 then break end out[#out + 1] = i end
print(table.concat(out, ","))
local n = 0
repeat n = n + 1 local done = n >= 3 until done
print(n)
for k = 10, 1, -2 do io.write(k, " ") end
print()
for k = 1, 0 do print("never") end
for k = 1.5, 3 do io.write(k, " ") end
print()
for k = 2147483640, 2147483647, 3 do io.write(k, " ") end
print()
for k = -2147483648, -2147483645 do io.write(k, " ") end
print()
for k = 0.1, 0.5, 0.1 do io.write(k, " ") end
print()
for k = 1, 3 do local k = k * 2 io.write(k, " ") end
print()
local steps = 0
for k = 1, 10, 4 do steps = steps + 1 end
print(steps)
