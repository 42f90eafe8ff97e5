// The Bayer converter's dispatch: classes of destination, sample widths,
// tables and phases on flat fields, the raw copy and the row loop's ends.
#include "TestFrames.h"

namespace {

using namespace testframes;

typedef ConvFrame Frame;
const int kSlack = 16;  // spare destination bytes behind the image chunk
const uint32_t RG8 = KORVA_PIXTYPE_BAYRG8, RG12 = KORVA_PIXTYPE_BAYRG12, RGB8 = KORVA_PIXTYPE_RGB8_PACKED;

std::function<int(int, int)> Flat(int value)
{
    return [value](int, int) { return value; };
}

TEST(DemosaicDispatch, SetTypeStoresTypeAndNeighbourhood)
{
    const struct Case {
        int type;
        bool accepted;
        int size;
    } cases[] = {{1, true, 2}, {2, true, 3},    {3, true, 5},  {100, true, 0}, {101, true, 0}, {102, true, 5},
                 {0, false, 0}, {4, false, 0}, {99, false, 0}, {103, false, 0}, {-1, false, 0}};
    for (const Case& c : cases) {
        CImgProcConvDemosaic conv;
        conv.miDemosaicType = static_cast<KORVA_Demosaic>(7);
        conv.miMatrixSize = 9;
        EXPECT_EQ(c.accepted, conv.SetType(static_cast<KORVA_Demosaic>(c.type))) << c.type;
        EXPECT_EQ(c.accepted ? c.type : 7, conv.miDemosaicType) << c.type;
        EXPECT_EQ(c.accepted ? c.size : 9, conv.miMatrixSize) << c.type;
    }
}

// Runs that write nothing: a source of two rows fails; destinations without
// a path succeed; a 5-row method on 3 or 4 rows reads nothing below the
// image (exact buffers let the sanitizer see it).
TEST(DemosaicDispatch, RunsThatWriteNothing)
{
    const struct Case {
        uint32_t source, destination;
        int width, height, type;
        bool result;
    } cases[] = {
        {RG8, RGB8, 8, 2, 1, false},   {RG8, RGB8, 8, 2, 2, false},     {RG8, RGB8, 8, 2, 3, false},
        {RG12, KORVA_PIXTYPE_RGB10_PACKED, 6, 6, 1, true}, {RG12, KORVA_PIXTYPE_RGB12_PACKED, 6, 6, 1, true},
        {RG12, KORVA_PIXTYPE_BGRA8_PACKED, 6, 6, 1, true}, {RG12, KORVA_PIXTYPE_MONO14, 6, 6, 1, true},
        {RG12, KORVA_PIXTYPE_YUV422_PACKED, 6, 6, 1, true}, {RG8, RGB8, 10, 3, 3, true}, {RG8, RGB8, 10, 4, 3, true},
    };
    for (const Case& c : cases) {
        Frame f;
        f.Source(c.source, c.width, c.height, [](int x, int y) { return 50 + 10 * x + y; });
        f.Destination(c.destination, -1, c.height > 2 && c.type == 3 ? 0 : kSlack);
        EXPECT_EQ(c.result, f.Run(c.type)) << std::hex << c.destination << std::dec << " type " << c.type;
        EXPECT_EQ(f.Untouched(), f.dst) << std::hex << c.destination << std::dec << " type " << c.type;
        EXPECT_TRUE(c.result || f.proc->mConvDemosaic.mppRows == nullptr);
    }
}

// A flat mosaic gives the same colour at every site for every phase, so what
// comes out is the three tables' entries in the right channels: balance
// (2, 1, 0.5) on 8 bits, depth change on 10 and 12 bits. Interleaved and
// planar layouts are decoded per path. The full frame is checked, so the
// border repair has to fill the same colour in.
TEST(DemosaicDispatch, FlatFieldsCarryTablesIntoEveryChannel)
{
    enum Layout { kRgb, kBgr, kPlanar8, kPlanar16 };
    const struct Case {
        uint32_t source;
        uint32_t destination;
        Layout layout;
        int value;
        double redGain, blueGain;
        Rgb expected;
    } cases[] = {
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_RGB8_PACKED, kRgb, 100, 2.0, 0.5, {200, 100, 50}},
        {KORVA_PIXTYPE_BAYGB8, KORVA_PIXTYPE_BGR8_PACKED, kBgr, 100, 2.0, 0.5, {200, 100, 50}},
        {KORVA_PIXTYPE_BAYGR8, KORVA_PIXTYPE_RGB8_PLANAR, kPlanar8, 100, 2.0, 0.5, {200, 100, 50}},
        {KORVA_PIXTYPE_BAYBG8, KORVA_PIXTYPE_RGB8_PACKED, kRgb, 200, 2.0, 0.5, {255, 200, 100}},
        {KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB8_PACKED, kRgb, 1000, 1.0, 1.0, {62, 62, 62}},
        // Gains make deep tables that are no plain rescale.
        {KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB8_PACKED, kRgb, 1000, 2.0, 0.5, {125, 62, 31}},
        {KORVA_PIXTYPE_BAYGB12, KORVA_PIXTYPE_RGB8_PLANAR, kPlanar8, 4095, 1.0, 1.0, {255, 255, 255}},
        {KORVA_PIXTYPE_BAYRG12, KORVA_PIXTYPE_RGB12_PLANAR, kPlanar16, 1000, 1.0, 1.0, {1000, 1000, 1000}},
        {KORVA_PIXTYPE_BAYGB10, KORVA_PIXTYPE_RGB10_PLANAR, kPlanar16, 700, 1.0, 1.0, {700, 700, 700}},
        {KORVA_PIXTYPE_BAYGR10, KORVA_PIXTYPE_BGR8_PACKED, kBgr, 1023, 1.0, 1.0, {255, 255, 255}},
    };
    const int W = 72, H = 5, N = W * H;  // wide enough for the vector rows
    for (int type : {1, 2})
        for (const Case& c : cases) {
            Frame f;
            f.Source(c.source, W, H, Flat(c.value), {c.value});
            f.Destination(c.destination, -1, kSlack);
            f.proc->setDemosaicColorBalance(c.redGain, 1.0, c.blueGain);
            ASSERT_TRUE(f.Run(type));
            // Planes of bilinear are only made for red in an even column.
            if (type == 2 && (c.layout == kPlanar8 || c.layout == kPlanar16) &&
                (c.source == KORVA_PIXTYPE_BAYGR8 || c.source == KORVA_PIXTYPE_BAYGR10)) {
                EXPECT_EQ(f.Untouched(), f.dst) << std::hex << c.destination;
                continue;
            }
            for (int i = 0; i < N; ++i) {
                Rgb got{};
                switch (c.layout) {
                case kRgb: got = {f.dst[3 * i], f.dst[3 * i + 1], f.dst[3 * i + 2]}; break;
                case kBgr: got = {f.dst[3 * i + 2], f.dst[3 * i + 1], f.dst[3 * i]}; break;
                case kPlanar8: got = {f.dst[i], f.dst[N + i], f.dst[2 * N + i]}; break;
                case kPlanar16: got = {f.Word(i), f.Word(N + i), f.Word(2 * N + i)}; break;
                }
                EXPECT_TRUE(got.red == c.expected.red && got.green == c.expected.green && got.blue == c.expected.blue)
                    << "type " << type << " format " << std::hex << c.destination << std::dec << " pixel " << i
                    << ": " << got.red << " " << got.green << " " << got.blue;
            }
        }
}

