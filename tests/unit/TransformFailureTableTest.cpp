// Every exit of the transforms, reached through the image interface: the
// result code, and what the destination object carries afterwards.
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

    // A 4x4 frame of `format` with an 8-byte header, status 0, number 7 8.
    void Frame(int format, bool chunks = true)
    {
        source->setSize(4, 4);
        source->setPixelFormat(format);
        const int size = source_object->CalculateImageSize(format, 4, 4);
        source->allocateBuffer(8 + size);
        unsigned char* base = nullptr;
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
};

enum Carried { kNothing, kBufferOnly, kHandOver, kRefused };

struct Row {
    const char* name;
    std::function<int(Pair&)> run;
    int result;
    Carried carried;
    int target_state;  // -1: none reported
};

int TargetState(IKVImage* target)
{
    KORVA_ImageStatus state = KORVA_IMAGESTATE_NOT_SET;
    return target->getState(&state) == RESULT_OK ? state : -1;
}

const Row kRows[] = {
    {"destination null", [](Pair& p) { p.Frame(KORVA_PIXTYPE_MONO8); return p.source->doTransformImageObject(nullptr); },
     RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, format refused",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.source->setState(KORVA_IMAGESTATE_NOT_SET);
         p.source->setPixelFormat(0);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_BAD_PARAM, kNothing, -1},
    {"verbatim, nothing to allocate",
     [](Pair& p) {
         p.source->setPixelFormat(KORVA_PIXTYPE_MONO8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_BAD_PARAM, kNothing, -1},
    {"foreign kind without buffer",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.target->useExternalBuffer(true);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_ERROR, kNothing, -1},
    {"verbatim, foreign buffer too short",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.source->setState(KORVA_IMAGESTATE_TRUNCATED);
         p.target->setSystemBuffer(p.foreign.data(), 23);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_ERROR, kNothing, -1},
    {"verbatim, whole buffer",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.source->setState(KORVA_IMAGESTATE_TRUNCATED);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_OK, kHandOver, KORVA_IMAGESTATE_TRUNCATED},
    {"destination not offered",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.target->allocateBuffer(64);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO16);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_NOT_SUPPORTED, kRefused, KORVA_IMAGESTATE_CONVERT_FAILED},
    {"converting, foreign buffer too short",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO12);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         p.target->setBuffer(p.foreign.data(), 23);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kHandOver, KORVA_IMAGESTATE_TRUNCATED},
    {"no chunks",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8, false);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kBufferOnly, -1},
    {"no converter",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_RGB16_PLANAR);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PLANAR);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kBufferOnly, -1},
    {"converter refuses",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO12);
         p.source->setDestinationRange(0, 0, 3, 4);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_FAIL, kHandOver, KORVA_IMAGESTATE_CONVERT_FAILED},
    {"converted",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO12);
         p.target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         return p.source->doTransformImageObject(p.target);
     },
     RESULT_OK, kHandOver, KORVA_IMAGESTATE_OK},
    {"to buffer, no format",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         return p.source->doTransform(p.foreign.data(), 16);
     },
     RESULT_FAIL, kNothing, -1},
    {"to buffer, too short",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO12);
         p.source->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         return p.source->doTransform(p.foreign.data(), 15);
     },
     RESULT_ERROR, kNothing, -1},
    {"to buffer, no converter",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_RGB16_PLANAR);
         p.source->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PLANAR);
         return p.source->doTransform(p.foreign.data(), 48);
     },
     RESULT_FAIL, kNothing, -1},
    {"to buffer, converter refuses",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO12);
         p.source->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         p.source->setDestinationRange(1, 0, 4, 4);
         return p.source->doTransform(p.foreign.data(), 16);
     },
     RESULT_FAIL, kNothing, -1},
    {"copy, other length",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         return p.source->doCopy(p.foreign.data(), 16);
     },
     RESULT_ERROR, kNothing, -1},
    {"copy, same length",
     [](Pair& p) {
         p.Frame(KORVA_PIXTYPE_MONO8);
         p.source->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
         p.source->doTransform(p.foreign.data(), 16);
         return p.source->doCopy(p.foreign.data(), 16);
     },
     RESULT_FAIL, kNothing, -1},
};

TEST(TransformFailureTable, EveryExit)
{
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Pair pair;
        EXPECT_EQ(row.run(pair), row.result);
        unsigned char* buffer = nullptr;
        const bool has_buffer = pair.target->getBuffer(&buffer) == RESULT_OK;
        int first = 0, second = 0;
        const bool handed_over = pair.target->getNumber(&first, &second) == RESULT_OK;
        switch (row.carried) {
        case kNothing:
            EXPECT_FALSE(handed_over);
            EXPECT_EQ(TargetState(pair.target), -1);
            break;
        case kBufferOnly:
            EXPECT_TRUE(has_buffer);
            EXPECT_FALSE(handed_over);
            break;
        case kHandOver:
            EXPECT_TRUE(handed_over);
            EXPECT_EQ(first * 10 + second, 78);
            EXPECT_EQ(TargetState(pair.target), row.target_state);
            break;
        case kRefused:
            EXPECT_FALSE(has_buffer);
            EXPECT_FALSE(handed_over);
            EXPECT_EQ(TargetState(pair.target), row.target_state);
            break;
        }
        // Every exit leaves both objects free for the next transform.
        for (CImgProc* object : {pair.source_object.get(), pair.target_object.get()}) {
            ASSERT_EQ(pthread_mutex_trylock(&object->mTransformMutex), 0);
            pthread_mutex_unlock(&object->mTransformMutex);
        }
    }
}

}  // namespace
