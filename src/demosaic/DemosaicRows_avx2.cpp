// AVX2 row functions for 8-bit Bayer sources, 32 pixels at a time; the
// first pair goes to the portable function and the last vector ends at the
// row's last pair, so that exactly the portable loop's bytes are read and
// written. AVX2 has no byte permute over 256 entries: gain tables are
// computed, other tables looked up in sixteen 16-entry pieces.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "DemosaicKernels.h"
#include "DemosaicRows.h"
#include "PixelTypes.h"

namespace demosaic_avx2 {

// The vector steps below are large enough that the compiler may call them
// instead of inlining them, which costs a frame, spills and a vzeroupper
// per vector: these are always inlined.
#define DEMOSAIC_AVX2_INLINE inline __attribute__((always_inline))

// Hides a constant's value from the compiler, which would otherwise build
// it again from an immediate (two vector instructions) at each use in a
// loop short of registers, where a load from the stack costs nothing.
DEMOSAIC_AVX2_INLINE void Opaque(__m256i& v)
{
    __asm__("" : "+x"(v));
}

const uint32_t kPairs = 16;  // pairs of columns in one vector: 32 pixels

inline __m256i Load(const unsigned char* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

inline void Store(unsigned char* p, __m256i v)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// How ByteTables applies table k: 0 identity, 1 gain, 2 gain with marks,
// 3 lookup.
inline int KindFor(const DemosaicByteTables& t, int k)
{
    return t.identity[k] ? 0 : !t.gained[k] ? 3 : t.fixed[k] ? 2 : 1;
}

// A table of 256 byte entries. A gain table is computed: each byte, put in
// the high half of a 16-bit lane, is multiplied by the gain keeping the high
// half, shifted, and packed with saturation at 255; then the marked entries
// take 1 off, their bit found by two 16-byte shuffles over the 32-byte map.
// Any other table is looked up in sixteen 16-entry pieces, each in both
// 128-bit lanes: piece k answers the indices 16k to 16k + 15. Index minus
// 16k, wrapping, lies in 0..15 for those only; adding 0x70 with saturation
// sets the high bit of every other, so that the byte shuffle gives 0 for it.
struct ByteTables {
    __m256i piece[3][16];
    __m256i gain[3];
    __m256i fixLow[3], fixHigh[3];
    __m256i nibble, seven, bitOf, most;
    __m128i shift[3];
    __m128i up[3];  // 16 - gainShift
    int kind[3];  // 0 identity, 1 gain, 2 gain with marks, 3 lookup
    // The product of 255 and the gain, shifted, can reach 2^15, which
    // packus would read as negative: the 16-bit results need the clamp.
    bool clamp[3];

    explicit ByteTables(const DemosaicByteTables& t)
    {
        nibble = _mm256_set1_epi8(0x0F);
        seven = _mm256_set1_epi8(7);
        bitOf = _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 4, 8, 16, 32, 64, -128, 0,
                                 0, 0, 0, 0, 0, 0, 0);
        most = _mm256_set1_epi16(255);
        Opaque(nibble);
        Opaque(seven);
        Opaque(bitOf);
        Opaque(most);
        for (int k = 0; k < 3; ++k) {
            kind[k] = KindFor(t, k);
            clamp[k] = ((255u * t.gain[k]) >> t.gainShift[k]) >= 0x8000u;
            gain[k] = _mm256_set1_epi16(static_cast<short>(t.gain[k]));
            shift[k] = _mm_cvtsi32_si128(static_cast<int>(t.gainShift[k]) - 8);
            up[k] = _mm_cvtsi32_si128(16 - static_cast<int>(t.gainShift[k]));
            fixLow[k] = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(t.fixes[k])));
            fixHigh[k] =
                _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(t.fixes[k] + 16)));
            for (int q = 0; kind[k] == 3 && q < 16; ++q)
                piece[k][q] = _mm256_broadcastsi128_si256(
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(t.bytes[k] + 16 * q)));
        }
    }

    DEMOSAIC_AVX2_INLINE __m256i operator()(int k, __m256i index) const
    {
        if (kind[k] == 0)
            return index;
        if (kind[k] != 3) {
            const __m256i zero = _mm256_setzero_si256();
            const __m256i lo = Scale(k, _mm256_unpacklo_epi8(zero, index));
            const __m256i hi = Scale(k, _mm256_unpackhi_epi8(zero, index));
            const __m256i scaled = _mm256_packus_epi16(lo, hi);
            return kind[k] == 1 ? scaled : Fix(k, index, scaled);
        }
        const __m256i sixteen = _mm256_set1_epi8(16);
        const __m256i high = _mm256_set1_epi8(0x70);
        __m256i result = _mm256_setzero_si256();
        __m256i at = index;
        for (int q = 0; q < 16; ++q) {
            result = _mm256_or_si256(result, _mm256_shuffle_epi8(piece[k][q], _mm256_adds_epu8(at, high)));
            at = _mm256_sub_epi8(at, sixteen);
        }
        return result;
    }

    // Indices in the high halves of 16-bit lanes times the gain, shifted;
    // at most 255 when clamped, else below 2^15 so that packus saturates.
    DEMOSAIC_AVX2_INLINE __m256i Scale(int k, __m256i high) const
    {
        const __m256i v = _mm256_srl_epi16(_mm256_mulhi_epu16(high, gain[k]), shift[k]);
        return clamp[k] ? _mm256_min_epu16(v, most) : v;
    }

    // A gain table (kind 1 or 2) whose 16-bit results stay below 2^15, so
    // that packus alone saturates them.
    DEMOSAIC_AVX2_INLINE __m256i Gained(int k, __m256i index) const
    {
        const __m256i zero = _mm256_setzero_si256();
        const __m256i lo = _mm256_srl_epi16(_mm256_mulhi_epu16(_mm256_unpacklo_epi8(zero, index), gain[k]), shift[k]);
        const __m256i hi = _mm256_srl_epi16(_mm256_mulhi_epu16(_mm256_unpackhi_epi8(zero, index), gain[k]), shift[k]);
        const __m256i scaled = _mm256_packus_epi16(lo, hi);
        return kind[k] == 1 ? scaled : Fix(k, index, scaled);
    }

    // A gain table (kind 1 or 2) on 16-bit lanes that hold an index below
    // 256, given both as it is and moved to the high half: the table's bytes
    // in the low halves, without unpacking. Index 0 is never marked, so the
    // high halves stay 0.
    DEMOSAIC_AVX2_INLINE __m256i Gained16(int k, __m256i index, __m256i high) const
    {
        const __m256i scaled = _mm256_min_epu16(_mm256_srl_epi16(_mm256_mulhi_epu16(high, gain[k]), shift[k]), most);
        return kind[k] == 1 ? scaled : Fix(k, index, scaled);
    }

    // A gain table (kind 1 or 2) whose results stay below 2^15, on 16-bit
    // lanes that hold an index below 256: (i * gain) >> gainShift is the high
    // half of (i << (16 - gainShift)) * gain, and the shifted index still
    // fits in 16 bits. Marks are left to Fix, on the packed bytes.
    DEMOSAIC_AVX2_INLINE __m256i Gain16(int k, __m256i index) const
    {
        return _mm256_mulhi_epu16(_mm256_sll_epi16(index, up[k]), gain[k]);
    }

    // `scaled` less 1 in the bytes whose index is marked in the map.
    DEMOSAIC_AVX2_INLINE __m256i Fix(int k, __m256i index, __m256i scaled) const
    {
        // Byte index >> 3 of the map: its low four bits pick the byte in
        // either half, the index's top bit the half; the bit is index & 7.
        const __m256i at = _mm256_and_si256(_mm256_srli_epi16(index, 3), nibble);
        const __m256i bytes =
            _mm256_blendv_epi8(_mm256_shuffle_epi8(fixLow[k], at), _mm256_shuffle_epi8(fixHigh[k], at), index);
        const __m256i bit = _mm256_shuffle_epi8(bitOf, _mm256_and_si256(index, seven));
        // All ones, that is -1, where the bit is set.
        return _mm256_add_epi8(scaled, _mm256_cmpeq_epi8(_mm256_and_si256(bytes, bit), bit));
    }
};

