-- traversal of the array part and sorted traversal of string keys
local t = {"a", "b", "c", x = 1, y = 2, z = 3}
for i, v in ipairs(t) do io.write(i, "=", v, " ") end
print()
local keys = {}
for k in pairs(t) do if type(k) == "string" then keys[#keys + 1] = k end end
table.sort(keys)
print(table.concat(keys, ","))
local n = 0
for k, v in pairs(t) do n = n + 1 end
print(n, next({}), type(next(t)))
local sum = 0
for i, v in ipairs({1, 2, nil, 4}) do sum = sum + v end
print(sum)
table.foreachi({"p", "q"}, function(i, v) io.write(i, v, ";") end)
print()
