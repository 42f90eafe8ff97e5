#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "MemoryAccess.h"

namespace {

// A view on a 1000-byte buffer that lies inside a larger block, so that
// addresses just before and after the view's buffer are valid to form.
class ChunkDataMapTest : public ::testing::Test {
protected:
    ChunkDataMapTest() : block(1200, 0), view(nullptr) {
        view.SetBasePointer(at(0), 1000);
    }
    unsigned char* at(int distance) {
        return block.data() + 100 + distance;
    }
    int Set(uint32_t id, int distance, int32_t length, int32_t offset = 0) {
        return view.setChunkOfData(id, at(distance), length, offset, length);
    }

    std::vector<unsigned char> block;
    CMemoryAccess view;
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
    std::vector<unsigned char> other(300);
    CMemoryAccess source(nullptr);
    source.SetBasePointer(other.data(), 300);
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
    std::vector<unsigned char> other(1000);
    for (size_t i = 0; i < other.size(); ++i) {
        other[i] = static_cast<unsigned char>(i % 251 + 1);
    }
    CMemoryAccess source(nullptr);
    source.SetBasePointer(other.data(), 1000);
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
    std::vector<unsigned char> other(1000, 0x5A);
    CMemoryAccess source(nullptr);
    source.SetBasePointer(other.data(), 1000);
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
