#include "DemosaicRows.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

#include "DemosaicKernels.h"
#include "ImgProcConvDemosaic_HQBL.inl"
#include "ImgProcConvRows.h"
#include "PixelTypes.h"
#include "SampleIO.h"

namespace {

// Where the three samples of output pixel k go.
template <typename P>
struct PackedOut {
    P* pixels;
    std::ptrdiff_t step;
    explicit PackedOut(const DemosaicRowArgs& r) : pixels(reinterpret_cast<P*>(r.out[0])), step(r.step) {}
    void operator()(std::ptrdiff_t k, uint32_t red, uint32_t green, uint32_t blue) const
    {
        SampleIO::Put(pixels[k * step], red, green, blue);
    }
};

template <typename T>
struct PlanarOut {
    T* red;
    T* green;
    T* blue;
    std::ptrdiff_t step;
    explicit PlanarOut(const DemosaicRowArgs& r)
        : red(reinterpret_cast<T*>(r.out[0])),
          green(reinterpret_cast<T*>(r.out[1])),
          blue(reinterpret_cast<T*>(r.out[2])),
          step(r.step)
    {
    }
    void operator()(std::ptrdiff_t k, uint32_t r, uint32_t g, uint32_t b) const
    {
        SampleIO::Store(red + k * step, r);
        SampleIO::Store(green + k * step, g);
        SampleIO::Store(blue + k * step, b);
    }
};

// Nearest neighbour: red of the pair's own site for both pixels, blue one
// pixel behind, green the mean of two diagonal greens.
template <typename S, typename Out>
void NearestRow(const DemosaicRowArgs& r)
{
    const S* const rg = reinterpret_cast<const S*>(r.rows[0]);
    const S* const gb = reinterpret_cast<const S*>(r.rows[1]);
    const uint16_t* const lutRed = r.lut[0];
    const uint16_t* const lutGreen = r.lut[1];
    const uint16_t* const lutBlue = r.lut[2];
    const Out out(r);
    uint32_t previousBlue = r.carry[0];   // a finished table entry
    uint32_t previousGreen = r.carry[1];  // a raw sample
    for (uint32_t p = 0; p < r.count; ++p) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const uint32_t red = lutRed[SampleIO::Load(rg + c)];
        const uint32_t green0 = SampleIO::Load(gb + c);
        const uint32_t green1 = SampleIO::Load(rg + c + 1);
        const uint32_t blue = lutBlue[SampleIO::Load(gb + c + 1)];
        out(c, red, lutGreen[(previousGreen + green0) >> 1], previousBlue);
        out(c + 1, red, lutGreen[(green0 + green1) >> 1], blue);
        previousBlue = blue;
        previousGreen = green1;
    }
}

// Bilinear: a, b, c are the rows above, at and below the centre; the column
// left of each pair is carried from the pair before.
template <bool kRedRow, typename S, typename Out>
void BilinearPairs(const DemosaicRowArgs& r)
{
    const S* const a = reinterpret_cast<const S*>(r.rows[0]);
    const S* const b = reinterpret_cast<const S*>(r.rows[1]);
    const S* const c = reinterpret_cast<const S*>(r.rows[2]);
    const uint16_t* const tr = r.lut[0];
    const uint16_t* const tg = r.lut[1];
    const uint16_t* const tb = r.lut[2];
    const Out out(r);
    uint32_t aLeft = r.carry[0];
    uint32_t bLeft = r.carry[1];
    uint32_t cLeft = r.carry[2];
    for (uint32_t p = 0; p < r.count; ++p) {
        const std::ptrdiff_t i = 2 * static_cast<std::ptrdiff_t>(p);
        const uint32_t a0 = SampleIO::Load(a + i), a1 = SampleIO::Load(a + i + 1), a2 = SampleIO::Load(a + i + 2);
        const uint32_t b0 = SampleIO::Load(b + i), b1 = SampleIO::Load(b + i + 1), b2 = SampleIO::Load(b + i + 2);
        const uint32_t c0 = SampleIO::Load(c + i), c1 = SampleIO::Load(c + i + 1), c2 = SampleIO::Load(c + i + 2);
        if (kRedRow) {
            out(i, tr[b0], tg[(bLeft + b1 + a0 + c0) >> 2], tb[(aLeft + a1 + cLeft + c1) >> 2]);
            out(i + 1, tr[(b0 + b2) >> 1], tg[(a0 + a2 + c0 + c2 + 4 * b1) >> 3], tb[(a1 + c1) >> 1]);
        } else {
            out(i, tr[(a0 + c0) >> 1], tg[(aLeft + a1 + cLeft + c1 + 4 * b0) >> 3], tb[(bLeft + b1) >> 1]);
            out(i + 1, tr[(a0 + a2 + c0 + c2) >> 2], tg[(b0 + b2 + a1 + c1) >> 2], tb[b1]);
        }
        aLeft = a1;
        bLeft = b1;
        cLeft = c1;
    }
}

