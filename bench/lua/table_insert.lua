-- array appends, hash inserts and reads
local t = {}
for i = 1, 2000000 do t[#t + 1] = i end
local h = {}
for i = 1, 300000 do h["k" .. (i % 50000)] = i end
local s = 0
for i = 1, #t do s = s + t[i] end
print(s, h.k1)
