-- a sieve and integer checks
local function sieve(n)
  local is, out = {}, {}
  for i = 2, n do is[i] = true end
  for i = 2, n do
    if is[i] then out[#out + 1] = i for j = i * i, n, i do is[j] = false end end
  end
  return out
end
local p = sieve(200)
print(#p, table.concat(p, " ", 1, 15), p[#p])
local function gcd(a, b) while b ~= 0 do a, b = b, a % b end return a end
print(gcd(48, 18), gcd(17, 5), gcd(2147483646, 1073741823), gcd(0, 9))
local function collatz(n) local s = 0 while n ~= 1 do n = n % 2 == 0 and n / 2 or 3 * n + 1 s = s + 1 end return s end
print(collatz(27), collatz(97), collatz(871))
