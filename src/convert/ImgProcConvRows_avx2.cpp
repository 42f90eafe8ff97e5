// AVX2 bodies of the converters' rows. Everything here stays in its own
// namespace so that no code compiled with these flags can stand in for a
// baseline copy.
#include <immintrin.h>

#include <cstring>

#include "ImgProcConvRows.h"

namespace convrows_avx2 {
namespace {

// Grey is (30 a + 60 b + 10 c) / 100 = (3 a + 6 b + c) / 10; the sum stays
// below 2551, where (k * 6554) >> 16 is k / 10.
const short kTenth = 6554;

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

// The first pixel whose `Bytes`-byte pixels start a 32-byte half line, from
// which 32-byte loads never split a cache line; 0 where that is pixel 0 or
// none does. The caller does one step at pixel 0 first where it is not.
template <int Bytes>
inline int32_t HalfLineStart(const unsigned char* p)
{
    const unsigned misalign = static_cast<unsigned>(-reinterpret_cast<uintptr_t>(p)) & 31u;
    return misalign % Bytes == 0 ? static_cast<int32_t>(misalign / Bytes) : 0;
}

inline __m256i Loadu(const unsigned char* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

inline void Storeu(unsigned char* p, __m256i v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

inline __m256i Loadu2(const unsigned char* lo, const unsigned char* hi)
{
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lo))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1);
}

// As Loadu2 from two broadcasts and a dword blend: the broadcasts run in
// the load unit and the blend on any vector pipe, the insert would take a
// shuffle slot.
inline __m256i Loadu2Blend(const unsigned char* lo, const unsigned char* hi)
{
    return _mm256_blend_epi32(_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lo))),
                              _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(hi))),
                              0xF0);
}

inline void Store128(unsigned char* p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// Same 16-byte pattern in both lanes.
inline __m256i Lanes(const signed char (&b)[16])
{
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    return _mm256_broadcastsi128_si256(v);
}

// --- grey -------------------------------------------------------------------

int32_t Grey3(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const signed char kPick[16] = {0, 1, 3, 4, 6, 7, 9, 10, 2, -1, 5, -1, 8, -1, 11, -1};
    static const signed char kWeight[16] = {3, 6, 3, 6, 3, 6, 3, 6, 1, 0, 1, 0, 1, 0, 1, 0};
    const __m256i pick = Lanes(kPick);
    const __m256i weight = Lanes(kWeight);
    const __m256i tenth = _mm256_set1_epi16(kTenth);
    int32_t x = 0;
    // Sixteen pixels from four 16-byte loads of which 12 bytes count; the
    // last load reaches 4 bytes further.
    for (; NextStep(x, width, 18, 16); x += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        __m256i a = _mm256_maddubs_epi16(_mm256_shuffle_epi8(Loadu2(s, s + 24), pick), weight);
        __m256i b = _mm256_maddubs_epi16(_mm256_shuffle_epi8(Loadu2(s + 12, s + 36), pick), weight);
        a = _mm256_add_epi16(a, _mm256_srli_si256(a, 8));
        b = _mm256_add_epi16(b, _mm256_srli_si256(b, 8));
        __m256i q = _mm256_mulhi_epu16(_mm256_unpacklo_epi64(a, b), tenth);
        q = _mm256_permute4x64_epi64(_mm256_packus_epi16(q, q), _MM_SHUFFLE(3, 1, 2, 0));
        Store128(dst + x, _mm256_castsi256_si128(q));
    }
    return x;
}

int32_t Grey4(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const __m256i weight = _mm256_set1_epi32(0x00010603);
    const __m256i ones = _mm256_set1_epi16(1);
    const __m256i tenth = _mm256_set1_epi16(kTenth);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int32_t x = 0;
    for (; NextStep(x, width, 16, 16); x += 16) {
        const unsigned char* s = src + 4 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = _mm256_madd_epi16(_mm256_maddubs_epi16(Loadu(s), weight), ones);
        const __m256i b = _mm256_madd_epi16(_mm256_maddubs_epi16(Loadu(s + 32), weight), ones);
        __m256i q = _mm256_mulhi_epu16(_mm256_packs_epi32(a, b), tenth);
        q = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(q, q), order);
        Store128(dst + x, _mm256_castsi256_si128(q));
    }
    return x;
}

// --- reorders ----------------------------------------------------------------

int32_t Copy(const unsigned char* src, unsigned char* dst, int32_t width)
{
    std::memcpy(dst, src, static_cast<size_t>(width));
    return width;
}

int32_t SameOrder3(const unsigned char* src, unsigned char* dst, int32_t width)
{
    std::memcpy(dst, src, 3 * static_cast<size_t>(width));
    return width;
}

int32_t SameOrder4(const unsigned char* src, unsigned char* dst, int32_t width)
{
    std::memcpy(dst, src, 4 * static_cast<size_t>(width));
    return width;
}

// Five pixels a lane; the sixteenth byte of each store is rewritten by the
// next one.
int32_t Reverse3(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const signed char kSwap[16] = {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15};
    const __m256i swap = Lanes(kSwap);
    int32_t x = 0;
    for (; NextStep(x, width, 11, 10); x += 10) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        unsigned char* d = dst + 3 * static_cast<std::ptrdiff_t>(x);
        const __m256i v = _mm256_shuffle_epi8(Loadu2(s, s + 15), swap);
        Store128(d, _mm256_castsi256_si128(v));
        Store128(d + 15, _mm256_extracti128_si256(v, 1));
    }
    return x;
}

