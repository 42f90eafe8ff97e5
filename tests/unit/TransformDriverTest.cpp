// Every exit of the transforms, reached through the image interface: the
// result code, what the destination object carries afterwards, and the
// details of the exits where bytes travel.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "ImgProc.h"

namespace {

struct Pair {
    std::unique_ptr<CImgProc> source_object = std::make_unique<CImgProc>();
    std::unique_ptr<CImgProc> target_object = std::make_unique<CImgProc>();
    IKVImage* source = source_object.get();
    IKVImage* target = target_object.get();
    std::vector<unsigned char> foreign = std::vector<unsigned char>(256, 0xEE);
    unsigned char* base = nullptr;
    unsigned char* targetBase = nullptr;

    // A 4x4 frame of `format` with an 8-byte header, status 0, number 7 8;
    // its bytes count 1, 2, 3, ...
    void Frame(int format, bool chunks = true)
    {
        source->setSize(4, 4);
        source->setPixelFormat(format);
        const int size = source_object->CalculateImageSize(format, 4, 4);
        source->allocateBuffer(8 + size);
        source->getBuffer(&base);
        for (int i = 0; i < 8 + size; ++i)
            base[i] = static_cast<unsigned char>(i + 1);
        if (chunks) {
            source->setHeader(base, 8);
            source->setChunkOfData(KORVA_CHUNK_IMAGE, base + 8, size, 0, size);
        }
        source->setNumber(7, 8);
        source->setState(KORVA_IMAGESTATE_OK);
    }
    int Format(IKVImage* image)
    {
        int format = 0;
        image->getPixelFormat(&format);
        return format;
    }
};

int StateOf(IKVImage* image)
{
    KORVA_ImageStatus state = KORVA_IMAGESTATE_NOT_SET;
    return image->getState(&state) == RESULT_OK ? state : -1;
}

enum Carried { kNothing, kBufferOnly, kHandOver, kRefused };
enum Layout { kLaid, kNoChunks, kFormatOnly, kFormatZero };
enum Target { kPlain, kOwn64, kOwn500, kForeign64, kForeign23, kSystem23, kExternalKind };
enum Call { kToNull, kToObject, kToBuffer, kCopy, kCopyAfterTransform };

const int M8 = KORVA_PIXTYPE_MONO8, M12 = KORVA_PIXTYPE_MONO12, M16 = KORVA_PIXTYPE_MONO16,
          RGB8 = KORVA_PIXTYPE_RGB8_PACKED, P8 = KORVA_PIXTYPE_RGB8_PLANAR, P16 = KORVA_PIXTYPE_RGB16_PLANAR;
const int OK = KORVA_IMAGESTATE_OK, UNSET = KORVA_IMAGESTATE_NOT_SET, TRUNC = KORVA_IMAGESTATE_TRUNCATED,
          FAILED = KORVA_IMAGESTATE_CONVERT_FAILED;

struct Row {
    const char* name;
    Layout layout;
    int format, status;
    Target target;
    int wish;                   // of the destination object, or of the source for buffer calls
    int rangeLeft, rangeRight;  // the source's destination range, 0 0: none
    Call call;
    int length;  // of the bare buffer
    int result;
    Carried carried;
    int target_state;                        // -1: none reported
    std::function<void(Pair&)> check = {};  // what else the exit leaves
};

const Row kRows[] = {
    {"destination null", kLaid, M8, OK, kPlain, 0, 0, 0, kToNull, 0, RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, format refused", kFormatZero, M8, UNSET, kPlain, 0, 0, 0, kToObject, 0, RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, nothing to allocate", kFormatOnly, M8, UNSET, kPlain, 0, 0, 0, kToObject, 0, RESULT_BAD_PARAM,
     kNothing, -1},
    {"foreign kind without buffer", kLaid, M8, OK, kExternalKind, 0, 0, 0, kToObject, 0, RESULT_ERROR, kNothing, -1},
    {"verbatim, foreign buffer too short", kLaid, M8, TRUNC, kSystem23, 0, 0, 0, kToObject, 0, RESULT_ERROR, kNothing,
     -1},
    // An unset status copies the whole buffer whatever the wish, which stays.
    {"verbatim, whole buffer", kLaid, M12, UNSET, kPlain, M8, 0, 0, kToObject, 0, RESULT_OK, kHandOver, -1,
     [](Pair& p) {
         unsigned char *buffer = nullptr, *header = nullptr, *pixels = nullptr;
         p.target->getBuffer(&buffer);
         EXPECT_EQ(std::memcmp(buffer, p.base, 40), 0);
         EXPECT_EQ(p.target_object->mMemSrc.miBufferLength, 40);
         EXPECT_EQ(p.Format(p.target), M12);
         EXPECT_EQ(p.target_object->mMemDst.miPixelFormat, static_cast<uint32_t>(M8));
         p.target->getHeader(&header);
         p.target->get(&pixels);
         EXPECT_EQ(header, buffer);
         EXPECT_EQ(pixels, buffer + 8);
     }},
    {"destination not offered", kLaid, M8, OK, kOwn64, M16, 0, 0, kToObject, 0, RESULT_NOT_SUPPORTED, kRefused, FAILED},
    // A foreign buffer is forgotten, not released.
    {"destination not offered, foreign buffer", kLaid, M8, OK, kForeign64, RGB8, 0, 0, kToObject, 0,
     RESULT_NOT_SUPPORTED, kRefused, FAILED,
     [](Pair& p) { EXPECT_EQ(p.target_object->miBufferType, KORVA_BUFFER_EXTERNAL); }},
    // The raw frame goes as far as the buffer reaches, the wish's depth with it.
    {"converting, foreign buffer too short", kLaid, M12, OK, kForeign23, M8, 0, 0, kToObject, 0, RESULT_FAIL,
     kHandOver, TRUNC,
     [](Pair& p) {
         EXPECT_EQ(std::memcmp(p.foreign.data(), p.base, 23), 0);
         EXPECT_EQ(p.foreign[23], 0xEE);
         EXPECT_EQ(p.Format(p.target), M12);
         EXPECT_EQ(p.target_object->mMemSrc.miBppEff, 8);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_TRUNCATED);
     }},
    {"no chunks", kNoChunks, M8, OK, kPlain, 0, 0, 0, kToObject, 0, RESULT_FAIL, kBufferOnly, -1},
    {"no converter", kLaid, P16, OK, kPlain, P8, 0, 0, kToObject, 0, RESULT_FAIL, kBufferOnly, -1},
    // A failed conversion still hands over; the status then selects the
    // verbatim path until the host resets it.
    {"converter refuses", kLaid, M12, OK, kPlain, M8, 0, 3, kToObject, 0, RESULT_FAIL, kHandOver, FAILED,
     [](Pair& p) {
         unsigned char* header = nullptr;
         p.target->getHeader(&header);
         EXPECT_EQ(std::memcmp(header, p.base, 8), 0);
         EXPECT_EQ(p.Format(p.target), M8);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_CONVERT_FAILED);
         EXPECT_EQ(p.source->doTransformImageObject(p.target), RESULT_OK);
         EXPECT_EQ(p.Format(p.target), M12);
     }},
    {"converted into a longer own buffer", kLaid, M12, OK, kOwn500, M8, 0, 0, kToObject, 0, RESULT_OK, kHandOver, OK,
     [](Pair& p) {
         CMemoryAccess& view = p.target_object->mMemSrc;
         EXPECT_EQ(view.mpBasePointer, p.targetBase);  // reused
         EXPECT_EQ(view.miBufferLength, 500);
         EXPECT_EQ(view.GetLengthOfAllChunks(), 8 + 16);
         int length = 0;
         p.source->getTransformBufferLength(&length);
         EXPECT_EQ(length, 8 + 16);  // the chunks' overhead counts
         EXPECT_EQ(p.Format(p.target), M8);
     }},
    {"to buffer, no format", kLaid, M8, OK, kPlain, 0, 0, 0, kToBuffer, 16, RESULT_FAIL, kNothing, -1},
    {"to buffer, too short", kLaid, M12, OK, kPlain, M8, 0, 0, kToBuffer, 15, RESULT_ERROR, kNothing, -1,
     [](Pair& p) { EXPECT_EQ(p.source_object->mMemDst.mpBasePointer, nullptr); }},
    {"to buffer, no converter", kLaid, P16, OK, kPlain, P8, 0, 0, kToBuffer, 48, RESULT_FAIL, kNothing, -1},
    {"to buffer, converter refuses", kLaid, M12, OK, kPlain, M8, 1, 4, kToBuffer, 16, RESULT_FAIL, kNothing, -1},
    {"to buffer, converted", kLaid, M8, OK, kPlain, M8, 0, 0, kToBuffer, 16, RESULT_OK, kNothing, -1,
     [](Pair& p) {
         EXPECT_EQ(std::memcmp(p.foreign.data(), p.base + 8, 16), 0);
         EXPECT_EQ(p.foreign[16], 0xEE);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_OK);
     }},
    {"copy, other length", kLaid, M8, OK, kPlain, 0, 0, 0, kCopy, 16, RESULT_ERROR, kNothing, -1},
    {"copy, same length", kLaid, M8, OK, kPlain, M8, 0, 0, kCopyAfterTransform, 16, RESULT_FAIL, kNothing, -1,
     [](Pair& p) { EXPECT_EQ(p.source_object->mMemDst.mpBasePointer, p.foreign.data() + 1); }},
};

