// A rectangle given by its edges; right and bottom are exclusive where a
// width is taken. Members marked noexcept go through the free functions of
// KvGeometry.h, most of which are empty: those members report success and
// leave the rectangle as it was.
#ifndef KV_RECT_H
#define KV_RECT_H

#include "KvGeometry.h"
#include "KvPoint.h"
#include "KvSize.h"

class CKvRect {
public:
    int left;
    int top;
    int right;
    int bottom;

    // Left uninitialised, like the plain record.
    CKvRect() = default;
    CKvRect(int l, int t, int r, int b);
    CKvRect(const CKvRect* srcRect);
    CKvRect(const RECT* srcRect) noexcept;
    CKvRect(const RECT& srcRect) noexcept;
    CKvRect(POINT point, SIZE size);
    CKvRect(POINT topLeft, POINT bottomRight);

    CKvRect& operator=(const RECT& srcRect) noexcept;
    void CopyRect(const RECT* srcRect) noexcept;

    int Width() const;
    int Height() const;
    CKvSize Size() const;
    CKvPoint& TopLeft();
    CKvPoint& BottomRight();
    const CKvPoint& TopLeft() const;
    const CKvPoint& BottomRight() const;
    CKvPoint CenterPoint() const;

    static void SwapLeftRight(RECT* rect);
    void SwapLeftRight();

    // One static record shared by every rectangle and thread: the result is
    // only good until the next conversion anywhere.
    operator RECT*() const;

    bool IsRectEmpty() const noexcept;
    bool IsRectNull() const;
    int PtInRect(POINT point) const noexcept;

    void SetRect(int x1, int y1, int x2, int y2);
    int SetRect(POINT topLeft, POINT bottomRight) noexcept;
    int SetRectEmpty() noexcept;

    void MoveToX(int x);
    void MoveToY(int y);
    void MoveToXY(int x, int y);
    void MoveToXY(POINT point);
    void NormalizeRect();

    void InflateRect(const RECT* rect);
    void InflateRect(int l, int t, int r, int b);
    int InflateRect(int x, int y) noexcept;
    int InflateRect(SIZE size) noexcept;
    void DeflateRect(const RECT* rect);
    void DeflateRect(int l, int t, int r, int b);
    int DeflateRect(int x, int y) noexcept;
    int DeflateRect(SIZE size) noexcept;

    int OffsetRect(int x, int y) noexcept;
    int OffsetRect(POINT point) noexcept;
    int OffsetRect(SIZE size) noexcept;

    int UnionRect(RECT* rect1, RECT* rect2) noexcept;
    int IntersectRect(RECT* rect1, RECT* rect2) noexcept;
    int SubtractRect(RECT* rectSrc1, RECT* rectSrc2) noexcept;

    bool EqualRect(const RECT* rect) const noexcept;
    bool operator==(const RECT& rect) const noexcept;
    bool operator!=(const RECT& rect) const noexcept;

    void operator+=(const RECT* rect);
    void operator-=(const RECT* rect);
    int operator+=(POINT point) noexcept;
    int operator+=(SIZE size) noexcept;
    int operator-=(POINT point) noexcept;
    int operator-=(SIZE size) noexcept;
    int operator|=(const RECT& rect) noexcept;
    int operator&=(const RECT& rect) noexcept;

    CKvRect operator+(const RECT* rect) const;
    CKvRect operator-(const RECT* rect) const;
    CKvRect operator+(POINT point) const noexcept;
    CKvRect operator+(SIZE size) const noexcept;
    CKvRect operator-(POINT point) const noexcept;
    CKvRect operator-(SIZE size) const noexcept;
    CKvRect operator|(const RECT& rect) const noexcept;
    CKvRect operator&(const RECT& rect) const noexcept;
    CKvRect MulDiv(int numerator, int denominator) const noexcept;
};

#endif
