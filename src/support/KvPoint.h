// A point: x, y.
#ifndef KV_POINT_H
#define KV_POINT_H

#include "KvGeometry.h"

class CKvSize;
class CKvRect;

class CKvPoint : public POINT {
public:
    // Left uninitialised, like the plain record.
    CKvPoint() = default;
    CKvPoint(int initX, int initY);
    CKvPoint(POINT initPt);
    CKvPoint(SIZE initSize);
    // Both fields take the same low 16 bits; the halves are not split.
    CKvPoint(unsigned long dwPoint);

    void Offset(int xOffset, int yOffset);
    void Offset(POINT point);
    void Offset(SIZE size);
    void SetPoint(int X, int Y);

    bool operator==(POINT point) const;
    bool operator!=(POINT point) const;
    void operator+=(SIZE size);
    void operator-=(SIZE size);
    void operator+=(POINT point);
    void operator-=(POINT point);

    CKvPoint operator+(SIZE size) const;
    CKvPoint operator-(SIZE size) const;
    CKvPoint operator-() const;
    CKvPoint operator+(POINT point) const;
    CKvSize operator-(POINT point) const;
    CKvRect operator+(const RECT* rect) const noexcept;
    CKvRect operator-(const RECT* rect) const noexcept;
};

// Completes CKvSize and CKvRect for callers of the operators above.
#include "KvRect.h"

#endif
