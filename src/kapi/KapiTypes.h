#ifndef KAPI_KAPITYPES_H
#define KAPI_KAPITYPES_H
// Fixed-width integer names used across the platform library. Times are signed 64-bit
// microseconds; kInfinite (the largest int64) means "no time limit".
#include <cstdint>

typedef int8_t int8;
typedef uint8_t uint8;
typedef int16_t int16;
typedef uint16_t uint16;
typedef int32_t int32;
typedef uint32_t uint32;
typedef int64_t int64;
typedef uint64_t uint64;

namespace Kapi {
constexpr int64 kInfinite = INT64_MAX;
} // namespace Kapi

#endif