// RGBA8 gets 3-byte pixels in rows that are 4 bytes per pixel apart; the
// border repair then copies 3 bytes for the last column, so the row's very
// last byte stays as it was, and in the repaired bottom row also byte 3.
TEST(DemosaicDispatch, RgbaIsWrittenWithThreeBytePixels)
{
    Frame f;
    f.Source(KORVA_PIXTYPE_BAYRG8, 4, 4, Flat(90));
    f.Destination(KORVA_PIXTYPE_RGBA8_PACKED, -1, kSlack);
    ASSERT_TRUE(f.Run(1));
    for (int y = 0; y < 4; ++y)
        for (int b = 0; b < 16; ++b)
            EXPECT_EQ(b == 15 || (y == 3 && b == 3) ? kUntouched : 90, f.dst[static_cast<size_t>(16 * y + b)]) << y << " " << b;
}

// RGB16_PLANAR gets interleaved 16-bit pixels at the planar format's row
// distance of 2 bytes per pixel, so rows overlap. The expected frame is laid
// out by hand (column 0 of nearest neighbour: blue 0, half green) and then
// given the base's 6-byte border repair.
TEST(DemosaicDispatch, Rgb16PlanarIsWrittenInterleaved)
{
    const int W = 4, H = 4;
    Frame f, ref;
    for (Frame* g : {&f, &ref}) {
        g->Source(KORVA_PIXTYPE_BAYRG12, W, H, Flat(4095));
        g->Destination(KORVA_PIXTYPE_RGB16_PLANAR, -1, kSlack);
    }
    ASSERT_TRUE(f.Run(1));
    const int halfGreen = f.proc->mpLUT[1][2047];
    EXPECT_EQ(32759, halfGreen);  // 2047 / 4095 * 65535 + 0.5, truncated
    for (int y = 0; y < H - 1; ++y)
        for (int k = 0; k < 3 * W; ++k) {
            const int v = k == 1 ? halfGreen : k == 2 ? 0 : 65535;
            ref.dst[static_cast<size_t>(2 * (W * y + k))] = static_cast<unsigned char>(v);
            ref.dst[static_cast<size_t>(2 * (W * y + k) + 1)] = static_cast<unsigned char>(v >> 8);
        }
    ref.proc->mConvDemosaic.RepairDstBorder(6, 2);
    EXPECT_EQ(ref.dst, f.dst);
}

