// Brightness statistics: the reduction of a histogram to mean, dark and
// bright figures, each family's sampling, and getAverage's paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "AverageHistogram.h"
#include "ImgProc.h"
#include "TestFrames.h"

namespace {

// A converter whose sampling records a fixed list of values, so that the
// reduction can be checked on hand-made histograms.
class ListedSamples : public CImgProcConv {
public:
    bool OnConvert() override { return false; }
    double OnAverage() override
    {
        CAverageHistogram classes(*this);
        for (int v : samples) {
            ++mpHistogram[v];
            ++mpHistogram[65536];
            const int n = v < classes.miThreshold1 ? 0 : (v < classes.miThreshold2 ? 1 : 2);
            ++mpHistogram[65542 + n];
            mpHistogram[65545 + n] += v;
        }
        return 0.0;
    }
    std::vector<int> samples;
};

struct Figures {
    double mean, dark, bright;
};

Figures Reduce(int bits, const std::vector<int>& samples)
{
    auto image = std::make_unique<CImgProc>();
    image->setSize(4, 4);
    std::vector<unsigned char> pixels(64);
    image->setBuffer(pixels.data(), 64);
    image->setChunkOfData(KORVA_CHUNK_IMAGE, pixels.data(), 64, 0, 64);
    image->mMemSrc.miBppEff = bits;
    ListedSamples conv;
    conv.mpImgProc = image.get();
    conv.mpMemSrc = &image->mMemSrc;
    conv.mpMemDst = &image->mMemDst;
    conv.samples = samples;
    Figures f{-1, -1, -1};
    EXPECT_TRUE(conv.Average(1, 0, 0, 4, 4, &f.mean, &f.dark, &f.bright));
    return f;
}

TEST(StatisticsReduction, HandMadeHistograms)
{
    std::vector<int> ramp;
    for (int v = 0; v < 20; ++v)
        ramp.push_back(v);
    const struct {
        const char* name;
        int bits;
        std::vector<int> samples;
        Figures expected;
    } cases[] = {
        // The class means weighted by their shares, not sum over count: 251, not 252.
        {"share-weighted mean", 8, {248, 254, 254}, {251, 252, 252}},
        // A tenth of 20 is 2: the two darkest and the two brightest samples.
        {"tails of a ramp", 8, ramp, {9, 0, 18}},
        // A tail reaches on to the first bin that holds a tenth.
        {"tail extends to its bin", 8, {5, 5, 5, 9, 9, 9, 9, 9, 9, 9, 200}, {25, 5, 200}},
        // Fewer than ten samples: no cut, both tails are all samples.
        {"no cut", 8, {10, 20, 31}, {20, 20, 20}},
        // At 16 bits the cell above the largest value is the total: the bright tail is empty.
        {"16-bit bright tail", 16, std::vector<int>(12, 40000), {40000, 40000, 0}},
        {"12-bit classes", 12, {3838, 3839, 4078, 4079, 4095}, {3985, 3985, 3985}},
        {"nothing sampled", 8, {}, {0, 0, 0}},
        // Without a cut the bright tail runs down to bin 0.
        {"bright tail reaches bin 0", 8, {0, 0, 30}, {10, 10, 10}},
        // A sample above the depth lands in the cell above the largest value,
        // counted first: holding a tenth, it is the whole bright tail, of
        // moment 0, and 255 stays out. Mean 511 / 2 * 0.2, truncated.
        {"cell above the largest value holds the cut", 8, {256, 255, 0, 0, 0, 0, 0, 0, 0, 0}, {51, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Figures f = Reduce(c.bits, c.samples);
        EXPECT_EQ(f.mean, c.expected.mean);
        EXPECT_EQ(f.dark, c.expected.dark);
        EXPECT_EQ(f.bright, c.expected.bright);
    }
}

TEST(StatisticsReduction, ThresholdsInSinglePrecision)
{
    CImgProc image;
    const struct {
        int bits, first, second;
    } cases[] = {{8, 239, 254}, {10, 959, 1019}, {12, 3839, 4079}, {16, 61439, 65279}};
    for (const auto& c : cases) {
        image.mMemSrc.miBppEff = c.bits;
        CAverageHistogram classes(image.mConvMono);
        EXPECT_EQ(classes.miThreshold1, c.first) << c.bits;
        EXPECT_EQ(classes.miThreshold2, c.second) << c.bits;
    }
}

// A frame of one value (or one pixel pattern) laid into an object the way a
// host does it.
std::unique_ptr<CImgProc> FlatFrame(int format, int width, int height, const std::vector<unsigned char>& pattern)
{
    return testframes::MakeFrame(format, width, height, [&](int i) { return pattern[i % pattern.size()]; });
}

TEST(Statistics, FlatFramesOfEveryFamily)
{
    const struct {
        const char* name;
        int format;
        std::vector<unsigned char> pattern;
        double expected;
        double blocks = -1;  // where blocks at odd columns see other pixels
    } cases[] = {
        {"mono8", KORVA_PIXTYPE_MONO8, {100}, 100.0},
        {"mono12", KORVA_PIXTYPE_MONO12, {0x34, 0x02}, 564.0},
        // Odd region starts read the second pixel of each group: every other
        // block of eight across measures it.
        {"mono12 packed", KORVA_PIXTYPE_MONO12_PACKED, {0x12, 0x34, 0x12}, 0x124, (0x124 + 0x123) / 2.0},
        {"mono10 packed", KORVA_PIXTYPE_MONO10_PACKED, {0x40, 0x21, 0x40}, 0x101, (0x101 + 0x102) / 2.0},
        {"bayer8", KORVA_PIXTYPE_BAYGR8, {77}, 77.0},
        // 73 + 153 + 28: each weighted term is truncated on its own.
        {"white rgb8", KORVA_PIXTYPE_RGB8_PACKED, {255}, 254.0},
        {"bgr8 weighs its first byte as blue", KORVA_PIXTYPE_BGR8_PACKED, {200, 0, 0}, 22.0},
        {"rgba8", KORVA_PIXTYPE_RGBA8_PACKED, {100, 100, 100, 0}, 100.0},
        // Red weighs 29 %, blue 11 %: which end is red decides 58 or 22.
        {"rgba8 red first", KORVA_PIXTYPE_RGBA8_PACKED, {200, 0, 0, 0}, 58.0},
        {"bgra8 blue first", KORVA_PIXTYPE_BGRA8_PACKED, {200, 0, 0, 0}, 22.0},
        {"rgb10 red first", KORVA_PIXTYPE_RGB10_PACKED, {200, 0, 0, 0, 0, 0}, 58.0},
        {"rgb12 red first", KORVA_PIXTYPE_RGB12_PACKED, {200, 0, 0, 0, 0, 0}, 58.0},
        {"bgr12 blue first", KORVA_PIXTYPE_BGR12_PACKED, {200, 0, 0, 0, 0, 0}, 22.0},
        {"rgb12", KORVA_PIXTYPE_RGB12_PACKED, {0x00, 0x01}, 255.0},
        {"planar8", KORVA_PIXTYPE_RGB8_PLANAR, {90}, 90.0},
        {"yuv422 luma", KORVA_PIXTYPE_YUV422_PACKED, {128, 60}, 60.0},
        {"yuv411 luma", KORVA_PIXTYPE_YUV411_PACKED, {128, 70, 70, 128, 70, 70}, 70.0},
        {"yuv444 luma", KORVA_PIXTYPE_YUV444_PACKED, {128, 80, 128}, 80.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (int size : {200, 100}) {  // block path, single path
            auto image = FlatFrame(c.format, size, size, c.pattern);
            double average = -1.0;
            EXPECT_EQ(image->getAverage(&average, 0, 0, size, size), RESULT_OK) << size;
            EXPECT_EQ(average, size == 200 && c.blocks >= 0 ? c.blocks : c.expected) << size;
        }
    }
}

TEST(Statistics, PathChoiceAndFailures)
{
    auto image = FlatFrame(KORVA_PIXTYPE_MONO8, 200, 200, {100});
    double average = -1.0;
    EXPECT_EQ(image->getAverage(nullptr, 0, 0, 200, 200), RESULT_BAD_PARAM);
    EXPECT_EQ(image->getAverage(&average, 0, 0, 3, 100), RESULT_FAIL);
    EXPECT_EQ(average, -1.0);  // unwritten
    EXPECT_EQ(image->getAverage(&average, 0, 0, 200, 200), RESULT_OK);
    EXPECT_EQ(image->mConvMono.miAverageStep, 6);
    EXPECT_EQ(image->getAverage(&average, 0, 0, 100, 100), RESULT_OK);
    EXPECT_EQ(image->mConvMono.miAverageStep, 6);
    EXPECT_EQ(image->getAverage(&average, 0, 0, 10, 10), RESULT_OK);
    EXPECT_EQ(image->mConvMono.miAverageStep, 5);
    EXPECT_EQ(average, 100.0);

    // A destination region other than the source's: nothing measured, the
    // largest value of the stored bits reported.
    image->setDestinationRange(0, 0, 199, 200);
    EXPECT_EQ(image->getAverage(&average, 0, 0, 100, 100), RESULT_FAIL);
    EXPECT_EQ(average, 255.0);
    EXPECT_EQ(image->getAverage(&average, 0, 0, 200, 200), RESULT_FAIL);
    EXPECT_EQ(average, 255.0);
    auto mono12 = FlatFrame(KORVA_PIXTYPE_MONO12, 100, 100, {1, 0});
    mono12->setDestinationRange(0, 0, 99, 100);
    EXPECT_EQ(mono12->getAverage(&average, 0, 0, 100, 100), RESULT_FAIL);
    EXPECT_EQ(average, 65535.0);

    // A region outside the source's region.
    auto small = FlatFrame(KORVA_PIXTYPE_MONO8, 20, 20, {9});
    EXPECT_EQ(small->getAverage(&average, 10, 10, 30, 30), RESULT_FAIL);
    EXPECT_EQ(average, 255.0);

    // Blocks of an eighth of the width each: halves of 10 and 250 average
    // to 130 only if no block reaches across the middle.
    std::vector<unsigned char> halves(200, 10);
    std::fill(halves.begin() + 100, halves.end(), 250);
    EXPECT_EQ(FlatFrame(KORVA_PIXTYPE_MONO8, 200, 200, halves)->getAverage(&average, 0, 0, 200, 200), RESULT_OK);
    EXPECT_EQ(average, 130.0);

    // Only the first plane is sampled, up to the region's edge, not at it:
    // its columns from 96 on and the whole second plane hold 250.
    std::vector<unsigned char> edge(20000, 250);
    for (int i = 0; i < 10000; ++i)
        edge[i] = i % 100 < 96 ? 90 : 250;
    EXPECT_EQ(FlatFrame(KORVA_PIXTYPE_RGB8_PLANAR, 100, 100, edge)->getAverage(&average, 0, 0, 96, 96), RESULT_OK);
    EXPECT_EQ(average, 90.0);

    // Sampling starts at a row's first pixel: grey 250 there (249 after the
    // weights), black in the other five of six sampled pixels.
    std::vector<unsigned char> first(300, 0);
    std::fill(first.begin(), first.begin() + 3, 250);
    EXPECT_EQ(FlatFrame(KORVA_PIXTYPE_RGB8_PACKED, 100, 100, first)->getAverage(&average, 0, 0, 100, 100), RESULT_OK);
    EXPECT_EQ(average, 41.0);  // 249 / 6, whole
    // Packed groups likewise: 2304 in each row's first group, seen by the
    // first of nine sampled groups and by the last, whose neighbour two
    // groups on is the next row's first: 2 * 2304 / 9.
    std::vector<unsigned char> group(150, 0);
    group[0] = 0x90;
    EXPECT_EQ(FlatFrame(KORVA_PIXTYPE_MONO12_PACKED, 100, 100, group)->getAverage(&average, 0, 0, 100, 100), RESULT_OK);
    EXPECT_EQ(average, 512.0);

    // A packed view left at 8 bits by a truncated transform: no shift and
    // no bits of the middle byte.
    auto packed = FlatFrame(KORVA_PIXTYPE_MONO12_PACKED, 100, 100, {0x12, 0x35, 0x12});
    packed->mMemSrc.miBppEff = 8;
    EXPECT_EQ(packed->getAverage(&average, 0, 0, 100, 100), RESULT_OK);
    EXPECT_EQ(average, 18.0);

    // No converter: nothing written.
    auto planar16 = FlatFrame(KORVA_PIXTYPE_RGB16_PLANAR, 100, 100, {1});
    average = -1.0;
    EXPECT_EQ(planar16->getAverage(&average, 0, 0, 100, 100), RESULT_FAIL);
    EXPECT_EQ(average, -1.0);

    // The lower half of the region is not measured.
    const int w = 40, h = 40;
    auto halfBright = FlatFrame(KORVA_PIXTYPE_MONO8, w, h, {10});
    unsigned char* base = nullptr;
    halfBright->getBuffer(&base);
    for (int y = h / 2 + 1; y < h; ++y)
        std::memset(base + y * w, 250, w);
    EXPECT_EQ(halfBright->getAverage(&average, 0, 0, w, h), RESULT_OK);
    EXPECT_EQ(average, 10.0);
    // A site is the largest of x and x + 2 in two rows; with an even step the
    // bright odd columns are never among them.
    auto oddBright = FlatFrame(KORVA_PIXTYPE_MONO8, w, h, {10, 250});
    EXPECT_EQ(oddBright->getAverage(&average, 0, 0, w, h), RESULT_OK);
    EXPECT_EQ(average, 10.0);
}

}  // namespace

namespace {

// getAverage of a frame whose host buffer ends `into` bytes into the pixel
// sampled first in row 6, with `beyond` in every byte from there on. At
// 56 x 384 the blocks are 6 pixels wide and sampled every sixth row and
// column, so packed colour samples one pixel of each row it measures.
double AverageOfACutFrame(int format, int pixel, int into, unsigned char beyond)
{
    const int w = 56, h = 384;
    CImgProc image;
    const int size = image.CalculateImageSize(format, w, h);
    const int length = 6 * w * pixel + into;
    // Words of 0x0128: within 10 and 12 bits, and bytes of 8-bit colour.
    std::vector<unsigned char> bytes(static_cast<size_t>(size), beyond);
    for (int i = 0; i < length; ++i)
        bytes[static_cast<size_t>(i)] = i % 2 ? 0x01 : 0x28;
    image.setSize(w, h);
    image.setPixelFormat(format);
    EXPECT_EQ(RESULT_OK, image.setBuffer(bytes.data(), length));
    EXPECT_EQ(RESULT_OK, image.setChunkOfData(KORVA_CHUNK_IMAGE, bytes.data(), length, 0, length));
    double average = -1.0;
    EXPECT_EQ(RESULT_OK, image.getAverage(&average, 0, 0, w, h));
    return average;
}

// A sampled pixel cut by the buffer's end reads its missing samples as 0,
// whatever lies in memory after the buffer.
TEST(Statistics, BytesAfterTheBufferDoNotCount)
{
    const struct {
        int format, pixel;
    } cases[] = {{KORVA_PIXTYPE_RGB12_PACKED, 6},
                 {KORVA_PIXTYPE_BGR10_PACKED, 6},
                 {KORVA_PIXTYPE_RGB8_PACKED, 3},
                 {KORVA_PIXTYPE_BGRA8_PACKED, 4}};
    for (const auto& c : cases)
        for (int into = 1; into < c.pixel; ++into) {
            const double zeros = AverageOfACutFrame(c.format, c.pixel, into, 0);
            EXPECT_GT(zeros, 0.0);
            EXPECT_EQ(AverageOfACutFrame(c.format, c.pixel, into, 0xFF), zeros)
                << std::hex << c.format << std::dec << " cut " << into << " bytes into the pixel";
        }
}

}  // namespace
