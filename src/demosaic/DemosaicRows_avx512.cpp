// AVX-512 (F, BW, VL, VBMI) row functions. Each computes a row a vector at a
// time; the first pair, whose carried values come from outside the row, goes
// to the portable function (8-bit bilinear rows move the carried samples
// into their first vector instead), and the last vector ends at the row's
// last output, writing the outputs it shares with the one before again. So
// exactly what the portable loop reads and writes is read and written. For
// 8-bit sources, tables that are not the identity go through byte permutes.
#include <immintrin.h>

// Several AVX-512 intrinsics start from a deliberately undefined vector,
// which GCC 12 reports as uninitialised wherever they are inlined.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#pragma GCC diagnostic ignored "-Wuninitialized"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "DemosaicKernels.h"
#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_avx512 {

const uint32_t kPairs = 32;  // pairs of columns in one vector: 64 pixels

// The 256 low bytes of a table as four vectors, or nothing for the identity.
struct ByteTables {
    __m512i part[3][4];
    bool lookup[3];

    explicit ByteTables(const DemosaicByteTables& t)
    {
        for (int k = 0; k < 3; ++k) {
            lookup[k] = !t.identity[k];
            for (int q = 0; lookup[k] && q < 4; ++q)
                part[k][q] = _mm512_loadu_si512(t.bytes[k] + 64 * q);
        }
    }

    // Bits 0 to 6 pick one of 128 entries from a pair of vectors, bit 7 the
    // pair.
    __attribute__((always_inline)) __m512i operator()(int k, __m512i index) const
    {
        if (!lookup[k])
            return index;
        const __m512i low = _mm512_permutex2var_epi8(part[k][0], index, part[k][1]);
        const __m512i high = _mm512_permutex2var_epi8(part[k][2], index, part[k][3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }
};

// Byte permutes that lay three vectors of 64 samples out as 64 packed
// three-byte pixels: for each output vector, the first two samples of each
// pixel come from one two-source permute, the third is merged under a mask.
// Samples lie in pixel order, or `split` as the pairs' 16-bit lanes pack:
// per 128-bit lane the eight even pixels, then the eight odd ones.
struct Interleave {
    __m512i firstTwo[3];
    __m512i third[3];
    __mmask64 thirdMask[3];

    explicit Interleave(bool split = false)
    {
        for (int v = 0; v < 3; ++v) {
            alignas(64) uint8_t two[64];
            alignas(64) uint8_t one[64];
            uint64_t mask = 0;
            for (int j = 0; j < 64; ++j) {
                const int n = 64 * v + j;
                const int q = n / 3 % 16;
                const int pixel = split ? n / 3 - q + (q & 1) * 8 + q / 2 : n / 3;
                const int channel = n % 3;
                two[j] = static_cast<uint8_t>(channel == 1 ? pixel | 64 : pixel);
                one[j] = static_cast<uint8_t>(pixel);
                if (channel == 2)
                    mask |= uint64_t(1) << j;
            }
            firstTwo[v] = _mm512_load_si512(two);
            third[v] = _mm512_load_si512(one);
            thirdMask[v] = mask;
        }
    }
};

const Interleave& Pattern()
{
    static const Interleave pattern;
    return pattern;
}

const Interleave& SplitPattern()
{
    static const Interleave pattern(true);
    return pattern;
}

// 64 pixels at pixel `x` of the destination: packed red first, blue first,
// or three planes.
// Destination rows of one call, held by value.
struct Outs {
    unsigned char* out[3];
};

template <int kLayout>
__attribute__((always_inline)) inline void Put(const Outs& o, std::ptrdiff_t x, __m512i red, __m512i green,
                                               __m512i blue, const Interleave& il)
{
    if (kLayout == kLayoutPlanar) {
        _mm512_storeu_si512(o.out[0] + x, red);
        _mm512_storeu_si512(o.out[1] + x, green);
        _mm512_storeu_si512(o.out[2] + x, blue);
        return;
    }
    const __m512i first = kLayout == kLayoutRGB ? red : blue;
    const __m512i last = kLayout == kLayoutRGB ? blue : red;
    unsigned char* out = o.out[0] + 3 * x;
    for (int v = 0; v < 3; ++v) {
        const __m512i two = _mm512_permutex2var_epi8(first, il.firstTwo[v], green);
        _mm512_storeu_si512(out + 64 * v, _mm512_mask_permutexvar_epi8(two, il.thirdMask[v], il.third[v], last));
    }
}

// The record for pairs from `pair` on.
inline DemosaicRowArgs From(const DemosaicRowArgs& r, uint32_t pair, int layout)
{
    DemosaicRowArgs rest = r;
    const std::ptrdiff_t x = 2 * static_cast<std::ptrdiff_t>(pair);
    for (int k = 0; k < 3; ++k)
        if (rest.rows[k] != nullptr)
            rest.rows[k] += x;
    if (layout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k)
            rest.out[k] += x;
    } else {
        rest.out[0] += 3 * x;
    }
    rest.count = r.count - pair;
    return rest;
}

inline bool Vectorisable(const DemosaicRowArgs& r)
{
    return r.step == 1 && r.bytes != nullptr && r.bytes->valid && r.count >= 1 + kPairs;
}

inline __m512i Load(const unsigned char* p)
{
    return _mm512_loadu_si512(p);
}

// The row's pairs from 1 on, with or without tables to apply.
template <int kLayout, bool kTables>
void NearestPairs(const DemosaicRowArgs& r)
{
    const unsigned char* const rg = r.rows[0];
    const unsigned char* const gb = r.rows[1];
    const ByteTables tables(*r.bytes);
    // Copies, so that stores through the rows' bytes need not reload them.
    const Interleave il = Pattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    const __m512i low = _mm512_set1_epi16(0x00FF);
    // Each 16-bit lane is one pair: loads one sample early put the left
    // neighbour in the low byte.
    const auto vector = [&](uint32_t p) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const __m512i rgBefore = Load(rg + c - 1);  // rg[c-1], rg[c]
        const __m512i rgAt = Load(rg + c);          // rg[c], rg[c+1]
        const __m512i gbBefore = Load(gb + c - 1);  // gb[c-1], gb[c]
        const __m512i gbAt = Load(gb + c);          // gb[c], gb[c+1]
        const __m512i red0 = _mm512_and_si512(rgAt, low);
        const __m512i green = _mm512_and_si512(gbAt, low);
        const __m512i sum0 = _mm512_add_epi16(_mm512_and_si512(rgBefore, low), green);
        const __m512i sum1 = _mm512_add_epi16(green, _mm512_srli_epi16(rgAt, 8));
        const __m512i red = _mm512_or_si512(red0, _mm512_slli_epi16(red0, 8));
        const __m512i greens =
            _mm512_or_si512(_mm512_srli_epi16(sum0, 1), _mm512_slli_epi16(_mm512_srli_epi16(sum1, 1), 8));
        // Blue: gb[c-1] for the first pixel, gb[c+1] for the second.
        const __m512i blue = _mm512_ternarylogic_epi32(low, gbBefore, gbAt, 0xCA);
        if (kTables)
            Put<kLayout>(outs, c, tables(0, red), tables(1, greens), tables(2, blue), il);
        else
            Put<kLayout>(outs, c, red, greens, blue, il);
    };
    uint32_t p = 1;
    for (; p + kPairs <= count; p += kPairs)
        vector(p);
    // The last vector ends at the row's last pair; the pairs it shares with
    // the one before get the same bytes again.
    if (p < count)
        vector(count - kPairs);
}

