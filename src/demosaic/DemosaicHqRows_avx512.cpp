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

}  // namespace demosaic_hq_avx512

void DemosaicHqRowsAvx512(DemosaicRowSet* set)
{
    using namespace demosaic_hq_avx512;
    set->hq[kLayoutRGB][kWidthByteToByte] = Hq<BYTE, kLayoutRGB, kWidthByteToByte>;
    set->hq[kLayoutBGR][kWidthByteToByte] = Hq<BYTE, kLayoutBGR, kWidthByteToByte>;
    set->hq[kLayoutPlanar][kWidthByteToByte] = Hq<BYTE, kLayoutPlanar, kWidthByteToByte>;
    set->hq[kLayoutRGB][kWidthWordToByte] = Hq<WORD, kLayoutRGB, kWidthWordToByte>;
    set->hq[kLayoutBGR][kWidthWordToByte] = Hq<WORD, kLayoutBGR, kWidthWordToByte>;
    set->hq[kLayoutPlanar][kWidthWordToByte] = Hq<WORD, kLayoutPlanar, kWidthWordToByte>;
    set->hq[kLayoutRGB][kWidthWordToWord] = Hq<WORD, kLayoutRGB, kWidthWordToWord>;
    set->hq[kLayoutBGR][kWidthWordToWord] = Hq<WORD, kLayoutBGR, kWidthWordToWord>;
    set->hq[kLayoutPlanar][kWidthWordToWord] = Hq<WORD, kLayoutPlanar, kWidthWordToWord>;
}
