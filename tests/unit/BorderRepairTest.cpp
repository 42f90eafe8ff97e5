#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ImgProcConvCopy.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"

namespace {

typedef std::vector<unsigned char> Bytes;

// A destination view over `buffer` whose image chunk starts `guard` bytes in
// and is `imageBytes` long; the bytes around the chunk belong to the buffer.
struct Destination {
    Bytes buffer;
    CMemoryAccess view{nullptr};
    CImgProcConvCopy conv;  // any concrete converter carries the repair
    int guard = 0;

    Destination(int width, int height, uint32_t format, double factor, int imageBytes, int guardBytes = 0)
        : buffer(static_cast<size_t>(imageBytes + 2 * guardBytes), 0xEE), guard(guardBytes)
    {
        view.miWidth = view.miRoiWidth = width;
        view.miHeight = view.miRoiHeight = height;
        view.miPixelFormat = format;
        view.mdBytePerPixel = factor;
        view.miBppEff = 8;
        view.SetBasePointer(buffer.data(), static_cast<int32_t>(buffer.size()));
        if (imageBytes > 0) {
            EXPECT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, buffer.data() + guard, imageBytes, 0,
                                                     imageBytes));
        }
        conv.mpMemDst = &view;
        conv.mRectDst.SetRect(0, 0, width, height);
    }

    unsigned char* image() { return buffer.data() + guard; }
};

// Packed 1-byte pixels holding 10 * y + x (+ 100 per plane).
void FillCoordinates(unsigned char* image, int width, int height, int planes)
{
    for (int p = 0; p < planes; ++p)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image[(p * height + y) * width + x] = static_cast<unsigned char>(100 * p + 10 * y + x);
}

// The documented result of a 3x3 repair on a 5x5 frame filled as above.
const unsigned char kRepaired5x5[25] = {22, 21, 22, 23, 22, 12, 11, 12, 13, 12, 22, 21, 22,
                                         23, 22, 32, 31, 32, 33, 32, 22, 21, 22, 23, 22};

// With 3-byte pixels and h = 2 the byte offset j makes the column copies
// overlap: hand-derived rows of a 7x5 frame holding 40 * y + byte.
TEST(BorderRepairTest, WidePixelsOverlapByByteOffsets)
{
    Destination d(7, 5, KORVA_PIXTYPE_RGB8_PACKED, 3.0, 105);
    for (int y = 0; y < 5; ++y)
        for (int b = 0; b < 21; ++b)
            d.image()[y * 21 + b] = static_cast<unsigned char>(40 * y + b);
    EXPECT_TRUE(d.conv.RepairDstBorder(3, 5));

    const unsigned char row0[21] = {172, 170, 171, 172, 4,   5,   166, 167, 168, 169, 170,
                                    171, 172, 173, 174, 175, 170, 171, 172, 167, 168};
    const unsigned char row2[21] = {92, 90, 91, 92, 84, 85, 86, 87, 88, 89, 90,
                                    91, 92, 93, 94, 95, 90, 91, 92, 87, 88};
    const unsigned char row4[21] = {172, 170, 171, 172, 164, 165, 166, 167, 168, 169, 170,
                                    171, 172, 173, 174, 175, 170, 171, 172, 167, 168};
    EXPECT_EQ(Bytes(row0, row0 + 21), Bytes(d.image(), d.image() + 21));
    EXPECT_EQ(Bytes(row2, row2 + 21), Bytes(d.image() + 42, d.image() + 63));
    EXPECT_EQ(Bytes(row4, row4 + 21), Bytes(d.image() + 84, d.image() + 105));
}

// A 3x3 repair mirrors rows and takes column 2, addressing through the region
// of a 7x6 image: 5x5 at (0, 0) and at (1, 1).
TEST(BorderRepairTest, RepairStaysInsideTheRegionOfInterest)
{
    for (int at : {0, 1}) {
        Destination d(7, 6, KORVA_PIXTYPE_MONO8, 1.0, 42);
        for (int i = 0; i < 42; ++i)
            d.image()[i] = static_cast<unsigned char>(200 + i % 50);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 5; ++x)
                d.image()[(y + at) * 7 + x + at] = static_cast<unsigned char>(10 * y + x);
        ASSERT_TRUE(d.view.SetROI(at, at, 5, 5));
        const Bytes before = d.buffer;
        EXPECT_TRUE(d.conv.RepairDstBorder(1, 3));
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 7; ++x) {
                const bool inRegion = y >= at && y < at + 5 && x >= at && x < at + 5;
                EXPECT_EQ(inRegion ? kRepaired5x5[(y - at) * 5 + x - at] : before[static_cast<size_t>(y * 7 + x)],
                          d.image()[y * 7 + x])
                    << at << ": " << x << "," << y;
            }
    }
}