template <int kLayout>
void Nearest(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().nearest[kLayout][kWidthByteToByte];
    if (!Vectorisable(r)) {
        portable(r);
        return;
    }
    // The first pair carries in from outside the row.
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);

    const DemosaicByteTables& t = *r.bytes;
    if (t.identity[0] && t.identity[1] && t.identity[2])
        NearestPairs<kLayout, false>(r);
    else
        NearestPairs<kLayout, true>(r);
}

// The samples of 32 pairs of one mosaic row, per 16-bit lane: m = column
// i-1, c0 = i, c1 = i+1, c2 = i+2.
struct Quad {
    __m512i m, c0, c1, c2;
};

inline Quad Columns(__m512i before, __m512i after)
{
    const __m512i low = _mm512_set1_epi16(0x00FF);
    return {_mm512_and_si512(before, low), _mm512_srli_epi16(before, 8), _mm512_and_si512(after, low),
            _mm512_srli_epi16(after, 8)};
}

// Pairs from column i >= 2 on.
inline Quad RowAt(const unsigned char* row, std::ptrdiff_t i)
{
    return Columns(Load(row + i - 1), Load(row + i + 1));
}

// The row's first 32 pairs: column -1 is the carried sample, moved in front
// of the row's first 63, so that nothing before the row is read.
inline Quad RowFirst(const unsigned char* row, uint32_t carry, __m512i back)
{
    const __m512i before = _mm512_mask_permutexvar_epi8(_mm512_set1_epi8(static_cast<char>(carry)), ~__mmask64(1),
                                                        back, Load(row));
    return Columns(before, Load(row + 1));
}

// The vector of pairs from p on, or for the last one, which would run past
// the row, the vector that ends at the row's last pair: the pairs it shares
// with the one before get the same bytes again.
inline uint32_t Clamp(uint32_t p, uint32_t count)
{
    return p + kPairs <= count ? p : count - kPairs;
}

// Byte j holds j - 1: the permute of RowFirst.
inline __m512i BackOne()
{
    alignas(64) uint8_t index[64];
    for (int j = 0; j < 64; ++j)
        index[j] = static_cast<uint8_t>(j - 1);
    return _mm512_load_si512(index);
}

// 32 pairs at column i of a row centred on b, a above and c below.
// Packed pixels take the pairs' lanes packed as they are; the permutes that
// interleave them put the samples in order.
// Always inlined, the first vector's use too: a call would hand out the
// address of the caller's tables and patterns, which the compiler would then
// read again after every store instead of keeping them in registers.
template <int kLayout, bool kRedRow, bool kLookup>
__attribute__((always_inline)) inline void BilinearPut(const Outs& outs, std::ptrdiff_t i, const Quad& a,
                                                      const Quad& b, const Quad& c, const ByteTables& tables,
                                                      const Interleave& il)
{
    const __m512i acm = _mm512_add_epi16(a.m, c.m);
    const __m512i ac0 = _mm512_add_epi16(a.c0, c.c0);
    const __m512i ac1 = _mm512_add_epi16(a.c1, c.c1);
    const __m512i ac2 = _mm512_add_epi16(a.c2, c.c2);
    __m512i r0, g0, b0, r1, g1, b1;
    if (kRedRow) {
        r0 = b.c0;
        g0 = _mm512_srli_epi16(_mm512_add_epi16(_mm512_add_epi16(b.m, b.c1), ac0), 2);
        b0 = _mm512_srli_epi16(_mm512_add_epi16(acm, ac1), 2);
        r1 = _mm512_srli_epi16(_mm512_add_epi16(b.c0, b.c2), 1);
        g1 = _mm512_srli_epi16(_mm512_add_epi16(_mm512_add_epi16(ac0, ac2), _mm512_slli_epi16(b.c1, 2)), 3);
        b1 = _mm512_srli_epi16(ac1, 1);
    } else {
        r0 = _mm512_srli_epi16(ac0, 1);
        g0 = _mm512_srli_epi16(_mm512_add_epi16(_mm512_add_epi16(acm, ac1), _mm512_slli_epi16(b.c0, 2)), 3);
        b0 = _mm512_srli_epi16(_mm512_add_epi16(b.m, b.c1), 1);
        r1 = _mm512_srli_epi16(_mm512_add_epi16(ac0, ac2), 2);
        g1 = _mm512_srli_epi16(_mm512_add_epi16(_mm512_add_epi16(b.c0, b.c2), ac1), 2);
        b1 = b.c1;
    }
    __m512i red, green, blue;
    if (kLayout != kLayoutPlanar) {
        red = _mm512_packus_epi16(r0, r1);
        green = _mm512_packus_epi16(g0, g1);
        blue = _mm512_packus_epi16(b0, b1);
    } else {
        red = _mm512_or_si512(r0, _mm512_slli_epi16(r1, 8));
        green = _mm512_or_si512(g0, _mm512_slli_epi16(g1, 8));
        blue = _mm512_or_si512(b0, _mm512_slli_epi16(b1, 8));
    }
    if (kLookup) {
        red = tables(0, red);
        green = tables(1, green);
        blue = tables(2, blue);
    }
    Put<kLayout>(outs, i, red, green, blue, il);
}

