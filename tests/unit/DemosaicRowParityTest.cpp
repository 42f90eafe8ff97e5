// Every demosaic row function of every instruction level this CPU runs gives
// the portable function's bytes, and writes nothing the portable one leaves
// alone: random rows of every width up to three vectors and more, both row
// parities, full 16-bit words in deep rows, random and identity tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "DemosaicRows.h"

namespace {

typedef std::vector<unsigned char> Bytes;

const int kGuard = 80;
const uint32_t kMaxCount = 3 * 64 + 3;  // three AVX-512 vectors of pixels, plus three
// Then a few long rows, beyond the chunks some functions work in.
const uint32_t kLongCounts[] = {511, 512, 513, 1029, 1570};
const uint32_t kRuns = 2 * (kMaxCount + sizeof kLongCounts / sizeof kLongCounts[0]);

enum Method { kNearest, kBilinear, kHq, kRaw, kMono };

struct Slot {
    Method method;
    int layout;  // kLayoutRGB, kLayoutBGR, kLayoutPlanar; raw and mono: planar-like single output
    int width;
};

DemosaicRowFn Pick(const DemosaicRowSet& set, const Slot& s)
{
    switch (s.method) {
    case kNearest:
        return set.nearest[s.layout][s.width];
    case kBilinear:
        return set.bilinear[s.layout][s.width];
    case kHq:
        return set.hq[s.layout][s.width];
    case kRaw:
        return set.raw[s.width];
    default:
        return set.mono[s.width];
    }
}

// Pixels a call writes and source samples it reads past its start.
uint32_t Pixels(const Slot& s, uint32_t count)
{
    return s.method == kNearest || s.method == kBilinear ? 2 * count : count;
}

uint32_t Reach(const Slot& s, uint32_t count)
{
    switch (s.method) {
    case kNearest:
        return 2 * count;
    case kBilinear:
        return 2 * count + 1;
    case kRaw:
        return count;
    default:
        return count + 4;
    }
}

// Runs one function on copies of the same guarded outputs.
struct Outputs {
    Bytes out[3];

