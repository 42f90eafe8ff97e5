#include "TestFrames.h"

namespace {

using namespace testframes;

const unsigned char E = kUntouched;

TEST(RgbConverter, EveryBranchOnSmallFrames)
{
    const Bytes three = {1, 2, 3, 4, 5, 6};
    const Bytes four = {1, 2, 3, 4, 5, 6, 7, 8};
    RunCases(&CImgProc::mConvRGB, {
        {"rgb to rgb", kRgb8, kRgb8, 2, 1, three, {1, 2, 3, 4, 5, 6}},
        {"rgb to bgr", kRgb8, kBgr8, 2, 1, three, {3, 2, 1, 6, 5, 4}},
        {"rgb to rgba adds opaque", kRgb8, kRgba8, 2, 1, three, {1, 2, 3, 0xFF, 4, 5, 6, 0xFF}},
        {"rgb to bgra", kRgb8, kBgra8, 2, 1, three, {3, 2, 1, 0xFF, 6, 5, 4, 0xFF}},
        {"bgr to bgr", kBgr8, kBgr8, 2, 1, three, {1, 2, 3, 4, 5, 6}},
        {"bgr to rgba", kBgr8, kRgba8, 2, 1, three, {3, 2, 1, 0xFF, 6, 5, 4, 0xFF}},
        {"bgr to bgra", kBgr8, kBgra8, 2, 1, three, {1, 2, 3, 0xFF, 4, 5, 6, 0xFF}},
        {"bgr to rgb, off the lists", kBgr8, kRgb8, 2, 1, three, {3, 2, 1, 6, 5, 4}},
        {"rgba to rgba carries alpha", kRgba8, kRgba8, 2, 1, four, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"rgba to bgra carries alpha", kRgba8, kBgra8, 2, 1, four, {3, 2, 1, 4, 7, 6, 5, 8}},
        {"rgba to rgb drops alpha", kRgba8, kRgb8, 2, 1, four, {1, 2, 3, 5, 6, 7}},
        {"rgba to bgr", kRgba8, kBgr8, 2, 1, four, {3, 2, 1, 7, 6, 5}},
        {"bgra to bgra", kBgra8, kBgra8, 2, 1, four, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"bgra to bgr", kBgra8, kBgr8, 2, 1, four, {1, 2, 3, 5, 6, 7}},
        {"bgra to rgb", kBgra8, kRgb8, 2, 1, four, {3, 2, 1, 7, 6, 5}},
        // Rows that lie back to back, to their last pixel.
        {"rgb to bgra, two rows", kRgb8, kBgra8, 1, 2, three, {3, 2, 1, 0xFF, 6, 5, 4, 0xFF}},
        {"bgr to grey, two rows", kBgr8, kMono8, 1, 2, {255, 0, 0, 0, 0, 255}, {76, 25}},
        // Deep sources go through the tables, not shifts.
        {"rgb12 to rgb8 rounds", kRgb12, kRgb8, 1, 1, Words({4095, 2048, 100}), {255, 128, 6}},
        {"rgb10 to bgr8", kRgb10, kBgr8, 1, 1, Words({1023, 512, 0}), {0, 128, 255}},
        {"rgb10 to rgba8", kRgb10, kRgba8, 1, 1, Words({1023, 512, 0}), {255, 128, 0, 0xFF}},
        {"bgr12 to bgra8", kBgr12, kBgra8, 1, 1, Words({4095, 2048, 100}), {255, 128, 6, 0xFF}},
        {"bgr10 to rgba8", kBgr10, kRgba8, 1, 1, Words({1023, 512, 0}), {0, 128, 255, 0xFF}},
        // Two pixels: 16-bit pixels lie 6 bytes apart.
        {"rgb10 to itself", kRgb10, kRgb10, 2, 1, Words({1023, 512, 7, 1, 2, 3}), Words({1023, 512, 7, 1, 2, 3})},
        {"rgb10 to bgr10", kRgb10, kBgr10, 2, 1, Words({1023, 512, 7, 1, 2, 3}), Words({7, 512, 1023, 3, 2, 1})},
        {"bgr12 to rgb10 lowers depth", kBgr12, kRgb10, 2, 1, Words({4095, 2048, 7, 4095, 0, 0}),
         Words({2, 512, 1023, 0, 0, 1023})},
        // The mono8 path reads the row as bytes: pixel 0 sees FF 03 FF, pixel 1
        // sees 03 FF 03, each through a table for 0..1023.
        {"rgb10 white to mono8 mixes bytes", kRgb10, kMono8, 2, 1, Words({1023, 1023, 1023, 1023, 1023, 1023}),
         {26, 38}},
        {"rgb12 to mono16 on words", kRgb12, kMono16, 1, 1, Words({4095, 0, 1}), Words({19662})},
        {"rgb10 to mono10 on words", kRgb10, kMono10, 1, 1, Words({100, 200, 300}), Words({180})},
        // Grey weighs by memory position.
        {"white", kRgb8, kMono8, 1, 1, {255, 255, 255}, {255}},
        {"rgb red, green, blue", kRgb8, kMono8, 3, 1, {255, 0, 0, 0, 255, 0, 0, 0, 255}, {76, 153, 25}},
        {"bgr blue first weighs 30", kBgr8, kMono8, 2, 1, {255, 0, 0, 0, 0, 255}, {76, 25}},
        {"rgba ignores alpha", kRgba8, kMono8, 2, 1, {255, 0, 0, 9, 0, 0, 255, 9}, {76, 25}},
        {"bgra ignores alpha", kBgra8, kMono8, 2, 1, {0, 0, 255, 9, 100, 200, 50, 9}, {25, 155}},
        // Destinations no branch serves are left alone.
        {"8-bit to mono16", kRgb8, kMono16, 1, 1, {1, 2, 3}, {E, E}},
        {"8-bit to a deeper colour", kRgb8, kRgb10, 1, 1, {1, 2, 3}, {E, E, E, E, E, E}},
        {"to a deeper plane", kRgb10, kPlanar10, 1, 1, Words({1, 2, 3}), {E, E, E, E, E, E}},
        // Any planar code counts as planes: a 12-bit plane view claiming 8
        // bits gets bytes two apart.
        {"into any planar code", kRgb12, {KORVA_PIXTYPE_RGB12_PLANAR, 6.0, 8}, 1, 1, Words({4095, 2048, 100}),
         {255, E, 128, E, 6, E}},
        {"no yuv path", kRgb8, kYuv422, 1, 1, {1, 2, 3}, {E, E}},
        {"an rgb8 source claiming 9 bits is read as words", {KORVA_PIXTYPE_RGB8_PACKED, 3.0, 9}, kRgb8, 1, 1,
         {10, 0, 20, 0, 30, 0}, {10, 20, 30}},
        // Regions: 1x2 at (1, 0) of a 3x2 source into column 2 of a 3x2 destination.
        {"regions", kRgb8, kBgra8, 1, 2, Counting(18),
         {E, E, E, E, E, E, E, E, 6, 5, 4, 0xFF, E, E, E, E, E, E, E, E, 15, 14, 13, 0xFF}, {3, 2, 1, 0}, {3, 2, 2, 0}},
        // 2x2 region at column 1 of a 3x2 planar frame: planes lie 4 bytes apart
        // from each row start, not 6, so later rows overwrite earlier planes.
        {"planes a region pitch times height apart", kRgb8, kPlanar8, 2, 2, Counting(12),
         {E, 3, 6, E, 9, 12, 5, E, 8, 11, 4, E, 7, 10, E, E, E, E}, {}, {3, 2, 1, 0}},
        // A chunk of 5 bytes still places row 1 (offset 3), not row 2 (offset 6).
        {"a null row stops, earlier rows stay", kRgb8, kRgb8, 1, 3, Counting(9), {1, 2, 3, 4, 5, 6, E, E, E}, {}, {},
         5},
    });
}

// Distinct tables show which one each memory position reads: OnConvert's own
// build is skipped because the key already fits.
// Table k holds v + 10 (k + 1), and T0 of 1 is 1011, stored as 0xF3 where
// a byte is written.
TEST(RgbConverter, EachMemoryPositionUsesItsOwnTable)
{
    const unsigned char T = 1011 & 0xFF;
    RunCases(&CImgProc::mConvRGB, {
        {"straight", kRgb8, kRgb8, 1, 1, {1, 2, 3}, {T, 22, 33}},
        {"reversed lands T0 last", kRgb8, kBgr8, 1, 1, {1, 2, 3}, {33, 22, T}},
        {"blue first still uses T0 first", kBgr8, kRgba8, 1, 1, {1, 2, 3, 4}, {33, 22, T, 0xFF}},
        {"alpha bypasses the tables", kRgba8, kRgba8, 1, 1, {1, 2, 3, 4}, {T, 22, 33, 4}},
        // (30 * 1011 + 60 * 22 + 10 * 33) / 100 = 319: full entries, low byte stored.
        {"grey uses whole entries", kBgr8, kMono8, 1, 1, {1, 2, 3}, {319 & 0xFF}},
        {"planes from 8-bit take s2 first", kRgb8, kPlanar8, 1, 1, {1, 2, 3}, {13, 22, 31}},
        {"planes from words", kRgb10, kPlanar8, 1, 1, Words({1, 2, 3}), {T, 22, 33, E, E, E}},
        {"words to bytes keep low bytes", kBgr10, kRgb8, 1, 1, Words({1, 2, 3}), {33, 22, T}},
    }, [](CImgProc& proc) {
        proc.createLookUpTables(1.0, 1.0, 1.0, 1.0);
        for (unsigned v = 0; v < 256; ++v)
            for (unsigned k = 0; k < 3; ++k)
                proc.mpLUT[k][v] = static_cast<uint16_t>(v + 10 * (k + 1) + (k == 0 && v == 1 ? 1000 : 0));
        proc.RecordLutShape();
    });
}

// Frames of 2x1 pixels: planes of two samples each, red, green, blue.
TEST(PlanarConverter, DeepPlanesAreLoweredByTheTables)
{
    RunCases(&CImgProc::mConvRGBPlanar, {
        {"12 bit", kPlanar12, kPlanar8, 2, 1, Words({0, 4095, 2048, 1, 4095, 100}), {0, 255, 128, 0, 255, 6}},
        {"10 bit", kPlanar10, kPlanar8, 2, 1, Words({1023, 512, 255, 3, 0, 100}), {255, 128, 64, 1, 0, 25}},
        {"16 bit, admitted though not listed", kPlanar16, kPlanar8, 2, 1, Words({65535, 32768, 1, 0, 0, 65535}),
         {255, 128, 0, 0, 0, 255}},
        {"8 bit to itself", kPlanar8, kPlanar8, 2, 1, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}},
        // Depths other than deep-to-8 and 8-to-8 write nothing.
        {"8 bit claiming 10 bits", kPlanar8, {KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 10}, 2, 1, {1, 2, 3, 4, 5, 6},
         Bytes(6, E)},
    });
    // Plane k uses table k; the low byte of an entry is stored.
    RunCases(&CImgProc::mConvRGBPlanar, {{"tables", kPlanar8, kPlanar8, 2, 1, {1, 2, 3, 4, 5, 6},
                                          {0x11, 0x12, 23, 24, 35, 36}}},
             [](CImgProc& proc) {
                 proc.createLookUpTables(1.0, 1.0, 1.0, 1.0);
                 for (unsigned v = 0; v < 256; ++v)
                     for (unsigned k = 0; k < 3; ++k)
                         proc.mpLUT[k][v] = static_cast<uint16_t>(v + (k == 0 ? 0x110 : 10 + 10 * k));
                 proc.RecordLutShape();
             });
}

