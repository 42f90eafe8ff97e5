#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <string>
#include <vector>

#include "ImageFile.h"
#include "KorvaPixelFormats.h"

namespace {

std::vector<uint8_t> Bytes(const std::string& header, const std::vector<uint8_t>& data)
{
    std::vector<uint8_t> bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

struct PngContent {
    int width = 0, height = 0, depth = 0, colourType = -1;
    std::vector<std::vector<uint8_t>> rows;
};

PngContent ReadPng(const std::string& path)
{
    PngContent content;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return content;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, file);
        png_read_info(png, info);
        content.width = static_cast<int>(png_get_image_width(png, info));
        content.height = static_cast<int>(png_get_image_height(png, info));
        content.depth = png_get_bit_depth(png, info);
        content.colourType = png_get_color_type(png, info);
        const size_t rowBytes = png_get_rowbytes(png, info);
        content.rows.assign(content.height, std::vector<uint8_t>(rowBytes));
        for (auto& row : content.rows)
            png_read_row(png, row.data(), nullptr);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return content;
}

std::string TempPath(const char* name)
{
    return testing::TempDir() + name;
}

SampleImage Sample(int width, int height, int channels, int maxValue, std::vector<uint16_t> samples)
{
    SampleImage image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.maxValue = maxValue;
    image.samples = std::move(samples);
    return image;
}

}  // namespace

TEST(PnmRead, HeadersAndSampleWidths)
{
    const struct {
        const char* what;
        std::vector<uint8_t> bytes;
        SampleImage expected;
    } cases[] = {
        {"8-bit grey with comments in the header",
         Bytes("P5\n# made by hand\n3 # width\n2\n# maxval next\n255\n", {0, 1, 2, 253, 254, 255}),
         Sample(3, 2, 1, 255, {0, 1, 2, 253, 254, 255})},
        // One RGB pixel 0x0102, 0x0FFF, 0x0000 and a maxval that needs two bytes.
        {"16-bit samples are big-endian", Bytes("P6 1 1 4095\n", {0x01, 0x02, 0x0F, 0xFF, 0x00, 0x00}),
         Sample(1, 1, 3, 4095, {0x0102, 0x0FFF, 0})},
        {"maxval above 255 uses two bytes even for small samples", Bytes("P5 2 1 256\n", {0x00, 0x05, 0x01, 0x00}),
         Sample(2, 1, 1, 256, {5, 256})},
    };
    for (const auto& c : cases) {
        SampleImage image;
        std::string error;
        ASSERT_TRUE(ImageFile::ParsePnm(c.bytes, image, error)) << c.what << ": " << error;
        EXPECT_EQ(image.width, c.expected.width) << c.what;
        EXPECT_EQ(image.height, c.expected.height) << c.what;
        EXPECT_EQ(image.channels, c.expected.channels) << c.what;
        EXPECT_EQ(image.maxValue, c.expected.maxValue) << c.what;
        EXPECT_EQ(image.samples, c.expected.samples) << c.what;
    }
}

TEST(PnmRead, ReadsFromAFile)
{
    const std::string path = TempPath("frameconv_read.pgm");
    const auto bytes = Bytes("P5 2 2 255\n", {9, 8, 7, 6});
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    SampleImage image;
    std::string error;
    ASSERT_TRUE(ImageFile::ReadPnm(path, image, error)) << error;
    EXPECT_EQ(image.samples, (std::vector<uint16_t>{9, 8, 7, 6}));
    std::remove(path.c_str());
    EXPECT_FALSE(ImageFile::ReadPnm(path, image, error));
}

TEST(PnmRead, BadFilesAreRefused)
{
    const std::vector<std::vector<uint8_t>> bad = {
        Bytes("P2 2 1 255\n", {1, 2}),          // ASCII variant
        Bytes("P5 2 1 255\n", {1}),             // truncated data
        Bytes("P5 2 1 0\n", {0, 0}),            // maxval 0
        Bytes("P5 2 1 65536\n", {0, 0, 0, 0}),  // maxval too deep
        Bytes("P5 2 1 100\n", {50, 101}),       // sample above maxval
        Bytes("P5 0 1 255\n", {}),              // no pixels
        Bytes("P5 2 x 255\n", {1, 2}),          // not a number
        Bytes("P5 2 1 255", {}),                // header without separator
        Bytes("P6 1 1 65535\n", {0, 0, 0, 0}),  // 16-bit RGB cut short
    };
    for (size_t i = 0; i < bad.size(); ++i) {
        SampleImage image;
        std::string error;
        EXPECT_FALSE(ImageFile::ParsePnm(bad[i], image, error)) << "case " << i;
        EXPECT_FALSE(error.empty()) << "case " << i;
    }
}

