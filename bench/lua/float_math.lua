-- double arithmetic in a tight loop
local x, y = 0.5, 0.25
local acc = 0.0
for i = 1, 5000000 do
  x = x * 1.0000001 + y * 0.5
  y = y - x * 0.0000001
  acc = acc + math.sin(x) * 0.001
end
print(string.format("%.6f %.6f %.6f", x, y, acc))