const Interleave& BilinearPattern(int layout)
{
    return layout == kLayoutPlanar ? Pattern() : SplitPattern();
}

// One row, for one row phase and with or without tables to look up, so that
// neither is decided per vector.
template <int kLayout, bool kRedRow, bool kLookup>
void BilinearPairs(const DemosaicRowArgs& r)
{
    const unsigned char* const a = r.rows[0];
    const unsigned char* const b = r.rows[1];
    const unsigned char* const c = r.rows[2];
    const ByteTables tables(*r.bytes);
    // Copies, so that stores through the rows' bytes need not reload them.
    const Interleave il = BilinearPattern(kLayout);
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    const __m512i back = BackOne();
    BilinearPut<kLayout, kRedRow, kLookup>(outs, 0, RowFirst(a, r.carry[0], back), RowFirst(b, r.carry[1], back),
                                           RowFirst(c, r.carry[2], back), tables, il);
    // One loop body for all further vectors (a second copy of it would be
    // called rather than inlined, and the tables would then live in memory).
    for (uint32_t p = kPairs; p < count; p += kPairs) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(Clamp(p, count));
        BilinearPut<kLayout, kRedRow, kLookup>(outs, i, RowAt(a, i), RowAt(b, i), RowAt(c, i), tables, il);
    }
}

// Two rows in one pass: rows b and c serve both, so each of their vectors
// is loaded and split once. Each row gets its portable bytes.
template <int kLayout, bool kRedFirst, bool kLookup>
void BilinearTwoPairs(const DemosaicRowArgs& r, const DemosaicRowArgs& s)
{
    const unsigned char* const a = r.rows[0];
    const unsigned char* const b = r.rows[1];
    const unsigned char* const c = r.rows[2];
    const unsigned char* const d = s.rows[2];
    const ByteTables tables(*r.bytes);
    const Interleave il = BilinearPattern(kLayout);
    const Outs first = {{r.out[0], r.out[1], r.out[2]}};
    const Outs second = {{s.out[0], s.out[1], s.out[2]}};
    const uint32_t count = r.count;
    const __m512i back = BackOne();
    {
        const Quad qb = RowFirst(b, r.carry[1], back), qc = RowFirst(c, r.carry[2], back);
        BilinearPut<kLayout, kRedFirst, kLookup>(first, 0, RowFirst(a, r.carry[0], back), qb, qc, tables, il);
        BilinearPut<kLayout, !kRedFirst, kLookup>(second, 0, qb, qc, RowFirst(d, s.carry[2], back), tables, il);
    }
    for (uint32_t p = kPairs; p < count; p += kPairs) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(Clamp(p, count));
        const Quad qb = RowAt(b, i), qc = RowAt(c, i);
        BilinearPut<kLayout, kRedFirst, kLookup>(first, i, RowAt(a, i), qb, qc, tables, il);
        BilinearPut<kLayout, !kRedFirst, kLookup>(second, i, qb, qc, RowAt(d, i), tables, il);
    }
}

// A row of at least one vector of pairs, packed without gaps, through byte
// tables.
inline bool BilinearVectorisable(const DemosaicRowArgs& r)
{
    return r.step == 1 && r.bytes != nullptr && r.bytes->valid && r.count >= kPairs;
}

inline bool Lookup(const DemosaicByteTables& t)
{
    return !(t.identity[0] && t.identity[1] && t.identity[2]);
}

template <int kLayout>
void Bilinear(const DemosaicRowArgs& r)
{
    if (!BilinearVectorisable(r)) {
        DemosaicRows::Portable().bilinear[kLayout][kWidthByteToByte](r);
        return;
    }
    const bool lookup = Lookup(*r.bytes);
    if ((r.phase & 1) != 0)
        (lookup ? BilinearPairs<kLayout, true, true> : BilinearPairs<kLayout, true, false>)(r);
    else
        (lookup ? BilinearPairs<kLayout, false, true> : BilinearPairs<kLayout, false, false>)(r);
}

// Whether [p, p + n) and [q, q + m) share a byte.
inline bool Overlap(const unsigned char* p, std::ptrdiff_t n, const unsigned char* q, std::ptrdiff_t m)
{
    const uintptr_t x = reinterpret_cast<uintptr_t>(p), y = reinterpret_cast<uintptr_t>(q);
    return x < y + static_cast<uintptr_t>(m) && y < x + static_cast<uintptr_t>(n);
}

// Two rows of one walk, `s` the one below `r`. Done together only where that
// gives the bytes of one row after the other: the second reads the first's
// lower rows and carried samples, and neither row's output touches the
// other's or any source row. Otherwise one row after the other.
template <int kLayout>
void BilinearTwo(const DemosaicRowArgs& r, const DemosaicRowArgs& s)
{
    bool together = BilinearVectorisable(r) && BilinearVectorisable(s) && s.count == r.count &&
                    s.bytes == r.bytes && s.rows[0] == r.rows[1] && s.rows[1] == r.rows[2] &&
                    s.carry[0] == r.carry[1] && s.carry[1] == r.carry[2] && ((r.phase ^ s.phase) & 1) != 0;
    if (together) {
        const std::ptrdiff_t written = 6 * static_cast<std::ptrdiff_t>(r.count);
        const std::ptrdiff_t read = 2 * static_cast<std::ptrdiff_t>(r.count) + 1;
        const unsigned char* const sources[4] = {r.rows[0], r.rows[1], r.rows[2], s.rows[2]};
        together = !Overlap(r.out[0], written, s.out[0], written);
        for (const unsigned char* row : sources)
            together = together && !Overlap(r.out[0], written, row, read) && !Overlap(s.out[0], written, row, read);
    }
    if (!together) {
        Bilinear<kLayout>(r);
        Bilinear<kLayout>(s);
        return;
    }
    const bool lookup = Lookup(*r.bytes);
    if ((r.phase & 1) != 0)
        (lookup ? BilinearTwoPairs<kLayout, true, true> : BilinearTwoPairs<kLayout, true, false>)(r, s);
    else
        (lookup ? BilinearTwoPairs<kLayout, false, true> : BilinearTwoPairs<kLayout, false, false>)(r, s);
}

