-- pattern matching
print(string.match("key = value", "(%w+)%s*=%s*(%w+)"))
print(string.match("2024-01-15", "(%d+)-(%d+)-(%d+)"))
print(string.match("  trim me  ", "^%s*(.-)%s*$") .. "|")
print(string.match("hello", "()ll()"))
print(string.find("a.b.c", ".", 1, true), string.find("a.b.c", "%."))
print(string.match("[[nested]]", "%[(%b[])%]"))
print(string.match("THE (quick) fox", "%((%a+)%)"), string.match("x", "y"))
print(string.match("hello world from lua", "%f[%w]%w+$"))
for k, v in string.gmatch("a=1, b=2, c=3", "(%w+)=(%w+)") do io.write(k, ":", v, " ") end
print()
for w in string.gmatch("one two  three", "%a+") do io.write("<", w, ">") end
print()
print(pcall(string.match, "x", "("))
print(pcall(string.rep))