template <typename S, typename Out>
void BilinearRow(const DemosaicRowArgs& r)
{
    if (r.phase & 1)
        BilinearPairs<true, S, Out>(r);
    else
        BilinearPairs<false, S, Out>(r);
}

// The non-zero taps of one 5x5 kernel, dropped once per row so that the
// samples under zero taps are never read.
template <typename S>
struct Kernel {
    const S* taps[25];
    int32_t weights[25];
    int32_t count;
    int32_t divisor;

    void Set(const int32_t* kernel, int32_t div, const S* const* window)
    {
        count = 0;
        for (int k = 0; k < 5; ++k) {
            for (int j = 0; j < 5; ++j) {
                const int32_t w = kernel[5 * k + j];
                if (w != 0) {
                    taps[count] = window[k] + j;
                    weights[count] = w;
                    ++count;
                }
            }
        }
        divisor = div;
    }

    // Sum, truncating division, arithmetic shift, then the 0..255 clamp that
    // applies whatever the destination's width.
    int32_t Apply(std::ptrdiff_t i, int shift) const
    {
        int32_t sum = 0;
        for (int32_t t = 0; t < count; ++t)
            sum += weights[t] * static_cast<int32_t>(SampleIO::Load(taps[t] + i));
        int32_t v = (sum / divisor) >> shift;
        if (v < 0)
            v = 0;
        else if (v >= 256)
            v = 255;
        return v;
    }
};

template <typename S, typename Out>
void HqRow(const DemosaicRowArgs& r)
{
    const S* window[5];
    for (int k = 0; k < 5; ++k)
        window[k] = reinterpret_cast<const S*>(r.rows[k]);
    // Green, red and blue kernels for both column parities. The red phase
    // of the source does not enter: all four phases share this table.
    Kernel<S> green[2], red[2], blue[2];
    if (r.phase == 0) {
        green[0].Set(GreenAtNotGreen, GreenAtNotGreenDiv, window);
        red[0].Set(RedAtRed, RedAtRedDiv, window);
        blue[0].Set(BlueAtRedInRed, BlueAtRedInRedDiv, window);
        green[1].Set(GreenAtGreen, GreenAtGreenDiv, window);
        red[1].Set(RedAtGreenInRed, RedAtGreenInRedDiv, window);
        blue[1].Set(BlueAtGreenInRed, BlueAtGreenInRedDiv, window);
    } else {
        green[0].Set(GreenAtGreen, GreenAtGreenDiv, window);
        red[0].Set(RedAtGreenInBlue, RedAtGreenInBlueDiv, window);
        blue[0].Set(BlueAtGreenInBlue, BlueAtGreenInBlueDiv, window);
        green[1].Set(GreenAtNotGreen, GreenAtNotGreenDiv, window);
        red[1].Set(RedAtBlue, RedAtBlueDiv, window);
        blue[1].Set(BlueAtBlue, BlueAtBlueDiv, window);
    }
    const Out out(r);
    for (uint32_t i = 0; i < r.count; ++i) {
        const int c = i & 1;
        const int32_t g = green[c].Apply(i, r.shift);
        const int32_t rd = red[c].Apply(i, r.shift);
        const int32_t b = blue[c].Apply(i, r.shift);
        out(i, static_cast<uint32_t>(rd), static_cast<uint32_t>(g), static_cast<uint32_t>(b));
    }
}

// The mosaic through the red table, site by site.
template <typename S, typename T>
void RawRow(const DemosaicRowArgs& r)
{
    const S* const in = reinterpret_cast<const S*>(r.rows[0]);
    T* const out = reinterpret_cast<T*>(r.out[0]);
    const uint16_t* const lut = r.lut[0];
    for (uint32_t x = 0; x < r.count; ++x)
        SampleIO::Store(out + x * r.step, lut[SampleIO::Load(in + x)]);
}

