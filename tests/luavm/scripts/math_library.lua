-- the math library
print(math.floor(3.7), math.floor(-3.7), math.ceil(3.2), math.ceil(-3.2))
print(math.abs(-5), math.abs(5.5), math.max(1, 5, 3), math.min(4, -2, 8), math.max(2.5, 2))
print(math.sqrt(16), math.sqrt(2), math.pi, math.huge, -math.huge)
print(math.sin(0), math.cos(0), math.tan(0), math.exp(0), math.log(1), math.log10(1000))
print(math.pow(2, 10), math.deg(math.pi), math.rad(180), math.ldexp(1, 10), math.frexp(8))
print(string.format("%.6f %.6f", math.asin(1), math.atan2(1, 1)))
print(math.floor(2^31 + 0.5), math.floor(-2^31 - 0.5), math.fmod(-6, 4))
print(pcall(math.floor))
