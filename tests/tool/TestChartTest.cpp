#include <gtest/gtest.h>

#include "KorvaPixelFormats.h"
#include "TestChart.h"

namespace {

const uint8_t* At(const RgbImage& image, int x, int y)
{
    return image.rgb.data() + (static_cast<size_t>(y) * image.width + x) * 3;
}

RgbImage Flat(int width, int height, uint8_t r, uint8_t g, uint8_t b)
{
    RgbImage image;
    image.width = width;
    image.height = height;
    image.rgb.resize(static_cast<size_t>(width) * height * 3);
    for (size_t i = 0; i < image.rgb.size(); i += 3) {
        image.rgb[i] = r;
        image.rgb[i + 1] = g;
        image.rgb[i + 2] = b;
    }
    return image;
}

}  // namespace

TEST(TestChart, IsDeterministicAndHoldsItsParts)
{
    const RgbImage a = TestChart::Generate(640, 480);
    const RgbImage b = TestChart::Generate(640, 480);
    ASSERT_EQ(a.rgb.size(), 640u * 480u * 3u);
    EXPECT_EQ(a.rgb, b.rgb);

    // Bars: white first, red sixth, black last.
    const uint8_t* white = At(a, 40, 10);
    EXPECT_EQ(white[0] + white[1] + white[2], 3 * 255);
    const uint8_t* red = At(a, 5 * 80 + 40, 10);
    EXPECT_EQ(red[0], 255);
    EXPECT_EQ(red[1], 0);
    EXPECT_EQ(red[2], 0);
    const uint8_t* black = At(a, 639, 0);
    EXPECT_EQ(black[0] + black[1] + black[2], 0);

    // The ramp rises from black to white, grey all the way.
    const int rampRow = 200;
    EXPECT_EQ(At(a, 0, rampRow)[0], 0);
    EXPECT_EQ(At(a, 639, rampRow)[0], 255);
    for (int x = 1; x < 640; ++x) {
        EXPECT_GE(At(a, x, rampRow)[0], At(a, x - 1, rampRow)[0]);
        EXPECT_EQ(At(a, x, rampRow)[1], At(a, x, rampRow)[0]);
    }

    // Finest lines alternate pixel by pixel.
    EXPECT_NE(At(a, 10, 300)[0], At(a, 11, 300)[0]);
    // The wheel is saturated at its rim: some pixel there has a channel at 0.
    bool saturated = false;
    for (int x = 480; x < 640 && !saturated; ++x)
        saturated = At(a, x, 360)[0] == 0 || At(a, x, 360)[1] == 0 || At(a, x, 360)[2] == 0;
    EXPECT_TRUE(saturated);
}

TEST(TestChart, EachPhaseSamplesTheRightColourAtTheOrigin)
{
    const RgbImage image = Flat(4, 4, 10, 20, 30);
    struct Expect {
        BayerPhase phase;
        uint8_t origin, right, below, diagonal;
    };
    const Expect expects[] = {{BayerPhase::RG, 10, 20, 20, 30},
                              {BayerPhase::GR, 20, 10, 30, 20},
                              {BayerPhase::GB, 20, 30, 10, 20},
                              {BayerPhase::BG, 30, 20, 20, 10}};
    for (const Expect& e : expects) {
        const auto mosaic = TestChart::Mosaic(image, e.phase, 8);
        ASSERT_EQ(mosaic.size(), 16u);
        EXPECT_EQ(mosaic[0], e.origin) << TestChart::PhaseName(e.phase);
        EXPECT_EQ(mosaic[1], e.right) << TestChart::PhaseName(e.phase);
        EXPECT_EQ(mosaic[4], e.below) << TestChart::PhaseName(e.phase);
        EXPECT_EQ(mosaic[5], e.diagonal) << TestChart::PhaseName(e.phase);
        // The pattern repeats every two pixels.
        EXPECT_EQ(mosaic[2], mosaic[0]);
        EXPECT_EQ(mosaic[10], mosaic[0]);
    }
}

TEST(TestChart, TwelveBitMosaicIsShiftedLittleEndian)
{
    const RgbImage image = Flat(2, 2, 200, 1, 255);
    const auto mosaic = TestChart::Mosaic(image, BayerPhase::RG, 12);
    ASSERT_EQ(mosaic.size(), 8u);
    EXPECT_EQ(mosaic[0], 0x80);  // 200 << 4 = 0x0C80
    EXPECT_EQ(mosaic[1], 0x0C);
    EXPECT_EQ(mosaic[6], 0xF0);  // 255 << 4 = 0x0FF0 at the blue site
    EXPECT_EQ(mosaic[7], 0x0F);
}

TEST(TestChart, PhasesNameTheirCodes)
{
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::GR, 12), static_cast<uint32_t>(KORVA_PIXTYPE_BAYGR12));
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::BG, 8), static_cast<uint32_t>(KORVA_PIXTYPE_BAYBG8));
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::GB, 10), static_cast<uint32_t>(KORVA_PIXTYPE_BAYGB10));
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::RG, 16), 0u);
    BayerPhase phase;
    ASSERT_TRUE(TestChart::ParsePhase("gb", phase));
    EXPECT_EQ(phase, BayerPhase::GB);
    EXPECT_FALSE(TestChart::ParsePhase("GG", phase));
}
