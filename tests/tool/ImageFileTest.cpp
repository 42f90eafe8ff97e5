// frameconv's inputs and outputs: PNM files, raw frames and the samples of
// a converted frame, the command line, the test chart and the format names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommandLine.h"
#include "ImageFile.h"
#include "InputFrame.h"
#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"
#include "TestChart.h"

namespace {

std::vector<uint8_t> Bytes(const std::string& header, const std::vector<uint8_t>& data)
{
    std::vector<uint8_t> bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

std::string TempPath(const char* name)
{
    return testing::TempDir() + name;
}

SampleImage Sample(int width, int height, int channels, int maxValue, std::vector<uint16_t> samples)
{
    return SampleImage{width, height, channels, maxValue, 0, std::move(samples)};
}

}  // namespace

TEST(PnmRead, HeadersSampleWidthsAndRefusals)
{
    const struct {
        const char* what;
        std::vector<uint8_t> bytes;
        SampleImage expected;
    } cases[] = {
        {"comments in the header", Bytes("P5\n# by hand\n3 # width\n2\n255\n", {0, 1, 2, 253, 254, 255}),
         Sample(3, 2, 1, 255, {0, 1, 2, 253, 254, 255})},
        {"16-bit samples are big-endian", Bytes("P6 1 1 4095\n", {0x01, 0x02, 0x0F, 0xFF, 0x00, 0x00}),
         Sample(1, 1, 3, 4095, {0x0102, 0x0FFF, 0})},
        {"maxval above 255 takes two bytes", Bytes("P5 2 1 256\n", {0x00, 0x05, 0x01, 0x00}),
         Sample(2, 1, 1, 256, {5, 256})},
    };
    for (const auto& c : cases) {
        SampleImage image;
        std::string error;
        ASSERT_TRUE(ImageFile::ParsePnm(c.bytes, image, error)) << c.what << ": " << error;
        EXPECT_EQ(image.width * 10 + image.height, c.expected.width * 10 + c.expected.height) << c.what;
        EXPECT_EQ(image.channels, c.expected.channels) << c.what;
        EXPECT_EQ(image.maxValue, c.expected.maxValue) << c.what;
        EXPECT_EQ(image.samples, c.expected.samples) << c.what;
    }
    const std::vector<std::vector<uint8_t>> bad = {
        Bytes("P2 2 1 255\n", {1, 2}),         Bytes("P5 2 1 255\n", {1}),        Bytes("P5 2 1 0\n", {0, 0}),
        Bytes("P5 2 1 65536\n", {0, 0, 0, 0}), Bytes("P5 2 1 100\n", {50, 101}), Bytes("P5 0 1 255\n", {}),
        Bytes("P5 2 x 255\n", {1, 2}),         Bytes("P5 2 1 255", {}),           Bytes("P6 1 1 65535\n", {0, 0, 0, 0}),
    };
    for (size_t i = 0; i < bad.size(); ++i) {
        SampleImage image;
        std::string error;
        EXPECT_FALSE(ImageFile::ParsePnm(bad[i], image, error)) << "case " << i;
        EXPECT_FALSE(error.empty()) << "case " << i;
    }
    SampleImage image;
    std::string error;
    EXPECT_FALSE(ImageFile::ReadPnm(TempPath("frameconv_missing.pgm"), image, error));
}

TEST(FrameToSamples, LayoutsBecomeRgbAndDeepFormatsKeepTheirValues)
{
    const struct {
        const char* what;
        uint32_t code;
        int width;
        std::vector<uint8_t> frame;
        int channels, maxValue;
        std::vector<uint16_t> samples;
    } cases[] = {
        {"bgr8", KORVA_PIXTYPE_BGR8_PACKED, 2, {3, 2, 1, 30, 20, 10}, 3, 255, {1, 2, 3, 10, 20, 30}},
        {"planar", KORVA_PIXTYPE_RGB8_PLANAR, 2, {1, 10, 2, 20, 3, 30}, 3, 255, {1, 2, 3, 10, 20, 30}},
        {"bgra8", KORVA_PIXTYPE_BGRA8_PACKED, 1, {3, 2, 1, 77}, 4, 255, {1, 2, 3, 77}},
        {"mono12", KORVA_PIXTYPE_MONO12, 2, {0xFF, 0x0F, 0x34, 0x02}, 1, 65535, {4095, 0x234}},
        {"mono12 packed", KORVA_PIXTYPE_MONO12_PACKED, 2, {0xAB, 0x21, 0xCD}, 1, 65535, {0xAB1, 0xCD2}},
        {"mono10 packed", KORVA_PIXTYPE_MONO10_PACKED, 2, {0xFF, 0x31, 0x01}, 1, 65535, {0x3FD, 0x007}},
    };
    for (const auto& c : cases) {
        SampleImage image;
        std::string error;
        ASSERT_TRUE(ImageFile::FrameToSamples(c.code, c.width, 1, c.frame.data(), c.frame.size(), image, error))
            << c.what << ": " << error;
        EXPECT_EQ(image.channels, c.channels) << c.what;
        EXPECT_EQ(image.maxValue, c.maxValue) << c.what;
        EXPECT_EQ(image.samples, c.samples) << c.what;
    }
    SampleImage image;
    std::string error;
    const std::vector<uint8_t> yuv(8, 0);
    EXPECT_FALSE(ImageFile::FrameToSamples(KORVA_PIXTYPE_YUV422_PACKED, 2, 2, yuv.data(), yuv.size(), image, error));
    EXPECT_FALSE(ImageFile::FrameToSamples(KORVA_PIXTYPE_RGB8_PACKED, 2, 2, yuv.data(), yuv.size(), image, error));
    // What a PNG can not hold, or where it can not go (the written bytes are
    // read back in the frameconv runs).
    EXPECT_FALSE(ImageFile::WritePng(TempPath("frameconv_grey_alpha.png"), Sample(1, 1, 2, 255, {1, 2}), error));
    EXPECT_FALSE(ImageFile::WritePng("/nonexistent-folder/x.png", Sample(1, 1, 1, 255, {1}), error));
}

namespace {

TEST(InputFrame, PnmAndRawFramesGetTheirFormat)
{
    const struct {
        SampleImage pnm;
        const char* bayer;
        int bits;
        uint32_t code;  // 0: refused
        std::vector<uint8_t> data;
    } cases[] = {
        {Sample(2, 1, 1, 255, {1, 2}), "", 0, KORVA_PIXTYPE_MONO8, {1, 2}},
        {Sample(2, 1, 1, 65535, {0x1234, 0xFFFF}), "", 0, KORVA_PIXTYPE_MONO16, {0x34, 0x12, 0xFF, 0xFF}},
        {Sample(2, 1, 3, 1023, {1, 0, 0, 0x3FF, 0, 0}), "", 0, KORVA_PIXTYPE_RGB10_PACKED,
         {1, 0, 0, 0, 0, 0, 0xFF, 3, 0, 0, 0, 0}},
        {Sample(2, 1, 3, 65535, {65535, 0, 32768, 1, 2, 3}), "", 0, KORVA_PIXTYPE_RGB12_PACKED,
         {0xFF, 0x0F, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0}},
        {Sample(2, 1, 1, 255, {1, 2}), "GR", 0, KORVA_PIXTYPE_BAYGR8, {1, 2}},
        {Sample(2, 1, 1, 4095, {4095, 1}), "GR", 12, KORVA_PIXTYPE_BAYGR12, {0xFF, 0x0F, 0x01, 0x00}},
        {Sample(2, 1, 1, 4095, {1, 1}), "GR", 10, 0, {}},
        {Sample(2, 1, 1, 255, {1, 1}), "GR", 16, 0, {}},
        {Sample(2, 1, 1, 255, {1, 1}), "XY", 0, 0, {}},
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
