// White balance measured from 2x2 cells of an 8-bit mosaic.
#include <gtest/gtest.h>

#include <vector>

#include "ImgProcConvDemosaic.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"
#include "TestFrames.h"

namespace {

enum Site { R, G, B };

// Which colour each format puts at (column & 1, row & 1).
Site SiteOf(uint32_t format, int x, int y)
{
    const int cell = (y & 1) * 2 + (x & 1);
    static const Site rg[4] = {R, G, G, B}, gr[4] = {G, R, B, G}, gb[4] = {G, B, R, G}, bg[4] = {B, G, G, R};
    return (format == KORVA_PIXTYPE_BAYGR8   ? gr
            : format == KORVA_PIXTYPE_BAYGB8 ? gb
            : format == KORVA_PIXTYPE_BAYBG8 ? bg
                                             : rg)[cell];
}

// A source frame whose rows lie at its region's width, and a destination
// view that bounds the cells.
struct Balance {
    std::vector<unsigned char> pixels;
    CMemoryAccess source{nullptr};
    CMemoryAccess destination{nullptr};
    CImgProcConvDemosaic conv;
    int width;

    Balance(uint32_t format, int w, int h, int red, int green, int blue) : pixels(static_cast<size_t>(w * h)), width(w)
    {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const Site s = SiteOf(format, x, y);
                Set(x, y, s == R ? red : s == G ? green : blue);
            }
        testframes::Bind(source, pixels, w, h, {format, 1.0, 0});
        destination.miWidth = destination.miRoiWidth = w;
        destination.miHeight = destination.miRoiHeight = h;
        conv.mpMemSrc = &source;
        conv.mpMemDst = &destination;
    }
    void Set(int x, int y, int v) { pixels[static_cast<size_t>(y * width + x)] = static_cast<unsigned char>(v); }
};

const double kUntouched = -7.0;

struct Factors {
    bool ok;
    double red, green, blue;
};

Factors Measure(Balance& b)
{
    Factors f{false, kUntouched, kUntouched, kUntouched};
    f.ok = b.conv.GetBalance(&f.red, &f.green, &f.blue);
    return f;
}

TEST(ColourBalance, FactorsLiftTheWeakerChannels)
{
    const struct Case {
        uint32_t format;
        int w, h, red, green, blue;
        bool ok;
        double fr, fg, fb;
    } cases[] = {
        {KORVA_PIXTYPE_BAYRG8, 8, 6, 100, 100, 100, true, 1.0, 1.0, 1.0},
        {KORVA_PIXTYPE_BAYRG8, 8, 6, 50, 100, 200, true, 4.0, 2.0, 1.0},
        {KORVA_PIXTYPE_BAYGR8, 7, 5, 50, 100, 200, true, 4.0, 2.0, 1.0},
        {KORVA_PIXTYPE_BAYGB8, 9, 3, 50, 100, 200, true, 4.0, 2.0, 1.0},
        {KORVA_PIXTYPE_BAYRG8, 6, 4, 200, 100, 50, true, 1.0, 2.0, 4.0},
        // BG is read as GB: red and blue from green sites, green the mean of
        // blue 200 and red 50, shifted: 125.
        {KORVA_PIXTYPE_BAYBG8, 8, 6, 50, 100, 200, true, 1.25, 1.0, 1.25},
        // The edges of the usable range count; 20 and 250 are just outside.
        {KORVA_PIXTYPE_BAYRG8, 4, 3, 21, 249, 83, true, 249.0 / 21.0, 1.0, 3.0},
        // Nothing to measure leaves the outputs.
        {KORVA_PIXTYPE_BAYRG8, 8, 6, 250, 100, 100, false, kUntouched, kUntouched, kUntouched},
        {KORVA_PIXTYPE_BAYGB8, 8, 6, 100, 20, 100, false, kUntouched, kUntouched, kUntouched},
        {KORVA_PIXTYPE_BAYRG8, 8, 2, 100, 100, 100, false, kUntouched, kUntouched, kUntouched},
        {KORVA_PIXTYPE_BAYRG8, 2, 6, 100, 100, 100, false, kUntouched, kUntouched, kUntouched},
        {KORVA_PIXTYPE_BAYRG12, 8, 6, 100, 100, 100, false, kUntouched, kUntouched, kUntouched},
        {KORVA_PIXTYPE_MONO8, 8, 6, 100, 100, 100, false, kUntouched, kUntouched, kUntouched},
    };
    for (const Case& c : cases) {
        Balance b(c.format, c.w, c.h, c.red, c.green, c.blue);
        const Factors f = Measure(b);
        EXPECT_EQ(c.ok, f.ok) << std::hex << c.format << std::dec << " " << c.w << "x" << c.h;
        EXPECT_DOUBLE_EQ(c.fr, f.red) << std::hex << c.format << std::dec << " " << c.w << "x" << c.h;
        EXPECT_DOUBLE_EQ(c.fg, f.green) << std::hex << c.format;
        EXPECT_DOUBLE_EQ(c.fb, f.blue) << std::hex << c.format;
    }
    Balance b(KORVA_PIXTYPE_BAYRG8, 8, 6, 100, 100, 100);
    double red = kUntouched, green = kUntouched;
    EXPECT_FALSE(b.conv.GetBalance(&red, &green, nullptr));
    EXPECT_FALSE(b.conv.GetBalance(nullptr, &green, &red));
    EXPECT_EQ(2 * kUntouched, red + green);
}