template <bool Reversed>
int32_t ThreeToFour(const unsigned char* src, unsigned char* dst, int32_t width)
{
    signed char pick[16];
    for (int j = 0; j < 16; ++j) {
        const int p = j / 4, c = j % 4;
        pick[j] = static_cast<signed char>(c == 3 ? -1 : 3 * p + (Reversed ? 2 - c : c));
    }
    const __m256i shuffle = Lanes(pick);
    const __m256i opaque = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
    int32_t x = 0;
    for (; NextStep(x, width, 10, 8); x += 8) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m256i v = _mm256_or_si256(_mm256_shuffle_epi8(Loadu2(s, s + 12), shuffle), opaque);
        Storeu(dst + 4 * static_cast<std::ptrdiff_t>(x), v);
    }
    return x;
}

template <bool Reversed>
int32_t FourToThree(const unsigned char* src, unsigned char* dst, int32_t width)
{
    signed char pick[16];
    for (int j = 0; j < 16; ++j) {
        const int p = j / 3, c = j % 3;
        pick[j] = static_cast<signed char>(j >= 12 ? -1 : 4 * p + (Reversed ? 2 - c : c));
    }
    const __m256i shuffle = Lanes(pick);
    int32_t x = 0;
    for (; NextStep(x, width, 10, 8); x += 8) {
        const __m256i v = _mm256_shuffle_epi8(Loadu(src + 4 * static_cast<std::ptrdiff_t>(x)), shuffle);
        unsigned char* d = dst + 3 * static_cast<std::ptrdiff_t>(x);
        Store128(d, _mm256_castsi256_si128(v));
        Store128(d + 12, _mm256_extracti128_si256(v, 1));
    }
    return x;
}

int32_t Reverse4(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const signed char kSwap[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
    const __m256i swap = Lanes(kSwap);
    int32_t x = 0;
    for (; NextStep(x, width, 8, 8); x += 8)
        Storeu(dst + 4 * static_cast<std::ptrdiff_t>(x),
               _mm256_shuffle_epi8(Loadu(src + 4 * static_cast<std::ptrdiff_t>(x)), swap));
    return x;
}

// --- 16-bit words to bytes -----------------------------------------------------

inline __m256i Rescale(__m256i v, __m256i mul, __m256i add, __m128i shift)
{
    return _mm256_srl_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(v, mul), add), shift);
}

// Any form, a vector at a time: a vector with a word above max is looked up.
int32_t WordsChecked(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
                     const uint16_t* lut)
{
    const __m256i mul = _mm256_set1_epi16(static_cast<short>(r.mul));
    const __m256i add = _mm256_set1_epi16(static_cast<short>(r.add));
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(r.max));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    int32_t x = 0;
    for (; NextStep(x, count, 32, 32); x += 32) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = Loadu(s);
        const __m256i b = Loadu(s + 32);
        const __m256i over = _mm256_or_si256(_mm256_subs_epu16(a, limit), _mm256_subs_epu16(b, limit));
        if (!_mm256_testz_si256(over, over)) {
            // A word above the depth indexes the table as it stands; without
            // a table the portable loop takes over from here.
            if (lut == nullptr)
                return x;
            for (int k = 0; k < 32; ++k) {
                uint16_t w;
                std::memcpy(&w, s + 2 * k, 2);
                dst[x + k] = static_cast<unsigned char>(lut[w]);
            }
            continue;
        }
        const __m256i bytes = _mm256_packus_epi16(Rescale(a, mul, add, shift), Rescale(b, mul, add, shift));
        Storeu(dst + x, _mm256_permute4x64_epi64(bytes, _MM_SHUFFLE(3, 1, 2, 0)));
    }
    return x;
}

// The two forms most depths use, in fewer steps: ((t + 1) >> 1) is the
// rounding average of t and 0; the 16-bit form has no word above its depth.
enum eWordsForm { HALVED, SIXTEEN };

template <eWordsForm Form>
int32_t WordsFast(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
                  const uint16_t* lut)
{
    const __m256i mul = _mm256_set1_epi16(static_cast<short>(r.mul));
    const __m256i add = _mm256_set1_epi16(static_cast<short>(r.add));
    const __m256i zero = _mm256_setzero_si256();
    // Words above a 2^k - 1 depth show as bits outside it; ORed over the
    // row and looked at once at its end.
    __m256i seen = zero;
    auto step = [&](int32_t x) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = Loadu(s);
        const __m256i b = Loadu(s + 32);
        __m256i lo = _mm256_mulhi_epu16(a, mul), hi = _mm256_mulhi_epu16(b, mul);
        if (Form == SIXTEEN) {
            lo = _mm256_srli_epi16(_mm256_add_epi16(lo, add), 8);
            hi = _mm256_srli_epi16(_mm256_add_epi16(hi, add), 8);
        } else {
            seen = _mm256_or_si256(seen, _mm256_or_si256(a, b));
            lo = _mm256_avg_epu16(lo, zero);
            hi = _mm256_avg_epu16(hi, zero);
        }
        Storeu(dst + x, _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), _MM_SHUFFLE(3, 1, 2, 0)));
    };
    int32_t x = 0;
    if (count >= 64 && (x = HalfLineStart<2>(src)) != 0)
        step(0);
    for (; NextStep(x, count, 32, 32); x += 32)
        step(x);
    const __m256i outside = _mm256_set1_epi16(static_cast<short>(~r.max));
    if (Form != SIXTEEN && !_mm256_testz_si256(seen, outside))
        return WordsChecked(src, dst, count, r, lut);
    return x;
}

int32_t Words8(const unsigned char* src, unsigned char* dst, int32_t count, const sConvRescale& r,
               const uint16_t* lut)
{
    if (r.add == 128 && r.shift == 8 && r.max == 65535)
        return WordsFast<SIXTEEN>(src, dst, count, r, lut);
    if (r.add == 1 && r.shift == 1 && (r.max & (r.max + 1u)) == 0)
        return WordsFast<HALVED>(src, dst, count, r, lut);
    return WordsChecked(src, dst, count, r, lut);
}

