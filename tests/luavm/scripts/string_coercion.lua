-- strings in arithmetic and numbers in string operations
print("10" + 5, "3" * "4", "2" ^ "3", "10" / "4", "7" % "4", -"3", "0x10" + 0)
print(10 .. 20, 1.5 .. "", -0.0 .. "", 2^31 .. "|")
print(pcall(function() return "a" + 1 end))
print(pcall(function() return {} .. "x" end))
print(#("x" .. 123), ("5"):rep(3), (12):type == nil)
local n = 0
for i = 1, 10 do n = n + ("" .. i) end
print(n)
