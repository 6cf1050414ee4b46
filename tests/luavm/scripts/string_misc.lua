-- string methods through the string metatable and long strings
local long = [[
first line
second line]]
print(#long, long:sub(1, 5))
local lvl = [==[with ]] inside]==]
print(lvl)
print(("%s-%s"):format("a", "b"), ("abc"):upper():lower():len())
print(("x"):byte(), ("\255"):byte(), #("\n"):rep(4))
print(tostring(nil), tostring(true), tostring("s"))
print(string.format("%-6s|%6s|", "ab", "cd"), ("a,b"):find(","))
print(("CamelCaseString"):gsub("(%u)", " %1"))