TEST(PlanarConverter, RegionsAndMissingPlanes)
{
    RunCases(&CImgProc::mConvRGBPlanar, {
        {"2x1 at (1, 1) of 3x2 into row 1 of 2x2", kPlanar8, kPlanar8, 2, 1, Counting(18),
         {E, E, 5, 6, E, E, 11, 12, E, E, 17, 18}, {3, 2, 1, 1}, {2, 2, 0, 1}},
        // With a 9-byte chunk plane 2 of row 1 (offset 10) has no address: row
        // 1 is left whole in every plane.
        {"missing plane", kPlanar8, kPlanar8, 2, 2, Counting(12), {1, 2, E, E, 5, 6, E, E, 9, 10, E, E}, {}, {}, 9},
    });
}

// Formats outside a converter's own stop the process.
TEST(RgbConverterDeathTest, OtherFormatsAreAFault)
{
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bytes src(12), dst(12);
    Bind(proc->mMemSrc, src, 1, 1, kMono8);
    Bind(proc->mMemDst, dst, 1, 1, kRgb8);
    const std::string text = AssertionPattern(
        "ImgProcConvRGB", "virtual bool CImgProcConvRGB::OnConvert()",
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00180000 | 0x0014) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00180000 | 0x0015) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00200000 | 0x0016) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00200000 | 0x0017) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x0018) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x0019) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x001A) || "
        "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x001B)");
    EXPECT_DEATH(proc->mConvRGB.Convert(), text);
    Bind(proc->mMemSrc, src, 1, 1, kPlanar10);
    Bind(proc->mMemDst, dst, 1, 1, kPlanar10);
    const std::string function = "virtual bool CImgProcConvRGBPlanar::OnConvert()";
    EXPECT_DEATH(proc->mConvRGBPlanar.Convert(),
                 AssertionPattern("ImgProcConvRGB", function, "mpMemDst->miPixelFormat == (0x02000000 | 0x00180000 | 0x0021)"));
    Bind(proc->mMemSrc, src, 1, 1, kRgb8);
    Bind(proc->mMemDst, dst, 1, 1, kPlanar8);
    EXPECT_DEATH(proc->mConvRGBPlanar.Convert(),
                 AssertionPattern("ImgProcConvRGB", function,
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00180000 | 0x0021) || "
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x0022) || "
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x0023) || "
                                  "mpMemSrc->miPixelFormat == (0x02000000 | 0x00300000 | 0x0024)"));
}

}  // namespace
