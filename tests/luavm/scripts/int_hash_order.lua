-- traversal order of integer keys kept in the hash part
local t = {}
for _, k in ipairs({100, 7, 2000, 33, -5, 64, 1000000, 12}) do t[k] = k * 2 end
local out = {}
for k, v in pairs(t) do out[#out + 1] = k .. "=" .. v end
print(table.concat(out, " "))
local z = {}
z[-0] = "zero"
for k, v in pairs(z) do print(k, v) end
print(_VERSION)
