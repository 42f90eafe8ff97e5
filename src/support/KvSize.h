// An extent: width cx, height cy.
#ifndef KV_SIZE_H
#define KV_SIZE_H

#include "KvGeometry.h"

class CKvPoint;
class CKvRect;

class CKvSize : public SIZE {
public:
    // Left uninitialised, like the plain record.
    CKvSize() = default;
    CKvSize(int initCX, int initCY);
    CKvSize(SIZE initSize);
    CKvSize(POINT initPt);
    // Both fields take the same low 16 bits; the halves are not split.
    CKvSize(unsigned long dwSize);

    bool operator==(SIZE size) const;
    bool operator!=(SIZE size) const;
    void operator+=(SIZE size);
    void operator-=(SIZE size);
    void SetSize(int cx, int cy);

    CKvSize operator+(SIZE size) const;
    CKvSize operator-(SIZE size) const;
    CKvSize operator-() const;
    CKvPoint operator+(POINT point) const;
    CKvPoint operator-(POINT point) const;
    CKvRect operator+(const RECT* rect) const noexcept;
    CKvRect operator-(const RECT* rect) const noexcept;
};

// Completes CKvPoint and CKvRect for callers of the operators above.
#include "KvRect.h"

#endif
