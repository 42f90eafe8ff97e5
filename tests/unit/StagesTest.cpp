// The filter and scaling stages: their parameters and runs. The filter's
// values on small frames, its fixed destination row, reads and writes at the
// buffers' ends, and the runs it refuses.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "ImgProc.h"
#include "ImgProcConvFilter.h"
#include "ImgProcConvScale.h"
#include "KorvaPixelFormats.h"
#include "TestFrames.h"

namespace {

using namespace testframes;

KORVA_ImageFilter Filter(int value)
{
    return static_cast<KORVA_ImageFilter>(value);
}

// Each step runs on the stage left by the steps before it.
TEST(ConvFilter, ParameterSequences)
{
    const std::vector<int32_t> zero3(9, 0), box3(9, 1), box5(25, 1), laplace3 = {0, 1, 0, 1, -4, 1, 0, 1, 0},
                               laplace5 = {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, -4, 1, 0,
                                           0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    struct Step {
        int filter, width, height;
        bool accepted;
        int type, divisor, outWidth, outHeight;
        const std::vector<int32_t>* kernel;  // null: none held
    };
    int own[25] = {7};
    const std::vector<std::vector<Step>> sequences = {
        {{1, 3, 3, true, 1, 9, 3, 3, &box3}},
        {{2, 5, 5, true, 2, 25, 5, 5, &box5}, {6, 3, 3, false, 2, 25, 5, 5, &box5}},
        {{4, 5, 5, true, 4, 1, 5, 5, &laplace5}},
        // A call without sizes copies no entry and keeps no size; a second
        // call allocates an empty kernel after Free cleared the sizes.
        {{1, 0, 0, true, 1, 9, 0, 0, &zero3}},
        {{3, 3, 3, true, 3, 1, 3, 3, &laplace3}, {3, 3, 3, true, 3, 1, 3, 3, nullptr},
         {2, 5, 5, true, 2, 25, 5, 5, nullptr}},
        // Larger caller sizes copy no more than the table (a sanitizer build
        // sees a read past it).
        {{1, 40, 40, true, 1, 9, 40, 40, &box3}},
        {{2, 40, 40, true, 2, 25, 40, 40, &box5}},
        // The caller's kernel (5) is refused but its size stays.
        {{3, 3, 3, true, 3, 1, 3, 3, &laplace3}, {5, 4, 3, false, 3, 1, 4, 3, nullptr}},
        {{5, 4, 6, false, -1, 1, 4, 6, nullptr}},
        {{0, 3, 3, false, -1, 1, 0, 0, nullptr}, {-1, 3, 3, false, -1, 1, 0, 0, nullptr}},
    };
    for (size_t s = 0; s < sequences.size(); ++s) {
        CImgProcConvFilter filter;
        EXPECT_FALSE(filter.OnConvert());
        for (const Step& step : sequences[s]) {
            EXPECT_EQ(step.accepted, filter.SetParameter(Filter(step.filter), own, 3, step.width, step.height)) << s;
            EXPECT_EQ(step.type * 1000 + step.divisor, filter.miFilterType * 1000 + filter.miMatrixDiv) << s;
            EXPECT_EQ(step.outWidth * 100 + step.outHeight, filter.miMatrixWidth * 100 + filter.miMatrixHeight) << s;
            if (step.kernel != nullptr) {
                EXPECT_EQ(*step.kernel, std::vector<int32_t>(filter.mpMatrix, filter.mpMatrix + step.kernel->size()))
                    << s;
            }
        }
        const bool held = filter.mpMatrix != nullptr;
        const int type = filter.miFilterType, width = filter.miMatrixWidth;
        filter.Free();
        EXPECT_TRUE(filter.mpMatrix == nullptr && filter.mpRows == nullptr && filter.mpSums == nullptr) << s;
        EXPECT_EQ(type, filter.miFilterType) << s;
        EXPECT_EQ(held ? 0 : width, filter.miMatrixWidth) << s;  // sizes go only with a held kernel
    }
}

TEST(ConvScale, ParametersAndTheChecksOfARun)
{
    for (int value : {0, 1, 3, 6, 7, -1}) {
        CImgProcConvScale scale;
        EXPECT_EQ(-1, scale.miScale);
        ASSERT_TRUE(scale.SetParameter(static_cast<KORVA_Scale>(2)));
        const bool accepted = value >= 1 && value <= 6;
        EXPECT_EQ(accepted, scale.SetParameter(static_cast<KORVA_Scale>(value))) << value;
        EXPECT_EQ(accepted ? value : 2, scale.miScale) << value;
    }
    // The run checks its views, builds the tables when they pass, and then
    // computes nothing.
    for (int fault = 0; fault < 5; ++fault) {
        auto image = MakeImage();
        std::vector<unsigned char> src(32, 9), dst(32, 0x5A);
        for (auto view : {std::make_pair(&image->mMemSrc, &src), std::make_pair(&image->mMemDst, &dst)}) {
            Bind(*view.first, *view.second, 8, 4, kMono8);
            view.first->miBpp = 8;
            view.first->miCanals = 1;
        }
        if (fault == 1)
            image->mMemSrc.freeChunkOfData();
        if (fault == 2)
            image->mMemDst.freeChunkOfData();
        if (fault == 3)
            image->mMemDst.miPixelFormat = KORVA_PIXTYPE_MONO16;
        if (fault == 4)
            image->mMemSrc.miCanals = 0;
        EXPECT_FALSE(image->mConvScale.Convert()) << fault;
        EXPECT_EQ(fault == 0, image->miLutSrcFormat == static_cast<int32_t>(KORVA_PIXTYPE_MONO8)) << fault;
        EXPECT_EQ(std::vector<unsigned char>(32, 0x5A), dst) << fault;
    }
}


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
        EXPECT_TRUE(filter.SetParameter(Filter(type), nullptr, 0, size, size));
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

TEST(FilterRun, PassesOnSmallFrames)
{
    Bytes point(3 * 5 + 2, 0), twelve;
    point[10] = 10;
    for (int i = 0; i < 3 * 5 + 2; ++i)
        twelve.insert(twelve.end(), {0xF0, 0x0F});
    const uint32_t M8 = KORVA_PIXTYPE_MONO8;
    const struct {
        const char* what;
        int type;
        bool flip;
        int canals;  // of the destination, 0: as laid
        Bytes source;
        int w, h;
        uint32_t code;
        int bytesPerSample, spare;
        Bytes expected;
    } runs[] = {
        // Two spare rows and two bytes in the source buffer give the last
        // pass a full window: every sum is 9 v. All passes land in row 1 from
        // column 1, the last column running on into row 2.
        {"box", 1, false, 0, Bytes(4 * 6 + 2, 90), 4, 4, M8, 1, 0, Expect(16, 5, {90, 90, 90, 90})},
        // Flipped, the walk runs leftwards from column 2, on into row 0.
        {"flipped", 1, true, 0, Bytes(4 * 6 + 2, 90), 4, 4, M8, 1, 0, Expect(16, 3, {90, 90, 90, 90})},
        // Three samples a pixel (no view in the system has more than one):
        // the window reads 18 samples a row, the pass writes 12, the last
        // beyond the buffer.
        {"three samples", 1, false, 3, Bytes(4 * 5 + 18, 90), 4, 4, M8, 1, 0, Expect(16, 5, Bytes(11, 90))},
        // Reads past the source buffer count as zero: without spare bytes the
        // last pass sees row 3 only, and fewer of its columns as the window
        // leaves the buffer.
        {"no spare bytes", 1, false, 0, Bytes(16, 90), 4, 4, M8, 1, 0, Expect(16, 5, {30, 30, 20, 10})},
        // Laplace wraps negative sums unclamped. A point of 10 at row 3,
        // column 1 of a 3 x 3 frame with spare rows: the last pass puts
        // -4 * 10 under x = 0 and the point's left neighbour weight under x = 1.
        {"laplace point", 3, false, 0, point, 3, 3, M8, 1, 0, Expect(9, 4, {216, 10, 0})},
        {"flat", 4, false, 0, Bytes(5 * 10 + 4, 77), 5, 5, M8, 1, 0, Expect(25, 12, {0, 0, 0, 0, 0})},
        // MONO12 to itself: s = 16 - 12 = 4, the quotient 0xFF0 is stored as 0xFF.
        {"twelve bits", 1, false, 0, twelve, 3, 3, KORVA_PIXTYPE_MONO12, 2, 0,
         Expect(18, 8, {0xFF, 0, 0xFF, 0, 0xFF, 0})},
        // A 3 x 2 frame: row 1 from column 1 holds two samples; the third
        // write would land on the byte behind the view and is dropped.
        {"writes past the destination", 1, false, 0, Bytes(6, 9), 3, 2, M8, 1, 1, Expect(7, 4, {3, 2, kUntouched})},
    };
    for (const auto& r : runs) {
        FilterRun run(r.type);
        if (r.flip)
            run.filter.mbFlipHorizontal = true;
        if (r.canals != 0)
            run.proc->mMemDst.miCanals = r.canals;
        ASSERT_TRUE(run.Run(r.source, r.w, r.h, r.code, r.bytesPerSample, r.spare)) << r.what;
        EXPECT_EQ(r.expected, run.dst) << r.what;
    }
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
    EXPECT_TRUE(repeated.filter.SetParameter(Filter(3), nullptr, 0, 3, 3));
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
    other.Lay(other.proc->mMemDst, other.dst, KORVA_PIXTYPE_MONO8, 4, 4);
    other.proc->mMemSrc.freeChunkOfData();  // a source without image
    EXPECT_FALSE(other.filter.Convert());
    EXPECT_EQ(untouched, other.dst);
}

}  // namespace
