// AVX2 rows of the 5x5 demosaic.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "DemosaicKernels.h"
#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_hq_avx2 {

// Destination rows of one call, held by value.
struct Outs {
    unsigned char* out[3];
};

// ---- 5x5 kernels: 8 outputs at a time in 32-bit lanes ---------------------
// As in the AVX-512 file: both parities' kernels for every lane, blended by
// the lane's parity, and a power-of-two divisor as a biased shift.

template <typename S>
inline __m256i Samples(const unsigned char* row, std::ptrdiff_t at)
{
    if (sizeof(S) == 1)
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + at)));
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 2 * at)));
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
    __m256i Sum(const unsigned char* const* window, std::ptrdiff_t i) const
    {
        __m256i sum = _mm256_setzero_si256();
        for (int32_t t = 0; t < count; ++t)
            sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(Samples<S>(window[row[t]], i + column[t]),
                                                           _mm256_set1_epi32(weight[t])));
        const __m256i bias = _mm256_srl_epi32(_mm256_srai_epi32(sum, 31), _mm_cvtsi32_si128(32 - log2));
        return _mm256_sra_epi32(_mm256_add_epi32(sum, bias), _mm_cvtsi32_si128(log2));
    }
};

// Byte shuffles that lay out 8 pixels from three vectors of samples: for
// 8-bit samples red and green share one source (green in bytes 8 to 15).
struct HqInterleave {
    __m128i bytes[2][2];   // [output part][red-green, blue]
    __m128i words[3][3];   // [output part][red, green, blue]

    HqInterleave()
    {
        for (int v = 0; v < 2; ++v) {
            alignas(16) uint8_t rg[16], b[16];
            for (int j = 0; j < 16; ++j) {
                const int n = 16 * v + j;
                const int pixel = n / 3, channel = n % 3;
                rg[j] = static_cast<uint8_t>(n < 24 && channel < 2 ? pixel + 8 * channel : 0x80);
                b[j] = static_cast<uint8_t>(n < 24 && channel == 2 ? pixel : 0x80);
            }
            bytes[v][0] = _mm_load_si128(reinterpret_cast<const __m128i*>(rg));
            bytes[v][1] = _mm_load_si128(reinterpret_cast<const __m128i*>(b));
        }
        for (int v = 0; v < 3; ++v) {
            for (int c = 0; c < 3; ++c) {
                alignas(16) uint8_t m[16];
                for (int j = 0; j < 16; ++j) {
                    const int element = (16 * v + j) / 2;
                    m[j] = static_cast<uint8_t>(element % 3 == c ? 2 * (element / 3) + j % 2 : 0x80);
                }
                words[v][c] = _mm_load_si128(reinterpret_cast<const __m128i*>(m));
            }
        }
    }
};

const HqInterleave& HqPattern()
{
    static const HqInterleave pattern;
    return pattern;
}

template <int kLayout, int kWidth>
inline void PutEight(const Outs& o, std::ptrdiff_t x, __m256i red, __m256i green, __m256i blue,
                     const HqInterleave& hl)
{
    const __m256i v[3] = {red, green, blue};
    __m128i c[3];
    for (int k = 0; k < 3; ++k) {
        // Values are 0..255: pack the eight lanes to words, in order.
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(v[k], v[k]), 0x08);
        c[k] = _mm256_castsi256_si128(words);
        if (kWidth != kWidthWordToWord)
            c[k] = _mm_packus_epi16(c[k], c[k]);
    }
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k) {
            if (kWidth == kWidthWordToWord)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o.out[k] + 2 * x), c[k]);
            else
                _mm_storel_epi64(reinterpret_cast<__m128i*>(o.out[k] + x), c[k]);
        }
        return;
    }
    const __m128i first = kLayout == kLayoutRGB ? c[0] : c[2];
    const __m128i last = kLayout == kLayoutRGB ? c[2] : c[0];
    if (kWidth != kWidthWordToWord) {
        const __m128i rg = _mm_unpacklo_epi64(first, c[1]);
        unsigned char* out = o.out[0] + 3 * x;
        const __m128i part0 =
            _mm_or_si128(_mm_shuffle_epi8(rg, hl.bytes[0][0]), _mm_shuffle_epi8(last, hl.bytes[0][1]));
        const __m128i part1 =
            _mm_or_si128(_mm_shuffle_epi8(rg, hl.bytes[1][0]), _mm_shuffle_epi8(last, hl.bytes[1][1]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), part0);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), part1);
        return;
    }
    const __m128i ch[3] = {first, c[1], last};
    unsigned char* out = o.out[0] + 6 * x;
    for (int p = 0; p < 3; ++p) {
        __m128i part = _mm_setzero_si128();
        for (int k = 0; k < 3; ++k)
            part = _mm_or_si128(part, _mm_shuffle_epi8(ch[k], hl.words[p][k]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16 * p), part);
    }
}

