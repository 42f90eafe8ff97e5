// Tone look-up tables: depth scaling, gains, the rebuild key, the colour
// balance entry points and the S-curve of the statistics.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

const uint16_t kUntouched = 0xBEEF;

// The tables read only the format codes and effective bits of the views.
void SetFormats(CImgProc& image, uint32_t srcFormat, int32_t srcBpp, uint32_t dstFormat, int32_t dstBpp)
{
    image.mMemSrc.miPixelFormat = srcFormat;
    image.mMemSrc.miBppEff = srcBpp;
    image.mMemDst.miPixelFormat = dstFormat;
    image.mMemDst.miBppEff = dstBpp;
}

std::unique_ptr<CImgProc> Image(uint32_t srcFormat, int32_t srcBpp, uint32_t dstFormat, int32_t dstBpp)
{
    auto image = std::make_unique<CImgProc>();
    SetFormats(*image, srcFormat, srcBpp, dstFormat, dstBpp);
    return image;
}

const uint32_t M8 = KORVA_PIXTYPE_MONO8;

void FillTables(CImgProc& image, uint16_t value)
{
    for (auto& row : image.mLutData)
        for (uint16_t& entry : row)
            entry = value;
}

TEST(ToneTable, EntriesFollowDepthsAndGains)
{
    const struct Case {
        int32_t srcBpp, dstBpp;
        double gain;
        int index;
        uint16_t expected;
    } cases[] = {
        {12, 8, 1.0, 0, 0},
        {12, 8, 1.0, 4095, 255},
        {12, 8, 1.0, 2048, 128},  // 128.03 + 0.5, truncated
        {8, 16, 1.0, 1, 257},
        {8, 16, 1.0, 255, 65535},
        {10, 8, 1.0, 512, 128},
        {10, 8, 1.0, 1023, 255},
        {16, 8, 1.0, 32767, 127},  // 127.498 + 0.5
        {16, 8, 1.0, 32768, 128},  // 127.502 + 0.5
        {14, 16, 1.0, 16383, 65535},
        {16, 16, 1.0, 40000, 40000},
        // Depths without an entry in the depth rule count as 8-bit.
        {11, 8, 1.0, 255, 255},
        {8, 13, 1.0, 200, 200},
        {15, 15, 1.0, 128, 128},
        // The gain saturates on the source scale.
        {8, 8, 2.0, 127, 254},
        {8, 8, 2.0, 128, 255},
        {8, 8, 2.0, 255, 255},
        {12, 8, 2.0, 2048, 255},
        // The product is truncated before the normalisation.
        {8, 8, 1.5, 1, 1},
        {8, 8, 1.5, 2, 3},
        {8, 8, 1.5, 3, 4},
        {8, 8, 0.5, 255, 127},
    };
    for (const Case& c : cases) {
        auto image = Image(KORVA_PIXTYPE_MONO12, c.srcBpp, M8, c.dstBpp);
        image->createLookUpTables(c.gain, c.gain, c.gain, 1.0);
        for (int t = 0; t < 3; ++t)
            EXPECT_EQ(c.expected, image->mpLUT[t][c.index])
                << c.srcBpp << "->" << c.dstBpp << " gain " << c.gain << " entry " << c.index << " table " << t;
    }
}

TEST(ToneTable, EqualDepthWithUnitGainIsIdentity)
{
    auto image = Image(M8, 8, M8, 8);
    image->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    for (int t = 0; t < 3; ++t)
        for (int i = 0; i <= 255; ++i)
            ASSERT_EQ(i, image->mpLUT[t][i]) << "table " << t;
}

TEST(ToneTable, EachColourUsesItsOwnGain)
{
    auto image = Image(M8, 8, M8, 8);
    image->createLookUpTables(2.0, 1.0, 0.5, 1.0);
    EXPECT_EQ(image->mpLUT[0], image->mLutData[0]);
    EXPECT_EQ(image->mpLUT[2], image->mLutData[2]);
    EXPECT_EQ(200, image->mpLUT[0][100]);
    EXPECT_EQ(100, image->mpLUT[1][100]);
    EXPECT_EQ(50, image->mpLUT[2][100]);
    EXPECT_EQ(1, image->mpLUT[2][3]);
}