// The mosaic through the red table, 64 sites at a time.
void Raw(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().raw[kWidthByteToByte];
    if (r.step != 1 || r.bytes == nullptr || !r.bytes->valid || r.count < 64) {
        portable(r);
        return;
    }
    const ByteTables tables(*r.bytes);
    const auto vector = [&](uint32_t x) { _mm512_storeu_si512(r.out[0] + x, tables(0, Load(r.rows[0] + x))); };
    uint32_t x = 0;
    for (; x + 64 <= r.count; x += 64)
        vector(x);
    if (x < r.count)
        vector(r.count - 64);
}

inline __m512i Widen(const unsigned char* p)
{
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
}

// One row of the 5x5 brightness, 32 outputs at a time in 16-bit lanes: the
// sum lies between -4080 and 12240. A negative sum clamps to 0 whichever
// way the division rounds, so the quotient is a plain shift of the rest.
void Mono(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().mono[kWidthByteToByte];
    if (r.step != 1 || r.count < 32) {
        portable(r);
        return;
    }
    // Copies, so that stores need not reload them.
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const uint32_t count = r.count;
    const auto vector = [&](uint32_t x) {
        __m512i s04[5], s13[5], s2[5];
        for (int j = 0; j < 5; ++j) {
            s04[j] = _mm512_add_epi16(Widen(rows[0] + x + j), Widen(rows[4] + x + j));
            s13[j] = _mm512_add_epi16(Widen(rows[1] + x + j), Widen(rows[3] + x + j));
            s2[j] = Widen(rows[2] + x + j);
        }
        // Outer rows: 0 -1 -2 -1 0; next rows: -1 2 6 2 -1; centre: -2 6 16 6 -2.
        const __m512i s13mid = _mm512_add_epi16(s13[1], s13[3]);
        const __m512i s2mid = _mm512_add_epi16(s2[1], s2[3]);
        const __m512i positive = _mm512_add_epi16(
            _mm512_add_epi16(_mm512_slli_epi16(s13mid, 1), _mm512_mullo_epi16(s13[2], _mm512_set1_epi16(6))),
            _mm512_add_epi16(_mm512_mullo_epi16(s2mid, _mm512_set1_epi16(6)), _mm512_slli_epi16(s2[2], 4)));
        const __m512i negative = _mm512_add_epi16(
            _mm512_add_epi16(_mm512_add_epi16(s04[1], s04[3]), _mm512_slli_epi16(s04[2], 1)),
            _mm512_add_epi16(_mm512_add_epi16(s13[0], s13[4]), _mm512_slli_epi16(_mm512_add_epi16(s2[0], s2[4]), 1)));
        const __m512i sum = _mm512_max_epi16(_mm512_sub_epi16(positive, negative), _mm512_setzero_si512());
        const __m512i v = _mm512_min_epi16(_mm512_srli_epi16(sum, 5), _mm512_set1_epi16(255));
        _mm512_mask_cvtepi16_storeu_epi8(out + x, ~__mmask32(0), v);
    };
    uint32_t x = 0;
    for (; x + 32 <= count; x += 32)
        vector(x);
    // The last vector ends at the row's end: some outputs get the same
    // bytes again.
    if (x < r.count)
        vector(r.count - 32);
}

// Weights of two neighbouring sites for vpmaddubsw: `a` for the even byte,
// `b` for the odd one.
inline __m512i WeightPair(int a, int b)
{
    return _mm512_set1_epi16(static_cast<short>((static_cast<unsigned>(b & 0xFF) << 8) | (a & 0xFF)));
}

// The same brightness, 64 outputs at a time straight from the bytes: each
// vpmaddubsw weighs two neighbouring sites, so an even output takes its five
// columns from the loads at x, x+2 and x+4 and an odd one from x+1, x+3 and
// x+4. No partial sum leaves -4080..12240, so 16-bit lanes neither wrap nor
// saturate. Reads end at x+67, the portable loop's last column.
void MonoWide(const DemosaicRowArgs& r)
{
    if (r.step != 1 || r.count < 64) {
        Mono(r);
        return;
    }
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const uint32_t count = r.count;
    // Outer rows: 0 -1 -2 -1 0; next rows: -1 2 6 2 -1; centre: -2 6 16 6 -2.
    const __m512i o01 = WeightPair(0, -1), o23 = WeightPair(-2, -1);
    const __m512i n01 = WeightPair(-1, 2), n23 = WeightPair(6, 2), n4 = WeightPair(-1, 0), n4odd = WeightPair(0, -1);
    const __m512i c01 = WeightPair(-2, 6), c23 = WeightPair(16, 6), c4 = WeightPair(-2, 0), c4odd = WeightPair(0, -2);
    // Even outputs in the low half of each 128-bit lane after packus, odd
    // ones in the high half: interleave them back.
    const __m512i interleave =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    const auto vector = [&](uint32_t x) {
        // Each row is loaded once; its copies shifted by 1 to 4 bytes come
        // from byte aligns with the 4 bytes past the vector, which the last
        // outputs read anyway.
        struct Shifted {
            __m512i at[5];
        };
        const auto shifted = [x](const unsigned char* row) {
            const unsigned char* const p = row + x;
            int32_t next;
            std::memcpy(&next, p + 64, sizeof next);
            Shifted s;
            s.at[0] = Load(p);
            const __m512i mid = _mm512_alignr_epi32(_mm512_castsi128_si512(_mm_cvtsi32_si128(next)), s.at[0], 4);
            s.at[1] = _mm512_alignr_epi8(mid, s.at[0], 1);
            s.at[2] = _mm512_alignr_epi8(mid, s.at[0], 2);
            s.at[3] = _mm512_alignr_epi8(mid, s.at[0], 3);
            s.at[4] = _mm512_alignr_epi8(mid, s.at[0], 4);
            return s;
        };
        const auto mad = [](__m512i v, __m512i w) { return _mm512_maddubs_epi16(v, w); };
        __m512i even, odd;
        {
            const Shifted a = shifted(rows[0]), b = shifted(rows[4]);
            even = _mm512_add_epi16(_mm512_add_epi16(mad(a.at[0], o01), mad(a.at[2], o23)),
                                    _mm512_add_epi16(mad(b.at[0], o01), mad(b.at[2], o23)));
            odd = _mm512_add_epi16(_mm512_add_epi16(mad(a.at[1], o01), mad(a.at[3], o23)),
                                   _mm512_add_epi16(mad(b.at[1], o01), mad(b.at[3], o23)));
        }
        for (int k = 1; k <= 3; k += 2) {
            const Shifted a = shifted(rows[k]);
            even = _mm512_add_epi16(even, _mm512_add_epi16(_mm512_add_epi16(mad(a.at[0], n01), mad(a.at[2], n23)),
                                                           mad(a.at[4], n4)));
            odd = _mm512_add_epi16(odd, _mm512_add_epi16(_mm512_add_epi16(mad(a.at[1], n01), mad(a.at[3], n23)),
                                                         mad(a.at[4], n4odd)));
        }
        {
            const Shifted a = shifted(rows[2]);
            even = _mm512_add_epi16(even, _mm512_add_epi16(_mm512_add_epi16(mad(a.at[0], c01), mad(a.at[2], c23)),
                                                           mad(a.at[4], c4)));
            odd = _mm512_add_epi16(odd, _mm512_add_epi16(_mm512_add_epi16(mad(a.at[1], c01), mad(a.at[3], c23)),
                                                         mad(a.at[4], c4odd)));
        }
        // A negative sum stays negative after the shift and packus makes it
        // 0, as the clamp after the division does; above 255 it saturates.
        const __m512i packed = _mm512_packus_epi16(_mm512_srai_epi16(even, 5), _mm512_srai_epi16(odd, 5));
        _mm512_storeu_si512(out + x, _mm512_shuffle_epi8(packed, interleave));
    };
    uint32_t x = 0;
    for (; x + 64 <= count; x += 64)
        vector(x);
    if (x < count)
        vector(count - 64);
}


