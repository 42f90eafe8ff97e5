#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <vector>

#include "KvRect.h"

namespace {

struct Edges {
    int left, top, right, bottom;
};

void ExpectEdges(const CKvRect& r, const Edges& e) {
    EXPECT_EQ(e.left, r.left);
    EXPECT_EQ(e.top, r.top);
    EXPECT_EQ(e.right, r.right);
    EXPECT_EQ(e.bottom, r.bottom);
}

void ExpectXY(SIZE s, int cx, int cy) {
    EXPECT_EQ(cx, s.cx);
    EXPECT_EQ(cy, s.cy);
}

void ExpectXY(POINT p, int x, int y) {
    EXPECT_EQ(x, p.x);
    EXPECT_EQ(y, p.y);
}

RECT MakeRect(int left, int top, int right, int bottom) {
    RECT r;
    r.left = left;
    r.top = top;
    r.right = right;
    r.bottom = bottom;
    return r;
}

TEST(KvRect, IsRectEmptyComparesUnsigned) {
    const struct {
        Edges in;
        bool empty;
    } cases[] = {
        {{0, 0, 10, 10}, false},  {{10, 0, 10, 10}, true}, {{-1, 0, 0, 10}, true},
        {{0, -1, 10, 0}, true},   {{5, 5, 4, 10}, true},   {{0, 0, -1, 5}, false},
        {{0, 10, 10, 10}, true},  {{0, 0, 1, 1}, false},
    };
    for (const auto& c : cases) {
        const CKvRect r(c.in.left, c.in.top, c.in.right, c.in.bottom);
        EXPECT_EQ(c.empty, IsRectEmpty(&r)) << c.in.left << "," << c.in.top << "," << c.in.right << "," << c.in.bottom;
        EXPECT_EQ(c.empty, r.IsRectEmpty());
    }
}

TEST(KvRect, WidthHeightWrapWithoutTest) {
    EXPECT_EQ(-6, CKvRect(10, 0, 4, 0).Width());
    EXPECT_EQ(7, CKvRect(0, 3, 0, 10).Height());
    const CKvRect extreme(INT_MIN, INT_MAX, INT_MAX, INT_MIN);
    EXPECT_EQ(-1, extreme.Width());
    EXPECT_EQ(1, extreme.Height());
    const CKvSize size = CKvRect(2, 3, 12, 33).Size();
    EXPECT_EQ(10, size.cx);
    EXPECT_EQ(30, size.cy);
}

TEST(KvRect, NormalizeRectComparesUnsigned) {
    const struct {
        Edges in, out;
    } cases[] = {
        {{10, 0, 4, 0}, {4, 0, 10, 0}},
        {{-1, 0, 5, 0}, {5, 0, -1, 0}},
        {{0, 7, 0, 3}, {0, 3, 0, 7}},
        {{3, -2, 5, 1}, {3, 1, 5, -2}},
        {{1, 2, 3, 4}, {1, 2, 3, 4}},
    };
    for (const auto& c : cases) {
        CKvRect r(c.in.left, c.in.top, c.in.right, c.in.bottom);
        r.NormalizeRect();
        ExpectEdges(r, c.out);
    }
}

TEST(KvRect, CenterPointHalvesUnsignedSum) {
    const CKvPoint plain = CKvRect(0, 0, 10, 21).CenterPoint();
    EXPECT_EQ(5, plain.x);
    EXPECT_EQ(10, plain.y);
    const CKvPoint negative = CKvRect(-10, -4, 0, 0).CenterPoint();
    EXPECT_EQ(0x7FFFFFFB, negative.x);
    EXPECT_EQ(0x7FFFFFFE, negative.y);
    const CKvPoint big = CKvRect(INT_MAX, INT_MAX, INT_MAX, INT_MAX).CenterPoint();
    EXPECT_EQ(INT_MAX, big.x);
}

TEST(KvRect, SwapLeftRightOnItselfSwapsRightAndBottom) {
    CKvRect r(1, 2, 3, 4);
    r.SwapLeftRight();
    ExpectEdges(r, {1, 2, 4, 3});

    RECT rec = MakeRect(1, 2, 3, 4);
    CKvRect::SwapLeftRight(&rec);
    EXPECT_EQ(3, rec.left);
    EXPECT_EQ(1, rec.right);
    EXPECT_EQ(2, rec.top);
    EXPECT_EQ(4, rec.bottom);
}

TEST(KvRect, RecordConversionsGoByName) {
    RECT rec = MakeRect(1, 2, 3, 4);
    ExpectEdges(CKvRect(rec), {1, 2, 3, 4});
    ExpectEdges(CKvRect(&rec), {1, 2, 3, 4});
    CKvRect assigned(0, 0, 0, 0);
    assigned = rec;
    ExpectEdges(assigned, {1, 2, 3, 4});
    CKvRect copied(9, 9, 9, 9);
    copied.CopyRect(&rec);
    ExpectEdges(copied, {1, 2, 3, 4});
    CKvRect freeCopied(9, 9, 9, 9);
    EXPECT_EQ(1, CopyRect(&freeCopied, &rec));
    ExpectEdges(freeCopied, {1, 2, 3, 4});
    ExpectEdges(CKvRect(&copied), {1, 2, 3, 4});
}

TEST(KvRect, RecordPointerIsOneSharedStatic) {
    const CKvRect a(1, 2, 3, 4);
    const CKvRect b(5, 6, 7, 8);
    RECT* pa = a;
    EXPECT_EQ(1, pa->left);
    EXPECT_EQ(2, pa->top);
    EXPECT_EQ(3, pa->right);
    EXPECT_EQ(4, pa->bottom);
    RECT* pb = b;
    EXPECT_EQ(pa, pb);
    EXPECT_EQ(5, pa->left);  // the second conversion overwrote the first
}

TEST(KvRect, ConstructorsAndCornerReferences) {
    ExpectEdges(CKvRect(POINT{-3, 4}, SIZE{10, 20}), {-3, 4, 7, 24});
    ExpectEdges(CKvRect(POINT{1, 2}, POINT{3, 4}), {1, 2, 3, 4});
    ExpectEdges(CKvRect(POINT{INT_MAX, 0}, SIZE{1, 0}), {INT_MAX, 0, INT_MIN, 0});

    CKvRect r(1, 2, 3, 4);
    EXPECT_EQ(3, r.BottomRight().x);
    EXPECT_EQ(4, r.BottomRight().y);
    r.TopLeft().x = 7;
    r.TopLeft().y = 8;
    r.BottomRight() = CKvPoint(9, 10);
    ExpectEdges(r, {7, 8, 9, 10});
}

TEST(KvRect, MovesKeepSize) {
    CKvRect r(10, 20, 30, 50);
    r.MoveToXY(-5, 100);
    ExpectEdges(r, {-5, 100, 15, 130});
    r.MoveToX(0);
    ExpectEdges(r, {0, 100, 20, 130});
    r.MoveToY(1);
    ExpectEdges(r, {0, 1, 20, 31});
    r.MoveToXY(POINT{2, 3});
    ExpectEdges(r, {2, 3, 22, 33});
}

TEST(KvRect, InflateAndDeflateByRecord) {
    const RECT by = MakeRect(1, 2, 3, 4);
    const CKvRect base(10, 20, 30, 40);
    CKvRect r(base);
    r.InflateRect(&by);
    ExpectEdges(r, {9, 18, 33, 44});
    r.DeflateRect(&by);
    ExpectEdges(r, {10, 20, 30, 40});
    r += &by;
    ExpectEdges(r, {9, 18, 33, 44});
    r -= &by;
    ExpectEdges(r, {10, 20, 30, 40});
    ExpectEdges(base + &by, {9, 18, 33, 44});
    ExpectEdges(base - &by, {11, 22, 27, 36});
    ExpectEdges(base, {10, 20, 30, 40});
    r.InflateRect(1, 2, 3, 4);
    ExpectEdges(r, {9, 18, 33, 44});
    r.DeflateRect(1, 2, 3, 4);
    ExpectEdges(r, {10, 20, 30, 40});
}

TEST(KvRect, EmptyOperationsSucceedAndChangeNothing) {
    RECT other = MakeRect(-100, -100, 100, 100);
    const std::vector<std::function<int(CKvRect&)>> ops = {
        [](CKvRect& r) { return r.SetRect(POINT{5, 6}, POINT{7, 8}); },
        [](CKvRect& r) { return r.SetRectEmpty(); },
        [](CKvRect& r) { return r.OffsetRect(5, 6); },
        [](CKvRect& r) { return r.OffsetRect(POINT{5, 6}); },
        [](CKvRect& r) { return r.OffsetRect(SIZE{5, 6}); },
        [](CKvRect& r) { return r.InflateRect(5, 6); },
        [](CKvRect& r) { return r.InflateRect(SIZE{5, 6}); },
        [](CKvRect& r) { return r.DeflateRect(INT_MIN, 6); },
        [](CKvRect& r) { return r.DeflateRect(SIZE{5, INT_MIN}); },
        [&](CKvRect& r) { return r.UnionRect(&other, &other); },
        [&](CKvRect& r) { return r.IntersectRect(&other, &other); },
        [&](CKvRect& r) { return r.SubtractRect(&other, &other); },
        [](CKvRect& r) { return r += POINT{5, 6}; },
        [](CKvRect& r) { return r += SIZE{5, 6}; },
        [](CKvRect& r) { return r -= POINT{INT_MIN, 6}; },
        [](CKvRect& r) { return r -= SIZE{5, 6}; },
        [&](CKvRect& r) { return r |= other; },
        [&](CKvRect& r) { return r &= other; },
        [](CKvRect& r) { return r.PtInRect(POINT{INT_MIN, INT_MAX}); },
    };
    for (size_t i = 0; i < ops.size(); ++i) {
        CKvRect r(1, 2, 3, 4);
        EXPECT_EQ(1, ops[i](r)) << "operation " << i;
        ExpectEdges(r, {1, 2, 3, 4});
    }
    const CKvRect r(1, 2, 3, 4);
    EXPECT_EQ(1, PtInRect(&r, POINT{1000, -1000}));
    EXPECT_EQ(1, MulDiv(7, 0, 0));
}

TEST(KvRect, ValueOperatorsThroughEmptyFunctions) {
    const CKvRect r(1, 2, 3, 4);
    const RECT same = MakeRect(1, 2, 3, 4);
    ExpectEdges(r + POINT{5, 6}, {1, 2, 3, 4});
    ExpectEdges(r + SIZE{5, 6}, {1, 2, 3, 4});
    ExpectEdges(r - POINT{5, 6}, {1, 2, 3, 4});
    ExpectEdges(r - SIZE{5, 6}, {1, 2, 3, 4});
    ExpectEdges(r | same, {0, 0, 0, 0});
    ExpectEdges(r & same, {0, 0, 0, 0});
    ExpectEdges(CKvRect(10, 10, 20, 20).MulDiv(3, 2), {1, 1, 1, 1});
    EXPECT_FALSE(r == same);
    EXPECT_FALSE(r == *CKvRect(1, 2, 3, 4));
    EXPECT_TRUE(r != same);
    EXPECT_FALSE(r.EqualRect(&same));
    EXPECT_EQ(0, EqualRect(&r, &same));
}

TEST(KvRect, IsRectNullNeedsAllFourZero) {
    EXPECT_TRUE(CKvRect(0, 0, 0, 0).IsRectNull());
    const Edges oneSet[] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, -1}};
    for (const Edges& e : oneSet) {
        EXPECT_FALSE(CKvRect(e.left, e.top, e.right, e.bottom).IsRectNull());
    }
}