// Byte shuffles that lay out three vectors of samples as packed three-byte
// pixels, 16 pixels per 128-bit lane. Samples lie in pixel order, or `split`
// as the pairs' 16-bit lanes pack: the eight even pixels of a lane, then the
// eight odd ones. Since 3 is odd, the byte j of every output vector of a
// lane that holds channel c belongs to one pixel p, 3p + c = j modulo 16:
// one shuffle per channel (`spread`) brings every sample to the byte where
// it goes in whichever output vector, and two blends per output vector
// (`pick`: channel 1, channel 2) take the bytes of each. masks[v][c] places
// channel c into output vector v directly (the 16-byte stores use them).
struct Interleave {
    __m256i masks[3][3];
    __m256i spread[3];
    __m256i spreadPairs[3];  // pixel order: from the low bytes of pairs' 16-bit lanes
    __m256i pick[3][2];

    explicit Interleave(bool split = false)
    {
        const auto sample = [split](int pixel) { return split ? (pixel & 1) * 8 + pixel / 2 : pixel; };
        for (int v = 0; v < 3; ++v) {
            for (int c = 0; c < 3; ++c) {
                alignas(32) uint8_t m[32];
                for (int j = 0; j < 16; ++j) {
                    const int n = 16 * v + j;
                    m[j] = m[j + 16] = static_cast<uint8_t>(n % 3 == c ? sample(n / 3) : 0x80);
                }
                masks[v][c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
            }
            for (int c = 1; c < 3; ++c) {
                alignas(32) uint8_t m[32];
                for (int j = 0; j < 16; ++j)
                    m[j] = m[j + 16] = static_cast<uint8_t>((16 * v + j) % 3 == c ? 0xFF : 0);
                pick[v][c - 1] = _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
            }
        }
        for (int c = 0; c < 3; ++c) {
            alignas(32) uint8_t m[32], pairs[32];
            for (int j = 0; j < 16; ++j) {
                const int pixel = 11 * (j - c + 16) % 16;  // 11 * 3 = 1 modulo 16
                m[j] = m[j + 16] = static_cast<uint8_t>(sample(pixel));
                pairs[j] = pairs[j + 16] = static_cast<uint8_t>(pixel & ~1);
            }
            spread[c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
            spreadPairs[c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(pairs));
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

// Destination rows of one call, held by value.
struct Outs {
    unsigned char* out[3];
};

// `kRedPairs`: red lies in the low byte of each pair's 16-bit lane, the
// same for both pixels of the pair.
template <int kLayout, bool kRedPairs = false>
DEMOSAIC_AVX2_INLINE void Put(const Outs& o, std::ptrdiff_t x, __m256i red, __m256i green, __m256i blue,
                              const Interleave& il)
{
    if (kLayout == kLayoutPlanar) {
        Store(o.out[0] + x, kRedPairs ? _mm256_or_si256(red, _mm256_slli_epi16(red, 8)) : red);
        Store(o.out[1] + x, green);
        Store(o.out[2] + x, blue);
        return;
    }
    const int at = kLayout == kLayoutRGB ? 0 : 2;
    const __m256i reds = _mm256_shuffle_epi8(red, kRedPairs ? il.spreadPairs[at] : il.spread[at]);
    const __m256i first = kLayout == kLayoutRGB ? reds : _mm256_shuffle_epi8(blue, il.spread[0]);
    const __m256i second = _mm256_shuffle_epi8(green, il.spread[1]);
    const __m256i third = kLayout == kLayoutRGB ? _mm256_shuffle_epi8(blue, il.spread[2]) : reds;
    __m256i lanes[3];
    for (int v = 0; v < 3; ++v)
        lanes[v] = _mm256_blendv_epi8(_mm256_blendv_epi8(first, second, il.pick[v][0]), third, il.pick[v][1]);
    // Low lanes hold pixels 0 to 15, high lanes 16 to 31.
    unsigned char* out = o.out[0] + 3 * x;
    Store(out, _mm256_permute2x128_si256(lanes[0], lanes[1], 0x20));
    Store(out + 32, _mm256_permute2x128_si256(lanes[2], lanes[0], 0x30));
    Store(out + 64, _mm256_permute2x128_si256(lanes[1], lanes[2], 0x31));
}

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

// True when every table is the identity or a gain whose 16-bit products
// stay below 2^15; bit k of `gained` is set for a gain in table k.
inline bool GainsOnly(const DemosaicByteTables& t, int* gained)
{
    *gained = 0;
    for (int k = 0; k < 3; ++k) {
        if (t.identity[k])
            continue;
        if (!t.gained[k] || ((255u * t.gain[k]) >> t.gainShift[k]) >= 0x8000u)
            return false;
        *gained |= 1 << k;
    }
    return true;
}

inline bool Vectorisable(const DemosaicRowArgs& r)
{
    return r.step == 1 && r.bytes != nullptr && r.bytes->valid && r.count >= 1 + kPairs;
}

// The row's pairs from 1 on, with tables any of which is looked up.
template <int kLayout>
void NearestPairs(const DemosaicRowArgs& r)
{
    const unsigned char* const rg = r.rows[0];
    const unsigned char* const gb = r.rows[1];
    const ByteTables tables(*r.bytes);
    // Copies, so that stores through the rows' bytes need not reload them.
    const Interleave il = Pattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    const __m256i low = _mm256_set1_epi16(0x00FF);
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const __m256i rgBefore = Load(rg + c - 1);
        const __m256i rgAt = Load(rg + c);
        const __m256i gbBefore = Load(gb + c - 1);
        const __m256i gbAt = Load(gb + c);
        const __m256i red0 = _mm256_and_si256(rgAt, low);
        const __m256i green = _mm256_and_si256(gbAt, low);
        const __m256i sum0 = _mm256_add_epi16(_mm256_and_si256(rgBefore, low), green);
        const __m256i sum1 = _mm256_add_epi16(green, _mm256_srli_epi16(rgAt, 8));
        const __m256i red = _mm256_or_si256(red0, _mm256_slli_epi16(red0, 8));
        const __m256i greens =
            _mm256_or_si256(_mm256_srli_epi16(sum0, 1), _mm256_slli_epi16(_mm256_srli_epi16(sum1, 1), 8));
        const __m256i blue = _mm256_blendv_epi8(gbAt, gbBefore, low);
        if (tables.kind[0] == 1 || tables.kind[0] == 2) {
            // Red repeats within each pair: half the work in 16-bit lanes.
            const __m256i scaled = tables.Gained16(0, red0, _mm256_slli_epi16(rgAt, 8));
            Put<kLayout, true>(outs, c, scaled, tables(1, greens), tables(2, blue), il);
        } else
            Put<kLayout>(outs, c, tables(0, red), tables(1, greens), tables(2, blue), il);
    };
    uint32_t p = 1;
    for (; p + kPairs <= count; p += kPairs)
        vector(p);
    // The last vector ends at the row's last pair; the pairs it shares with
    // the one before get the same bytes again.
    if (p < count)
        vector(count - kPairs);
}

// The row's pairs from 1 on where each table is the identity or a gain
// (kGain: bit k for table k), decided per row. Each 16-bit lane is one pair
// c, c+1. Green is the floor mean of (rg[c-1], rg[c+1]) and (gb[c], gb[c]),
// bytewise: the rounded-up average less the low bit of the difference.
template <int kLayout, int kGain>
void NearestGains(const DemosaicRowArgs& r)
{
    const unsigned char* const rg = r.rows[0];
    const unsigned char* const gb = r.rows[1];
    const ByteTables tables(*r.bytes);
    // Copies, so that stores through the rows' bytes need not reload them.
    const Interleave il = Pattern();
    const Outs outs = {{r.out[0], r.out[1], r.out[2]}};
    const uint32_t count = r.count;
    __m256i low = _mm256_set1_epi16(0x00FF);
    __m256i one = _mm256_set1_epi8(1);
    __m256i doubled = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14));
    Opaque(low);
    Opaque(one);
    Opaque(doubled);
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const __m256i rgBefore = Load(rg + c - 1);  // rg[c-1], rg[c]
        const __m256i rgAt = Load(rg + c);          // rg[c], rg[c+1]
        const __m256i gbBefore = Load(gb + c - 1);  // gb[c-1], gb[c]
        const __m256i gbAt = Load(gb + c);          // gb[c], gb[c+1]
        const __m256i sides = _mm256_blendv_epi8(rgAt, rgBefore, low);
        const __m256i centre = _mm256_shuffle_epi8(gbAt, doubled);
        __m256i green = _mm256_sub_epi8(_mm256_avg_epu8(sides, centre),
                                        _mm256_and_si256(_mm256_xor_si256(sides, centre), one));
        __m256i blue = _mm256_blendv_epi8(gbAt, gbBefore, low);
        const __m256i red0 = _mm256_and_si256(rgAt, low);
        // Red repeats within each pair: its table in 16-bit lanes.
        const __m256i red = (kGain & 1) ? tables.Gained16(0, red0, _mm256_slli_epi16(rgAt, 8)) : red0;
        if (kGain & 2)
            green = tables.Gained(1, green);
        if (kGain & 4)
            blue = tables.Gained(2, blue);
        Put<kLayout, true>(outs, c, red, green, blue, il);
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
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);

    static const DemosaicRowFn gains[8] = {
        NearestGains<kLayout, 0>, NearestGains<kLayout, 1>, NearestGains<kLayout, 2>, NearestGains<kLayout, 3>,
        NearestGains<kLayout, 4>, NearestGains<kLayout, 5>, NearestGains<kLayout, 6>, NearestGains<kLayout, 7>};
    int gained = 0;
    if (GainsOnly(*r.bytes, &gained))
        gains[gained](r);
    else
        NearestPairs<kLayout>(r);
}

// One source row's samples around 16 pairs from column i - 1 on, in 16-bit
// lanes: m the column before each pair, c0 and c1 the pair, c2 the one after.
struct Split {
    __m256i m, c0, c1, c2;
};

DEMOSAIC_AVX2_INLINE Split SplitAt(const unsigned char* row, std::ptrdiff_t i, __m256i low)
{
    const __m256i lo = Load(row + i - 1), hi = Load(row + i + 1);
    return {_mm256_and_si256(lo, low), _mm256_srli_epi16(lo, 8), _mm256_and_si256(hi, low),
            _mm256_srli_epi16(hi, 8)};
}

// Which tables a row applies: 0 none, 1 identities and gains, 2 some lookup;
// 3 to 6 the usual balance, green the identity and red and blue gains,
// 3 + (red marked) + 2 * (blue marked), so that a vector does not branch on
// the kinds.
const int kBalanceTables = 3;

// The kind of table k (ByteTables::kind) under kTables.
template <int kTables>
DEMOSAIC_AVX2_INLINE int KindOf(const ByteTables& tables, int k)
{
    if (kTables < kBalanceTables)
        return tables.kind[k];
    return k == 1 ? 0 : 1 + (((kTables - kBalanceTables) >> (k / 2)) & 1);
}

// 16 pairs at column i of a row centred on b, a above and c below, with the
// tables of kTables.
// Packed pixels take the pairs' lanes packed as they are; the shuffles that
// interleave them put the samples in order.
template <int kLayout, bool kRedRow, int kTables>
DEMOSAIC_AVX2_INLINE void BilinearPut(const Outs& outs, std::ptrdiff_t i, const Split& a, const Split& b,
                                      const Split& c, const ByteTables& tables, const Interleave& il)
{
    const __m256i acm = _mm256_add_epi16(a.m, c.m);
    const __m256i ac0 = _mm256_add_epi16(a.c0, c.c0);
    const __m256i ac1 = _mm256_add_epi16(a.c1, c.c1);
    const __m256i ac2 = _mm256_add_epi16(a.c2, c.c2);
    __m256i r0, g0, b0, r1, g1, b1;
    if (kRedRow) {
        r0 = b.c0;
        g0 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(b.m, b.c1), ac0), 2);
        b0 = _mm256_srli_epi16(_mm256_add_epi16(acm, ac1), 2);
        r1 = _mm256_srli_epi16(_mm256_add_epi16(b.c0, b.c2), 1);
        g1 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(ac0, ac2), _mm256_slli_epi16(b.c1, 2)), 3);
        b1 = _mm256_srli_epi16(ac1, 1);
    } else {
        r0 = _mm256_srli_epi16(ac0, 1);
        g0 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(acm, ac1), _mm256_slli_epi16(b.c0, 2)), 3);
        b0 = _mm256_srli_epi16(_mm256_add_epi16(b.m, b.c1), 1);
        r1 = _mm256_srli_epi16(_mm256_add_epi16(ac0, ac2), 2);
        g1 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(b.c0, b.c2), ac1), 2);
        b1 = b.c1;
    }
    __m256i red, green, blue;
    if ((kTables == 1 || kTables >= kBalanceTables) && kLayout != kLayoutPlanar) {
        // Gains in the 16-bit lanes the sums are in, packed afterwards.
        const auto gained = [&tables](int k, __m256i v0, __m256i v1) __attribute__((always_inline)) {
            const int kind = KindOf<kTables>(tables, k);
            if (kind == 0)
                return _mm256_packus_epi16(v0, v1);
            const __m256i scaled = _mm256_packus_epi16(tables.Gain16(k, v0), tables.Gain16(k, v1));
            return kind == 1 ? scaled : tables.Fix(k, _mm256_packus_epi16(v0, v1), scaled);
        };
        Put<kLayout>(outs, i, gained(0, r0, r1), gained(1, g0, g1), gained(2, b0, b1), il);
        return;
    }
    if (kLayout != kLayoutPlanar) {
        red = _mm256_packus_epi16(r0, r1);
        green = _mm256_packus_epi16(g0, g1);
        blue = _mm256_packus_epi16(b0, b1);
    } else {
        red = _mm256_or_si256(r0, _mm256_slli_epi16(r1, 8));
        green = _mm256_or_si256(g0, _mm256_slli_epi16(g1, 8));
        blue = _mm256_or_si256(b0, _mm256_slli_epi16(b1, 8));
    }
    if (kTables == 1 || kTables >= kBalanceTables) {
        // Identities and gains: the branches go the same way all row.
        if (tables.kind[0] != 0)
            red = tables.Gained(0, red);
        if (tables.kind[1] != 0)
            green = tables.Gained(1, green);
        if (tables.kind[2] != 0)
            blue = tables.Gained(2, blue);
    } else if (kTables == 2) {
        red = tables(0, red);
        green = tables(1, green);
        blue = tables(2, blue);
    }
    Put<kLayout>(outs, i, red, green, blue, il);
}

