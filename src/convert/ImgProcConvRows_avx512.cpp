// AVX-512 (F, BW, VL, VBMI) bodies of the converters' rows. Byte permutes
// over whole registers replace the lane-bound shuffles of the AVX2 file.
// Loads and stores are whole registers (masked ones measured far slower on
// frames beyond the cache), so each loop keeps the room its last access
// needs. Own namespace, as for every ISA file.
// GCC 12's AVX-512 intrinsics start some results from a deliberately
// undefined register and then report it as maybe uninitialised.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include <cstring>

#include "ImgProcConvRows.h"

namespace convrows_avx512 {
namespace {

const short kTenth = 6554;  // (k * 6554) >> 16 = k / 10 below 2551

// Steps of `step` pixels that each need `room` pixels of the row run back to
// back; the last one moves back to end where the row's room ends, redoing a
// few pixels with the same bytes, so the portable loop is left at most
// room - step pixels instead of nearly a whole step. Returns false when done.
inline bool NextStep(int32_t& x, int32_t n, int32_t room, int32_t step)
{
    const int32_t last = n - room;
    if (x <= last)
        return true;
    if (last < 0 || x >= last + step)
        return false;
    x = last;
    return true;
}

// Loads that split cache lines cost more than redoing a few pixels: the
// first pixel whose `Bytes`-byte pixels start on a line, so that steps of
// 64 pixels (or of any whole number of lines) from there load whole lines;
// 0 where that is pixel 0 or no pixel starts one. The caller does one step
// at pixel 0 first where it is not.
// (For three bytes, 3 x = -p mod 64 is x = 43 * -p, as 3 * 43 = 1 mod 64.)
template <int Bytes>
inline int32_t LineStart(const unsigned char* p)
{
    const unsigned misalign = static_cast<unsigned>(-reinterpret_cast<uintptr_t>(p)) & 63u;
    if (Bytes == 3)
        return static_cast<int32_t>((43u * misalign) & 63u);
    return misalign % Bytes == 0 ? static_cast<int32_t>(misalign / Bytes) : 0;
}

inline __m512i Table(const unsigned char (&b)[64])
{
    return _mm512_loadu_si512(b);
}

// --- grey -------------------------------------------------------------------

// Words 3 r + 6 g + b of the 32 three-byte pixels that start byte `from`
// (0 or 32) of the register pair lo:hi.
struct sGreyPick {
    unsigned char pair[2][64];  // r, g of each pixel
    unsigned char last[2][64];  // b of each pixel, in the low byte of its word
    sGreyPick()
    {
        for (int h = 0; h < 2; ++h)
            for (int p = 0; p < 32; ++p) {
                const int at = 32 * h + 3 * p;
                pair[h][2 * p] = static_cast<unsigned char>(at);
                pair[h][2 * p + 1] = static_cast<unsigned char>(at + 1);
                last[h][2 * p] = static_cast<unsigned char>(at + 2);
                last[h][2 * p + 1] = 0;
            }
    }
};

inline __m512i GreySum(__m512i lo, __m512i hi, __m512i pair, __m512i last, __m512i weight)
{
    const __m512i rg = _mm512_maddubs_epi16(_mm512_permutex2var_epi8(lo, pair, hi), weight);
    return _mm512_add_epi16(rg, _mm512_maskz_permutex2var_epi8(0x5555555555555555ull, lo, last, hi));
}

int32_t Grey3(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sGreyPick pick;
    const __m512i pair0 = Table(pick.pair[0]), last0 = Table(pick.last[0]);
    const __m512i pair1 = Table(pick.pair[1]), last1 = Table(pick.last[1]);
    const __m512i weight = _mm512_set1_epi16(0x0603);
    const __m512i tenth = _mm512_set1_epi16(kTenth);
    unsigned char even[64];
    for (int j = 0; j < 64; ++j)
        even[j] = static_cast<unsigned char>(2 * j);
    const __m512i evenBytes = Table(even);
    // 64 pixels from three whole registers, nothing read beyond them.
    auto step = [&](int32_t x) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 64);
        const __m512i c = _mm512_loadu_si512(s + 128);
        const __m512i g0 = _mm512_mulhi_epu16(GreySum(a, b, pair0, last0, weight), tenth);
        const __m512i g1 = _mm512_mulhi_epu16(GreySum(b, c, pair1, last1, weight), tenth);
        _mm512_storeu_si512(dst + x, _mm512_permutex2var_epi8(g0, evenBytes, g1));
    };
    int32_t x = 0;
    if (width >= 128 && (x = LineStart<3>(src)) != 0)
        step(0);
    for (; NextStep(x, width, 64, 64); x += 64)
        step(x);
    // 32 pixels from two registers: 128 bytes, 43 pixels of room.
    for (; NextStep(x, width, 43, 32); x += 32) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m512i g = GreySum(_mm512_loadu_si512(s), _mm512_loadu_si512(s + 64), pair0, last0, weight);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x), _mm512_cvtepi16_epi8(_mm512_mulhi_epu16(g, tenth)));
    }
    return x;
}

