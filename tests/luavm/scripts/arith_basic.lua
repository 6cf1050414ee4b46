-- integer and double arithmetic with the usual operators
print(1 + 2, 10 - 3, 6 * 7, 7 / 2, 8 / 4, 7 % 3, 2 ^ 10)
print(-7 % 3, 7 % -3, -7 % -3, 5.5 % 2, -5.5 % 2)
print(1 / 3, 2 / 3, 10 / 4, 1e300 * 10, -1e300 * 10)
print(3 - 3.0, 0.1 + 0.2, 0.1 + 0.2 == 0.3, 1e15 + 1, 1e16 + 1)
local a, b = 17, 5
print(a + b, a - b, a * b, a / b, a % b, a ^ 2, -a)