inline const Interleave& BilinearPattern(int layout)
{
    return layout == kLayoutPlanar ? Pattern() : SplitPattern();
}

// The row's pairs from 1 on, for one row phase and one kind of tables, so
// that neither is decided per vector.
template <int kLayout, bool kRedRow, int kTables>
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
    __m256i low = _mm256_set1_epi16(0x00FF);
    Opaque(low);
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        BilinearPut<kLayout, kRedRow, kTables>(outs, i, SplitAt(a, i, low), SplitAt(b, i, low), SplitAt(c, i, low),
                                               tables, il);
    };
    uint32_t p = 1;
    for (; p + kPairs <= count; p += kPairs)
        vector(p);
    // The last vector ends at the row's last pair; the pairs it shares with
    // the one before get the same bytes again.
    if (p < count)
        vector(count - kPairs);
}

// Which tables a row applies: 0 none, 1 identities and gains, 2 some lookup.
inline int BilinearTables(const DemosaicByteTables& t)
{
    int gained = 0;
    return !GainsOnly(t, &gained) ? 2 : gained != 0 ? 1 : 0;
}

template <int kLayout>
void Bilinear(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().bilinear[kLayout][kWidthByteToByte];
    if (!Vectorisable(r)) {
        portable(r);
        return;
    }
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);

    static const DemosaicRowFn pairs[2][3] = {
        {BilinearPairs<kLayout, false, 0>, BilinearPairs<kLayout, false, 1>, BilinearPairs<kLayout, false, 2>},
        {BilinearPairs<kLayout, true, 0>, BilinearPairs<kLayout, true, 1>, BilinearPairs<kLayout, true, 2>}};
    pairs[r.phase & 1][BilinearTables(*r.bytes)](r);
}