TEST(ToneTable, GammaOtherThanOneShapesTheCurve)
{
    auto image = Image(M8, 8, M8, 8);
    image->createLookUpTables(1.0, 1.0, 1.0, 2.0);
    EXPECT_EQ(0, image->mpLUT[0][0]);
    EXPECT_EQ(64, image->mpLUT[0][128]);  // 128 * 128 / 255 = 64.25, + 0.5
    EXPECT_EQ(255, image->mpLUT[1][255]);
}

TEST(ToneTable, EntriesAboveTheSourceRangeAreNotWritten)
{
    auto image = Image(KORVA_PIXTYPE_MONO10, 10, KORVA_PIXTYPE_MONO16, 16);
    FillTables(*image, kUntouched);
    image->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    for (int t = 0; t < 3; ++t) {
        EXPECT_EQ(65535, image->mpLUT[t][1023]);
        EXPECT_EQ(kUntouched, image->mpLUT[t][1024]);
        EXPECT_EQ(kUntouched, image->mpLUT[t][65535]);
    }
}

TEST(ToneTable, MissingFormatBuildsNothing)
{
    const struct {
        uint32_t src, dst;
    } cases[] = {{0, KORVA_PIXTYPE_MONO8}, {KORVA_PIXTYPE_MONO8, 0}, {0, 0}};
    for (const auto& c : cases) {
        auto image = Image(c.src, 8, c.dst, 8);
        FillTables(*image, kUntouched);
        image->createLookUpTables(2.0, 2.0, 2.0, 1.0);
        EXPECT_EQ(-1, image->miLutSrcFormat);
        EXPECT_EQ(-1, image->miLutDstFormat);
        EXPECT_EQ(1.0, image->mdLutGain[0]);
        EXPECT_EQ(kUntouched, image->mpLUT[0][10]);
    }
}

TEST(ToneTable, KeyDecidesRebuildAndIgnoresGamma)
{
    auto image = Image(M8, 8, M8, 8);
    image->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    EXPECT_EQ(static_cast<int32_t>(KORVA_PIXTYPE_MONO8), image->miLutSrcFormat);
    EXPECT_EQ(static_cast<int32_t>(KORVA_PIXTYPE_MONO8), image->miLutDstFormat);

    // Same formats and gains: nothing is rebuilt, whatever the gamma.
    image->mpLUT[0][10] = kUntouched;
    image->createLookUpTables(1.0, 1.0, 1.0, 2.0);
    EXPECT_EQ(kUntouched, image->mpLUT[0][10]);

    // Any part of the key that changes brings a rebuild.
    const struct Change {
        uint32_t src, dst;
        double red, green, blue;
    } changes[] = {
        {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_MONO8, 1.0, 1.0, 1.5},
        {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_MONO8, 1.0, 1.5, 1.5},
        {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_MONO8, 1.5, 1.5, 1.5},
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_MONO8, 1.5, 1.5, 1.5},
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED, 1.5, 1.5, 1.5},
    };
    for (const Change& c : changes) {
        SetFormats(*image, c.src, 8, c.dst, 8);
        image->mpLUT[0][10] = kUntouched;
        image->createLookUpTables(c.red, c.green, c.blue, 1.0);
        EXPECT_NE(kUntouched, image->mpLUT[0][10]) << c.src << " " << c.dst << " " << c.red << c.green << c.blue;
        EXPECT_EQ(static_cast<int32_t>(c.src), image->miLutSrcFormat);
        EXPECT_EQ(static_cast<int32_t>(c.dst), image->miLutDstFormat);
        EXPECT_EQ(c.red, image->mdLutGain[0]);
        EXPECT_EQ(c.green, image->mdLutGain[1]);
        EXPECT_EQ(c.blue, image->mdLutGain[2]);
    }

    // The effective bits are no part of the key: a view that changes only
    // them keeps the old tables.
    image->mMemSrc.miBppEff = 12;
    image->mpLUT[0][10] = kUntouched;
    image->createLookUpTables(1.5, 1.5, 1.5, 1.0);
    EXPECT_EQ(kUntouched, image->mpLUT[0][10]);
}