// One row of the 5x5 brightness kernel; every site class weighs 8 of 32.
template <typename S, typename T>
void MonoRow(const DemosaicRowArgs& r)
{
    const int32_t* const kernel = BayerToMonoKernel;
    T* out = reinterpret_cast<T*>(r.out[0]);
    for (uint32_t x = 0; x < r.count; ++x) {
        int32_t sum = 0;
        for (int k = 0; k < 5; ++k) {
            const S* row = reinterpret_cast<const S*>(r.rows[k]) + x;
            for (int j = 0; j < 5; ++j)
                sum += kernel[5 * k + j] * static_cast<int32_t>(SampleIO::Load(row + j));
        }
        // No shift to 8 bits first: deeper sources saturate at 255, also
        // into 16-bit destinations.
        int32_t v = sum / BayerToMonoKernelDiv;
        if (v < 0)
            v = 0;
        else if (v >= 256)
            v = 255;
        SampleIO::Store(out, static_cast<uint32_t>(v));
        out += r.step;
    }
}

// Only cells with every value in 21..249 count: dark and saturated cells
// would pull the means toward black or white.
inline bool Usable(uint32_t value)
{
    return value >= 21 && value <= 249;
}

// kRed, kGreen1, kGreen2, kBlue: sites 0 to 3 of a cell, top row first.
template <int kRed, int kGreen1, int kGreen2, int kBlue>
void BalanceRow(const unsigned char* top, const unsigned char* bottom, uint32_t cells, DemosaicBalanceSums* sums)
{
    for (uint32_t c = 0; c < cells; ++c) {
        const uint32_t p[4] = {top[2 * c], top[2 * c + 1], bottom[2 * c], bottom[2 * c + 1]};
        const uint32_t r = p[kRed];
        const uint32_t g = (p[kGreen1] + p[kGreen2]) >> 1;  // shifted, not rounded
        const uint32_t b = p[kBlue];
        if (Usable(r) && Usable(g) && Usable(b)) {
            sums->red += r;
            sums->green += g;
            sums->blue += b;
            ++sums->count;
        }
    }
}

// 16 bytes at a time where the destination is aligned to 16, plainly at
// both ends.
void StreamBytes(unsigned char* to, const unsigned char* from, size_t count)
{
    size_t head = static_cast<size_t>(-reinterpret_cast<uintptr_t>(to) & 15u);
    head = head < count ? head : count;
    std::memcpy(to, from, head);
    size_t i = head;
    for (; i + 16 <= count; i += 16)
        _mm_stream_si128(reinterpret_cast<__m128i*>(to + i), _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i)));
    std::memcpy(to + i, from + i, count - i);
}

// One method's nine paths, [layout][width].
#define KV_DEMOSAIC_PATHS(Fn)                                                                           \
    {                                                                                                   \
        {Fn<BYTE, PackedOut<tRGBPIXEL>>, Fn<WORD, PackedOut<tRGBPIXEL>>, Fn<WORD, PackedOut<tRGBPIXEL16>>}, \
            {Fn<BYTE, PackedOut<tBGRPIXEL>>, Fn<WORD, PackedOut<tBGRPIXEL>>,                            \
             Fn<WORD, PackedOut<tBGRPIXEL16>>},                                                         \
            {Fn<BYTE, PlanarOut<BYTE>>, Fn<WORD, PlanarOut<BYTE>>, Fn<WORD, PlanarOut<WORD>>},          \
    }

const DemosaicRowSet kPortable = {
    KV_DEMOSAIC_PATHS(NearestRow),
    KV_DEMOSAIC_PATHS(BilinearRow),
    KV_DEMOSAIC_PATHS(HqRow),
    {RawRow<BYTE, BYTE>, RawRow<WORD, BYTE>, RawRow<WORD, WORD>},
    {MonoRow<BYTE, BYTE>, MonoRow<WORD, BYTE>, MonoRow<WORD, WORD>},
    {BalanceRow<0, 1, 2, 3>, BalanceRow<1, 0, 3, 2>, BalanceRow<2, 0, 3, 1>},
    {nullptr, nullptr},
    StreamBytes,
};

#undef KV_DEMOSAIC_PATHS

// Null entries of a level's set take the function of the level below.
void FillGaps(DemosaicRowSet* set, const DemosaicRowSet& below)
{
    for (int l = 0; l < 3; ++l) {
        for (int w = 0; w < 3; ++w) {
            if (set->nearest[l][w] == nullptr)
                set->nearest[l][w] = below.nearest[l][w];
            if (set->bilinear[l][w] == nullptr)
                set->bilinear[l][w] = below.bilinear[l][w];
            if (set->hq[l][w] == nullptr)
                set->hq[l][w] = below.hq[l][w];
        }
        if (set->raw[l] == nullptr)
            set->raw[l] = below.raw[l];
        if (set->mono[l] == nullptr)
            set->mono[l] = below.mono[l];
        if (set->balance[l] == nullptr)
            set->balance[l] = below.balance[l];
    }
    for (int l = 0; l < 2; ++l)
        if (set->bilinearTwo[l] == nullptr)
            set->bilinearTwo[l] = below.bilinearTwo[l];
    if (set->stream == nullptr)
        set->stream = below.stream;
}