// Two rows in one pass, `s` one row below `r`, from pair 1 on: rows b and c
// serve both, so each of their vectors is loaded and split once, and the
// tables are set up once.
template <int kLayout, bool kRedFirst, int kTables>
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
    __m256i low = _mm256_set1_epi16(0x00FF);
    Opaque(low);
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        const Split qb = SplitAt(b, i, low), qc = SplitAt(c, i, low);
        BilinearPut<kLayout, kRedFirst, kTables>(first, i, SplitAt(a, i, low), qb, qc, tables, il);
        BilinearPut<kLayout, !kRedFirst, kTables>(second, i, qb, qc, SplitAt(d, i, low), tables, il);
    };
    uint32_t p = 1;
    for (; p + kPairs <= count; p += kPairs)
        vector(p);
    if (p < count)
        vector(count - kPairs);
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
    bool together = Vectorisable(r) && Vectorisable(s) && s.count == r.count && s.bytes == r.bytes &&
                    s.rows[0] == r.rows[1] && s.rows[1] == r.rows[2] && s.carry[0] == r.carry[1] &&
                    s.carry[1] == r.carry[2] && ((r.phase ^ s.phase) & 1) != 0;
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
    const DemosaicRowFn portable = DemosaicRows::Portable().bilinear[kLayout][kWidthByteToByte];
    DemosaicRowArgs head = r;
    head.count = 1;
    portable(head);
    head = s;
    head.count = 1;
    portable(head);

    typedef void (*Pairs)(const DemosaicRowArgs&, const DemosaicRowArgs&);
    static const Pairs pairs[2][7] = {
        {BilinearTwoPairs<kLayout, false, 0>, BilinearTwoPairs<kLayout, false, 1>, BilinearTwoPairs<kLayout, false, 2>,
         BilinearTwoPairs<kLayout, false, 3>, BilinearTwoPairs<kLayout, false, 4>, BilinearTwoPairs<kLayout, false, 5>,
         BilinearTwoPairs<kLayout, false, 6>},
        {BilinearTwoPairs<kLayout, true, 0>, BilinearTwoPairs<kLayout, true, 1>, BilinearTwoPairs<kLayout, true, 2>,
         BilinearTwoPairs<kLayout, true, 3>, BilinearTwoPairs<kLayout, true, 4>, BilinearTwoPairs<kLayout, true, 5>,
         BilinearTwoPairs<kLayout, true, 6>}};
    const DemosaicByteTables& t = *r.bytes;
    int tables = BilinearTables(t);
    if (tables == 1 && KindFor(t, 1) == 0 && KindFor(t, 0) != 0 && KindFor(t, 2) != 0)
        tables = kBalanceTables + (KindFor(t, 0) - 1) + 2 * (KindFor(t, 2) - 1);
    pairs[r.phase & 1][tables](r, s);
}

inline __m256i Widen(const unsigned char* p)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

// One row of the 5x5 brightness, 16 outputs at a time; see the AVX-512
// version for the range of the sums.
void Mono(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().mono[kWidthByteToByte];
    if (r.step != 1 || r.count < 16) {
        portable(r);
        return;
    }
    // Copies, so that stores need not reload them.
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const uint32_t count = r.count;
    const auto vector = [&](uint32_t x) {
        __m256i s04[5], s13[5], s2[5];
        for (int j = 0; j < 5; ++j) {
            s04[j] = _mm256_add_epi16(Widen(rows[0] + x + j), Widen(rows[4] + x + j));
            s13[j] = _mm256_add_epi16(Widen(rows[1] + x + j), Widen(rows[3] + x + j));
            s2[j] = Widen(rows[2] + x + j);
        }
        const __m256i s13mid = _mm256_add_epi16(s13[1], s13[3]);
        const __m256i s2mid = _mm256_add_epi16(s2[1], s2[3]);
        const __m256i positive = _mm256_add_epi16(
            _mm256_add_epi16(_mm256_slli_epi16(s13mid, 1), _mm256_mullo_epi16(s13[2], _mm256_set1_epi16(6))),
            _mm256_add_epi16(_mm256_mullo_epi16(s2mid, _mm256_set1_epi16(6)), _mm256_slli_epi16(s2[2], 4)));
        const __m256i negative = _mm256_add_epi16(
            _mm256_add_epi16(_mm256_add_epi16(s04[1], s04[3]), _mm256_slli_epi16(s04[2], 1)),
            _mm256_add_epi16(_mm256_add_epi16(s13[0], s13[4]), _mm256_slli_epi16(_mm256_add_epi16(s2[0], s2[4]), 1)));
        const __m256i sum = _mm256_max_epi16(_mm256_sub_epi16(positive, negative), _mm256_setzero_si256());
        const __m256i v = _mm256_srli_epi16(sum, 5);
        // packus saturates at 255; the lanes are interleaved by 128 bits.
        const __m256i packed = _mm256_packus_epi16(v, v);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x),
                         _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, 0x08)));
    };
    uint32_t x = 0;
    for (; x + 16 <= count; x += 16)
        vector(x);
    // The last vector ends at the row's end: some outputs get the same
    // bytes again.
    if (x < count)
        vector(count - 16);
}

// Weights of two neighbouring sites for vpmaddubsw: `a` for the even byte,
// `b` for the odd one.
inline __m256i WeightPair(int a, int b)
{
    return _mm256_set1_epi16(static_cast<short>((static_cast<unsigned>(b & 0xFF) << 8) | (a & 0xFF)));
}

