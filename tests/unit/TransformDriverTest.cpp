// The transform driver: which path a frame takes, what reaches the
// destination object, and the result code and status of every exit.
#include "TestFrames.h"

namespace {

const int kHeader = 8;

// A frame as a host lays it: a header chunk at the buffer's start and the
// image chunk behind it.
std::unique_ptr<CImgProc> MakeFrame(int format, int width, int height, bool chunks = true)
{
    auto image = testframes::MakeFrame(
        format, width, height, [](int i) { return i < kHeader ? "HEADER!!"[i] : (i - kHeader) * 7 + 3; }, kHeader,
        chunks);
    image->setNumber(11, 12);
    image->setTimeStamp(13, 14);
    image->setCameraIndex(2);
    return image;
}

// Every exit of a transform must leave both mutexes free.
void ExpectUnlocked(CImgProc& image)
{
    ASSERT_EQ(pthread_mutex_trylock(&image.mTransformMutex), 0);
    pthread_mutex_unlock(&image.mTransformMutex);
}

KORVA_ImageStatus StateOf(CImgProc& image)
{
    KORVA_ImageStatus state = KORVA_IMAGESTATE_NOT_SET;
    image.getState(&state);
    return state;
}

TEST(TransformDriver, UnsetStatusTakesTheVerbatimPath)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO12, 6, 4);
    auto target = std::make_unique<CImgProc>();
    target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);  // has no effect on this path
    ASSERT_EQ(source->doTransformImageObject(target.get()), RESULT_OK);
    ExpectUnlocked(*source);
    ExpectUnlocked(*target);

    ASSERT_EQ(target->mMemSrc.miBufferLength, source->mMemSrc.miBufferLength);
    EXPECT_EQ(std::memcmp(target->mMemSrc.mpBasePointer, source->mMemSrc.mpBasePointer,
                          static_cast<size_t>(source->mMemSrc.miBufferLength)),
              0);
    int format = 0, a = 0, b = 0;
    target->getPixelFormat(&format);
    EXPECT_EQ(static_cast<uint32_t>(format), static_cast<uint32_t>(KORVA_PIXTYPE_MONO12));
    EXPECT_EQ(target->mMemDst.miPixelFormat, static_cast<uint32_t>(KORVA_PIXTYPE_MONO8));  // the wish stays
    EXPECT_EQ(target->getNumber(&a, &b), RESULT_OK);
    EXPECT_EQ(a * 100 + b, 1112);
    EXPECT_EQ(target->getTimeStamp(&a, &b), RESULT_OK);
    EXPECT_EQ(a * 100 + b, 1314);
    EXPECT_EQ(target->getState(nullptr), RESULT_NOT_SUPPORTED);
    unsigned char* header = nullptr;
    ASSERT_EQ(target->getHeader(&header), RESULT_OK);
    EXPECT_EQ(header, target->mMemSrc.mpBasePointer);
    unsigned char* pixels = nullptr;
    ASSERT_EQ(target->get(&pixels), RESULT_OK);
    EXPECT_EQ(pixels, target->mMemSrc.mpBasePointer + kHeader);
}

TEST(TransformDriver, SameFormatCopiesTheImageRawWithChunks)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO8, 5, 3);
    source->setState(KORVA_IMAGESTATE_OK);
    auto target = std::make_unique<CImgProc>();
    ASSERT_EQ(source->doTransformImageObject(target.get()), RESULT_OK);
    ASSERT_NE(target->mMemSrc.mpBasePointer, nullptr);
    EXPECT_EQ(target->mMemSrc.miBufferLength, kHeader + 15);
    EXPECT_EQ(std::memcmp(target->mMemSrc.mpBasePointer, source->mMemSrc.mpBasePointer, kHeader + 15), 0);
    EXPECT_EQ(StateOf(*target), KORVA_IMAGESTATE_OK);
    EXPECT_EQ(source->mMemDst.miPixelFormat, static_cast<uint32_t>(KORVA_PIXTYPE_MONO8));
}

