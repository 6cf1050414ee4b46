-- bit manipulation done with arithmetic
local function band(a, b)
  local r, bit = 0, 1
  while a > 0 and b > 0 do
    if a % 2 == 1 and b % 2 == 1 then r = r + bit end
    a, b, bit = math.floor(a / 2), math.floor(b / 2), bit * 2
  end
  return r
end
local function tobin(n) local s = "" repeat s = (n % 2) .. s n = math.floor(n / 2) until n == 0 return s end
print(band(12, 10), band(255, 15), band(2147483647, 65535))
print(tobin(10), tobin(255), tobin(2^20))
local crc = 0
for i = 1, 1000 do crc = (crc * 31 + i) % 4294967296 end
print(crc)
local h = 5381
for c in ("hello world"):gmatch(".") do h = (h * 33 + c:byte()) % 4294967296 end
print(h)