TEST(KvSizePoint, PackedValueFillsBothFieldsWithLow16) {
    const struct {
        unsigned long in;
        int out;
    } cases[] = {{0x00018000ul, -32768}, {0x12345ul, 0x2345}, {0xFFFFul, -1}, {0x7FFFul, 32767}, {0xABCD0000ul, 0}};
    for (const auto& c : cases) {
        const CKvSize s(c.in);
        EXPECT_EQ(c.out, s.cx) << std::hex << c.in;
        EXPECT_EQ(c.out, s.cy);
        const CKvPoint p(c.in);
        EXPECT_EQ(c.out, p.x);
        EXPECT_EQ(c.out, p.y);
    }
}

TEST(KvSizePoint, FieldWiseArithmetic) {
    CKvSize s(3, 4);
    ExpectXY(s + SIZE{1, 2}, 4, 6);
    ExpectXY(s - SIZE{1, 2}, 2, 2);
    ExpectXY(s + POINT{10, 20}, 13, 24);
    ExpectXY(s - POINT{10, 20}, -7, -16);
    ExpectXY(-CKvSize(INT_MIN, 5), INT_MIN, -5);
    ExpectXY(CKvSize(POINT{7, 8}), 7, 8);
    s += SIZE{1, 1};
    s -= SIZE{0, 3};
    ExpectXY(s, 4, 2);
    EXPECT_TRUE(s == CKvSize(4, 2));
    EXPECT_FALSE(s == CKvSize(4, 3));
    EXPECT_TRUE(s != CKvSize(5, 2));
    EXPECT_FALSE(s != CKvSize(4, 2));

    CKvPoint p(3, 4);
    ExpectXY(p + SIZE{1, 2}, 4, 6);
    ExpectXY(p - SIZE{1, 2}, 2, 2);
    ExpectXY(p + POINT{1, 2}, 4, 6);
    const CKvSize diff = p - POINT{1, 2};
    ExpectXY(diff, 2, 2);
    ExpectXY(-p, -3, -4);
    ExpectXY(CKvPoint(SIZE{7, 8}), 7, 8);
    p.Offset(1, 1);
    p.Offset(POINT{1, 1});
    p.Offset(SIZE{1, 1});
    p += SIZE{10, 0};
    p += POINT{0, 10};
    p -= SIZE{1, 0};
    p -= POINT{0, 1};
    ExpectXY(p, 15, 16);
    EXPECT_TRUE(p == CKvPoint(15, 16));
    EXPECT_FALSE(p == CKvPoint(16, 16));
    EXPECT_TRUE(p != CKvPoint(15, 17));
    p.Offset(INT_MAX, 0);
    EXPECT_EQ(INT_MIN + 14, p.x);
}

TEST(KvSizePoint, RecordOperandComesBackUnchanged) {
    const RECT rec = MakeRect(1, 2, 3, 4);
    ExpectEdges(CKvSize(5, 6) + &rec, {1, 2, 3, 4});
    ExpectEdges(CKvSize(5, 6) - &rec, {1, 2, 3, 4});
    ExpectEdges(CKvPoint(5, 6) + &rec, {1, 2, 3, 4});
    ExpectEdges(CKvPoint(5, 6) - &rec, {1, 2, 3, 4});
}

}  // namespace
