// The 5x5 demosaic, one row call at a time, on rows laid out by hand.
#include "ImgProcConvDemosaic_HQBL.inl"
#include "PixelTypes.h"
#include "TestFrames.h"

namespace {

using namespace testframes;

// Rows of the mosaic, each in its own allocation so that a read past a row's
// end is caught, and the ring of five that the converter keeps: row r in
// entry r % 5.
template <typename S>
struct Mosaic {
    std::vector<std::vector<S>> rows;
    S* ring[5] = {};

    Mosaic(int height, int width, int (*value)(int row, int column))
    {
        for (int r = 0; r < height; ++r) {
            rows.emplace_back(static_cast<size_t>(width));
            for (int c = 0; c < width; ++c)
                rows.back()[static_cast<size_t>(c)] = static_cast<S>(value(r, c));
        }
        Window(0);
    }
    // The ring as it stands when source row `oldest` is the oldest row in it.
    void Window(int oldest)
    {
        for (int r = oldest; r < oldest + 5; ++r)
            ring[r % 5] = rows[static_cast<size_t>(r)].data();
    }
    int Outputs() const { return static_cast<int>(rows[0].size()) - 4; }
};

class DemosaicHq : public ::testing::Test {
protected:
    CMemoryAccess source{nullptr};
    CImgProcConvDemosaic conv;

    void SetUp() override
    {
        ASSERT_TRUE(conv.SetType(KORVA_DEMOSAIC_HQ_BILINEAR));
        conv.mpMemSrc = &source;
        conv.mRectSrc.SetRect(0, 0, 16, 16);
        Depth(8);
    }
    void Depth(int bits) { source.miBppEff = bits; }

    // One row call into packed pixels; `extra` pixels past the written ones
    // show what was left alone (sentinel 0xEE in every byte).
    template <typename S, typename D>
    std::vector<Rgb> Packed(Mosaic<S>& m, int rowPhase, int step = 1, int columns = -1, int* result = nullptr)
    {
        if (columns < 0)
            columns = m.Outputs() + 5;
        const int pixels = (columns > 5 ? columns - 5 : 0) * step + 2;
        std::vector<D> out(static_cast<size_t>(pixels));
        std::memset(static_cast<void*>(out.data()), 0xEE, out.size() * sizeof(D));
        typedef decltype(D::red) SD;
        const int r = conv.DemosaicTemplate_HQBLLUT<S, D, SD>(rowPhase, columns, m.ring, out.data(), 1, step);
        if (result)
            *result = r;
        std::vector<Rgb> rgb;
        for (const D& p : out)
            rgb.push_back({p.red, p.green, p.blue});
        return rgb;
    }