struct LevelSets {
    DemosaicRowSet avx2;
    DemosaicRowSet avx512;
    LevelSets() : avx2(), avx512()
    {
        // Only filled for a CPU that can run them; the probe is cached.
        if (KvCpuSupported() >= KvCpuLevel::Avx2) {
            DemosaicRowsAvx2(&avx2);
            DemosaicHqRowsAvx2(&avx2);
        }
        FillGaps(&avx2, kPortable);
        if (KvCpuSupported() >= KvCpuLevel::Avx512) {
            DemosaicRowsAvx512(&avx512);
            DemosaicHqRowsAvx512(&avx512);
        }
        FillGaps(&avx512, avx2);
    }
};

}  // namespace

const DemosaicRowSet& DemosaicRows::Portable()
{
    return kPortable;
}

const DemosaicRowSet& DemosaicRows::For(KvCpuLevel level)
{
    static const LevelSets sets;
    switch (level) {
    case KvCpuLevel::Avx512:
        return sets.avx512;
    case KvCpuLevel::Avx2:
        return sets.avx2;
    default:
        return kPortable;
    }
}

namespace {

// Finds gain and shift with min(255, (i * gain) >> shift) equal to bytes[i]
// or one above it for every i, preferring the finest shift, and marks the
// entries one above. Each entry bounds the gain from both sides (one at or
// near saturation from below only); the least gain of the intersection is
// taken, and the result is checked entry by entry once more.
bool FindGain(const uint8_t* bytes, uint16_t* gain, uint32_t* shift, uint8_t* fixes)
{
    if (bytes[0] != 0)
        return false;
    for (uint32_t s = 16; s >= 8; --s) {
        uint64_t lo = 0, hi = 0xFFFF;
        for (uint64_t i = 1; i < 256 && lo <= hi; ++i) {
            const uint64_t t = bytes[i];
            const uint64_t atLeast = ((t << s) + i - 1) / i;
            lo = atLeast > lo ? atLeast : lo;
            if (t + 1 < 255) {
                const uint64_t atMost = (((t + 2) << s) - 1) / i;
                hi = atMost < hi ? atMost : hi;
            }
        }
        if (lo > hi)
            continue;
        bool exact = true;
        for (uint32_t q = 0; q < 32; ++q)
            fixes[q] = 0;
        for (uint32_t i = 0; exact && i < 256; ++i) {
            uint32_t v = (i * static_cast<uint32_t>(lo)) >> s;
            v = v < 255 ? v : 255;
            if (v == bytes[i] + 1u)
                fixes[i >> 3] = static_cast<uint8_t>(fixes[i >> 3] | (1u << (i & 7)));
            else
                exact = v == bytes[i];
        }
        if (exact) {
            *gain = static_cast<uint16_t>(lo);
            *shift = s;
            return true;
        }
    }
    return false;
}

}  // namespace

void DemosaicRows::FillByteTables(const uint16_t* red, const uint16_t* green, const uint16_t* blue,
                                  DemosaicByteTables* out)
{
    const uint16_t* const tables[3] = {red, green, blue};
    for (int t = 0; t < 3; ++t) {
        bool identity = true;
        for (int i = 0; i < 256; ++i) {
            out->bytes[t][i] = static_cast<uint8_t>(tables[t][i]);
            identity = identity && out->bytes[t][i] == i;
        }
        out->identity[t] = identity;
        if (out->gainFound[t] && std::memcmp(out->gainFor[t], out->bytes[t], 256) == 0)
            continue;
        out->gain[t] = 0;
        out->gainShift[t] = 16;
        std::memset(out->fixes[t], 0, sizeof out->fixes[t]);
        out->gained[t] = !identity && FindGain(out->bytes[t], &out->gain[t], &out->gainShift[t], out->fixes[t]);
        bool fixed = false;
        for (int q = 0; q < 32; ++q)
            fixed = fixed || (out->gained[t] && out->fixes[t][q] != 0);
        out->fixed[t] = fixed;
        std::memcpy(out->gainFor[t], out->bytes[t], 256);
        out->gainFound[t] = true;
    }
    out->valid = true;
}