int32_t Grey4(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const __m512i weight = _mm512_set1_epi32(0x00010603);
    const __m512i ones = _mm512_set1_epi16(1);
    const __m512i tenth = _mm512_set1_epi16(kTenth);
    // Dword m of the packed result holds pixels 4m..4m+3 after this.
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    int32_t x = 0;
    for (; NextStep(x, width, 64, 64); x += 64) {
        const unsigned char* s = src + 4 * static_cast<std::ptrdiff_t>(x);
        __m512i k[4];
        for (int i = 0; i < 4; ++i)
            k[i] = _mm512_madd_epi16(_mm512_maddubs_epi16(_mm512_loadu_si512(s + 64 * i), weight), ones);
        const __m512i q01 = _mm512_mulhi_epu16(_mm512_packus_epi32(k[0], k[1]), tenth);
        const __m512i q23 = _mm512_mulhi_epu16(_mm512_packus_epi32(k[2], k[3]), tenth);
        _mm512_storeu_si512(dst + x, _mm512_permutexvar_epi32(order, _mm512_packus_epi16(q01, q23)));
    }
    return x;
}

// --- reorders: one byte permute per step ---------------------------------------

// 64 pixels a step: Src consecutive source registers in, Dst destination
// registers out, each out of a two-register permute over source registers
// first[k] and first[k] + 1 (and, for the few bytes of a reversed 3-byte
// pixel that straddle both boundaries, one more from first[k] + 2).
// Consecutive whole registers measured faster than one register a pixel
// group, whose loads straddle cache lines.
struct sPermute {
    int first[4];
    unsigned char index[4][64];
    unsigned char opaque[4][64];  // ORed into the result
    unsigned char third[4][64];
    __mmask64 fromThird[4];
};

// Src/Dst pixel sizes and the reversal make the index of every output byte.
template <int Src, int Dst, bool Reversed>
const sPermute& PermuteOf()
{
    static const sPermute table = [] {
        sPermute t = {};
        for (int k = 0; k < Dst; ++k) {
            int from[64];
            int lowest = 4 * 64;
            for (int j = 0; j < 64; ++j) {
                const int p = (64 * k + j) / Dst, c = (64 * k + j) % Dst;
                from[j] = -1;  // a filled alpha: any byte will do
                if (c != 3)
                    from[j] = Src * p + (Reversed ? 2 - c : c);
                else if (Src == 4)
                    from[j] = 4 * p + 3;
                else
                    t.opaque[k][j] = 0xFF;
                if (from[j] >= 0 && from[j] < lowest)
                    lowest = from[j];
            }
            const int first = lowest / 64 < Src - 2 ? lowest / 64 : Src - 2;
            t.first[k] = first;
            for (int j = 0; j < 64; ++j) {
                const int at = from[j] < 0 ? 64 * first : from[j];
                if (at >= 64 * (first + 2)) {
                    t.fromThird[k] |= __mmask64(1) << j;
                    t.third[k][j] = static_cast<unsigned char>(at - 64 * (first + 2));
                } else {
                    t.index[k][j] = static_cast<unsigned char>(at - 64 * first);
                }
            }
        }
        return t;
    }();
    return table;
}

template <int Src, int Dst, bool Reversed>
int32_t Permute(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const sPermute& t = PermuteOf<Src, Dst, Reversed>();
    __m512i index[Dst], opaque[Dst], third[Dst];
    for (int k = 0; k < Dst; ++k) {
        index[k] = Table(t.index[k]);
        opaque[k] = Table(t.opaque[k]);
        third[k] = Table(t.third[k]);
    }
    auto step = [&](int32_t x) {
        const unsigned char* s = src + Src * static_cast<std::ptrdiff_t>(x);
        unsigned char* d = dst + Dst * static_cast<std::ptrdiff_t>(x);
        __m512i in[Src];
        for (int k = 0; k < Src; ++k)
            in[k] = _mm512_loadu_si512(s + 64 * k);
        for (int k = 0; k < Dst; ++k) {
            const int f = t.first[k];
            __m512i v = _mm512_permutex2var_epi8(in[f], index[k], in[f + 1]);
            if (t.fromThird[k] != 0)
                v = _mm512_mask_permutexvar_epi8(v, t.fromThird[k], third[k], in[f + 2 < Src ? f + 2 : f]);
            _mm512_storeu_si512(d + 64 * k, Src == 4 && Dst == 4 ? v : _mm512_or_si512(v, opaque[k]));
        }
    };
    int32_t x = 0;
    if (width >= 128 && (x = LineStart<Src>(src)) != 0)
        step(0);
    for (; NextStep(x, width, 64, 64); x += 64)
        step(x);
    return x;
}

