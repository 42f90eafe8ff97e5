#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"
#include "PixelFormatNode.h"
#include "TestFrames.h"

namespace {

uintptr_t Addr(const unsigned char* p) {
    return reinterpret_cast<uintptr_t>(p);
}

TEST(MemoryAccessTest, SetRoiAcceptsOnlyRegionsInsideTheImage) {
    struct Case {
        int32_t left, top, width, height;
        bool accepted;
    } cases[] = {
        {0, 0, 8, 6, true},    {7, 5, 1, 1, true},  {2, 3, 0, -4, true},  // sizes below 1 are not tested here
        {8, 0, 0, 0, false},   {0, 6, 0, 0, false}, {-1, 0, 1, 1, false}, {0, -1, 1, 1, false},
        {3, 0, 6, 1, false},   {0, 2, 1, 5, false},
    };
    for (const Case& c : cases) {
        CMemoryAccess view(nullptr);
        view.miWidth = 8;
        view.miHeight = 6;
        view.SetROI(1, 1, 2, 2);
        EXPECT_EQ(c.accepted, view.SetROI(c.left, c.top, c.width, c.height)) << c.left << "," << c.top;
        if (c.accepted) {
            EXPECT_EQ(c.left, view.miRoiLeft);
            EXPECT_EQ(c.height, view.miRoiHeight);
        } else {
            EXPECT_EQ(1, view.miRoiLeft);
            EXPECT_EQ(1, view.miRoiTop);
            EXPECT_EQ(2, view.miRoiWidth);
            EXPECT_EQ(2, view.miRoiHeight);
        }
    }
    CMemoryAccess empty(nullptr);
    EXPECT_FALSE(empty.SetROI(0, 0, 0, 0));
}

TEST(MemoryAccessTest, ImagePointerFollowsTheAddressingFormula) {
    const int kNull = -1;
    struct Case {
        const char* what;
        uint32_t format;
        double factor;
        int32_t width, height, roiLeft, roiTop, x, y, plane;
        int64_t expected;  // byte offset from the chunk, or kNull
    } cases[] = {
        {"mono8 in region", KORVA_PIXTYPE_MONO8, 1.0, 100, 20, 4, 2, 0, 0, 0, 204},
        {"planar plane 2", KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 4, 2, 0, 0, 1, 1, 2, 42},
        {"planar plane 1", KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 4, 2, 0, 0, 1, 1, 1, 13},
        {"plane 3 adds nothing", KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 4, 2, 0, 0, 1, 1, 3, 10},
        {"negative plane adds nothing", KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 4, 2, 0, 0, 1, 1, -1, 10},
        {"packed index 1", KORVA_PIXTYPE_MONO10_PACKED, 1.5, 8, 2, 0, 0, 1, 0, 0, 1},
        {"packed index 2", KORVA_PIXTYPE_MONO10_PACKED, 1.5, 8, 2, 0, 0, 2, 0, 0, 3},
        {"packed index 3", KORVA_PIXTYPE_MONO10_PACKED, 1.5, 8, 2, 0, 0, 3, 0, 0, 4},
        {"packed odd row start", KORVA_PIXTYPE_MONO10_PACKED, 1.5, 5, 4, 0, 0, 0, 1, 0, 7},
        {"factor 0", 0x12345678u, 0.0, 8, 8, 0, 0, 5, 5, 0, 0},
        {"just behind the image", KORVA_PIXTYPE_MONO16, 2.0, 4, 3, 0, 0, 0, 3, 0, 24},
        {"one pixel further", KORVA_PIXTYPE_MONO16, 2.0, 4, 3, 0, 0, 1, 3, 0, kNull},
        // A negative offset is not caught and enters the address as 32-bit unsigned.
        {"negative x", KORVA_PIXTYPE_MONO8, 1.0, 4, 3, 0, 0, -2, 0, 0, 0xFFFFFFFE},
        {"region outside the row", KORVA_PIXTYPE_MONO8, 1.0, 4, 3, 3, 0, 2, 0, 0, 5},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> buffer(static_cast<size_t>(c.width * c.height * (c.factor > 0 ? c.factor : 1)));
        CMemoryAccess view(nullptr);
        testframes::Bind(view, buffer, c.width, c.height, {c.format, c.factor, 8});
        view.miRoiLeft = c.roiLeft;
        view.miRoiTop = c.roiTop;
        unsigned char* p = view.GetImagePointer(c.x, c.y, c.plane);
        if (c.expected == kNull) {
            EXPECT_EQ(nullptr, p) << c.what;
        } else {
            EXPECT_EQ(Addr(buffer.data()) + static_cast<uintptr_t>(c.expected), Addr(p)) << c.what;
        }
    }
}

TEST(MemoryAccessTest, PlanarFactorIsPerPlaneAndPitchUsesIt) {
    struct Case {
        uint32_t format;
        double stored, addressing;
    } cases[] = {
        {KORVA_PIXTYPE_RGB8_PLANAR, 3.0, 1.0},  {KORVA_PIXTYPE_RGB10_PLANAR, 6.0, 2.0},
        {KORVA_PIXTYPE_RGB12_PLANAR, 6.0, 2.0}, {KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 2.0},
        {KORVA_PIXTYPE_MONO12_PACKED, 1.5, 1.5},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> buffer(48);
        CMemoryAccess view(nullptr);
        testframes::Bind(view, buffer, 4, 2, {c.format, c.stored, 8});
        EXPECT_DOUBLE_EQ(c.stored, view.GetBytePerPixel());
        EXPECT_DOUBLE_EQ(c.addressing, view._GetBytePerPixel());
        view.miRoiWidth = 3;  // the region's row, truncated: 4.5 bytes give 4
        EXPECT_EQ(static_cast<int32_t>(3 * c.addressing), view.GetPitch());
    }
}

TEST(MemoryAccessTest, OffsetsWrapsAndMissingChunks) {
    std::vector<unsigned char> buffer(64), image(40);
    CMemoryAccess view(nullptr);
    testframes::Bind(view, image, 10, 4, testframes::kMono8);
    unsigned char* row2 = view.GetImagePointer(0, 2, 0);
    view.miDataOffset = 15;  // shortens the image, not the address
    EXPECT_EQ(row2, view.GetImagePointer(0, 2, 0));
    EXPECT_EQ(nullptr, view.GetImagePointer(0, 3, 0));

    // The chunk's data offset moves the address but not the bound.
    view.miDataOffset = 0;
    testframes::Bind(view, buffer, 4, 4, testframes::kMono8);
    ASSERT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, buffer.data() + 8, 16, 8, 16));
    EXPECT_EQ(buffer.data() + 16, view.GetImagePointer(0, 0, 0));
    EXPECT_EQ(buffer.data() + 32, view.GetImagePointer(0, 4, 0));
    EXPECT_EQ(nullptr, view.GetImagePointer(1, 4, 0));

    // 32768 * 65536 wraps to -2^31: the offset is negative, so it passes the
    // bound, and its low 32 bits are added.
    testframes::Bind(view, buffer, 65536, 1, testframes::kMono8);
    EXPECT_EQ(Addr(buffer.data()) + 0x80000000u, Addr(view.GetImagePointer(0, 32768, 0)));

    // No image chunk, no image; the lookup leaves a default record. A chunk
    // with a null base still addresses.
    view.SetBasePointer(buffer.data(), 16);
    EXPECT_EQ(nullptr, view.GetImagePointer(0, 0, 0));
    EXPECT_EQ(1u, view.mChunkData.size());
    view.miWidth = view.miRoiWidth = 10;
    view.mChunkData[KORVA_CHUNK_IMAGE] = sKORVAP_ChunkData{nullptr, 100, 0, 100};
    EXPECT_EQ(uintptr_t{12}, Addr(view.GetImagePointer(2, 1, 0)));
}