// ---- 16-bit sources: 10- and 12-bit mosaics -------------------------------
// A word indexes the table as it stands, also above the depth's largest
// value. Entries come from 32-bit gathers, each of which also reads the
// entry after the wanted one; a vector that holds the last index of a table
// is looked up entry by entry instead, so that nothing past a table is read.

const uint32_t kWordPairs = 16;  // pairs in one vector of 32-bit lanes: 32 pixels

// Logical right shift of 32-bit lanes.
template <unsigned kCount>
inline __m512i Shr32(__m512i v)
{
    return _mm512_maskz_srli_epi32(0xFFFF, v, kCount);
}

inline __m512i Gather(const uint16_t* table, __m512i index)
{
    const __m512i last = _mm512_set1_epi32(0xFFFF);
    if (_mm512_cmpeq_epi32_mask(index, last) == 0)
        return _mm512_and_si512(_mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, index, table, 2), last);
    alignas(64) uint32_t v[16];
    _mm512_store_si512(v, index);
    for (int j = 0; j < 16; ++j)
        v[j] = table[v[j]];
    return _mm512_load_si512(v);
}

// Table entries of 16 indices: computed where the table is a verified
// rescale and every index is within it, else gathered.
struct DeepTables {
    const uint16_t* lut[3];
    bool rescale[3];
    __m512i mul[3], add[3], limit[3];
    __m128i shift[3];

    explicit DeepTables(const DemosaicRowArgs& r)
    {
        same = r.bytes != nullptr && r.bytes->same;
        for (int k = 0; k < 3; ++k) {
            lut[k] = r.lut[k];
            rescale[k] = r.bytes != nullptr && r.bytes->rescale[k];
            mul[k] = _mm512_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->mul[k]) : 0);
            add[k] = _mm512_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->add[k]) : 0);
            limit[k] = _mm512_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->limit[k]) : 0);
            shift[k] = _mm_cvtsi32_si128(rescale[k] ? static_cast<int>(r.bytes->shift[k]) : 0);
        }
    }

    __m512i operator()(int k, __m512i index) const
    {
        if (rescale[k] && _mm512_cmpgt_epu32_mask(index, limit[k]) == 0)
            return Rescale(k, index);
        return Gather(lut[k], index);
    }

    bool AllRescale() const { return rescale[0] && rescale[1] && rescale[2]; }
    bool same = false;  // every table the identity: the entries are the indices

    // With every table a rescale: the entries of n indices per table, all
    // computed when every index is within its table's range (one test for
    // the lot, as a camera's samples always are), else each looked up as
    // above, out of line so that the computed path keeps its registers.
    template <int n>
    __attribute__((always_inline)) void Entries(const __m512i (&index)[3][n], __m512i (&e)[3][n]) const
    {
        __mmask16 above = 0;
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                above |= _mm512_cmpgt_epu32_mask(index[k][j], limit[k]);
        if (above != 0) {
            LookedUp(index, e);
            return;
        }
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                e[k][j] = same ? index[k][j] : Rescale(k, index[k][j]);
    }

    template <int n>
    __attribute__((noinline)) void LookedUp(const __m512i (&index)[3][n], __m512i (&e)[3][n]) const
    {
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                e[k][j] = (*this)(k, index[k][j]);
    }

    __attribute__((always_inline)) __m512i Rescale(int k, __m512i index) const
    {
        return _mm512_srl_epi32(_mm512_add_epi32(_mm512_mullo_epi32(index, mul[k]), add[k]), shift[k]);
    }
};

// Word permutes for 32 packed pixels of three 16-bit samples.
struct WordInterleave {
    __m512i firstTwo[3];
    __m512i third[3];
    __mmask32 thirdMask[3];

    WordInterleave()
    {
        for (int v = 0; v < 3; ++v) {
            alignas(64) uint16_t two[32];
            alignas(64) uint16_t one[32];
            uint32_t mask = 0;
            for (int j = 0; j < 32; ++j) {
                const int n = 32 * v + j;
                const int pixel = n / 3;
                const int channel = n % 3;
                two[j] = static_cast<uint16_t>(channel == 1 ? pixel | 32 : pixel);
                one[j] = static_cast<uint16_t>(pixel);
                if (channel == 2)
                    mask |= uint32_t(1) << j;
            }
            firstTwo[v] = _mm512_load_si512(two);
            third[v] = _mm512_load_si512(one);
            thirdMask[v] = mask;
        }
    }
};