// --- 16-bit words to bytes -----------------------------------------------------

inline __m512i Rescale(__m512i v, __m512i mul, __m512i add, __m128i shift)
{
    return _mm512_srl_epi16(_mm512_add_epi16(_mm512_mulhi_epu16(v, mul), add), shift);
}

// Any form, a vector at a time: a vector with a word above max is looked up.
int32_t WordsChecked(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
                     const uint16_t* lut)
{
    const __m512i mul = _mm512_set1_epi16(static_cast<short>(r.mul));
    const __m512i add = _mm512_set1_epi16(static_cast<short>(r.add));
    const __m512i limit = _mm512_set1_epi16(static_cast<short>(r.max));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    int32_t x = 0;
    for (; NextStep(x, count, 64, 64); x += 64) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 64);
        if ((_mm512_cmpgt_epu16_mask(a, limit) | _mm512_cmpgt_epu16_mask(b, limit)) != 0) {
            // A word above the depth indexes the table as it stands; without
            // a table the portable loop takes over from here.
            if (lut == nullptr)
                return x;
            for (int k = 0; k < 64; ++k) {
                uint16_t w;
                std::memcpy(&w, s + 2 * k, 2);
                dst[x + k] = static_cast<unsigned char>(lut[w]);
            }
            continue;
        }
        const __m512i bytes = _mm512_packus_epi16(Rescale(a, mul, add, shift), Rescale(b, mul, add, shift));
        _mm512_storeu_si512(dst + x, _mm512_permutexvar_epi64(order, bytes));
    }
    return x;
}

// The two rescale forms that most depths use, in fewer steps:
// ((t + 1) >> 1) is the rounding average of t and 0, and for the 16-bit form
// (t + 128) >> 8 is the high byte of t + 128 (never above 65535).
enum eWordsForm { HALVED, HIGH_BYTE };

template <eWordsForm Form>
int32_t WordsFast(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
                  const uint16_t* lut)
{
    const __m512i mul = _mm512_set1_epi16(static_cast<short>(r.mul));
    const __m512i add = _mm512_set1_epi16(static_cast<short>(r.add));
    const __m512i zero = _mm512_setzero_si512();
    unsigned char pick[64];
    for (int j = 0; j < 64; ++j)
        pick[j] = static_cast<unsigned char>(2 * j + (Form == HIGH_BYTE ? 1 : 0));
    const __m512i vpick = Table(pick);
    // Words above a 2^k - 1 depth show as bits outside it; ORed over the
    // row and looked at once at its end (the 16-bit depth has none).
    __m512i seen = zero;
    auto step = [&](int32_t x) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 64);
        if (Form != HIGH_BYTE)
            seen = _mm512_ternarylogic_epi32(seen, a, b, 0xFE);
        __m512i lo = _mm512_mulhi_epu16(a, mul), hi = _mm512_mulhi_epu16(b, mul);
        if (Form == HIGH_BYTE) {
            lo = _mm512_add_epi16(lo, add);
            hi = _mm512_add_epi16(hi, add);
        } else {
            lo = _mm512_avg_epu16(lo, zero);
            hi = _mm512_avg_epu16(hi, zero);
        }
        _mm512_storeu_si512(dst + x, _mm512_permutex2var_epi8(lo, vpick, hi));
    };
    int32_t x = 0;
    if (count >= 128 && (x = LineStart<2>(src)) != 0)
        step(0);
    for (; NextStep(x, count, 64, 64); x += 64)
        step(x);
    if (Form != HIGH_BYTE &&
        _mm512_test_epi16_mask(seen, _mm512_set1_epi16(static_cast<short>(~r.max))) != 0)
        return WordsChecked(src, dst, count, r, lut);
    return x;
}

int32_t Words8(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
               const uint16_t* lut)
{
    const bool depthMask = (r.max & (r.max + 1u)) == 0;
    if (r.add == 128 && r.shift == 8 && r.max == 65535)
        return WordsFast<HIGH_BYTE>(src, dst, count, r, lut);
    if (r.add == 1 && r.shift == 1 && depthMask)
        return WordsFast<HALVED>(src, dst, count, r, lut);
    return WordsChecked(src, dst, count, r, lut);
}