// Every site goes through the red table, the other gains do nothing, and the
// columns are the destination width less the half of the type that is set.
TEST(DemosaicDispatch, BayerDestinationIsARawCopyThroughTheRedTable)
{
    const struct Case {
        int type;
        int columns;
    } cases[] = {{1, 5}, {2, 4}, {3, 3}, {102, 3}, {100, 5}};
    const auto sample = [](int x, int y) { return 10 + 60 * y + x; };
    for (const Case& c : cases) {
        Frame f;
        f.Source(KORVA_PIXTYPE_BAYGR8, 5, 3, sample);
        f.Destination(KORVA_PIXTYPE_BAYGR8);
        f.proc->setDemosaicColorBalance(2.0, 0.5, 3.0);
        ASSERT_TRUE(f.Run(c.type));
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x) {
                const int doubled = 2 * sample(x, y) > 255 ? 255 : 2 * sample(x, y);
                EXPECT_EQ(x < c.columns ? doubled : kUntouched, f.dst[static_cast<size_t>(5 * y + x)])
                    << "type " << c.type << " at " << x << "," << y;
            }
    }
}

// No operation sets a step other than 1, but every level honours one: pixel
// x of row y lands at 2 x of row y, rows running on into the next. 16 to 8
// bits takes the entry's low byte, 16 to 16 bits the whole entry.
TEST(DemosaicDispatch, RawCopyHonoursTheStepAndTheSampleWidthRule)
{
    const int W = 70, H = 3;
    Frame f;
    f.Source(KORVA_PIXTYPE_BAYGR8, W, H, [](int x, int y) { return x + 3 * y; });
    f.Destination(KORVA_PIXTYPE_BAYGR8, -1, 2 * W);
    f.proc->mConvDemosaic.miStepX = 2;
    ASSERT_TRUE(f.Run(1));
    Bytes expected = f.Untouched();
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            expected[static_cast<size_t>(W * y + 2 * x)] = static_cast<unsigned char>(x + 3 * y);
    EXPECT_EQ(expected, f.dst);

    const int samples[4] = {0, 1000, 2048, 4095};
    for (uint32_t destination : {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BAYRG10}) {
        const bool wide = destination == KORVA_PIXTYPE_BAYRG10;
        Frame g;
        g.Source(RG12, 4, 3, [&](int x, int) { return samples[x]; });
        g.Destination(destination, -1, kSlack);
        ASSERT_TRUE(g.Run(1));
        const int want[2][4] = {{0, 62, 128, 255}, {0, 250, 512, 1023}};
        for (size_t x = 0; x < 4; ++x)
            EXPECT_EQ(want[wide][x], wide ? g.Word(8 + x) : g.dst[8 + x]) << x;
    }
}

