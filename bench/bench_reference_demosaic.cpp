// OpenCV yardsticks of the demosaic cases that bench_reference.cpp lacks:
// the mosaic to grey, and a 16-bit mosaic to colour. Registered when the
// program starts, so they run before the cases that main lists.
#ifdef KV_BENCH_HAVE_OPENCV
#include <algorithm>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "KorvaPixelFormats.h"
#include "bench_common.h"

namespace bench {
namespace {

struct CvMosaicCase {
    const char* name;  // sorts next to the plug-in case it answers
    int source;
    int destination;   // the plug-in's destination, for the bytes it moves
    int code;
    int sourceType;
    int outputBytesPerPixel;
};

// OpenCV's "BayerBG" is the RGGB layout of BAYRG. Its 16-bit colour output is
// 48 bits a pixel, so it answers both the 8-bit and the deep destinations of
// a 12-bit mosaic.
const CvMosaicCase kCases[] = {
    {"BAYRG8_to_MONO8/opencv/cv_cvtColor_BayerBG2GRAY/", KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_MONO8,
     cv::COLOR_BayerBG2GRAY, CV_8UC1, 1},
    {"BAYRG12_to_RGB8_PACKED/opencv_bilinear/cv_cvtColor_BayerBG2BGR_16bit/", KORVA_PIXTYPE_BAYRG12,
     KORVA_PIXTYPE_RGB8_PACKED, cv::COLOR_BayerBG2BGR, CV_16UC1, 6},
    {"BAYRG12_to_RGB12_PLANAR/opencv_bilinear/cv_cvtColor_BayerBG2BGR_16bit/", KORVA_PIXTYPE_BAYRG12,
     KORVA_PIXTYPE_RGB12_PLANAR, cv::COLOR_BayerBG2BGR, CV_16UC1, 6},
};

void RunMosaic(benchmark::State& state, const CvMosaicCase& c, const FrameSize& size)
{
    cv::setNumThreads(1);  // the plug-in runs on the caller's thread
    const Format& src = FormatOf(c.source);
    cv::Mat source(size.height, size.width, c.sourceType);
    FillRandom(src, source.data, FrameBytes(src, size));
    cv::Mat target;
    cv::cvtColor(source, target, c.code);  // allocates the target once, untimed
    for (auto _ : state) {
        cv::cvtColor(source, target, c.code);
        benchmark::ClobberMemory();
    }
    const std::size_t written = static_cast<std::size_t>(size.width) * size.height * c.outputBytesPerPixel;
    Report(state, size, FrameBytes(src, size), written,
           std::max(src.bytesPerPixel, static_cast<double>(c.outputBytesPerPixel)), 1);
}

struct Registrar {
    Registrar()
    {
        for (const CvMosaicCase& c : kCases)
            for (const FrameSize& size : FrameSizes())
                Configure(benchmark::RegisterBenchmark((c.name + SizeName(size)).c_str(), RunMosaic, c, size));
    }
} gRegistrar;

}  // namespace
}  // namespace bench
#endif
