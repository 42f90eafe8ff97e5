// Shared pieces of imgproc_bench: the plug-in loaded as the host loads it,
// the frame formats the cases use, random frame content and the counters
// every case reports.
#ifndef IMGPROC_BENCH_COMMON_H
#define IMGPROC_BENCH_COMMON_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class IKVImage;
class IKVImgManager;

namespace bench {

struct FrameSize {
    int width;
    int height;
};

// Small, camera-typical and large sensor frames.
const std::vector<FrameSize>& FrameSizes();
std::string SizeName(const FrameSize& size);

// What the benchmarks need to know about a pixel format: its real storage
// size (not the plug-in's size arithmetic) and, for formats stored in 16-bit
// words, how many bits of each word are significant.
struct Format {
    int code;
    const char* name;
    double bytesPerPixel;
    int wordBits;  // 0: bytes are filled freely; else 16-bit words masked to this many bits
};

const Format& FormatOf(int code);
std::size_t FrameBytes(const Format& format, const FrameSize& size);

// Fills `out` with `bytes` bytes of the fixed-seed random frame content,
// masked to the format's significant bits. Identical for every call.
void FillRandom(const Format& format, unsigned char* out, std::size_t bytes);

// The plug-in, loaded once per process like the host library does it.
// Image objects are created and destroyed through its manager; the manager
// takes no lock of its own, so these wrappers serialise the calls for the
// threaded cases.
bool LoadPlugin(std::string* error);
void UnloadPlugin();
IKVImage* CreateImage();
void DestroyImage(IKVImage* image);

// Owns one image object for the length of one benchmark run.
class ImageHandle {
public:
    ImageHandle() : mImage(CreateImage()) {}
    ~ImageHandle() { DestroyImage(mImage); }
    ImageHandle(const ImageHandle&) = delete;
    ImageHandle& operator=(const ImageHandle&) = delete;
    IKVImage* operator->() const { return mImage; }
    IKVImage* get() const { return mImage; }
    explicit operator bool() const { return mImage != nullptr; }

private:
    IKVImage* mImage;
};

// Lays a random frame of `format` and `size` into `image` as the host lays a
// received frame: own buffer (with slack past the image, because some
// converters read a little beyond a row), size, format, image chunk, status 0.
// Returns false if the object refused any step.
bool LoadFrame(IKVImage* image, const Format& format, const FrameSize& size);

// Extra bytes behind any buffer a converter reads or writes: one row of the
// wider of the two formats plus 64 bytes.
std::size_t Slack(const FrameSize& size, double bytesPerPixel);

// Counters every case reports. `bytesRead` and `bytesWritten` are per
// iteration; MP/s counts the frame's pixels. `resultCode` is the last result
// of the measured call, so a conversion that fails stays visible; any result
// other than RESULT_OK also goes into the label.
void Report(benchmark::State& state, const FrameSize& size, std::size_t bytesRead, std::size_t bytesWritten,
            double copyBytesPerPixel, int resultCode);

// Registration hooks, called in this order by main so the output reads
// top to bottom as the cases are listed here.
void RegisterPluginBenchmarks();
void RegisterStaticBenchmarks();
void RegisterReferenceBenchmarks();
void RegisterThreadBenchmarks();

// Common run settings: warm-up before the first repetition, and real time
// where threads run.
benchmark::internal::Benchmark* Configure(benchmark::internal::Benchmark* b);

}  // namespace bench

#endif
