local mt = {__index = function(t, k) return k * 2 end, __add = function(a, b) return 1 end}
local x = setmetatable({}, mt)
return x[21], x + x, coroutine.wrap(function() coroutine.yield(1) end)()