int RunRow(Pair& p, const Row& row)
{
    if (row.layout == kFormatOnly) {
        p.source->setPixelFormat(row.format);
    } else {
        p.Frame(row.format, row.layout != kNoChunks);
        if (row.layout == kFormatZero)
            p.source->setPixelFormat(0);
    }
    p.source->setState(static_cast<KORVA_ImageStatus>(row.status));
    if (row.rangeRight != 0)
        p.source->setDestinationRange(row.rangeLeft, 0, row.rangeRight, 4);
    IKVImage* wisher = row.call == kToObject ? p.target : p.source;
    if (row.wish != 0)
        wisher->setDestinationPixelFormat(row.wish);
    switch (row.target) {
    case kOwn64: p.target->allocateBuffer(64); break;
    case kOwn500: p.target->allocateBuffer(500); break;
    case kForeign64: p.target->setBuffer(p.foreign.data(), 64); break;
    case kForeign23: p.target->setBuffer(p.foreign.data(), 23); break;
    case kSystem23: p.target->setSystemBuffer(p.foreign.data(), 23); break;
    case kExternalKind: p.target->useExternalBuffer(true); break;
    case kPlain: break;
    }
    p.target->getBuffer(&p.targetBase);
    switch (row.call) {
    case kToNull: return p.source->doTransformImageObject(nullptr);
    case kToObject: return p.source->doTransformImageObject(p.target);
    case kToBuffer: return p.source->doTransform(p.foreign.data(), row.length);
    case kCopy: return p.source->doCopy(p.foreign.data(), row.length);
    case kCopyAfterTransform:
        p.source->doTransform(p.foreign.data(), row.length);
        return p.source->doCopy(p.foreign.data() + 1, row.length);
    }
    return 0;
}

