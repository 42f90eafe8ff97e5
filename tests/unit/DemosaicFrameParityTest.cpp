// Whole frames through the image object give the same destination buffer,
// byte for byte, at the baseline level and at every faster level this CPU runs:
// rows are written top to bottom and some reach into the next row, which a
// row-level comparison alone would not see.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "ImageAddress.h"
#include "KvCpu.h"
#include "TestFrames.h"

namespace {

const int kSources[] = {
    KORVA_PIXTYPE_BAYRG8,  KORVA_PIXTYPE_BAYGB8,  KORVA_PIXTYPE_BAYGR8,  KORVA_PIXTYPE_BAYBG8,
    KORVA_PIXTYPE_BAYRG10, KORVA_PIXTYPE_BAYGB10, KORVA_PIXTYPE_BAYGR10, KORVA_PIXTYPE_BAYBG10,
    KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_BAYGB12, KORVA_PIXTYPE_BAYGR12, KORVA_PIXTYPE_BAYBG12,
};

const int kDestinations[] = {
    KORVA_PIXTYPE_RGB8_PACKED,  KORVA_PIXTYPE_BGR8_PACKED,  KORVA_PIXTYPE_RGBA8_PACKED, KORVA_PIXTYPE_RGB16_PLANAR,
    KORVA_PIXTYPE_RGB8_PLANAR,  KORVA_PIXTYPE_RGB10_PLANAR, KORVA_PIXTYPE_RGB12_PLANAR, KORVA_PIXTYPE_MONO8,
    KORVA_PIXTYPE_MONO12,       KORVA_PIXTYPE_MONO16,       KORVA_PIXTYPE_BAYRG8,       KORVA_PIXTYPE_BAYGB12,
};

struct Result {
    int rc;
    std::vector<unsigned char> bytes;
};

// One frame into a bare buffer that starts out as a fixed pattern, so that
// bytes a level leaves alone must stay alike too.
Result Convert(CImgProc& image, int length)
{
    Result r;
    r.bytes.resize(static_cast<size_t>(length));
    for (size_t i = 0; i < r.bytes.size(); ++i)
        r.bytes[i] = static_cast<unsigned char>(i * 37 + 11);
    r.rc = image.doTransform(r.bytes.data(), length);
    return r;
}

TEST(DemosaicFrameParity, EveryLevelMatchesBaseline)
{
    std::vector<KvCpuLevel> levels;
    for (KvCpuLevel level : {KvCpuLevel::Avx2, KvCpuLevel::Avx512})
        if (level <= KvCpuSupported())
            levels.push_back(level);
    if (levels.empty())
        GTEST_SKIP() << "this CPU runs the portable functions only";
    std::mt19937 rng(99);
    // Widths of several vectors with an odd and an even end.
    const int sizes[][2] = {{203, 7}, {262, 6}};
    for (const auto& size : sizes) {
        for (int source : kSources) {
            for (int destination : kDestinations) {
                for (int method : {1, 2, 3}) {
                    auto image = std::make_unique<CImgProc>();
                    const unsigned seed = rng();
                    testframes::LayFrame(*image, source, size[0], size[1], [seed](int i) {
                        return static_cast<int>((static_cast<unsigned>(i) * 2654435761u + seed) >> 13);
                    });
                    if (image->setDestinationPixelFormat(destination) != RESULT_OK)
                        continue;
                    // The 5x5 method is out of the interface's reach.
                    ASSERT_TRUE(image->mConvDemosaic.SetType(static_cast<KORVA_Demosaic>(method)));
                    if (seed & 1)
                        image->setDemosaicColorBalance(1.4, 1.0, 1.8);
                    int length = 0;
                    image->getTransformBufferLength(&length);
                    // Room for the pixel an odd width writes past a row.
                    length += 64;

                    KvCpuOverride(KvCpuLevel::Baseline);
                    const Result want = Convert(*image, length);
                    for (int run = 0; run < 2 * static_cast<int>(levels.size()); ++run) {
                        const KvCpuLevel level = levels[static_cast<size_t>(run / 2)];
                        // Back to the method: a mono destination switches it.
                        image->mConvDemosaic.SetType(static_cast<KORVA_Demosaic>(method));
                        KvCpuOverride(level);
                        // Written in place, then with streaming stores.
                        image->mConvDemosaic.miStreamBytes = run % 2 == 0 ? int64_t(1) << 40 : 0;
                        const Result got = Convert(*image, length);
                        KvCpuResetOverride();
                        ASSERT_EQ(want.rc, got.rc);
                        ASSERT_TRUE(want.bytes == got.bytes)
                            << std::hex << "source 0x" << source << " destination 0x" << destination << std::dec
                            << " method " << method << " width " << size[0] << " level " << static_cast<int>(level);
                    }
                }
            }
        }
    }
}

// The row and border walks form addresses in integers; they must be the
// view's, null and wrapped ones included, for every factor and region.
TEST(DemosaicFrameParity, AddressesAreTheViews)
{
    struct View {
        uint32_t format;
        double factor;
        int32_t width, height, left, top, chunk, offset, dataOffset;
    } views[] = {
        {KORVA_PIXTYPE_BGR8_PACKED, 3.0, 10, 6, 0, 0, -1, 0, 0},
        {KORVA_PIXTYPE_RGB16_PLANAR, 2.0, 10, 6, 3, 2, 100, 4, 7},
        {KORVA_PIXTYPE_RGB12_PACKED, 6.0, 9, 5, 1, 1, 200, 0, -5},
        {KORVA_PIXTYPE_MONO12_PACKED, 1.5, 10, 6, 2, 1, -1, 0, 0},
        {KORVA_PIXTYPE_MONO8, 1.0, 65536, 1, 5, 0, -1, 0, 0},
    };
    const int32_t coordinates[] = {INT32_MIN, -70000, -5, -1, 0, 1, 4, 8, 9, 10, 11, 32768, INT32_MAX};
    std::vector<unsigned char> buffer(300);
    for (const View& v : views) {
        CMemoryAccess view(nullptr);
        testframes::Bind(view, buffer, v.width, v.height, {v.format, v.factor, 8}, v.chunk);
        ASSERT_TRUE(view.SetROI(v.left, v.top, v.width - v.left, v.height - v.top));
        view.mChunkData[KORVA_CHUNK_IMAGE].miChunkDataOffset = v.offset;
        view.miDataOffset = v.dataOffset;
        const CImageAddress address(&view);
        for (int32_t y : coordinates)
            for (int32_t x : coordinates)
                ASSERT_EQ(view.GetImagePointer(x, y, 0), address.At(x, y)) << v.factor << " " << x << "," << y;
    }
}

}  // namespace
