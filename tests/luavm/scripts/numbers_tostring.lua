-- how numbers turn into text
local values = {0, 1, -1, 42, 3.5, -3.5, 1e14, 1e15, 1e16, 123456789012345, 2^31, 2^53,
  1/3, 100, 1e100, 1e-5, 0.1, 2147483647, -2147483648, 12345.678}
for _, v in ipairs(values) do
  io.write(tostring(v), " | ", v .. "", " | ", string.format("%g", v), "\n")
end
print(#tostring(2^63), tostring(-2^63))
