-- matrix products with integers and doubles
local function matmul(a, b)
  local n, m, p = #a, #b, #b[1]
  local c = {}
  for i = 1, n do
    c[i] = {}
    for j = 1, p do
      local s = 0
      for k = 1, m do s = s + a[i][k] * b[k][j] end
      c[i][j] = s
    end
  end
  return c
end
local a = {{1, 2}, {3, 4}}
local id = {{1, 0}, {0, 1}}
local r = matmul(a, a)
print(r[1][1], r[1][2], r[2][1], r[2][2])
r = matmul(a, id)
print(r[1][1], r[2][2])
local h = {{0.5, 0.25}, {0.125, 1}}
r = matmul(h, a)
print(r[1][1], r[1][2], r[2][1], r[2][2])
local big = {{65536, 0}, {0, 65536}}
r = matmul(big, big)
print(r[1][1], r[2][2], r[1][1] * 2)
