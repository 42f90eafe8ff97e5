// The filter and scaling stages: their parameters and the scaling run.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "ImgProc.h"
#include "ImgProcConvFilter.h"
#include "ImgProcConvScale.h"
#include "KorvaPixelFormats.h"
#include "TestFrames.h"

namespace {

const std::vector<int32_t> kBox3(9, 1);
const std::vector<int32_t> kBox5(25, 1);
const std::vector<int32_t> kLaplace3 = {0, 1, 0, 1, -4, 1, 0, 1, 0};
const std::vector<int32_t> kLaplace5 = {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, -4, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};

KORVA_ImageFilter Filter(int value)
{
    return static_cast<KORVA_ImageFilter>(value);
}

// The stage's type, divisor and kernel size.
void ExpectStage(const CImgProcConvFilter& filter, int type, int divisor, int width, int height)
{
    EXPECT_EQ(type, filter.miFilterType);
    EXPECT_EQ(divisor, filter.miMatrixDiv);
    EXPECT_EQ(width, filter.miMatrixWidth);
    EXPECT_EQ(height, filter.miMatrixHeight);
}

TEST(ConvFilter, FreshStageHoldsNoKernel)
{
    CImgProcConvFilter filter;
    ExpectStage(filter, -1, 1, 0, 0);
    EXPECT_EQ(nullptr, filter.mpMatrix);
    EXPECT_EQ(nullptr, filter.mpRows);
    EXPECT_EQ(nullptr, filter.mpSums);
    EXPECT_FALSE(filter.OnConvert());
}

TEST(ConvFilter, BuiltInKernelsOnAFreshStage)
{
    const struct Case {
        int filter;
        const std::vector<int32_t>* kernel;
        int size;
        int divisor;
    } cases[] = {
        {1, &kBox3, 3, 9},
        {2, &kBox5, 5, 25},
        {3, &kLaplace3, 3, 1},
        {4, &kLaplace5, 5, 1},
    };
    for (const Case& c : cases) {
        CImgProcConvFilter filter;
        // Neither the matrix nor the divisor of the caller is read.
        int own[25] = {7};
        ASSERT_TRUE(filter.SetParameter(Filter(c.filter), own, 3, c.size, c.size)) << c.filter;
        ExpectStage(filter, c.filter, c.divisor, c.size, c.size);
        ASSERT_NE(nullptr, filter.mpMatrix);
        EXPECT_NE(nullptr, filter.mpRows);
        EXPECT_NE(nullptr, filter.mpSums);
        EXPECT_EQ(*c.kernel, std::vector<int32_t>(filter.mpMatrix, filter.mpMatrix + c.size * c.size)) << c.filter;
    }
}

TEST(ConvFilter, ConstructorCallKeepsKernelButNotItsSize)
{
    CImgProcConvFilter filter;
    EXPECT_TRUE(filter.SetParameter(Filter(1), nullptr, 0, 0, 0));
    EXPECT_NE(nullptr, filter.mpMatrix);
    ExpectStage(filter, 1, 9, 0, 0);
}

TEST(ConvFilter, RepeatedCallAllocatesEmptyKernelSafely)
{
    // Free clears the sizes of a held kernel, so the second call allocates
    // nothing and must not copy the 3 x 3 kernel into it.
    CImgProcConvFilter filter;
    ASSERT_TRUE(filter.SetParameter(Filter(3), nullptr, 0, 3, 3));
    EXPECT_EQ(kLaplace3, std::vector<int32_t>(filter.mpMatrix, filter.mpMatrix + 9));
    EXPECT_TRUE(filter.SetParameter(Filter(3), nullptr, 0, 3, 3));
    ExpectStage(filter, 3, 1, 3, 3);
    EXPECT_TRUE(filter.SetParameter(Filter(2), nullptr, 0, 5, 5));
    ExpectStage(filter, 2, 25, 5, 5);
}

TEST(ConvFilter, CallerSizeLargerThanKernelStaysInBounds)
{
    CImgProcConvFilter filter;
    ASSERT_TRUE(filter.SetParameter(Filter(1), nullptr, 0, 40, 40));
    EXPECT_EQ(40, filter.miMatrixWidth);
    EXPECT_EQ(kBox3, std::vector<int32_t>(filter.mpMatrix, filter.mpMatrix + 9));
    ASSERT_TRUE(filter.SetParameter(Filter(4), nullptr, 0, -3, 5));
    EXPECT_EQ(-3, filter.miMatrixWidth);
    EXPECT_EQ(5, filter.miMatrixHeight);
}

TEST(ConvFilter, RefusedValuesChangeNothing)
{
    for (int value : {0, 6, 100, -1}) {
        CImgProcConvFilter filter;
        ASSERT_TRUE(filter.SetParameter(Filter(2), nullptr, 0, 5, 5));
        const int32_t* matrix = filter.mpMatrix;
        EXPECT_FALSE(filter.SetParameter(Filter(value), nullptr, 0, 3, 3)) << value;
        EXPECT_EQ(matrix, filter.mpMatrix);
        ExpectStage(filter, 2, 25, 5, 5);
    }
}

TEST(ConvFilter, CallerKernelOnlyChangesTheSize)
{
    CImgProcConvFilter filter;
    ASSERT_TRUE(filter.SetParameter(Filter(3), nullptr, 0, 3, 3));
    const int32_t* matrix = filter.mpMatrix;
    int own[12] = {};
    EXPECT_FALSE(filter.SetParameter(Filter(5), own, 4, 4, 3));
    EXPECT_EQ(matrix, filter.mpMatrix);
    ExpectStage(filter, 3, 1, 4, 3);

    CImgProcConvFilter fresh;
    EXPECT_FALSE(fresh.SetParameter(Filter(5), nullptr, 0, 0, 0));
    EXPECT_EQ(-1, fresh.miFilterType);
    EXPECT_EQ(nullptr, fresh.mpMatrix);
}

TEST(ConvFilter, FreeClearsSizesOnlyWithAKernel)
{
    CImgProcConvFilter filter;
    ASSERT_TRUE(filter.SetParameter(Filter(4), nullptr, 0, 5, 5));
    filter.Free();
    EXPECT_EQ(nullptr, filter.mpMatrix);
    EXPECT_EQ(nullptr, filter.mpRows);
    EXPECT_EQ(nullptr, filter.mpSums);
    ExpectStage(filter, 4, 1, 0, 0);
    filter.Free();

    // Without a kernel the sizes a caller left stay.
    CImgProcConvFilter sized;
    sized.SetParameter(Filter(5), nullptr, 0, 4, 6);
    sized.Free();
    ExpectStage(sized, -1, 1, 4, 6);
}

TEST(ConvScale, SetParameterAcceptsOneToSix)
{
    const struct {
        int value;
        bool accepted;
    } cases[] = {{0, false}, {1, true}, {3, true}, {6, true}, {7, false}, {-1, false}};
    for (const auto& c : cases) {
        CImgProcConvScale scale;
        EXPECT_EQ(-1, scale.miScale);
        ASSERT_TRUE(scale.SetParameter(static_cast<KORVA_Scale>(2)));
        EXPECT_EQ(c.accepted, scale.SetParameter(static_cast<KORVA_Scale>(c.value))) << c.value;
        EXPECT_EQ(c.accepted ? c.value : 2, scale.miScale) << c.value;
    }
}

// An 8 x 4 MONO8 view over `buffer`, with the image chunk covering it.
void PrepareView(CMemoryAccess& view, std::vector<unsigned char>& buffer)
{
    testframes::Bind(view, buffer, 8, 4, testframes::kMono8);
    view.miBpp = 8;
    view.miCanals = 1;
}

TEST(ConvScale, ConvertChecksThenComputesNothing)
{
    enum Fault { kNone, kNoSourceImage, kNoDestinationImage, kOtherFormat, kNoCanals };
    const struct {
        Fault fault;
        bool tablesBuilt;
    } cases[] = {
        {kNone, true}, {kNoSourceImage, false}, {kNoDestinationImage, false}, {kOtherFormat, false}, {kNoCanals, false},
    };
    for (const auto& c : cases) {
        auto image = testframes::MakeImage();
        std::vector<unsigned char> src(32), dst(32, 0x5A);
        for (size_t i = 0; i < src.size(); ++i)
            src[i] = static_cast<unsigned char>(i * 7);
        PrepareView(image->mMemSrc, src);
        PrepareView(image->mMemDst, dst);
        switch (c.fault) {
        case kNoSourceImage:
            image->mMemSrc.freeChunkOfData();
            break;
        case kNoDestinationImage:
            image->mMemDst.freeChunkOfData();
            break;
        case kOtherFormat:
            image->mMemDst.miPixelFormat = KORVA_PIXTYPE_MONO16;
            break;
        case kNoCanals:
            image->mMemSrc.miCanals = 0;
            break;
        case kNone:
            break;
        }
        EXPECT_FALSE(image->mConvScale.Convert()) << c.fault;
        EXPECT_EQ(c.tablesBuilt, image->miLutSrcFormat == static_cast<int32_t>(KORVA_PIXTYPE_MONO8)) << c.fault;
        EXPECT_EQ(std::vector<unsigned char>(32, 0x5A), dst) << c.fault;
    }
}

}  // namespace