TEST(MemoryAccessTest, AssignmentAndCopyKeepTheirOwnBuffer) {
    std::vector<unsigned char> a(32), b(64);
    PixelFormatMap formats;
    CMemoryAccess source(&formats);
    testframes::Bind(source, a, 4, 8, testframes::kMono8);
    source.SetROI(1, 2, 3, 4);
    source.miDataOffset = 7;
    CMemoryAccess target(nullptr);
    target.SetBasePointer(b.data(), 64);
    ASSERT_EQ(RESULT_OK, target.setChunkOfData(KORVA_CHUNK_HEADER, b.data(), 4, 0, 4));

    target = source;
    EXPECT_EQ(b.data(), target.mpBasePointer);
    EXPECT_EQ(64, target.miBufferLength);
    EXPECT_EQ(1u, target.mChunkData.size());
    EXPECT_EQ(&formats, target.mpPixelFormats);
    EXPECT_EQ(3, target.miRoiWidth);
    EXPECT_EQ(7, target.miDataOffset);
    EXPECT_DOUBLE_EQ(1.0, target.mdBytePerPixel);

    CMemoryAccess copy(source);
    EXPECT_EQ(nullptr, copy.mpBasePointer);
    EXPECT_EQ(0, copy.miBufferLength);
    EXPECT_TRUE(copy.mChunkData.empty());
    EXPECT_EQ(4, copy.miWidth);
    EXPECT_EQ(nullptr, copy.GetImagePointer(0, 0, 0));
}

TEST(MemoryAccessTest, FreeBasePointerWithoutReleaseOnlyEmptiesTheView) {
    std::vector<unsigned char> buffer(16, 0xA5);
    CMemoryAccess view(nullptr);
    testframes::Bind(view, buffer, 4, 4, testframes::kMono8);
    view.FreeBasePointer(false);
    EXPECT_EQ(nullptr, view.mpBasePointer);
    EXPECT_EQ(0, view.miBufferLength);
    EXPECT_TRUE(view.mChunkData.empty());
    EXPECT_EQ(std::vector<unsigned char>(16, 0xA5), buffer);
}

TEST(MemoryAccessTest, GuardedBufferIsReleasedByTheView) {
    unsigned char* p = KvAllocateGuarded(10);
    ASSERT_NE(nullptr, p);
    EXPECT_EQ(0, p[-kKvBufferGuard]);
    EXPECT_EQ(0, p[-1]);
    EXPECT_EQ(0, p[10]);
    EXPECT_EQ(0, p[10 + kKvBufferGuard - 1]);
    p[0] = p[9] = 1;
    CMemoryAccess view(nullptr);
    view.SetBasePointer(p, 10);
    view.FreeBasePointer(true);  // a wrong release shows under the sanitizer
    EXPECT_EQ(nullptr, view.mpBasePointer);
    view.FreeBasePointer(true);

    for (int64_t size : {int64_t{0}, int64_t{-5}, std::numeric_limits<int64_t>::max(),
                         std::numeric_limits<int64_t>::max() - kKvBufferGuard}) {
        EXPECT_EQ(nullptr, KvAllocateGuarded(size)) << size;
    }
    KvReleaseGuarded(nullptr);
}

}  // namespace
