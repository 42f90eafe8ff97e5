// The demosaic row functions alone, without the image object and the row
// loop around them: one pass over a frame's rows per iteration, at each
// instruction level this CPU runs. Registered when the program starts.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "DemosaicRows.h"
#include "KorvaPixelFormats.h"
#include "bench_common.h"

namespace bench {
namespace {

// kRowsBilinearTwo: two rows a call, where a level has a function for it.
enum RowMethod { kRowsNearest, kRowsBilinear, kRowsBilinearTwo, kRowsMono, kRowsHq };

struct RowCase {
    const char* pair;  // "<source>_to_<destination>", as the interface cases name it
    const char* method;
    RowMethod kind;
    int layout;
    bool balance;  // tables with gains other than 1
};

const RowCase kCases[] = {
    {"BAYRG8_to_BGR8_PACKED", "nearest", kRowsNearest, kLayoutBGR, false},
    {"BAYRG8_to_RGB8_PACKED", "nearest_balance_1.4_1.0_1.8", kRowsNearest, kLayoutRGB, true},
    {"BAYRG8_to_BGR8_PACKED", "bilinear", kRowsBilinear, kLayoutBGR, false},
    {"BAYRG8_to_BGR8_PACKED", "bilinear_balance_1.4_1.0_1.8", kRowsBilinear, kLayoutBGR, true},
    {"BAYRG8_to_BGR8_PACKED", "bilinear_two_rows", kRowsBilinearTwo, kLayoutBGR, false},
    {"BAYRG8_to_BGR8_PACKED", "bilinear_two_rows_balance_1.4_1.0_1.8", kRowsBilinearTwo, kLayoutBGR, true},
    {"BAYRG8_to_RGB8_PLANAR", "bilinear", kRowsBilinear, kLayoutPlanar, false},
    {"BAYRG8_to_MONO8", "to_mono", kRowsMono, kLayoutPlanar, false},
    {"BAYRG8_to_BGR8_PACKED", "hq5x5", kRowsHq, kLayoutBGR, false},
};

void RunRows(benchmark::State& state, const RowCase& c, KvCpuLevel level, const FrameSize& size)
{
    const std::size_t w = static_cast<std::size_t>(size.width);
    const std::size_t h = static_cast<std::size_t>(size.height);
    // One spare sample in front, and rows below the frame for the windows.
    std::vector<unsigned char> mosaic(1 + w * (h + 4));
    FillRandom(FormatOf(KORVA_PIXTYPE_BAYRG8), mosaic.data(), mosaic.size());
    const unsigned char* const frame = mosaic.data() + 1;
    const bool planar = c.layout == kLayoutPlanar;
    const std::size_t outPixel = c.kind == kRowsMono || planar ? 1 : 3;
    std::vector<unsigned char> out(w * h * (planar && c.kind != kRowsMono ? 3 : outPixel) + 64);

    std::vector<uint16_t> tables(3 * 65536);
    const double gains[3] = {c.balance ? 1.4 : 1.0, 1.0, c.balance ? 1.8 : 1.0};
    for (int t = 0; t < 3; ++t)
        for (int i = 0; i < 256; ++i)
            tables[65536 * t + i] = static_cast<uint16_t>(std::min(255, static_cast<int>(i * gains[t])));
    DemosaicByteTables bytes;
    DemosaicRows::FillByteTables(tables.data(), tables.data() + 65536, tables.data() + 131072, &bytes);

    const DemosaicRowSet& set = DemosaicRows::For(level);
    const DemosaicRowFn fn = c.kind == kRowsNearest    ? set.nearest[c.layout][kWidthByteToByte]
                             : c.kind == kRowsBilinear || c.kind == kRowsBilinearTwo
                                 ? set.bilinear[c.layout][kWidthByteToByte]
                             : c.kind == kRowsHq       ? set.hq[c.layout][kWidthByteToByte]
                                                       : set.mono[kWidthByteToByte];
    DemosaicRowArgs args = {};
    args.step = 1;
    args.bytes = &bytes;
    for (int t = 0; t < 3; ++t)
        args.lut[t] = tables.data() + 65536 * t;
    const std::size_t plane = w * h;
    for (auto _ : state) {
        for (std::size_t y = 0; y < h; ++y) {
            const unsigned char* row = frame + y * w;
            unsigned char* dst = out.data() + y * w * outPixel;
            switch (c.kind) {
            case kRowsNearest:
                args.rows[0] = row;
                args.rows[1] = row + w;
                args.count = static_cast<uint32_t>(w / 2);
                break;
            case kRowsBilinear:
            case kRowsBilinearTwo:
                for (int k = 0; k < 3; ++k) {
                    args.rows[k] = row + k * w;
                    args.carry[k] = row[k * w - 1];
                }
                args.phase = static_cast<int32_t>(y & 1);
                args.count = static_cast<uint32_t>((w - 3) / 2 + 1);
                dst += outPixel;
                break;
            case kRowsMono:
                for (int k = 0; k < 5; ++k)
                    args.rows[k] = row + k * w;
                args.count = static_cast<uint32_t>(w - 4);
                break;
            case kRowsHq:
                for (int k = 0; k < 5; ++k)
                    args.rows[k] = row + k * w;
                args.phase = static_cast<int32_t>(y & 1);
                args.count = static_cast<uint32_t>(w - 7);
                dst += 2 * outPixel;
                break;
            }
            args.out[0] = dst;
            args.out[1] = dst + plane;
            args.out[2] = dst + 2 * plane;
            if (c.kind == kRowsBilinearTwo && y + 1 < h) {
                DemosaicRowArgs below = args;
                for (int k = 0; k < 3; ++k) {
                    below.rows[k] += w;
                    below.carry[k] = below.rows[k][-1];
                }
                below.phase ^= 1;
                below.out[0] += w * outPixel;
                set.bilinearTwo[c.layout](args, below);
                ++y;
                continue;
            }
            fn(args);
        }
        benchmark::ClobberMemory();
    }
    const std::size_t written = w * h * (c.kind == kRowsMono ? 1 : 3);
    Report(state, size, w * h, written, c.kind == kRowsMono ? 1.0 : 3.0, 1);
}

struct Registrar {
    Registrar()
    {
        for (const RowCase& c : kCases) {
            for (int l = 0; l <= static_cast<int>(KvCpuSupported()); ++l) {
                const KvCpuLevel level = static_cast<KvCpuLevel>(l);
                if (c.kind == kRowsBilinearTwo && DemosaicRows::For(level).bilinearTwo[c.layout] == nullptr)
                    continue;
                for (const FrameSize& size : FrameSizes()) {
                    if (size.width < 1920)
                        continue;  // the row functions' cost shows at camera sizes
                    const std::string name = std::string(c.pair) + "/rows_" + c.method + "_" +
                                             KvCpuLevelName(level) + "/DemosaicRows/" + SizeName(size);
                    Configure(benchmark::RegisterBenchmark(name.c_str(), RunRows, c, level, size));
                }
            }
        }
    }
} gRegistrar;

}  // namespace
}  // namespace bench
