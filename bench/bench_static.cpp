// The 5x5 demosaic. setDemosaic refuses it on purpose, so no host can reach
// it through IKVImage; these cases build the image object from the static
// library and select the method on its converter directly. The name says
// "static_CImgProc" so nobody mistakes it for an interface path.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ImgProc.h"
#include "bench_common.h"

namespace bench {
namespace {

void RunHq(benchmark::State& state, int source, int destination, const FrameSize& size)
{
    // About 400 KB of tables and converters: heap, not stack.
    std::unique_ptr<CImgProc> image(new CImgProc);
    const Format& src = FormatOf(source);
    const Format& dst = FormatOf(destination);
    if (!LoadFrame(image.get(), src, size) || image->setDestinationPixelFormat(destination) != RESULT_OK ||
        !image->mConvDemosaic.SetType(static_cast<KORVA_Demosaic>(3))) {
        state.SkipWithError("could not set up the image object");
        return;
    }
    int length = 0;
    image->getTransformBufferLength(&length);
    length = std::max(length, static_cast<int>(FrameBytes(dst, size)));
    std::vector<unsigned char> target(static_cast<std::size_t>(length) + Slack(size, dst.bytesPerPixel));
    const int targetLength = static_cast<int>(target.size());

    int rc = image->doTransform(target.data(), targetLength);
    for (auto _ : state) {
        rc = image->doTransform(target.data(), targetLength);
        benchmark::DoNotOptimize(rc);
        benchmark::ClobberMemory();
    }
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           rc);
}

}  // namespace

void RegisterStaticBenchmarks()
{
    // 8-bit mosaics into each layout, and a deep one into 8- and 16-bit samples.
    const int pairs[][2] = {{KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED},
                            {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BGR8_PACKED},
                            {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PLANAR},
                            {KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB8_PACKED},
                            {KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB12_PLANAR}};
    for (const auto& pair : pairs) {
        for (const FrameSize& size : FrameSizes()) {
            const std::string name = std::string(FormatOf(pair[0]).name) + "_to_" + FormatOf(pair[1]).name +
                                     "/hq5x5/static_CImgProc_doTransform/" + SizeName(size);
            Configure(benchmark::RegisterBenchmark(name.c_str(), RunHq, pair[0], pair[1], size));
        }
    }
}

}  // namespace bench
