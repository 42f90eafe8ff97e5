// AVX-512 (F, BW, VL, VBMI) rows of the 5x5 demosaic.
//
// Each of the ten kernels is symmetric about its centre, so a kernel is a
// few weighted sums that the kernels share: the centre C, its row
// neighbours at 1 and 2 (H1, H2), its column neighbours at 1 and 2 (M, V),
// the four diagonal neighbours (D) and the four corners (W). A load split
// into its even and odd columns gives centres of one parity per vector, so
// no lane computes a kernel it does not use. 8-bit mosaics work in 16-bit
// lanes, 64 outputs at a time (no partial sum leaves -3060..7140); deep
// ones in 32-bit lanes, 32 at a time (16-bit words: within +-2^21).
//
// A negative sum clamps to 0 whichever way the division rounds, so the
// truncating division by a power of two and the shift after it are one
// arithmetic shift; saturating packs then make the clamp to 0..255.
//
// The last block of a row ends at its last output, writing again outputs it
// shares with the block before; reads end at column count + 3 of each
// window row, the portable loop's last.
#include <immintrin.h>

// Several AVX-512 intrinsics start from a deliberately undefined vector,
// which GCC 12 reports as uninitialised wherever they are inlined.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_hq_avx512 {

// Lane arithmetic and loads of one source sample width.
template <typename S>
struct Lanes;

template <>
struct Lanes<BYTE> {
    enum { kOutputs = 64 };
    static __m512i Add(__m512i a, __m512i b) { return _mm512_add_epi16(a, b); }
    static __m512i Sub(__m512i a, __m512i b) { return _mm512_sub_epi16(a, b); }
    static __m512i Shl(__m512i a, unsigned n) { return _mm512_slli_epi16(a, n); }
    static __m512i Sra(__m512i a, __m128i n) { return _mm512_sra_epi16(a, n); }
    // Even and odd columns of 64 samples from column `x` on.
    static void Split(const unsigned char* row, std::ptrdiff_t x, __m512i* even, __m512i* odd)
    {
        const __m512i v = _mm512_loadu_si512(row + x);
        *even = _mm512_and_si512(v, _mm512_set1_epi16(0xFF));
        *odd = _mm512_srli_epi16(v, 8);
    }
};

template <>
struct Lanes<WORD> {
    enum { kOutputs = 32 };
    static __m512i Add(__m512i a, __m512i b) { return _mm512_add_epi32(a, b); }
    static __m512i Sub(__m512i a, __m512i b) { return _mm512_sub_epi32(a, b); }
    static __m512i Shl(__m512i a, unsigned n) { return _mm512_slli_epi32(a, n); }
    static __m512i Sra(__m512i a, __m128i n) { return _mm512_sra_epi32(a, n); }
    static void Split(const unsigned char* row, std::ptrdiff_t x, __m512i* even, __m512i* odd)
    {
        const __m512i v = _mm512_loadu_si512(row + 2 * x);
        *even = _mm512_and_si512(v, _mm512_set1_epi32(0xFFFF));
        *odd = _mm512_srli_epi32(v, 16);
    }
};

struct Terms {
    __m512i centre, row1, row2, column1, column2, diagonal, corner;
};

// Right shifts of the three divisors (8, 4, 16) plus the row's shift.
struct Shifts {
    __m128i by2, by3, by4;
    explicit Shifts(int32_t shift)
        : by2(_mm_cvtsi32_si128(2 + shift)), by3(_mm_cvtsi32_si128(3 + shift)), by4(_mm_cvtsi32_si128(4 + shift))
    {
    }
};

// Green, the site's own colour and the other colour at red and blue sites:
// (4C + 2H1 - H2 + 2M - V) / 8, (16C - 2H2 - 2V - W) / 4 and
// (12C - 3H2 + 4D - 3V) / 16.
template <typename L>
inline void ColourSite(const Terms& t, const Shifts& s, __m512i (&out)[3])
{
    const __m512i c2 = L::Add(t.centre, t.centre);
    const __m512i ends = L::Add(t.row2, t.column2);
    out[0] = L::Sra(L::Sub(L::Shl(L::Add(L::Add(c2, t.row1), t.column1), 1), ends), s.by3);
    out[1] = L::Sra(L::Sub(L::Shl(L::Sub(L::Shl(t.centre, 3), ends), 1), t.corner), s.by2);
    out[2] = L::Sra(L::Sub(L::Shl(L::Add(L::Add(c2, t.centre), t.diagonal), 2), L::Add(L::Shl(ends, 1), ends)),
                    s.by4);
}

