// The converters' rows without the driver: the row each converter picks for
// a format pair, at every instruction level this CPU has, run over the rows
// of a frame. Shows what a kernel does apart from the addressing around it.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "ImgProcConvMono.h"
#include "ImgProcConvRGB.h"
#include "ImgProcConvYUV.h"
#include "KorvaPixelFormats.h"
#include "KvCpu.h"
#include "bench_common.h"

namespace bench {
namespace {

typedef std::function<void(const unsigned char* src, unsigned char* dst, int32_t width)> Row;

// Tables as the plug-in builds them with gain 1 and gamma 1.
struct Tables {
    std::vector<uint16_t> t[3];
    const uint16_t* p[3];
    sConvLutShape shape;
    Tables(int srcBits, int dstBits)
    {
        const int srcMax = srcBits <= 8 ? 255 : (1 << srcBits) - 1;
        const int dstMax = dstBits <= 8 ? 255 : (1 << dstBits) - 1;
        for (int c = 0; c < 3; ++c) {
            t[c].assign(65536, 0);
            for (int i = 0; i <= srcMax; ++i)
                t[c][i] = static_cast<uint16_t>(static_cast<int>(static_cast<double>(i) / srcMax * dstMax + 0.5));
            p[c] = t[c].data();
        }
        shape = ConvLutShapeOf(p, srcMax);
    }
};

struct RowCase {
    int source, destination;
    int srcBits;
    std::function<Row(KvCpuLevel, const Tables&)> pick;
};

Row Mono(int s, int d, int bits, double factor, KvCpuLevel level, const Tables& t)
{
    sMonoRow row;
    PickMonoRow(s, d, bits, 8, factor, 1, t.p[0], t.shape, level, &row);
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

Row Rgb(int s, int d, int bits, KvCpuLevel level, const Tables& t)
{
    sRgbRow row;
    PickRgbRow(s, d, bits, 8, 1, t.p, t.shape, 0, level, &row);
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

Row Yuv(int s, int d, KvCpuLevel level, const Tables& t)
{
    sYuvRow row;
    PickYuvRow(s, d, 1, t.p[0], t.shape, level, &row);
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

std::vector<RowCase> Cases()
{
    typedef KvCpuLevel L;
    std::vector<RowCase> c;
    c.push_back({KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO8, 12, [](L l, const Tables& t) {
                     return Mono(KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO8, 12, 1.5, l, t);
                 }});
    c.push_back({KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO8, 10, [](L l, const Tables& t) {
                     return Mono(KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO8, 10, 1.5, l, t);
                 }});
    c.push_back({KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO8, 12, [](L l, const Tables& t) {
                     return Mono(KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO8, 12, 2.0, l, t);
                 }});
    c.push_back({KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8, 16, [](L l, const Tables& t) {
                     return Mono(KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8, 16, 2.0, l, t);
                 }});
    c.push_back({KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8, 8, [](L l, const Tables& t) {
                     return Rgb(KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8, 8, l, t);
                 }});
    for (int d : {KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_BGR8_PACKED})
        c.push_back({KORVA_PIXTYPE_RGB8_PACKED, d, 8,
                     [d](L l, const Tables& t) { return Rgb(KORVA_PIXTYPE_RGB8_PACKED, d, 8, l, t); }});
    c.push_back({KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_RGB8_PACKED, 8, [](L l, const Tables& t) {
                     return Rgb(KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_RGB8_PACKED, 8, l, t);
                 }});
    for (int d : {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED})
        c.push_back({KORVA_PIXTYPE_RGB12_PACKED, d, 12,
                     [d](L l, const Tables& t) { return Rgb(KORVA_PIXTYPE_RGB12_PACKED, d, 12, l, t); }});
    for (int d : {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED})
        c.push_back({KORVA_PIXTYPE_YUV422_PACKED, d, 8,
                     [d](L l, const Tables& t) { return Yuv(KORVA_PIXTYPE_YUV422_PACKED, d, l, t); }});
    for (int d : {KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED})
        c.push_back({KORVA_PIXTYPE_YUV411_PACKED, d, 8,
                     [d](L l, const Tables& t) { return Yuv(KORVA_PIXTYPE_YUV411_PACKED, d, l, t); }});
    c.push_back({KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_RGBA8_PACKED, 8, [](L l, const Tables& t) {
                     return Yuv(KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_RGBA8_PACKED, l, t);
                 }});
    return c;
}

void RunRows(benchmark::State& state, const RowCase& c, KvCpuLevel level, const FrameSize& size)
{
    const Format& src = FormatOf(c.source);
    const Format& dst = FormatOf(c.destination);
    const Tables tables(c.srcBits, 8);
    const Row row = c.pick(level, tables);
    const std::size_t srcPitch = static_cast<std::size_t>(src.bytesPerPixel * size.width);
    const std::size_t dstPitch = static_cast<std::size_t>(dst.bytesPerPixel * size.width);
    // A row's worth of slack: the 4:2:2 loop reads and writes whole blocks.
    std::vector<unsigned char> in(srcPitch * size.height + srcPitch + 64);
    std::vector<unsigned char> out(dstPitch * size.height + dstPitch + 64);
    FillRandom(src, in.data(), in.size());
    for (auto _ : state) {
        for (int y = 0; y < size.height; ++y)
            row(in.data() + y * srcPitch, out.data() + y * dstPitch, size.width);
        benchmark::ClobberMemory();
    }
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           1);
}

const bool kRegistered = [] {
    for (const RowCase& c : Cases()) {
        for (KvCpuLevel level : {KvCpuLevel::Baseline, KvCpuLevel::Avx2, KvCpuLevel::Avx512}) {
            if (static_cast<int>(level) > static_cast<int>(KvCpuSupported()))
                continue;
            for (const FrameSize& size : FrameSizes()) {
                if (size.width < 1920)
                    continue;
                const std::string name = std::string("rows/") + FormatOf(c.source).name + "_to_" +
                                         FormatOf(c.destination).name + "/" + KvCpuLevelName(level) + "/" +
                                         SizeName(size);
                Configure(benchmark::RegisterBenchmark(name.c_str(), RunRows, c, level, size));
            }
        }
    }
    return true;
}();

}  // namespace
}  // namespace bench
