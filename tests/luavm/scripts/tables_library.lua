-- table.insert, remove, concat, sort, maxn, getn
local t = {}
for i = 1, 5 do table.insert(t, i) end
table.insert(t, 1, 0)
table.insert(t, 4, 99)
print(table.concat(t, ","))
print(table.remove(t), table.remove(t, 1), table.remove(t, 3), table.concat(t, ","))
print(table.concat({1, 2.5, "x"}, "-"), table.concat({}, ","), table.concat({1, 2, 3}, ",", 2, 3))
print(table.maxn({1, 2, [10] = 3, [2.5] = 4}), table.getn({1, 2, 3}))
local s = {5, 2, 8, 1, 9, 3}
table.sort(s)
print(table.concat(s, " "))
table.sort(s, function(a, b) return a > b end)
print(table.concat(s, " "))
local words = {"pear", "Apple", "fig", "banana"}
table.sort(words)
print(table.concat(words, " "))
print(pcall(table.concat, {1, {}, 3}))
print(pcall(table.sort, {1, "x", 2}))
