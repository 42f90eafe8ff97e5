#include "TestFrames.h"

namespace {

using namespace testframes;

const unsigned char E = kUntouched;

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

TEST(PlanarConverterDeathTest, OtherFormatsAreAFault)
{
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bytes src(12), dst(12);
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
