-- io.write with numbers and strings, and print with separators
io.write("a", 1, 2.5, "b", -3, "\n")
io.write(2^31, " ", 1e100, " ", 1/3, "\n")
print(1, nil, false, true, "x")
print()
print(("x"):rep(3), 3)
local out = io.stdout
out:write("method ", 42, "\n")
print(io.type(io.stdout), io.type(42))