// The same brightness, 32 outputs at a time straight from the bytes: each
// vpmaddubsw weighs the two sites of a 16-bit lane, so both outputs of a
// lane take their columns from the loads at x, x+2 and x+4 (the odd one
// with a zero weight before its first column and none after its last): two
// byte aligns per row instead of four. No partial sum leaves -4080..12240,
// so 16-bit lanes neither wrap nor saturate. Reads end at x+35, the
// portable loop's last column.
void MonoWide(const DemosaicRowArgs& r)
{
    if (r.step != 1 || r.count < 32) {
        Mono(r);
        return;
    }
    const unsigned char* const rows[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const uint32_t count = r.count;
    // Outer rows: 0 -1 -2 -1 0; next rows: -1 2 6 2 -1; centre: -2 6 16 6 -2.
    // Even outputs weigh the lanes at x, x+2, x+4 by (k0 k1), (k2 k3), (k4 0);
    // odd ones by (0 k0), (k1 k2), (k3 k4).
    const __m256i o0 = WeightPair(0, -1), o2 = WeightPair(-2, -1);
    const __m256i o2odd = WeightPair(-1, -2), o4odd = WeightPair(-1, 0);
    const __m256i n0 = WeightPair(-1, 2), n2 = WeightPair(6, 2), n4 = WeightPair(-1, 0);
    const __m256i n0odd = WeightPair(0, -1), n2odd = WeightPair(2, 6), n4odd = WeightPair(2, -1);
    const __m256i c0 = WeightPair(-2, 6), c2 = WeightPair(16, 6), c4 = WeightPair(-2, 0);
    const __m256i c0odd = WeightPair(0, -2), c2odd = WeightPair(6, 16), c4odd = WeightPair(6, -2);
    // Even outputs in the low half of each 128-bit lane after packus, odd
    // ones in the high half: interleave them back.
    const __m256i interleave =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
    const auto vector = [&](uint32_t x) {
        // Each row is loaded once; its copies shifted by 2 and 4 bytes come
        // from byte aligns with the 4 bytes past the vector, which the last
        // outputs read anyway.
        struct Shifted {
            __m256i at0, at2, at4;
        };
        const auto shifted = [x](const unsigned char* row) {
            const unsigned char* const p = row + x;
            int32_t next;
            std::memcpy(&next, p + 32, sizeof next);
            Shifted s;
            s.at0 = Load(p);
            const __m256i tail = _mm256_castsi128_si256(_mm_cvtsi32_si128(next));
            const __m256i mid = _mm256_permute2x128_si256(s.at0, tail, 0x21);
            s.at2 = _mm256_alignr_epi8(mid, s.at0, 2);
            s.at4 = _mm256_alignr_epi8(mid, s.at0, 4);
            return s;
        };
        const auto mad = [](__m256i v, __m256i w) { return _mm256_maddubs_epi16(v, w); };
        const auto add = [](__m256i u, __m256i v) { return _mm256_add_epi16(u, v); };
        __m256i even, odd;
        {
            const Shifted a = shifted(rows[0]), b = shifted(rows[4]);
            even = add(add(mad(a.at0, o0), mad(a.at2, o2)), add(mad(b.at0, o0), mad(b.at2, o2)));
            odd = add(add(mad(a.at2, o2odd), mad(a.at4, o4odd)), add(mad(b.at2, o2odd), mad(b.at4, o4odd)));
        }
        // The sums are kept row by row (the empty asm stops the compiler
        // from regrouping them), so that the 16 registers hold them without
        // spilling.
        __asm__("" : "+x"(even), "+x"(odd));
        for (int k = 1; k <= 3; k += 2) {
            const Shifted a = shifted(rows[k]);
            even = add(even, add(add(mad(a.at0, n0), mad(a.at2, n2)), mad(a.at4, n4)));
            odd = add(odd, add(add(mad(a.at0, n0odd), mad(a.at2, n2odd)), mad(a.at4, n4odd)));
            __asm__("" : "+x"(even), "+x"(odd));
        }
        {
            const Shifted a = shifted(rows[2]);
            even = add(even, add(add(mad(a.at0, c0), mad(a.at2, c2)), mad(a.at4, c4)));
            odd = add(odd, add(add(mad(a.at0, c0odd), mad(a.at2, c2odd)), mad(a.at4, c4odd)));
        }
        // A negative sum stays negative after the shift and packus makes it
        // 0, as the clamp after the division does; above 255 it saturates.
        const __m256i packed = _mm256_packus_epi16(_mm256_srai_epi16(even, 5), _mm256_srai_epi16(odd, 5));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x), _mm256_shuffle_epi8(packed, interleave));
    };
    uint32_t x = 0;
    for (; x + 32 <= count; x += 32)
        vector(x);
    if (x < count)
        vector(count - 32);
}

void Raw(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().raw[kWidthByteToByte];
    // Only the identity is worth a vector here: it is a copy.
    if (r.step != 1 || r.bytes == nullptr || !r.bytes->valid || !r.bytes->identity[0] || r.count < 32) {
        portable(r);
        return;
    }
    const auto vector = [&](uint32_t x) { Store(r.out[0] + x, Load(r.rows[0] + x)); };
    uint32_t x = 0;
    for (; x + 32 <= r.count; x += 32)
        vector(x);
    if (x < r.count)
        vector(r.count - 32);
}


// A deep mosaic copied through the red table: a rescale computed 16 words at
// a time, to bytes in 16-bit lanes, to words in 32-bit ones. A vector that
// holds a word beyond the rescale's range, and the row's last words, go to
// the portable function.
template <int kWidth>
void RawWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().raw[kWidth];
    const DemosaicByteTables* t = r.bytes;
    const bool computed = r.step == 1 && t != nullptr &&
                          (kWidth == kWidthWordToByte ? t->narrow[0] : t->rescale[0] && t->limit[0] <= 0xFFFF);
    if (!computed || r.count < 16) {
        portable(r);
        return;
    }
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(t->limit[0]));
    const __m256i mul16 = _mm256_set1_epi16(static_cast<short>(t->mul16));
    const __m256i add16 = _mm256_set1_epi16(static_cast<short>(t->add16));
    const __m128i shift16 = _mm_cvtsi32_si128(t->shift16);
    const __m256i mul = _mm256_set1_epi32(static_cast<int>(t->mul[0]));
    const __m256i add = _mm256_set1_epi32(static_cast<int>(t->add[0]));
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(t->shift[0]));
    const unsigned char* const in = r.rows[0];
    unsigned char* const out = r.out[0];
    DemosaicRowArgs part = r;
    uint32_t x = 0;
    for (; x + 16 <= r.count; x += 16) {
        const __m256i words = Load(in + 2 * x);
        const __m256i within = _mm256_cmpeq_epi16(_mm256_max_epu16(words, limit), limit);
        if (_mm256_movemask_epi8(within) == -1) {
            if (kWidth == kWidthWordToByte) {
                const __m256i scaled =
                    _mm256_srl_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(words, mul16), add16), shift16);
                const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(scaled, scaled), 0x08);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm256_castsi256_si128(bytes));
            } else {
                const auto scale = [&](__m128i half) {
                    const __m256i v = _mm256_cvtepu16_epi32(half);
                    return _mm256_srl_epi32(_mm256_add_epi32(_mm256_mullo_epi32(v, mul), add), shift);
                };
                const __m256i low = scale(_mm256_castsi256_si128(words));
                const __m256i high = scale(_mm256_extracti128_si256(words, 1));
                // Entries up to the table's own maximum fit unsigned words.
                Store(out + 2 * x, _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8));
            }
            continue;
        }
        part.rows[0] = in + 2 * x;
        part.out[0] = out + (kWidth == kWidthWordToByte ? 1 : 2) * x;
        part.count = 16;
        portable(part);
    }
    if (x < r.count) {
        part.rows[0] = in + 2 * x;
        part.out[0] = out + (kWidth == kWidthWordToByte ? 1 : 2) * x;
        part.count = r.count - x;
        portable(part);
    }
}

