local s = string.format("%d %5.2f %q", 3, 2.5, "x")
local t = table.setreadonly({1, 2})
return pcall(function() t[3] = 1 end), s:rep(3):gsub("%d", "n")