TEST(TransformDriver, RefusedWishMarksAndEmptiesTheDestination)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO8, 4, 4);
    source->setState(KORVA_IMAGESTATE_OK);
    auto target = std::make_unique<CImgProc>();
    ASSERT_EQ(target->allocateBuffer(100), RESULT_OK);
    target->setNumber(1, 1);
    ASSERT_EQ(target->setDestinationPixelFormat(KORVA_PIXTYPE_RGB8_PACKED), RESULT_OK);  // loose test
    EXPECT_EQ(source->doTransformImageObject(target.get()), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(StateOf(*target), KORVA_IMAGESTATE_CONVERT_FAILED);
    EXPECT_EQ(target->mMemSrc.mpBasePointer, nullptr);
    int a = 0, b = 0;
    EXPECT_EQ(target->getNumber(&a, &b), RESULT_OK);  // nothing else changed
    ExpectUnlocked(*source);
    ExpectUnlocked(*target);

    // A foreign buffer is forgotten, not released.
    std::vector<unsigned char> foreign(64);
    target->setBuffer(foreign.data(), 64);
    EXPECT_EQ(source->doTransformImageObject(target.get()), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(target->mMemSrc.mpBasePointer, nullptr);
    EXPECT_EQ(target->miBufferType, KORVA_BUFFER_EXTERNAL);
}

TEST(TransformDriver, ShortForeignBufferGetsTheRawFrameAsFarAsItFits)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO12, 4, 4);  // 32 image bytes
    source->setState(KORVA_IMAGESTATE_OK);
    auto target = std::make_unique<CImgProc>();
    target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
    // The MONO8 result with its header needs 8 + 16 bytes; one less is there.
    std::vector<unsigned char> foreign(kHeader + 16 - 1 + 64, 0xEE);
    target->setBuffer(foreign.data(), kHeader + 15);
    EXPECT_EQ(source->doTransformImageObject(target.get()), RESULT_FAIL);
    int format = 0;
    target->getPixelFormat(&format);
    EXPECT_EQ(static_cast<uint32_t>(format), static_cast<uint32_t>(KORVA_PIXTYPE_MONO12));
    EXPECT_EQ(target->mMemSrc.miBppEff, 8);  // depth of the wish travels on
    EXPECT_EQ(StateOf(*target), KORVA_IMAGESTATE_TRUNCATED);
    EXPECT_EQ(StateOf(*source), KORVA_IMAGESTATE_TRUNCATED);
    // Raw bytes up to the buffer's end, nothing behind it.
    EXPECT_EQ(std::memcmp(foreign.data(), source->mMemSrc.mpBasePointer, kHeader + 15), 0);
    EXPECT_EQ(foreign[kHeader + 15], 0xEE);
    ExpectUnlocked(*source);
    ExpectUnlocked(*target);
}

TEST(TransformDriver, LongerOwnBufferIsReused)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO8, 4, 4);
    source->setState(KORVA_IMAGESTATE_OK);
    auto target = std::make_unique<CImgProc>();
    ASSERT_EQ(target->allocateBuffer(500), RESULT_OK);
    unsigned char* own = target->mMemSrc.mpBasePointer;
    ASSERT_EQ(source->doTransformImageObject(target.get()), RESULT_OK);
    EXPECT_EQ(target->mMemSrc.mpBasePointer, own);
    EXPECT_EQ(target->mMemSrc.miBufferLength, 500);
    EXPECT_EQ(target->mMemSrc.GetChunkLength(KORVA_CHUNK_IMAGE), 16);
    EXPECT_EQ(target->mMemSrc.GetLengthOfAllChunks(), kHeader + 16);
}

TEST(TransformDriver, FailedConversionStillHandsOver)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO12, 6, 4);
    source->setState(KORVA_IMAGESTATE_OK);
    // A destination range smaller than the frame makes the converter refuse.
    ASSERT_EQ(source->setDestinationRange(0, 0, 5, 4), RESULT_OK);
    auto target = std::make_unique<CImgProc>();
    target->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
    EXPECT_EQ(source->doTransformImageObject(target.get()), RESULT_FAIL);
    EXPECT_EQ(StateOf(*source), KORVA_IMAGESTATE_CONVERT_FAILED);
    EXPECT_EQ(StateOf(*target), KORVA_IMAGESTATE_CONVERT_FAILED);
    int a = 0, b = 0;
    EXPECT_EQ(target->getNumber(&a, &b), RESULT_OK);
    EXPECT_EQ(target->getTimeStamp(&a, &b), RESULT_OK);
    unsigned char* header = nullptr;
    ASSERT_EQ(target->getHeader(&header), RESULT_OK);
    EXPECT_EQ(std::memcmp(header, "HEADER!!", kHeader), 0);
    int format = 0;
    target->getPixelFormat(&format);
    EXPECT_EQ(static_cast<uint32_t>(format), static_cast<uint32_t>(KORVA_PIXTYPE_MONO8));

    // The status now selects the verbatim path until the host resets it.
    EXPECT_EQ(source->doTransformImageObject(target.get()), RESULT_OK);
    target->getPixelFormat(&format);
    EXPECT_EQ(static_cast<uint32_t>(format), static_cast<uint32_t>(KORVA_PIXTYPE_MONO12));
}

