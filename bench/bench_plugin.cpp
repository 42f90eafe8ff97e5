// Conversions and measurements through IKVImage of the loaded plug-in, as a
// host application drives them frame after frame.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "bench_common.h"
#include "ikvimage.h"

namespace bench {
namespace {

enum class Path { Buffer, ImageObject };

struct ConvCase {
    int source;
    int destination;
    int demosaic;         // 0: leave the object's default; else setDemosaic value
    const char* variant;  // middle part of the name, or null
    bool balance;         // colour balance other than 1
    Path path;
};

std::string CaseName(const ConvCase& c, const FrameSize& size)
{
    std::string name = std::string(FormatOf(c.source).name) + "_to_" + FormatOf(c.destination).name + "/";
    if (c.variant != nullptr)
        name += std::string(c.variant) + "/";
    name += c.path == Path::Buffer ? "doTransform/" : "doTransformImageObject/";
    return name + SizeName(size);
}

bool Prepare(IKVImage* source, const ConvCase& c, const FrameSize& size)
{
    if (!LoadFrame(source, FormatOf(c.source), size))
        return false;
    if (c.demosaic != 0 && source->setDemosaic(static_cast<KORVA_Demosaic>(c.demosaic)) != RESULT_OK)
        return false;
    if (c.balance && source->setDemosaicColorBalance(1.4, 1.0, 1.8) != RESULT_OK)
        return false;
    return true;
}

// Object to caller buffer: the destination buffer belongs to the caller and
// gets one row plus 64 bytes of slack, because some converters write a
// little past the image.
void RunBuffer(benchmark::State& state, const ConvCase& c, const FrameSize& size)
{
    ImageHandle source;
    if (!source || !Prepare(source.get(), c, size)) {
        state.SkipWithError("could not set up the source image object");
        return;
    }
    source->setDestinationPixelFormat(c.destination);
    int length = 0;
    source->getTransformBufferLength(&length);
    const Format& dst = FormatOf(c.destination);
    length = std::max(length, static_cast<int>(FrameBytes(dst, size)));
    std::vector<unsigned char> target(static_cast<std::size_t>(length) + Slack(size, dst.bytesPerPixel));
    const int targetLength = static_cast<int>(target.size());

    int rc = source->doTransform(target.data(), targetLength);  // warm caches and tables, untimed
    for (auto _ : state) {
        rc = source->doTransform(target.data(), targetLength);
        benchmark::DoNotOptimize(rc);
        benchmark::ClobberMemory();
    }
    const Format& src = FormatOf(c.source);
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           rc);
}

// Object to object: the destination object's own buffer is allocated by the
// untimed first transform and reused by every timed one, as in a stream of
// equal frames.
void RunImageObject(benchmark::State& state, const ConvCase& c, const FrameSize& size)
{
    ImageHandle source;
    ImageHandle destination;
    if (!source || !destination || !Prepare(source.get(), c, size)) {
        state.SkipWithError("could not set up the image objects");
        return;
    }
    destination->setDestinationPixelFormat(c.destination);

    int rc = source->doTransformImageObject(destination.get());
    for (auto _ : state) {
        // A failed conversion leaves the source marked; a host sets the
        // status of every new frame, so the next one converts again.
        source->setState(KORVA_IMAGESTATE_OK);
        rc = source->doTransformImageObject(destination.get());
        benchmark::DoNotOptimize(rc);
        benchmark::ClobberMemory();
    }
    const Format& src = FormatOf(c.source);
    const Format& dst = FormatOf(c.destination);
    Report(state, size, FrameBytes(src, size), FrameBytes(dst, size), std::max(src.bytesPerPixel, dst.bytesPerPixel),
           rc);
}

void RunAverage(benchmark::State& state, const FrameSize& size)
{
    ImageHandle source;
    const Format& src = FormatOf(KORVA_PIXTYPE_BAYRG8);
    if (!source || !LoadFrame(source.get(), src, size)) {
        state.SkipWithError("could not set up the source image object");
        return;
    }
    double average = 0.0;
    int rc = source->getAverage(&average, 0, 0, size.width, size.height);
    for (auto _ : state) {
        rc = source->getAverage(&average, 0, 0, size.width, size.height);
        benchmark::DoNotOptimize(average);
    }
    // The statistic samples a sparse grid; the bytes count the frame it
    // stands for, so the figure reads as frames per second, not bandwidth.
    Report(state, size, FrameBytes(src, size), 0, src.bytesPerPixel, rc);
}

void RunColourBalance(benchmark::State& state, const FrameSize& size)
{
    ImageHandle source;
    const Format& src = FormatOf(KORVA_PIXTYPE_BAYRG8);
    if (!source || !LoadFrame(source.get(), src, size)) {
        state.SkipWithError("could not set up the source image object");
        return;
    }
    double red = 0.0, green = 0.0, blue = 0.0;
    int rc = source->getDemosaicColorBalance(&red, &green, &blue);
    for (auto _ : state) {
        rc = source->getDemosaicColorBalance(&red, &green, &blue);
        benchmark::DoNotOptimize(red);
        benchmark::DoNotOptimize(green);
        benchmark::DoNotOptimize(blue);
    }
    Report(state, size, FrameBytes(src, size), 0, src.bytesPerPixel, rc);
}

std::vector<ConvCase> Cases()
{
    std::vector<ConvCase> cases;
    auto both = [&cases](int s, int d, int demosaic, const char* variant, bool balance) {
        cases.push_back({s, d, demosaic, variant, balance, Path::Buffer});
        cases.push_back({s, d, demosaic, variant, balance, Path::ImageObject});
    };
    for (int dst : {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGB8_PLANAR}) {
        both(KORVA_PIXTYPE_BAYRG8, dst, 1, "nearest", false);
        both(KORVA_PIXTYPE_BAYRG8, dst, 2, "bilinear", false);
    }
    // The catalogue does not offer MONO8 for a Bayer source, so only the bare
    // buffer path reaches the Bayer-to-mono method.
    cases.push_back({KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_MONO8, 0, "to_mono", false, Path::Buffer});
    both(KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED, 1, "nearest_balance_1.4_1.0_1.8", true);
    both(KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BGR8_PACKED, 2, "bilinear_balance_1.4_1.0_1.8", true);
    for (int method : {1, 2}) {
        const char* name = method == 1 ? "nearest" : "bilinear";
        both(KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB8_PACKED, method, name, false);
        both(KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB12_PLANAR, method, name, false);
    }
    both(KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_BAYRG8, 0, nullptr, false);
    both(KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO8, 0, nullptr, false);
    both(KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO12, 0, nullptr, false);
    both(KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO8, 0, nullptr, false);
    both(KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO8, 0, nullptr, false);
    both(KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8, 0, nullptr, false);
    both(KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8, 0, nullptr, false);
    both(KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED, 0, nullptr, false);
    both(KORVA_PIXTYPE_RGB12_PACKED, KORVA_PIXTYPE_RGB8_PACKED, 0, nullptr, false);
    both(KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_RGB8_PACKED, 0, nullptr, false);
    both(KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_BGR8_PACKED, 0, nullptr, false);
    both(KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_RGBA8_PACKED, 0, nullptr, false);
    return cases;
}

}  // namespace

void RegisterPluginBenchmarks()
{
    for (const ConvCase& c : Cases()) {
        for (const FrameSize& size : FrameSizes()) {
            const std::string name = CaseName(c, size);
            if (c.path == Path::Buffer)
                Configure(benchmark::RegisterBenchmark(name.c_str(), RunBuffer, c, size));
            else
                Configure(benchmark::RegisterBenchmark(name.c_str(), RunImageObject, c, size));
        }
    }
    for (const FrameSize& size : FrameSizes()) {
        Configure(benchmark::RegisterBenchmark(("BAYRG8_getAverage/whole_frame/" + SizeName(size)).c_str(), RunAverage,
                                               size));
        Configure(benchmark::RegisterBenchmark(("BAYRG8_getDemosaicColorBalance/" + SizeName(size)).c_str(),
                                               RunColourBalance, size));
    }
}

}  // namespace bench
