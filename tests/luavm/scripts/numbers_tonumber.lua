-- text to numbers, bases and rejects
local inputs = {"10", " 10 ", "0x10", "0XfF", "1e3", "1.5", ".5", "5.", "-7", "+7", "abc",
  "10abc", "", " ", "1e", "0x", "inf", "nan", "1e400", "2147483648", "-2147483649"}
for _, s in ipairs(inputs) do
  print(string.format("%q", s), tonumber(s))
end
print(tonumber("ff", 16), tonumber("777", 8), tonumber("zz", 36), tonumber("102", 2),
  tonumber("11", 2), tonumber("7fffffff", 16), tonumber("ffffffff", 16))
print(tonumber(nil), tonumber(true), tonumber({}), tonumber(12), tonumber(1.25))
