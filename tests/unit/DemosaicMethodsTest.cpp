// Nearest-neighbour and bilinear demosaic through the converter, on small
// mosaics worked out by hand. Nearest: the two-row lag, the carried values,
// the red/blue exchange of GR and BG sources and the border repair.
// Bilinear: the one-column shift, the sample read before each row, the
// phases and the columns that stay unwritten.
#include "TestFrames.h"

namespace {

using namespace testframes;

// An 8-bit mosaic with sample 10 * y + x + 1 converted to RGB8 with identity
// tables, in buffers of a full width `fullWidth`; both regions are `width`
// by `height` at the origin.
struct NearestFrame : ConvFrame {
    NearestFrame(uint32_t format, int fullWidth, int w, int h)
    {
        Source(format, fullWidth, h, [](int x, int y) { return 10 * y + x + 1; });
        Destination(KORVA_PIXTYPE_RGB8_PACKED);
        EXPECT_TRUE(proc->mMemSrc.SetROI(0, 0, w, h));
        EXPECT_TRUE(proc->mMemDst.SetROI(0, 0, w, h));
    }
};

// Rows 0 to 4 of a 6 by 5 mosaic. Destination row y shows rows (0, 1) for
// y = 0 to 2 and (y - 2, y - 1) after; row 4 and row 0 come from the repair
// (row 2), column 0 from column 2 and column 5 from column 3.
//
// RG and BG: the row of phase 0 holds red. With rows 0 = 1..6, 1 = 11..16:
// red 1 1 3 3 5 5, green (·) 6 7 8 9 10, blue (0) 12 12 14 14 16: blue lags
// one pixel and green is the mean of the two diagonal neighbours. Row 3 sees
// rows 2 (red) and 1 (blue).
const Rgb kRowRG[6] = {{3, 7, 12}, {1, 6, 12}, {3, 7, 12}, {3, 8, 14}, {5, 9, 14}, {3, 8, 14}};
const Rgb kRow3RG[6] = {{23, 17, 12}, {21, 16, 12}, {23, 17, 12}, {23, 18, 14}, {25, 19, 14}, {23, 18, 14}};
// GB and GR: the rows change roles. For GR the red channel then holds the
// blue sites (row 1, even columns) and blue the red sites: exchanged.
const Rgb kRowGR[6] = {{13, 7, 2}, {11, 6, 2}, {13, 7, 2}, {13, 8, 4}, {15, 9, 4}, {13, 8, 4}};
const Rgb kRow3GR[6] = {{13, 17, 22}, {11, 16, 22}, {13, 17, 22}, {13, 18, 24}, {15, 19, 24}, {13, 18, 24}};

TEST(DemosaicNearest, HandMosaicForEveryPhase)
{
    const struct Case {
        uint32_t format;
        const Rgb* row;
        const Rgb* row3;
    } cases[] = {
        {KORVA_PIXTYPE_BAYRG8, kRowRG, kRow3RG},
        {KORVA_PIXTYPE_BAYBG8, kRowRG, kRow3RG},
        {KORVA_PIXTYPE_BAYGB8, kRowGR, kRow3GR},
        {KORVA_PIXTYPE_BAYGR8, kRowGR, kRow3GR},
    };
    for (const Case& c : cases) {
        NearestFrame f(c.format, 6, 6, 5);
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x)
                EXPECT_EQ(y == 3 ? c.row3[x] : c.row[x], f.At(x, y)) << std::hex << c.format << std::dec << " at "
                                                                     << x << "," << y;
    }
}

// An odd width writes one pixel past the region, with the source sample
// past the row in its green and blue; the full-width buffers show it in
// column 5, which the repair of a 5-wide region does not touch.
TEST(DemosaicNearest, OddWidthWritesOnePixelPastTheRow)
{
    NearestFrame f(KORVA_PIXTYPE_BAYRG8, 6, 5, 4);
    ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
    // Rows 0 to 2 all see rows (0, 1): red 5, green (15 + 6) / 2, blue 16.
    for (int y = 0; y < 3; ++y)
        EXPECT_EQ((Rgb{5, 10, 16}), f.At(5, y)) << y;
    EXPECT_EQ((Rgb{kUntouched, kUntouched, kUntouched}), f.At(5, 3));
    // Two columns still make a pixel, and so does one into planes: red 1, the
    // carried 0 in blue and in half of green, (0 + 11) / 2.
    NearestFrame narrow(KORVA_PIXTYPE_BAYRG8, 2, 2, 4);
    ASSERT_TRUE(narrow.proc->mConvDemosaic.Convert());
    EXPECT_EQ((Rgb{1, 5, 0}), narrow.At(0, 1));
    ConvFrame planes;
    planes.Source(KORVA_PIXTYPE_BAYRG8, 1, 4, [](int x, int y) { return 10 * y + x + 1; });
    planes.Destination(KORVA_PIXTYPE_RGB8_PLANAR);
    ASSERT_TRUE(planes.Run(KORVA_DEMOSAIC_NEAREST));
    EXPECT_EQ((Rgb{1, 5, 0}), (Rgb{planes.dst[1], planes.dst[5], planes.dst[9]}));
    // Column 4 is the region's last: the repair puts column 2 there.
    for (int y = 0; y < 4; ++y)
        EXPECT_EQ((Rgb{3, 7, 12}), f.At(4, y)) << y;
}

