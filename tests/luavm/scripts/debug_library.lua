-- parts of the debug library with stable output
local function where() local info = debug.getinfo(1, "Sl") return info.short_src, info.currentline end
print(where())
local info = debug.getinfo(print)
print(info.what, info.short_src, info.source)
local function locals() local a, b = 1, "two" local n1, v1 = debug.getlocal(1, 1) local n2, v2 = debug.getlocal(1, 2) return n1, v1, n2, v2 end
print(locals())
local up = 5
local function useup() return up end
print(debug.getupvalue(useup, 1))
local tb = debug.traceback("msg", 1)
print(tb:match("^msg\nstack traceback:") ~= nil)
print(type(debug.getregistry()), debug.getmetatable("x").__index == string)