// Colour balance, 16 cells of a pair of rows at a time in 16-bit lanes: the
// sums of 256 vectors fit before they are widened. The last cells of a row
// go to the portable function. Rows of fewer than 32 cells take this way.
template <int kRed, int kGreen1, int kGreen2, int kBlue>
void BalanceNarrow(const unsigned char* top, const unsigned char* bottom, uint32_t cells, DemosaicBalanceSums* sums)
{
    __m256i low = _mm256_set1_epi16(0x00FF);
    Opaque(low);
    const __m256i below = _mm256_set1_epi16(20);
    const __m256i above = _mm256_set1_epi16(250);
    const __m256i ones = _mm256_set1_epi16(1);
    const uint32_t whole = cells & ~15u;
    uint64_t red = 0, green = 0, blue = 0, count = 0;
    uint32_t c = 0;
    while (c < whole) {
        __m256i r16 = _mm256_setzero_si256(), g16 = r16, b16 = r16, n16 = r16;
        const uint32_t stop = whole - c > 256 * 16 ? c + 256 * 16 : whole;
        for (; c < stop; c += 16) {
            const __m256i t = Load(top + 2 * c);
            const __m256i b = Load(bottom + 2 * c);
            const __m256i site[4] = {_mm256_and_si256(t, low), _mm256_srli_epi16(t, 8), _mm256_and_si256(b, low),
                                     _mm256_srli_epi16(b, 8)};
            const __m256i r = site[kRed];
            const __m256i g = _mm256_srli_epi16(_mm256_add_epi16(site[kGreen1], site[kGreen2]), 1);
            const __m256i bl = site[kBlue];
            // All-ones lanes where the least and the greatest of the three
            // lie in 21..249 (values under 256: signed compares will do).
            const __m256i least = _mm256_min_epi16(_mm256_min_epi16(r, g), bl);
            const __m256i most = _mm256_max_epi16(_mm256_max_epi16(r, g), bl);
            const __m256i usable =
                _mm256_and_si256(_mm256_cmpgt_epi16(least, below), _mm256_cmpgt_epi16(above, most));
            r16 = _mm256_add_epi16(r16, _mm256_and_si256(r, usable));
            g16 = _mm256_add_epi16(g16, _mm256_and_si256(g, usable));
            b16 = _mm256_add_epi16(b16, _mm256_and_si256(bl, usable));
            n16 = _mm256_sub_epi16(n16, usable);
        }
        alignas(32) uint32_t lanes[4][8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[0]), _mm256_madd_epi16(r16, ones));
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[1]), _mm256_madd_epi16(g16, ones));
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[2]), _mm256_madd_epi16(b16, ones));
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[3]), _mm256_madd_epi16(n16, ones));
        for (int j = 0; j < 8; ++j) {
            red += lanes[0][j];
            green += lanes[1][j];
            blue += lanes[2][j];
            count += lanes[3][j];
        }
    }
    sums->red += red;
    sums->green += green;
    sums->blue += blue;
    sums->count += count;
    if (whole < cells) {
        const DemosaicBalanceFn portable =
            DemosaicRows::Portable().balance[kRed == 0 ? kCellRG : kRed == 1 ? kCellGR : kCellGB];
        portable(top + 2 * whole, bottom + 2 * whole, cells - whole, sums);
    }
}


// Colour balance, 32 cells at a time as bytes: each row's 64 bytes are
// split into its even and its odd sites, so that one byte lane holds one
// cell's site in each of four vectors. Sums do not depend on the order of
// the cells, so the split may leave them in any order the same for all
// four. The floor of the green mean is the rounded-up byte average less the
// low bit of the two greens' difference. Adding 6 to a value, wrapping,
// takes 21..249 to 27..255 and every other value below 27: a cell is usable
// when the least of its three shifted values is 27 or more. vpsadbw sums the
// usable bytes into 64-bit lanes, which no row can overflow. The last vector
// ends at the row's last cell, its cells already counted masked out.
template <int kRed, int kGreen1, int kGreen2, int kBlue>
void Balance(const unsigned char* top, const unsigned char* bottom, uint32_t cells, DemosaicBalanceSums* sums)
{
    if (cells < 32) {
        BalanceNarrow<kRed, kGreen1, kGreen2, kBlue>(top, bottom, cells, sums);
        return;
    }
    // Per 128-bit lane: the eight even bytes, then the eight odd ones.
    const __m256i split =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15));
    // The cell each byte of the split vectors holds: from the first 16 cells,
    // lanes of 8 in the low halves, from the next 16 in the high ones.
    const __m256i cellOf = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23, 8, 9, 10, 11, 12,
                                            13, 14, 15, 24, 25, 26, 27, 28, 29, 30, 31);
    const __m256i six = _mm256_set1_epi8(6);
    const __m256i least = _mm256_set1_epi8(27);
    const __m256i one = _mm256_set1_epi8(1);
    const __m256i zero = _mm256_setzero_si256();
    __m256i red = zero, green = zero, blue = zero;
    uint64_t count = 0;
    const auto vector = [&](uint32_t c, __m256i keep) __attribute__((always_inline)) {
        const __m256i t0 = _mm256_shuffle_epi8(Load(top + 2 * c), split);
        const __m256i t1 = _mm256_shuffle_epi8(Load(top + 2 * c + 32), split);
        const __m256i b0 = _mm256_shuffle_epi8(Load(bottom + 2 * c), split);
        const __m256i b1 = _mm256_shuffle_epi8(Load(bottom + 2 * c + 32), split);
        const __m256i site[4] = {_mm256_unpacklo_epi64(t0, t1), _mm256_unpackhi_epi64(t0, t1),
                                 _mm256_unpacklo_epi64(b0, b1), _mm256_unpackhi_epi64(b0, b1)};
        const __m256i r = site[kRed];
        const __m256i g1 = site[kGreen1], g2 = site[kGreen2];
        const __m256i g = _mm256_sub_epi8(_mm256_avg_epu8(g1, g2), _mm256_and_si256(_mm256_xor_si256(g1, g2), one));
        const __m256i bl = site[kBlue];
        const __m256i low = _mm256_min_epu8(
            _mm256_min_epu8(_mm256_add_epi8(r, six), _mm256_add_epi8(g, six)), _mm256_add_epi8(bl, six));
        const __m256i usable = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_max_epu8(low, least), low), keep);
        red = _mm256_add_epi64(red, _mm256_sad_epu8(_mm256_and_si256(r, usable), zero));
        green = _mm256_add_epi64(green, _mm256_sad_epu8(_mm256_and_si256(g, usable), zero));
        blue = _mm256_add_epi64(blue, _mm256_sad_epu8(_mm256_and_si256(bl, usable), zero));
        count += static_cast<uint32_t>(__builtin_popcount(static_cast<uint32_t>(_mm256_movemask_epi8(usable))));
    };
    const __m256i all = _mm256_set1_epi8(-1);
    uint32_t c = 0;
    for (; c + 32 <= cells; c += 32)
        vector(c, all);
    if (c < cells) {
        // Cells from cells - 32 on; those before c were counted.
        const uint32_t from = cells - 32;
        vector(from, _mm256_cmpgt_epi8(cellOf, _mm256_set1_epi8(static_cast<char>(c - from - 1))));
    }
    alignas(32) uint64_t lanes[3][4];
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[0]), red);
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[1]), green);
    _mm256_store_si256(reinterpret_cast<__m256i*>(lanes[2]), blue);
    sums->red += lanes[0][0] + lanes[0][1] + lanes[0][2] + lanes[0][3];
    sums->green += lanes[1][0] + lanes[1][1] + lanes[1][2] + lanes[1][3];
    sums->blue += lanes[2][0] + lanes[2][1] + lanes[2][2] + lanes[2][3];
    sums->count += count;
}


// ---- 16-bit sources: 10- and 12-bit mosaics, 8 pairs at a time ------------
// As in the AVX-512 file: verified rescale tables are computed for vectors
// whose indices lie within the source depth, anything else is gathered, and
// a vector holding a table's last index is looked up entry by entry so that
// no gather reads past a table.

const uint32_t kWordPairs = 8;

inline __m256i Gather(const uint16_t* table, __m256i index)
{
    const __m256i last = _mm256_set1_epi32(0xFFFF);
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(index, last)) == 0)
        return _mm256_and_si256(
            _mm256_mask_i32gather_epi32(_mm256_setzero_si256(), reinterpret_cast<const int*>(table), index,
                                        _mm256_set1_epi32(-1), 2),
            last);
    alignas(32) uint32_t v[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(v), index);
    for (int j = 0; j < 8; ++j)
        v[j] = table[v[j]];
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(v));
}

