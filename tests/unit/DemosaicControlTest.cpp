// Method selection of the Bayer converter and the packed pixel layouts its
// templates write.
#include <gtest/gtest.h>

#include <cstring>

#include "ImgProcConvDemosaic.h"
#include "PixelTypes.h"

namespace {

TEST(DemosaicControl, FreshConverterIsNearestNeighbour)
{
    CImgProcConvDemosaic conv;
    EXPECT_EQ(KORVA_DEMOSAIC_NEAREST, conv.miDemosaicType);
    EXPECT_EQ(2, conv.miMatrixSize);
    EXPECT_EQ(nullptr, conv.mppRows);
    EXPECT_EQ(nullptr, conv.mpLUTRed);
    EXPECT_EQ(nullptr, conv.mpLUTGreen);
    EXPECT_EQ(nullptr, conv.mpLUTBlue);
    EXPECT_EQ(256, conv.miReserved256);
}

TEST(DemosaicControl, SetTypeStoresTypeAndNeighbourhood)
{
    const struct Case {
        int type;
        bool accepted;
        int size;
    } cases[] = {
        {1, true, 2},    {2, true, 3},    {3, true, 5},     {100, true, 0}, {101, true, 0},
        {102, true, 5},  {0, false, 0},   {4, false, 0},    {99, false, 0}, {103, false, 0},
        {-1, false, 0},
    };
    for (const Case& c : cases) {
        CImgProcConvDemosaic conv;
        // Start from a state that differs from every case's outcome.
        conv.miDemosaicType = static_cast<KORVA_Demosaic>(7);
        conv.miMatrixSize = 9;
        EXPECT_EQ(c.accepted, conv.SetType(static_cast<KORVA_Demosaic>(c.type))) << c.type;
        EXPECT_EQ(c.accepted ? c.type : 7, conv.miDemosaicType) << c.type;
        EXPECT_EQ(c.accepted ? c.size : 9, conv.miMatrixSize) << c.type;
    }
}

TEST(DemosaicControl, PackedPixelsLayOutSamplesInOrder)
{
    const unsigned char bytes[6] = {1, 2, 3, 4, 5, 6};

    tRGBPIXEL rgb;
    std::memcpy(&rgb, bytes, sizeof rgb);
    EXPECT_EQ(1, rgb.red);
    EXPECT_EQ(2, rgb.green);
    EXPECT_EQ(3, rgb.blue);

    tBGRPIXEL bgr;
    std::memcpy(&bgr, bytes, sizeof bgr);
    EXPECT_EQ(1, bgr.blue);
    EXPECT_EQ(3, bgr.red);

    const WORD words[3] = {0x1111, 0x2222, 0x3333};
    tRGBPIXEL16 rgb16;
    std::memcpy(&rgb16, words, sizeof rgb16);
    EXPECT_EQ(0x1111, rgb16.red);
    EXPECT_EQ(0x3333, rgb16.blue);

    tBGRPIXEL16 bgr16;
    std::memcpy(&bgr16, words, sizeof bgr16);
    EXPECT_EQ(0x1111, bgr16.blue);
    EXPECT_EQ(0x2222, bgr16.green);
    EXPECT_EQ(0x3333, bgr16.red);

    // Rows are plain arrays of pixels with no padding between them.
    EXPECT_EQ(12u, sizeof(tRGBPIXEL[4]));
    EXPECT_EQ(24u, sizeof(tBGRPIXEL16[4]));
}

}  // namespace
