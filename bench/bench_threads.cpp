// Scaling over threads: the plug-in starts no threads of its own, so a host
// that wants more throughput converts several frames at once, each thread
// with its own image objects. MP/s here is the sum over all threads per
// second of wall time.
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "bench_common.h"
#include "ikvimage.h"

namespace bench {
namespace {

const FrameSize kScalingSize = {1920, 1200};

void RunThreaded(benchmark::State& state)
{
    const FrameSize size = kScalingSize;
    const Format& src = FormatOf(KORVA_PIXTYPE_BAYRG8);
    const Format& dst = FormatOf(KORVA_PIXTYPE_RGB8_PACKED);
    ImageHandle source;
    if (!source || !LoadFrame(source.get(), src, size) || source->setDemosaic(KORVA_DEMOSAIC_NEAREST) != RESULT_OK) {
        state.SkipWithError("could not set up the source image object");
        return;
    }
    source->setDestinationPixelFormat(dst.code);
    int length = 0;
    source->getTransformBufferLength(&length);
    length = std::max(length, static_cast<int>(FrameBytes(dst, size)));
    std::vector<unsigned char> target(static_cast<std::size_t>(length) + Slack(size, dst.bytesPerPixel));
    const int targetLength = static_cast<int>(target.size());

    int rc = source->doTransform(target.data(), targetLength);
    for (auto _ : state) {
        rc = source->doTransform(target.data(), targetLength);
        benchmark::DoNotOptimize(rc);
        benchmark::ClobberMemory();
    }
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           rc);
}

}  // namespace

void RegisterThreadBenchmarks()
{
    std::vector<int> counts = {1, 2, static_cast<int>(std::thread::hardware_concurrency())};
    std::sort(counts.begin(), counts.end());
    counts.erase(std::unique(counts.begin(), counts.end()), counts.end());
    const std::string name = "BAYRG8_to_RGB8_PACKED/nearest/doTransform_threads/" + SizeName(kScalingSize);
    auto* b = Configure(benchmark::RegisterBenchmark(name.c_str(), RunThreaded));
    for (int n : counts)
        if (n >= 1)
            b->Threads(n);
    b->UseRealTime();
}

}  // namespace bench