TEST(PngWrite, EightBitRgbReadsBack)
{
    const SampleImage image = Sample(2, 2, 3, 255, {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30});
    const std::string path = TempPath("frameconv_rgb8.png");
    std::string error;
    ASSERT_TRUE(ImageFile::WritePng(path, image, error)) << error;
    const PngContent png = ReadPng(path);
    EXPECT_EQ(png.width, 2);
    EXPECT_EQ(png.height, 2);
    EXPECT_EQ(png.depth, 8);
    EXPECT_EQ(png.colourType, PNG_COLOR_TYPE_RGB);
    ASSERT_EQ(png.rows.size(), 2u);
    EXPECT_EQ(png.rows[0], (std::vector<uint8_t>{255, 0, 0, 0, 255, 0}));
    EXPECT_EQ(png.rows[1], (std::vector<uint8_t>{0, 0, 255, 10, 20, 30}));
    std::remove(path.c_str());
}

TEST(PngWrite, SixteenBitGreyGoesOutBigEndianWithValuesKept)
{
    const SampleImage image = Sample(3, 1, 1, 4095, {0x0102, 4095, 0});
    const std::string path = TempPath("frameconv_grey16.png");
    std::string error;
    ASSERT_TRUE(ImageFile::WritePng(path, image, error)) << error;
    const PngContent png = ReadPng(path);
    EXPECT_EQ(png.depth, 16);
    EXPECT_EQ(png.colourType, PNG_COLOR_TYPE_GRAY);
    ASSERT_EQ(png.rows.size(), 1u);
    EXPECT_EQ(png.rows[0], (std::vector<uint8_t>{0x01, 0x02, 0x0F, 0xFF, 0, 0}));
    std::remove(path.c_str());
}

TEST(PngWrite, RefusesWhatItCannotWrite)
{
    SampleImage image = Sample(1, 1, 2, 255, {1, 2});
    std::string error;
    EXPECT_FALSE(ImageFile::WritePng(TempPath("frameconv_two.png"), image, error));
    image.channels = 1;
    EXPECT_FALSE(ImageFile::WritePng("/nonexistent-folder/x.png", image, error));
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
        // Two pixels of planar RGB: planes R R, G G, B B.
        {"planar", KORVA_PIXTYPE_RGB8_PLANAR, 2, {1, 10, 2, 20, 3, 30}, 3, 255, {1, 2, 3, 10, 20, 30}},
        {"bgra8", KORVA_PIXTYPE_BGRA8_PACKED, 1, {3, 2, 1, 77}, 4, 255, {1, 2, 3, 77}},
        // Little-endian 4095, 0x234.
        {"mono12", KORVA_PIXTYPE_MONO12, 2, {0xFF, 0x0F, 0x34, 0x02}, 1, 65535, {4095, 0x234}},
        // Pixel 0 = 0xAB << 4 | 0x1, pixel 1 = 0xCD << 4 | 0x2.
        {"mono12 packed", KORVA_PIXTYPE_MONO12_PACKED, 2, {0xAB, 0x21, 0xCD}, 1, 65535, {0xAB1, 0xCD2}},
        // Two low bits of each pixel in the middle byte.
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
}

TEST(FrameToSamples, RefusesYuvAndShortData)
{
    SampleImage image;
    std::string error;
    const std::vector<uint8_t> yuv(8, 0);
    EXPECT_FALSE(ImageFile::FrameToSamples(KORVA_PIXTYPE_YUV422_PACKED, 2, 2, yuv.data(), yuv.size(), image, error));
    EXPECT_FALSE(ImageFile::FrameToSamples(KORVA_PIXTYPE_RGB8_PACKED, 2, 2, yuv.data(), yuv.size(), image, error));
}
