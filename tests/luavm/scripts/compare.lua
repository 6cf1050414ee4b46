-- comparisons across the number subtypes and between strings
print(1 < 2, 2 < 1, 1 <= 1, 1.5 > 1, 2 >= 2.0, 3 == 3.0, 3 ~= 3.0)
print(2147483647 < 2147483648, -2147483648 > -2147483649, 1e15 > 2147483647)
print("a" < "b", "abc" < "abd", "Z" < "a", "" < "a", "a\0b" < "a\0c", "10" < "9")
print(pcall(function() return 1 < "2" end))
print(pcall(function() return {} < {} end))
local t = {}
print(t == t, t == {}, "1" == 1, 0 == -0, nil == false)