    template <typename S, typename D>
    std::vector<Rgb> Planar(Mosaic<S>& m, int rowPhase, int step = 1)
    {
        const size_t n = static_cast<size_t>(m.Outputs() * step + 2);
        std::vector<D> blue(n, static_cast<D>(0xEEEE)), green(n, static_cast<D>(0xEEEE)),
            red(n, static_cast<D>(0xEEEE));
        D* planes[3] = {blue.data(), green.data(), red.data()};
        conv.DemosaicTemplate_HQBLLUT<S, D, D>(rowPhase, m.Outputs() + 5, m.ring, planes, 1, step);
        std::vector<Rgb> rgb;
        for (size_t i = 0; i < n; ++i)
            rgb.push_back({red[i], green[i], blue[i]});
        return rgb;
    }
};

// Expects `expected` at pixels 0, step, 2 step ... and the sentinel between
// and after them.
void ExpectRow(const std::vector<Rgb>& row, const std::vector<Rgb>& expected, int step, Rgb sentinel,
               const char* what)
{
    for (size_t i = 0; i < row.size(); ++i) {
        const bool written = i % static_cast<size_t>(step) == 0 && i / static_cast<size_t>(step) < expected.size();
        EXPECT_EQ(written ? expected[i / static_cast<size_t>(step)] : sentinel, row[i]) << what << " pixel " << i;
    }
}

const Rgb kByteSentinel{0xEE, 0xEE, 0xEE};
const Rgb kWordSentinel{0xEEEE, 0xEEEE, 0xEEEE};

template <int V>
int Flat(int, int) { return V; }

// Every kernel sums to its divisor, so a flat field comes through at every
// site and phase: what is left to see is the shift and the clamp.
TEST_F(DemosaicHq, FlatFieldsPinShiftAndClamp)
{
    const struct Case {
        int bits;
        int (*value)(int, int);
        int expected;
    } cases[] = {
        {12, Flat<4000>, 250},  // 4 bits off: 8 bits out
        {10, Flat<1000>, 15},   // 6 bits off, not 2: 0..15 out
        {12, Flat<4095>, 255},
        {16, Flat<4000>, 255},  // no shift: clamped to 8 bits
        {8, Flat<1000>, 255},
        {8, Flat<256>, 255},  // the first value that clamps
    };
    for (const Case& c : cases) {
        Depth(c.bits);
        Mosaic<WORD> m(9, 11, c.value);
        const Rgb v{c.expected, c.expected, c.expected};
        const std::vector<Rgb> expected(7, v);
        for (int y = 0; y < 4; ++y) {
            m.Window(y);
            // Both row phases of both kinds of source.
            for (int phase = y; phase <= y + 1; ++phase) {
                ExpectRow(Packed<WORD, tRGBPIXEL>(m, phase), expected, 1, kByteSentinel, "rgb8");
                ExpectRow(Packed<WORD, tBGRPIXEL>(m, phase), expected, 1, kByteSentinel, "bgr8");
                ExpectRow(Packed<WORD, tRGBPIXEL16>(m, phase), expected, 1, kWordSentinel, "rgb16");
                ExpectRow(Packed<WORD, tBGRPIXEL16>(m, phase), expected, 1, kWordSentinel, "bgr16");
                ExpectRow(Planar<WORD, BYTE>(m, phase), expected, 1, kByteSentinel, "planes8");
                ExpectRow(Planar<WORD, WORD>(m, phase), expected, 1, kWordSentinel, "planes16");
            }
        }
    }
}

// An RG mosaic of three flat colour planes: each kernel of the table picks its
// own colour at its own site, so a wrongly chosen kernel mixes colours.
int Planes(int row, int column)
{
    const int site = (row & 1) * 2 + (column & 1);
    const int value[4] = {60, 120, 120, 200};  // R G / G B
    return value[site];
}

TEST_F(DemosaicHq, EachSiteGetsItsOwnColourAndTheStoresTheirPlaces)
{
    Mosaic<BYTE> m(7, 10, Planes);
    const std::vector<Rgb> expected(6, Rgb{60, 120, 200});
    // Oldest rows 0 and 2: ring entries in both orders of wrap.
    for (int oldest : {0, 2}) {
        m.Window(oldest);
        ExpectRow(Packed<BYTE, tRGBPIXEL>(m, oldest), expected, 1, kByteSentinel, "rgb8");
        ExpectRow(Packed<BYTE, tBGRPIXEL>(m, oldest), expected, 1, kByteSentinel, "bgr8");
        ExpectRow(Planar<BYTE, BYTE>(m, oldest), expected, 1, kByteSentinel, "planes8");
    }
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 2, 2), expected, 2, kByteSentinel, "step 2");
    ExpectRow(Planar<BYTE, BYTE>(m, 2, 3), expected, 3, kByteSentinel, "planes, step 3");
}

// Row r holds 40 + 20 r. With an odd row phase (blue-first sources) the last
// window row is the oldest row again, 40 where a straight window would have
// 140, and the phase-1 kernels apply. Worked by hand:
//   even i: green 400/4 = 100, red 1800/16 = 112, blue 1500/16 = 93
//   odd i:  green 900/8 = 112, red 1900/16 = 118, blue 800/4 = 200
int Stripes(int row, int) { return 40 + 20 * row; }

