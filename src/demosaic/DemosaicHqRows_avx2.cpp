// AVX2 rows of the 5x5 demosaic, computed as in the AVX-512 file: shared
// sums of the window (centre C, row neighbours H1 and H2, column neighbours
// M and V, diagonals D, corners W) over the even and the odd columns of each
// load, one arithmetic shift for division and shift, saturating packs for
// the clamp. 8-bit mosaics: 32 outputs at a time in 16-bit lanes; deep
// ones: 16 in 32-bit lanes. The packs keep the first half of a block's
// outputs in the low 128-bit lane and the second in the high one, so byte
// shuffles within lanes put them in order.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_hq_avx2 {

template <typename S>
struct Lanes;

template <>
struct Lanes<BYTE> {
    enum { kOutputs = 32 };
    static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
    static __m256i Sub(__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); }
    static __m256i Shl(__m256i a, int n) { return _mm256_slli_epi16(a, n); }
    static __m256i Sra(__m256i a, __m128i n) { return _mm256_sra_epi16(a, n); }
    static void Split(const unsigned char* row, std::ptrdiff_t x, __m256i* even, __m256i* odd)
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x));
        *even = _mm256_and_si256(v, _mm256_set1_epi16(0xFF));
        *odd = _mm256_srli_epi16(v, 8);
    }
};

template <>
struct Lanes<WORD> {
    enum { kOutputs = 16 };
    static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
    static __m256i Sub(__m256i a, __m256i b) { return _mm256_sub_epi32(a, b); }
    static __m256i Shl(__m256i a, int n) { return _mm256_slli_epi32(a, n); }
    static __m256i Sra(__m256i a, __m128i n) { return _mm256_sra_epi32(a, n); }
    static void Split(const unsigned char* row, std::ptrdiff_t x, __m256i* even, __m256i* odd)
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + 2 * x));
        *even = _mm256_and_si256(v, _mm256_set1_epi32(0xFFFF));
        *odd = _mm256_srli_epi32(v, 16);
    }
};

struct Terms {
    __m256i centre, row1, row2, column1, column2, diagonal, corner;
};

// Right shifts of the three divisors (8, 4, 16) plus the row's shift.
struct Shifts {
    __m128i by2, by3, by4;
    explicit Shifts(int32_t shift)
        : by2(_mm_cvtsi32_si128(2 + shift)), by3(_mm_cvtsi32_si128(3 + shift)), by4(_mm_cvtsi32_si128(4 + shift))
    {
    }
};

// Green, own colour, other colour at red and blue sites.
template <typename L>
inline void ColourSite(const Terms& t, const Shifts& s, __m256i (&out)[3])
{
    const __m256i c2 = L::Add(t.centre, t.centre);
    const __m256i ends = L::Add(t.row2, t.column2);
    out[0] = L::Sra(L::Sub(L::Shl(L::Add(L::Add(c2, t.row1), t.column1), 1), ends), s.by3);
    out[1] = L::Sra(L::Sub(L::Shl(L::Sub(L::Shl(t.centre, 3), ends), 1), t.corner), s.by2);
    out[2] = L::Sra(L::Sub(L::Shl(L::Add(L::Add(c2, t.centre), t.diagonal), 2), L::Add(L::Shl(ends, 1), ends)),
                    s.by4);
}

// The same at green sites.
template <typename L>
inline void GreenSite(const Terms& t, const Shifts& s, __m256i (&out)[3])
{
    const __m256i c5 = L::Add(L::Shl(t.centre, 2), t.centre);
    out[0] = L::Sra(L::Sub(L::Shl(t.centre, 3), t.diagonal), s.by2);
    const __m256i own = L::Sub(L::Add(c5, L::Shl(t.row1, 2)), L::Add(t.row2, t.diagonal));
    out[1] = L::Sra(L::Add(L::Shl(own, 1), t.column2), s.by4);
    const __m256i other = L::Sub(L::Add(c5, L::Shl(t.column1, 2)), L::Add(t.diagonal, t.column2));
    out[2] = L::Sra(L::Add(L::Shl(other, 1), t.row2), s.by4);
}