// Through the image object: the balance of the frame it holds.
TEST(ColourBalance, MeasuredThroughTheImage)
{
    auto image = testframes::MakeFrame(KORVA_PIXTYPE_BAYRG8, 8, 6, [](int i) {
        const int x = i % 8, y = i / 8;
        return (y & 1) == 0 ? ((x & 1) == 0 ? 50 : 100) : ((x & 1) == 0 ? 100 : 200);
    });
    double red = 0, green = 0, blue = 0;
    EXPECT_EQ(RESULT_OK, image->getDemosaicColorBalance(&red, &green, &blue));
    EXPECT_EQ(4.0 * 100 + 2.0 * 10 + 1.0, red * 100 + green * 10 + blue);
}

// One bad value rejects its whole cell; 20 and 250 are just outside.
TEST(ColourBalance, CellsCountOnlyWhole)
{
    Balance b(KORVA_PIXTYPE_BAYRG8, 8, 3, 100, 100, 100);  // cells at x = 0, 2, 4
    b.Set(0, 0, 20);     // red of cell 0
    b.Set(3, 1, 250);    // blue of cell 2
    b.Set(4, 0, 50);     // red of cell 4, counted
    b.Set(5, 0, 100);    // greens 100 and 101: shifted, 100
    b.Set(4, 1, 101);
    const Factors f = Measure(b);
    ASSERT_TRUE(f.ok);
    EXPECT_DOUBLE_EQ(100.0 / 50.0, f.red);
    EXPECT_DOUBLE_EQ(1.0, f.green);
    EXPECT_DOUBLE_EQ(1.0, f.blue);
}

// The last column (odd W) or two (even W) and likewise rows stay out, and the
// destination's region bounds the cells.
TEST(ColourBalance, EdgesAndRegionStayOut)
{
    const struct Case {
        int w, h;       // source
        int dw, dh;     // destination region
    } cases[] = {
        {6, 6, 6, 6}, {5, 5, 5, 5}, {7, 3, 7, 3}, {8, 8, 4, 4},
    };
    for (const Case& c : cases) {
        Balance b(KORVA_PIXTYPE_BAYRG8, c.w, c.h, 100, 100, 100);
        b.destination.miRoiWidth = c.dw;
        b.destination.miRoiHeight = c.dh;
        // Red 50 on every site outside the cells that count.
        const int cellsX = ((c.dw - 2) + 1) / 2 * 2, cellsY = ((c.dh - 2) + 1) / 2 * 2;
        for (int y = 0; y < c.h; ++y)
            for (int x = 0; x < c.w; ++x)
                if ((x >= cellsX || y >= cellsY) && SiteOf(KORVA_PIXTYPE_BAYRG8, x, y) == R)
                    b.Set(x, y, 50);
        const Factors f = Measure(b);
        EXPECT_TRUE(f.ok) << c.w << "x" << c.h;
        EXPECT_DOUBLE_EQ(1.0, f.red) << c.w << "x" << c.h;
    }
}

}  // namespace