const WordInterleave& WordPattern()
{
    static const WordInterleave pattern;
    return pattern;
}

// 32 pixels from pairs of table entries (e0 for the even, e1 for the odd
// pixel of each pair), stored as 8-bit samples (low bytes) or 16-bit ones.
template <int kLayout, int kWidth>
__attribute__((always_inline)) inline void PutPairs(const Outs& o, std::ptrdiff_t x, const __m512i (&e)[3][2],
                                                    const Interleave& il, const WordInterleave& wl)
{
    if (kWidth == kWidthWordToByte) {
        const __m512i low = _mm512_set1_epi32(0xFF);
        __m256i c[3];
        for (int k = 0; k < 3; ++k)
            c[k] = _mm512_cvtepi32_epi16(
                _mm512_or_si512(_mm512_and_si512(e[k][0], low), _mm512_slli_epi32(_mm512_and_si512(e[k][1], low), 8)));
        if (kLayout == kLayoutPlanar) {
            for (int k = 0; k < 3; ++k)
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(o.out[k] + x), c[k]);
            return;
        }
        const __m512i first = _mm512_castsi256_si512(kLayout == kLayoutRGB ? c[0] : c[2]);
        const __m512i green = _mm512_castsi256_si512(c[1]);
        const __m512i third = _mm512_castsi256_si512(kLayout == kLayoutRGB ? c[2] : c[0]);
        unsigned char* out = o.out[0] + 3 * x;
        const __m512i v0 = _mm512_permutex2var_epi8(first, il.firstTwo[0], green);
        _mm512_storeu_si512(out, _mm512_mask_permutexvar_epi8(v0, il.thirdMask[0], il.third[0], third));
        const __m512i v1 = _mm512_permutex2var_epi8(first, il.firstTwo[1], green);
        _mm512_mask_storeu_epi8(out + 64, 0xFFFFFFFFull,
                                _mm512_mask_permutexvar_epi8(v1, il.thirdMask[1], il.third[1], third));
        return;
    }
    __m512i c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = _mm512_or_si512(e[k][0], _mm512_slli_epi32(e[k][1], 16));
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k)
            _mm512_storeu_si512(o.out[k] + 2 * x, c[k]);
        return;
    }
    const __m512i first = kLayout == kLayoutRGB ? c[0] : c[2];
    const __m512i last = kLayout == kLayoutRGB ? c[2] : c[0];
    unsigned char* out = o.out[0] + 6 * x;
    for (int v = 0; v < 3; ++v) {
        const __m512i two = _mm512_permutex2var_epi16(first, wl.firstTwo[v], c[1]);
        _mm512_storeu_si512(out + 64 * v, _mm512_mask_permutexvar_epi16(two, wl.thirdMask[v], wl.third[v], last));
    }
}

inline bool WordsVectorisable(const DemosaicRowArgs& r)
{
    return r.step == 1 && r.count >= 1 + kWordPairs;
}

template <int kLayout, int kWidth>
void NearestWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().nearest[kLayout][kWidth];
    if (!WordsVectorisable(r)) {
        portable(r);
        return;
    }
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);

    const unsigned char* const rg = r.rows[0];
    const unsigned char* const gb = r.rows[1];
    const DeepTables lut(r);
    const Interleave il = Pattern();
    const WordInterleave wl = WordPattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    const __m512i low = _mm512_set1_epi32(0xFFFF);
    // Each 32-bit lane is one pair; a load one sample early puts the left
    // neighbour in the low half.
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const __m512i rgBefore = Load(rg + 2 * (c - 1));  // rg[c-1], rg[c]
        const __m512i rgAt = Load(rg + 2 * c);            // rg[c], rg[c+1]
        const __m512i gbBefore = Load(gb + 2 * (c - 1));  // gb[c-1], gb[c]
        const __m512i gbAt = Load(gb + 2 * c);            // gb[c], gb[c+1]
        const __m512i green = _mm512_and_si512(gbAt, low);
        const __m512i red = lut(0, _mm512_and_si512(rgAt, low));
        const __m512i e[3][2] = {
            {red, red},
            {lut(1, Shr32<1>(_mm512_add_epi32(_mm512_and_si512(rgBefore, low), green))),
             lut(1, Shr32<1>(_mm512_add_epi32(green, Shr32<16>(rgAt))))},
            {lut(2, _mm512_and_si512(gbBefore, low)), lut(2, Shr32<16>(gbAt))},
        };
        PutPairs<kLayout, kWidth>(outs, c, e, il, wl);
    };
    uint32_t p = 1;
    for (; p + kWordPairs <= count; p += kWordPairs)
        vector(p);
    if (p < count)
        vector(count - kWordPairs);
}

