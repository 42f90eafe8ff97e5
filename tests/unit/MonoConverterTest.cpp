#include "TestFrames.h"

namespace {

using namespace testframes;

const unsigned char E = kUntouched;

TEST(MonoConverter, UnpackedSourcesGoThroughTheTable)
{
    RunCases(&CImgProc::mConvMono, {
        {"mono8 identity", kMono8, kMono8, 3, 2, {0, 1, 127, 128, 254, 255}, {0, 1, 127, 128, 254, 255}},
        // 8 -> 0.998 and 9 -> 1.06 after the +0.5: rounded, not shifted.
        {"mono12 to mono8 rounds", kMono12, kMono8, 2, 2, Words({4095, 8, 9, 2048}), {255, 0, 1, 128}},
        {"mono16 to mono10 keeps words", kMono16, kMono10, 3, 1, Words({65535, 32768, 64}), Words({1023, 512, 1})},
        {"mono14 to mono12", kMono14, kMono12, 2, 1, Words({16383, 4}), Words({4095, 1})},
        // A one-byte source stores bytes whatever the destination's depth:
        // half of each 16-bit row, low bytes of the entries 257 * v.
        {"mono8 into a 16-bit view writes bytes", kMono8, kMono16, 3, 2, {1, 2, 255, 3, 4, 0},
         {1, 2, 255, E, E, E, 3, 4, 0, E, E, E}},
    });
    // Samples above the depth index the table unmasked; the build leaves
    // entries above 1023 alone.
    RunCases(&CImgProc::mConvMono, {{"unmasked", kMono10, kMono10, 2, 1, Words({0xFFFF, 0x0400}),
                                     Words({0xBEEF, 0x1234})}},
             [](CImgProc& proc) {
                 proc.mpLUT[0][0xFFFF] = 0xBEEF;
                 proc.mpLUT[0][0x0400] = 0x1234;
             });
}

TEST(MonoConverter, PackedSourcesAreUnpacked)
{
    RunCases(&CImgProc::mConvMono, {
        {"mono12 packed to words", kMono12Packed, kMono12, 2, 1, {0xAB, 0xDC, 0x12}, Words({0xABC, 0x12D})},
        // b1 = 1110 1101: bits 7..6 and 3..2 are hidden by the mask 0x33.
        {"mono10 packed ignores the unused bits of b1", kMono10Packed, kMono10, 2, 1, {0xFF, 0xED, 0x80},
         Words({0x3FD, 0x202})},
        {"mono10 packed to bytes", kMono10Packed, kMono8, 2, 1, {0xFF, 0xCF, 0x80}, {255, 128}},
        // Width 5: two groups per row, the fifth pixel keeps its content.
        // Row 1 starts at byte 7 (5 x 1.5 truncated); byte 6 is never read.
        {"mono12 packed of odd width", kMono12Packed, kMono8, 5, 2,
         {0xFF, 0x0F, 0x80, 0x01, 0x00, 0x00, 0x77, 0x00, 0xF0, 0xFF, 0xFF, 0x0F, 0x80, 0x77, 0x77},
         {255, 128, 1, 0, E, 0, 255, 255, 128, E}},
        {"a single packed pixel writes nothing", kMono12Packed, kMono12, 1, 2, {0x11, 0x22, 0x33}, Bytes(4, E)},
        // Same packed format: values go through the table and are packed
        // again; b1 is rebuilt from both values' low nibbles without the mask.
        {"mono12 packed round trip", kMono12Packed, kMono12Packed, 3, 1, {0xAB, 0xDC, 0x12, 0x55, 0x66},
         {0xAB, 0xDC, 0x12, E, E}},
        // Values 0x297 and 0xF3: b1 becomes 0x37, neither 0xFF nor 0x33.
        {"mono10 stray bits become value bits 3..2", kMono10Packed, kMono10Packed, 2, 1, {0xA5, 0xFF, 0x3C},
         {0xA5, 0x37, 0x3C}},
        {"mono10 clean b1 gains bits", kMono10Packed, kMono10Packed, 2, 1, {0xFF, 0x00, 0xFC}, {0xFF, 0x0C, 0xFC}},
    });
    // Any step but 1 swaps the pixels of a group and spaces the groups:
    // 0xABC, 0x12D -> 0x12, 0xCD, 0xAB; 0x345, 0x876 -> 0x87, 0x56, 0x34.
    RunCases(&CImgProc::mConvMono, {{"step 2 swaps", kMono12Packed, kMono12Packed, 4, 1,
                                     {0xAB, 0xDC, 0x12, 0x34, 0x65, 0x87},
                                     {0x12, 0xCD, 0xAB, E, E, E, 0x87, 0x56, 0x34, E, E, E}}},
             [](CImgProc& proc) { proc.mConvMono.miStepX = 2; });
    // The layout follows the effective bits; a depth the catalogue never
    // gives means no shift and no mask.
    RunCases(&CImgProc::mConvMono, {{"depth 8", kMono12Packed, kMono12Packed, 2, 1, {0xAB, 0xFF, 0x12},
                                     {0xAB, 0x2B, 0x12}}},
             [](CImgProc& proc) { proc.mMemSrc.miBppEff = proc.mMemDst.miBppEff = 8; });
}

TEST(MonoConverter, RefusalsPlacementAndMissingRows)
{
    const struct {
        uint32_t src, dst;
    } refused[] = {
        {KORVA_PIXTYPE_MONO8_SIGNED, KORVA_PIXTYPE_MONO8_SIGNED},
        {KORVA_PIXTYPE_MONO8_LUT, KORVA_PIXTYPE_MONO8_LUT},
        {KORVA_PIXTYPE_MONO12_LUT, KORVA_PIXTYPE_MONO10},
        {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO8},
    };
    for (const auto& c : refused) {
        std::unique_ptr<CImgProc> proc = MakeImage();
        Bytes src(8, 0x10), dst(8, E);
        Bind(*proc, proc->mMemSrc, src, 2, 2, c.src);
        Bind(*proc, proc->mMemDst, dst, 2, 2, c.dst);
        EXPECT_FALSE(proc->mConvMono.Convert()) << std::hex << c.src;
        EXPECT_EQ(Bytes(8, E), dst) << std::hex << c.src;
        // The tables are built before the refusal.
        EXPECT_EQ(static_cast<int32_t>(c.dst), proc->miLutDstFormat) << std::hex << c.src;
    }

    // Pixel (x, y) lands at column miDstStartX + miStepX x of row
    // miStepY y + miDstStartY.
    RunCases(&CImgProc::mConvMono, {{"placement", kMono16, kMono8, 2, 2, Words({65535, 32768, 257, 0}),
                                     {E, E, E, E, E, E, E, 255, E, 128, E, E, E, E, E, E, E, E,
                                      E, 1, E, 0, E, E, E, E, E, E, E, E}, {}, {6, 5, 0, 0}}},
             [](CImgProc& proc) {
                 proc.mConvMono.miStepX = proc.mConvMono.miStepY = 2;
                 proc.mConvMono.miDstStartX = proc.mConvMono.miDstStartY = 1;
             });

    // A destination row that cannot be addressed ends the run with success.
    std::unique_ptr<CImgProc> proc = MakeImage();
    Bytes src = {1, 2, 3, 4, 5, 6}, dst(6, E);
    Bind(*proc, proc->mMemSrc, src, 2, 3, KORVA_PIXTYPE_MONO8);
    Bind(*proc, proc->mMemDst, dst, 2, 3, KORVA_PIXTYPE_MONO8, 1);
    EXPECT_TRUE(proc->mConvMono.Convert());
    EXPECT_EQ((Bytes{1, 2, E, E, E, E}), dst);

    // A data offset in front of the buffer: of row 0 nothing lies inside, of
    // row 1 its second pixel; only bytes inside are written.
    ASSERT_EQ(RESULT_OK, proc->mMemDst.setChunkOfData(KORVA_CHUNK_IMAGE, dst.data(), 6, -3, 6));
    dst.assign(6, E);
    EXPECT_TRUE(proc->mConvMono.Convert());
    EXPECT_EQ((Bytes{4, 5, 6, E, E, E}), dst);
}

}  // namespace
