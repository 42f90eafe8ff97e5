// frameconv run as a user runs it, on small generated files: what it refuses,
// what it leaves behind, and what a viewer gets to see.
#include <gtest/gtest.h>
#include <png.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ImageFile.h"
#include "TestChart.h"

namespace fs = std::filesystem;

namespace {

struct Outcome {
    int status = -1;
    std::string out, err;
};

class FrameconvRun : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[] = "/tmp/frameconv-run-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        mDir = name;
    }
    void TearDown() override { fs::remove_all(mDir); }

    std::string At(const std::string& name) const { return (fs::path(mDir) / name).string(); }

    void Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(At(name), std::ios::binary) << bytes;
    }

    // A binary PNM of 8-bit samples.
    void WritePnm(const std::string& name, char kind, int width, int height, const std::vector<uint8_t>& samples) const
    {
        std::string header = std::string("P") + kind + "\n" + std::to_string(width) + " " + std::to_string(height) +
                             "\n255\n";
        Write(name, header + std::string(samples.begin(), samples.end()));
    }

    Outcome Run(const std::string& args) const
    {
        const std::string command = "cd '" + mDir + "' && '" FRAMECONV_PATH "' --plugin '" IMGPROC_PLUGIN_PATH "' " +
                                    args + " >stdout.txt 2>stderr.txt";
        Outcome o;
        const int raw = std::system(command.c_str());
        o.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        o.out = Slurp(At("stdout.txt"));
        o.err = Slurp(At("stderr.txt"));
        fs::remove(At("stdout.txt"));
        fs::remove(At("stderr.txt"));
        return o;
    }

    std::set<std::string> Entries() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(mDir))
            names.insert(fs::relative(entry.path(), mDir).string());
        return names;
    }

    static std::string Slurp(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    std::string mDir;
};

struct Png {
    int width = 0, height = 0, depth = 0, channels = 0, significant = 0;
    std::vector<uint16_t> samples;
};

// Kept free of C++ objects across libpng's longjmp.
bool DecodePng(FILE* file, png_structp png, png_infop info, Png& out, std::vector<uint8_t>& bytes)
{
    if (setjmp(png_jmpbuf(png)))
        return false;
    png_init_io(png, file);
    png_read_info(png, info);
    out.width = static_cast<int>(png_get_image_width(png, info));
    out.height = static_cast<int>(png_get_image_height(png, info));
    out.depth = png_get_bit_depth(png, info);
    out.channels = png_get_channels(png, info);
    png_color_8p bits = nullptr;
    if (png_get_sBIT(png, info, &bits) != 0)
        out.significant = out.channels == 1 ? bits->gray : bits->red;
    const size_t row = png_get_rowbytes(png, info);
    bytes.resize(row * out.height);
    for (int y = 0; y < out.height; ++y)
        png_read_row(png, bytes.data() + row * y, nullptr);
    return true;
}

bool ReadPng(const std::string& path, Png& out)
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::vector<uint8_t> bytes;
    const bool ok = DecodePng(file, png, info, out, bytes);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    const size_t count = static_cast<size_t>(out.width) * out.height * out.channels;
    out.samples.resize(count);
    for (size_t i = 0; ok && i < count; ++i)
        out.samples[i] = out.depth == 16 ? static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]) : bytes[i];
    return ok;
}

}  // namespace