// The colour balance entry points: factors are stored as given (no range
// check) but the tables ignore them, and a build needs both formats; reading
// the balance measures from a Bayer frame instead of returning the factors.
TEST(ToneTable, BalanceIsStoredButTablesIgnoreIt)
{
    auto image = Image(M8, 8, M8, 8);
    EXPECT_EQ(RESULT_OK, image->setDemosaicColorBalance(1.0, 1.0, 1.0));
    EXPECT_EQ(-1, image->miLutSrcFormat);  // nothing changed: no build
    EXPECT_EQ(-1, image->miLutDstFormat);

    auto unset = std::make_unique<CImgProc>();
    EXPECT_EQ(RESULT_OK, unset->setDemosaicColorBalance(2.0, 1.0, 1.0));
    EXPECT_EQ(2.0, unset->mdBalanceRed);
    EXPECT_EQ(-1, unset->miLutSrcFormat);

    image = Image(KORVA_PIXTYPE_BAYRG8, 8, KORVA_PIXTYPE_RGB8_PACKED, 8);
    EXPECT_EQ(RESULT_OK, image->setDemosaicColorBalance(2.0, 1.0, 1.0));
    EXPECT_EQ(2.0, image->mdBalanceRed);
    EXPECT_EQ(1.0, image->mdBalanceGreen);
    EXPECT_EQ(static_cast<int32_t>(KORVA_PIXTYPE_BAYRG8), image->miLutSrcFormat);
    EXPECT_EQ(1.0, image->mdLutGain[0]);
    EXPECT_EQ(100, image->mpLUT[0][100]);
    EXPECT_EQ(RESULT_OK, image->setDemosaicColorBalance(0.0, -1.0, 3.0));
    EXPECT_EQ(0.0, image->mdBalanceRed);
    EXPECT_EQ(-1.0, image->mdBalanceGreen);
    EXPECT_EQ(3.0, image->mdBalanceBlue);

    // No Bayer frame to measure from: the outputs stay.
    double red = -5.0, green = -5.0, blue = -5.0;
    EXPECT_EQ(RESULT_FAIL, unset->getDemosaicColorBalance(&red, &green, &blue));
    EXPECT_EQ(-5.0, red);
    EXPECT_EQ(-5.0, green);
    EXPECT_EQ(-5.0, blue);
}

TEST(ToneTable, SCurveBranchesAndLimits)
{
    // xLow 10, xHigh 110, xMid 60, yLow 0, yHigh 100: yMid is 100 * 60 / 100
    // = 60, not 50, as xLow is not taken off xMid.
    const struct Case {
        double x, exponent, ignored, expected;
    } cases[] = {
        {10.0, 2.0, 2.0, 0.0},     // at xLow
        {-3.0, 2.0, 2.0, 0.0},     // below
        {110.0, 2.0, 2.0, 100.0},  // at xHigh
        {500.0, 2.0, 2.0, 100.0},  // above
        {60.0, 2.0, 2.0, 60.0},    // at xMid: upper branch gives yMid
        {35.0, 2.0, 2.0, 15.0},    // 60 * (25 / 50)^2
        {85.0, 2.0, 2.0, 90.0},    // 100 - 40 * (25 / 50)^2
        {35.0, 2.0, 7.0, 15.0},    // third argument has no effect
        {35.0, 1.0, 2.0, 30.0},
    };
    auto image = std::make_unique<CImgProc>();
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(c.expected,
                         image->Function_SCurve(c.x, c.exponent, c.ignored, 10.0, 110.0, 60.0, 0.0, 100.0))
            << "x " << c.x;
}

}  // namespace
