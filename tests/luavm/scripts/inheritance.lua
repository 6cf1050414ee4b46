-- classes with single inheritance through __index
local Animal = {}
Animal.__index = Animal
function Animal.new(name, sound) return setmetatable({name = name, sound = sound}, Animal) end
function Animal:speak() return self.name .. " says " .. self.sound end
function Animal:kind() return "animal" end
local Dog = setmetatable({}, {__index = Animal})
Dog.__index = Dog
function Dog.new(name) local d = Animal.new(name, "woof") return setmetatable(d, Dog) end
function Dog:kind() return "dog" end
function Dog:fetch() return self.name .. " fetches" end
local a, d = Animal.new("Cat", "meow"), Dog.new("Rex")
print(a:speak(), a:kind(), d:speak(), d:kind(), d:fetch())
print(getmetatable(d) == Dog, rawget(d, "speak"), d.fetch ~= nil, a.fetch)
