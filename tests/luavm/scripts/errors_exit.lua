-- an uncaught error ends the script with a message and a failure status
print("before")
local t = {}
local function inner() return t.missing.field end
inner()
print("not reached")
