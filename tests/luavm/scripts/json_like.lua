-- a tiny serializer with sorted keys
local function ser(v, indent)
  indent = indent or ""
  local t = type(v)
  if t == "table" then
    local keys = {}
    for k in pairs(v) do keys[#keys + 1] = k end
    table.sort(keys, function(a, b) return tostring(a) < tostring(b) end)
    local out = {}
    for _, k in ipairs(keys) do out[#out + 1] = indent .. "  " .. tostring(k) .. ": " .. ser(v[k], indent .. "  ") end
    return "{\n" .. table.concat(out, ",\n") .. "\n" .. indent .. "}"
  elseif t == "string" then return string.format("%q", v)
  else return tostring(v) end
end
print(ser({name = "x", list = {1, 2.5, "three"}, nested = {a = true, b = false}, n = -7}))
