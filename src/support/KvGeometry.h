// Plain geometry records and the free rectangle functions of the support
// library. Most of these functions are deliberately empty on this platform:
// they report success and leave everything as it was. CKvRect builds several
// of its members on them and so inherits that behaviour.
#ifndef KV_GEOMETRY_H
#define KV_GEOMETRY_H

#include <cstdint>

static_assert(sizeof(int) == 4, "the geometry records hold 32-bit fields");

// Field order differs from CKvRect on purpose; conversions go by name.
struct RECT {
    int top;
    int bottom;
    int left;
    int right;
};

struct SIZE {
    int cx;
    int cy;
};

struct POINT {
    int x;
    int y;
};

class CKvRect;

bool IsRectEmpty(const CKvRect* rect);
int CopyRect(CKvRect* dst, const RECT* src);
int PtInRect(const CKvRect* rect, POINT point);
int SetRect(const CKvRect* rect, int left, int top, int right, int bottom);
int SetRectEmpty(const CKvRect* rect);
int InflateRect(const CKvRect* rect, int dx, int dy);
int OffsetRect(const CKvRect* rect, int dx, int dy);
int IntersectRect(const CKvRect* rect, RECT* a, RECT* b);
int IntersectRect(const CKvRect* rect, const CKvRect* a, const RECT* b);
int UnionRect(const CKvRect* rect, RECT* a, RECT* b);
int UnionRect(const CKvRect* rect, const CKvRect* a, const RECT* b);
int SubtractRect(const CKvRect* rect, RECT* a, RECT* b);
int MulDiv(int number, int numerator, int denominator);
int EqualRect(const CKvRect* rect, const RECT* other);

// Coordinates may sit anywhere in the 32-bit range; these give the
// two's-complement result without signed overflow.
inline int KvAddWrap(int a, int b)
{
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int KvSubWrap(int a, int b)
{
    return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int KvNegWrap(int a)
{
    return static_cast<int>(0u - static_cast<uint32_t>(a));
}

// The low 16 bits of a packed value, sign-extended.
inline int KvLow16(unsigned long v)
{
    const int low = static_cast<int>(v & 0xFFFFul);
    return low >= 0x8000 ? low - 0x10000 : low;
}

#endif
