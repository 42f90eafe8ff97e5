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

KORVA_ImageFilter Filter(int value)
{
    return static_cast<KORVA_ImageFilter>(value);
}

// Each step runs on the stage left by the steps before it.
TEST(ConvFilter, ParameterSequences)
{
    const std::vector<int32_t> zero3(9, 0), box3(9, 1), box5(25, 1), laplace3 = {0, 1, 0, 1, -4, 1, 0, 1, 0},
                               laplace5 = {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, -4, 1, 0,
                                           0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    struct Step {
        int filter, width, height;
        bool accepted;
        int type, divisor, outWidth, outHeight;
        const std::vector<int32_t>* kernel;  // null: none held
    };
    int own[25] = {7};
    const std::vector<std::vector<Step>> sequences = {
        {{1, 3, 3, true, 1, 9, 3, 3, &box3}},
        {{2, 5, 5, true, 2, 25, 5, 5, &box5}, {6, 3, 3, false, 2, 25, 5, 5, &box5}},
        {{4, 5, 5, true, 4, 1, 5, 5, &laplace5}},
        // A call without sizes copies no entry and keeps no size; a second
        // call allocates an empty kernel after Free cleared the sizes.
        {{1, 0, 0, true, 1, 9, 0, 0, &zero3}},
        {{3, 3, 3, true, 3, 1, 3, 3, &laplace3}, {3, 3, 3, true, 3, 1, 3, 3, nullptr},
         {2, 5, 5, true, 2, 25, 5, 5, nullptr}},
        // Larger caller sizes copy no more than the table (a sanitizer build
        // sees a read past it).
        {{1, 40, 40, true, 1, 9, 40, 40, &box3}},
        {{2, 40, 40, true, 2, 25, 40, 40, &box5}},
        // The caller's kernel (5) is refused but its size stays.
        {{3, 3, 3, true, 3, 1, 3, 3, &laplace3}, {5, 4, 3, false, 3, 1, 4, 3, nullptr}},
        {{5, 4, 6, false, -1, 1, 4, 6, nullptr}},
        {{0, 3, 3, false, -1, 1, 0, 0, nullptr}, {-1, 3, 3, false, -1, 1, 0, 0, nullptr}},
    };
    for (size_t s = 0; s < sequences.size(); ++s) {
        CImgProcConvFilter filter;
        EXPECT_FALSE(filter.OnConvert());
        for (const Step& step : sequences[s]) {
            EXPECT_EQ(step.accepted, filter.SetParameter(Filter(step.filter), own, 3, step.width, step.height)) << s;
            EXPECT_EQ(step.type * 1000 + step.divisor, filter.miFilterType * 1000 + filter.miMatrixDiv) << s;
            EXPECT_EQ(step.outWidth * 100 + step.outHeight, filter.miMatrixWidth * 100 + filter.miMatrixHeight) << s;
            if (step.kernel != nullptr) {
                EXPECT_EQ(*step.kernel, std::vector<int32_t>(filter.mpMatrix, filter.mpMatrix + step.kernel->size()))
                    << s;
            }
        }
        const bool held = filter.mpMatrix != nullptr;
        const int type = filter.miFilterType, width = filter.miMatrixWidth;
        filter.Free();
        EXPECT_TRUE(filter.mpMatrix == nullptr && filter.mpRows == nullptr && filter.mpSums == nullptr) << s;
        EXPECT_EQ(type, filter.miFilterType) << s;
        EXPECT_EQ(held ? 0 : width, filter.miMatrixWidth) << s;  // sizes go only with a held kernel
    }
}

TEST(ConvScale, ParametersAndTheChecksOfARun)
{
    for (int value : {0, 1, 3, 6, 7, -1}) {
        CImgProcConvScale scale;
        EXPECT_EQ(-1, scale.miScale);
        ASSERT_TRUE(scale.SetParameter(static_cast<KORVA_Scale>(2)));
        const bool accepted = value >= 1 && value <= 6;
        EXPECT_EQ(accepted, scale.SetParameter(static_cast<KORVA_Scale>(value))) << value;
        EXPECT_EQ(accepted ? value : 2, scale.miScale) << value;
    }
    // The run checks its views, builds the tables when they pass, and then
    // computes nothing.
    for (int fault = 0; fault < 5; ++fault) {
        auto image = testframes::MakeImage();
        std::vector<unsigned char> src(32, 9), dst(32, 0x5A);
        for (auto view : {std::make_pair(&image->mMemSrc, &src), std::make_pair(&image->mMemDst, &dst)}) {
            testframes::Bind(*view.first, *view.second, 8, 4, testframes::kMono8);
            view.first->miBpp = 8;
            view.first->miCanals = 1;
        }
        if (fault == 1)
            image->mMemSrc.freeChunkOfData();
        if (fault == 2)
            image->mMemDst.freeChunkOfData();
        if (fault == 3)
            image->mMemDst.miPixelFormat = KORVA_PIXTYPE_MONO16;
        if (fault == 4)
            image->mMemSrc.miCanals = 0;
        EXPECT_FALSE(image->mConvScale.Convert()) << fault;
        EXPECT_EQ(fault == 0, image->miLutSrcFormat == static_cast<int32_t>(KORVA_PIXTYPE_MONO8)) << fault;
        EXPECT_EQ(std::vector<unsigned char>(32, 0x5A), dst) << fault;
    }
}

}  // namespace
