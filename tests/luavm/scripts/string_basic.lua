-- the string library's simple functions
local s = "Hello, World"
print(#s, s:len(), s:upper(), s:lower(), s:reverse())
print(s:sub(1, 5), s:sub(-5), s:sub(3, -3), s:sub(0), s:sub(100), s:sub(-100, 2))
print(s:byte(1), s:byte(-1), s:byte(1, 3))
print(string.char(72, 105, 33), string.rep("ab", 3), string.rep("x", 0), ("-"):rep(10))
print(("%d items"):format(3), s:find("World"), s:find("o", 6), s:find("xyz"))
print(s:find("l+"), s:find(".", 1, true), s:find("", 4))