// The same at green sites: (8C - D) / 4, the colour of the site's row
// (10C + 8H1 - 2H2 - 2D + V) / 16 and the other (10C + H2 + 8M - 2D - 2V) / 16.
template <typename L>
inline void GreenSite(const Terms& t, const Shifts& s, __m512i (&out)[3])
{
    const __m512i c5 = L::Add(L::Shl(t.centre, 2), t.centre);
    out[0] = L::Sra(L::Sub(L::Shl(t.centre, 3), t.diagonal), s.by2);
    const __m512i own = L::Sub(L::Add(c5, L::Shl(t.row1, 2)), L::Add(t.row2, t.diagonal));
    out[1] = L::Sra(L::Add(L::Shl(own, 1), t.column2), s.by4);
    const __m512i other = L::Sub(L::Add(c5, L::Shl(t.column1, 2)), L::Add(t.diagonal, t.column2));
    out[2] = L::Sra(L::Add(L::Shl(other, 1), t.row2), s.by4);
}

// Green, own and other colour of outputs x onwards, in the lanes of the
// even (x, x + 2, ...) and of the odd outputs. Their windows span columns x
// to x + kOutputs + 3: the loads at x, x + 2 and x + 4 of each row, split by
// parity, hold every column a centre of either parity needs.
template <typename S, bool kColourEven>
inline void Sums(const unsigned char* const* rows, std::ptrdiff_t x, const Shifts& s, __m512i (&even)[3],
                 __m512i (&odd)[3])
{
    typedef Lanes<S> L;
    // [parity][offset]: rows 0 + 4, rows 1 + 3 and the centre row.
    __m512i outer[2][3], inner[2][3], centre[2][3];
    for (int k = 0; k < 3; ++k) {
        __m512i e0, o0, e1, o1;
        L::Split(rows[0], x + 2 * k, &e0, &o0);
        L::Split(rows[4], x + 2 * k, &e1, &o1);
        outer[0][k] = L::Add(e0, e1);
        outer[1][k] = L::Add(o0, o1);
        L::Split(rows[1], x + 2 * k, &e0, &o0);
        L::Split(rows[3], x + 2 * k, &e1, &o1);
        inner[0][k] = L::Add(e0, e1);
        inner[1][k] = L::Add(o0, o1);
        L::Split(rows[2], x + 2 * k, &centre[0][k], &centre[1][k]);
    }
    // Even centres are columns x + 2 + 2j, odd ones x + 3 + 2j; a centre's
    // left neighbours lie one offset further left.
    const Terms atEven = {centre[0][1],
                          L::Add(centre[1][0], centre[1][1]),
                          L::Add(centre[0][0], centre[0][2]),
                          inner[0][1],
                          outer[0][1],
                          L::Add(inner[1][0], inner[1][1]),
                          L::Add(outer[0][0], outer[0][2])};
    const Terms atOdd = {centre[1][1],
                         L::Add(centre[0][1], centre[0][2]),
                         L::Add(centre[1][0], centre[1][2]),
                         inner[1][1],
                         outer[1][1],
                         L::Add(inner[0][1], inner[0][2]),
                         L::Add(outer[1][0], outer[1][2])};
    if (kColourEven) {
        ColourSite<L>(atEven, s, even);
        GreenSite<L>(atOdd, s, odd);
    } else {
        GreenSite<L>(atEven, s, even);
        ColourSite<L>(atOdd, s, odd);
    }
}

// Where a block's packs leave output p: the pack of even and odd lanes
// interleaves them per 128-bit lane.
int BytesAt(int p)  // 8-bit mosaic: 8 even, 8 odd bytes per lane
{
    return 16 * (p >> 4) + 8 * (p & 1) + ((p >> 1) & 7);
}

int WordsAt(int p)  // deep mosaic: 4 even, 4 odd words per lane
{
    return 8 * (p >> 3) + 4 * (p & 1) + ((p >> 1) & 3);
}