struct DeepTables {
    const uint16_t* lut[3];
    bool rescale[3];
    __m256i mul[3], add[3], limit[3];
    __m128i shift[3];
    // Every table a rescale to 8 bits, in 16-bit lanes.
    bool narrow;
    __m256i mul16, add16;
    __m128i shift16;
    __m128i order;  // bytes of even pixels, then odd ones, four by four, to pixel order

    explicit DeepTables(const DemosaicRowArgs& r)
    {
        narrow = r.bytes != nullptr && r.bytes->narrow[0] && r.bytes->narrow[1] && r.bytes->narrow[2];
        mul16 = _mm256_set1_epi16(static_cast<short>(narrow ? r.bytes->mul16 : 0));
        add16 = _mm256_set1_epi16(static_cast<short>(narrow ? r.bytes->add16 : 0));
        shift16 = _mm_cvtsi32_si128(narrow ? r.bytes->shift16 : 0);
        order = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
        same = r.bytes != nullptr && r.bytes->same;
        for (int k = 0; k < 3; ++k) {
            lut[k] = r.lut[k];
            rescale[k] = r.bytes != nullptr && r.bytes->rescale[k];
            mul[k] = _mm256_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->mul[k]) : 0);
            add[k] = _mm256_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->add[k]) : 0);
            limit[k] = _mm256_set1_epi32(rescale[k] ? static_cast<int>(r.bytes->limit[k]) : 0);
            shift[k] = _mm_cvtsi32_si128(rescale[k] ? static_cast<int>(r.bytes->shift[k]) : 0);
        }
    }

    // Indices are below 2^17, so a signed comparison serves.
    __m256i operator()(int k, __m256i index) const
    {
        if (rescale[k] && _mm256_movemask_epi8(_mm256_cmpgt_epi32(index, limit[k])) == 0)
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
    DEMOSAIC_AVX2_INLINE void Entries(const __m256i (&index)[3][n], __m256i (&e)[3][n]) const
    {
        __m256i above = _mm256_setzero_si256();
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                above = _mm256_or_si256(above, _mm256_cmpgt_epi32(index[k][j], limit[k]));
        if (!_mm256_testz_si256(above, above)) {
            LookedUp(index, e);
            return;
        }
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                e[k][j] = same ? index[k][j] : Rescale(k, index[k][j]);
    }

    template <int n>
    __attribute__((noinline)) void LookedUp(const __m256i (&index)[3][n], __m256i (&e)[3][n]) const
    {
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < n; ++j)
                e[k][j] = (*this)(k, index[k][j]);
    }

    // With `narrow`: the bytes of n = 2 entries a pair per table, in pixel
    // order, computed when every index is within range. False, with nothing
    // written, for a vector that holds an index beyond it.
    DEMOSAIC_AVX2_INLINE bool Bytes(const __m256i (&index)[3][2], __m128i (&c)[3]) const
    {
        __m256i above = _mm256_setzero_si256();
        for (int k = 0; k < 3; ++k)
            for (int j = 0; j < 2; ++j)
                above = _mm256_or_si256(above, _mm256_cmpgt_epi32(index[k][j], limit[k]));
        if (!_mm256_testz_si256(above, above))
            return false;
        for (int k = 0; k < 3; ++k) {
            // Per 128-bit lane: the even pixels' indices of four pairs, then
            // the odd ones', each below 2^16.
            const __m256i words = _mm256_packus_epi32(index[k][0], index[k][1]);
            const __m256i scaled =
                _mm256_srl_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(words, mul16), add16), shift16);
            const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(scaled, scaled), 0x08);
            c[k] = _mm_shuffle_epi8(_mm256_castsi256_si128(bytes), order);
        }
        return true;
    }

    DEMOSAIC_AVX2_INLINE __m256i Rescale(int k, __m256i index) const
    {
        return _mm256_srl_epi32(_mm256_add_epi32(_mm256_mullo_epi32(index, mul[k]), add[k]), shift[k]);
    }
};

// Byte shuffles for 8 pixels of three 16-bit samples per 128-bit lane.
struct WordInterleave {
    __m256i masks[3][3];

    WordInterleave()
    {
        for (int v = 0; v < 3; ++v) {
            for (int c = 0; c < 3; ++c) {
                alignas(32) uint8_t m[32];
                for (int j = 0; j < 16; ++j) {
                    const int n = 16 * v + j;
                    const int element = n / 2;
                    m[j] = m[j + 16] = static_cast<uint8_t>(element % 3 == c ? 2 * (element / 3) + n % 2 : 0x80);
                }
                masks[v][c] = _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
            }
        }
    }
};

const WordInterleave& WordPattern()
{
    static const WordInterleave pattern;
    return pattern;
}

// 16 pixels of 8-bit samples, each channel's in pixel order.
template <int kLayout>
DEMOSAIC_AVX2_INLINE void PutBytes(const Outs& o, std::ptrdiff_t x, const __m128i (&c)[3], const Interleave& il)
{
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o.out[k] + x), c[k]);
        return;
    }
    const __m128i ch[3] = {kLayout == kLayoutRGB ? c[0] : c[2], c[1], kLayout == kLayoutRGB ? c[2] : c[0]};
    unsigned char* out = o.out[0] + 3 * x;
    for (int v = 0; v < 3; ++v) {
        __m128i part = _mm_setzero_si128();
        for (int k = 0; k < 3; ++k)
            part = _mm_or_si128(part, _mm_shuffle_epi8(ch[k], _mm256_castsi256_si128(il.masks[v][k])));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16 * v), part);
    }
}

// 16 pixels from pairs of table entries.
template <int kLayout, int kWidth>
DEMOSAIC_AVX2_INLINE void PutPairs(const Outs& o, std::ptrdiff_t x, const __m256i (&e)[3][2], const Interleave& il,
                                   const WordInterleave& wl)
{
    if (kWidth == kWidthWordToByte) {
        const __m256i low = _mm256_set1_epi32(0xFF);
        __m128i c[3];
        for (int k = 0; k < 3; ++k) {
            const __m256i pairs =
                _mm256_or_si256(_mm256_and_si256(e[k][0], low), _mm256_slli_epi32(_mm256_and_si256(e[k][1], low), 8));
            // Eight 16-bit pairs of bytes, in order.
            const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(pairs, pairs), 0x08);
            c[k] = _mm256_castsi256_si128(packed);
        }
        PutBytes<kLayout>(o, x, c, il);
        return;
    }
    __m256i c[3];
    for (int k = 0; k < 3; ++k)
        c[k] = _mm256_or_si256(e[k][0], _mm256_slli_epi32(e[k][1], 16));
    if (kLayout == kLayoutPlanar) {
        for (int k = 0; k < 3; ++k)
            Store(o.out[k] + 2 * x, c[k]);
        return;
    }
    const __m256i ch[3] = {kLayout == kLayoutRGB ? c[0] : c[2], c[1], kLayout == kLayoutRGB ? c[2] : c[0]};
    __m256i lanes[3];
    for (int v = 0; v < 3; ++v)
        lanes[v] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(ch[0], wl.masks[v][0]),
                                                   _mm256_shuffle_epi8(ch[1], wl.masks[v][1])),
                                   _mm256_shuffle_epi8(ch[2], wl.masks[v][2]));
    // Low lanes hold pixels 0 to 7, high lanes 8 to 15.
    unsigned char* out = o.out[0] + 6 * x;
    Store(out, _mm256_permute2x128_si256(lanes[0], lanes[1], 0x20));
    Store(out + 32, _mm256_permute2x128_si256(lanes[2], lanes[0], 0x30));
    Store(out + 64, _mm256_permute2x128_si256(lanes[1], lanes[2], 0x31));
}

