// Bilinear demosaic through the converter, on small mosaics worked out by
// hand: the one-column shift, the sample read before each row, the phases
// and the columns that stay unwritten.
#include "TestFrames.h"

namespace {

using namespace testframes;

// An 8-bit mosaic into RGB8 with identity tables; `header` samples stand in
// the source buffer in front of the image.
struct Frame : ConvFrame {
    Frame(uint32_t format, int w, int h, const std::function<int(int, int)>& sample,
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
        Frame f(KORVA_PIXTYPE_BAYRG8, 6, 5, Ramp, header < 0 ? std::vector<int>() : std::vector<int>{7, header});
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
        Frame f(c.format, 6, 5, Sites);
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
        Frame f(KORVA_PIXTYPE_BAYRG8, 7, 4, Ramp, {0});
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        for (int y = 0; y < 4; ++y) {
            EXPECT_EQ((Rgb{kUntouched, kUntouched, kUntouched}), f.At(5, y)) << y;
            EXPECT_EQ(f.At(4, y), f.At(6, y)) << y;
            EXPECT_NE(kUntouched, f.At(4, y).red) << y;
        }
    }
    {
        Frame f(KORVA_PIXTYPE_BAYRG8, 3, 4, Ramp, {0});
        ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
        EXPECT_EQ(Bytes(f.dst.size(), kUntouched), f.dst);
    }
}

}  // namespace