// --- packed mono ----------------------------------------------------------------

template <int Shift>
inline __m512i Unpack(__m512i words)
{
    const int lowMask = Shift == 4 ? 15 : 3;
    const __m512i high = _mm512_and_si512(_mm512_srli_epi16(words, 8 - Shift), _mm512_set1_epi16(0xFF << Shift));
    // Low bits of b1: bits 0.. for the first pixel of a group, 4.. for the second.
    const __m512i low = _mm512_and_si512(_mm512_srlv_epi16(words, _mm512_set1_epi32(4 << 16)),
                                         _mm512_set1_epi16(lowMask));
    return _mm512_or_si512(high, low);
}

// The rescale, or for the halved form ((t + 1) >> 1) as the rounding
// average of t and 0.
template <bool Halved>
inline __m512i Scale(__m512i v, __m512i mul, __m512i add, __m128i shift)
{
    return Halved ? _mm512_avg_epu16(_mm512_mulhi_epu16(v, mul), _mm512_setzero_si512()) : Rescale(v, mul, add, shift);
}

template <int Shift, bool Halved>
int32_t UnpackScaled(const unsigned char* src, unsigned char* dst, int32_t groups, const sConvRescale& r)
{
    unsigned char pick[64];
    for (int j = 0; j < 64; ++j) {
        const int g = j / 4, k = j % 4;
        static const int kFrom[4] = {1, 0, 1, 2};  // b0:b1 and b2:b1 as little-endian words
        pick[j] = static_cast<unsigned char>(3 * g + kFrom[k]);
    }
    const __m512i vpick = Table(pick);
    const __m512i mul = _mm512_set1_epi16(static_cast<short>(r.mul));
    const __m512i add = _mm512_set1_epi16(static_cast<short>(r.add));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    int32_t g = 0;
    // Whole-register loads of which 48 bytes count: 38 groups of room.
    for (; NextStep(g, groups, 38, 32); g += 32) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(g);
        const __m512i a = Unpack<Shift>(_mm512_permutexvar_epi8(vpick, _mm512_loadu_si512(s)));
        const __m512i b = Unpack<Shift>(_mm512_permutexvar_epi8(vpick, _mm512_loadu_si512(s + 48)));
        const __m512i bytes = _mm512_packus_epi16(Scale<Halved>(a, mul, add, shift), Scale<Halved>(b, mul, add, shift));
        _mm512_storeu_si512(dst + 2 * static_cast<std::ptrdiff_t>(g), _mm512_permutexvar_epi64(order, bytes));
    }
    return g;
}

template <int Shift>
int32_t Unpack8(const unsigned char* src, unsigned char* dst, int32_t groups, const sConvRescale& r)
{
    return r.add == 1 && r.shift == 1 ? UnpackScaled<Shift, true>(src, dst, groups, r)
                                       : UnpackScaled<Shift, false>(src, dst, groups, r);
}

// --- deep colour to bytes -------------------------------------------------------