TEST(BorderRepairTest, PlanarRepairsEveryPlaneWithPlaneDistanceFromTheRun)
{
    // Plane distance from pitch x run height: every plane is repaired alike.
    Destination full(5, 5, KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 75);
    FillCoordinates(full.image(), 5, 5, 3);
    EXPECT_TRUE(full.conv.RepairDstPlanarBorder(1, 3));
    for (int p = 0; p < 3; ++p)
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ(kRepaired5x5[i] + 100 * p, full.image()[p * 25 + i]) << "plane " << p << " at " << i;

    // A run of height 0 gives a plane distance of 0: the row copies repeat on
    // plane 0, while the column step still runs down all three planes.
    Destination flat(5, 5, KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 75);
    flat.conv.mRectDst.SetRect(0, 0, 5, 0);
    FillCoordinates(flat.image(), 5, 5, 3);
    EXPECT_TRUE(flat.conv.RepairDstPlanarBorder(1, 3));
    for (int i = 0; i < 25; ++i)
        EXPECT_EQ(kRepaired5x5[i], flat.image()[i]) << i;
    for (int p = 1; p < 3; ++p)
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 5; ++x)  // columns 0 and 4 from column 2, nothing else
                EXPECT_EQ(100 * p + 10 * y + (x == 0 || x == 4 ? 2 : x), flat.image()[p * 25 + y * 5 + x])
                    << "plane " << p << " at " << x << "," << y;
        }
}

// Frames too small for the mirror: only copies whose pixels exist are made.
TEST(BorderRepairTest, NarrowFramesRepairOnlyWhatExists)
{
    struct Case {
        const char* what;
        int width, height;
        std::vector<int> expected;  // 10 * y + x after the repair
    } cases[] = {
        {"two columns", 2, 5, {0, 21, 10, 11, 20, 21, 30, 31, 40, 21}},
        {"two rows", 5, 2, {2, 1, 2, 3, 2, 12, 11, 12, 13, 12}},
        {"one pixel", 1, 1, {0}},
    };
    for (const Case& c : cases) {
        Destination d(c.width, c.height, KORVA_PIXTYPE_MONO8, 1.0, c.width * c.height);
        FillCoordinates(d.image(), c.width, c.height, 1);
        EXPECT_TRUE(d.conv.RepairDstBorder(1, 3));
        EXPECT_EQ(Bytes(c.expected.begin(), c.expected.end()), Bytes(d.image(), d.image() + c.expected.size()))
            << c.what;
    }
}

// Every small size, pixel width and matrix, packed and planar: nothing is
// touched outside the image chunk (guard bytes) and nothing outside the
// buffer (AddressSanitizer, with an exactly sized buffer). A matrix without
// a border changes nothing at all.
TEST(BorderRepairTest, SmallFramesStayInsideChunkAndBuffer)
{
    for (int guard : {0, 8})
        for (bool planar : {false, true})
            for (int bpp : {1, 2, 3})
                for (int matrix : {-3, 1, 3, 5, 7, 9})
                    for (int width = 0; width <= 5; ++width)
                        for (int height = 0; height <= 5; ++height) {
                            const int planes = planar ? 3 : 1;
                            const int bytes = width * height * bpp * planes;
                            Destination d(width, height, planar ? 0u : KORVA_PIXTYPE_MONO8,
                                          static_cast<double>(bpp), bytes, guard);
                            for (int i = 0; i < bytes; ++i)
                                d.image()[i] = static_cast<unsigned char>(i);
                            const Bytes before = d.buffer;
                            EXPECT_TRUE(planar ? d.conv.RepairDstPlanarBorder(bpp, matrix)
                                               : d.conv.RepairDstBorder(bpp, matrix));
                            ASSERT_TRUE(matrix >= 3 || before == d.buffer) << matrix;
                            for (int g = 0; g < guard; ++g) {
                                ASSERT_EQ(0xEE, d.buffer[static_cast<size_t>(g)]);
                                ASSERT_EQ(0xEE, d.buffer[d.buffer.size() - 1 - static_cast<size_t>(g)]);
                            }
                        }
}

// Row 4 of a 5x5 frame made unreachable in two ways: by a data offset that
// turns its addresses null after offset 20, and by a hand-entered chunk that
// claims more than the buffer's stated 20 bytes. Rows 0 to 3 are repaired as
// usual, row 4 keeps its values.
TEST(BorderRepairTest, UnreachableRowsAreLeftAlone)
{
    for (bool byDataOffset : {true, false}) {
        Destination d(5, 5, KORVA_PIXTYPE_MONO8, 1.0, 25);
        if (byDataOffset)
            d.view.miDataOffset = 5;
        else
            d.view.miBufferLength = 20;
        FillCoordinates(d.image(), 5, 5, 1);
        EXPECT_TRUE(d.conv.RepairDstBorder(1, 3));
        const unsigned char* expected = kRepaired5x5;
        const unsigned char row4[5] = {40, 41, 42, 43, 44};
        EXPECT_EQ(Bytes(expected, expected + 20), Bytes(d.image(), d.image() + 20)) << byDataOffset;
        EXPECT_EQ(Bytes(row4, row4 + 5), Bytes(d.image() + 20, d.image() + 25)) << byDataOffset;
    }
}

}  // namespace