template <int kLayout, int kWidth>
void BilinearWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().bilinear[kLayout][kWidth];
    if (!WordsVectorisable(r)) {
        portable(r);
        return;
    }
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);

    const unsigned char* const a = r.rows[0];
    const unsigned char* const b = r.rows[1];
    const unsigned char* const c = r.rows[2];
    const DeepTables lut(r);
    const Interleave il = Pattern();
    const WordInterleave wl = WordPattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    const __m512i low = _mm512_set1_epi32(0xFFFF);
    const bool redRow = (r.phase & 1) != 0;
    const bool computed = lut.AllRescale();
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        const __m512i aL = Load(a + 2 * (i - 1)), aH = Load(a + 2 * (i + 1));
        const __m512i bL = Load(b + 2 * (i - 1)), bH = Load(b + 2 * (i + 1));
        const __m512i cL = Load(c + 2 * (i - 1)), cH = Load(c + 2 * (i + 1));
        const __m512i am = _mm512_and_si512(aL, low), a0 = Shr32<16>(aL);
        const __m512i a1 = _mm512_and_si512(aH, low), a2 = Shr32<16>(aH);
        const __m512i bm = _mm512_and_si512(bL, low), b0 = Shr32<16>(bL);
        const __m512i b1 = _mm512_and_si512(bH, low), b2 = Shr32<16>(bH);
        const __m512i cm = _mm512_and_si512(cL, low), c0 = Shr32<16>(cL);
        const __m512i c1 = _mm512_and_si512(cH, low), c2 = Shr32<16>(cH);
        const __m512i acm = _mm512_add_epi32(am, cm);
        const __m512i ac0 = _mm512_add_epi32(a0, c0);
        const __m512i ac1 = _mm512_add_epi32(a1, c1);
        const __m512i ac2 = _mm512_add_epi32(a2, c2);
        __m512i index[3][2];
        if (redRow) {
            index[0][0] = b0;
            index[1][0] = Shr32<2>(_mm512_add_epi32(_mm512_add_epi32(bm, b1), ac0));
            index[2][0] = Shr32<2>(_mm512_add_epi32(acm, ac1));
            index[0][1] = Shr32<1>(_mm512_add_epi32(b0, b2));
            index[1][1] = Shr32<3>(_mm512_add_epi32(_mm512_add_epi32(ac0, ac2), _mm512_slli_epi32(b1, 2)));
            index[2][1] = Shr32<1>(ac1);
        } else {
            index[0][0] = Shr32<1>(ac0);
            index[1][0] = Shr32<3>(_mm512_add_epi32(_mm512_add_epi32(acm, ac1), _mm512_slli_epi32(b0, 2)));
            index[2][0] = Shr32<1>(_mm512_add_epi32(bm, b1));
            index[0][1] = Shr32<2>(_mm512_add_epi32(ac0, ac2));
            index[1][1] = Shr32<2>(_mm512_add_epi32(_mm512_add_epi32(b0, b2), ac1));
            index[2][1] = b1;
        }
        __m512i e[3][2];
        if (computed) {
            lut.Entries(index, e);
        } else {
            for (int k = 0; k < 3; ++k)
                for (int j = 0; j < 2; ++j)
                    e[k][j] = lut(k, index[k][j]);
        }
        PutPairs<kLayout, kWidth>(outs, i, e, il, wl);
    };
    uint32_t p = 1;
    for (; p + kWordPairs <= count; p += kWordPairs)
        vector(p);
    if (p < count)
        vector(count - kWordPairs);
}


// ---- colour balance: 32 cells of a pair of rows at a time -----------------
// Per 16-bit lane one cell. Usable values are at most 249, so 16-bit lanes
// hold the sums of 256 vectors; they are then widened into 32-bit lanes,
// which a row of any width can not overflow within 2^20 cells.
template <int kRed, int kGreen1, int kGreen2, int kBlue>
struct BalanceBlock {
    __m512i red16, green16, blue16;
    uint64_t count;

    // `lanes` limits the last vector to the cells that exist; its loads are
    // masked so that nothing past the last cell is read.
    void Add(const unsigned char* top, const unsigned char* bottom, __mmask32 lanes, __mmask64 bytes)
    {
        const __m512i low = _mm512_set1_epi16(0x00FF);
        const __m512i from = _mm512_set1_epi16(21);
        const __m512i span = _mm512_set1_epi16(249 - 21);
        const __m512i t = _mm512_maskz_loadu_epi8(bytes, top);
        const __m512i b = _mm512_maskz_loadu_epi8(bytes, bottom);
        const __m512i site[4] = {_mm512_and_si512(t, low), _mm512_srli_epi16(t, 8), _mm512_and_si512(b, low),
                                 _mm512_srli_epi16(b, 8)};
        const __m512i r = site[kRed];
        const __m512i g = _mm512_srli_epi16(_mm512_add_epi16(site[kGreen1], site[kGreen2]), 1);
        const __m512i bl = site[kBlue];
        const __mmask32 usable = lanes & _mm512_cmple_epu16_mask(_mm512_sub_epi16(r, from), span) &
                                 _mm512_cmple_epu16_mask(_mm512_sub_epi16(g, from), span) &
                                 _mm512_cmple_epu16_mask(_mm512_sub_epi16(bl, from), span);
        red16 = _mm512_mask_add_epi16(red16, usable, red16, r);
        green16 = _mm512_mask_add_epi16(green16, usable, green16, g);
        blue16 = _mm512_mask_add_epi16(blue16, usable, blue16, bl);
        count += static_cast<uint64_t>(__builtin_popcount(usable));
    }
};

template <int kRed, int kGreen1, int kGreen2, int kBlue>
void Balance(const unsigned char* top, const unsigned char* bottom, uint32_t cells, DemosaicBalanceSums* sums)
{
    const __m512i ones = _mm512_set1_epi16(1);
    const uint32_t kChunk = 1u << 20;
    for (uint32_t start = 0; start < cells; start += kChunk) {
        const uint32_t end = cells - start > kChunk ? start + kChunk : cells;
        __m512i red = _mm512_setzero_si512(), green = red, blue = red;
        BalanceBlock<kRed, kGreen1, kGreen2, kBlue> block;
        block.count = 0;
        uint32_t c = start;
        while (c < end) {
            block.red16 = block.green16 = block.blue16 = _mm512_setzero_si512();
            const uint32_t stop = end - c > 256 * 32 ? c + 256 * 32 : end;
            for (; c + 32 <= stop; c += 32)
                block.Add(top + 2 * c, bottom + 2 * c, ~__mmask32(0), ~__mmask64(0));
            if (c < stop) {
                const uint32_t left = stop - c;
                block.Add(top + 2 * c, bottom + 2 * c, static_cast<__mmask32>((uint64_t(1) << left) - 1),
                          (__mmask64(1) << (2 * left)) - 1);
                c = stop;
            }
            red = _mm512_add_epi32(red, _mm512_madd_epi16(block.red16, ones));
            green = _mm512_add_epi32(green, _mm512_madd_epi16(block.green16, ones));
            blue = _mm512_add_epi32(blue, _mm512_madd_epi16(block.blue16, ones));
        }
        sums->red += static_cast<uint32_t>(_mm512_reduce_add_epi32(red));
        sums->green += static_cast<uint32_t>(_mm512_reduce_add_epi32(green));
        sums->blue += static_cast<uint32_t>(_mm512_reduce_add_epi32(blue));
        sums->count += block.count;
    }
}


// ---- 5x5 taps: 16 outputs at a time in 32-bit lanes -----------------------
// The divisor is read at run time; a power of two divides as a shift after
// adding divisor - 1 to negative sums, which truncates toward zero as the
// portable division does.

template <typename S>
inline __m512i Samples(const unsigned char* row, std::ptrdiff_t at)
{
    if (sizeof(S) == 1)
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at)));
    return _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + 2 * at)));
}