// Three-byte pixels: 21 a step from the registers at 0 and 64, 63 bytes
// stored in a whole register (22 pixels of room for both). Four-byte ones:
// 32 a step from the three registers of their 192 bytes, 16 pixels from the
// first two and 16 from the last two.
template <bool Reversed, int PixelBytes>
int32_t Deep(const unsigned char* src, unsigned char* dst, int32_t width, const sConvRescale& r)
{
    const int step = PixelBytes == 3 ? 21 : 32, room = PixelBytes == 3 ? 22 : 32;
    unsigned char pick[2][64];
    for (int h = 0; h < 2; ++h)
        for (int j = 0; j < 64; ++j) {
            const int p = j / PixelBytes, c = j % PixelBytes;
            // Sample of output byte j, counted from the first register used.
            const int w = 3 * p + (Reversed ? 2 - c : c) + (PixelBytes == 4 ? 16 * h : 0);
            pick[h][j] = static_cast<unsigned char>(c == 3 || 3 * p + 2 >= 64 ? 0 : 2 * w);
        }
    const __m512i pick0 = Table(pick[0]), pick1 = Table(pick[1]);
    const __m512i alpha = _mm512_set1_epi32(PixelBytes == 4 ? static_cast<int>(0xFF000000u) : 0);
    const __m512i mul = _mm512_set1_epi16(static_cast<short>(r.mul));
    const __m512i add = _mm512_set1_epi16(static_cast<short>(r.add));
    const __m512i limit = _mm512_set1_epi16(static_cast<short>(r.max));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    // The three-byte step's last word belongs to the next pixel.
    const __mmask32 counted = PixelBytes == 3 ? 0x7FFFFFFFu : 0xFFFFFFFFu;
    int32_t x = 0;
    for (; NextStep(x, width, room, step); x += step) {
        const unsigned char* s = src + 6 * static_cast<std::ptrdiff_t>(x);
        unsigned char* d = dst + PixelBytes * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 64);
        if (PixelBytes == 3) {
            if ((_mm512_cmpgt_epu16_mask(a, limit) | _mm512_mask_cmpgt_epu16_mask(counted, b, limit)) != 0)
                return x;
            _mm512_storeu_si512(
                d, _mm512_permutex2var_epi8(Rescale(a, mul, add, shift), pick0, Rescale(b, mul, add, shift)));
            continue;
        }
        const __m512i c = _mm512_loadu_si512(s + 128);
        if ((_mm512_cmpgt_epu16_mask(a, limit) | _mm512_cmpgt_epu16_mask(b, limit) |
             _mm512_cmpgt_epu16_mask(c, limit)) != 0)
            return x;
        const __m512i ra = Rescale(a, mul, add, shift), rb = Rescale(b, mul, add, shift);
        const __m512i rc = Rescale(c, mul, add, shift);
        _mm512_storeu_si512(d, _mm512_or_si512(_mm512_permutex2var_epi8(ra, pick0, rb), alpha));
        _mm512_storeu_si512(d + 64, _mm512_or_si512(_mm512_permutex2var_epi8(rb, pick1, rc), alpha));
    }
    return x;
}

// --- 4:2:2 to colour ---------------------------------------------------------------

// As in the AVX2 file: the portable fixed-point terms split so that every
// product fits 16 bits and every floor stays the same.
inline void Yuv422Colours(__m512i in, __m512i& red, __m512i& green, __m512i& blue)
{
    const __m512i luma = _mm512_srli_epi16(in, 8);
    const __m512i chroma = _mm512_sub_epi16(_mm512_and_si512(in, _mm512_set1_epi16(0xFF)), _mm512_set1_epi16(127));
    const __m512i u = _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(chroma, 0xA0), 0xA0);
    const __m512i v = _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(chroma, 0xF5), 0xF5);
    const __m512i redTerm = _mm512_add_epi16(v, _mm512_mulhi_epi16(v, _mm512_set1_epi16(26411)));
    const __m512i blueTerm = _mm512_add_epi16(_mm512_add_epi16(u, u), _mm512_mulhi_epi16(u, _mm512_set1_epi16(-14877)));
    const __m512i mixed = _mm512_madd_epi16(chroma, _mm512_set1_epi32(static_cast<int>(0xB6C75810u)));
    const __m512i greenTerm =
        _mm512_add_epi16(v, _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(mixed, 0xF5), 0xF5));
    red = _mm512_add_epi16(luma, redTerm);
    green = _mm512_sub_epi16(luma, greenTerm);
    blue = _mm512_add_epi16(luma, blueTerm);
}

// Red, green and blue from luma and centred chroma words of each pixel.
inline void Colours(__m512i luma, __m512i u, __m512i v, __m512i& red, __m512i& green, __m512i& blue)
{
    const __m512i redTerm = _mm512_add_epi16(v, _mm512_mulhi_epi16(v, _mm512_set1_epi16(26411)));
    const __m512i blueTerm = _mm512_add_epi16(_mm512_add_epi16(u, u), _mm512_mulhi_epi16(u, _mm512_set1_epi16(-14877)));
    const __m512i weights = _mm512_set1_epi32(static_cast<int>(0xB6C75810u));
    const __m512i low = _mm512_srai_epi32(_mm512_madd_epi16(_mm512_unpacklo_epi16(u, v), weights), 16);
    const __m512i high = _mm512_srai_epi32(_mm512_madd_epi16(_mm512_unpackhi_epi16(u, v), weights), 16);
    const __m512i greenTerm = _mm512_add_epi16(v, _mm512_packs_epi32(low, high));
    red = _mm512_add_epi16(luma, redTerm);
    green = _mm512_sub_epi16(luma, greenTerm);
    blue = _mm512_add_epi16(luma, blueTerm);
}