int WordBytesAt(int p)  // the same words packed again to bytes
{
    return 16 * (p >> 3) + 4 * (p & 1) + ((p >> 1) & 3);
}

// Permutes that put a block's packed samples (bytes or words) in output
// order: one source for a plane; for packed pixels the first two samples of
// each pixel from one two-source permute, the third merged under a mask.
struct BlockOrder {
    __m512i plane;
    __m512i firstTwo[3];
    __m512i third[3];
    uint64_t thirdMask[3];

    BlockOrder(int (*at)(int), int outputs, int sampleBytes)
    {
        const int perVector = 64 / sampleBytes;
        int plain[64], two[64];
        for (int j = 0; j < perVector; ++j)
            plain[j] = j < outputs ? at(j) : 0;
        plane = Indices(plain, sampleBytes);
        for (int v = 0; v < 3; ++v) {
            thirdMask[v] = 0;
            for (int j = 0; j < perVector; ++j) {
                const int n = perVector * v + j;
                const int p = n / 3 < outputs ? at(n / 3) : 0;
                two[j] = n % 3 == 1 ? p | perVector : p;
                plain[j] = p;
                if (n % 3 == 2)
                    thirdMask[v] |= uint64_t(1) << j;
            }
            firstTwo[v] = Indices(two, sampleBytes);
            third[v] = Indices(plain, sampleBytes);
        }
    }

    static __m512i Indices(const int* values, int sampleBytes)
    {
        alignas(64) uint8_t bytes[64];
        for (int j = 0; j < 64 / sampleBytes; ++j) {
            if (sampleBytes == 1) {
                bytes[j] = static_cast<uint8_t>(values[j]);
            } else {
                const uint16_t w = static_cast<uint16_t>(values[j]);
                std::memcpy(bytes + 2 * j, &w, 2);
            }
        }
        return _mm512_load_si512(bytes);
    }
};

template <int kWidth>
const BlockOrder& Order()
{
    static const BlockOrder order(kWidth == kWidthByteToByte   ? BytesAt
                                  : kWidth == kWidthWordToWord ? WordsAt
                                                               : WordBytesAt,
                                  kWidth == kWidthByteToByte ? 64 : 32, kWidth == kWidthWordToWord ? 2 : 1);
    return order;
}

// Destination rows of one call: red, green, blue planes or packed pixels.
struct Outs {
    unsigned char* out[3];
};

// Stores the block's three colours (own, green, other), which `kLayout`
// places as (red, green, blue).
template <int kLayout, int kWidth>
inline void Store(const Outs& o, std::ptrdiff_t x, const __m512i (&even)[3], const __m512i (&odd)[3],
                  const BlockOrder& order)
{
    // Samples of green, own and other colour, 0..255 each.
    __m512i v[3];
    for (int k = 0; k < 3; ++k) {
        if (kWidth == kWidthByteToByte) {
            v[k] = _mm512_packus_epi16(even[k], odd[k]);
        } else {
            const __m512i words = _mm512_packs_epi32(even[k], odd[k]);
            v[k] = kWidth == kWidthWordToByte
                       ? _mm512_packus_epi16(words, words)
                       : _mm512_min_epi16(_mm512_max_epi16(words, _mm512_setzero_si512()), _mm512_set1_epi16(255));
        }
    }
    const int planes[3] = {1, 0, 2};
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k) {
            if (kWidth == kWidthByteToByte) {
                _mm512_storeu_si512(o.out[planes[k]] + x, _mm512_permutexvar_epi8(order.plane, v[k]));
            } else if (kWidth == kWidthWordToWord) {
                _mm512_storeu_si512(o.out[planes[k]] + 2 * x, _mm512_permutexvar_epi16(order.plane, v[k]));
            } else {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(o.out[planes[k]] + x),
                                    _mm512_castsi512_si256(_mm512_permutexvar_epi8(order.plane, v[k])));
            }
        }
        return;
    }
    const __m512i first = kLayout == kLayoutRGB ? v[1] : v[2];
    const __m512i last = kLayout == kLayoutRGB ? v[2] : v[1];
    if (kWidth == kWidthWordToWord) {
        unsigned char* out = o.out[0] + 6 * x;
        for (int k = 0; k < 3; ++k) {
            const __m512i two = _mm512_permutex2var_epi16(first, order.firstTwo[k], v[0]);
            _mm512_storeu_si512(out + 64 * k, _mm512_mask_permutexvar_epi16(
                                                  two, static_cast<__mmask32>(order.thirdMask[k]), order.third[k], last));
        }
        return;
    }
    // 64 packed pixels are three vectors, 32 one and a half.
    unsigned char* out = o.out[0] + 3 * x;
    for (int k = 0; k < (kWidth == kWidthByteToByte ? 3 : 2); ++k) {
        const __m512i two = _mm512_permutex2var_epi8(first, order.firstTwo[k], v[0]);
        const __m512i bytes = _mm512_mask_permutexvar_epi8(two, order.thirdMask[k], order.third[k], last);
        if (kWidth == kWidthByteToByte || k == 0)
            _mm512_storeu_si512(out + 64 * k, bytes);
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 64 * k), _mm512_castsi512_si256(bytes));
    }
}

