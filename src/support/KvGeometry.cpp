#include "KvGeometry.h"

#include "KvRect.h"

bool IsRectEmpty(const CKvRect* rect)
{
    // Unsigned on purpose: a negative left counts as lying right of every
    // non-negative right.
    return static_cast<uint32_t>(rect->left) >= static_cast<uint32_t>(rect->right) ||
           static_cast<uint32_t>(rect->top) >= static_cast<uint32_t>(rect->bottom);
}

int CopyRect(CKvRect* dst, const RECT* src)
{
    dst->left = src->left;
    dst->top = src->top;
    dst->right = src->right;
    dst->bottom = src->bottom;
    return 1;
}

// The remaining functions are empty on this platform: they succeed and
// change nothing.

int PtInRect(const CKvRect*, POINT)
{
    return 1;
}

int SetRect(const CKvRect*, int, int, int, int)
{
    return 1;
}

int SetRectEmpty(const CKvRect*)
{
    return 1;
}

int InflateRect(const CKvRect*, int, int)
{
    return 1;
}

int OffsetRect(const CKvRect*, int, int)
{
    return 1;
}

int IntersectRect(const CKvRect*, RECT*, RECT*)
{
    return 1;
}

int IntersectRect(const CKvRect*, const CKvRect*, const RECT*)
{
    return 1;
}

int UnionRect(const CKvRect*, RECT*, RECT*)
{
    return 1;
}

int UnionRect(const CKvRect*, const CKvRect*, const RECT*)
{
    return 1;
}

int SubtractRect(const CKvRect*, RECT*, RECT*)
{
    return 1;
}

int MulDiv(int, int, int)
{
    return 1;
}

int EqualRect(const CKvRect*, const RECT*)
{
    return 0;
}