// An 8-bit mosaic into RGB8 with identity tables; `header` samples stand in
// the source buffer in front of the image.
struct BilinearFrame : ConvFrame {
    BilinearFrame(uint32_t format, int w, int h, const std::function<int(int, int)>& sample,
          const std::vector<int>& header = {})
    {
        Source(format, w, h, sample, header);
        Destination(KORVA_PIXTYPE_RGB8_PACKED);
        EXPECT_TRUE(proc->mConvDemosaic.SetType(KORVA_DEMOSAIC_BILINEAR));
    }
};

int Ramp(int x, int y)
{
    return 10 * y + x + 1;
}

// Red 200, green 100, blue 50 laid out as an RG mosaic.
int Sites(int x, int y)
{
    return (y & 1) == 0 ? ((x & 1) == 0 ? 200 : 100) : ((x & 1) == 0 ? 100 : 50);
}

// On the ramp every interpolated value is the sample one column to the left:
// destination column c shows source column c - 1. Column 1 of each row
// takes the sample before the row: the last of the row above, for row 0 a
// header sample, or 0 where the buffer begins.
TEST(DemosaicBilinear, RampComesOutOneColumnToTheRight)
{
    const Rgb n = {-1, -1, -1};  // a grey of its own value, filled in below
    const Rgb expected[5][6] = {
        {n, {21, 20, 19}, n, n, n, n},
        {n, {11, 10, 9}, n, n, n, n},
        {n, {21, 20, 19}, n, n, n, n},
        {n, {31, 30, 29}, n, n, n, n},
        {n, {21, 20, 19}, n, n, n, n},
    };
    // Rows 0 and 4 are repaired from row 2; column 0 takes column 2 and
    // column 5 column 3.
    const int source[5] = {2, 1, 2, 3, 2};
    const int column[6] = {2, 1, 2, 3, 4, 3};
    for (int header : {-1, 80}) {
        BilinearFrame f(KORVA_PIXTYPE_BAYRG8, 6, 5, Ramp,
                        header < 0 ? std::vector<int>() : std::vector<int>{7, header});
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x) {
                Rgb want = expected[y][column[x]];
                if (want.red < 0) {
                    const int v = 10 * source[y] + column[x];
                    want = {v, v, v};
                }
                // Green of row 1's first pixel: (header + 2 + 16 + 22 + 4 * 11) / 8.
                if (y == 1 && column[x] == 1 && header > 0)
                    want.green = 20;
                EXPECT_EQ(want, f.At(x, y)) << "header " << header << " at " << x << "," << y;
            }
    }
}

// The row phase comes from blue-first alone: GR reads like RG and BG like
// GB (packed destinations do not look at where red is). Interior only: the
// first column depends on the row above's last sample.
TEST(DemosaicBilinear, PhaseFollowsBlueFirstOnly)
{
    const struct Case {
        uint32_t format;
        Rgb expected;
    } cases[] = {
        {KORVA_PIXTYPE_BAYRG8, {200, 100, 50}},
        {KORVA_PIXTYPE_BAYGR8, {200, 100, 50}},
        // Red sites read as green rows: red and blue from the greens, green
        // half the centre, half the four diagonal reds (or blues).
        {KORVA_PIXTYPE_BAYGB8, {100, 125, 100}},
        {KORVA_PIXTYPE_BAYBG8, {100, 125, 100}},
    };
    for (const Case& c : cases) {
        BilinearFrame f(c.format, 6, 5, Sites);
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        for (int y = 1; y < 4; ++y)
            for (int x = 2; x < 5; ++x)
                EXPECT_EQ(c.expected, f.At(x, y)) << std::hex << c.format << std::dec << " at " << x
                                                               << "," << y;
    }
}

// Pairs only: an odd width leaves column W - 2 unwritten, and below a width
// of 4 no pixel is written at all.
TEST(DemosaicBilinear, WrittenColumnsComeInPairs)
{
    {
        BilinearFrame f(KORVA_PIXTYPE_BAYRG8, 7, 4, Ramp, {0});
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        for (int y = 0; y < 4; ++y) {
            EXPECT_EQ((Rgb{kUntouched, kUntouched, kUntouched}), f.At(5, y)) << y;
            EXPECT_EQ(f.At(4, y), f.At(6, y)) << y;
            EXPECT_NE(kUntouched, f.At(4, y).red) << y;
        }
    }
    {
        BilinearFrame f(KORVA_PIXTYPE_BAYRG8, 3, 4, Ramp, {0});
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        EXPECT_EQ(Bytes(f.dst.size(), kUntouched), f.dst);
    }
}

}  // namespace
