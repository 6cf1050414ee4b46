/*
** Arithmetic of the integer subtype: 32-bit operations that either give the exact result as
** an integer (return 1) or report that the result must be computed in doubles (return 0).
** Integers never hold -0, so an operation whose double result would be -0 also returns 0.
** Lua's semantics: modulo takes the sign of the divisor; division is exact or not an integer.
*/
#ifndef lkelonum_h
#define lkelonum_h

#include <stdint.h>

static inline int kelo_fits32(int64_t v)
{
    return v >= INT32_MIN && v <= INT32_MAX;
}

static inline int kelo_tryadd(int32_t* r, int32_t a, int32_t b)
{
    int64_t v = (int64_t)a + b;
    if (!kelo_fits32(v))
        return 0;
    *r = (int32_t)v;
    return 1;
}

static inline int kelo_trysub(int32_t* r, int32_t a, int32_t b)
{
    int64_t v = (int64_t)a - b;
    if (!kelo_fits32(v))
        return 0;
    *r = (int32_t)v;
    return 1;
}

static inline int kelo_trymul(int32_t* r, int32_t a, int32_t b)
{
    int64_t v = (int64_t)a * b;
    if (!kelo_fits32(v))
        return 0;
    if (v == 0 && (a < 0 || b < 0))
        return 0; /* -0 */
    *r = (int32_t)v;
    return 1;
}

static inline int kelo_trydiv(int32_t* r, int32_t a, int32_t b)
{
    if (b == 0)
        return 0; /* inf or nan */
    if (a == 0 && b < 0)
        return 0; /* -0 */
    if (b == -1 && a == INT32_MIN)
        return 0;
    if (a % b != 0)
        return 0;
    *r = a / b;
    return 1;
}

static inline int kelo_trymod(int32_t* r, int32_t a, int32_t b)
{
    int32_t m;
    if (b == 0)
        return 0; /* nan */
    if (b == -1) {
        *r = 0;
        return 1;
    }
    m = a % b;
    if (m != 0 && ((m ^ b) < 0))
        m += b;
    *r = m;
    return 1;
}

static inline int kelo_trypow(int32_t* r, int32_t a, int32_t b)
{
    int64_t result = 1, base = a;
    if (b < 0)
        return 0;
    while (b > 0) {
        if (b & 1) {
            result *= base;
            if (!kelo_fits32(result))
                return 0;
        }
        b >>= 1;
        if (b > 0) {
            base *= base;
            if (base > ((int64_t)1 << 31) || base < -((int64_t)1 << 31))
                return 0;
        }
    }
    *r = (int32_t)result;
    return 1;
}

/* d truncated to a 64-bit integer; NaN and values out of range give INT64_MIN, as the
** x86-64 conversion instruction does, instead of undefined behaviour */
static inline int64_t kelo_num2int64(double d)
{
    if (d >= -9223372036854775808.0 && d < 9223372036854775808.0)
        return (int64_t)d;
    return INT64_MIN;
}

static inline int kelo_tryunm(int32_t* r, int32_t a)
{
    if (a == 0 || a == INT32_MIN)
        return 0; /* -0, or out of range */
    *r = -a;
    return 1;
}

#endif