// --- deep colour to bytes -------------------------------------------------------

// Eight pixels a step from the 48 bytes of two loads at 0 and 16: packed
// to bytes, lane 0 holds samples 0..15 and lane 1 samples 8..23, so each
// lane's four pixels are one in-lane shuffle. Three-byte pixels store 16
// bytes a lane, the second at 12: 10 pixels of room.
template <bool Reversed, int PixelBytes>
int32_t Deep(const unsigned char* src, unsigned char* dst, int32_t width, const sConvRescale& r)
{
    signed char pick[32];
    for (int j = 0; j < 32; ++j) {
        const int lane = j / 16, p = (j % 16) / PixelBytes, c = (j % 16) % PixelBytes;
        const int w = 3 * p + (Reversed ? 2 - c : c) + (lane == 0 ? 0 : 4);
        pick[j] = static_cast<signed char>(c == 3 || p >= 4 ? -1 : w);
    }
    const __m256i vpick = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pick));
    const __m256i alpha = _mm256_set1_epi32(PixelBytes == 4 ? static_cast<int>(0xFF000000u) : 0);
    const __m256i mul = _mm256_set1_epi16(static_cast<short>(r.mul));
    const __m256i add = _mm256_set1_epi16(static_cast<short>(r.add));
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(r.max));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    int32_t x = 0;
    for (; NextStep(x, width, PixelBytes == 3 ? 10 : 8, 8); x += 8) {
        const unsigned char* s = src + 6 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = Loadu(s);
        const __m256i b = Loadu(s + 16);
        const __m256i above = _mm256_or_si256(_mm256_subs_epu16(a, limit), _mm256_subs_epu16(b, limit));
        if (!_mm256_testz_si256(above, above))
            return x;
        const __m256i bytes = _mm256_shuffle_epi8(
            _mm256_packus_epi16(Rescale(a, mul, add, shift), Rescale(b, mul, add, shift)), vpick);
        unsigned char* d = dst + PixelBytes * static_cast<std::ptrdiff_t>(x);
        if (PixelBytes == 4) {
            Storeu(d, _mm256_or_si256(bytes, alpha));
        } else {
            Store128(d, _mm256_castsi256_si128(bytes));
            Store128(d + 12, _mm256_extracti128_si256(bytes, 1));
        }
    }
    return x;
}

// --- packed mono ----------------------------------------------------------------

// Words b0:b1 for the first pixel of a group and b2:b1 for the second; the
// sample is the high byte shifted up plus the low bits of b1 the layout
// gives it (bits 0..3 resp. 4..7, two of them in the 10-bit layout).
template <int Shift>
inline __m256i Unpack(__m256i words)
{
    const int lowMask = Shift == 4 ? 15 : 3;
    const __m256i even = _mm256_set1_epi32(lowMask);
    const __m256i odd = _mm256_set1_epi32(lowMask << 16);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(words, 8 - Shift), _mm256_set1_epi16(0xFF << Shift));
    const __m256i low = _mm256_or_si256(_mm256_and_si256(words, even),
                                        _mm256_and_si256(_mm256_srli_epi16(words, 4), odd));
    return _mm256_or_si256(high, low);
}

// The rescale, or for the halved form ((t + 1) >> 1) as the rounding
// average of t and 0.
template <bool Halved>
inline __m256i Scale(__m256i v, __m256i mul, __m256i add, __m128i shift)
{
    return Halved ? _mm256_avg_epu16(_mm256_mulhi_epu16(v, mul), _mm256_setzero_si256()) : Rescale(v, mul, add, shift);
}

// The sixteen samples of eight groups: four from 12 useful bytes at lo, four
// from those at hi.
template <int Shift>
inline __m256i GroupSamples(const unsigned char* lo, const unsigned char* hi, __m256i pick)
{
    return Unpack<Shift>(_mm256_shuffle_epi8(Loadu2(lo, hi), pick));
}

// Each sample's two bytes: b1 and b0, b1 and b2 of its group.
const signed char kGroupPick[16] = {1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11};

template <int Shift, bool Halved>
int32_t UnpackScaled(const unsigned char* src, unsigned char* dst, int32_t groups, const sConvRescale& r)
{
    const __m256i pick = Lanes(kGroupPick);
    const __m256i mul = _mm256_set1_epi16(static_cast<short>(r.mul));
    const __m256i add = _mm256_set1_epi16(static_cast<short>(r.add));
    const __m128i shift = _mm_cvtsi32_si128(r.shift);
    int32_t g = 0;
    // Sixteen groups from four 16-byte loads of 12 useful bytes each.
    for (; NextStep(g, groups, 18, 16); g += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(g);
        const __m256i a = GroupSamples<Shift>(s, s + 12, pick);
        const __m256i b = GroupSamples<Shift>(s + 24, s + 36, pick);
        const __m256i bytes = _mm256_packus_epi16(Scale<Halved>(a, mul, add, shift), Scale<Halved>(b, mul, add, shift));
        Storeu(dst + 2 * static_cast<std::ptrdiff_t>(g), _mm256_permute4x64_epi64(bytes, _MM_SHUFFLE(3, 1, 2, 0)));
    }
    return g;
}

// Sixteen groups a step as in UnpackScaled, the samples stored as they are.
template <int Shift>
int32_t Unpack16(const unsigned char* src, unsigned char* dst, int32_t groups, const sConvRescale&)
{
    const __m256i pick = Lanes(kGroupPick);
    int32_t g = 0;
    for (; NextStep(g, groups, 18, 16); g += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(g);
        unsigned char* d = dst + 4 * static_cast<std::ptrdiff_t>(g);
        Storeu(d, GroupSamples<Shift>(s, s + 12, pick));
        Storeu(d + 32, GroupSamples<Shift>(s + 24, s + 36, pick));
    }
    return g;
}

