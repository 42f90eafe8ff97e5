// frameconv's inputs: PNM and raw frames, its command line, the test chart
// and the pairs it refuses to hand to the plug-in.
#include <gtest/gtest.h>

#include "CommandLine.h"
#include "InputFrame.h"
#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"
#include "TestChart.h"

namespace {

SampleImage Grey(int maxValue, std::vector<uint16_t> samples, int channels = 1)
{
    SampleImage image;
    image.width = 2;
    image.height = 1;
    image.channels = channels;
    image.maxValue = maxValue;
    image.samples = std::move(samples);
    return image;
}

TEST(InputFrame, PnmAndRawFramesGetTheirFormat)
{
    const struct {
        SampleImage pnm;
        const char* bayer;
        int bits;
        uint32_t code;  // 0: refused
        std::vector<uint8_t> data;
    } cases[] = {
        {Grey(255, {1, 2}), "", 0, KORVA_PIXTYPE_MONO8, {1, 2}},
        {Grey(65535, {0x1234, 0xFFFF}), "", 0, KORVA_PIXTYPE_MONO16, {0x34, 0x12, 0xFF, 0xFF}},
        {Grey(1023, {1, 0, 0, 0x3FF, 0, 0}, 3), "", 0, KORVA_PIXTYPE_RGB10_PACKED,
         {1, 0, 0, 0, 0, 0, 0xFF, 3, 0, 0, 0, 0}},
        {Grey(65535, {65535, 0, 32768, 1, 2, 3}, 3), "", 0, KORVA_PIXTYPE_RGB12_PACKED,
         {0xFF, 0x0F, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0}},
        {Grey(255, {1, 2}), "GR", 0, KORVA_PIXTYPE_BAYGR8, {1, 2}},
        {Grey(4095, {4095, 1}), "GR", 12, KORVA_PIXTYPE_BAYGR12, {0xFF, 0x0F, 0x01, 0x00}},
        {Grey(4095, {1, 1}), "GR", 10, 0, {}},
        {Grey(255, {1, 1}), "GR", 16, 0, {}},
        {Grey(255, {1, 1}), "XY", 0, 0, {}},
    };
    for (const auto& c : cases) {
        Frame frame;
        std::vector<std::string> notes;
        std::string error;
        InputOptions options;
        options.bayer = c.bayer;
        options.bits = c.bits;
        const bool ok = InputFrame::FromPnm(c.pnm, options, frame, notes, error);
        EXPECT_EQ(ok, c.code != 0) << std::hex << c.code << " " << error;
        if (ok) {
            EXPECT_EQ(frame.code, c.code);
            EXPECT_EQ(frame.data, c.data) << std::hex << c.code;
        }
    }
    Frame frame;
    std::vector<std::string> notes;
    std::string error;
    InputOptions options;
    options.width = 4;
    options.height = 2;
    options.format = "MONO12_PACKED";
    EXPECT_FALSE(InputFrame::FromRaw(std::vector<uint8_t>(11), options, frame, notes, error));
    ASSERT_TRUE(InputFrame::FromRaw(std::vector<uint8_t>(14), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.data.size(), 12u);
    options.format = "NOPE";
    EXPECT_FALSE(InputFrame::FromRaw(std::vector<uint8_t>(14), options, frame, notes, error));
}

// Mistakes are refused in the frameconv runs.
TEST(CommandLine, ParsesConvert)
{
    CommandLine line;
    std::string error;
    ASSERT_TRUE(CommandLine::Parse({"convert", "a.pgm", "b.pgm", "--bayer", "RG", "--to", "rgb8_packed", "--balance",
                                     "1.5", "1", "2", "--method", "bilinear"},
                                    line, error))
        << error;
    EXPECT_EQ(line.files.size(), 2u);
    EXPECT_DOUBLE_EQ(line.balance.blue, 2.0);
    EXPECT_EQ(line.method, "bilinear");
    CommandLine empty;
    ASSERT_TRUE(CommandLine::Parse({}, empty, error));
    EXPECT_EQ(empty.command, "demo");
}

// A flat colour keeps its samples at every phase of the mosaic.
TEST(TestChart, MosaicPhasesAndDepths)
{
    RgbImage flat;
    flat.width = flat.height = 2;
    flat.rgb = {200, 1, 255, 200, 1, 255, 200, 1, 255, 200, 1, 255};
    EXPECT_EQ(TestChart::Mosaic(flat, BayerPhase::RG, 8), (std::vector<uint8_t>{200, 1, 1, 255}));
    EXPECT_EQ(TestChart::Mosaic(flat, BayerPhase::GB, 8), (std::vector<uint8_t>{1, 255, 200, 1}));
    EXPECT_EQ(TestChart::Mosaic(flat, BayerPhase::RG, 12), (std::vector<uint8_t>{0x80, 0x0C, 0x10, 0, 0x10, 0, 0xF0, 0x0F}));
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::GR, 12), static_cast<uint32_t>(KORVA_PIXTYPE_BAYGR12));
    EXPECT_EQ(TestChart::BayerCode(BayerPhase::RG, 16), 0u);
}

// The pairs the tool refuses are checked in the frameconv runs.
TEST(PixelFormatNames, LookupsAndTheTransformSizeRule)
{
    EXPECT_EQ(PixelFormatNames::FindByName("korva_pixtype_rgb8_planar")->code,
              static_cast<uint32_t>(KORVA_PIXTYPE_RGB8_PLANAR));
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_YUV411_PACKED, 1000, 1000), 2000000);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_MONO10_PACKED, 3, 3), 13);
}

}  // namespace