struct Taps {
    int32_t row[25];
    int32_t column[25];
    int32_t weight[25];
    int32_t count;
    int32_t log2;  // of the divisor, or -1 when it is no power of two

    void Set(const int32_t* kernel, int32_t divisor)
    {
        count = 0;
        for (int k = 0; k < 5; ++k)
            for (int j = 0; j < 5; ++j)
                if (kernel[5 * k + j] != 0) {
                    row[count] = k;
                    column[count] = j;
                    weight[count] = kernel[5 * k + j];
                    ++count;
                }
        log2 = -1;
        for (int b = 0; b < 31; ++b)
            if (divisor == (int32_t(1) << b))
                log2 = b;
    }

    template <typename S>
    __m512i Sum(const unsigned char* const* window, std::ptrdiff_t i) const
    {
        __m512i sum = _mm512_setzero_si512();
        for (int32_t t = 0; t < count; ++t)
            sum = _mm512_add_epi32(sum, _mm512_mullo_epi32(Samples<S>(window[row[t]], i + column[t]),
                                                           _mm512_set1_epi32(weight[t])));
        const __m512i bias = _mm512_srli_epi32(_mm512_srai_epi32(sum, 31), 32 - log2);
        return _mm512_sra_epi32(_mm512_add_epi32(sum, log2 > 0 ? bias : _mm512_setzero_si512()),
                                _mm_cvtsi32_si128(log2));
    }
};

// One row of the 5x5 brightness from a deep mosaic, 16 outputs at a time
// with the 5x5 taps: the division by 32 and the clamp to 0..255 are the same.
template <int kWidth>
void MonoWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().mono[kWidth];
    Taps taps;
    taps.Set(BayerToMonoKernel, BayerToMonoKernelDiv);
    if (r.step != 1 || r.count < 16 || taps.log2 < 0) {
        portable(r);
        return;
    }
    const unsigned char* const window[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const __m512i top = _mm512_set1_epi32(255);
    const auto vector = [&](uint32_t x) {
        const __m512i v = _mm512_min_epi32(_mm512_max_epi32(taps.Sum<WORD>(window, x), _mm512_setzero_si512()), top);
        if (kWidth == kWidthWordToWord)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 2 * x), _mm512_cvtepi32_epi16(v));
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm512_cvtepi32_epi8(v));
    };
    uint32_t x = 0;
    for (; x + 16 <= r.count; x += 16)
        vector(x);
    if (x < r.count)
        vector(r.count - 16);
}

// 64 bytes at a time where the destination is aligned to 64: a whole line
// per store.
void Stream(unsigned char* to, const unsigned char* from, size_t count)
{
    size_t head = static_cast<size_t>(-reinterpret_cast<uintptr_t>(to) & 63u);
    head = head < count ? head : count;
    std::memcpy(to, from, head);
    size_t i = head;
    for (; i + 64 <= count; i += 64)
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to + i), _mm512_loadu_si512(from + i));
    std::memcpy(to + i, from + i, count - i);
}

}  // namespace demosaic_avx512

void DemosaicRowsAvx512(DemosaicRowSet* set)
{
    using namespace demosaic_avx512;
    set->nearest[kLayoutRGB][kWidthByteToByte] = Nearest<kLayoutRGB>;
    set->nearest[kLayoutBGR][kWidthByteToByte] = Nearest<kLayoutBGR>;
    set->nearest[kLayoutPlanar][kWidthByteToByte] = Nearest<kLayoutPlanar>;
    set->bilinear[kLayoutRGB][kWidthByteToByte] = Bilinear<kLayoutRGB>;
    set->bilinear[kLayoutBGR][kWidthByteToByte] = Bilinear<kLayoutBGR>;
    set->bilinear[kLayoutPlanar][kWidthByteToByte] = Bilinear<kLayoutPlanar>;
    set->bilinearTwo[kLayoutRGB] = BilinearTwo<kLayoutRGB>;
    set->bilinearTwo[kLayoutBGR] = BilinearTwo<kLayoutBGR>;
    set->stream = Stream;
    set->raw[kWidthByteToByte] = Raw;
    set->mono[kWidthByteToByte] = MonoWide;
    set->nearest[kLayoutRGB][kWidthWordToByte] = NearestWords<kLayoutRGB, kWidthWordToByte>;
    set->nearest[kLayoutBGR][kWidthWordToByte] = NearestWords<kLayoutBGR, kWidthWordToByte>;
    set->nearest[kLayoutPlanar][kWidthWordToByte] = NearestWords<kLayoutPlanar, kWidthWordToByte>;
    set->nearest[kLayoutRGB][kWidthWordToWord] = NearestWords<kLayoutRGB, kWidthWordToWord>;
    set->nearest[kLayoutBGR][kWidthWordToWord] = NearestWords<kLayoutBGR, kWidthWordToWord>;
    set->nearest[kLayoutPlanar][kWidthWordToWord] = NearestWords<kLayoutPlanar, kWidthWordToWord>;
    set->bilinear[kLayoutRGB][kWidthWordToByte] = BilinearWords<kLayoutRGB, kWidthWordToByte>;
    set->bilinear[kLayoutBGR][kWidthWordToByte] = BilinearWords<kLayoutBGR, kWidthWordToByte>;
    set->bilinear[kLayoutPlanar][kWidthWordToByte] = BilinearWords<kLayoutPlanar, kWidthWordToByte>;
    set->bilinear[kLayoutRGB][kWidthWordToWord] = BilinearWords<kLayoutRGB, kWidthWordToWord>;
    set->bilinear[kLayoutBGR][kWidthWordToWord] = BilinearWords<kLayoutBGR, kWidthWordToWord>;
    set->bilinear[kLayoutPlanar][kWidthWordToWord] = BilinearWords<kLayoutPlanar, kWidthWordToWord>;
    set->balance[kCellRG] = Balance<0, 1, 2, 3>;
    set->balance[kCellGR] = Balance<1, 0, 3, 2>;
    set->balance[kCellGB] = Balance<2, 0, 3, 1>;
    set->mono[kWidthWordToByte] = MonoWords<kWidthWordToByte>;
    set->mono[kWidthWordToWord] = MonoWords<kWidthWordToWord>;
}
