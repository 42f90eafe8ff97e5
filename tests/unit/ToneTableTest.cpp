// Tone look-up tables: depth scaling, gains, the rebuild key, the colour
// balance entry points and the S-curve of the statistics.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

const uint16_t kUntouched = 0xBEEF;
const uint32_t M8 = KORVA_PIXTYPE_MONO8;

// The tables read only the format codes and effective bits of the views.
std::unique_ptr<CImgProc> Image(uint32_t srcFormat, int32_t srcBpp, uint32_t dstFormat, int32_t dstBpp)
{
    auto image = std::make_unique<CImgProc>();
    for (auto& row : image->mLutData)
        for (uint16_t& entry : row)
            entry = kUntouched;
    image->mMemSrc.miPixelFormat = srcFormat;
    image->mMemSrc.miBppEff = srcBpp;
    image->mMemDst.miPixelFormat = dstFormat;
    image->mMemDst.miBppEff = dstBpp;
    return image;
}

TEST(ToneTable, EntriesFollowDepthsGainsAndGamma)
{
    const struct Case {
        int32_t srcBpp, dstBpp;
        double red, green, blue, gamma;
        int index;
        uint16_t expected[3];
    } cases[] = {
        {12, 8, 1, 1, 1, 1, 2048, {128, 128, 128}},  // 128.03 + 0.5, truncated
        {12, 8, 1, 1, 1, 1, 4095, {255, 255, 255}},
        {8, 16, 1, 1, 1, 1, 1, {257, 257, 257}},
        {10, 8, 1, 1, 1, 1, 512, {128, 128, 128}},
        {16, 8, 1, 1, 1, 1, 32767, {127, 127, 127}},  // 127.498 + 0.5
        {16, 8, 1, 1, 1, 1, 32768, {128, 128, 128}},
        {14, 16, 1, 1, 1, 1, 16383, {65535, 65535, 65535}},
        {16, 16, 1, 1, 1, 1, 40000, {40000, 40000, 40000}},
        // Depths without an entry in the depth rule count as 8-bit.
        {11, 8, 1, 1, 1, 1, 255, {255, 255, 255}},
        {8, 13, 1, 1, 1, 1, 200, {200, 200, 200}},
        // Each colour its own gain, saturating on the source scale; the
        // product is truncated before the normalisation.
        {8, 8, 2, 1, 0.5, 1, 100, {200, 100, 50}},
        {8, 8, 2, 1.5, 0.5, 1, 128, {255, 192, 64}},
        {8, 8, 1.5, 1.5, 0.5, 1, 3, {4, 4, 1}},
        {12, 8, 2, 1, 1, 1, 2048, {255, 128, 128}},
        // 128 * 128 / 255 = 64.25, + 0.5
        {8, 8, 1, 1, 1, 2, 128, {64, 64, 64}},
        {8, 8, 1, 1, 1, 2, 255, {255, 255, 255}},
        // Entries above the source range are not written.
        {10, 16, 1, 1, 1, 1, 1023, {65535, 65535, 65535}},
        {10, 16, 1, 1, 1, 1, 1024, {kUntouched, kUntouched, kUntouched}},
    };
    for (const Case& c : cases) {
        auto image = Image(KORVA_PIXTYPE_MONO12, c.srcBpp, M8, c.dstBpp);
        image->createLookUpTables(c.red, c.green, c.blue, c.gamma);
        for (int t = 0; t < 3; ++t)
            EXPECT_EQ(c.expected[t], image->mpLUT[t][c.index])
                << c.srcBpp << "->" << c.dstBpp << " gain " << c.red << " entry " << c.index << " table " << t;
    }
    auto identity = Image(M8, 8, M8, 8);
    identity->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    for (int t = 0; t < 3; ++t)
        for (int i = 0; i <= 255; ++i)
            ASSERT_EQ(i, identity->mpLUT[t][i]) << "table " << t;
}

