#include "TestFrames.h"

namespace {

using namespace testframes;

const unsigned char E = kUntouched;

// The element width follows the source's factor and depth; the source
// counts 1, 2, 3, ...
TEST(CopyConverter, ElementWidthFollowsTheSourceFactorAndDepth)
{
    RunCases(&CImgProc::mConvCopy, {
        {"mono8 byte for byte", kMono8, kMono8, 4, 2, Counting(8), Counting(8)},
        {"mono16 takes 8 bytes per row", kMono16, kMono16, 4, 2, Counting(16), Counting(16)},
        {"rgb8 writes the bytes at even distances", kRgb8, kRgb8, 4, 2, Counting(24),
         {1, 3, 5, 7, E, E, E, E, E, E, E, E, 13, 15, 17, 19, E, E, E, E, E, E, E, E}},
        {"8-bit depth in 2 bytes keeps the low byte", kYuv422, kMono8, 4, 2, Counting(16),
         {1, 3, 5, 7, 9, 11, 13, 15}},
        {"rgb10 copies a third of the row", kRgb10, kRgb10, 2, 1, Counting(12), {1, 2, 3, 4, E, E, E, E, E, E, E, E}},
        // Row 1 of width 3 starts at byte 4; each row moves 3 16-bit elements.
        {"packed 12-bit treated as 16-bit", kMono12Packed, kMono12Packed, 3, 2, Counting(16),
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, E, E, E, E, E, E}},
    });
}

// Widths around the blocks of the fast paths, regions on both sides.
TEST(CopyConverter, AnyWidthAndRegions)
{
    for (const Format& f : {kMono8, kMono16})
        for (int32_t width : {1, 7, 8, 9, 17, 31, 33, 65}) {
            const Bytes frame = Counting(static_cast<size_t>(width * 3 * f.factor));
            RunCases(&CImgProc::mConvCopy, {{"any width", f, f, width, 3, frame, frame}});
        }
    RunCases(&CImgProc::mConvCopy, {{"2x2 at (1, 1) of 4x4 into (2, 0) of 4x3", kMono8, kMono8, 2, 2, Counting(16),
                                     {E, E, 6, 7, E, E, 10, 11, E, E, E, E}, {4, 4, 1, 1}, {4, 3, 2, 0}}});
}

}  // namespace
