-- producer/consumer and permutations with coroutines
local function permgen(a, n)
  n = n or #a
  if n <= 1 then coroutine.yield(a) else
    for i = 1, n do
      a[n], a[i] = a[i], a[n]
      permgen(a, n - 1)
      a[n], a[i] = a[i], a[n]
    end
  end
end
for p in coroutine.wrap(function() permgen({1, 2, 3}) end) do print(table.concat(p, " ")) end
local function producer()
  return coroutine.create(function() for _, w in ipairs({"x", "y", "z"}) do coroutine.yield(w) end end)
end
local p = producer()
while true do
  local ok, v = coroutine.resume(p)
  if not v then break end
  io.write(v, " ")
end
print()