template <typename S, int kLayout, int kWidth>
void Hq(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().hq[kLayout][kWidth];
    const int32_t* const greens[2] = {r.phase == 0 ? GreenAtNotGreen : GreenAtGreen,
                                      r.phase == 0 ? GreenAtGreen : GreenAtNotGreen};
    const int32_t greenDivs[2] = {r.phase == 0 ? GreenAtNotGreenDiv : GreenAtGreenDiv,
                                  r.phase == 0 ? GreenAtGreenDiv : GreenAtNotGreenDiv};
    const int32_t* const reds[2] = {r.phase == 0 ? RedAtRed : RedAtGreenInBlue,
                                    r.phase == 0 ? RedAtGreenInRed : RedAtBlue};
    const int32_t redDivs[2] = {r.phase == 0 ? RedAtRedDiv : RedAtGreenInBlueDiv,
                                r.phase == 0 ? RedAtGreenInRedDiv : RedAtBlueDiv};
    const int32_t* const blues[2] = {r.phase == 0 ? BlueAtRedInRed : BlueAtGreenInBlue,
                                     r.phase == 0 ? BlueAtGreenInRed : BlueAtBlue};
    const int32_t blueDivs[2] = {r.phase == 0 ? BlueAtRedInRedDiv : BlueAtGreenInBlueDiv,
                                 r.phase == 0 ? BlueAtGreenInRedDiv : BlueAtBlueDiv};
    Taps taps[3][2];
    bool shifts = true;
    for (int c = 0; c < 2; ++c) {
        taps[0][c].Set(reds[c], redDivs[c]);
        taps[1][c].Set(greens[c], greenDivs[c]);
        taps[2][c].Set(blues[c], blueDivs[c]);
        for (int k = 0; k < 3; ++k)
            shifts = shifts && taps[k][c].log2 >= 0;
    }
    if (r.step != 1 || r.count < 8 || !shifts) {
        portable(r);
        return;
    }
    const unsigned char* const window[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    const HqInterleave hl = HqPattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    const __m256i top = _mm256_set1_epi32(255);
    const __m256i oddLanes = _mm256_set_epi32(-1, 0, -1, 0, -1, 0, -1, 0);
    const auto vector = [&](uint32_t x) {
        // Lanes of odd columns take the second kernel.
        const __m256i odd = (x & 1) ? _mm256_xor_si256(oddLanes, _mm256_set1_epi32(-1)) : oddLanes;
        __m256i v[3];
        for (int k = 0; k < 3; ++k) {
            const __m256i even = taps[k][0].Sum<S>(window, x);
            const __m256i other = taps[k][1].Sum<S>(window, x);
            const __m256i q = _mm256_sra_epi32(_mm256_blendv_epi8(even, other, odd), shift);
            v[k] = _mm256_min_epi32(_mm256_max_epi32(q, _mm256_setzero_si256()), top);
        }
        PutEight<kLayout, kWidth>(outs, x, v[0], v[1], v[2], hl);
    };
    uint32_t x = 0;
    for (; x + 8 <= r.count; x += 8)
        vector(x);
    if (x < r.count)
        vector(r.count - 8);
}

// ---- 8-bit mosaics: 32 outputs at a time in 16-bit lanes ------------------
// As in the AVX-512 file: each kernel is a few sums shared between kernels
// (centre C, row neighbours H1 and H2, column neighbours M and V, diagonals
// D, corners W), taken over the even and the odd columns of each load. No
// partial sum leaves -3060..7140; a negative sum clamps to 0 however the
// division rounds, so division and shift are one arithmetic shift, and the
// unsigned-saturating pack is the clamp.

struct Terms {
    __m256i centre, row1, row2, column1, column2, diagonal, corner;
};

inline __m256i Add(__m256i a, __m256i b)
{
    return _mm256_add_epi16(a, b);
}

inline __m256i Sub(__m256i a, __m256i b)
{
    return _mm256_sub_epi16(a, b);
}

template <int kCount>
inline __m256i Shl(__m256i a)
{
    return _mm256_slli_epi16(a, kCount);
}

// Right shifts of the three divisors (8, 4, 16) plus the row's shift.
struct Shifts {
    __m128i by2, by3, by4;
    explicit Shifts(int32_t shift)
        : by2(_mm_cvtsi32_si128(2 + shift)), by3(_mm_cvtsi32_si128(3 + shift)), by4(_mm_cvtsi32_si128(4 + shift))
    {
    }
};

// Green, own colour, other colour at red and blue sites.
inline void ColourSite(const Terms& t, const Shifts& s, __m256i (&out)[3])
{
    const __m256i c2 = Add(t.centre, t.centre);
    const __m256i ends = Add(t.row2, t.column2);
    out[0] = _mm256_sra_epi16(Sub(Shl<1>(Add(Add(c2, t.row1), t.column1)), ends), s.by3);
    out[1] = _mm256_sra_epi16(Sub(Shl<1>(Sub(Shl<3>(t.centre), ends)), t.corner), s.by2);
    out[2] = _mm256_sra_epi16(Sub(Shl<2>(Add(Add(c2, t.centre), t.diagonal)), Add(Shl<1>(ends), ends)), s.by4);
}

// The same at green sites.
inline void GreenSite(const Terms& t, const Shifts& s, __m256i (&out)[3])
{
    const __m256i c5 = Add(Shl<2>(t.centre), t.centre);
    out[0] = _mm256_sra_epi16(Sub(Shl<3>(t.centre), t.diagonal), s.by2);
    const __m256i own = Sub(Add(c5, Shl<2>(t.row1)), Add(t.row2, t.diagonal));
    out[1] = _mm256_sra_epi16(Add(Shl<1>(own), t.column2), s.by4);
    const __m256i other = Sub(Add(c5, Shl<2>(t.column1)), Add(t.diagonal, t.column2));
    out[2] = _mm256_sra_epi16(Add(Shl<1>(other), t.row2), s.by4);
}

// The pack of even and odd lanes leaves pixels 0..15 of a block in the low
// 128-bit lane and 16..31 in the high one, pixel q of a lane at byte
// 8 * (q & 1) + q / 2. Byte shuffles put them in order: for a plane, and
// for 16 packed pixels of three bytes, chunk m of each lane from the three
// colours (0x80 where a colour has no byte).
struct BlockOrder {
    __m256i plane;
    __m256i chunk[3][3];  // [chunk][first, green, last]

    BlockOrder()
    {
        alignas(32) uint8_t index[32];
        for (int j = 0; j < 32; ++j)
            index[j] = static_cast<uint8_t>(8 * (j & 1) + ((j & 15) >> 1));
        plane = _mm256_load_si256(reinterpret_cast<const __m256i*>(index));
        for (int m = 0; m < 3; ++m) {
            for (int c = 0; c < 3; ++c) {
                for (int j = 0; j < 32; ++j) {
                    const int n = 16 * m + (j & 15);
                    const int q = n / 3;
                    index[j] = static_cast<uint8_t>(n % 3 == c ? 8 * (q & 1) + (q >> 1) : 0x80);
                }
                chunk[m][c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(index));
            }
        }
    }
};

const BlockOrder& Order()
{
    static const BlockOrder order;
    return order;
}

// Even and odd columns of 32 bytes from `at` on, as 16-bit lanes.
inline void Split(const unsigned char* at, __m256i* even, __m256i* odd)
{
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    *even = _mm256_and_si256(v, _mm256_set1_epi16(0xFF));
    *odd = _mm256_srli_epi16(v, 8);
}

// Outputs x to x + 31, whose windows span columns x to x + 35. `kLayout`
// places (own, green, other) as (red, green, blue).
template <int kLayout, bool kColourEven>
inline void Block(const unsigned char* const* rows, std::ptrdiff_t x, const Shifts& s, const Outs& o,
                  const BlockOrder& order)
{
    // [parity][offset]: rows 0 + 4, rows 1 + 3 and the centre row.
    __m256i outer[2][3], inner[2][3], centre[2][3];
    for (int k = 0; k < 3; ++k) {
        __m256i e0, o0, e1, o1;
        Split(rows[0] + x + 2 * k, &e0, &o0);
        Split(rows[4] + x + 2 * k, &e1, &o1);
        outer[0][k] = Add(e0, e1);
        outer[1][k] = Add(o0, o1);
        Split(rows[1] + x + 2 * k, &e0, &o0);
        Split(rows[3] + x + 2 * k, &e1, &o1);
        inner[0][k] = Add(e0, e1);
        inner[1][k] = Add(o0, o1);
        Split(rows[2] + x + 2 * k, &centre[0][k], &centre[1][k]);
    }
    const Terms even = {centre[0][1],
                        Add(centre[1][0], centre[1][1]),
                        Add(centre[0][0], centre[0][2]),
                        inner[0][1],
                        outer[0][1],
                        Add(inner[1][0], inner[1][1]),
                        Add(outer[0][0], outer[0][2])};
    const Terms odd = {centre[1][1],
                       Add(centre[0][1], centre[0][2]),
                       Add(centre[1][0], centre[1][2]),
                       inner[1][1],
                       outer[1][1],
                       Add(inner[0][1], inner[0][2]),
                       Add(outer[1][0], outer[1][2])};
    __m256i colour[3], green[3];
    ColourSite(kColourEven ? even : odd, s, colour);
    GreenSite(kColourEven ? odd : even, s, green);
    __m256i v[3];
    for (int k = 0; k < 3; ++k)
        v[k] = kColourEven ? _mm256_packus_epi16(colour[k], green[k]) : _mm256_packus_epi16(green[k], colour[k]);
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k) {
            const int plane = k == 0 ? 1 : k == 1 ? 0 : 2;
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o.out[plane] + x), _mm256_shuffle_epi8(v[k], order.plane));
        }
        return;
    }
    const __m256i ch[3] = {kLayout == kLayoutRGB ? v[1] : v[2], v[0], kLayout == kLayoutRGB ? v[2] : v[1]};
    __m256i c[3];
    for (int m = 0; m < 3; ++m)
        c[m] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(ch[0], order.chunk[m][0]),
                                               _mm256_shuffle_epi8(ch[1], order.chunk[m][1])),
                               _mm256_shuffle_epi8(ch[2], order.chunk[m][2]));
    // Chunks 0..2 of the low lane are bytes 0..47, those of the high lane 48..95.
    __m256i* out = reinterpret_cast<__m256i*>(o.out[0] + 3 * x);
    _mm256_storeu_si256(out, _mm256_permute2x128_si256(c[0], c[1], 0x20));
    _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(c[2], c[0], 0x30));
    _mm256_storeu_si256(out + 2, _mm256_permute2x128_si256(c[1], c[2], 0x31));
}