    Outputs(const DemosaicRowFn fn, DemosaicRowArgs args, const Slot& s, uint32_t pixels, std::mt19937& seedless)
    {
        const int sample = s.width == kWidthWordToWord ? 2 : 1;
        const bool planar = s.layout == kLayoutPlanar || s.method == kRaw || s.method == kMono;
        const size_t bytes = static_cast<size_t>(pixels) * sample * (planar ? 1 : 3) + 2 * kGuard;
        std::mt19937 fill(seedless);  // the same guard pattern for every run
        for (int k = 0; k < (planar && s.method != kRaw && s.method != kMono ? 3 : 1); ++k) {
            out[k].resize(bytes);
            for (unsigned char& b : out[k])
                b = static_cast<unsigned char>(fill());
            args.out[k] = out[k].data() + kGuard;
        }
        fn(args);
    }
};

// Two rows of 8-bit packed bilinear pixels in one guarded buffer, the second
// `gap` bytes after the first (so overlapping where that is less than a
// row): by `two` in one call, or by `one` one row after the other.
Bytes TwoRows(DemosaicTwoRowFn two, DemosaicRowFn one, DemosaicRowArgs first, DemosaicRowArgs second, size_t gap,
              uint32_t seed)
{
    Bytes out(gap + 6 * first.count + 2 * kGuard);
    std::mt19937 fill(seed);
    for (unsigned char& b : out)
        b = static_cast<unsigned char>(fill());
    first.out[0] = out.data() + kGuard;
    second.out[0] = first.out[0] + gap;
    if (two != nullptr) {
        two(first, second);
    } else {
        one(first);
        one(second);
    }
    return out;
}

std::string Name(const Slot& s)
{
    static const char* const methods[] = {"nearest", "bilinear", "5x5", "raw", "mono"};
    static const char* const layouts[] = {"rgb", "bgr", "planar"};
    static const char* const widths[] = {"8->8", "16->8", "16->16"};
    return std::string(methods[s.method]) + " " + layouts[s.layout] + " " + widths[s.width];
}

TEST(DemosaicRowParity, EveryLevelGivesThePortableBytes)
{
    // Without the kernels' shapes the fast 5x5 rows would silently go unused.
    EXPECT_TRUE(DemosaicRows::HqKernelsShared());
    std::vector<Slot> slots;
    for (Method m : {kNearest, kBilinear, kHq})
        for (int layout = 0; layout < 3; ++layout)
            for (int width = 0; width < 3; ++width)
                slots.push_back({m, layout, width});
    for (Method m : {kRaw, kMono})
        for (int width = 0; width < 3; ++width)
            slots.push_back({m, kLayoutPlanar, width});

    // Tables as deep as a 16-bit word can index: samples are never masked.
    std::mt19937 rng(1234);
    // The rescale from 12 to 8 bits as the tables are built, with leftovers
    // above 4095.
    // Colour balance gains on 8 bits as the tables are built, one of them
    // with a table that no gain gives.
    // The usual balance, green 1, with the marked gain on blue this time.
    // A marked gain on green too, with another shift than red's and blue's.
    std::vector<uint16_t> random(3 * 65536), identity(3 * 65536), rescale(3 * 65536), gains(3 * 65536),
        balance(3 * 65536), greens(3 * 65536);
    const double gain[3] = {1.4, 0.7, 1.8};
    const double usual[3] = {1.8, 1.0, 1.4};
    const double green[3] = {1.3, 0.7, 1.8};
    const auto gainTable = [&random](std::vector<uint16_t>& t, const double* g) {
        for (size_t i = 0; i < t.size(); ++i) {
            const int v = static_cast<int>(static_cast<double>(i % 65536) * g[i / 65536]);
            t[i] = i % 65536 <= 255 ? static_cast<uint16_t>(v > 255 ? 255 : v) : random[i];
        }
    };
    for (size_t i = 0; i < random.size(); ++i) {
        random[i] = static_cast<uint16_t>(rng());
        identity[i] = static_cast<uint16_t>(i % 65536);
        rescale[i] = i % 65536 <= 4095 ? static_cast<uint16_t>(static_cast<double>(i % 65536) / 4095 * 255 + 0.5)
                                      : random[i];
    }
    gainTable(gains, gain);
    gainTable(balance, usual);
    gainTable(greens, green);
    gains[65536 + 77] = 0;

    const DemosaicRowSet& portable = DemosaicRows::Portable();
    const KvCpuLevel best = KvCpuSupported();
    // One record for all tables, as a converter keeps it from frame to frame.
    DemosaicByteTables bytes;
    for (int level = static_cast<int>(KvCpuLevel::Avx2); level <= static_cast<int>(best); ++level) {
        const DemosaicRowSet& fast = DemosaicRows::For(static_cast<KvCpuLevel>(level));
        for (const Slot& s : slots) {
            const DemosaicRowFn fn = Pick(fast, s);
            const DemosaicRowFn ref = Pick(portable, s);
            if (fn == ref)
                continue;
            const bool words = s.width != kWidthByteToByte;
            for (const std::vector<uint16_t>* tables : {&random, &identity, &rescale, &gains, &balance, &greens}) {
                // The 5x5 methods use no table.
                if ((s.method == kHq || s.method == kMono) && tables != &random)
                    continue;
                const uint16_t* t = tables->data();
                DemosaicRows::FillByteTables(t, t + 65536, t + 131072, &bytes);
                // 12 bits into 8 or into 12 (the identity, verified up to 4095
                // and beyond it too); the other tables are no rescale.
                if (tables == &rescale)
                    DemosaicRows::FillRescale(t, t + 65536, t + 131072, 4095, 255, &bytes);
                else
                    DemosaicRows::FillRescale(t, t + 65536, t + 131072, 4095, 4095, &bytes);
                if (tables == &identity || tables == &rescale) {
                    EXPECT_TRUE(bytes.rescale[0] && bytes.rescale[1] && bytes.rescale[2]);
                    EXPECT_EQ(bytes.narrow[0] && bytes.narrow[1] && bytes.narrow[2], tables == &rescale);
                    EXPECT_EQ(bytes.same, tables == &identity);
                }
                if (tables == &gains) {
                    EXPECT_TRUE(bytes.gained[0] && !bytes.gained[1] && bytes.gained[2]);
                }
                if (tables == &balance) {
                    EXPECT_TRUE(bytes.gained[0] && !bytes.fixed[0] && bytes.identity[1] && bytes.fixed[2]);
                }
                if (tables == &greens) {
                    EXPECT_TRUE(bytes.gained[0] && bytes.fixed[1] && bytes.gained[2]);
                    EXPECT_NE(bytes.gainShift[0], bytes.gainShift[1]);
                }
                for (uint32_t run = 0; run < kRuns; ++run) {
                    const uint32_t count = run / 2 < kMaxCount ? run / 2 + 1 : kLongCounts[run / 2 - kMaxCount];
                    const int phase = static_cast<int>(run & 1);
                    // Rows exactly as long as the portable loop reads, so that a
                    // sanitizer sees any read beyond them.
                    const size_t samples = Reach(s, count);
                    std::vector<Bytes> rows(5, Bytes(samples * (words ? 2 : 1)));
                    DemosaicRowArgs args = {};
                    // Half the runs keep deep words within 12 bits, as a
                    // camera's are, so that whole vectors stay within a table's
                    // computed range.
                    const bool inDepth = (rng() & 1) != 0;
                    for (int k = 0; k < 5; ++k) {
                        for (unsigned char& b : rows[k])
                            b = static_cast<unsigned char>(rng());
                        for (size_t i = 1; words && inDepth && i < rows[k].size(); i += 2)
                            rows[k][i] &= 0x0F;
                        // The largest word, a table's last index, now and then.
                        for (size_t i = 0; words && i + 1 < rows[k].size(); i += 2)
                            if (rng() % 61 == 0)
                                rows[k][i] = rows[k][i + 1] = 0xFF;
                        args.rows[k] = rows[k].data();
                    }
                    args.step = 1;
                    args.count = count;
                    args.carry[0] = rng() & 0xFFFF;
                    args.carry[1] = rng() & (words ? 0xFFFF : 0xFF);
                    args.carry[2] = rng() & (words ? 0xFFFF : 0xFF);
                    if (s.method == kBilinear)
                        args.carry[0] &= words ? 0xFFFF : 0xFF;
                    args.phase = phase;
                    const int32_t shifts[] = {0, 4, 6};  // 8, 12 and 10 bits
                    args.shift = shifts[count % 3];
                    for (int t = 0; t < 3; ++t)
                        args.lut[t] = tables->data() + 65536 * t;
                    args.bytes = &bytes;

                    std::mt19937 guard(run);
                    const Outputs want(ref, args, s, Pixels(s, count), guard);
                    const Outputs got(fn, args, s, Pixels(s, count), guard);
                    for (int k = 0; k < 3; ++k)
                        ASSERT_EQ(want.out[k], got.out[k])
                            << KvCpuLevelName(static_cast<KvCpuLevel>(level)) << " " << Name(s) << " count "
                            << count << " output " << k
                            << (tables == &random     ? " random"
                                : tables == &identity ? " identity"
                                : tables == &rescale  ? " rescale"
                                : tables == &gains    ? " gains"
                                : tables == &balance  ? " balance"
                                                      : " greens");
                    // The row below shares two rows and their carried samples.
                    const DemosaicTwoRowFn two = s.method == kBilinear && s.width == kWidthByteToByte &&
                                                         s.layout != kLayoutPlanar
                                                     ? fast.bilinearTwo[s.layout]
                                                     : nullptr;
                    if (two == nullptr)
                        continue;
                    DemosaicRowArgs below = args;
                    below.rows[0] = args.rows[1];
                    below.rows[1] = args.rows[2];
                    below.rows[2] = args.rows[3];
                    below.carry[0] = args.carry[1];
                    below.carry[1] = args.carry[2];
                    below.carry[2] = rng() & 0xFF;
                    below.phase = 1 - phase;
                    for (size_t gap : {6 * count + kGuard, 3 * count})
                        ASSERT_EQ(TwoRows(nullptr, ref, args, below, gap, run),
                                  TwoRows(two, nullptr, args, below, gap, run))
                            << KvCpuLevelName(static_cast<KvCpuLevel>(level)) << " two rows " << Name(s) << " count "
                            << count << " gap " << gap;
                }
            }
        }
    }
}

}  // namespace

