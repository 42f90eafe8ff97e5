// Brightness from the mosaic: one 5x5 kernel over the whole frame.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ImgProcConvDemosaic.h"
#include "ImgProcConvDemosaic_Mono.inl"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

namespace {

const int kSentinel = 0xEE;

// A W x H source laid out at the region's width and a destination view of
// the same region, whose buffer may be wider than the region.
template <typename S, typename D>
struct Frame {
    int width, height;
    std::vector<S> source;
    std::vector<D> pixels;
    CMemoryAccess destination{nullptr};
    CImgProcConvDemosaic conv;

    Frame(int w, int h, int bufferWidth = 0) : width(w), height(h), source(static_cast<size_t>(w * h))
    {
        if (bufferWidth == 0)
            bufferWidth = w;
        pixels.assign(static_cast<size_t>(bufferWidth * h), static_cast<D>(0xEEEE));
        destination.miWidth = bufferWidth;
        destination.miHeight = destination.miRoiHeight = h;
        destination.miRoiWidth = w;
        destination.mdBytePerPixel = sizeof(D);
        const int bytes = static_cast<int>(pixels.size() * sizeof(D));
        unsigned char* base = reinterpret_cast<unsigned char*>(pixels.data());
        destination.SetBasePointer(base, bytes);
        EXPECT_EQ(RESULT_OK, destination.setChunkOfData(KORVA_CHUNK_IMAGE, base, bytes, 0, bytes));
        EXPECT_TRUE(conv.SetType(KORVA_DEMOSAIC_MONO));
        conv.mpMemDst = &destination;
        conv.mRectSrc.SetRect(0, 0, w, h);
        conv.mRectDst.SetRect(0, 0, w, h);
    }
    void Fill(int value) { source.assign(source.size(), static_cast<S>(value)); }
    void Set(int x, int y, int value) { source[static_cast<size_t>(y * width + x)] = static_cast<S>(value); }
    int Run(int step = 1)
    {
        return conv.template BayerToMonoTemplate_LUT<S, D, D>(source.data(), pixels.data(), 1, 1, step);
    }
    // The destination sample at column x, row y of a buffer `stride` wide.
    int At(int x, int y, int stride) const { return pixels[static_cast<size_t>(y * stride + x)]; }
};

// Expects `interior` (row-major, columns 2.. and rows 2..) at the given
// stride, and the sentinel everywhere else in the buffer.
template <typename S, typename D>
void ExpectInterior(const Frame<S, D>& f, int columns, const std::vector<int>& interior, int stride,
                    int step = 1)
{
    const int rows = columns > 0 ? static_cast<int>(interior.size()) / columns : 0;
    for (size_t i = 0; i < f.pixels.size(); ++i) {
        const int x = static_cast<int>(i) % stride, y = static_cast<int>(i) / stride;
        const int cx = (x - 2) / step;
        const bool written = y >= 2 && y < 2 + rows && x >= 2 && (x - 2) % step == 0 && cx < columns;
        const int expected = written ? interior[static_cast<size_t>((y - 2) * columns + cx)]
                                     : static_cast<D>(0xEEEE);
        EXPECT_EQ(expected, f.pixels[i]) << "x " << x << " y " << y;
    }
}

TEST(BayerToMono, FlatFieldsComeThroughUnshiftedAndClamped)
{
    // Odd sizes: rows 2 to H - 3 and columns 2 to W - 3 are written.
    Frame<BYTE, BYTE> bytes(9, 8);
    bytes.Fill(200);
    EXPECT_EQ(1, bytes.Run());
    ExpectInterior(bytes, 5, std::vector<int>(5 * 4, 200), 9);

    // A deeper source is not brought to 8 bits first: it saturates at 255,
    // into 16-bit samples too.
    Frame<WORD, BYTE> narrow(7, 6);
    narrow.Fill(1000);
    narrow.Run();
    ExpectInterior(narrow, 3, std::vector<int>(3 * 2, 255), 7);

    Frame<WORD, WORD> wide(6, 7);
    wide.Fill(1000);
    wide.Run();
    ExpectInterior(wide, 2, std::vector<int>(2 * 3, 255), 6);
}

// Worked by hand from the kernel: a spot at (sx, sy) in a flat field takes
// (spot - field) * w / 32 onto each output, w being the kernel entry that
// meets it; negative sums give 0, not a wrapped value. The last case puts
// the spot in the last row, which only the ring's last window sees.
TEST(BayerToMono, SpotsInFlatFields)
{
    const struct Case {
        int w, h, field, sx, sy, spot, columns;
        std::vector<int> interior;
    } cases[] = {
        // 6400 - 400 = 6000 / 32 = 187; 6400 - 1200 = 5200 / 32 = 162; 3200 / 32 = 100
        {7, 7, 200, 3, 3, 0, 3, {187, 162, 187, 162, 100, 162, 187, 162, 187}},
        {9, 9, 0, 4, 4, 255, 5, {0, 0, 0,   0, 0, 0, 15, 47, 15, 0, 0, 47, 127, 47, 0,
                                 0, 15, 47, 15, 0, 0, 0, 0,   0, 0}},
        {5, 8, 100, 2, 7, 132, 1, {100, 100, 100, 98}},
        {5, 5, 90, 0, 0, 90, 1, {90}},
        // Narrower or lower than the kernel: nothing is written.
        {4, 9, 90, 0, 0, 90, 0, {}},
        {9, 4, 90, 0, 0, 90, 0, {}},
    };
    for (const Case& c : cases) {
        Frame<BYTE, BYTE> f(c.w, c.h);
        f.Fill(c.field);
        f.Set(c.sx, c.sy, c.spot);
        EXPECT_EQ(1, f.Run());
        ExpectInterior(f, c.columns, c.interior, c.w);
    }
}

// Outputs follow `second` within a row and the region's width from row to
// row, also where the destination buffer is wider than the region.
TEST(BayerToMono, PixelStepAndRowAdvance)
{
    Frame<WORD, WORD> stepped(7, 6);
    stepped.Fill(70);
    stepped.Run(2);
    ExpectInterior(stepped, 3, std::vector<int>(3 * 2, 70), 7, 2);

    Frame<BYTE, BYTE> wider(7, 6, 10);
    wider.Fill(50);
    wider.Run();
    // The first row starts at (2, 2) of the 10-wide buffer; each further row
    // 7 samples on.
    for (int row = 0; row < 2; ++row)
        for (int col = 0; col < 3; ++col)
            EXPECT_EQ(50, wider.pixels[static_cast<size_t>(2 * 10 + 2 + row * 7 + col)]) << row << " " << col;
    int written = 0;
    for (BYTE p : wider.pixels)
        written += p != kSentinel;
    EXPECT_EQ(6, written);
}

TEST(BayerToMonoDeathTest, AssertsTheNeighbourhood)
{
    Frame<BYTE, BYTE> f(5, 5);
    f.conv.miMatrixSize = 3;
    EXPECT_DEATH(f.Run(), "miMatrixSize == 5");
}

}  // namespace