template <int Shift>
int32_t Unpack8(const unsigned char* src, unsigned char* dst, int32_t groups, const sConvRescale& r)
{
    return r.add == 1 && r.shift == 1 ? UnpackScaled<Shift, true>(src, dst, groups, r)
                                       : UnpackScaled<Shift, false>(src, dst, groups, r);
}

// --- 4:2:2 to colour ---------------------------------------------------------------

// Red, green and blue from luma and centred chroma words of each pixel.
inline void Colours(__m256i luma, __m256i u, __m256i v, __m256i& red, __m256i& green, __m256i& blue)
{
    const __m256i redTerm = _mm256_add_epi16(v, _mm256_mulhi_epi16(v, _mm256_set1_epi16(26411)));
    const __m256i blueTerm = _mm256_add_epi16(_mm256_add_epi16(u, u), _mm256_mulhi_epi16(u, _mm256_set1_epi16(-14877)));
    const __m256i weights = _mm256_set1_epi32(static_cast<int>(0xB6C75810u));
    const __m256i low = _mm256_srai_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(u, v), weights), 16);
    const __m256i high = _mm256_srai_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(u, v), weights), 16);
    const __m256i greenTerm = _mm256_add_epi16(v, _mm256_packs_epi32(low, high));
    red = _mm256_add_epi16(luma, redTerm);
    green = _mm256_sub_epi16(luma, greenTerm);
    blue = _mm256_add_epi16(luma, blueTerm);
}

// Stores sixteen pixels (words in pixel order, eight a lane) as colour
// pixels: Red and Blue are the byte offsets of the outer samples, alpha 0.
template <int Red, int Blue, int Bytes>
struct sColourStore {
    __m256i rg0, rg1, b0, b1;
    sColourStore()
    {
        // Byte j of a lane's 8 pixels comes from the red/green register (red
        // in bytes 0..7, green in 8..15) or the blue one (blue in 0..7).
        signed char pickRG[2][16], pickB[2][16];
        for (int j = 0; j < 32; ++j) {
            const int p = j / Bytes, c = j % Bytes;
            signed char rg = -1, b = -1;
            if (j < 8 * Bytes) {
                if (c == Red)
                    rg = static_cast<signed char>(p);
                else if (c == 1)
                    rg = static_cast<signed char>(8 + p);
                else if (c == Blue)
                    b = static_cast<signed char>(p);
            }
            pickRG[j / 16][j % 16] = rg;
            pickB[j / 16][j % 16] = b;
        }
        rg0 = Lanes(pickRG[0]);
        rg1 = Lanes(pickRG[1]);
        b0 = Lanes(pickB[0]);
        b1 = Lanes(pickB[1]);
    }
    void Store(unsigned char* d, __m256i red, __m256i green, __m256i blue) const
    {
        const __m256i rg = _mm256_packus_epi16(red, green);
        const __m256i bz = _mm256_packus_epi16(blue, _mm256_setzero_si256());
        const __m256i first = _mm256_or_si256(_mm256_shuffle_epi8(rg, rg0), _mm256_shuffle_epi8(bz, b0));
        const __m256i second = _mm256_or_si256(_mm256_shuffle_epi8(rg, rg1), _mm256_shuffle_epi8(bz, b1));
        if (Bytes == 4) {
            Storeu(d, _mm256_permute2x128_si256(first, second, 0x20));
            Storeu(d + 32, _mm256_permute2x128_si256(first, second, 0x31));
        } else {
            Store128(d, _mm256_castsi256_si128(first));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm256_castsi256_si128(second));
            Store128(d + 24, _mm256_extracti128_si256(first, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 40), _mm256_extracti128_si256(second, 1));
        }
    }
};

// Chroma terms of the pairs U Y V Y of a register, one pair a dword: the
// blue term 2u + (u * -14877 >> 16) at u and the red term v + (v * 26411 >> 16)
// at v in `outer`; the green term at v in `green`, v plus the high word of
// u * 22544 - v * 18745 (the word at u is of no use).
inline void Yuv422Terms(__m256i in, __m256i& outer, __m256i& green)
{
    const __m256i chroma = _mm256_sub_epi16(_mm256_and_si256(in, _mm256_set1_epi16(0xFF)), _mm256_set1_epi16(127));
    outer = _mm256_add_epi16(_mm256_mullo_epi16(chroma, _mm256_set1_epi32(0x00010002)),
                             _mm256_mulhi_epi16(chroma, _mm256_set1_epi32(static_cast<int>(0x672BC5E3u))));
    green = _mm256_add_epi16(chroma, _mm256_madd_epi16(chroma, _mm256_set1_epi32(static_cast<int>(0xB6C75810u))));
}

// One output chunk a lane: luma plus the term, with the term as a byte to add
// and one to subtract (every term lies within +-255), which is the portable
// loop's clamped sum.
inline __m256i Yuv422Chunk(__m256i luma, __m256i up, __m256i down, __m256i lumaPick, __m256i termPick)
{
    return _mm256_subs_epu8(
        _mm256_adds_epu8(_mm256_shuffle_epi8(luma, lumaPick), _mm256_shuffle_epi8(up, termPick)),
        _mm256_shuffle_epi8(down, termPick));
}

// The colours are made in bytes as in the 4:1:1 rows below: each pair's
// terms, computed once in words, are packed to term bytes, and each 16-byte
// chunk of output is luma and term bytes picked straight into place.
// Three-byte pixels, 32 a step: lane l makes output half l, pairs 8l..8l+7,
// from window A (pairs 8l..8l+3) and B (8l+4..8l+7). The middle chunk needs
// pairs 8l+2..8l+5: a dword blend of A and B holds their luma, and with B's
// terms packed green first, a dword blend of the term bytes holds their
// terms, so no third window is computed. Four-byte pixels, 16 a step: the
// load's quadwords are reordered so that lane l holds pairs 2l, 2l+1, 2l+4,
// 2l+5, its half of both output chunks.
template <int Red, int Blue, int Bytes>
struct sYuv422Chunks {
    static const int kChunks = Bytes == 3 ? 3 : 2;
    __m256i luma[kChunks], term[kChunks];