void DemosaicRows::FillRescale(const uint16_t* red, const uint16_t* green, const uint16_t* blue, uint32_t srcMax,
                               uint32_t dstMax, DemosaicByteTables* out)
{
    // A shift that keeps i * mul + add below 2^32 for every i up to srcMax.
    uint32_t bits = 0;
    while (bits < 32 && (dstMax >> bits) != 0)
        ++bits;
    const uint32_t shift = bits < 31 ? 31 - bits : 0;
    const uint64_t mul =
        srcMax > 0 ? ((static_cast<uint64_t>(dstMax) << (shift + 1)) + srcMax) / (2 * static_cast<uint64_t>(srcMax))
                   : 0;
    const uint32_t add = shift > 0 ? 1u << (shift - 1) : 0u;
    const uint16_t* const tables[3] = {red, green, blue};
    for (int t = 0; t < 3; ++t) {
        bool exact = srcMax > 0 && srcMax < 65535 && mul <= 0xFFFFFFFFu;
        for (uint32_t i = 0; exact && i <= srcMax; ++i)
            exact = static_cast<uint64_t>(tables[t][i]) == ((i * mul + add) >> shift) &&
                    i * mul + add <= 0xFFFFFFFFu;
        out->rescale[t] = exact;
        out->mul[t] = static_cast<uint32_t>(mul);
        out->add[t] = add;
        out->shift[t] = shift;
        out->limit[t] = srcMax;
    }
    sConvRescale form = {};
    const bool narrow = dstMax == 255 && ConvRescaleOf(static_cast<int32_t>(srcMax), &form);
    out->mul16 = form.mul;
    out->add16 = form.add;
    out->shift16 = form.shift;
    for (int t = 0; t < 3; ++t) {
        bool exact = narrow;
        for (uint32_t i = 0; exact && i <= srcMax; ++i)
            exact = tables[t][i] == ((((i * form.mul) >> 16) + form.add) >> form.shift);
        out->narrow[t] = exact;
    }
    bool same = srcMax == dstMax && srcMax <= 0xFFFF;
    for (int t = 0; t < 3; ++t)
        for (uint32_t i = 0; same && i <= srcMax; ++i)
            same = tables[t][i] == i;
    out->same = same;
}

bool DemosaicRows::HqKernelsShared()
{
    // Every kernel is symmetric about its centre. Weights of the centre, the
    // row neighbours at 1 and 2, the column neighbours at 1 and 2, the four
    // diagonal neighbours at 1 and the four corners; then the divisor.
    struct Shape {
        const int32_t* kernel;
        const int32_t* divisor;
        int32_t weights[7];
        int32_t expected;
    };
    const Shape shapes[] = {
        {GreenAtNotGreen, &GreenAtNotGreenDiv, {4, 2, -1, 2, -1, 0, 0}, 8},
        {GreenAtGreen, &GreenAtGreenDiv, {8, 0, 0, 0, 0, -1, 0}, 4},
        {RedAtGreenInRed, &RedAtGreenInRedDiv, {10, 8, -2, 0, 1, -2, 0}, 16},
        {BlueAtGreenInBlue, &BlueAtGreenInBlueDiv, {10, 8, -2, 0, 1, -2, 0}, 16},
        {RedAtGreenInBlue, &RedAtGreenInBlueDiv, {10, 0, 1, 8, -2, -2, 0}, 16},
        {BlueAtGreenInRed, &BlueAtGreenInRedDiv, {10, 0, 1, 8, -2, -2, 0}, 16},
        {RedAtBlue, &RedAtBlueDiv, {12, 0, -3, 0, -3, 4, 0}, 16},
        {BlueAtRedInRed, &BlueAtRedInRedDiv, {12, 0, -3, 0, -3, 4, 0}, 16},
        {RedAtRed, &RedAtRedDiv, {16, 0, -2, 0, -2, 0, -1}, 4},
        {BlueAtBlue, &BlueAtBlueDiv, {16, 0, -2, 0, -2, 0, -1}, 4},
    };
    for (const Shape& s : shapes) {
        const int32_t* w = s.weights;
        const int32_t want[25] = {
            w[6], 0,    w[4], 0,    w[6],  //
            0,    w[5], w[3], w[5], 0,     //
            w[2], w[1], w[0], w[1], w[2],  //
            0,    w[5], w[3], w[5], 0,     //
            w[6], 0,    w[4], 0,    w[6],
        };
        for (int k = 0; k < 25; ++k)
            if (s.kernel[k] != want[k])
                return false;
        if (*s.divisor != s.expected)
            return false;
    }
    return true;
}
