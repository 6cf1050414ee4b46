-- a stack and a queue class
local Stack = {}
Stack.__index = Stack
function Stack.new() return setmetatable({items = {}, size = 0}, Stack) end
function Stack:push(v) self.size = self.size + 1 self.items[self.size] = v end
function Stack:pop() local v = self.items[self.size] self.items[self.size] = nil self.size = self.size - 1 return v end
local s = Stack.new()
for i = 1, 5 do s:push(i * 1.5) end
print(s:pop(), s:pop(), s.size)
local Queue = {}
Queue.__index = Queue
function Queue.new() return setmetatable({first = 1, last = 0, items = {}}, Queue) end
function Queue:push(v) self.last = self.last + 1 self.items[self.last] = v end
function Queue:pop() local v = self.items[self.first] self.items[self.first] = nil self.first = self.first + 1 return v end
local q = Queue.new()
for _, w in ipairs({"a", "b", "c"}) do q:push(w) end
print(q:pop(), q:pop(), q.first, q.last)
