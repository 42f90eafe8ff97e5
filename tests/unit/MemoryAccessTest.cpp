#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <tuple>
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
        const bool a = c.accepted;  // a refused region leaves the old one
        EXPECT_EQ(std::make_tuple(a ? c.left : 1, a ? c.top : 1, a ? c.width : 2, a ? c.height : 2),
                  std::make_tuple(view.miRoiLeft, view.miRoiTop, view.miRoiWidth, view.miRoiHeight))
            << c.left << "," << c.top;
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

// The converters' row walk takes a run of rows only if its last row starts
// inside the image chunk, on the plane it is asked for: plane 2 of a 4x2
// frame of 16-bit planes starts at byte 32, its second row at 40.
TEST(MemoryAccessTest, RowWalkStopsAtTheChunkOnEveryPlane) {
    for (int32_t chunk : {39, 40}) {
        std::vector<unsigned char> buffer(48);
        CMemoryAccess view(nullptr);
        testframes::Bind(view, buffer, 4, 2, {KORVA_PIXTYPE_RGB16_PLANAR, 6.0, 16}, chunk);
        unsigned char* first = nullptr;
        std::ptrdiff_t pitch = 0;
        EXPECT_TRUE(view.EvenRows(0, 0, 1, 1, 2, &first, &pitch)) << chunk;
        EXPECT_EQ(Addr(buffer.data()) + 32, Addr(first)) << chunk;
        EXPECT_EQ(chunk == 40, view.EvenRows(0, 0, 1, 2, 2, &first, &pitch)) << chunk;
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

TEST(MemoryAccessTest, FreeBasePointerReleasesOnlyGuardedBuffersWhenAsked) {
    std::vector<unsigned char> buffer(16, 0xA5);
    CMemoryAccess view(nullptr);
    testframes::Bind(view, buffer, 4, 4, testframes::kMono8);
    view.FreeBasePointer(false);
    EXPECT_EQ(nullptr, view.mpBasePointer);
    EXPECT_EQ(0, view.miBufferLength);
    EXPECT_TRUE(view.mChunkData.empty());
    EXPECT_EQ(std::vector<unsigned char>(16, 0xA5), buffer);

    unsigned char* p = KvAllocateGuarded(10);
    ASSERT_NE(nullptr, p);
    EXPECT_EQ(0, p[-kKvBufferGuard] | p[-1] | p[10] | p[10 + kKvBufferGuard - 1]);  // zeroed guards
    p[0] = p[9] = 1;
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

// A view on a 1000-byte buffer that lies inside a larger block, so that
// addresses just before and after the view's buffer are valid to form, and
// a source view on a buffer of its own.
class ChunkDataMapTest : public ::testing::Test {
protected:
    ChunkDataMapTest() : block(1200, 0), view(nullptr), other(1000), source(nullptr) {
        view.SetBasePointer(at(0), 1000);
        source.SetBasePointer(other.data(), 1000);
    }
    unsigned char* at(int distance) {
        return block.data() + 100 + distance;
    }
    int Set(uint32_t id, int distance, int32_t length, int32_t offset = 0) {
        return view.setChunkOfData(id, at(distance), length, offset, length);
    }

    std::vector<unsigned char> block;
    CMemoryAccess view;
    std::vector<unsigned char> other;
    CMemoryAccess source;
};

TEST_F(ChunkDataMapTest, SetChunkChecksArgumentsThenBufferThenPlace) {
    struct Case {
        const char* what;
        int distance;  // from the buffer start; 9999 stands for null
        int32_t length, dataOffset, dataLength;
        int expected;
    } cases[] = {
        {"null data", 9999, 10, 0, 10, RESULT_BAD_PARAM},
        {"zero length", 0, 0, 0, 0, RESULT_BAD_PARAM},
        {"negative length", 0, -1, 0, 0, RESULT_BAD_PARAM},
        {"negative data length", 0, 10, 0, -1, RESULT_BAD_PARAM},
        {"last byte", 999, 1, 0, 1, RESULT_OK},
        {"one past the end", 999, 2, 0, 2, RESULT_BAD_PARAM},
        {"at the end", 1000, 1, 0, 1, RESULT_BAD_PARAM},
        {"before the buffer", -1, 2, 0, 2, RESULT_BAD_PARAM},
        {"whole buffer", 0, 1000, 0, 1000, RESULT_OK},
        {"offsets not compared", 10, 10, -5, 500, RESULT_OK},
    };
    for (const Case& c : cases) {
        unsigned char* data = c.distance == 9999 ? nullptr : at(c.distance);
        EXPECT_EQ(c.expected, view.setChunkOfData(7, data, c.length, c.dataOffset, c.dataLength)) << c.what;
    }

    CMemoryAccess unbuffered(nullptr);
    EXPECT_EQ(RESULT_ERROR, unbuffered.setChunkOfData(1, at(0), 10, 0, 10));
    EXPECT_EQ(RESULT_BAD_PARAM, unbuffered.setChunkOfData(1, nullptr, 10, 0, 10));
    EXPECT_TRUE(unbuffered.mChunkData.empty());
}

TEST_F(ChunkDataMapTest, RecordsPayloadsAndTheirSum) {
    unsigned char* data = at(5);
    int length = -7;
    EXPECT_EQ(RESULT_NOT_SUPPORTED, view.getChunkOfData(KORVA_CHUNK_HEADER, &data, &length));
    EXPECT_TRUE(view.mChunkData.empty());
    ASSERT_EQ(RESULT_OK, view.setChunkOfData(KORVA_CHUNK_IMAGE, at(0), 500, 16, 80));
    ASSERT_EQ(RESULT_OK, Set(KORVA_CHUNK_HEADER, 100, 50));  // overlap is allowed
    EXPECT_EQ(RESULT_BAD_PARAM, Set(KORVA_CHUNK_IMAGE, 900, 200));  // refused: the old record stays
    EXPECT_EQ(RESULT_NOT_SUPPORTED, view.getChunkOfData(9, &data, &length));
    EXPECT_EQ(at(5), data);
    EXPECT_EQ(-7, length);
    EXPECT_EQ(RESULT_OK, view.getChunkOfData(KORVA_CHUNK_IMAGE, &data, &length));
    EXPECT_EQ(at(16), data);
    EXPECT_EQ(80, length);
    EXPECT_EQ(at(0), view.GetChunkPointer(KORVA_CHUNK_IMAGE));
    EXPECT_EQ(nullptr, view.GetChunkPointer(40));  // leaves a default record
    EXPECT_EQ(4u, view.mChunkData.size());
    EXPECT_EQ(550, view.GetLengthOfAllChunks());
    EXPECT_FALSE(view.AdjustChunkDataMap(41, 10));  // absent
    EXPECT_EQ(5u, view.mChunkData.size());

    const int32_t big = std::numeric_limits<int32_t>::max();  // the sum wraps in 32 bits
    view.mChunkData[1] = sKORVAP_ChunkData{at(0), big, 0, 0};
    view.mChunkData[2] = sKORVAP_ChunkData{at(0), big, 0, 0};
    view.mChunkData[3] = sKORVAP_ChunkData{at(0), 3, 0, 0};
    EXPECT_EQ(1, view.GetLengthOfAllChunks());
}

TEST_F(ChunkDataMapTest, AdjustMovesChunksByAddress) {
    struct Case {
        const char* what;
        int imageAt, imageLength, otherAt, otherLength;
        int32_t newLength;
        bool result;
        int imageLengthAfter, otherAtAfter;
    } cases[] = {
        {"header before, shrink", 100, 900, 0, 100, 850, true, 850, 0},
        {"header before, too long", 100, 900, 0, 100, 901, false, 900, 0},
        {"header before, exactly full", 100, 800, 0, 100, 900, true, 900, 0},
        {"chunk behind moves away on shrink", 0, 900, 900, 100, 800, true, 800, 1000},
        {"chunk behind moves closer on growth", 0, 800, 900, 100, 850, true, 850, 850},
        {"present length", 0, 900, 900, 100, 900, true, 900, 900},
        {"same start is adjusted too", 0, 900, 0, 100, 800, true, 800, 0},
    };
    for (const Case& c : cases) {
        view.freeChunkOfData();
        ASSERT_EQ(RESULT_OK, Set(KORVA_CHUNK_IMAGE, c.imageAt, c.imageLength, 4)) << c.what;
        ASSERT_EQ(RESULT_OK, Set(5, c.otherAt, c.otherLength, 2)) << c.what;
        const bool sameStart = c.imageAt == c.otherAt;

        EXPECT_EQ(c.result, view.AdjustChunkDataMap(KORVA_CHUNK_IMAGE, c.newLength)) << c.what;
        const sKORVAP_ChunkData image = view.mChunkData[KORVA_CHUNK_IMAGE];
        const sKORVAP_ChunkData other = view.mChunkData[5];
        EXPECT_EQ(at(c.imageAt), image.mpChunkBase) << c.what;
        EXPECT_EQ(c.imageLengthAfter, image.miChunkLength) << c.what;
        EXPECT_EQ(c.imageLengthAfter, image.miChunkDataLength) << c.what;
        EXPECT_EQ(at(c.otherAtAfter), other.mpChunkBase) << c.what;
        const int otherLengthAfter = sameStart ? c.otherLength + (c.newLength - c.imageLength) : c.otherLength;
        EXPECT_EQ(otherLengthAfter, other.miChunkLength) << c.what;
        EXPECT_EQ(otherLengthAfter, other.miChunkDataLength) << c.what;
        EXPECT_EQ(2, other.miChunkDataOffset) << c.what;
    }
}

TEST_F(ChunkDataMapTest, CopyChunkDataMapRebasesOnThisBuffer) {
    ASSERT_EQ(RESULT_OK, source.setChunkOfData(KORVA_CHUNK_IMAGE, other.data() + 20, 200, 8, 190));
    ASSERT_EQ(RESULT_OK, source.setChunkOfData(KORVA_CHUNK_HEADER, other.data(), 20, 0, 20));
    source.GetChunkPointer(9);  // a default record travels as it is

    EXPECT_FALSE(view.CopyChunkDataMap(nullptr));
    ASSERT_EQ(RESULT_OK, Set(3, 0, 10));
    EXPECT_FALSE(view.CopyChunkDataMap(nullptr));
    EXPECT_EQ(10, view.GetChunkLength(3));

    EXPECT_TRUE(view.CopyChunkDataMap(&source));
    EXPECT_EQ(3u, view.mChunkData.size());
    EXPECT_EQ(0u, view.mChunkData.count(3));
    EXPECT_EQ(at(20), view.mChunkData[KORVA_CHUNK_IMAGE].mpChunkBase);
    EXPECT_EQ(8, view.mChunkData[KORVA_CHUNK_IMAGE].miChunkDataOffset);
    EXPECT_EQ(190, view.mChunkData[KORVA_CHUNK_IMAGE].miChunkDataLength);
    EXPECT_EQ(at(0), view.mChunkData[KORVA_CHUNK_HEADER].mpChunkBase);
    EXPECT_EQ(nullptr, view.mChunkData[9].mpChunkBase);
    EXPECT_EQ(0, view.mChunkData[9].miChunkLength);
}

TEST_F(ChunkDataMapTest, CopyChunkDataCopiesAllButTheLeftOutChunk) {
    for (size_t i = 0; i < other.size(); ++i)
        other[i] = static_cast<unsigned char>(i % 251 + 1);
    ASSERT_EQ(RESULT_OK, source.setChunkOfData(KORVA_CHUNK_IMAGE, other.data() + 100, 900, 0, 900));
    ASSERT_EQ(RESULT_OK, source.setChunkOfData(KORVA_CHUNK_HEADER, other.data(), 100, 0, 100));

    ASSERT_EQ(RESULT_OK, Set(KORVA_CHUNK_IMAGE, 0, 900));
    EXPECT_TRUE(view.CopyChunkData(&source, KORVA_CHUNK_IMAGE));
    EXPECT_EQ(std::vector<unsigned char>(1200, 0), block);

    // The other's length counts: 100 bytes although this header has 10.
    ASSERT_EQ(RESULT_OK, Set(KORVA_CHUNK_HEADER, 900, 10));
    ASSERT_EQ(RESULT_OK, Set(4, 0, 1));  // missing in the source
    EXPECT_FALSE(view.CopyChunkData(&source, KORVA_CHUNK_IMAGE));
    EXPECT_TRUE(std::equal(other.begin(), other.begin() + 100, at(900)));
    EXPECT_EQ(0, *at(0));
    EXPECT_EQ(0, *at(1000));  // first byte behind the buffer
}

TEST_F(ChunkDataMapTest, CopyChunkDataStaysInsideBothBuffers) {
    std::fill(other.begin(), other.end(), 0x5A);
    ASSERT_EQ(RESULT_OK, source.setChunkOfData(KORVA_CHUNK_HEADER, other.data() + 950, 50, 0, 50));
    // A chunk that an adjustment moved half out of this buffer.
    view.mChunkData[KORVA_CHUNK_HEADER] = sKORVAP_ChunkData{at(980), 50, 0, 50};
    EXPECT_TRUE(view.CopyChunkData(&source, KORVA_CHUNK_IMAGE));
    EXPECT_EQ(0x5A, *at(999));
    EXPECT_EQ(0x5A, *at(980));
    EXPECT_EQ(0, *at(979));
    EXPECT_EQ(0, *at(1000));

    // A source chunk that reaches past the source buffer gives only its inside.
    std::fill(block.begin(), block.end(), 0);
    source.mChunkData[KORVA_CHUNK_HEADER] = sKORVAP_ChunkData{other.data() + 990, 50, 0, 50};
    view.mChunkData[KORVA_CHUNK_HEADER] = sKORVAP_ChunkData{at(0), 50, 0, 50};
    EXPECT_TRUE(view.CopyChunkData(&source, KORVA_CHUNK_IMAGE));
    EXPECT_EQ(0x5A, *at(9));
    EXPECT_EQ(0, *at(10));
}

}  // namespace