TEST(DemosaicDispatch, MonoDestinationSwitchesTheMethodForGood)
{
    const int W = 8, H = 8;
    Frame f;
    f.Source(KORVA_PIXTYPE_BAYRG8, W, H, [](int x, int y) { return 20 * x + 7 * y; });
    f.Destination(KORVA_PIXTYPE_MONO8, -1, kSlack);
    ASSERT_TRUE(f.Run(1));
    EXPECT_EQ(KORVA_DEMOSAIC_MONO, f.proc->mConvDemosaic.miDemosaicType);
    EXPECT_EQ(5, f.proc->mConvDemosaic.miMatrixSize);
    // The symmetric kernel gives the ramp back, and the repair, one byte a
    // pixel, leaves it there.
    for (int y = 2; y < H - 2; ++y)
        for (int x = 2; x < W - 2; ++x)
            EXPECT_EQ(20 * x + 7 * y, f.dst[static_cast<size_t>(y * W + x)]) << x << "," << y;

    // The colour run writes no pixel; only the border repair of a 5 by 5
    // method moves what the destination held.
    f.Destination(KORVA_PIXTYPE_RGB8_PACKED, -1, kSlack);
    for (size_t i = 0; i < f.dst.size(); ++i)
        f.dst[i] = static_cast<unsigned char>(i % 251);
    const Bytes before = f.dst;
    ASSERT_TRUE(f.proc->mConvDemosaic.Convert());
    for (int y = 2; y < H - 2; ++y)
        for (int b = 2 * 3; b < (W - 2) * 3; ++b) {
            const size_t i = static_cast<size_t>(y * W * 3 + b);
            EXPECT_EQ(before[i], f.dst[i]) << y << " " << b;
        }
    // Row 0 mirrors row 4 (columns 2 to W - 3; the column step follows).
    EXPECT_EQ(Bytes(before.begin() + 4 * W * 3 + 6, before.begin() + 5 * W * 3 - 6),
              Bytes(f.dst.begin() + 6, f.dst.begin() + W * 3 - 6));
}

// A destination buffer that ends inside the last row the 5 by 5 walk
// writes: nothing lands behind it, and the rows above are the roomy run's.
TEST(DemosaicDispatch, MonoWalkKeepsToAShortDestinationBuffer)
{
    const int W = 8, H = 8, length = 5 * W + 4;
    Frame roomy, cut;
    for (Frame* f : {&roomy, &cut}) {
        f->Source(RG8, W, H, [](int x, int y) { return 20 * x + 7 * y; });
        f->Destination(KORVA_PIXTYPE_MONO8);
    }
    CMemoryAccess& view = cut.proc->mMemDst;
    view.SetBasePointer(cut.dst.data(), length);
    ASSERT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, cut.dst.data(), length, 0, length));
    ASSERT_TRUE(roomy.Run(KORVA_DEMOSAIC_MONO) && cut.Run(KORVA_DEMOSAIC_MONO));
    EXPECT_EQ(Bytes(roomy.dst.begin(), roomy.dst.begin() + 5 * W), Bytes(cut.dst.begin(), cut.dst.begin() + 5 * W));
    EXPECT_EQ(Bytes(W * H - length, kUntouched), Bytes(cut.dst.begin() + length, cut.dst.end()));
}

// Row 3 of the destination starts beyond its chunk: rows from there on stay
// as they were, the rows before are written, the result is true.
TEST(DemosaicDispatch, MissingDestinationRowEndsTheLoop)
{
    const int W = 6, H = 6, row = W * 3;
    for (int type : {1, 2}) {
        Frame f;
        f.Source(KORVA_PIXTYPE_BAYRG8, W, H, Flat(77), {77});
        f.Destination(KORVA_PIXTYPE_RGB8_PACKED, 3 * row - 1, kSlack);
        EXPECT_TRUE(f.Run(type)) << type;
        for (size_t i = 0; i < f.dst.size(); ++i) {
            const bool written = i >= static_cast<size_t>(row + 3) && i < static_cast<size_t>(2 * row);
            if (written) {
                EXPECT_EQ(77, f.dst[i]) << type << " " << i;
            } else if (i >= static_cast<size_t>(3 * row)) {
                EXPECT_EQ(kUntouched, f.dst[i]) << type << " " << i;
            }
        }
    }
}

}  // namespace
