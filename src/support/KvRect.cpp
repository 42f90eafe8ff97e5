#include "KvRect.h"

#include <cstddef>
#include <utility>

// TopLeft and BottomRight hand out two adjacent fields as a point, and
// SwapLeftRight() treats this object as a RECT: both rely on these layouts.
static_assert(sizeof(CKvPoint) == 2 * sizeof(int), "CKvPoint is two ints");
static_assert(offsetof(CKvRect, top) == offsetof(CKvRect, left) + sizeof(int), "left, top adjacent");
static_assert(offsetof(CKvRect, bottom) == offsetof(CKvRect, right) + sizeof(int), "right, bottom adjacent");
static_assert(offsetof(CKvRect, right) == offsetof(RECT, left), "RECT's third field over our right");
static_assert(offsetof(CKvRect, bottom) == offsetof(RECT, right), "RECT's fourth field over our bottom");

CKvRect::CKvRect(int l, int t, int r, int b) : left(l), top(t), right(r), bottom(b) {}

CKvRect::CKvRect(const CKvRect* srcRect)
    : left(srcRect->left), top(srcRect->top), right(srcRect->right), bottom(srcRect->bottom)
{
}

CKvRect::CKvRect(const RECT* srcRect) noexcept
{
    ::CopyRect(this, srcRect);
}

CKvRect::CKvRect(const RECT& srcRect) noexcept
{
    ::CopyRect(this, &srcRect);
}

CKvRect::CKvRect(POINT point, SIZE size)
    : left(point.x), top(point.y), right(KvAddWrap(point.x, size.cx)), bottom(KvAddWrap(point.y, size.cy))
{
}

CKvRect::CKvRect(POINT topLeft, POINT bottomRight)
    : left(topLeft.x), top(topLeft.y), right(bottomRight.x), bottom(bottomRight.y)
{
}

CKvRect& CKvRect::operator=(const RECT& srcRect) noexcept
{
    ::CopyRect(this, &srcRect);
    return *this;
}

void CKvRect::CopyRect(const RECT* srcRect) noexcept
{
    ::CopyRect(this, srcRect);
}

int CKvRect::Width() const
{
    return KvSubWrap(right, left);
}

int CKvRect::Height() const
{
    return KvSubWrap(bottom, top);
}

CKvSize CKvRect::Size() const
{
    return CKvSize(Width(), Height());
}

CKvPoint& CKvRect::TopLeft()
{
    return *reinterpret_cast<CKvPoint*>(&left);
}

CKvPoint& CKvRect::BottomRight()
{
    return *reinterpret_cast<CKvPoint*>(&right);
}

const CKvPoint& CKvRect::TopLeft() const
{
    return *reinterpret_cast<const CKvPoint*>(&left);
}

const CKvPoint& CKvRect::BottomRight() const
{
    return *reinterpret_cast<const CKvPoint*>(&right);
}

CKvPoint CKvRect::CenterPoint() const
{
    // Sums taken unsigned and halved by a shift: a negative sum gives a
    // large positive coordinate, not a negative one.
    const uint32_t x = (static_cast<uint32_t>(left) + static_cast<uint32_t>(right)) >> 1;
    const uint32_t y = (static_cast<uint32_t>(top) + static_cast<uint32_t>(bottom)) >> 1;
    return CKvPoint(static_cast<int>(x), static_cast<int>(y));
}

void CKvRect::SwapLeftRight(RECT* rect)
{
    std::swap(rect->left, rect->right);
}

void CKvRect::SwapLeftRight()
{
    // The same as handing this object to SwapLeftRight(RECT*): the record's
    // left and right lie over our right and bottom, so those two swap.
    // Done by name to stay clear of aliasing one type as another.
    std::swap(right, bottom);
}

CKvRect::operator RECT*() const
{
    static RECT shared;
    shared.left = left;
    shared.top = top;
    shared.right = right;
    shared.bottom = bottom;
    return &shared;
}

bool CKvRect::IsRectEmpty() const noexcept
{
    return ::IsRectEmpty(this);
}

bool CKvRect::IsRectNull() const
{
    return left == 0 && top == 0 && right == 0 && bottom == 0;
}

int CKvRect::PtInRect(POINT point) const noexcept
{
    return ::PtInRect(this, point);
}

void CKvRect::SetRect(int x1, int y1, int x2, int y2)
{
    left = x1;
    top = y1;
    right = x2;
    bottom = y2;
}

int CKvRect::SetRect(POINT topLeft, POINT bottomRight) noexcept
{
    return ::SetRect(this, topLeft.x, topLeft.y, bottomRight.x, bottomRight.y);
}

int CKvRect::SetRectEmpty() noexcept
{
    return ::SetRectEmpty(this);
}

void CKvRect::MoveToX(int x)
{
    right = KvAddWrap(x, Width());
    left = x;
}

void CKvRect::MoveToY(int y)
{
    bottom = KvAddWrap(y, Height());
    top = y;
}

void CKvRect::MoveToXY(int x, int y)
{
    MoveToX(x);
    MoveToY(y);
}

void CKvRect::MoveToXY(POINT point)
{
    MoveToXY(point.x, point.y);
}

void CKvRect::NormalizeRect()
{
    if (static_cast<uint32_t>(left) > static_cast<uint32_t>(right)) {
        std::swap(left, right);
    }
    if (static_cast<uint32_t>(top) > static_cast<uint32_t>(bottom)) {
        std::swap(top, bottom);
    }
}

