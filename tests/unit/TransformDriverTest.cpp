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

struct Row {
    const char* name;
    std::function<int(Pair&)> run;
    int result;
    Carried carried;
    int target_state;                        // -1: none reported
    std::function<void(Pair&)> check = {};  // what else the exit leaves
};

const int M8 = KORVA_PIXTYPE_MONO8, M12 = KORVA_PIXTYPE_MONO12;

const Row kRows[] = {
    {"destination null", [](Pair& p) { p.Frame(M8); return p.source->doTransformImageObject(nullptr); },
     RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, format refused",
     [](Pair& p) {
         p.Frame(M8);
         p.source->setState(KORVA_IMAGESTATE_NOT_SET);
         p.source->setPixelFormat(0);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, nothing to allocate",
     [](Pair& p) {
         p.source->setPixelFormat(M8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_BAD_PARAM, kNothing, -1},
    {"foreign kind without buffer",
     [](Pair& p) {
         p.Frame(M8);
         p.target->useExternalBuffer(true);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_ERROR, kNothing, -1},
    {"verbatim, foreign buffer too short",
     [](Pair& p) {
         p.Frame(M8);
         p.source->setState(KORVA_IMAGESTATE_TRUNCATED);
         p.target->setSystemBuffer(p.foreign.data(), 23);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_ERROR, kNothing, -1},
    // An unset status copies the whole buffer whatever the wish, which stays.
    {"verbatim, whole buffer",
     [](Pair& p) {
         p.Frame(M12);
         p.source->setState(KORVA_IMAGESTATE_NOT_SET);
         p.target->setDestinationPixelFormat(M8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_OK, kHandOver, -1,
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
    {"destination not offered",
     [](Pair& p) {
         p.Frame(M8);
         p.target->allocateBuffer(64);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO16);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_NOT_SUPPORTED, kRefused, KORVA_IMAGESTATE_CONVERT_FAILED},
    // A foreign buffer is forgotten, not released.
    {"destination not offered, foreign buffer",
     [](Pair& p) {
         p.Frame(M8);
         p.target->setBuffer(p.foreign.data(), 64);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PACKED);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_NOT_SUPPORTED, kRefused, KORVA_IMAGESTATE_CONVERT_FAILED,
     [](Pair& p) { EXPECT_EQ(p.target_object->miBufferType, KORVA_BUFFER_EXTERNAL); }},
    // The raw frame goes as far as the buffer reaches, the wish's depth with it.
    {"converting, foreign buffer too short",
     [](Pair& p) {
         p.Frame(M12);
         p.target->setDestinationPixelFormat(M8);
         p.target->setBuffer(p.foreign.data(), 23);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kHandOver, KORVA_IMAGESTATE_TRUNCATED,
     [](Pair& p) {
         EXPECT_EQ(std::memcmp(p.foreign.data(), p.base, 23), 0);
         EXPECT_EQ(p.foreign[23], 0xEE);
         EXPECT_EQ(p.Format(p.target), M12);
         EXPECT_EQ(p.target_object->mMemSrc.miBppEff, 8);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_TRUNCATED);
     }},
    {"no chunks", [](Pair& p) { p.Frame(M8, false); return p.source->doTransformImageObject(p.target); },
     RESULT_FAIL, kBufferOnly, -1},
    {"no converter",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_RGB16_PLANAR);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PLANAR);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kBufferOnly, -1},
    // A failed conversion still hands over; the status then selects the
    // verbatim path until the host resets it.
    {"converter refuses",
     [](Pair& p) {
         p.Frame(M12);
         p.source->setDestinationRange(0, 0, 3, 4);
         p.target->setDestinationPixelFormat(M8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kHandOver, KORVA_IMAGESTATE_CONVERT_FAILED,
     [](Pair& p) {
         unsigned char* header = nullptr;
         p.target->getHeader(&header);
         EXPECT_EQ(std::memcmp(header, p.base, 8), 0);
         EXPECT_EQ(p.Format(p.target), M8);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_CONVERT_FAILED);
         EXPECT_EQ(p.source->doTransformImageObject(p.target), RESULT_OK);
         EXPECT_EQ(p.Format(p.target), M12);
     }},
    {"converted into a longer own buffer",
     [](Pair& p) {
         p.Frame(M12);
         p.target->allocateBuffer(500);
         p.target->getBuffer(&p.base);
         p.target->setDestinationPixelFormat(M8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_OK, kHandOver, KORVA_IMAGESTATE_OK,
     [](Pair& p) {
         CMemoryAccess& view = p.target_object->mMemSrc;
         EXPECT_EQ(view.mpBasePointer, p.base);  // reused
         EXPECT_EQ(view.miBufferLength, 500);
         EXPECT_EQ(view.GetLengthOfAllChunks(), 8 + 16);
         int length = 0;
         p.source->getTransformBufferLength(&length);
         EXPECT_EQ(length, 8 + 16);  // the chunks' overhead counts
         EXPECT_EQ(p.Format(p.target), M8);
     }},
    {"to buffer, no format", [](Pair& p) { p.Frame(M8); return p.source->doTransform(p.foreign.data(), 16); },
     RESULT_FAIL, kNothing, -1},
    {"to buffer, too short",
     [](Pair& p) {
         p.Frame(M12);
         p.source->setDestinationPixelFormat(M8);
         return p.source->doTransform(p.foreign.data(), 15);
     },
     RESULT_ERROR, kNothing, -1,
     [](Pair& p) { EXPECT_EQ(p.source_object->mMemDst.mpBasePointer, nullptr); }},
    {"to buffer, no converter",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_RGB16_PLANAR);
         p.source->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PLANAR);
         return p.source->doTransform(p.foreign.data(), 48);
     },
     RESULT_FAIL, kNothing, -1},
    {"to buffer, converter refuses",
     [](Pair& p) {
         p.Frame(M12);
         p.source->setDestinationPixelFormat(M8);
         p.source->setDestinationRange(1, 0, 4, 4);
         return p.source->doTransform(p.foreign.data(), 16);
     },
     RESULT_FAIL, kNothing, -1},
    {"to buffer, converted",
     [](Pair& p) {
         p.Frame(M8);
         p.source->setDestinationPixelFormat(M8);
         return p.source->doTransform(p.foreign.data(), 16);
     },
     RESULT_OK, kNothing, -1,
     [](Pair& p) {
         EXPECT_EQ(std::memcmp(p.foreign.data(), p.base + 8, 16), 0);
         EXPECT_EQ(p.foreign[16], 0xEE);
         EXPECT_EQ(StateOf(p.source), KORVA_IMAGESTATE_OK);
     }},
    {"copy, other length", [](Pair& p) { p.Frame(M8); return p.source->doCopy(p.foreign.data(), 16); },
     RESULT_ERROR, kNothing, -1},
    {"copy, same length",
     [](Pair& p) {
         p.Frame(M8);
         p.source->setDestinationPixelFormat(M8);
         p.source->doTransform(p.foreign.data(), 16);
         return p.source->doCopy(p.foreign.data() + 1, 16);
     },
     RESULT_FAIL, kNothing, -1,
     [](Pair& p) { EXPECT_EQ(p.source_object->mMemDst.mpBasePointer, p.foreign.data() + 1); }},
};

TEST(TransformDriver, EveryExit)
{
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Pair pair;
        EXPECT_EQ(row.run(pair), row.result);
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
