-- variable arguments and multiple results
local function count(...) return select("#", ...) end
print(count(), count(nil), count(1, nil), count(nil, nil, nil))
local function pack(...) return {n = select("#", ...), ...} end
local p = pack(1, nil, 3)
print(p.n, p[1], p[2], p[3])
print(select(2, "a", "b", "c"), select(-1, "a", "b", "c"))
local function multi() return 1, 2, 3 end
print(multi(), (multi()), {multi()}[3] == nil)
print(unpack({1, 2, 3}), unpack({1, 2, 3}, 2), unpack({1, 2, 3}, 2, 3))
local t = {multi(), multi()}
print(#t)
local function f(...) local a, b = ... return a, b end
print(f(9, 8, 7))
print(pcall(select, 0, 1))
