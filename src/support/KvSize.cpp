#include "KvSize.h"

CKvSize::CKvSize(int initCX, int initCY) : SIZE{initCX, initCY} {}

CKvSize::CKvSize(SIZE initSize) : SIZE(initSize) {}

CKvSize::CKvSize(POINT initPt) : SIZE{initPt.x, initPt.y} {}

CKvSize::CKvSize(unsigned long dwSize) : SIZE{KvLow16(dwSize), KvLow16(dwSize)} {}

bool CKvSize::operator==(SIZE size) const
{
    return cx == size.cx && cy == size.cy;
}

bool CKvSize::operator!=(SIZE size) const
{
    return !(*this == size);
}

void CKvSize::operator+=(SIZE size)
{
    cx = KvAddWrap(cx, size.cx);
    cy = KvAddWrap(cy, size.cy);
}

void CKvSize::operator-=(SIZE size)
{
    cx = KvSubWrap(cx, size.cx);
    cy = KvSubWrap(cy, size.cy);
}

void CKvSize::SetSize(int CX, int CY)
{
    cx = CX;
    cy = CY;
}

CKvSize CKvSize::operator+(SIZE size) const
{
    return CKvSize(KvAddWrap(cx, size.cx), KvAddWrap(cy, size.cy));
}

CKvSize CKvSize::operator-(SIZE size) const
{
    return CKvSize(KvSubWrap(cx, size.cx), KvSubWrap(cy, size.cy));
}

CKvSize CKvSize::operator-() const
{
    return CKvSize(KvNegWrap(cx), KvNegWrap(cy));
}

CKvPoint CKvSize::operator+(POINT point) const
{
    return CKvPoint(KvAddWrap(cx, point.x), KvAddWrap(cy, point.y));
}

CKvPoint CKvSize::operator-(POINT point) const
{
    return CKvPoint(KvSubWrap(cx, point.x), KvSubWrap(cy, point.y));
}

// Through the rectangle's offset operators, which are empty: the rectangle
// comes back as given.
CKvRect CKvSize::operator+(const RECT* rect) const noexcept
{
    return CKvRect(rect) + *this;
}

CKvRect CKvSize::operator-(const RECT* rect) const noexcept
{
    return CKvRect(rect) - *this;
}
