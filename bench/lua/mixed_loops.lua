-- integer loops with divisions, modulo and nested tables
local grid = {}
for r = 1, 300 do
  local row = {}
  for c = 1, 300 do row[c] = (r * c) % 17 end
  grid[r] = row
end
local total = 0
for k = 1, 300 do
  for r = 1, 300 do
    local row = grid[r]
    for c = 1, 300 do total = total + row[c] / 2 end
  end
end
print(total)