// Green, own and other colour of outputs x onwards, in the lanes of the
// even and of the odd outputs; windows span columns x to x + kOutputs + 3.
template <typename S, bool kColourEven>
inline void Sums(const unsigned char* const* rows, std::ptrdiff_t x, const Shifts& s, __m256i (&even)[3],
                 __m256i (&odd)[3])
{
    typedef Lanes<S> L;
    // [parity][offset]: rows 0 + 4, rows 1 + 3 and the centre row.
    __m256i outer[2][3], inner[2][3], centre[2][3];
    for (int k = 0; k < 3; ++k) {
        __m256i e0, o0, e1, o1;
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

// Byte shuffles within a 128-bit lane. A lane holds `outputs` outputs, the
// sample (of `sampleBytes`) of output q at sample index at(q). `plane` puts
// them in order; chunk m of a lane's packed pixels takes its bytes from the
// first, green and last colour (0x80: none from that one).
struct BlockOrder {
    __m256i plane;
    __m256i chunk[3][3];  // [chunk][first, green, last]

    BlockOrder(int (*at)(int), int outputs, int sampleBytes)
    {
        alignas(32) uint8_t index[32];
        for (int j = 0; j < 32; ++j) {
            const int e = (j & 15) / sampleBytes;
            index[j] = static_cast<uint8_t>(e < outputs ? sampleBytes * at(e) + j % sampleBytes : 0x80);
        }
        plane = _mm256_load_si256(reinterpret_cast<const __m256i*>(index));
        for (int m = 0; m < 3; ++m) {
            for (int c = 0; c < 3; ++c) {
                for (int j = 0; j < 32; ++j) {
                    const int n = 16 * m + (j & 15);
                    const int e = n / sampleBytes;
                    const int q = e / 3;
                    index[j] = static_cast<uint8_t>(q < outputs && e % 3 == c ? sampleBytes * at(q) + n % sampleBytes
                                                                              : 0x80);
                }
                chunk[m][c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(index));
            }
        }
    }
};

int BytesAt(int q)  // 8-bit mosaic: 8 even, then 8 odd outputs
{
    return 8 * (q & 1) + (q >> 1);
}

int WordsAt(int q)  // deep mosaic: 4 even, then 4 odd outputs
{
    return 4 * (q & 1) + (q >> 1);
}

template <int kWidth>
const BlockOrder& Order()
{
    static const BlockOrder order(kWidth == kWidthByteToByte ? BytesAt : WordsAt, kWidth == kWidthByteToByte ? 16 : 8,
                                  kWidth == kWidthWordToWord ? 2 : 1);
    return order;
}

struct Outs {
    unsigned char* out[3];
};

// Stores the block's three colours (own, green, other), which `kLayout`
// places as (red, green, blue).
template <int kLayout, int kWidth>
inline void Store(const Outs& o, std::ptrdiff_t x, const __m256i (&even)[3], const __m256i (&odd)[3],
                  const BlockOrder& order)
{
    __m256i v[3];
    for (int k = 0; k < 3; ++k) {
        if (kWidth == kWidthByteToByte) {
            v[k] = _mm256_packus_epi16(even[k], odd[k]);
        } else {
            const __m256i words = _mm256_packs_epi32(even[k], odd[k]);
            v[k] = kWidth == kWidthWordToByte ? _mm256_packus_epi16(words, words)
                                              : _mm256_min_epi16(_mm256_max_epi16(words, _mm256_setzero_si256()),
                                                                 _mm256_set1_epi16(255));
        }
    }
    const int planes[3] = {1, 0, 2};
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k) {
            const __m256i ordered = _mm256_shuffle_epi8(v[k], order.plane);
            if (kWidth == kWidthWordToByte)  // 8 bytes in each lane
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o.out[planes[k]] + x),
                                 _mm256_castsi256_si128(_mm256_permute4x64_epi64(ordered, 0x08)));
            else
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(o.out[planes[k]] + (kWidth == kWidthWordToWord ? 2 : 1) * x),
                                    ordered);
        }
        return;
    }
    const __m256i colours[3] = {kLayout == kLayoutRGB ? v[1] : v[2], v[0], kLayout == kLayoutRGB ? v[2] : v[1]};
    __m256i c[3];
    for (int m = 0; m < (kWidth == kWidthWordToByte ? 2 : 3); ++m)
        c[m] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(colours[0], order.chunk[m][0]),
                                               _mm256_shuffle_epi8(colours[1], order.chunk[m][1])),
                               _mm256_shuffle_epi8(colours[2], order.chunk[m][2]));
    if (kWidth == kWidthWordToByte) {
        // 24 bytes from each lane.
        unsigned char* out = o.out[0] + 3 * x;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(c[0]));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_castsi256_si128(c[1]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 24), _mm256_extracti128_si256(c[0], 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 40), _mm256_extracti128_si256(c[1], 1));
        return;
    }
    // 48 bytes from each lane: chunks 0..2 of the low lane, then of the high.
    __m256i* out = reinterpret_cast<__m256i*>(o.out[0] + (kWidth == kWidthWordToWord ? 6 : 3) * x);
    _mm256_storeu_si256(out, _mm256_permute2x128_si256(c[0], c[1], 0x20));
    _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(c[2], c[0], 0x30));
    _mm256_storeu_si256(out + 2, _mm256_permute2x128_si256(c[1], c[2], 0x31));
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
        __m256i even[3], odd[3];
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

}  // namespace demosaic_hq_avx2

void DemosaicHqRowsAvx2(DemosaicRowSet* set)
{
    using namespace demosaic_hq_avx2;
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
