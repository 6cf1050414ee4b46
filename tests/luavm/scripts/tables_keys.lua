-- key kinds: integers, integral doubles, fractions, strings, booleans, tables
local t = {}
t[1] = "int"
t[1.0] = "double one"
t[1.5] = "fraction"
t["1"] = "string"
t[true] = "bool"
local k = {}
t[k] = "table key"
print(t[1], t[1.5], t["1"], t[true], t[k], t[2 / 2], t[3 - 2])
t[2^31] = "big"
t[-2^31] = "small"
t[2^53] = "huge"
print(t[2147483648], t[-2147483648], t[2^53])
print(pcall(function() t[nil] = 1 end))
print(pcall(function() t[0/0] = 1 end))
print(rawget(t, 1), rawget(t, 1.0), rawequal(1, 1.0), rawequal("1", 1))
