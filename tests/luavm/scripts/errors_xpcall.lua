-- xpcall handlers and error objects
local function handler(e) return "handled: " .. tostring(e) end
print(xpcall(function() error("boom") end, handler))
print(xpcall(function() return "fine", 2 end, handler))
print(xpcall(function() local t = nil; return t[1] end, function(e) return type(e) end))
local depth = 0
local function deep() depth = depth + 1 return deep() + 1 end
local ok, e = pcall(deep)
print(ok, string.find(e, "stack overflow") ~= nil, depth > 1000)
print(pcall(pcall))
print(pcall(xpcall, function() error("x") end))
