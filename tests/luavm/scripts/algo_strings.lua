-- string building, splitting and counting
local function split(s, sep)
  local out = {}
  for piece in string.gmatch(s, "([^" .. sep .. "]+)") do out[#out + 1] = piece end
  return out
end
local parts = split("alpha,beta,gamma,delta", ",")
print(#parts, parts[2], parts[4])
local buf = {}
for i = 1, 20 do buf[#buf + 1] = string.format("%02d", i) end
print(table.concat(buf, ":"))
local text = "the quick brown fox jumps over the lazy dog the end"
local freq = {}
for w in text:gmatch("%a+") do freq[w] = (freq[w] or 0) + 1 end
local words = {}
for w, c in pairs(freq) do words[#words + 1] = w .. "=" .. c end
table.sort(words)
print(table.concat(words, " "))
local caesar = text:gsub("%a", function(c) return string.char((c:byte() - 97 + 3) % 26 + 97) end)
print(caesar)
