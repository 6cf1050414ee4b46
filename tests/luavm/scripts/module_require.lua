-- package.loaded, preload and require of standard and preloaded modules
package.preload["mymod"] = function(name) return {name = name, value = 42} end
local m = require("mymod")
print(m.name, m.value, require("mymod") == m, package.loaded.mymod == m)
print(require("string") == string, require("table") == table, package.loaded._G == _G)
local okr, er = pcall(require, "no_such_module_here_kelo")
print(okr, (er:match("^[^\n]*")))
print(type(package.path), type(package.cpath), type(package.loaders))
