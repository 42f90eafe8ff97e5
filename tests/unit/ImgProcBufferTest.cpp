// The image object: its accessors, buffer kinds and ownership, feature tree.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "IKVFeature.h"
#include "IKVValue.h"
#include "ImgProc.h"

namespace {

TEST(ImgProcAccessor, UnsetValuesAndSizeWords)
{
    CImgProc image;
    KORVA_ImageStatus state = KORVA_IMAGESTATE_TRUNCATED;
    EXPECT_EQ(image.getState(&state), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(state, KORVA_IMAGESTATE_TRUNCATED);
    int a = 5, b = 6;
    EXPECT_EQ(image.getTimeStamp(&a, &b), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(a, 5);
    EXPECT_EQ(image.getCameraIndex(&a), RESULT_OK);
    EXPECT_EQ(a, -1);
    EXPECT_EQ(image.getCameraIndex(nullptr), RESULT_BAD_PARAM);
    unsigned char* p = nullptr;
    EXPECT_EQ(image.get(&p), RESULT_ERROR);
    EXPECT_STREQ(static_cast<const char*>(image.msModuleName), "img_proc.dll ");
    image.setState(static_cast<KORVA_ImageStatus>(77));
    EXPECT_EQ(image.getState(&state), RESULT_OK);
    EXPECT_EQ(state, 77);
    image.setState(KORVA_IMAGESTATE_NOT_SET);
    EXPECT_EQ(image.getState(&state), RESULT_NOT_SUPPORTED);

    // One unset word of the number counts as unset.
    const struct {
        int first, second, result, out_first, out_second;
    } numbers[] = {{5, -1, RESULT_FAIL, -1, -1}, {-1, 5, RESULT_FAIL, -1, -1}, {-2, 7, RESULT_OK, -2, 7}};
    for (const auto& c : numbers) {
        image.setNumber(c.first, c.second);
        EXPECT_EQ(image.getNumber(&a, &b), c.result);
        EXPECT_EQ(a * 100 + b, c.out_first * 100 + c.out_second) << c.first << " " << c.second;
    }

    KORVA_ImageInformation information;
    for (int i = 0; i < 128; ++i)
        information.aInformation[i] = static_cast<unsigned char>(255 - i);
    for (int size : {0, 131, 133, -132}) {
        information.iSize = size;
        EXPECT_EQ(image.setStateInformation(information), RESULT_BAD_PARAM) << size;
    }
    information.iSize = KORVA_STATE_INFO_SIZE;
    KORVA_ImageInformation back{};
    back.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ(image.getStateInformation(&back), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.setStateInformation(information), RESULT_OK);
    for (int size : {0, 128, 133}) {
        back.iSize = size;
        EXPECT_EQ(image.getStateInformation(&back), RESULT_BAD_PARAM) << size;
    }
    back.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ(image.getStateInformation(&back), RESULT_OK);
    EXPECT_EQ(std::memcmp(back.aInformation, information.aInformation, 128), 0);
}

TEST(ImgProcAccessor, SizeKeepsTheOriginAndHeaderLiesInTheBuffer)
{
    CImgProc image;
    image.setSize(100, 80);
    ASSERT_TRUE(image.mMemDst.SetROI(10, 20, 30, 40));
    EXPECT_EQ(image.setSize(64, 48), RESULT_OK);
    for (CMemoryAccess* view : {&image.mMemSrc, &image.mMemDst})
        EXPECT_EQ(view->miWidth * 1000 + view->miRoiHeight, 64048);
    EXPECT_EQ(image.mMemDst.miRoiLeft * 100 + image.mMemDst.miRoiTop, 1020);

    unsigned char stray[8];
    EXPECT_EQ(image.setHeader(nullptr, 0), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(nullptr, 8), RESULT_BAD_PARAM);
    EXPECT_EQ(image.setHeader(stray, 8), RESULT_ERROR);  // no buffer yet
    ASSERT_EQ(image.allocateBuffer(64), RESULT_OK);
    unsigned char* base = image.mMemSrc.mpBasePointer;
    EXPECT_EQ(image.setHeader(stray, 8), RESULT_BAD_PARAM);  // not inside the buffer
    unsigned char* header = nullptr;
    int length = 0;
    EXPECT_EQ(image.getHeader(&header), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.setHeader(base + 4, 12), RESULT_OK);
    EXPECT_EQ(image.getHeader(&header), RESULT_OK);
    EXPECT_EQ(header, base + 4);
    EXPECT_EQ(image.getHeaderLength(&length), RESULT_OK);
    EXPECT_EQ(length, 12);
}

enum Start { kInternalEmpty, kInternalOwn, kExternal, kSystem };
enum Buffer { kNone, kOwn, kForeign, kKept };

struct Transition {
    const char* name;
    Start start;
    int (*operation)(CImgProc&, unsigned char* foreign);
    int result;
    int32_t kind;
    Buffer buffer;
};

#define OP(expr) [](CImgProc& i, unsigned char* f) { (void)f; return expr; }
const int32_t INT = KORVA_BUFFER_INTERNAL, EXT = KORVA_BUFFER_EXTERNAL, SYS = KORVA_BUFFER_SYSTEM;

const Transition kTransitions[] = {
    {"internal alloc", kInternalEmpty, OP(i.allocateBuffer(24)), RESULT_OK, INT, kOwn},
    {"internal realloc", kInternalOwn, OP(i.allocateBuffer(40)), RESULT_OK, INT, kOwn},
    {"internal same length", kInternalOwn, OP(i.allocateBuffer(32)), RESULT_OK, INT, kKept},
    {"internal free", kInternalOwn, OP(i.freeBuffer()), RESULT_OK, INT, kNone},
    {"internal setBuffer", kInternalOwn, OP(i.setBuffer(f, 8)), RESULT_OK, EXT, kForeign},
    {"internal setSystemBuffer", kInternalOwn, OP(i.setSystemBuffer(f, 8)), RESULT_OK, SYS, kForeign},
    {"internal use(false)", kInternalOwn, OP(i.useExternalBuffer(false)), RESULT_OK, INT, kNone},
    {"external setBuffer", kExternal, OP(i.setBuffer(f + 4, 8)), RESULT_OK, EXT, kForeign},
    {"external setSystemBuffer", kExternal, OP(i.setSystemBuffer(f + 4, 8)), RESULT_OK, SYS, kForeign},
    {"external back to internal", kExternal, OP(i.setBuffer(nullptr, 0)), RESULT_OK, INT, kNone},
    {"system back to internal", kSystem, OP(i.setSystemBuffer(nullptr, 0)), RESULT_OK, INT, kNone},
    {"external free", kExternal, OP(i.freeBuffer()), RESULT_OK, EXT, kNone},
    {"external use(true)", kExternal, OP(i.useExternalBuffer(true)), RESULT_OK, EXT, kKept},
    {"external use(false)", kExternal, OP(i.useExternalBuffer(false)), RESULT_OK, EXT, kKept},
    {"external alloc", kExternal, OP(i.allocateBuffer(8)), RESULT_ERROR, EXT, kKept},
    {"system alloc", kSystem, OP(i.allocateBuffer(8)), RESULT_ERROR, SYS, kKept},
    {"external alloc 0", kExternal, OP(i.allocateBuffer(0)), RESULT_ERROR, EXT, kKept},
    {"internal alloc 0", kInternalOwn, OP(i.allocateBuffer(0)), RESULT_BAD_PARAM, INT, kKept},
    {"system setBuffer", kSystem, OP(i.setBuffer(f + 4, 8)), RESULT_OK, EXT, kForeign},
    {"system free", kSystem, OP(i.freeBuffer()), RESULT_OK, SYS, kNone},
    {"system use(true)", kSystem, OP(i.useExternalBuffer(true)), RESULT_OK, EXT, kKept},
    {"system use(false)", kSystem, OP(i.useExternalBuffer(false)), RESULT_OK, INT, kNone},
    {"one-sided setBuffer", kInternalOwn, OP(i.setBuffer(f, 0)), RESULT_BAD_PARAM, INT, kKept},
    {"one-sided setSystemBuffer", kExternal, OP(i.setSystemBuffer(nullptr, 5)), RESULT_BAD_PARAM, EXT, kKept},
};
#undef OP

TEST(ImgProcBuffer, StateMachine)
{
    for (const Transition& t : kTransitions) {
        SCOPED_TRACE(t.name);
        unsigned char foreign[64] = {};
        auto image = std::make_unique<CImgProc>();
        if (t.start == kInternalOwn)
            image->allocateBuffer(32);
        else if (t.start == kExternal)
            image->setBuffer(foreign, 16);
        else if (t.start == kSystem)
            image->setSystemBuffer(foreign, 16);
        unsigned char* before = image->mMemSrc.mpBasePointer;
        const int32_t length_before = image->mMemSrc.miBufferLength;
        EXPECT_EQ(t.operation(*image, foreign), t.result);
        EXPECT_EQ(image->miBufferType, t.kind);
        unsigned char* after = image->mMemSrc.mpBasePointer;
        const bool inForeign = after >= foreign && after < foreign + sizeof foreign;
        const bool kept = after == before && image->mMemSrc.miBufferLength == length_before;
        EXPECT_TRUE(t.buffer != kNone || (after == nullptr && image->mMemSrc.miBufferLength == 0));
        EXPECT_TRUE(t.buffer != kOwn || (after != nullptr && !inForeign));
        EXPECT_TRUE(t.buffer != kForeign || inForeign);
        EXPECT_TRUE(t.buffer != kKept || kept);
    }
}

TEST(ImgProcBuffer, AbandonedBufferMessageAndReports)
{
    auto image = std::make_unique<CImgProc>();
    ASSERT_EQ(image->allocateBuffer(16), RESULT_OK);
    unsigned char* own = image->mMemSrc.mpBasePointer;
    ASSERT_EQ(image->setChunkOfData(KORVA_CHUNK_IMAGE, own, 16, 0, 16), RESULT_OK);
    own[-1] = 1;  // the guard zone around an own buffer is ours to touch
    own[16 + 4095] = 2;
    testing::internal::CaptureStdout();
    EXPECT_EQ(image->allocateBuffer(-1), RESULT_ERROR);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("KORVA CImgProc::allocateBuffer throw an exception for size -1, ptr 0x", 0), 0u) << out;
    EXPECT_EQ(out.find("reason bad alloc\n"), out.size() - 17);
    EXPECT_EQ(image->mMemSrc.mpBasePointer, nullptr);
    unsigned char* p = own;
    EXPECT_EQ(image->get(&p), RESULT_ERROR);  // a new buffer forgets the image chunk
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(image->getBuffer(&p), RESULT_ERROR);
    EXPECT_EQ(image->isExternBuffer(nullptr), RESULT_BAD_PARAM);

    // Length announcements are refused only for the external kind.
    ASSERT_EQ(image->allocateBuffer(32), RESULT_OK);
    own = image->mMemSrc.mpBasePointer;
    EXPECT_EQ(image->useExternalBuffer(true), RESULT_OK);
    EXPECT_EQ(image->setMaxBufferLength(100), RESULT_ERROR);
    EXPECT_EQ(image->getExternalBuffer(&p), RESULT_OK);
    EXPECT_EQ(p, own);
    unsigned char foreign[8];
    EXPECT_EQ(image->setSystemBuffer(foreign, 8), RESULT_OK);
    EXPECT_EQ(image->setMaxBufferLength(100), RESULT_OK);
    EXPECT_EQ(image->setMinBufferLength(-5), RESULT_OK);
    int maximum = 0, minimum = 0, current = 0;
    EXPECT_EQ(image->getBufferLength(&maximum, nullptr, &current), RESULT_BAD_PARAM);
    EXPECT_EQ(image->getBufferLength(&maximum, &minimum, &current), RESULT_OK);
    EXPECT_EQ(maximum * 10000 + minimum * 100 + current, 100 * 10000 - 500 + 8);
    image.reset();
    own[31] = 2;  // abandoned, still ours after the object is gone
    KvReleaseGuarded(own);
}

TEST(ImgProcFeature, TreeHoldsTheFileLoadFeature)
{
    CImgProc image;
    IKVFeature* root = image.getRootFeature();
    ASSERT_NE(root, nullptr);
    int count = 0;
    root->countElements(count);
    EXPECT_EQ(image.getFeatureCount(), count);
    EXPECT_TRUE(image.validate_feature(root));
    EXPECT_TRUE(image.refresh_feature(root, nullptr));
    EXPECT_EQ(image.process_feature(root), RESULT_NOT_SUPPORTED);
    IKVValue* value = nullptr;
    ASSERT_EQ(root->getValue(&value), RESULT_OK);
    EXPECT_STREQ(value->getName(), "File name.");
    EXPECT_EQ(value->getId() * 100 + value->getType() * 10 + value->getValueType(), 100 + KORVA_TYPE_STRING * 10);
    EXPECT_STREQ(root->getName(), "Load a image from file.");
    IKVFeature other(static_cast<KORVA_FeatureId>(481), "other");
    EXPECT_FALSE(image.validate_feature(&other));
    EXPECT_FALSE(image.refresh_feature(&other, &image));
    EXPECT_EQ(image.setFilter(static_cast<KORVA_ImageFilter>(1), nullptr, 9, 3, 3), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image.GetDataAverage(0, 0, 0, 10, 10, nullptr, nullptr), 128.0);
}

}  // namespace