    // Byte of term t (0 blue, 1 red, 2 green) of the pair in dword d, packed
    // outer terms first or green first.
    static int TermByte(int d, int t, bool greenFirst)
    {
        return t == 2 ? (greenFirst ? 0 : 8) + 2 * d + 1 : (greenFirst ? 8 : 0) + 2 * d + t;
    }
    // Pair in dword d of lane l of the four-byte rows' register.
    static int QuadPair(int lane, int d) { return 2 * lane + d % 2 + 4 * (d / 2); }

    sYuv422Chunks()
    {
        signed char l[kChunks][32], t[kChunks][32];
        for (int k = 0; k < kChunks; ++k)
            for (int lane = 0; lane < 2; ++lane)
                for (int j = 0; j < 16; ++j) {
                    const int q = 16 * k + j;
                    const int p = Bytes == 3 ? 16 * lane + q / 3 : 8 * k + 4 * lane + j / 4, s = q % Bytes;
                    const int pair = p / 2;
                    const int kind = s == Red ? 1 : s == 1 ? 2 : s == Blue ? 0 : -1;
                    int d = -1, at = -1;
                    if (Bytes == 4) {
                        for (int e = 0; e < 4; ++e)
                            if (QuadPair(lane, e) == pair)
                                d = e;
                        at = TermByte(d, kind, false);
                    } else {
                        // Pairs 8l+2, 8l+3 are A's dwords 2, 3 and 8l+4, 8l+5 B's
                        // dwords 0, 1, in the middle chunk's blends too.
                        const int inA = pair - 8 * lane;
                        const bool fromA = k == 0 || (k == 1 && inA < 4);
                        d = fromA ? inA : inA - 4;
                        at = TermByte(d, kind, !fromA);
                    }
                    const bool colour = kind >= 0;
                    l[k][16 * lane + j] = static_cast<signed char>(colour ? 4 * d + 1 + 2 * (p % 2) : -1);
                    t[k][16 * lane + j] = static_cast<signed char>(colour ? at : -1);
                }
        for (int k = 0; k < kChunks; ++k) {
            luma[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(l[k]));
            term[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t[k]));
        }
    }
};

template <int Red, int Blue, int Bytes>
int32_t Yuv422(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sYuv422Chunks<Red, Blue, Bytes> table;
    const sYuv422Chunks<Red, Blue, Bytes> t = table;  // in registers: the stores may alias a static
    const __m256i zero = _mm256_setzero_si256();
    const int32_t even = width & ~1;
    int32_t x = 0;
    if constexpr (Bytes == 3) {
        for (; NextStep(x, even, 32, 32); x += 32) {
            const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
            const __m256i a = Loadu2Blend(s, s + 32);
            const __m256i b = Loadu2Blend(s + 16, s + 48);
            __m256i outerA, greenA, outerB, greenB;
            Yuv422Terms(a, outerA, greenA);
            Yuv422Terms(b, outerB, greenB);
            const __m256i upA = _mm256_packus_epi16(outerA, _mm256_sub_epi16(zero, greenA));
            const __m256i downA = _mm256_packus_epi16(_mm256_sub_epi16(zero, outerA), greenA);
            const __m256i upB = _mm256_packus_epi16(_mm256_sub_epi16(zero, greenB), outerB);
            const __m256i downB = _mm256_packus_epi16(greenB, _mm256_sub_epi16(zero, outerB));
            const __m256i first = Yuv422Chunk(a, upA, downA, t.luma[0], t.term[0]);
            const __m256i middle = Yuv422Chunk(_mm256_blend_epi32(a, b, 0x33), _mm256_blend_epi32(upA, upB, 0x55),
                                               _mm256_blend_epi32(downA, downB, 0x55), t.luma[1], t.term[1]);
            const __m256i last = Yuv422Chunk(b, upB, downB, t.luma[2], t.term[2]);
            unsigned char* d = dst + 3 * static_cast<std::ptrdiff_t>(x);
            // Lane 0 holds the first half of the output, lane 1 the second.
            Storeu(d, _mm256_permute2x128_si256(first, middle, 0x20));
            Storeu(d + 32, _mm256_blend_epi32(last, first, 0xF0));
            Storeu(d + 64, _mm256_permute2x128_si256(middle, last, 0x31));
        }
    } else {
        for (; NextStep(x, even, 16, 16); x += 16) {
            const __m256i in =
                _mm256_permute4x64_epi64(Loadu(src + 2 * static_cast<std::ptrdiff_t>(x)), _MM_SHUFFLE(3, 1, 2, 0));
            __m256i outer, green;
            Yuv422Terms(in, outer, green);
            const __m256i up = _mm256_packus_epi16(outer, _mm256_sub_epi16(zero, green));
            const __m256i down = _mm256_packus_epi16(_mm256_sub_epi16(zero, outer), green);
            unsigned char* d = dst + 4 * static_cast<std::ptrdiff_t>(x);
            for (int k = 0; k < 2; ++k)
                Storeu(d + 32 * k, Yuv422Chunk(in, up, down, t.luma[k], t.term[k]));
        }
    }
    return x & ~3;  // the portable loop redoes a last half block whole
}

