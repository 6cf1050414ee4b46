-- nested tables, references and a deep copy
local function deepcopy(v)
  if type(v) ~= "table" then return v end
  local c = {}
  for k, x in pairs(v) do c[deepcopy(k)] = deepcopy(x) end
  return c
end
local a = {1, {2, {3, {4}}}, name = {first = "A", last = "B"}}
local b = deepcopy(a)
b[2][2][1] = 30
print(a[2][2][1], b[2][2][1], a.name.first, b.name.last, a[2] ~= b[2])
local grid = {}
for r = 1, 4 do grid[r] = {} for c = 1, 4 do grid[r][c] = r * c end end
for r = 1, 4 do print(table.concat(grid[r], " ")) end
local self = {}
self.me = self
print(self.me.me.me == self)
