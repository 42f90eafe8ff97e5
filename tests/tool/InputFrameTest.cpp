#include <gtest/gtest.h>

#include "CommandLine.h"
#include "InputFrame.h"
#include "KorvaPixelFormats.h"

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

}  // namespace

TEST(InputFrame, PnmFilesGetTheirClosestFormat)
{
    Frame frame;
    std::vector<std::string> notes;
    std::string error;
    InputOptions options;

    ASSERT_TRUE(InputFrame::FromPnm(Grey(255, {1, 2}), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_MONO8));
    EXPECT_EQ(frame.data, (std::vector<uint8_t>{1, 2}));

    ASSERT_TRUE(InputFrame::FromPnm(Grey(65535, {0x1234, 0xFFFF}), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_MONO16));
    EXPECT_EQ(frame.data, (std::vector<uint8_t>{0x34, 0x12, 0xFF, 0xFF}));

    ASSERT_TRUE(InputFrame::FromPnm(Grey(1023, {1, 2, 3, 4, 5, 6}, 3), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_RGB10_PACKED));
    EXPECT_EQ(frame.data.size(), 12u);

    notes.clear();
    ASSERT_TRUE(InputFrame::FromPnm(Grey(65535, {65535, 0, 32768, 1, 2, 3}, 3), options, frame, notes, error));
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_RGB12_PACKED));
    EXPECT_EQ(frame.data[0] | frame.data[1] << 8, 4095);
    EXPECT_EQ(frame.data[4] | frame.data[5] << 8, 2048);
    EXPECT_EQ(notes.size(), 1u);
}

TEST(InputFrame, PgmDeclaredBayerTakesPhaseAndDepth)
{
    Frame frame;
    std::vector<std::string> notes;
    std::string error;
    InputOptions options;
    options.bayer = "GR";
    ASSERT_TRUE(InputFrame::FromPnm(Grey(255, {1, 2}), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_BAYGR8));

    options.bits = 12;
    ASSERT_TRUE(InputFrame::FromPnm(Grey(4095, {4095, 1}), options, frame, notes, error)) << error;
    EXPECT_EQ(frame.code, static_cast<uint32_t>(KORVA_PIXTYPE_BAYGR12));
    EXPECT_EQ(frame.data, (std::vector<uint8_t>{0xFF, 0x0F, 0x01, 0x00}));

    options.bits = 10;
    EXPECT_FALSE(InputFrame::FromPnm(Grey(4095, {1, 1}), options, frame, notes, error));
    options.bits = 16;
    EXPECT_FALSE(InputFrame::FromPnm(Grey(255, {1, 1}), options, frame, notes, error));
    options.bits = 0;
    options.bayer = "XY";
    EXPECT_FALSE(InputFrame::FromPnm(Grey(255, {1, 1}), options, frame, notes, error));
}

TEST(InputFrame, RawFramesNeedTheirFullSize)
{
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
    EXPECT_EQ(notes.size(), 1u);
    options.format = "NOPE";
    EXPECT_FALSE(InputFrame::FromRaw(std::vector<uint8_t>(14), options, frame, notes, error));
}

TEST(CommandLine, ParsesConvertAndRejectsMistakes)
{
    CommandLine line;
    std::string error;
    ASSERT_TRUE(CommandLine::Parse({"convert", "a.pgm", "b.pgm", "--bayer", "RG", "--to", "rgb8_packed", "--balance",
                                     "1.5", "1", "2", "--method", "bilinear"},
                                    line, error))
        << error;
    EXPECT_EQ(line.command, "convert");
    EXPECT_EQ(line.files.size(), 2u);
    EXPECT_DOUBLE_EQ(line.balance.red, 1.5);
    EXPECT_DOUBLE_EQ(line.balance.blue, 2.0);
    EXPECT_EQ(line.method, "bilinear");

    CommandLine empty;
    ASSERT_TRUE(CommandLine::Parse({}, empty, error));
    EXPECT_EQ(empty.command, "demo");

    const std::vector<std::vector<std::string>> bad = {
        {"convert", "a.pgm"},
        {"convert", "a.pgm", "--to", "RGB8"},
        {"convert", "a.pgm", "--to", "MONO8", "--balance", "1", "2"},
        {"convert", "a.pgm", "--to", "MONO8", "--method", "hq"},
        {"convert", "--to", "MONO8"},
        {"stats", "a.raw", "--width", "ten"},
        {"demo", "extra"},
        {"resize"},
    };
    for (const auto& args : bad) {
        CommandLine l;
        EXPECT_FALSE(CommandLine::Parse(args, l, error)) << args[0] << " " << args.size();
    }
}
