-- powers with integer and fractional exponents
for _, b in ipairs({-3, -2, -1, 0, 1, 2, 3, 10}) do
  local row = {}
  for e = 0, 6 do row[#row + 1] = tostring(b ^ e) end
  print(b, table.concat(row, " "))
end
print(2 ^ -1, 2 ^ -2, 4 ^ 0.5, 8 ^ (1 / 3), (-8) ^ (1 / 3) ~= (-8) ^ (1 / 3))
print(0 ^ 0, 0 ^ 1, 1 ^ 1e9, 2 ^ 30, 2 ^ 31 - 1, 10 ^ 9, 10 ^ 10)