// Words of one sample of eight pixels a lane; each lane's 24 bytes come
// from two overlapping 16-byte windows, bytes 0..15 and 8..23.
struct sYuv444Pick {
    __m256i first[3], second[3];  // u, y, v
    sYuv444Pick()
    {
        for (int k = 0; k < 3; ++k) {
            signed char a[16], b[16];
            for (int j = 0; j < 16; ++j) {
                const int o = 3 * (j / 2) + k;
                const bool sample = (j & 1) == 0;
                a[j] = static_cast<signed char>(sample && o < 16 ? o : -1);
                b[j] = static_cast<signed char>(sample && o >= 16 ? o - 8 : -1);
            }
            first[k] = Lanes(a);
            second[k] = Lanes(b);
        }
    }
};

template <int Red, int Blue, int Bytes>
int32_t Yuv444(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const sYuv444Pick table;
    const sYuv444Pick pick = table;
    static const sColourStore<Red, Blue, Bytes> store;
    const sColourStore<Red, Blue, Bytes> out = store;  // in registers: the stores may alias a static
    const __m256i neutral = _mm256_set1_epi16(127);
    int32_t x = 0;
    for (; NextStep(x, width, 16, 16); x += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = Loadu2(s, s + 24);
        const __m256i b = Loadu2(s + 8, s + 32);
        __m256i c[3];
        for (int k = 0; k < 3; ++k)
            c[k] = _mm256_or_si256(_mm256_shuffle_epi8(a, pick.first[k]), _mm256_shuffle_epi8(b, pick.second[k]));
        __m256i red, green, blue;
        Colours(c[1], _mm256_sub_epi16(c[0], neutral), _mm256_sub_epi16(c[2], neutral), red, green, blue);
        out.Store(dst + Bytes * static_cast<std::ptrdiff_t>(x), red, green, blue);
    }
    return x;
}

// Four-byte pixels, sixteen a step, in fewer shuffles: lane 0 takes pixels
// 0..3 and 8..11, lane 1 pixels 4..7 and 12..15, so that the unpacks that
// interleave the samples leave pixels 0..7 in one register and 8..15 in the
// other. The second source register starts two bytes early, which puts its
// samples of each kind on bytes the first one's do not use: one blend and one
// byte shuffle give the words of one kind.
struct sYuv444QuadPick {
    __m256i blend[3], pick[3];  // u, y, v
    sYuv444QuadPick()
    {
        for (int k = 0; k < 3; ++k) {
            signed char m[16], q[16];
            for (int j = 0; j < 16; ++j)
                m[j] = 0;
            for (int i = 0; i < 4; ++i)
                m[k + 2 + 3 * i] = -1;
            for (int j = 0; j < 8; ++j) {
                q[2 * j] = static_cast<signed char>(j < 4 ? k + 3 * j : k + 2 + 3 * (j - 4));
                q[2 * j + 1] = -1;
            }
            blend[k] = Lanes(m);
            pick[k] = Lanes(q);
        }
    }
};

template <int Red, int Blue>
int32_t Yuv444Quad(const unsigned char* src, unsigned char* dst, int32_t width)
{
    // A local copy: the byte stores below may alias a static, which would
    // reload every mask each step.
    static const sYuv444QuadPick table;
    const sYuv444QuadPick pick = table;
    const __m256i neutral = _mm256_set1_epi16(127);
    const __m256i redMul = _mm256_set1_epi16(26411), blueMul = _mm256_set1_epi16(-14877);
    const __m256i weights = _mm256_set1_epi32(static_cast<int>(0xB6C75810u));
    int32_t x = 0;
    // The last load ends two bytes into pixel 16.
    for (; NextStep(x, width, 17, 16); x += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        const __m256i a = Loadu2Blend(s, s + 12);
        const __m256i b = Loadu2Blend(s + 22, s + 34);
        __m256i c[3];
        for (int k = 0; k < 3; ++k)
            c[k] = _mm256_shuffle_epi8(_mm256_blendv_epi8(a, b, pick.blend[k]), pick.pick[k]);
        const __m256i luma = c[1];
        const __m256i u = _mm256_sub_epi16(c[0], neutral);
        const __m256i v = _mm256_sub_epi16(c[2], neutral);
        const __m256i redTerm = _mm256_add_epi16(v, _mm256_mulhi_epi16(v, redMul));
        const __m256i blueTerm = _mm256_add_epi16(_mm256_add_epi16(u, u), _mm256_mulhi_epi16(u, blueMul));
        // The green correction of even pixels from (u, v) pairs made with
        // shifts and blends, of odd ones likewise; the high word of each
        // product is its floor. Same products as the unpacks would give,
        // without the shuffle port.
        const __m256i even = _mm256_madd_epi16(_mm256_blend_epi16(u, _mm256_slli_epi32(v, 16), 0xAA), weights);
        const __m256i odd = _mm256_madd_epi16(_mm256_blend_epi16(_mm256_srli_epi32(u, 16), v, 0xAA), weights);
        const __m256i greenTerm = _mm256_add_epi16(v, _mm256_blend_epi16(_mm256_srli_epi32(even, 16), odd, 0xAA));
        const __m256i red = _mm256_add_epi16(luma, redTerm);
        const __m256i green = _mm256_sub_epi16(luma, greenTerm);
        const __m256i blue = _mm256_add_epi16(luma, blueTerm);
        const __m256i outer = Red == 0 ? _mm256_packus_epi16(red, blue) : _mm256_packus_epi16(blue, red);
        const __m256i middle = _mm256_packus_epi16(green, green);
        const __m256i pairs = _mm256_unpacklo_epi8(outer, middle);
        const __m256i last = _mm256_unpackhi_epi8(outer, _mm256_setzero_si256());
        unsigned char* d = dst + 4 * static_cast<std::ptrdiff_t>(x);
        Storeu(d, _mm256_unpacklo_epi16(pairs, last));
        Storeu(d + 32, _mm256_unpackhi_epi16(pairs, last));
    }
    return x;
}

