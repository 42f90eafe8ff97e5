// The filter stage's run: values on small frames, the fixed destination row,
// reads and writes at the buffers' ends, and the runs it refuses.
#include <gtest/gtest.h>

#include <vector>

#include "ImgProcConvFilter.h"
#include "TestFrames.h"

using namespace testframes;

namespace {

struct FilterRun {
    std::unique_ptr<CImgProc> proc = MakeImage();
    CImgProcConvFilter filter;
    Bytes src, dst;

    explicit FilterRun(int type, int size = 0)
    {
        filter.mpImgProc = proc.get();
        filter.mpMemSrc = &proc->mMemSrc;
        filter.mpMemDst = &proc->mMemDst;
        if (size == 0)
            size = type == 1 || type == 3 ? 3 : 5;
        EXPECT_TRUE(filter.SetParameter(static_cast<KORVA_ImageFilter>(type), nullptr, 0, size, size));
    }
    // A w x h view whose buffer and chunk are the first `length` bytes of the
    // vector (all of it when negative); the rest lies outside the view.
    void Lay(CMemoryAccess& view, Bytes& bytes, uint32_t code, int w, int h, int length = -1)
    {
        view.SetPixelFormat(code, &proc->mPixelFormatMap[code]);
        view.miWidth = view.miRoiWidth = w;
        view.miHeight = view.miRoiHeight = h;
        const int n = length < 0 ? static_cast<int>(bytes.size()) : length;
        view.SetBasePointer(bytes.data(), n);
        ASSERT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, bytes.data(), n, 0, n));
    }
    // Source bytes as given; a destination of w x h bytes of kUntouched
    // behind which `spare` bytes lie outside its view.
    bool Run(const Bytes& source, int w, int h, uint32_t code = KORVA_PIXTYPE_MONO8, int bytesPerSample = 1,
             int spare = 0)
    {
        src = source;
        dst.assign(static_cast<size_t>(w * h * bytesPerSample + spare), kUntouched);
        Lay(proc->mMemSrc, src, code, w, h);
        Lay(proc->mMemDst, dst, code, w, h, w * h * bytesPerSample);
        return filter.Convert();
    }
};

// kUntouched everywhere but `at`, where `values` start.
Bytes Expect(size_t size, size_t at, const Bytes& values)
{
    Bytes b(size, kUntouched);
    std::copy(values.begin(), values.end(), b.begin() + static_cast<long>(at));
    return b;
}

TEST(FilterRun, BoxKeepsAUniformFrameInTheFixedRow)
{
    // Two spare rows and two bytes in the source buffer give the last pass a
    // full window: every sum is 9 v. All passes land in row 1 from column 1,
    // the last column running on into row 2.
    FilterRun run(1);
    ASSERT_TRUE(run.Run(Bytes(4 * 6 + 2, 90), 4, 4));
    EXPECT_EQ(Expect(16, 5, {90, 90, 90, 90}), run.dst);
    // Flipped, the walk runs leftwards from column 2, on into row 0.
    FilterRun flipped(1);
    flipped.filter.mbFlipHorizontal = true;
    ASSERT_TRUE(flipped.Run(Bytes(4 * 6 + 2, 90), 4, 4));
    EXPECT_EQ(Expect(16, 3, {90, 90, 90, 90}), flipped.dst);
}

TEST(FilterRun, ReadsPastTheSourceBufferCountAsZero)
{
    // Without spare bytes the last pass sees row 3 only, and fewer of its
    // columns as the window leaves the buffer.
    FilterRun run(1);
    ASSERT_TRUE(run.Run(Bytes(16, 90), 4, 4));
    EXPECT_EQ(Expect(16, 5, {30, 30, 20, 10}), run.dst);
}

TEST(FilterRun, LaplaceWrapsNegativeSumsUnclamped)
{
    // A point of 10 at row 3, column 1 of a 3 x 3 frame with spare rows: the
    // last pass puts -4 * 10 under x = 0 and the point's left neighbour
    // weight under x = 1.
    Bytes source(3 * 5 + 2, 0);
    source[10] = 10;
    FilterRun run(3);
    ASSERT_TRUE(run.Run(source, 3, 3));
    EXPECT_EQ(Expect(9, 4, {216, 10, 0}), run.dst);

    FilterRun flat(4);
    ASSERT_TRUE(flat.Run(Bytes(5 * 10 + 4, 77), 5, 5));
    EXPECT_EQ(Expect(25, 12, {0, 0, 0, 0, 0}), flat.dst);
}

TEST(FilterRun, ShiftsTwelveBitSamplesIntoEightBits)
{
    // MONO12 to itself: s = 16 - 12 = 4, the quotient 0xFF0 is stored as 0xFF.
    Bytes source;
    for (int i = 0; i < 3 * 5 + 2; ++i) {
        source.push_back(0xF0);
        source.push_back(0x0F);
    }
    FilterRun run(1);
    ASSERT_TRUE(run.Run(source, 3, 3, KORVA_PIXTYPE_MONO12, 2));
    EXPECT_EQ(Expect(18, 8, {0xFF, 0, 0xFF, 0, 0xFF, 0}), run.dst);
}

TEST(FilterRun, WritesPastTheDestinationAreDropped)
{
    // A 3 x 2 frame: row 1 from column 1 holds two samples; the third write
    // would land on the byte behind the view.
    FilterRun run(1);
    ASSERT_TRUE(run.Run(Bytes(6, 9), 3, 2, KORVA_PIXTYPE_MONO8, 1, 1));
    EXPECT_EQ(Expect(7, 4, {3, 2, kUntouched}), run.dst);
}

TEST(FilterRun, RefusesBeforeWriting)
{
    const Bytes frame(4 * 4, 50);
    const Bytes untouched(16, kUntouched);
    // The image object's own stage: its constructor's kernel has no size.
    FilterRun own(1);
    own.Run(frame, 4, 4);
    own.dst.assign(16, kUntouched);
    EXPECT_FALSE(own.proc->mConvFilter.Convert());
    EXPECT_EQ(untouched, own.dst);
    // Repeating SetParameter leaves a 3 x 3 size over an empty kernel.
    FilterRun repeated(3);
    EXPECT_TRUE(repeated.filter.SetParameter(static_cast<KORVA_ImageFilter>(3), nullptr, 0, 3, 3));
    EXPECT_FALSE(repeated.Run(frame, 4, 4));
    EXPECT_EQ(untouched, repeated.dst);
    // A caller's size larger than the kernel copied from the table.
    FilterRun larger(1, 4);
    EXPECT_FALSE(larger.Run(frame, 4, 4));
    EXPECT_EQ(untouched, larger.dst);

    FilterRun other(1);
    ASSERT_TRUE(other.Run(frame, 4, 4));
    other.dst.assign(16, kUntouched);
    other.Lay(other.proc->mMemDst, other.dst, KORVA_PIXTYPE_BAYGR8, 4, 4);
    EXPECT_FALSE(other.filter.Convert());
    other.Lay(other.proc->mMemDst, other.dst, KORVA_PIXTYPE_MONO8, 4, 3);
    EXPECT_FALSE(other.filter.Convert());
    EXPECT_EQ(untouched, other.dst);
}

}  // namespace
