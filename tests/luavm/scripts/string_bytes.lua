-- binary-safe strings
local s = "a\0b\0c"
print(#s, s:byte(1, -1))
print(s:find("\0", 1, true), s:gsub("%z", "."))
local all = {}
for i = 0, 255 do all[#all + 1] = string.char(i) end
local bin = table.concat(all)
print(#bin, bin:byte(256), bin:sub(66, 70))
print(string.format("%q", "\1\2\r\n"):len())
print(("\65\066\x43"):len(), "\65\066", "tab\tend")
