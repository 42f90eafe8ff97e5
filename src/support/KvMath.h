// Conversions of doubles to 32-bit integers, truncating toward zero.
// Sizes, offsets and table entries are computed in double precision and
// truncated; a value outside the 32-bit range (or NaN) gives the platform's
// "integer indefinite" 0x80000000, as the x86-64 conversion instruction does,
// instead of undefined behaviour.
#ifndef KV_MATH_H
#define KV_MATH_H

#include <cstdint>

inline int32_t KvTruncToInt32(double value)
{
    if (value > -2147483649.0 && value < 2147483648.0)
        return static_cast<int32_t>(value);
    return INT32_MIN;
}

// 32-bit signed arithmetic that wraps like the hardware instead of being
// undefined on overflow.
inline uint32_t KvU32(int32_t value)
{
    return static_cast<uint32_t>(value);
}

inline int32_t KvWrap32(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

inline int32_t KvAdd32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t KvSub32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t KvMul32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

#endif