TEST(TransformDriver, ToBufferConvertsPixelsOnly)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO8, 4, 4);
    std::vector<unsigned char> out(16, 0);
    EXPECT_EQ(source->doTransform(out.data(), 16), RESULT_FAIL);  // no destination format
    EXPECT_EQ(source->mMemDst.mpBasePointer, nullptr);
    source->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
    EXPECT_EQ(source->doTransform(out.data(), 15), RESULT_ERROR);
    EXPECT_EQ(source->mMemDst.mpBasePointer, nullptr);  // not rebound
    const int converted = source->doTransform(out.data(), 16);
    EXPECT_TRUE(converted == RESULT_OK || converted == RESULT_FAIL);
    EXPECT_EQ(source->mMemDst.mpBasePointer, out.data());
    EXPECT_EQ(source->mMemDst.GetChunkLength(KORVA_CHUNK_IMAGE), 16);
    EXPECT_EQ(source->getState(nullptr), RESULT_NOT_SUPPORTED);
    ExpectUnlocked(*source);

    // A length different from the bound buffer's is refused; a matching one
    // rebinds the view and then fails for want of an image chunk.
    EXPECT_EQ(source->doCopy(out.data(), 17), RESULT_ERROR);
    EXPECT_EQ(source->doCopy(out.data() + 1, 16), RESULT_FAIL);
    EXPECT_EQ(source->mMemDst.mpBasePointer, out.data() + 1);

    EXPECT_EQ(source->resetTransformSettings(), RESULT_OK);
    EXPECT_EQ(source->doTransform(out.data(), 16), RESULT_FAIL);
    ExpectUnlocked(*source);
}

TEST(TransformDriver, TransformBufferLengthKeepsChunkOverhead)
{
    auto source = MakeFrame(KORVA_PIXTYPE_MONO12, 10, 10);
    int length = 0;
    EXPECT_EQ(source->getTransformBufferLength(&length), RESULT_FAIL);  // no destination format
    EXPECT_EQ(length, 0);
    source->setDestinationPixelFormat(KORVA_PIXTYPE_MONO8);
    EXPECT_EQ(source->getTransformBufferLength(&length), RESULT_OK);
    EXPECT_EQ(length, 100 + kHeader);
    // The full frame counts, not the region.
    source->setDestinationRange(2, 2, 5, 5);
    EXPECT_EQ(source->getTransformBufferLength(&length), RESULT_OK);
    EXPECT_EQ(length, 100 + kHeader);
}

TEST(TransformDriver, DestinationRange)
{
    CImgProc image;
    image.setSize(20, 10);
    const struct {
        int left, top, right, bottom, result;
    } cases[] = {{0, 0, 0, 10, RESULT_FAIL}, {-1, 0, 5, 5, RESULT_FAIL}, {0, -1, 5, 5, RESULT_FAIL},
                 {3, 0, 3, 5, RESULT_FAIL},  {0, 0, 100000, 10, RESULT_OK}, {0, 0, 20, 11, RESULT_OK}};
    for (const auto& c : cases) {
        EXPECT_EQ(image.setDestinationRange(c.left, c.top, c.right, c.bottom), c.result);
        EXPECT_EQ(image.mMemDst.miRoiWidth, 20);  // refused or silently not stored
    }
    EXPECT_EQ(image.setDestinationRange(2, 3, 7, 9), RESULT_OK);
    KORVA_FeatureState state{8, false, false, true, false};
    KORVAX_TypeROI range;
    std::memset(&range, 0x55, sizeof range);
    EXPECT_EQ(image.getDestinationRange(&state, &range), RESULT_OK);
    EXPECT_TRUE(state.stateFlag1 && state.stateFlag2 && !state.stateFlag3 && state.stateFlag4);
    EXPECT_EQ(range.iSize, 0x55555555);
    const int32_t expected[] = {KORVA_TYPE_TAG, 2, 3, 7, 9, 0, 0, 4, 4, 0, 0, 20, 10};
    EXPECT_EQ(std::memcmp(&range.iType, expected, sizeof expected), 0);
}

TEST(TransformDriver, DemosaicSelection)
{
    CImgProc image;
    const struct {
        int type, result, now;
    } cases[] = {{3, RESULT_BAD_PARAM, 1}, {100, RESULT_BAD_PARAM, 1}, {0, RESULT_FAIL, 1},
                 {2, RESULT_OK, 2},        {102, RESULT_OK, 102},      {1, RESULT_OK, 1}};
    for (const auto& c : cases) {
        EXPECT_EQ(image.setDemosaic(static_cast<KORVA_Demosaic>(c.type)), c.result) << c.type;
        EXPECT_EQ(image.mConvDemosaic.miDemosaicType, c.now) << c.type;
    }
    KORVA_FeatureState state{8, false, false, true, false};
    KORVAX_TypeListINT list;
    std::memset(&list, 0, sizeof list);
    list.aValues[3] = 1;  // the fourth value is the caller's and takes part in the search
    EXPECT_EQ(image.getDemosaic(&state, &list), RESULT_OK);
    EXPECT_EQ(list.iType, KORVA_TYPE_TAG);
    EXPECT_EQ(list.iCount, 4);
    EXPECT_EQ(list.aValues[0] * 1000 + list.aValues[1] * 100 + list.aValues[2], 202);
    EXPECT_EQ(list.iCurrent, 3);
    image.setDemosaic(KORVA_DEMOSAIC_BILINEAR);
    list.iCurrent = 9;
    image.getDemosaic(&state, &list);
    EXPECT_EQ(list.iCurrent, 9);  // no entry equals 2
}

}  // namespace