// Stores 32 pixels (words in pixel order) as colour pixels: Red and Blue are
// the byte offsets of the outer samples, alpha 0.
template <int Red, int Blue, int PixelBytes>
struct sColourStore {
    unsigned char index[2][64];
    sColourStore()
    {
        // Sources: red/green register (lane l: red 16l.., green 16l+8..) as
        // bytes 0..63, blue register (lane l: blue 16l.., zeros 16l+8..) as
        // 64..127.
        for (int j = 0; j < 128; ++j) {
            const int p = j / PixelBytes, c = j % PixelBytes;
            const int lane = (p % 32) / 8, k = p % 8;
            int from = 64 + 16 * lane + 8;  // a zero
            if (c == Red)
                from = 16 * lane + k;
            else if (c == 1)
                from = 16 * lane + 8 + k;
            else if (c == Blue)
                from = 64 + 16 * lane + k;
            index[j / 64][j % 64] = static_cast<unsigned char>(j < 32 * PixelBytes ? from : 0);
        }
    }
    void Store(unsigned char* d, __m512i red, __m512i green, __m512i blue) const
    {
        const __m512i rg = _mm512_packus_epi16(red, green);
        const __m512i bz = _mm512_packus_epi16(blue, _mm512_setzero_si512());
        _mm512_storeu_si512(d, _mm512_permutex2var_epi8(rg, Table(index[0]), bz));
        const __m512i rest = _mm512_permutex2var_epi8(rg, Table(index[1]), bz);
        if (PixelBytes == 4)
            _mm512_storeu_si512(d + 64, rest);
        else
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 64), _mm512_castsi512_si256(rest));
    }
};

template <int Red, int Blue, int PixelBytes>
int32_t Yuv422(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sColourStore<Red, Blue, PixelBytes> out;
    const int32_t even = width & ~1;
    auto step = [&](int32_t x) {
        __m512i red, green, blue;
        Yuv422Colours(_mm512_loadu_si512(src + 2 * static_cast<std::ptrdiff_t>(x)), red, green, blue);
        out.Store(dst + PixelBytes * static_cast<std::ptrdiff_t>(x), red, green, blue);
    };
    // Steps start on a line where that is a whole group.
    int32_t x = 0;
    if (even >= 64 && (x = LineStart<4>(src) * 2) != 0)
        step(0);
    for (; NextStep(x, even, 32, 32); x += 32)
        step(x);
    return x & ~3;  // the portable loop redoes a last half block whole
}

// Zero-extended words of one sample of 32 pixels picked from 128 bytes.
struct sSamplePick {
    unsigned char index[3][64];  // u, y, v
};

// 4:4:4: the second register holds bytes 32..95, so nothing past the 96
// bytes of 32 pixels is read.
const sSamplePick& Yuv444Pick()
{
    static const sSamplePick pick = [] {
        sSamplePick t;
        for (int k = 0; k < 3; ++k)
            for (int p = 0; p < 32; ++p) {
                const int o = 3 * p + k;
                t.index[k][2 * p] = static_cast<unsigned char>(o < 64 ? o : 64 + o - 32);
                t.index[k][2 * p + 1] = 0;
            }
        return t;
    }();
    return pick;
}

const __mmask64 kLowBytes = 0x5555555555555555ull;

template <int Red, int Blue, int PixelBytes>
int32_t Yuv444(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sColourStore<Red, Blue, PixelBytes> out;
    const sSamplePick& pick = Yuv444Pick();
    const __m512i pu = Table(pick.index[0]), py = Table(pick.index[1]), pv = Table(pick.index[2]);
    const __m512i neutral = _mm512_set1_epi16(127);
    int32_t x = 0;
    for (; NextStep(x, width, 32, 32); x += 32) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 32);
        const __m512i u = _mm512_sub_epi16(_mm512_maskz_permutex2var_epi8(kLowBytes, a, pu, b), neutral);
        const __m512i v = _mm512_sub_epi16(_mm512_maskz_permutex2var_epi8(kLowBytes, a, pv, b), neutral);
        __m512i red, green, blue;
        Colours(_mm512_maskz_permutex2var_epi8(kLowBytes, a, py, b), u, v, red, green, blue);
        out.Store(dst + PixelBytes * static_cast<std::ptrdiff_t>(x), red, green, blue);
    }
    return x;
}

// 4:1:1: 64 pixels (16 groups of U Y Y V Y Y, 96 bytes) from the registers at
// 0 and 32. The colours are made in bytes: each group's three chroma terms,
// computed once in words, become a byte to add and one to subtract with
// saturation (every term lies within +-255), which gives the portable loop's
// clamped sum. Each 64-byte chunk of the output is then luma bytes and term
// bytes permuted straight into their output places: no interleave follows.

