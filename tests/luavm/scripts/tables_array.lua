-- array tables and the length operator
local t = {10, 20, 30}
print(#t, t[1], t[3], t[4], t[0], t[-1])
t[#t + 1] = 40
t[6] = 60
print(#t == 4 or #t == 6, t[5], t[6])
local u = {}
for i = 1, 100 do u[i] = i * i end
print(#u, u[50], u[100], u[101])
for i = 100, 51, -1 do u[i] = nil end
print(#u)
local v = {n = 1, [1] = "a", [2] = "b", [3.0] = "c"}
print(#v, v[3], v[3.0], v.n)
print(#{nil}, #{1, nil, 3} >= 1, #{n = 3}, #"")