namespace {

// The colour balance sums of every level equal the portable ones, for every
// cell count up to three vectors and more, with values around both ends of
// the usable range.
TEST(DemosaicRowParity, BalanceSumsMatch)
{
    std::mt19937 rng(77);
    const DemosaicRowSet& portable = DemosaicRows::Portable();
    for (int level = static_cast<int>(KvCpuLevel::Avx2); level <= static_cast<int>(KvCpuSupported()); ++level) {
        const DemosaicRowSet& fast = DemosaicRows::For(static_cast<KvCpuLevel>(level));
        for (int layout = 0; layout < 3; ++layout) {
            for (uint32_t cells = 0; cells <= 3 * 32 + 3; ++cells) {
                // Exactly the bytes the cells cover.
                Bytes top(2 * cells), bottom(2 * cells);
                for (Bytes* row : {&top, &bottom})
                    for (unsigned char& b : *row)
                        b = static_cast<unsigned char>(rng() % 3 == 0 ? rng() : 10 + rng() % 250);
                DemosaicBalanceSums want = {1, 2, 3, 4}, got = want;
                portable.balance[layout](top.data(), bottom.data(), cells, &want);
                fast.balance[layout](top.data(), bottom.data(), cells, &got);
                ASSERT_TRUE(want.red == got.red && want.green == got.green && want.blue == got.blue &&
                            want.count == got.count)
                    << KvCpuLevelName(static_cast<KvCpuLevel>(level)) << " layout " << layout << " cells " << cells;
            }
        }
    }
}

}  // namespace