TEST(ToneTable, KeyDecidesRebuild)
{
    for (uint32_t missing : {0u, 1u}) {  // no source or no destination format: no build
        auto image = Image(missing ? M8 : 0, 8, missing ? 0 : M8, 8);
        image->createLookUpTables(2.0, 2.0, 2.0, 1.0);
        EXPECT_EQ(-1, image->miLutSrcFormat + image->miLutDstFormat + 1);
        EXPECT_EQ(kUntouched, image->mpLUT[0][10]);
    }
    auto image = Image(M8, 8, M8, 8);
    image->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    // Same formats and gains: nothing is rebuilt, whatever the gamma or the
    // effective bits.
    image->mpLUT[0][10] = kUntouched;
    image->mMemSrc.miBppEff = 12;
    image->createLookUpTables(1.0, 1.0, 1.0, 2.0);
    EXPECT_EQ(kUntouched, image->mpLUT[0][10]);
    image->mMemSrc.miBppEff = 8;
    const struct Change {
        uint32_t src, dst;
        double red, green, blue;
    } changes[] = {
        {M8, M8, 1.0, 1.0, 1.5},
        {M8, M8, 1.0, 1.5, 1.5},
        {M8, M8, 1.5, 1.5, 1.5},
        {KORVA_PIXTYPE_BAYRG8, M8, 1.5, 1.5, 1.5},
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED, 1.5, 1.5, 1.5},
    };
    for (const Change& c : changes) {
        image->mMemSrc.miPixelFormat = c.src;
        image->mMemDst.miPixelFormat = c.dst;
        image->mpLUT[0][10] = kUntouched;
        image->createLookUpTables(c.red, c.green, c.blue, 1.0);
        EXPECT_NE(kUntouched, image->mpLUT[0][10]) << c.src << " " << c.dst << " " << c.red << c.green << c.blue;
        EXPECT_EQ(static_cast<int32_t>(c.dst), image->miLutDstFormat);
        EXPECT_EQ(c.blue, image->mdLutGain[2]);
    }
}

// The balance is stored as given (no range check) but the tables ignore it;
// reading it back measures a Bayer frame instead.
TEST(ToneTable, BalanceIsStoredButTablesIgnoreIt)
{
    auto unset = Image(0, 8, 0, 8);
    EXPECT_EQ(RESULT_OK, unset->setDemosaicColorBalance(2.0, 1.0, 1.0));
    EXPECT_EQ(2.0, unset->mdBalanceRed);
    EXPECT_EQ(-1, unset->miLutSrcFormat);
    auto image = Image(M8, 8, M8, 8);
    EXPECT_EQ(RESULT_OK, image->setDemosaicColorBalance(1.0, 1.0, 1.0));
    EXPECT_EQ(-1, image->miLutSrcFormat);  // unchanged factors: no build
    image = Image(KORVA_PIXTYPE_BAYRG8, 8, KORVA_PIXTYPE_RGB8_PACKED, 8);
    EXPECT_EQ(RESULT_OK, image->setDemosaicColorBalance(0.0, -1.0, 3.0));
    EXPECT_EQ(0.0 + 10 * -1.0 + 100 * 3.0, image->mdBalanceRed + 10 * image->mdBalanceGreen + 100 * image->mdBalanceBlue);
    EXPECT_EQ(static_cast<int32_t>(KORVA_PIXTYPE_BAYRG8), image->miLutSrcFormat);
    EXPECT_EQ(100, image->mpLUT[0][100]);
    double red = -5.0, green = -5.0, blue = -5.0;
    EXPECT_EQ(RESULT_FAIL, unset->getDemosaicColorBalance(&red, &green, &blue));
    EXPECT_EQ(-15.0, red + green + blue);
}

TEST(ToneTable, SCurveBranchesAndLimits)
{
    // xLow 10, xHigh 110, xMid 60, yLow 0, yHigh 100: yMid is 100 * 60 / 100
    // = 60, not 50, as xLow is not taken off xMid.
    const struct Case {
        double x, exponent, ignored, expected;
    } cases[] = {
        {10.0, 2.0, 2.0, 0.0},   {-3.0, 2.0, 2.0, 0.0}, {110.0, 2.0, 2.0, 100.0}, {500.0, 2.0, 2.0, 100.0},
        {60.0, 2.0, 2.0, 60.0},  // upper branch gives yMid
        {35.0, 2.0, 2.0, 15.0},  // 60 * (25 / 50)^2
        {85.0, 2.0, 2.0, 90.0},  // 100 - 40 * (25 / 50)^2
        {35.0, 2.0, 7.0, 15.0},  // third argument has no effect
        {35.0, 1.0, 2.0, 30.0},
    };
    CImgProc image;
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(c.expected, image.Function_SCurve(c.x, c.exponent, c.ignored, 10.0, 110.0, 60.0, 0.0, 100.0))
            << "x " << c.x;
}

}  // namespace
