// Plain accessors of the image object and their rules.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "IKVFeature.h"
#include "IKVValue.h"
#include "ImgProc.h"

namespace {

TEST(ImgProcAccessor, FreshObjectReportsNothingSet)
{
    auto image = std::make_unique<CImgProc>();
    KORVA_ImageStatus state = KORVA_IMAGESTATE_TRUNCATED;
    EXPECT_EQ(image->getState(&state), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(state, KORVA_IMAGESTATE_TRUNCATED);
    int a = 5, b = 6;
    EXPECT_EQ(image->getTimeStamp(&a, &b), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(a, 5);
    EXPECT_EQ(image->getNumber(&a, &b), RESULT_FAIL);
    EXPECT_EQ(a, -1);
    EXPECT_EQ(b, -1);
    KORVA_ImageInformation information{KORVA_STATE_INFO_SIZE, {}};
    EXPECT_EQ(image->getStateInformation(&information), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image->getCameraIndex(&a), RESULT_OK);
    EXPECT_EQ(a, -1);
    EXPECT_EQ(image->getCameraIndex(nullptr), RESULT_BAD_PARAM);
    EXPECT_EQ(image->getSize(&a, &b), RESULT_OK);
    EXPECT_EQ(a + b, 0);
    EXPECT_EQ(image->getPixelFormat(&a), RESULT_OK);
    EXPECT_EQ(a, 0);
    unsigned char* p = nullptr;
    EXPECT_EQ(image->get(&p), RESULT_ERROR);
    EXPECT_STREQ(static_cast<const char*>(image->msModuleName), "img_proc.dll ");
    EXPECT_EQ(image->mMemSrc.mpPixelFormats, &image->mPixelFormatMap);
    EXPECT_EQ(image->mMemDst.mpPixelFormats, &image->mPixelFormatMap);
    for (CImgProcConv* conv : std::initializer_list<CImgProcConv*>{
             &image->mConvCopy, &image->mConvDemosaic, &image->mConvFilter, &image->mConvScale, &image->mConvMono,
             &image->mConvRGB, &image->mConvRGBPlanar, &image->mConvYUV}) {
        EXPECT_EQ(conv->mpImgProc, image.get());
        EXPECT_EQ(conv->mpMemSrc, &image->mMemSrc);
        EXPECT_EQ(conv->mpMemDst, &image->mMemDst);
    }
}

TEST(ImgProcAccessor, NumberWithOneUnsetWordCountsAsUnset)
{
    const struct {
        int first, second, result, out_first, out_second;
    } cases[] = {
        {5, -1, RESULT_FAIL, -1, -1}, {-1, 5, RESULT_FAIL, -1, -1}, {0, 0, RESULT_OK, 0, 0}, {-2, 7, RESULT_OK, -2, 7}};
    for (const auto& c : cases) {
        CImgProc image;
        image.setNumber(c.first, c.second);
        int a = 99, b = 99;
        EXPECT_EQ(image.getNumber(&a, &b), c.result);
        EXPECT_EQ(a, c.out_first);
        EXPECT_EQ(b, c.out_second);
    }
}

TEST(ImgProcAccessor, StateMinusOneMeansNeverSet)
{
    CImgProc image;
    KORVA_ImageStatus state = KORVA_IMAGESTATE_OK;
    image.setState(static_cast<KORVA_ImageStatus>(77));
    EXPECT_EQ(image.getState(&state), RESULT_OK);
    EXPECT_EQ(state, 77);
    image.setState(KORVA_IMAGESTATE_NOT_SET);
    EXPECT_EQ(image.getState(&state), RESULT_NOT_SUPPORTED);
}

TEST(ImgProcAccessor, StateInformationSizeWords)
{
    CImgProc image;
    KORVA_ImageInformation information;
    for (int i = 0; i < 128; ++i)
        information.aInformation[i] = static_cast<unsigned char>(255 - i);
    for (int size : {0, 131, 133, -132}) {
        information.iSize = size;
        EXPECT_EQ(image.setStateInformation(information), RESULT_BAD_PARAM) << size;
    }
    EXPECT_EQ(image.miStateInfoSize, 0);
    information.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ(image.setStateInformation(information), RESULT_OK);

    KORVA_ImageInformation back;
    std::memset(back.aInformation, 0, sizeof back.aInformation);
    for (int size : {0, 128, 131, 133}) {
        back.iSize = size;
        EXPECT_EQ(image.getStateInformation(&back), RESULT_BAD_PARAM) << size;
    }
    back.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ(image.getStateInformation(&back), RESULT_OK);
    EXPECT_EQ(std::memcmp(back.aInformation, information.aInformation, 128), 0);
    EXPECT_EQ(back.iSize, KORVA_STATE_INFO_SIZE);
}

TEST(ImgProcAccessor, SetSizeWritesBothViewsAndKeepsTheOrigin)
{
    CImgProc image;
    EXPECT_EQ(image.setSize(0, 0), RESULT_OK);
    EXPECT_EQ(image.setSize(-1, 7), RESULT_OK);
    int w = 0, h = 0;
    image.getSize(&w, &h);
    EXPECT_EQ(w, -1);
    EXPECT_EQ(h, 7);

    image.setSize(100, 80);
    ASSERT_TRUE(image.mMemDst.SetROI(10, 20, 30, 40));
    image.setSize(64, 48);
    for (CMemoryAccess* view : {&image.mMemSrc, &image.mMemDst}) {
        EXPECT_EQ(view->miWidth, 64);
        EXPECT_EQ(view->miHeight, 48);
        EXPECT_EQ(view->miRoiWidth, 64);
        EXPECT_EQ(view->miRoiHeight, 48);
    }
    EXPECT_EQ(image.mMemDst.miRoiLeft, 10);
    EXPECT_EQ(image.mMemDst.miRoiTop, 20);
}

TEST(ImgProcAccessor, HeaderIsAChunkOfTheFrameBuffer)
{
    CImgProc image;
    unsigned char stray[8];
    // Exactly one side saying there is a header, or neither.
    EXPECT_EQ(image.setHeader(nullptr, 0), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(stray, 0), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(nullptr, 8), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(stray, 8), RESULT_ERROR);  // no buffer yet

    ASSERT_EQ(image.allocateBuffer(64), RESULT_OK);
    unsigned char* base = image.mMemSrc.mpBasePointer;
    EXPECT_EQ(image.setHeader(stray, 8), RESULT_BAD_PARAM);  // not inside the buffer
    unsigned char* header = nullptr;
    int length = 0;
    EXPECT_EQ(image.getHeader(&header), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.getHeader(nullptr), RESULT_BAD_PARAM);
    EXPECT_EQ(image.getHeaderLength(nullptr), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(base + 4, 12), RESULT_OK);
    EXPECT_EQ(image.getHeader(&header), RESULT_OK);
    EXPECT_EQ(header, base + 4);
    EXPECT_EQ(image.getHeaderLength(&length), RESULT_OK);
    EXPECT_EQ(length, 12);
}

TEST(ImgProcAccessor, DeadEndsGiveTheirFixedAnswers)
{
    CImgProc image;
    char name[] = "frame.pgm";
    EXPECT_EQ(image.setFromFile(name, 9), RESULT_FAIL);
    EXPECT_EQ(image.isFeatureImplemented(KORVA_FEATURE_FILE_LOAD), 0);
    EXPECT_EQ(image.enable_logging(true), 0);
    EXPECT_EQ(image.setFilter(static_cast<KORVA_ImageFilter>(1), nullptr, 9, 3, 3), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.setScale(static_cast<KORVA_Scale>(3)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.GetDataAverage(0, 0, 0, 10, 10, nullptr, nullptr), 128.0);
}

TEST(ImgProcFeature, TreeHoldsTheFileLoadFeature)
{
    CImgProc image;
    IKVFeature* root = image.mpRootFeature;
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(image.getRootFeature(), root);
    int count = 0;
    root->countElements(count);
    EXPECT_EQ(image.getFeatureCount(), count);

    EXPECT_TRUE(image.validate_feature(root));
    EXPECT_TRUE(image.refresh_feature(root, nullptr));
    EXPECT_EQ(image.process_feature(root), RESULT_NOT_SUPPORTED);
    IKVValue* value = nullptr;
    ASSERT_EQ(root->getValue(&value), RESULT_OK);
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value->getName(), "File name.");
    EXPECT_STREQ(value->getDescription(), "");
    EXPECT_STREQ(root->getName(), "Load a image from file.");

    IKVFeature other(static_cast<KORVA_FeatureId>(481), "other");
    EXPECT_FALSE(image.validate_feature(&other));
    EXPECT_FALSE(image.refresh_feature(&other, &image));
}

TEST(ImgProcFeature, DeletionWalksEveryLink)
{
    CImgProc image;
    image.DeleteFeatureTree(nullptr);
    image.DeleteValue(nullptr);
    // A tree with every kind of link; leak checking proves that nothing stays.
    auto* top = new IKVFeature(KORVA_FEATURE_FILE_LOAD, "top");
    auto* sub = new IKVFeature(KORVA_FEATURE_FILE_LOAD, "sub");
    auto* next = new IKVFeature(KORVA_FEATURE_FILE_LOAD, "next");
    auto* value = new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "v", "");
    value->setNext(new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "n", ""));
    value->setParameterList(new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "p", ""));
    value->setListValue(new IKVValue(KORVA_VALUE_FILE_NAME, KORVA_TYPE_STRING, KORVA_VALUETYPE_PLAIN, "l", ""));
    sub->setValue(value);
    top->setSub(sub);
    top->setNext(next);
    image.DeleteFeatureTree(top);
}

}  // namespace