void CKvRect::InflateRect(const RECT* rect)
{
    InflateRect(rect->left, rect->top, rect->right, rect->bottom);
}

void CKvRect::InflateRect(int l, int t, int r, int b)
{
    left = KvSubWrap(left, l);
    top = KvSubWrap(top, t);
    right = KvAddWrap(right, r);
    bottom = KvAddWrap(bottom, b);
}

int CKvRect::InflateRect(int x, int y) noexcept
{
    return ::InflateRect(this, x, y);
}

int CKvRect::InflateRect(SIZE size) noexcept
{
    return ::InflateRect(this, size.cx, size.cy);
}

void CKvRect::DeflateRect(const RECT* rect)
{
    DeflateRect(rect->left, rect->top, rect->right, rect->bottom);
}

void CKvRect::DeflateRect(int l, int t, int r, int b)
{
    left = KvAddWrap(left, l);
    top = KvAddWrap(top, t);
    right = KvSubWrap(right, r);
    bottom = KvSubWrap(bottom, b);
}

int CKvRect::DeflateRect(int x, int y) noexcept
{
    return ::InflateRect(this, KvNegWrap(x), KvNegWrap(y));
}

int CKvRect::DeflateRect(SIZE size) noexcept
{
    return ::InflateRect(this, KvNegWrap(size.cx), KvNegWrap(size.cy));
}

int CKvRect::OffsetRect(int x, int y) noexcept
{
    return ::OffsetRect(this, x, y);
}

int CKvRect::OffsetRect(POINT point) noexcept
{
    return ::OffsetRect(this, point.x, point.y);
}

int CKvRect::OffsetRect(SIZE size) noexcept
{
    return ::OffsetRect(this, size.cx, size.cy);
}

int CKvRect::UnionRect(RECT* rect1, RECT* rect2) noexcept
{
    return ::UnionRect(this, rect1, rect2);
}

int CKvRect::IntersectRect(RECT* rect1, RECT* rect2) noexcept
{
    return ::IntersectRect(this, rect1, rect2);
}

int CKvRect::SubtractRect(RECT* rectSrc1, RECT* rectSrc2) noexcept
{
    return ::SubtractRect(this, rectSrc1, rectSrc2);
}

bool CKvRect::EqualRect(const RECT* rect) const noexcept
{
    return ::EqualRect(this, rect) != 0;
}

bool CKvRect::operator==(const RECT& rect) const noexcept
{
    return EqualRect(&rect);
}

bool CKvRect::operator!=(const RECT& rect) const noexcept
{
    return !EqualRect(&rect);
}

void CKvRect::operator+=(const RECT* rect)
{
    InflateRect(rect);
}

void CKvRect::operator-=(const RECT* rect)
{
    DeflateRect(rect);
}

int CKvRect::operator+=(POINT point) noexcept
{
    return OffsetRect(point.x, point.y);
}

int CKvRect::operator+=(SIZE size) noexcept
{
    return OffsetRect(size.cx, size.cy);
}

int CKvRect::operator-=(POINT point) noexcept
{
    return OffsetRect(KvNegWrap(point.x), KvNegWrap(point.y));
}

int CKvRect::operator-=(SIZE size) noexcept
{
    return OffsetRect(KvNegWrap(size.cx), KvNegWrap(size.cy));
}

int CKvRect::operator|=(const RECT& rect) noexcept
{
    return ::UnionRect(this, this, &rect);
}

int CKvRect::operator&=(const RECT& rect) noexcept
{
    return ::IntersectRect(this, this, &rect);
}

CKvRect CKvRect::operator+(const RECT* rect) const
{
    CKvRect result(*this);
    result.InflateRect(rect);
    return result;
}

CKvRect CKvRect::operator-(const RECT* rect) const
{
    CKvRect result(*this);
    result.DeflateRect(rect);
    return result;
}

CKvRect CKvRect::operator+(POINT point) const noexcept
{
    CKvRect result(*this);
    result.OffsetRect(point.x, point.y);
    return result;
}

CKvRect CKvRect::operator+(SIZE size) const noexcept
{
    CKvRect result(*this);
    result.OffsetRect(size.cx, size.cy);
    return result;
}

CKvRect CKvRect::operator-(POINT point) const noexcept
{
    CKvRect result(*this);
    result.OffsetRect(KvNegWrap(point.x), KvNegWrap(point.y));
    return result;
}

CKvRect CKvRect::operator-(SIZE size) const noexcept
{
    CKvRect result(*this);
    result.OffsetRect(KvNegWrap(size.cx), KvNegWrap(size.cy));
    return result;
}

CKvRect CKvRect::operator|(const RECT& rect) const noexcept
{
    // The result starts out zero: the empty union never fills it in, and an
    // uninitialised rectangle must not leave here.
    CKvRect result(0, 0, 0, 0);
    ::UnionRect(&result, this, &rect);
    return result;
}

CKvRect CKvRect::operator&(const RECT& rect) const noexcept
{
    CKvRect result(0, 0, 0, 0);
    ::IntersectRect(&result, this, &rect);
    return result;
}

CKvRect CKvRect::MulDiv(int numerator, int denominator) const noexcept
{
    return CKvRect(::MulDiv(left, numerator, denominator), ::MulDiv(top, numerator, denominator),
                   ::MulDiv(right, numerator, denominator), ::MulDiv(bottom, numerator, denominator));
}
