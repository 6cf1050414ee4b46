-- deterministic parts of the os library
print(type(os.time()), type(os.clock()), os.getenv("KELO_UNSET_VARIABLE_X"))
print(os.time({year = 2000, month = 1, day = 1, hour = 12}) - os.time({year = 2000, month = 1, day = 1, hour = 0}))
print(os.date("!%Y-%m-%d %H:%M:%S", 0), os.date("!%j", 86400 * 40))
local d = os.date("!*t", 1234567890)
print(d.year, d.month, d.day, d.hour, d.min, d.sec, d.wday, d.yday, d.isdst)
print(os.difftime(10, 4), os.remove("/nonexistent/kelo/file"))
