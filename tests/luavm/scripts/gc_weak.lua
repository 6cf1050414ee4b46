-- weak tables and finalisers
local weak = setmetatable({}, {__mode = "v"})
weak[1] = {}
local keep = {}
weak[2] = keep
collectgarbage()
print(weak[1], weak[2] == keep)
local wk = setmetatable({}, {__mode = "k"})
wk[{}] = 1
wk[keep] = 2
collectgarbage()
local n = 0
for k in pairs(wk) do n = n + 1 end
print(n)
local order = {}
do
  local u = newproxy(true)
  getmetatable(u).__gc = function() order[#order + 1] = "finalised" end
end
collectgarbage()
collectgarbage()
print(order[1])
print(type(collectgarbage("count")), collectgarbage("step") ~= nil)
