// libyuv as a yardstick for the converters it has a counterpart for, single
// threaded, on the same frames. Its arithmetic differs from the plug-in's
// (other grey weights, other YUV matrix, a shift where the plug-in has a
// table): the figures compare speed only. Built in when CMake finds libyuv.
#ifdef KV_BENCH_HAVE_LIBYUV
#include <libyuv.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "KorvaPixelFormats.h"
#include "bench_common.h"

namespace bench {
namespace {

enum class Op { RawToJ400, RawToArgb, UyvyToRaw, Words12To8, Words16To8 };

struct YuvCase {
    const char* name;  // sorts next to the plug-in case it answers
    int source;
    int destination;
    Op op;
};

const YuvCase kCases[] = {
    // RAW is libyuv's R, G, B byte order; its ARGB is B, G, R, A in memory.
    {"RGB8_PACKED_to_MONO8/libyuv/RAWToJ400/", KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8, Op::RawToJ400},
    {"RGB8_PACKED_to_BGRA8_PACKED/libyuv/RAWToARGB/", KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED,
     Op::RawToArgb},
    {"YUV422_PACKED_to_RGB8_PACKED/libyuv/UYVYToARGB+ARGBToRAW/", KORVA_PIXTYPE_YUV422_PACKED,
     KORVA_PIXTYPE_RGB8_PACKED, Op::UyvyToRaw},
    {"MONO12_to_MONO8/libyuv/Convert16To8Plane/", KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO8, Op::Words12To8},
    {"MONO16_to_MONO8/libyuv/Convert16To8Plane/", KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8, Op::Words16To8},
};

void RunLibyuv(benchmark::State& state, const YuvCase& c, const FrameSize& size)
{
    const Format& src = FormatOf(c.source);
    const Format& dst = FormatOf(c.destination);
    const int w = size.width, h = size.height;
    const int srcPitch = static_cast<int>(src.bytesPerPixel * w);
    const int dstPitch = static_cast<int>(dst.bytesPerPixel * w);
    std::vector<unsigned char> in(FrameBytes(src, size));
    std::vector<unsigned char> out(FrameBytes(dst, size));
    std::vector<unsigned char> argbRow(static_cast<std::size_t>(4 * w));
    FillRandom(src, in.data(), in.size());
    const uint8_t* s = in.data();
    uint8_t* d = out.data();
    const uint16_t* words = reinterpret_cast<const uint16_t*>(s);
    for (auto _ : state) {
        switch (c.op) {
        case Op::RawToJ400:
            libyuv::RAWToJ400(s, srcPitch, d, dstPitch, w, h);
            break;
        case Op::RawToArgb:
            libyuv::RAWToARGB(s, srcPitch, d, dstPitch, w, h);
            break;
        case Op::UyvyToRaw:
            // Row by row through a cached ARGB row, as a host would do it.
            for (int y = 0; y < h; ++y) {
                libyuv::UYVYToARGB(s + y * srcPitch, srcPitch, argbRow.data(), 4 * w, w, 1);
                libyuv::ARGBToRAW(argbRow.data(), 4 * w, d + y * dstPitch, dstPitch, w, 1);
            }
            break;
        case Op::Words12To8:
            libyuv::Convert16To8Plane(words, w, d, dstPitch, 4096, w, h);  // scale 16384 is 10 bits
            break;
        case Op::Words16To8:
            libyuv::Convert16To8Plane(words, w, d, dstPitch, 256, w, h);
            break;
        }
        benchmark::ClobberMemory();
    }
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           1);
}

const bool kRegistered = [] {
    for (const YuvCase& c : kCases)
        for (const FrameSize& size : FrameSizes())
            Configure(benchmark::RegisterBenchmark((c.name + SizeName(size)).c_str(), RunLibyuv, c, size));
    return true;
}();

}  // namespace
}  // namespace bench
#endif