// Source byte of the luma of pixel p, counted from the step's first group.
constexpr int Luma411(int p)
{
    return 6 * (p / 4) + (p % 4 < 2 ? 1 + p % 4 : 2 + p % 4);
}

// Whether 64-byte chunk k of `bytes`-byte pixels takes its luma from the
// register at 32 rather than the one at 0: whether its last pixel's lies
// beyond the first.
constexpr bool FromSecond411(int k, int bytes)
{
    return Luma411((64 * k + 63) / bytes) >= 64;
}

template <int Red, int Blue, int PixelBytes>
struct sYuv411Chunks {
    unsigned char chroma[64];  // u, v words of group g at words 2g, 2g + 1
    unsigned char luma[PixelBytes][64], term[PixelBytes][64];
    __mmask64 colour;  // the bytes that are not alpha
    sYuv411Chunks() : colour(0)
    {
        for (int w = 0; w < 32; ++w) {
            const int o = 6 * (w / 2) + 3 * (w % 2);
            chroma[2 * w] = static_cast<unsigned char>(o < 64 ? o : 64 + o - 32);
            chroma[2 * w + 1] = 0;
        }
        for (int j = 0; j < 64; ++j)
            if (j % PixelBytes != 3)
                colour |= __mmask64(1) << j;
        for (int k = 0; k < PixelBytes; ++k)
            for (int j = 0; j < 64; ++j) {
                const int q = 64 * k + j, c = q % PixelBytes, g = q / PixelBytes / 4, o = Luma411(q / PixelBytes);
                // Lane g / 4 of the term bytes: blue, red at 2 (g % 4) and the
                // byte after, green at 9 + 2 (g % 4).
                const int at = 16 * (g / 4) + (c == Red ? 2 * (g % 4) + 1 : c == 1 ? 9 + 2 * (g % 4) : 2 * (g % 4));
                luma[k][j] = static_cast<unsigned char>(FromSecond411(k, PixelBytes) ? o - 32 : o);
                term[k][j] = static_cast<unsigned char>(at);
            }
    }
};

template <int Red, int Blue, int PixelBytes>
int32_t Yuv411(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sYuv411Chunks<Red, Blue, PixelBytes> t;
    const __m512i pickChroma = Table(t.chroma);
    __m512i luma[PixelBytes], term[PixelBytes];
    for (int k = 0; k < PixelBytes; ++k) {
        luma[k] = Table(t.luma[k]);
        term[k] = Table(t.term[k]);
    }
    const __m512i neutral = _mm512_set1_epi16(127);
    // mulhi factors of the blue term (u words) and the red term (v words).
    const __m512i factors = _mm512_set1_epi32(static_cast<int>(0x672BC5E3u));
    const __m512i weights = _mm512_set1_epi32(static_cast<int>(0xB6C75810u));
    const __m512i zero = _mm512_setzero_si512();
    const __mmask32 uWords = 0x55555555u;
    const __mmask64 colour = t.colour;
    const int32_t whole = width & ~3;
    int32_t x = 0;
    for (; NextStep(x, whole, 64, 64); x += 64) {
        const unsigned char* s = src + (x >> 2) * 6;
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 32);
        const __m512i chroma = _mm512_sub_epi16(_mm512_maskz_permutex2var_epi8(kLowBytes, a, pickChroma, b), neutral);
        // Blue term 2u + (u * -14877 >> 16) at u, red term v + (v * 26411 >> 16) at v.
        __m512i outer = _mm512_add_epi16(chroma, _mm512_mulhi_epi16(chroma, factors));
        outer = _mm512_mask_add_epi16(outer, uWords, outer, chroma);
        // Green term at v: v plus the high word of u * 22544 - v * 18745.
        const __m512i green = _mm512_add_epi16(chroma, _mm512_madd_epi16(chroma, weights));
        const __m512i up = _mm512_packus_epi16(outer, _mm512_sub_epi16(zero, green));
        const __m512i down = _mm512_packus_epi16(_mm512_sub_epi16(zero, outer), green);
        unsigned char* d = dst + PixelBytes * static_cast<std::ptrdiff_t>(x);
        for (int k = 0; k < PixelBytes; ++k) {
            const __m512i y = _mm512_permutexvar_epi8(luma[k], FromSecond411(k, PixelBytes) ? b : a);
            const __m512i sum = _mm512_adds_epu8(y, _mm512_permutexvar_epi8(term[k], up));
            const __m512i out = _mm512_subs_epu8(sum, _mm512_permutexvar_epi8(term[k], down));
            _mm512_storeu_si512(d + 64 * k, PixelBytes == 4 ? _mm512_maskz_mov_epi8(colour, out) : out);
        }
    }
    return x;
}

