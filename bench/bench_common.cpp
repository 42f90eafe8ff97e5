#include "bench_common.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <stdexcept>

#include "IKVImgManager.h"
#include "ImgProcPlugin.h"
#include "KorvaTypes.h"
#include "PixelFormatNames.h"
#include "ikvimage.h"

namespace bench {

const std::vector<FrameSize>& FrameSizes()
{
    static const std::vector<FrameSize> sizes = {{640, 480}, {1920, 1200}, {4096, 3000}};
    return sizes;
}

std::string SizeName(const FrameSize& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

namespace {

// Random bytes for the largest frame of the widest format, made once. Every
// case copies its frame out of this pool, so all runs and all cases of one
// format see the same content.
const std::vector<unsigned char>& RandomPool()
{
    static const std::vector<unsigned char> pool = [] {
        std::size_t largest = 0;
        for (const FrameSize& size : FrameSizes())
            largest = std::max(largest, static_cast<std::size_t>(size.width) * size.height * 6);
        std::vector<unsigned char> bytes(largest + 8);
        uint64_t x = 0x9E3779B97F4A7C15ull;  // fixed seed: reproducible frames
        for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            std::memcpy(&bytes[i], &x, 8);
        }
        return bytes;
    }();
    return pool;
}

void* gPluginHandle = nullptr;
IKVImgManager* gManager = nullptr;
std::mutex gManagerMutex;

}  // namespace

const Format& FormatOf(int code)
{
    // Taken once from the table of format names that the tool and the tests share.
    static const std::vector<Format> formats = [] {
        std::vector<Format> all;
        for (const PixelFormatInfo& info : PixelFormatNames::All()) {
            const bool words = info.effectiveBits > 8 && info.family != FormatFamily::MonoPacked &&
                               info.family != FormatFamily::Other;
            all.push_back({static_cast<int>(info.code), info.name, info.bytesPerPixel, words ? info.effectiveBits : 0});
        }
        return all;
    }();
    for (const Format& f : formats)
        if (f.code == code)
            return f;
    throw std::invalid_argument("imgproc_bench: format not in the table");
}

std::size_t FrameBytes(const Format& format, const FrameSize& size)
{
    return static_cast<std::size_t>(static_cast<double>(size.width) * format.bytesPerPixel * size.height);
}

void FillRandom(const Format& format, unsigned char* out, std::size_t bytes)
{
    const std::vector<unsigned char>& pool = RandomPool();
    std::memcpy(out, pool.data(), std::min(bytes, pool.size()));
    if (format.wordBits == 0 || format.wordBits >= 16)
        return;
    // Values above the format's depth never come from a sensor; keep the
    // tone tables indexed as in real use.
    const uint16_t mask = static_cast<uint16_t>((1u << format.wordBits) - 1u);
    for (std::size_t i = 0; i + 2 <= bytes; i += 2) {
        uint16_t w;
        std::memcpy(&w, out + i, 2);
        w = static_cast<uint16_t>(w & mask);
        std::memcpy(out + i, &w, 2);
    }
}

bool LoadPlugin(std::string* error)
{
    gPluginHandle = dlopen(IMGPROC_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (gPluginHandle == nullptr) {
        *error = dlerror();
        return false;
    }
    auto version = reinterpret_cast<PFN_DllGetKORVAPluginAPIVersion>(dlsym(gPluginHandle, "DllGetKORVAPluginAPIVersion"));
    auto object = reinterpret_cast<PFN_DllGetImgObject>(dlsym(gPluginHandle, "DllGetImgObject"));
    if (version == nullptr || object == nullptr) {
        *error = "the library does not export the plug-in entry points";
        return false;
    }
    char text[16] = {};
    char* p = text;
    if (version(&p, sizeof text) != RESULT_OK) {
        *error = "the version handshake failed";
        return false;
    }
    void* manager = nullptr;
    object(&manager);
    gManager = static_cast<IKVImgManager*>(manager);
    if (gManager == nullptr) {
        *error = "the plug-in handed out no image manager";
        return false;
    }
    return true;
}

void UnloadPlugin()
{
    gManager = nullptr;
    if (gPluginHandle != nullptr)
        dlclose(gPluginHandle);
    gPluginHandle = nullptr;
}

IKVImage* CreateImage()
{
    std::lock_guard<std::mutex> lock(gManagerMutex);
    IKVImage* image = nullptr;
    if (gManager == nullptr || gManager->create(&image) != RESULT_OK)
        return nullptr;
    return image;
}

void DestroyImage(IKVImage* image)
{
    if (image == nullptr)
        return;
    std::lock_guard<std::mutex> lock(gManagerMutex);
    gManager->destroy(image);
}

std::size_t Slack(const FrameSize& size, double bytesPerPixel)
{
    return static_cast<std::size_t>(size.width * bytesPerPixel) + 64;
}

bool LoadFrame(IKVImage* image, const Format& format, const FrameSize& size)
{
    const std::size_t bytes = FrameBytes(format, size);
    const int length = static_cast<int>(bytes + Slack(size, format.bytesPerPixel));
    if (image->setSize(size.width, size.height) != RESULT_OK || image->setPixelFormat(format.code) != RESULT_OK ||
        image->allocateBuffer(length) != RESULT_OK)
        return false;
    unsigned char* buffer = nullptr;
    if (image->getBuffer(&buffer) != RESULT_OK || buffer == nullptr)
        return false;
    FillRandom(format, buffer, bytes);
    std::memset(buffer + bytes, 0, static_cast<std::size_t>(length) - bytes);
    const int imageBytes = static_cast<int>(bytes);
    return image->setChunkOfData(KORVA_CHUNK_IMAGE, buffer, imageBytes, 0, imageBytes) == RESULT_OK &&
           image->setState(KORVA_IMAGESTATE_OK) == RESULT_OK;
}

void Report(benchmark::State& state, const FrameSize& size, std::size_t bytesRead, std::size_t bytesWritten,
            double copyBytesPerPixel, int resultCode)
{
    const double iterations = static_cast<double>(state.iterations());
    const double pixels = static_cast<double>(size.width) * size.height;
    state.counters["MP/s"] = benchmark::Counter(pixels * iterations / 1e6, benchmark::Counter::kIsRate);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytesRead + bytesWritten));
    // Bytes a pixel that the matching memcpy reference moves; lets the
    // report pair each case with its physical limit.
    state.counters["B/px"] = benchmark::Counter(copyBytesPerPixel, benchmark::Counter::kAvgThreads);
    state.counters["rc"] = benchmark::Counter(resultCode, benchmark::Counter::kAvgThreads);
    if (resultCode != RESULT_OK)
        state.SetLabel("FAILED rc=" + std::to_string(resultCode));
}

benchmark::internal::Benchmark* Configure(benchmark::internal::Benchmark* b)
{
#ifdef KV_BENCH_HAVE_WARMUP
    b->MinWarmUpTime(0.1);
#endif
    return b->Unit(benchmark::kMillisecond);
}

}  // namespace bench