// Groups of U Y Y V Y Y, 32 pixels a step. The colours are made in bytes:
// each group's three chroma terms, computed once in words, become a byte to
// add and one to subtract with saturation (every term lies within +-255),
// which gives the portable loop's clamped sum. Each 16-byte chunk of output
// is then luma bytes and term bytes picked straight into their places, so
// no interleave follows. A lane computes the terms of four groups, its
// slots: for three-byte pixels lane l holds groups 4l..4l+3 and the chunks
// of output half l; for four-byte ones it holds groups l, l + 2, l + 4,
// l + 6, so that the two lanes of chunk k are groups 2k and 2k + 1, which
// follow each other in the output.
template <int Bytes>
struct sYuv411Layout {
    static constexpr int Group(int lane, int slot) { return Bytes == 3 ? 4 * lane + slot : 2 * slot + lane; }
    // Byte offsets of the 16-byte windows each lane loads: the two chroma
    // registers, then the luma register of each chunk. For four-byte pixels
    // the odd chunks' windows are the same 16 bytes in both lanes.
    static constexpr int Chroma(int r, int lane) { return Bytes == 3 ? 24 * lane + 8 * r : 24 * r + 6 * lane; }
    static constexpr int Luma(int k, int lane)
    {
        return Bytes == 3 ? 24 * lane + (k == 0 ? 0 : 8) : k % 2 == 0 ? 12 * k + 6 * lane : 12 * k - 4;
    }
};

template <int Red, int Blue, int Bytes>
struct sYuv411Chunks {
    __m256i chroma[2];                 // u, v words of slot s at words 2s, 2s + 1
    __m256i luma[Bytes], term[Bytes];  // Bytes chunks of 16 bytes a lane
    sYuv411Chunks()
    {
        typedef sYuv411Layout<Bytes> L;
        static const int kLuma[4] = {1, 2, 4, 5};
        signed char c[2][32], l[Bytes][32], t[Bytes][32];
        for (int lane = 0; lane < 2; ++lane)
            for (int j = 0; j < 16; ++j) {
                const int o = 6 * L::Group(lane, j / 4) + 3 * ((j / 2) % 2);
                for (int r = 0; r < 2; ++r) {
                    const int at = o - L::Chroma(r, lane);
                    const bool here = j % 2 == 0 && at >= 0 && at < 16 && (r == 0 || o - L::Chroma(0, lane) >= 16);
                    c[r][16 * lane + j] = static_cast<signed char>(here ? at : -1);
                }
                for (int k = 0; k < Bytes; ++k) {
                    // Slot, pixel of its group and sample of output byte j.
                    const int q = 16 * k + j;
                    const int slot = Bytes == 3 ? q / 12 : k, pixel = Bytes == 3 ? q / 3 % 4 : j / 4, s = q % Bytes;
                    // Term bytes: blue at 2 slot, red at the byte after,
                    // green at 9 + 2 slot.
                    const int at = s == Red ? 2 * slot + 1 : s == 1 ? 9 + 2 * slot : s == Blue ? 2 * slot : -1;
                    const int from = 6 * L::Group(lane, slot) + kLuma[pixel] - L::Luma(k, lane);
                    l[k][16 * lane + j] = static_cast<signed char>(at < 0 ? -1 : from);
                    t[k][16 * lane + j] = static_cast<signed char>(at);
                }
            }
        for (int r = 0; r < 2; ++r)
            chroma[r] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(c[r]));
        for (int k = 0; k < Bytes; ++k) {
            luma[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(l[k]));
            term[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t[k]));
        }
    }
};

template <int Red, int Blue, int Bytes>
int32_t Yuv411(const unsigned char* src, unsigned char* dst, int32_t width)
{
    typedef sYuv411Layout<Bytes> L;
    static const sYuv411Chunks<Red, Blue, Bytes> table;
    const sYuv411Chunks<Red, Blue, Bytes> t = table;  // in registers: the stores may alias a static
    const __m256i neutral = _mm256_set1_epi16(127);
    // mulhi factors of the blue term (u words) and the red term (v words).
    const __m256i factors = _mm256_set1_epi32(static_cast<int>(0x672BC5E3u));
    const __m256i weights = _mm256_set1_epi32(static_cast<int>(0xB6C75810u));
    const __m256i twoOne = _mm256_set1_epi32(0x00010002);
    const __m256i zero = _mm256_setzero_si256();
    const int32_t whole = width & ~3;
    int32_t x = 0;
    // Every window lies in the step's 48 bytes.
    for (; NextStep(x, whole, 32, 32); x += 32) {
        const unsigned char* s = src + (x >> 2) * 6;
        const __m256i a = Loadu2Blend(s + L::Chroma(0, 0), s + L::Chroma(0, 1));
        const __m256i b = Loadu2Blend(s + L::Chroma(1, 0), s + L::Chroma(1, 1));
        const __m256i chroma = _mm256_sub_epi16(
            _mm256_or_si256(_mm256_shuffle_epi8(a, t.chroma[0]), _mm256_shuffle_epi8(b, t.chroma[1])), neutral);
        // Blue term 2u + (u * -14877 >> 16) at u, red term v + (v * 26411 >> 16) at v.
        const __m256i outer = _mm256_add_epi16(_mm256_mullo_epi16(chroma, twoOne), _mm256_mulhi_epi16(chroma, factors));
        // Green term at v: v plus the high word of u * 22544 - v * 18745.
        const __m256i green = _mm256_add_epi16(chroma, _mm256_madd_epi16(chroma, weights));
        const __m256i up = _mm256_packus_epi16(outer, _mm256_sub_epi16(zero, green));
        const __m256i down = _mm256_packus_epi16(_mm256_sub_epi16(zero, outer), green);
        __m256i chunk[Bytes];
        for (int k = 0; k < Bytes; ++k) {
            __m256i window = a;
            if (L::Luma(k, 0) == L::Chroma(1, 0))
                window = b;
            else if (L::Luma(k, 0) != L::Chroma(0, 0))
                window = Loadu2Blend(s + L::Luma(k, 0), s + L::Luma(k, 1));
            chunk[k] = _mm256_subs_epu8(
                _mm256_adds_epu8(_mm256_shuffle_epi8(window, t.luma[k]), _mm256_shuffle_epi8(up, t.term[k])),
                _mm256_shuffle_epi8(down, t.term[k]));
        }
        unsigned char* d = dst + Bytes * static_cast<std::ptrdiff_t>(x);
        if (Bytes == 3) {
            // Lane 0 holds the first half of the output, lane 1 the second.
            Storeu(d, _mm256_permute2x128_si256(chunk[0], chunk[1], 0x20));
            Storeu(d + 32, _mm256_blend_epi32(chunk[2], chunk[0], 0xF0));
            Storeu(d + 64, _mm256_permute2x128_si256(chunk[1], chunk[2], 0x31));
        } else {
            for (int k = 0; k < Bytes; ++k)
                Storeu(d + 32 * k, chunk[k]);
        }
    }
    return x;
}