template <int kLayout>
void RunBytes(const DemosaicRowArgs& r, const Outs& o)
{
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    const Shifts s(r.shift);
    const BlockOrder& order = Order();
    // Output i is a red or blue site where i & 1 equals the row's phase.
    const bool colourEven = r.phase == 0;
    uint32_t x = 0;
    for (; x + 32 <= r.count; x += 32) {
        if (colourEven)
            Block<kLayout, true>(rows, x, s, o, order);
        else
            Block<kLayout, false>(rows, x, s, o, order);
    }
    // The last block ends at the row's last output.
    if (x < r.count) {
        x = r.count - 32;
        if (colourEven == ((x & 1) == 0))
            Block<kLayout, true>(rows, x, s, o, order);
        else
            Block<kLayout, false>(rows, x, s, o, order);
    }
}

template <int kLayout>
void Bytes(const DemosaicRowArgs& r)
{
    if (r.step != 1 || r.count < 32) {
        DemosaicRows::Portable().hq[kLayout][kWidthByteToByte](r);
        return;
    }
    Outs o = {{r.out[0], r.out[1], r.out[2]}};
    if (r.phase == 0) {
        RunBytes<kLayout>(r, o);
        return;
    }
    // A row of blue sites: its own colour is blue.
    if (kLayout == kLayoutPlanar) {
        o = {{r.out[2], r.out[1], r.out[0]}};
        RunBytes<kLayoutPlanar>(r, o);
    } else {
        RunBytes<kLayout == kLayoutRGB ? kLayoutBGR : kLayoutRGB>(r, o);
    }
}

}  // namespace demosaic_hq_avx2