template <int kLayout, int kWidth>
void NearestWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().nearest[kLayout][kWidth];
    if (r.step != 1 || r.count < 1 + kWordPairs) {
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
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const __m256i rgBefore = Load(rg + 2 * (c - 1));  // rg[c-1], rg[c]
        const __m256i rgAt = Load(rg + 2 * c);            // rg[c], rg[c+1]
        const __m256i gbBefore = Load(gb + 2 * (c - 1));  // gb[c-1], gb[c]
        const __m256i gbAt = Load(gb + 2 * c);            // gb[c], gb[c+1]
        const __m256i green = _mm256_and_si256(gbAt, low);
        const __m256i red = _mm256_and_si256(rgAt, low);
        const __m256i index[3][2] = {
            {red, red},
            {_mm256_srli_epi32(_mm256_add_epi32(_mm256_and_si256(rgBefore, low), green), 1),
             _mm256_srli_epi32(_mm256_add_epi32(green, _mm256_srli_epi32(rgAt, 16)), 1)},
            {_mm256_and_si256(gbBefore, low), _mm256_srli_epi32(gbAt, 16)},
        };
        __m128i bytes[3];
        if (kWidth == kWidthWordToByte && lut.narrow && lut.Bytes(index, bytes)) {
            PutBytes<kLayout>(outs, c, bytes, il);
            return;
        }
        const __m256i redEntries = lut(0, red);
        const __m256i e[3][2] = {
            {redEntries, redEntries},
            {lut(1, index[1][0]), lut(1, index[1][1])},
            {lut(2, index[2][0]), lut(2, index[2][1])},
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
    if (r.step != 1 || r.count < 1 + kWordPairs) {
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
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    const bool redRow = (r.phase & 1) != 0;
    const bool computed = lut.AllRescale();
    const auto vector = [&](uint32_t p) __attribute__((always_inline)) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        const __m256i aL = Load(a + 2 * (i - 1)), aH = Load(a + 2 * (i + 1));
        const __m256i bL = Load(b + 2 * (i - 1)), bH = Load(b + 2 * (i + 1));
        const __m256i cL = Load(c + 2 * (i - 1)), cH = Load(c + 2 * (i + 1));
        const __m256i am = _mm256_and_si256(aL, low), a0 = _mm256_srli_epi32(aL, 16);
        const __m256i a1 = _mm256_and_si256(aH, low), a2 = _mm256_srli_epi32(aH, 16);
        const __m256i bm = _mm256_and_si256(bL, low), b0 = _mm256_srli_epi32(bL, 16);
        const __m256i b1 = _mm256_and_si256(bH, low), b2 = _mm256_srli_epi32(bH, 16);
        const __m256i cm = _mm256_and_si256(cL, low), c0 = _mm256_srli_epi32(cL, 16);
        const __m256i c1 = _mm256_and_si256(cH, low), c2 = _mm256_srli_epi32(cH, 16);
        const __m256i acm = _mm256_add_epi32(am, cm);
        const __m256i ac0 = _mm256_add_epi32(a0, c0);
        const __m256i ac1 = _mm256_add_epi32(a1, c1);
        const __m256i ac2 = _mm256_add_epi32(a2, c2);
        __m256i index[3][2];
        if (redRow) {
            index[0][0] = b0;
            index[1][0] = _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(bm, b1), ac0), 2);
            index[2][0] = _mm256_srli_epi32(_mm256_add_epi32(acm, ac1), 2);
            index[0][1] = _mm256_srli_epi32(_mm256_add_epi32(b0, b2), 1);
            index[1][1] = _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(ac0, ac2), _mm256_slli_epi32(b1, 2)), 3);
            index[2][1] = _mm256_srli_epi32(ac1, 1);
        } else {
            index[0][0] = _mm256_srli_epi32(ac0, 1);
            index[1][0] = _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(acm, ac1), _mm256_slli_epi32(b0, 2)), 3);
            index[2][0] = _mm256_srli_epi32(_mm256_add_epi32(bm, b1), 1);
            index[0][1] = _mm256_srli_epi32(_mm256_add_epi32(ac0, ac2), 2);
            index[1][1] = _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(b0, b2), ac1), 2);
            index[2][1] = b1;
        }
        __m128i bytes[3];
        if (kWidth == kWidthWordToByte && lut.narrow && lut.Bytes(index, bytes)) {
            PutBytes<kLayout>(outs, i, bytes, il);
            return;
        }
        __m256i e[3][2];
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


// ---- 5x5 taps: 8 outputs at a time in 32-bit lanes ------------------------
// As in the AVX-512 file: a power-of-two divisor as a biased shift.

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

// One row of the 5x5 brightness from a deep mosaic, 8 outputs at a time
// with the 5x5 taps: the division by 32 and the clamp to 0..255 are the same.
template <int kWidth>
void MonoWords(const DemosaicRowArgs& r)
{
    const DemosaicRowFn portable = DemosaicRows::Portable().mono[kWidth];
    Taps taps;
    taps.Set(BayerToMonoKernel, BayerToMonoKernelDiv);
    if (r.step != 1 || r.count < 8 || taps.log2 < 0) {
        portable(r);
        return;
    }
    const unsigned char* const window[5] = {r.rows[0], r.rows[1], r.rows[2], r.rows[3], r.rows[4]};
    unsigned char* const out = r.out[0];
    const __m256i top = _mm256_set1_epi32(255);
    const auto vector = [&](uint32_t x) {
        const __m256i v = _mm256_min_epi32(_mm256_max_epi32(taps.Sum<WORD>(window, x), _mm256_setzero_si256()), top);
        const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(v, v), 0x08);
        if (kWidth == kWidthWordToWord)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * x), _mm256_castsi256_si128(words));
        else
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + x),
                             _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_castsi256_si128(words)));
    };
    uint32_t x = 0;
    for (; x + 8 <= r.count; x += 8)
        vector(x);
    if (x < r.count)
        vector(r.count - 8);
}

}  // namespace demosaic_avx2

void DemosaicRowsAvx2(DemosaicRowSet* set)
{
    using namespace demosaic_avx2;
    set->nearest[kLayoutRGB][kWidthByteToByte] = Nearest<kLayoutRGB>;
    set->nearest[kLayoutBGR][kWidthByteToByte] = Nearest<kLayoutBGR>;
    set->nearest[kLayoutPlanar][kWidthByteToByte] = Nearest<kLayoutPlanar>;
    set->bilinear[kLayoutRGB][kWidthByteToByte] = Bilinear<kLayoutRGB>;
    set->bilinear[kLayoutBGR][kWidthByteToByte] = Bilinear<kLayoutBGR>;
    set->bilinear[kLayoutPlanar][kWidthByteToByte] = Bilinear<kLayoutPlanar>;
    set->bilinearTwo[kLayoutRGB] = BilinearTwo<kLayoutRGB>;
    set->bilinearTwo[kLayoutBGR] = BilinearTwo<kLayoutBGR>;
    set->raw[kWidthByteToByte] = Raw;
    set->raw[kWidthWordToByte] = RawWords<kWidthWordToByte>;
    set->raw[kWidthWordToWord] = RawWords<kWidthWordToWord>;
    set->mono[kWidthByteToByte] = MonoWide;
    set->balance[kCellRG] = Balance<0, 1, 2, 3>;
    set->balance[kCellGR] = Balance<1, 0, 3, 2>;
    set->balance[kCellGB] = Balance<2, 0, 3, 1>;
    set->mono[kWidthWordToByte] = MonoWords<kWidthWordToByte>;
    set->mono[kWidthWordToWord] = MonoWords<kWidthWordToWord>;
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
}