// --- YUV to grey: the luma bytes --------------------------------------------------

int32_t Grey422(const unsigned char* src, unsigned char* dst, int32_t width)
{
    const int32_t even = width & ~1;
    int32_t x = 0;
    for (; NextStep(x, even, 32, 32); x += 32) {
        const unsigned char* s = src + 2 * static_cast<std::ptrdiff_t>(x);
        const __m256i luma = _mm256_packus_epi16(_mm256_srli_epi16(Loadu(s), 8), _mm256_srli_epi16(Loadu(s + 32), 8));
        Storeu(dst + x, _mm256_permute4x64_epi64(luma, _MM_SHUFFLE(3, 1, 2, 0)));
    }
    return x & ~3;
}

// 16 pixels: two groups a lane from the windows at 0 and 12; 28 bytes read,
// 20 pixels of room.
int32_t Grey411(const unsigned char* src, unsigned char* dst, int32_t width)
{
    static const signed char kLuma[16] = {1, 2, 4, 5, 7, 8, 10, 11, -1, -1, -1, -1, -1, -1, -1, -1};
    const __m256i pick = Lanes(kLuma);
    const int32_t whole = width & ~3;
    int32_t x = 0;
    for (; NextStep(x, whole, 20, 16); x += 16) {
        const unsigned char* s = src + 6 * static_cast<std::ptrdiff_t>(x / 4);
        const __m256i luma = _mm256_shuffle_epi8(Loadu2(s, s + 12), pick);
        Store128(dst + x, _mm256_castsi256_si128(_mm256_permute4x64_epi64(luma, _MM_SHUFFLE(3, 1, 2, 0))));
    }
    return x;
}

// 16 pixels from three 16-byte loads.
int32_t Grey444(const unsigned char* src, unsigned char* dst, int32_t width)
{
    signed char pick[3][16];
    for (int k = 0; k < 3; ++k)
        for (int j = 0; j < 16; ++j) {
            const int at = 3 * j + 1 - 16 * k;
            pick[k][j] = static_cast<signed char>(at >= 0 && at < 16 ? at : -1);
        }
    __m128i p[3];
    for (int k = 0; k < 3; ++k)
        p[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pick[k]));
    int32_t x = 0;
    for (; NextStep(x, width, 16, 16); x += 16) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        __m128i luma = _mm_setzero_si128();
        for (int k = 0; k < 3; ++k)
            luma = _mm_or_si128(luma, _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * k)), p[k]));
        Store128(dst + x, luma);
    }
    return x;
}

}  // namespace
}  // namespace convrows_avx2

void ConvRowBodiesAvx2(sConvRowBodies* b)
{
    using namespace convrows_avx2;
    b->copy = Copy;
    b->grey[0] = Grey3;
    b->grey[1] = Grey4;
    b->reorder[0][0][0] = SameOrder3;
    b->reorder[0][0][1] = Reverse3;
    b->reorder[0][1][0] = ThreeToFour<false>;
    b->reorder[0][1][1] = ThreeToFour<true>;
    b->reorder[1][0][0] = FourToThree<false>;
    b->reorder[1][0][1] = FourToThree<true>;
    b->reorder[1][1][0] = SameOrder4;
    b->reorder[1][1][1] = Reverse4;
    b->words8 = Words8;
    b->deep[0][1] = Deep<false, 4>;
    b->deep[1][0] = Deep<true, 3>;
    b->deep[1][1] = Deep<true, 4>;
    b->unpack8[0] = Unpack8<2>;
    b->unpack8[1] = Unpack8<4>;
    b->unpack16[0] = Unpack16<2>;
    b->unpack16[1] = Unpack16<4>;
    b->yuv422[0][0] = Yuv422<2, 0, 3>;
    b->yuv422[0][1] = Yuv422<2, 0, 4>;
    b->yuv422[1][0] = Yuv422<0, 2, 3>;
    b->yuv422[1][1] = Yuv422<0, 2, 4>;
    b->yuv444[0][0] = Yuv444<2, 0, 3>;
    b->yuv444[0][1] = Yuv444Quad<2, 0>;
    b->yuv444[1][0] = Yuv444<0, 2, 3>;
    b->yuv444[1][1] = Yuv444Quad<0, 2>;
    b->yuv411[0][0] = Yuv411<2, 0, 3>;
    b->yuv411[0][1] = Yuv411<2, 0, 4>;
    b->yuv411[1][0] = Yuv411<0, 2, 3>;
    b->yuv411[1][1] = Yuv411<0, 2, 4>;
    b->yuvGrey[0] = Grey411;
    b->yuvGrey[1] = Grey422;
    b->yuvGrey[2] = Grey444;
}