// --- YUV to grey: the luma bytes --------------------------------------------------

// Byte j of the result is byte from(j) of the 128 bytes lo:hi.
template <typename From>
__m512i PickTable(From from)
{
    unsigned char t[64];
    for (int j = 0; j < 64; ++j)
        t[j] = static_cast<unsigned char>(from(j));
    return Table(t);
}

int32_t Grey422(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const __m512i odd = PickTable([](int j) { return 2 * j + 1; });
    const int32_t even = width & ~1;
    int32_t x = 0;
    for (; NextStep(x, even, 64, 64); x += 64) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        _mm512_storeu_si512(dst + x, _mm512_permutex2var_epi8(_mm512_loadu_si512(s), odd, _mm512_loadu_si512(s + 64)));
    }
    return x & ~3;
}

// 64 pixels from the 96 bytes of 16 groups: registers at 0 and 32.
int32_t Grey411(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const __m512i luma = PickTable([](int j) {
        static const int kLuma[4] = {1, 2, 4, 5};
        const int at = 6 * (j / 4) + kLuma[j % 4];
        return at < 64 ? at : 64 + at - 32;
    });
    const int32_t whole = width & ~3;
    int32_t x = 0;
    for (; NextStep(x, whole, 64, 64); x += 64) {
        const unsigned char* s = src + 6 * static_cast<std::ptrdiff_t>(x / 4);
        _mm512_storeu_si512(dst + x, _mm512_permutex2var_epi8(_mm512_loadu_si512(s), luma, _mm512_loadu_si512(s + 32)));
    }
    return x;
}

// 64 pixels from three registers: two permutes of two registers each.
int32_t Grey444(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const __m512i first = PickTable([](int j) { return j < 42 ? 3 * j + 1 : 0; });
    const __m512i second = PickTable([](int j) { return j < 42 ? 0 : 3 * j + 1 - 64; });
    const __mmask64 fromSecond = ~((__mmask64(1) << 42) - 1);
    int32_t x = 0;
    for (; NextStep(x, width, 64, 64); x += 64) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m512i a = _mm512_loadu_si512(s);
        const __m512i b = _mm512_loadu_si512(s + 64);
        const __m512i c = _mm512_loadu_si512(s + 128);
        const __m512i lo = _mm512_permutex2var_epi8(a, first, b);
        const __m512i hi = _mm512_permutex2var_epi8(b, second, c);
        _mm512_storeu_si512(dst + x, _mm512_mask_blend_epi8(fromSecond, lo, hi));
    }
    return x;
}

}  // namespace
}  // namespace convrows_avx512

void ConvRowBodiesAvx512(sConvRowBodies* b)
{
    using namespace convrows_avx512;
    b->grey[0] = Grey3;
    b->grey[1] = Grey4;
    b->reorder[0][0][1] = Permute<3, 3, true>;
    b->reorder[0][1][0] = Permute<3, 4, false>;
    b->reorder[0][1][1] = Permute<3, 4, true>;
    b->reorder[1][0][0] = Permute<4, 3, false>;
    b->reorder[1][0][1] = Permute<4, 3, true>;
    b->reorder[1][1][1] = Permute<4, 4, true>;
    b->words8 = Words8;
    b->deep[0][1] = Deep<false, 4>;
    b->deep[1][0] = Deep<true, 3>;
    b->deep[1][1] = Deep<true, 4>;
    b->unpack8[0] = Unpack8<2>;
    b->unpack8[1] = Unpack8<4>;
    b->yuv422[0][0] = Yuv422<2, 0, 3>;
    b->yuv422[0][1] = Yuv422<2, 0, 4>;
    b->yuv422[1][0] = Yuv422<0, 2, 3>;
    b->yuv422[1][1] = Yuv422<0, 2, 4>;
    b->yuv444[0][0] = Yuv444<2, 0, 3>;
    b->yuv444[0][1] = Yuv444<2, 0, 4>;
    b->yuv444[1][0] = Yuv444<0, 2, 3>;
    b->yuv444[1][1] = Yuv444<0, 2, 4>;
    b->yuv411[0][0] = Yuv411<2, 0, 3>;
    b->yuv411[0][1] = Yuv411<2, 0, 4>;
    b->yuv411[1][0] = Yuv411<0, 2, 3>;
    b->yuv411[1][1] = Yuv411<0, 2, 4>;
    b->yuvGrey[0] = Grey411;
    b->yuvGrey[1] = Grey422;
    b->yuvGrey[2] = Grey444;
}
