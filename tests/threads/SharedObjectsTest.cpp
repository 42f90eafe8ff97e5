// Threads that share image objects the way a host may: two calls that meet on
// one object must give the results of one of their two serial orders. Built
// on its own so that ThreadSanitizer can watch exactly this.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

const int kWidth = 40, kHeight = 24;

struct ObjectSetup {
    int format;  // source format, 0 for an object without a frame
    int wish;    // destination format
    int seed;
};

struct World {
    std::vector<std::unique_ptr<CImgProc>> objects;
    std::vector<int> results;
    std::vector<double> averages;
};

void Fill(CImgProc& image, const ObjectSetup& setup)
{
    if (setup.wish != 0)
        image.setDestinationPixelFormat(setup.wish);
    if (setup.format == 0)
        return;
    image.setSize(kWidth, kHeight);
    image.setPixelFormat(setup.format);
    int length = 0;
    image.getImageLength(&length);
    ASSERT_EQ(RESULT_OK, image.allocateBuffer(length));
    unsigned char* buffer = nullptr;
    image.getBuffer(&buffer);
    for (int i = 0; i < length; ++i)
        buffer[i] = static_cast<unsigned char>((i * 131 + setup.seed * 71) >> 2);
    ASSERT_EQ(RESULT_OK, image.setChunkOfData(KORVA_CHUNK_IMAGE, buffer, length, 0, length));
    image.setNumber(setup.seed, 0);
    image.setState(KORVA_IMAGESTATE_OK);
}

// What a host can see of the objects after the calls.
struct Seen {
    std::vector<int> results;
    std::vector<double> averages;
    std::vector<std::vector<unsigned char>> frames;
    std::vector<int> formats;
    bool operator==(const Seen& o) const
    {
        return results == o.results && averages == o.averages && frames == o.frames && formats == o.formats;
    }
};

typedef std::function<void(World&, int slot)> Call;

Call Transform(int from, int to)
{
    return [from, to](World& w, int slot) {
        w.results[slot] = w.objects[from]->doTransformImageObject(w.objects[to].get());
    };
}

Call Average(int of)
{
    return [of](World& w, int slot) {
        double value = -1.0;
        w.results[slot] = w.objects[of]->getAverage(&value, 0, 0, kWidth, kHeight);
        w.averages[slot] = value;
    };
}

std::unique_ptr<World> Make(const std::vector<ObjectSetup>& setups)
{
    std::unique_ptr<World> w(new World);
    for (const ObjectSetup& setup : setups) {
        w->objects.emplace_back(new CImgProc);
        Fill(*w->objects.back(), setup);
    }
    w->results.assign(2, 0);
    w->averages.assign(2, 0.0);
    return w;
}

Seen Look(World& w)
{
    Seen s{w.results, w.averages, {}, {}};
    for (auto& object : w.objects) {
        unsigned char* image = nullptr;
        int length = 0, format = 0;
        object->getPixelFormat(&format);
        s.formats.push_back(format);
        if (object->get(&image) == RESULT_OK && object->getImageLength(&length) == RESULT_OK && length > 0)
            s.frames.emplace_back(image, image + length);
        else
            s.frames.emplace_back();
    }
    return s;
}

// Runs the two calls at once, many times, and compares each outcome with
// the two serial orders.
void Race(const std::vector<ObjectSetup>& setups, const Call& first, const Call& second)
{
    std::vector<Seen> serial;
    for (int order = 0; order < 2; ++order) {
        auto w = Make(setups);
        (order == 0 ? first : second)(*w, order == 0 ? 0 : 1);
        (order == 0 ? second : first)(*w, order == 0 ? 1 : 0);
        serial.push_back(Look(*w));
    }
    for (int round = 0; round < 25; ++round) {
        auto w = Make(setups);
        std::atomic<int> ready(0);
        auto run = [&](const Call& call, int slot) {
            ready.fetch_add(1);
            while (ready.load() < 2) {
            }
            call(*w, slot);
        };
        std::thread a(run, std::cref(first), 0);
        std::thread b(run, std::cref(second), 1);
        a.join();
        b.join();
        const Seen seen = Look(*w);
        ASSERT_TRUE(seen == serial[0] || seen == serial[1]) << "round " << round;
    }
}

// Samples use the whole range of their format: table entries above a
// format's depth are undefined, so deeper patterns would not be repeatable.
const ObjectSetup kMono16{KORVA_PIXTYPE_MONO16, 0, 1};
const ObjectSetup kRgb{KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGRA8_PACKED, 2};
const ObjectSetup kTarget{0, KORVA_PIXTYPE_MONO8, 0};

TEST(SharedObjects, TwoSourcesIntoOneDestination)
{
    Race({kMono16, {KORVA_PIXTYPE_MONO8, 0, 3}, kTarget}, Transform(0, 2), Transform(1, 2));
}

TEST(SharedObjects, OneSourceIntoTwoDestinations)
{
    Race({kRgb, {0, KORVA_PIXTYPE_BGR8_PACKED, 0}, {0, KORVA_PIXTYPE_MONO8, 0}}, Transform(0, 1), Transform(0, 2));
}

TEST(SharedObjects, ChainOfTwoTransforms)
{
    // A into B beside B into C: C gets B's old frame or A's, never a mix.
    Race({kMono16, {KORVA_PIXTYPE_MONO16, KORVA_PIXTYPE_MONO8, 4}, {0, KORVA_PIXTYPE_MONO8, 0}}, Transform(0, 1),
         Transform(1, 2));
}

// Objects share no state: two pairs side by side give the serial results,
// also for the families whose row tables and fast paths are set up once.
TEST(SharedObjects, SeparatePairsShareNothing)
{
    Race({{KORVA_PIXTYPE_BAYRG8, 0, 3}, {0, KORVA_PIXTYPE_RGB8_PACKED, 0}, {KORVA_PIXTYPE_YUV422_PACKED, 0, 4}, kRgb},
         Transform(0, 1), Transform(2, 3));
    Race({kMono16, kTarget, kRgb, {0, KORVA_PIXTYPE_BGRA8_PACKED, 0}}, Transform(0, 1), Transform(2, 3));
}

TEST(SharedObjects, MeasuringTheDestinationOrTheSource)
{
    const std::vector<ObjectSetup> setups{kMono16, {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_MONO8, 5}};
    Race(setups, Transform(0, 1), Average(1));
    Race(setups, Transform(0, 1), Average(0));
}

}  // namespace
