#include "TestFrames.h"

namespace {

using namespace testframes;

const unsigned char E = kUntouched;

// Hand-computed pixels with the identity table; chroma offset 127, 16.16
// coefficients, arithmetic shifts without rounding term.
//   Y U V          R    G    B
//   128 127 127 -> 128  128  128   neutral chroma is 127
//   128 128 128 -> 129  127  129
//   255 255 255 -> 255  120  255   R 434 and B 481 clamp
//   0   0   0   -> 0    135  0     R -179, B -226 clamp; G term -135
//   200 100 127 -> 200  210  152   G term floor(-9.29) = -10
const Bytes kYuv444Row = {127, 128, 127, 128, 128, 128, 255, 255, 255, 0, 0, 0, 100, 200, 127};
const Bytes kRgb444Row = {128, 128, 128, 129, 127, 129, 255, 120, 255, 0, 135, 0, 200, 210, 152};

// Two groups sharing chroma: U=V=128 over Y 128, 255; U=V=0 over Y 0, 255.
const Bytes kYuv422Row = {128, 128, 128, 255, 0, 0, 0, 255};
const Bytes kRgb422Row = {129, 127, 129, 255, 254, 255, 0, 135, 0, 76, 255, 29};

// One group, U=V=128 over Y 128, 0, 255, 128.
const Bytes kYuv411Row = {128, 128, 0, 128, 255, 128};
const Bytes kRgb411Row = {129, 127, 129, 1, 0, 1, 255, 254, 255, 129, 127, 129};

// Reorders RGB triplets into the layout of a destination: blue first and/or
// a fourth byte of 0.
Bytes Layout(const Bytes& rgb, bool redFirst, bool alpha)
{
    Bytes out;
    for (size_t i = 0; i + 2 < rgb.size(); i += 3) {
        out.push_back(redFirst ? rgb[i] : rgb[i + 2]);
        out.push_back(rgb[i + 1]);
        out.push_back(redFirst ? rgb[i + 2] : rgb[i]);
        if (alpha)
            out.push_back(0);
    }
    return out;
}

Bytes Cat(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const uint32_t Y411 = KORVA_PIXTYPE_YUV411_PACKED, Y422 = KORVA_PIXTYPE_YUV422_PACKED,
               Y444 = KORVA_PIXTYPE_YUV444_PACKED;

// The colour destinations the converter serves, in the catalogue's layout.
Format Colour(uint32_t code)
{
    return {code, code == KORVA_PIXTYPE_RGBA8_PACKED || code == KORVA_PIXTYPE_BGRA8_PACKED ? 4.0 : 3.0, 8};
}

// Sets the destination walk: step and first column; `dstWidth` widens the
// destination image behind a region as wide as the source.
std::function<void(CImgProc&)> Walk(int32_t stepX, int32_t startX = 0, int32_t dstWidth = 0)
{
    return [=](CImgProc& proc) {
        proc.mConvYUV.miStepX = stepX;
        proc.mConvYUV.miDstStartX = startX;
        if (dstWidth != 0)
            proc.mMemDst.miWidth = dstWidth;
    };
}

TEST(YuvConverter, ColourArithmeticAndStoreOrder)
{
    const struct {
        uint32_t code;
        bool redFirst, alpha;
    } destinations[] = {
        {KORVA_PIXTYPE_RGB8_PACKED, true, false},
        {KORVA_PIXTYPE_BGR8_PACKED, false, false},
        {KORVA_PIXTYPE_RGBA8_PACKED, true, true},
        {KORVA_PIXTYPE_BGRA8_PACKED, false, true},
    };
    // Second blocks with the groups swapped: each block reads its own bytes.
    const Bytes yuv422Second = {0, 0, 0, 255, 128, 128, 128, 255};
    const Bytes rgb422Second = {0, 135, 0, 76, 255, 29, 129, 127, 129, 255, 254, 255};
    const Bytes yuv411Second = {128, 255, 128, 128, 0, 128};
    const Bytes rgb411Second = {255, 254, 255, 129, 127, 129, 1, 0, 1, 129, 127, 129};
    for (const auto& d : destinations) {
        SCOPED_TRACE(testing::Message() << std::hex << d.code);
        const Format dst = Colour(d.code);
        RunCases(&CImgProc::mConvYUV, {
            {"444", kYuv444, dst, 5, 1, kYuv444Row, Layout(kRgb444Row, d.redFirst, d.alpha)},
            {"422", kYuv422, dst, 8, 1, Cat(kYuv422Row, yuv422Second),
             Layout(Cat(kRgb422Row, rgb422Second), d.redFirst, d.alpha)},
            // 411 to RGBA is not offered by the catalogue but has its loop.
            {"411", kYuv411, dst, 8, 1, Cat(kYuv411Row, yuv411Second),
             Layout(Cat(kRgb411Row, rgb411Second), d.redFirst, d.alpha)},
        });
    }
    // Not offered: another YUV format counts as blue-first triplets.
    RunCases(&CImgProc::mConvYUV, {{"422 to 444", kYuv422, kYuv444, 4, 1, kYuv422Row,
                                    Layout(kRgb422Row, false, false)}});
}

// Widths that do not fill whole blocks: 422 converts the block that straddles
// the row's end, 411 leaves the remainder.
TEST(YuvConverter, RowExtentsOfTheSubsampledFormats)
{
    RunCases(&CImgProc::mConvYUV, {
        {"411 width 7 leaves 3 pixels", kYuv411, kBgra8, 7, 1, Cat(kYuv411Row, {1, 2, 3, 4, 5}),
         Cat(Layout(kRgb411Row, false, true), Bytes(12, E))},
        {"411 width 3", kYuv411, kMono8, 3, 1, {1, 2, 3, 4, 5}, Bytes(3, E)},
        {"422 width 5 leaves 1 pixel", kYuv422, kRgb8, 5, 1, Cat(kYuv422Row, {9, 9}), Cat(kRgb422Row, {E, E, E})},
        {"422 width 1", kYuv422, kMono8, 1, 2, {1, 2, 3, 4}, Bytes(2, E)},
    });

    // Width 6: each row converts two blocks, 8 pixels. Row 0 spills into row
    // 1 (overwritten afterwards); row 1 reads 4 bytes and writes 2 pixels past
    // the image, which the host's slack must absorb.
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bytes src = {0, 10, 0, 11, 0, 12, 0, 13, 0, 14, 0, 15, 0, 20, 0, 21, 0, 22, 0, 23, 0, 24, 0, 25, 0, 30, 0, 31};
    Bytes dst(12 + 4, E);
    Bind(*proc, proc->mMemSrc, src, 6, 2, KORVA_PIXTYPE_YUV422_PACKED, 24);
    Bind(*proc, proc->mMemDst, dst, 6, 2, KORVA_PIXTYPE_MONO8, 12);
    EXPECT_TRUE(proc->mConvYUV.Convert());
    EXPECT_EQ((Bytes{10, 11, 12, 13, 14, 15, 20, 21, 22, 23, 24, 25, 30, 31, E, E}), dst);
}

// A table that is not the identity shows where it is applied: colour uses the
// whole 16-bit entry, grey clamps it (444 goes through the table twice), the
// same format keeps its low byte.
TEST(YuvConverter, LumaTableUse)
{
    auto tune = [](CImgProc& proc) {
        proc.createLookUpTables(1.0, 1.0, 1.0, 1.0);  // the run then keeps this table
        proc.mpLUT[0][10] = 20;
        proc.mpLUT[0][20] = 30;
        proc.mpLUT[0][11] = 300;
        proc.mpLUT[0][255] = 0x0123;
        proc.RecordLutShape();
    };
    RunCases(&CImgProc::mConvYUV, {
        {"444 grey: T[T[10]], T[min(300, 255)]", kYuv444, kMono8, 3, 1, {0, 10, 0, 0, 11, 0, 0, 20, 0}, {30, 0x23, 30}},
        {"422 grey: once, clamped", kYuv422, kMono8, 4, 1, {0, 10, 0, 11, 0, 20, 0, 1}, {20, 255, 30, 1}},
        {"411 grey: once, clamped", kYuv411, kMono8, 4, 1, {0, 10, 11, 0, 20, 1}, {20, 255, 30, 1}},
        // Yt 300 with U=V=0: R 300-179, G 300+135 clamped, B 300-226.
        {"colour uses the whole entry", kYuv444, kRgb8, 1, 1, {0, 11, 0}, {121, 255, 74}},
        {"444 same: low byte, chroma copied", kYuv444, kYuv444, 2, 1, {11, 11, 11, 10, 10, 10}, {11, 44, 11, 10, 20, 10}},
        {"422 same", kYuv422, kYuv422, 4, 1, {10, 10, 11, 11, 20, 20, 255, 255}, {10, 20, 11, 44, 20, 30, 255, 0x23}},
        // Width 7: one group of 6 bytes; the rest of the 11 keeps its content.
        {"411 same", kYuv411, kYuv411, 7, 1, {10, 10, 11, 11, 20, 255, 10, 10, 10, 10, 10},
         {10, 20, 44, 11, 30, 0x23, E, E, E, E, E}},
    }, tune);
}

Bytes ReversedPixels(const Bytes& rgb)
{
    Bytes out;
    for (size_t i = rgb.size(); i >= 3; i -= 3)
        out.insert(out.end(), rgb.begin() + static_cast<long>(i) - 3, rgb.begin() + static_cast<long>(i));
    return out;
}

// 444 walks miStepX whole pixels; the subsampled formats take only its sign.
TEST(YuvConverter, StepDirection)
{
    const Bytes twoBlocks = {1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18};
    RunCases(&CImgProc::mConvYUV, {{"444 step 2", kYuv444, kRgb8, 2, 1, Bytes(kYuv444Row.begin(), kYuv444Row.begin() + 6),
                                    {128, 128, 128, E, E, E, 129, 127, 129, E, E, E}},
                                   {"444 same: stride of step pixels", kYuv444, kYuv444, 2, 1, {1, 2, 3, 4, 5, 6},
                                    {1, 2, 3, E, E, E, 4, 5, 6, E, E, E}}},
             Walk(2, 0, 4));
    RunCases(&CImgProc::mConvYUV, {{"444 step -1", kYuv444, kRgb8, 5, 1, kYuv444Row, ReversedPixels(kRgb444Row)}},
             Walk(-1, 4));
    RunCases(&CImgProc::mConvYUV, {{"422 step 2 stays contiguous", kYuv422, kRgb8, 4, 1, kYuv422Row, kRgb422Row}},
             Walk(2));
    RunCases(&CImgProc::mConvYUV, {{"422 step 0 descends", kYuv422, kRgb8, 4, 1, kYuv422Row, ReversedPixels(kRgb422Row)},
                                   {"411 step 0 descends", kYuv411, kMono8, 4, 1, kYuv411Row, {128, 255, 0, 128}}},
             Walk(0, 3));
    RunCases(&CImgProc::mConvYUV, {
        {"422 same: blocks descend, bytes keep order", kYuv422, kYuv422, 8, 1, twoBlocks,
         {11, 12, 13, 14, 15, 16, 17, 18, 1, 2, 3, 4, 5, 6, 7, 8}},
        // 411 pixel 4 lies at byte 6.
        {"411 same: groups descend", kYuv411, kYuv411, 8, 1, {1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16},
         {11, 12, 13, 14, 15, 16, 1, 2, 3, 4, 5, 6}},
    }, Walk(-1, 4));
}

TEST(YuvConverter, RowPlacementAndMissingRows)
{
    // Source row y goes to destination row 2y + 1.
    RunCases(&CImgProc::mConvYUV, {{"row placement", kYuv444, kMono8, 1, 2, {0, 7, 0, 0, 9, 0}, {E, 7, E, 9, E}, {},
                                    {1, 5, 0, 0}}},
             [](CImgProc& proc) {
                 proc.mConvYUV.miStepY = 2;
                 proc.mConvYUV.miDstStartY = 1;
             });
    // A destination row beyond the image chunk ends the run with success
    // (row 1 sits exactly at the chunk's end); so does a missing source row.
    const Bytes three = {0, 7, 0, 0, 8, 0, 0, 9, 0};
    RunCases(&CImgProc::mConvYUV, {{"destination row missing", kYuv444, kMono8, 1, 3, three, {7, 8, E}, {}, {}, 1},
                                   {"source row missing", kYuv444, kMono8, 1, 3, three, {7, 8, E}, {}, {}, -1, 4}});
}

std::string Pattern(const std::string& expression)
{
    return testframes::AssertionPattern("ImgProcConvYUV", "virtual bool CImgProcConvYUV::OnConvert()", expression);
}

TEST(YuvConverterDeathTest, UnsupportedFormatsStopTheProcess)
{
    Bytes src(12, 0), dst(12, 0);
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bind(*proc, proc->mMemSrc, src, 2, 2, KORVA_PIXTYPE_MONO8);
    Bind(*proc, proc->mMemDst, dst, 2, 2, KORVA_PIXTYPE_RGB8_PACKED);
    EXPECT_DEATH(proc->mConvYUV.Convert(),
                 Pattern("mpMemSrc->miPixelFormat == (0x02000000 | 0x000C0000 | 0x001E) || "
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00100000 | 0x001F) || "
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00180000 | 0x0020)"));

    Bind(*proc, proc->mMemSrc, src, 2, 2, KORVA_PIXTYPE_YUV422_PACKED);
    Bind(*proc, proc->mMemDst, dst, 2, 2, KORVA_PIXTYPE_MONO16);
    EXPECT_DEATH(proc->mConvYUV.Convert(),
                 Pattern("mpMemDst->miPixelFormat == (0x02000000 | 0x00180000 | 0x0014) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x00180000 | 0x0015) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x00200000 | 0x0016) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x00200000 | 0x0017) || "
                                  "mpMemDst->miPixelFormat == (0x01000000 | 0x00080000 | 0x0001) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x000C0000 | 0x001E) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x00100000 | 0x001F) || "
                                  "mpMemDst->miPixelFormat == (0x02000000 | 0x00180000 | 0x0020)"));
}

}  // namespace
