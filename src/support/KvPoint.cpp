#include "KvPoint.h"

CKvPoint::CKvPoint(int initX, int initY) : POINT{initX, initY} {}

CKvPoint::CKvPoint(POINT initPt) : POINT(initPt) {}

CKvPoint::CKvPoint(SIZE initSize) : POINT{initSize.cx, initSize.cy} {}

CKvPoint::CKvPoint(unsigned long dwPoint) : POINT{KvLow16(dwPoint), KvLow16(dwPoint)} {}

void CKvPoint::Offset(int xOffset, int yOffset)
{
    x = KvAddWrap(x, xOffset);
    y = KvAddWrap(y, yOffset);
}

void CKvPoint::Offset(POINT point)
{
    Offset(point.x, point.y);
}

void CKvPoint::Offset(SIZE size)
{
    Offset(size.cx, size.cy);
}

void CKvPoint::SetPoint(int X, int Y)
{
    x = X;
    y = Y;
}

bool CKvPoint::operator==(POINT point) const
{
    return x == point.x && y == point.y;
}

bool CKvPoint::operator!=(POINT point) const
{
    return !(*this == point);
}

void CKvPoint::operator+=(SIZE size)
{
    Offset(size.cx, size.cy);
}

void CKvPoint::operator-=(SIZE size)
{
    x = KvSubWrap(x, size.cx);
    y = KvSubWrap(y, size.cy);
}

void CKvPoint::operator+=(POINT point)
{
    Offset(point.x, point.y);
}

void CKvPoint::operator-=(POINT point)
{
    x = KvSubWrap(x, point.x);
    y = KvSubWrap(y, point.y);
}

CKvPoint CKvPoint::operator+(SIZE size) const
{
    return CKvPoint(KvAddWrap(x, size.cx), KvAddWrap(y, size.cy));
}

CKvPoint CKvPoint::operator-(SIZE size) const
{
    return CKvPoint(KvSubWrap(x, size.cx), KvSubWrap(y, size.cy));
}

CKvPoint CKvPoint::operator-() const
{
    return CKvPoint(KvNegWrap(x), KvNegWrap(y));
}

CKvPoint CKvPoint::operator+(POINT point) const
{
    return CKvPoint(KvAddWrap(x, point.x), KvAddWrap(y, point.y));
}

CKvSize CKvPoint::operator-(POINT point) const
{
    return CKvSize(KvSubWrap(x, point.x), KvSubWrap(y, point.y));
}

// Through the rectangle's offset operators, which are empty: the rectangle
// comes back as given.
CKvRect CKvPoint::operator+(const RECT* rect) const noexcept
{
    return CKvRect(rect) + *this;
}

CKvRect CKvPoint::operator-(const RECT* rect) const noexcept
{
    return CKvRect(rect) - *this;
}