TEST_F(DemosaicHq, BlueFirstWindowWrapsToTheOldestRow)
{
    Mosaic<BYTE> m(5, 9, Stripes);
    const Rgb even{112, 100, 93}, odd{118, 112, 200};
    const std::vector<Rgb> expected{even, odd, even, odd, even};
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 1), expected, 1, kByteSentinel, "rgb8");
    ExpectRow(Packed<BYTE, tBGRPIXEL>(m, 1), expected, 1, kByteSentinel, "bgr8");
    ExpectRow(Planar<BYTE, BYTE>(m, 1), expected, 1, kByteSentinel, "planes8");
    // An even phase reads the rows straight: the centre sample everywhere.
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 0), std::vector<Rgb>(5, Rgb{80, 80, 80}), 1, kByteSentinel, "phase 0");
}

// One bright red site at row 2, column 4, on black. The negative taps around
// it give 0, never a wrapped value; the sharpening red kernel saturates.
//   i = 1, 3: red 8 * s / 16; i = 2: red 16 s / 4, green 4 s / 8, blue 12 s / 16
int Spot8(int row, int column) { return row == 2 && column == 4 ? 255 : 0; }
int Spot12(int row, int column) { return row == 2 && column == 4 ? 4095 : 0; }

TEST_F(DemosaicHq, LightSpotClampsBothWaysAlsoInto16Bits)
{
    const std::vector<Rgb> expected{
        {0, 0, 0}, {127, 0, 0}, {255, 127, 191}, {127, 0, 0}, {0, 0, 0}, {0, 0, 0},
    };
    Mosaic<BYTE> bytes(5, 10, Spot8);
    ExpectRow(Packed<BYTE, tRGBPIXEL>(bytes, 0), expected, 1, kByteSentinel, "8 bits");

    Depth(12);
    Mosaic<WORD> words(5, 10, Spot12);
    ExpectRow(Packed<WORD, tRGBPIXEL>(words, 0), expected, 1, kByteSentinel, "12 bits to 8");
    ExpectRow(Packed<WORD, tBGRPIXEL16>(words, 0), expected, 1, kWordSentinel, "12 bits to 16");
    ExpectRow(Planar<WORD, WORD>(words, 0), expected, 1, kWordSentinel, "12 bits to planes");
}

TEST_F(DemosaicHq, NothingIsWrittenWithoutAFullWindow)
{
    Mosaic<BYTE> m(5, 9, Flat<77>);
    int result = 0;
    // columns is the destination width less 2: widths of 7 or less write
    // nothing and hand the columns back.
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 0, 1, 5, &result), {}, 1, kByteSentinel, "width 7");
    EXPECT_EQ(5, result);
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 0, 1, 6, &result), {{77, 77, 77}}, 1, kByteSentinel, "width 8");
    EXPECT_EQ(5, result);

    // A source of four rows leaves rows beyond the image in the ring.
    conv.mRectSrc.SetRect(0, 0, 9, 4);
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 0, 1, 9, &result), {}, 1, kByteSentinel, "height 4");
    EXPECT_EQ(9, result);

    conv.mRectSrc.SetRect(0, 0, 9, 5);
    m.ring[4] = nullptr;
    ExpectRow(Packed<BYTE, tRGBPIXEL>(m, 0, 1, 9, &result), {}, 1, kByteSentinel, "null row");
    EXPECT_EQ(9, result);
}

// A whole conversion: the converter's ring and the template together. Only
// rows 2 to H - 3 and columns 2 to W - 6 are the method's own output.
// Symmetric kernels reproduce a linear field: each written pixel repeats the
// sample at its own place, which pins the window's centre and the ring.
TEST(DemosaicHqConversion, RampLandsWhereItCameFrom)
{
    const auto ramp = [](int x, int y) { return 20 + 10 * x + 15 * y; };
    ConvFrame c;
    c.Source(KORVA_PIXTYPE_BAYRG8, 11, 8, ramp);
    c.Destination(KORVA_PIXTYPE_RGB8_PACKED);
    ASSERT_TRUE(c.Run(KORVA_DEMOSAIC_HQ_BILINEAR));
    for (int y = 2; y <= c.height - 3; ++y)
        for (int x = 2; x <= c.width - 6; ++x)
            EXPECT_EQ((Rgb{ramp(x, y), ramp(x, y), ramp(x, y)}), c.At(x, y)) << x << " " << y;
}

}  // namespace