void DemosaicHqRowsAvx2(DemosaicRowSet* set)
{
    using namespace demosaic_hq_avx2;
    if (DemosaicRows::HqKernelsShared()) {
        set->hq[kLayoutRGB][kWidthByteToByte] = Bytes<kLayoutRGB>;
        set->hq[kLayoutBGR][kWidthByteToByte] = Bytes<kLayoutBGR>;
        set->hq[kLayoutPlanar][kWidthByteToByte] = Bytes<kLayoutPlanar>;
    }
    set->hq[kLayoutRGB][kWidthWordToByte] = Hq<WORD, kLayoutRGB, kWidthWordToByte>;
    set->hq[kLayoutBGR][kWidthWordToByte] = Hq<WORD, kLayoutBGR, kWidthWordToByte>;
    set->hq[kLayoutPlanar][kWidthWordToByte] = Hq<WORD, kLayoutPlanar, kWidthWordToByte>;
    set->hq[kLayoutRGB][kWidthWordToWord] = Hq<WORD, kLayoutRGB, kWidthWordToWord>;
    set->hq[kLayoutBGR][kWidthWordToWord] = Hq<WORD, kLayoutBGR, kWidthWordToWord>;
    set->hq[kLayoutPlanar][kWidthWordToWord] = Hq<WORD, kLayoutPlanar, kWidthWordToWord>;
}