TEST_F(FrameconvRun, BadInputGetsOneLineANonZeroExitAndNoOutput)
{
    fs::create_directory(At("folder"));
    WritePnm("a.pgm", '5', 4, 4, std::vector<uint8_t>(16, 50));
    WritePnm("c.ppm", '6', 4, 4, std::vector<uint8_t>(48, 50));
    Write("cut.pgm", "P5\n4 4\n255\n0123");
    Write("short.raw", std::string(10, '\1'));
    Write("planar.raw", std::string(48, '\1'));
    const std::set<std::string> before = Entries();

    const struct {
        std::string args;
        int status;
        std::string message;
    } cases[] = {
        {"convert folder --to MONO8", 1, "folder: is a folder"},
        {"convert missing.pgm --to MONO8", 1, "missing.pgm: no such file"},
        {"convert a.pgm cut.pgm --to MONO8 --out out/", 1, "cut.pgm: truncated"},
        {"convert short.raw --width 4 --height 4 --format MONO8 --to MONO8", 1, "needs 16"},
        {"convert planar.raw --width 4 --height 4 --format RGB8_PLANAR --to MONO8", 1, "refused"},
        {"convert planar.raw --width 4 --height 4 --format YUV411_PACKED --to MONO16", 1, "stops the process"},
        {"convert planar.raw --width 4 --height 2 --format RGB16_PLANAR --to RGB8_PLANAR", 1, "no converter"},
        {"stats a.pgm --region 0 0 8 8", 1, "reaches past"},
        {"convert a.pgm c.ppm --to MONO8 --out single.png", 2, "names one file"},
        {"convert a.pgm --to MONO8 --out x.tiff", 2, "pictures are .png, .ppm or .pgm"},
        {"convert a.pgm --to MONO8 --raw --out x.png", 2, "--raw writes"},
        {"convert c.ppm --to RGB8_PACKED --out x.pgm", 2, "PGM holds grey"},
        {"convert c.ppm --to YUV422_PACKED", 2, "no picture view"},
        {"convert a.pgm --to RGB8_PACKED --balance -1 0 1e9", 2, "--balance"},
        {"convert a.pgm --to RGB8", 2, "unknown pixel format"},
        {"convert a.pgm", 2, "needs --to"},
        {"convert a.pgm --to MONO8 --balance 1 2", 2, "needs three numbers"},
        {"convert a.pgm --to MONO8 --method hq", 2, "nearest or bilinear"},
        {"stats a.pgm --width ten", 2, "not 'ten'"},
        {"demo extra", 2, "no input files"},
        {"convert a.pgm --to MONO8 --json", 2, "does not take --json"},
        {"convert a.pgm --width 0 --to MONO8", 2, "above 0"},
        {"resize a.pgm", 2, "unknown command"},
    };
    for (const auto& c : cases) {
        const Outcome o = Run(c.args);
        EXPECT_EQ(o.status, c.status) << c.args;
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << c.args << "\n" << o.err;
        EXPECT_NE(o.err.find(c.message), std::string::npos) << c.args << "\n" << o.err;
        EXPECT_EQ(Entries(), before) << c.args;
    }
}

TEST_F(FrameconvRun, AlignPhaseGivesTrueColoursOnGrAndBgMosaics)
{
    // Four stripes of eight columns: red, green, blue, grey.
    const int width = 32, height = 12;
    const uint8_t colours[4][3] = {{200, 40, 20}, {30, 180, 60}, {20, 50, 210}, {120, 120, 120}};
    RgbImage chart;
    chart.width = width;
    chart.height = height;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            chart.rgb.insert(chart.rgb.end(), colours[x / 8], colours[x / 8] + 3);
    const struct {
        std::string method, to;
    } runs[] = {{"nearest", "RGB8_PACKED"}, {"bilinear", "RGB8_PACKED"}, {"bilinear", "RGB8_PLANAR"}};
    for (BayerPhase phase : {BayerPhase::GR, BayerPhase::BG}) {
        const std::string name = std::string(TestChart::PhaseName(phase)) + ".pgm";
        WritePnm(name, '5', width, height, TestChart::Mosaic(chart, phase, 8));
        for (const auto& run : runs) {
            const std::string what = name + " " + run.method + " " + run.to;
            const Outcome o = Run("convert " + name + " --bayer " + TestChart::PhaseName(phase) + " --method " +
                                  run.method + " --to " + run.to + " --align-phase --out out.ppm");
            ASSERT_EQ(o.status, 0) << what << "\n" << o.out << o.err;
            EXPECT_NE(o.out.find("31 pixels wide"), std::string::npos) << what << "\n" << o.out;
            SampleImage picture;
            std::string error;
            ASSERT_TRUE(ImageFile::ReadPnm(At("out.ppm"), picture, error)) << what << ": " << error;
            ASSERT_EQ(picture.width, width - 1) << what;
            // Stripe centres, away from the border rows and the stripes' edges.
            for (int y = 2; y < height - 2; ++y)
                for (int stripe = 0; stripe < 4; ++stripe)
                    for (int x : {stripe * 8 + 3, stripe * 8 + 4})
                        for (int k = 0; k < 3; ++k)
                            EXPECT_NEAR(picture.samples[(static_cast<size_t>(y) * picture.width + x) * 3 + k],
                                        colours[stripe][k], 2)
                                << what << " at " << x << "," << y << " channel " << k;
        }
    }
    // Without it, nearest neighbour shows the plug-in's exchange, and says so.
    const Outcome exact = Run("convert GR.pgm --bayer GR --to RGB8_PACKED --out exact.ppm");
    ASSERT_EQ(exact.status, 0) << exact.err;
    EXPECT_NE(exact.out.find("red and blue exchanged"), std::string::npos) << exact.out;
    SampleImage picture;
    std::string error;
    ASSERT_TRUE(ImageFile::ReadPnm(At("exact.ppm"), picture, error)) << error;
    EXPECT_EQ(picture.samples[(4 * width + 4) * 3 + 2], colours[0][0]);
}

