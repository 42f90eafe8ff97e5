#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <vector>

#include "KvRect.h"

namespace {

struct Edges {
    int left, top, right, bottom;
    bool operator==(const Edges& o) const
    {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
};

Edges Of(const CKvRect& r)
{
    return {r.left, r.top, r.right, r.bottom};
}

RECT Record(int left, int top, int right, int bottom)
{
    RECT r;
    r.left = left;
    r.top = top;
    r.right = right;
    r.bottom = bottom;
    return r;
}

// Edges are compared unsigned: a negative left lies right of every right.
TEST(KvRect, UnsignedComparisons)
{
    const struct {
        Edges in;
        bool empty;
        Edges normalized;
    } cases[] = {
        {{0, 0, 10, 10}, false, {0, 0, 10, 10}}, {{10, 0, 4, 10}, true, {4, 0, 10, 10}},
        {{-1, 0, 5, 10}, true, {5, 0, -1, 10}},  {{0, -1, 10, 0}, true, {0, 0, 10, -1}},
        {{0, 0, -1, 5}, false, {0, 0, -1, 5}},   {{0, 10, 10, 10}, true, {0, 10, 10, 10}},
    };
    for (const auto& c : cases) {
        CKvRect r(c.in.left, c.in.top, c.in.right, c.in.bottom);
        EXPECT_EQ(c.empty, IsRectEmpty(&r)) << c.in.left << "," << c.in.top;
        EXPECT_EQ(c.empty, r.IsRectEmpty());
        r.NormalizeRect();
        EXPECT_EQ(c.normalized, Of(r)) << c.in.left << "," << c.in.top;
    }
    EXPECT_EQ(-1, CKvRect(INT_MIN, INT_MAX, INT_MAX, INT_MIN).Width());
    EXPECT_EQ(1, CKvRect(INT_MIN, INT_MAX, INT_MAX, INT_MIN).Height());
    EXPECT_EQ(0x7FFFFFFB, CKvRect(-10, -4, 0, 0).CenterPoint().x);
    EXPECT_EQ(10, CKvRect(0, 0, 10, 21).CenterPoint().y);
    EXPECT_TRUE(CKvRect(0, 0, 0, 0).IsRectNull());
    EXPECT_FALSE(CKvRect(0, 0, 0, -1).IsRectNull());
}

TEST(KvRect, RecordsAndCorners)
{
    CKvRect r(1, 2, 3, 4);
    r.SwapLeftRight();  // laid over this object, it swaps right and bottom
    EXPECT_EQ((Edges{1, 2, 4, 3}), Of(r));
    RECT rec = Record(1, 2, 3, 4);
    CKvRect::SwapLeftRight(&rec);
    EXPECT_EQ((Edges{3, 2, 1, 4}), Of(CKvRect(rec)));
    EXPECT_EQ(1, CopyRect(&r, &rec));
    EXPECT_EQ((Edges{3, 2, 1, 4}), Of(r));
    RECT* shared = CKvRect(5, 6, 7, 8);
    EXPECT_EQ(shared, static_cast<RECT*>(CKvRect(9, 9, 9, 9)));  // one static record
    EXPECT_EQ(9, shared->left);
    EXPECT_EQ((Edges{-3, 4, 7, 24}), Of(CKvRect(POINT{-3, 4}, SIZE{10, 20})));
    r.BottomRight() = CKvPoint(9, 10);
    r.MoveToXY(0, 1);
    EXPECT_EQ((Edges{0, 1, 6, 9}), Of(r));
    const RECT by = Record(1, 2, 3, 4);
    r.InflateRect(&by);
    EXPECT_EQ((Edges{-1, -1, 9, 13}), Of(r));
    EXPECT_EQ((Edges{0, 1, 6, 9}), Of(r - &by));
}

// The operations this platform leaves empty succeed and change nothing.
TEST(KvRect, EmptyOperationsChangeNothing)
{
    RECT other = Record(-100, -100, 100, 100);
    const std::vector<std::function<int(CKvRect&)>> ops = {
        [](CKvRect& r) { return r.SetRectEmpty(); },
        [](CKvRect& r) { return r.OffsetRect(5, 6); },
        [](CKvRect& r) { return r.InflateRect(5, 6); },
        [](CKvRect& r) { return r.DeflateRect(SIZE{5, INT_MIN}); },
        [&](CKvRect& r) { return r.UnionRect(&other, &other); },
        [&](CKvRect& r) { return r.IntersectRect(&other, &other); },
        [&](CKvRect& r) { return r.SubtractRect(&other, &other); },
        [](CKvRect& r) { return r += POINT{5, 6}; },
        [&](CKvRect& r) { return r &= other; },
        [](CKvRect& r) { return r.PtInRect(POINT{INT_MIN, INT_MAX}); },
    };
    for (size_t i = 0; i < ops.size(); ++i) {
        CKvRect r(1, 2, 3, 4);
        EXPECT_EQ(1, ops[i](r)) << "operation " << i;
        EXPECT_EQ((Edges{1, 2, 3, 4}), Of(r)) << "operation " << i;
    }
    const CKvRect r(1, 2, 3, 4);
    EXPECT_EQ(1, MulDiv(7, 0, 0));
    EXPECT_EQ(2, UnionRect(&r, &r, &other) + IntersectRect(&r, &r, &other));  // the forms for constant rectangles
    EXPECT_EQ(0, EqualRect(&r, &other));
    EXPECT_FALSE(r == *CKvRect(1, 2, 3, 4));
    EXPECT_EQ((Edges{0, 0, 0, 0}), Of(r | other));
}

TEST(KvSizePoint, PackedValuesAndArithmetic)
{
    const struct {
        unsigned long in;
        int out;
    } packed[] = {{0x00018000ul, -32768}, {0x12345ul, 0x2345}, {0xABCD0000ul, 0}};
    for (const auto& c : packed) {
        EXPECT_EQ(c.out, CKvSize(c.in).cy) << std::hex << c.in;
        EXPECT_EQ(c.out, CKvPoint(c.in).x) << std::hex << c.in;
    }
    CKvPoint p(3, 4);
    p += SIZE{10, 0};
    p -= POINT{0, 1};
    const CKvSize d = p - POINT{1, 2};
    EXPECT_EQ(12, d.cx);
    EXPECT_EQ(1, d.cy);
    EXPECT_TRUE((CKvSize(4, 2) - SIZE{1, 2}) == CKvSize(3, 0));
    EXPECT_TRUE(p != CKvPoint(13, 4));
}

}  // namespace
