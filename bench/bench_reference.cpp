// Yardsticks measured in the same run as the plug-in: memcpy as the physical
// limit of a pass over the frame and, when OpenCV is at hand, its
// single-threaded versions of the same conversions on the same frames.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "KorvaPixelFormats.h"
#include "bench_common.h"

#ifdef KV_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace bench {
namespace {

// A conversion can not beat copying the larger of its two images, so memcpy
// runs once for each bytes-a-pixel figure that some case has as that larger
// side. Bytes processed count read plus written, like the conversions.
const double kCopyBytesPerPixel[] = {1.0, 1.5, 2.0, 3.0, 4.0, 6.0};

void RunMemcpy(benchmark::State& state, double bytesPerPixel, const FrameSize& size)
{
    const std::size_t bytes = static_cast<std::size_t>(static_cast<double>(size.width) * bytesPerPixel * size.height);
    std::vector<unsigned char> source(bytes);
    std::vector<unsigned char> target(bytes);
    FillRandom(FormatOf(KORVA_PIXTYPE_MONO8), source.data(), bytes);
    std::memcpy(target.data(), source.data(), bytes);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::ClobberMemory();
    }
    Report(state, size, bytes, bytes, bytesPerPixel, 1);
}

std::string BytesName(double bytesPerPixel)
{
    char text[32];
    std::snprintf(text, sizeof text, "%gB_per_px", bytesPerPixel);
    return text;
}

#ifdef KV_BENCH_HAVE_OPENCV
struct CvCase {
    const char* name;  // sorts next to the plug-in case it answers
    int source;
    int destination;
    int code;
    int sourceType;
};

// OpenCV names a mosaic from its second row and column: the RGGB layout of
// BAYRG8 is its "BayerBG". The phase does not change the cost; matching it
// keeps the outputs comparable.
const CvCase kCvCases[] = {
    {"BAYRG8_to_BGR8_PACKED/opencv_bilinear/cv_cvtColor/", KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BGR8_PACKED,
     cv::COLOR_BayerBG2BGR, CV_8UC1},
    {"BAYRG8_to_BGR8_PACKED/opencv_edge_aware/cv_cvtColor/", KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BGR8_PACKED,
     cv::COLOR_BayerBG2BGR_EA, CV_8UC1},
    // The plug-in's 4:2:2 order is U Y V Y.
    {"YUV422_PACKED_to_RGB8_PACKED/opencv/cv_cvtColor/", KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_RGB8_PACKED,
     cv::COLOR_YUV2RGB_UYVY, CV_8UC2},
    {"RGB8_PACKED_to_MONO8/opencv/cv_cvtColor/", KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8, cv::COLOR_RGB2GRAY,
     CV_8UC3},
};

void RunOpenCv(benchmark::State& state, const CvCase& c, const FrameSize& size)
{
    const Format& src = FormatOf(c.source);
    const Format& dst = FormatOf(c.destination);
    cv::Mat source(size.height, size.width, c.sourceType);
    FillRandom(src, source.data, FrameBytes(src, size));
    cv::Mat target;
    cv::cvtColor(source, target, c.code);  // allocates the target once, untimed
    for (auto _ : state) {
        cv::cvtColor(source, target, c.code);
        benchmark::ClobberMemory();
    }
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           1);
}
#endif

}  // namespace

void RegisterReferenceBenchmarks()
{
    for (double bpp : kCopyBytesPerPixel)
        for (const FrameSize& size : FrameSizes())
            Configure(benchmark::RegisterBenchmark(("memcpy/" + BytesName(bpp) + "/" + SizeName(size)).c_str(),
                                                   RunMemcpy, bpp, size));
#ifdef KV_BENCH_HAVE_OPENCV
    // The plug-in runs on the caller's thread; compare like with like.
    cv::setNumThreads(1);
    for (const CvCase& c : kCvCases)
        for (const FrameSize& size : FrameSizes())
            Configure(benchmark::RegisterBenchmark((c.name + SizeName(size)).c_str(), RunOpenCv, c, size));
#endif
}

}  // namespace bench
