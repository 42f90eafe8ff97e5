#include "TestFrames.h"

namespace {

using namespace testframes;

class CopyConverterTest : public ::testing::Test {
protected:
    std::unique_ptr<CImgProc> proc = MakeImage();
};

TEST_F(CopyConverterTest, ElementWidthFollowsTheSourceFactorAndDepth)
{
    const unsigned char E = kUntouched;
    struct Case {
        const char* what;
        Format src, dst;
        int32_t width, height;
        size_t srcBytes, dstBytes;
        Bytes expected;  // destination after the run; source holds 1, 2, 3, ...
    } cases[] = {
        {"mono8 byte for byte", kMono8, kMono8, 4, 2, 8, 8, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"mono16 takes 8 bytes per row", kMono16, kMono16, 4, 2, 16, 16,
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {"mono10 is 16-bit data", kMono10, kMono10, 2, 1, 4, 4, {1, 2, 3, 4}},
        {"rgb8 writes the bytes at even distances", kRgb8, kRgb8, 4, 2, 24, 24,
         {1, 3, 5, 7, E, E, E, E, E, E, E, E, 13, 15, 17, 19, E, E, E, E, E, E, E, E}},
        {"8-bit depth in 2 bytes keeps the low byte", kYuv422, kMono8, 4, 2, 16, 8, {1, 3, 5, 7, 9, 11, 13, 15}},
        {"rgb10 copies a third of the row", kRgb10, kRgb10, 2, 1, 12, 12, {1, 2, 3, 4, E, E, E, E, E, E, E, E}},
        // Row 1 of width 3 starts at byte 4; each row moves 3 16-bit elements.
        {"packed 12-bit treated as 16-bit", kMono12Packed, kMono12Packed, 3, 2, 16, 16,
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, E, E, E, E, E, E}},
    };
    for (const Case& c : cases) {
        proc = MakeImage();
        Bytes src = Counting(c.srcBytes);
        Bytes dst(c.dstBytes, kUntouched);
        Bind(proc->mMemSrc, src, c.width, c.height, c.src);
        Bind(proc->mMemDst, dst, c.width, c.height, c.dst);
        EXPECT_TRUE(proc->mConvCopy.Convert()) << c.what;
        EXPECT_EQ(c.expected, dst) << c.what;
        EXPECT_EQ(Counting(c.srcBytes), src) << c.what;
    }
}

// Widths around the blocks of eight, for both element widths.
TEST_F(CopyConverterTest, RowsOfAnyWidthAreCopiedCompletely)
{
    for (const Format& f : {kMono8, kMono16})
        for (int32_t width : {1, 7, 8, 9, 15, 16, 17, 31}) {
            proc = MakeImage();
            const int32_t height = 3;
            const size_t bytes = static_cast<size_t>(width * height) * static_cast<size_t>(f.factor);
            Bytes src(bytes);
            for (size_t i = 0; i < bytes; ++i)
                src[i] = static_cast<unsigned char>(i * 37 + 11);
            Bytes dst(bytes, kUntouched);
            Bind(proc->mMemSrc, src, width, height, f);
            Bind(proc->mMemDst, dst, width, height, f);
            EXPECT_TRUE(proc->mConvCopy.Convert());
            EXPECT_EQ(src, dst) << "width " << width << " factor " << f.factor;
        }
}

TEST_F(CopyConverterTest, ZeroWidthWritesNothingAndSucceeds)
{
    Bytes src = Counting(8);
    Bytes dst(8, kUntouched);
    Bind(proc->mMemSrc, src, 4, 2, kMono8);
    Bind(proc->mMemDst, dst, 4, 2, kMono8);
    proc->mMemSrc.miRoiWidth = 0;
    proc->mMemDst.miRoiWidth = 0;
    EXPECT_TRUE(proc->mConvCopy.Convert());
    EXPECT_EQ(Bytes(8, kUntouched), dst);
}

TEST_F(CopyConverterTest, RegionsAreAddressedOnBothSides)
{
    // Source region 2x2 at (1, 1) of a 4x4 image into a destination region
    // 2x2 at (2, 0) of a 4x3 image.
    Bytes src = Counting(16);
    Bytes dst(12, kUntouched);
    Bind(proc->mMemSrc, src, 4, 4, kMono8);
    Bind(proc->mMemDst, dst, 4, 3, kMono8);
    ASSERT_TRUE(proc->mMemSrc.SetROI(1, 1, 2, 2));
    ASSERT_TRUE(proc->mMemDst.SetROI(2, 0, 2, 2));
    EXPECT_TRUE(proc->mConvCopy.Convert());
    const unsigned char E = kUntouched;
    EXPECT_EQ((Bytes{E, E, 6, 7, E, E, 10, 11, E, E, E, E}), dst);
}

}  // namespace
