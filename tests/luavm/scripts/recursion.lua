-- recursion, mutual recursion and tail calls
local function fact(n) if n <= 1 then return 1 end return n * fact(n - 1) end
print(fact(5), fact(12), fact(13), fact(20), fact(25))
local function fib(n) if n < 2 then return n end return fib(n - 1) + fib(n - 2) end
print(fib(20), fib(25))
local isodd
local function iseven(n) if n == 0 then return true end return isodd(n - 1) end
function isodd(n) if n == 0 then return false end return iseven(n - 1) end
print(iseven(10), isodd(7), iseven(7))
local function loop(n, acc) if n == 0 then return acc end return loop(n - 1, acc + n) end
print(loop(100000, 0))
local function ack(m, n)
  if m == 0 then return n + 1 end
  if n == 0 then return ack(m - 1, 1) end
  return ack(m - 1, ack(m, n - 1))
end
print(ack(2, 3), ack(3, 3))