template <typename S, int kLayout, int kWidth>
void Run(const DemosaicRowArgs& r, const Outs& o)
{
    const std::ptrdiff_t n = Lanes<S>::kOutputs;
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    const Shifts s(r.shift);
    const BlockOrder& order = Order<kWidth>();
    // Output i is a red or blue site where i & 1 equals the row's phase.
    const auto block = [&](std::ptrdiff_t x) {
        __m512i even[3], odd[3];
        if ((x & 1) == r.phase)
            Sums<S, true>(rows, x, s, even, odd);
        else
            Sums<S, false>(rows, x, s, even, odd);
        Store<kLayout, kWidth>(o, x, even, odd, order);
    };
    const std::ptrdiff_t count = r.count;
    std::ptrdiff_t x = 0;
    for (; x + n <= count; x += n)
        block(x);
    if (x < count)
        block(count - n);
}

template <typename S, int kLayout, int kWidth>
void Row(const DemosaicRowArgs& r)
{
    if (r.step != 1 || r.count < static_cast<uint32_t>(Lanes<S>::kOutputs)) {
        DemosaicRows::Portable().hq[kLayout][kWidth](r);
        return;
    }
    if (r.phase == 0) {
        Run<S, kLayout, kWidth>(r, Outs{{r.out[0], r.out[1], r.out[2]}});
        return;
    }
    // A row of blue sites: its own colour is blue.
    if (kLayout == kLayoutPlanar)
        Run<S, kLayoutPlanar, kWidth>(r, Outs{{r.out[2], r.out[1], r.out[0]}});
    else
        Run<S, kLayout == kLayoutRGB ? kLayoutBGR : kLayoutRGB, kWidth>(r, Outs{{r.out[0], r.out[1], r.out[2]}});
}

}  // namespace demosaic_hq_avx512

void DemosaicHqRowsAvx512(DemosaicRowSet* set)
{
    using namespace demosaic_hq_avx512;
    if (!DemosaicRows::HqKernelsShared())
        return;
    set->hq[kLayoutRGB][kWidthByteToByte] = Row<BYTE, kLayoutRGB, kWidthByteToByte>;
    set->hq[kLayoutBGR][kWidthByteToByte] = Row<BYTE, kLayoutBGR, kWidthByteToByte>;
    set->hq[kLayoutPlanar][kWidthByteToByte] = Row<BYTE, kLayoutPlanar, kWidthByteToByte>;
    set->hq[kLayoutRGB][kWidthWordToByte] = Row<WORD, kLayoutRGB, kWidthWordToByte>;
    set->hq[kLayoutBGR][kWidthWordToByte] = Row<WORD, kLayoutBGR, kWidthWordToByte>;
    set->hq[kLayoutPlanar][kWidthWordToByte] = Row<WORD, kLayoutPlanar, kWidthWordToByte>;
    set->hq[kLayoutRGB][kWidthWordToWord] = Row<WORD, kLayoutRGB, kWidthWordToWord>;
    set->hq[kLayoutBGR][kWidthWordToWord] = Row<WORD, kLayoutBGR, kWidthWordToWord>;
    set->hq[kLayoutPlanar][kWidthWordToWord] = Row<WORD, kLayoutPlanar, kWidthWordToWord>;
}
