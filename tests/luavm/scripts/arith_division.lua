-- exact and inexact divisions and the modulo rule
for a = -7, 7, 7 do
  for _, b in ipairs({-4, -3, -1, 1, 3, 4}) do
    io.write(a, "/", b, "=", a / b, " ", a, "%", b, "=", a % b, "  ")
  end
  print()
end
print(100 / 10, 100 / 3, 1 / 7 * 7, 2147483647 / 7, -2147483648 / 2)
print(math.fmod(7, 3), math.fmod(-7, 3), math.fmod(7, -3), math.fmod(7.5, 2))
print(math.modf(3.7), math.modf(-3.7), math.modf(5))
