-- concatenation, formatting and pattern work
local parts = {}
for i = 1, 200000 do parts[#parts + 1] = string.format("%d:%s", i, "x") end
local text = table.concat(parts, ",")
local n = 0
for w in text:gmatch("%d+") do n = n + 1 end
local s = ""
for i = 1, 20000 do s = s .. "ab" end
print(#text, n, #s)