TEST_F(FrameconvRun, DeepSamplesCarrySbitAndPaddingBytesBecomeRgb)
{
    // MONO12: values 0..4095 go left-aligned into 16-bit samples, sBIT 12.
    std::string mono12;
    for (uint16_t v : {0, 1, 2048, 4095})
        mono12 += std::string{static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)};
    Write("m.raw", mono12);
    Outcome o = Run("convert m.raw --width 2 --height 2 --format MONO12 --to MONO12 --out m.png");
    ASSERT_EQ(o.status, 0) << o.err;
    Png png;
    ASSERT_TRUE(ReadPng(At("m.png"), png));
    EXPECT_EQ(png.depth, 16);
    EXPECT_EQ(png.significant, 12);
    EXPECT_EQ(png.samples, (std::vector<uint16_t>{0, 16, 2048 << 4, 4095 << 4}));
    o = Run("convert m.raw --width 2 --height 2 --format MONO12 --to MONO12 --raw --out m.raw.out");
    ASSERT_EQ(o.status, 0) << o.err;
    EXPECT_EQ(Slurp(At("m.raw.out")), mono12);

    // YUV to BGRA: the converter's alpha 0 is dropped unless asked for.
    Write("y.raw", std::string("\x80\x60\x80\x60", 4));
    o = Run("convert y.raw --width 2 --height 1 --format YUV422_PACKED --to BGRA8_PACKED --out y.png");
    ASSERT_EQ(o.status, 0) << o.err;
    EXPECT_NE(o.out.find("alpha 0"), std::string::npos) << o.out;
    ASSERT_TRUE(ReadPng(At("y.png"), png));
    EXPECT_EQ(png.channels, 3);
    o = Run("convert y.raw --width 2 --height 1 --format YUV422_PACKED --to BGRA8_PACKED --keep-alpha --out ya.png");
    ASSERT_EQ(o.status, 0) << o.err;
    ASSERT_TRUE(ReadPng(At("ya.png"), png));
    ASSERT_EQ(png.channels, 4);
    EXPECT_EQ(png.samples[3], 0);

    // RGB8_PACKED to RGB8_PLANAR: the planes come back in their real colours.
    WritePnm("c.ppm", '6', 2, 1, {250, 100, 10, 5, 60, 240});
    o = Run("convert c.ppm --to RGB8_PLANAR --out c.png");
    ASSERT_EQ(o.status, 0) << o.err;
    ASSERT_TRUE(ReadPng(At("c.png"), png));
    EXPECT_EQ(png.samples, (std::vector<uint16_t>{250, 100, 10, 5, 60, 240}));
}