TEST(TransformDriver, EveryExit)
{
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Pair pair;
        EXPECT_EQ(RunRow(pair, row), row.result);
        unsigned char* buffer = nullptr;
        const bool has_buffer = pair.target->getBuffer(&buffer) == RESULT_OK;
        int first = 0, second = 0;
        const bool handed_over = pair.target->getNumber(&first, &second) == RESULT_OK;
        EXPECT_EQ(handed_over, row.carried == kHandOver);
        EXPECT_TRUE(row.carried != kHandOver || first * 10 + second == 78);
        EXPECT_TRUE(row.carried != kBufferOnly || has_buffer);
        EXPECT_TRUE(row.carried != kRefused || !has_buffer);
        EXPECT_EQ(StateOf(pair.target), row.target_state);
        if (row.check)
            row.check(pair);
        // Every exit leaves both objects free for the next transform.
        for (CImgProc* object : {pair.source_object.get(), pair.target_object.get()}) {
            ASSERT_EQ(pthread_mutex_trylock(&object->mTransformMutex), 0);
            pthread_mutex_unlock(&object->mTransformMutex);
        }
    }
}

TEST(TransformDriver, LengthRangeAndDemosaicSettings)
{
    CImgProc image;
    image.setSize(20, 10);
    image.setPixelFormat(M12);
    int length = 0;
    EXPECT_EQ(image.getTransformBufferLength(&length), RESULT_FAIL);  // no destination format
    image.setDestinationPixelFormat(M8);
    const struct {
        int left, top, right, bottom, result;
    } ranges[] = {{0, 0, 0, 10, RESULT_FAIL}, {-1, 0, 5, 5, RESULT_FAIL}, {3, 0, 3, 5, RESULT_FAIL},
                  {0, 0, 100000, 10, RESULT_OK}, {0, 0, 20, 11, RESULT_OK}};
    for (const auto& c : ranges) {
        EXPECT_EQ(image.setDestinationRange(c.left, c.top, c.right, c.bottom), c.result) << c.left << c.right;
        EXPECT_EQ(image.mMemDst.miRoiWidth, 20);  // refused or silently not stored
    }
    EXPECT_EQ(image.setDestinationRange(2, 3, 7, 9), RESULT_OK);
    EXPECT_EQ(image.getTransformBufferLength(&length), RESULT_OK);
    EXPECT_EQ(length, 200);  // the full frame counts, not the region
    KORVA_FeatureState state{8, false, false, true, false};
    KORVAX_TypeROI range;
    std::memset(&range, 0x55, sizeof range);
    EXPECT_EQ(image.getDestinationRange(&state, &range), RESULT_OK);
    EXPECT_TRUE(state.stateFlag1 && state.stateFlag2 && !state.stateFlag3 && state.stateFlag4);
    EXPECT_EQ(range.iSize, 0x55555555);
    const int32_t expected[] = {KORVA_TYPE_TAG, 2, 3, 7, 9, 0, 0, 4, 4, 0, 0, 20, 10};
    EXPECT_EQ(std::memcmp(&range.iType, expected, sizeof expected), 0);

    const struct {
        int type, result, now;
    } types[] = {{3, RESULT_BAD_PARAM, 1}, {100, RESULT_BAD_PARAM, 1}, {0, RESULT_FAIL, 1},
                 {2, RESULT_OK, 2},        {102, RESULT_OK, 102},      {1, RESULT_OK, 1}};
    for (const auto& c : types) {
        EXPECT_EQ(image.setDemosaic(static_cast<KORVA_Demosaic>(c.type)), c.result) << c.type;
        EXPECT_EQ(image.mConvDemosaic.miDemosaicType, c.now) << c.type;
    }
    KORVAX_TypeListINT list;
    std::memset(&list, 0, sizeof list);
    list.aValues[3] = 1;  // the fourth value is the caller's and takes part in the search
    EXPECT_EQ(image.getDemosaic(&state, &list), RESULT_OK);
    EXPECT_EQ(list.iCount, 4);
    EXPECT_EQ(list.aValues[0] * 1000 + list.aValues[1] * 100 + list.aValues[2], 202);
    EXPECT_EQ(list.iCurrent, 3);
    image.setDemosaic(KORVA_DEMOSAIC_BILINEAR);
    list.iCurrent = 9;
    image.getDemosaic(&state, &list);
    EXPECT_EQ(list.iCurrent, 9);  // no entry equals 2
}

}  // namespace
