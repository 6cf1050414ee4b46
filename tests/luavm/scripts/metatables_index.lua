-- __index and __newindex as tables and functions, rawget and rawset
local defaults = {color = "red", size = 1}
local t = setmetatable({}, {__index = defaults})
print(t.color, t.size, t.other, rawget(t, "color"))
local log = {}
local p = setmetatable({}, {
  __index = function(_, k) return "computed " .. tostring(k) end,
  __newindex = function(tab, k, v) log[#log + 1] = k rawset(tab, k, v * 2) end,
})
p.a = 1
p.b = 2
p.a = 5
print(p.a, p.b, p.c, table.concat(log, ","))
local chain = setmetatable({}, {__index = setmetatable({}, {__index = {deep = "yes"}})})
print(chain.deep)
local ro = setmetatable({}, {__newindex = function() error("no writes", 2) end})
print(pcall(function() ro.x = 1 end))
print(getmetatable("abc").__index == string, getmetatable(setmetatable({}, {__metatable = "locked"})))
