// AVX-512 (F, BW, VL, VBMI) rows of the 5x5 demosaic.
#include <immintrin.h>

// Several AVX-512 intrinsics start from a deliberately undefined vector,
// which GCC 12 reports as uninitialised wherever they are inlined.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include <cstddef>
#include <cstdint>

#include "DemosaicKernels.h"
#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_hq_avx512 {

// Byte permutes that lay three vectors of 64 samples out as 64 packed
// three-byte pixels: for each output vector, the first two samples of each
// pixel come from one two-source permute, the third is merged under a mask.
struct Interleave {
    __m512i firstTwo[3];
    __m512i third[3];
    __mmask64 thirdMask[3];

    Interleave()
    {
        for (int v = 0; v < 3; ++v) {
            alignas(64) uint8_t two[64];
            alignas(64) uint8_t one[64];
            uint64_t mask = 0;
            for (int j = 0; j < 64; ++j) {
                const int n = 64 * v + j;
                const int pixel = n / 3;
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

// Destination rows of one call, held by value.
struct Outs {
    unsigned char* out[3];
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

// ---- 5x5 kernels: 16 outputs at a time in 32-bit lanes --------------------
// Both column parities' kernels are summed for every lane and blended by the
// lane's parity. The divisors are read at run time; a power of two divides
// as a shift after adding divisor - 1 to negative sums, which truncates
// toward zero as the portable division does.

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

template <int kLayout, int kWidth>
inline void PutSixteen(const Outs& o, std::ptrdiff_t x, __m512i red, __m512i green, __m512i blue,
                       const Interleave& il)
{
    if (kWidth != kWidthWordToWord) {
        const __m128i c[3] = {_mm512_cvtepi32_epi8(red), _mm512_cvtepi32_epi8(green), _mm512_cvtepi32_epi8(blue)};
        if (kLayout == kLayoutPlanar) {
            for (int k = 0; k < 3; ++k)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(o.out[k] + x), c[k]);
            return;
        }
        const __m512i first = _mm512_castsi128_si512(kLayout == kLayoutRGB ? c[0] : c[2]);
        const __m512i last = _mm512_castsi128_si512(kLayout == kLayoutRGB ? c[2] : c[0]);
        const __m512i two = _mm512_permutex2var_epi8(first, il.firstTwo[0], _mm512_castsi128_si512(c[1]));
        _mm512_mask_storeu_epi8(o.out[0] + 3 * x, (__mmask64(1) << 48) - 1,
                                _mm512_mask_permutexvar_epi8(two, il.thirdMask[0], il.third[0], last));
        return;
    }
    const __m256i c[3] = {_mm512_cvtepi32_epi16(red), _mm512_cvtepi32_epi16(green), _mm512_cvtepi32_epi16(blue)};
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(o.out[k] + 2 * x), c[k]);
        return;
    }
    // Bytes of 16 pixels of three 16-bit samples: word n of the output is
    // sample n % 3 of pixel n / 3.
    const WordInterleave& wl = WordPattern();
    const __m512i first = _mm512_castsi256_si512(kLayout == kLayoutRGB ? c[0] : c[2]);
    const __m512i last = _mm512_castsi256_si512(kLayout == kLayoutRGB ? c[2] : c[0]);
    unsigned char* out = o.out[0] + 6 * x;
    for (int v = 0; v < 2; ++v) {
        const __m512i two = _mm512_permutex2var_epi16(first, wl.firstTwo[v], _mm512_castsi256_si512(c[1]));
        const __m512i words = _mm512_mask_permutexvar_epi16(two, wl.thirdMask[v], wl.third[v], last);
        if (v == 0)
            _mm512_storeu_si512(out, words);
        else
            _mm512_mask_storeu_epi16(out + 64, 0xFFFF, words);
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
    if (r.step != 1 || r.count < 16 || !shifts) {
        portable(r);
        return;
    }
    const unsigned char* const window[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    const Interleave il = Pattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    const __m512i top = _mm512_set1_epi32(255);
    const auto vector = [&](uint32_t x) {
        // Lanes of odd columns take the second kernel.
        const __mmask16 odd = (x & 1) ? 0x5555 : 0xAAAA;
        __m512i v[3];
        for (int k = 0; k < 3; ++k) {
            const __m512i even = taps[k][0].Sum<S>(window, x);
            const __m512i other = taps[k][1].Sum<S>(window, x);
            const __m512i q = _mm512_sra_epi32(_mm512_mask_blend_epi32(odd, even, other), shift);
            v[k] = _mm512_min_epi32(_mm512_max_epi32(q, _mm512_setzero_si512()), top);
        }
        PutSixteen<kLayout, kWidth>(outs, x, v[0], v[1], v[2], il);
    };
    uint32_t x = 0;
    for (; x + 16 <= r.count; x += 16)
        vector(x);
    if (x < r.count)
        vector(r.count - 16);
}

// ---- 8-bit mosaics: 64 outputs at a time in 16-bit lanes ------------------
// Each of the ten kernels is symmetric about its centre, so a kernel is a
// few weighted sums that the kernels share: the centre C, its row
// neighbours at 1 and 2 (H1, H2), its column neighbours at 1 and 2 (M, V),
// the four diagonal neighbours (D) and the four corners (W). A load of 64
// bytes split into its even and odd columns gives 32 centres of each
// parity, so no lane computes a kernel it does not use.
//
// Range: samples are 0..255 and no partial sum below leaves -3060..7140,
// so 16-bit lanes are exact. A negative sum clamps to 0 whichever way the
// division rounds, so the truncating division by a power of two and the
// shift after it are one arithmetic shift; the pack to bytes with unsigned
// saturation is the clamp to 0..255.

struct Terms {
    __m512i centre, row1, row2, column1, column2, diagonal, corner;
};

inline __m512i Add(__m512i a, __m512i b)
{
    return _mm512_add_epi16(a, b);
}

inline __m512i Sub(__m512i a, __m512i b)
{
    return _mm512_sub_epi16(a, b);
}

template <int kCount>
inline __m512i Shl(__m512i a)
{
    return _mm512_slli_epi16(a, kCount);
}

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
inline void ColourSite(const Terms& t, const Shifts& s, __m512i (&out)[3])
{
    const __m512i c2 = Add(t.centre, t.centre);
    const __m512i ends = Add(t.row2, t.column2);
    out[0] = _mm512_sra_epi16(Sub(Shl<1>(Add(Add(c2, t.row1), t.column1)), ends), s.by3);
    out[1] = _mm512_sra_epi16(Sub(Shl<1>(Sub(Shl<3>(t.centre), ends)), t.corner), s.by2);
    out[2] = _mm512_sra_epi16(Sub(Shl<2>(Add(Add(c2, t.centre), t.diagonal)), Add(Shl<1>(ends), ends)), s.by4);
}

// The same at green sites: (8C - D) / 4, the colour of the site's row
// (10C + 8H1 - 2H2 - 2D + V) / 16 and the other (10C + H2 + 8M - 2D - 2V) / 16.
inline void GreenSite(const Terms& t, const Shifts& s, __m512i (&out)[3])
{
    const __m512i c5 = Add(Shl<2>(t.centre), t.centre);
    out[0] = _mm512_sra_epi16(Sub(Shl<3>(t.centre), t.diagonal), s.by2);
    const __m512i own = Sub(Add(c5, Shl<2>(t.row1)), Add(t.row2, t.diagonal));
    out[1] = _mm512_sra_epi16(Add(Shl<1>(own), t.column2), s.by4);
    const __m512i other = Sub(Add(c5, Shl<2>(t.column1)), Add(t.diagonal, t.column2));
    out[2] = _mm512_sra_epi16(Add(Shl<1>(other), t.row2), s.by4);
}

// Where the pack of even and odd lanes leaves pixel p of a block: each
// 128-bit lane holds 8 even then 8 odd pixels.
inline int PackedAt(int p)
{
    return 16 * (p >> 4) + 8 * (p & 1) + ((p >> 1) & 7);
}

// Permutes that put a block's packed bytes in pixel order: one source for a
// plane; for packed pixels the first two samples of each pixel from one
// two-source permute, the third merged under a mask.
struct BlockOrder {
    __m512i plane;
    __m512i firstTwo[3];
    __m512i third[3];
    __mmask64 thirdMask[3];

    BlockOrder()
    {
        alignas(64) uint8_t index[64];
        for (int j = 0; j < 64; ++j)
            index[j] = static_cast<uint8_t>(PackedAt(j));
        plane = _mm512_load_si512(index);
        for (int v = 0; v < 3; ++v) {
            alignas(64) uint8_t two[64];
            uint64_t mask = 0;
            for (int j = 0; j < 64; ++j) {
                const int n = 64 * v + j;
                const int at = PackedAt(n / 3);
                two[j] = static_cast<uint8_t>(n % 3 == 1 ? at | 64 : at);
                index[j] = static_cast<uint8_t>(at);
                if (n % 3 == 2)
                    mask |= uint64_t(1) << j;
            }
            firstTwo[v] = _mm512_load_si512(two);
            third[v] = _mm512_load_si512(index);
            thirdMask[v] = mask;
        }
    }
};

const BlockOrder& Order()
{
    static const BlockOrder order;
    return order;
}

// Even and odd columns of 64 bytes from `at` on, as 16-bit lanes.
inline void Split(const unsigned char* at, __m512i* even, __m512i* odd)
{
    const __m512i v = _mm512_loadu_si512(at);
    *even = _mm512_and_si512(v, _mm512_set1_epi16(0xFF));
    *odd = _mm512_srli_epi16(v, 8);
}

// Outputs x to x + 63. Their windows span columns x to x + 67: the loads at
// x, x + 2 and x + 4 of each row, split by parity, hold every column a
// centre of either parity needs. `kLayout` places (own, green, other) as
// (red, green, blue); the caller swaps them for rows of blue sites.
template <int kLayout, bool kColourEven>
inline void Block(const unsigned char* const* rows, std::ptrdiff_t x, const Shifts& s, const Outs& o,
                  const BlockOrder& order)
{
    // [parity][offset]: rows 0 + 4, rows 1 + 3 and the centre row.
    __m512i outer[2][3], inner[2][3], centre[2][3];
    for (int k = 0; k < 3; ++k) {
        __m512i e0, o0, e1, o1;
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
    // Centres in the even columns are column x + 2 + 2j, in the odd ones
    // x + 3 + 2j; a centre's left neighbours lie one offset further left.
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
    __m512i colour[3], green[3];
    ColourSite(kColourEven ? even : odd, s, colour);
    GreenSite(kColourEven ? odd : even, s, green);
    __m512i v[3];
    for (int k = 0; k < 3; ++k)
        v[k] = kColourEven ? _mm512_packus_epi16(colour[k], green[k]) : _mm512_packus_epi16(green[k], colour[k]);
    if (kLayout == kLayoutPlanar) {
        _mm512_storeu_si512(o.out[0] + x, _mm512_permutexvar_epi8(order.plane, v[1]));
        _mm512_storeu_si512(o.out[1] + x, _mm512_permutexvar_epi8(order.plane, v[0]));
        _mm512_storeu_si512(o.out[2] + x, _mm512_permutexvar_epi8(order.plane, v[2]));
        return;
    }
    const __m512i first = kLayout == kLayoutRGB ? v[1] : v[2];
    const __m512i last = kLayout == kLayoutRGB ? v[2] : v[1];
    unsigned char* out = o.out[0] + 3 * x;
    for (int k = 0; k < 3; ++k) {
        const __m512i two = _mm512_permutex2var_epi8(first, order.firstTwo[k], v[0]);
        _mm512_storeu_si512(out + 64 * k, _mm512_mask_permutexvar_epi8(two, order.thirdMask[k], order.third[k], last));
    }
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
    for (; x + 64 <= r.count; x += 64) {
        if (colourEven)
            Block<kLayout, true>(rows, x, s, o, order);
        else
            Block<kLayout, false>(rows, x, s, o, order);
    }
    // The last block ends at the row's last output.
    if (x < r.count) {
        x = r.count - 64;
        if (colourEven == ((x & 1) == 0))
            Block<kLayout, true>(rows, x, s, o, order);
        else
            Block<kLayout, false>(rows, x, s, o, order);
    }
}

template <int kLayout>
void Bytes(const DemosaicRowArgs& r)
{
    if (r.step != 1 || r.count < 64) {
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

}  // namespace demosaic_hq_avx512

void DemosaicHqRowsAvx512(DemosaicRowSet* set)
{
    using namespace demosaic_hq_avx512;
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
