// Buffer kinds and ownership of the image object.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ImgProc.h"

namespace {

enum Start { kInternalEmpty, kInternalOwn, kExternal, kSystem };

struct Transition {
    const char* name;
    Start start;
    int (*operation)(CImgProc&, unsigned char* foreign);
    int result;
    int32_t kind;
    enum { kNone, kOwn, kForeign, kKept } buffer;
};

unsigned char* Prepare(CImgProc& image, Start start, unsigned char* foreign)
{
    switch (start) {
    case kInternalEmpty:
        break;
    case kInternalOwn:
        image.allocateBuffer(32);
        break;
    case kExternal:
        image.setBuffer(foreign, 16);
        break;
    case kSystem:
        image.setSystemBuffer(foreign, 16);
        break;
    }
    return image.mMemSrc.mpBasePointer;
}

const Transition kTransitions[] = {
    {"internal alloc", kInternalEmpty, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(24); }, RESULT_OK,
     KORVA_BUFFER_INTERNAL, Transition::kOwn},
    {"internal realloc", kInternalOwn, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(40); }, RESULT_OK,
     KORVA_BUFFER_INTERNAL, Transition::kOwn},
    {"internal same length", kInternalOwn, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(32); },
     RESULT_OK, KORVA_BUFFER_INTERNAL, Transition::kKept},
    {"internal free", kInternalOwn, [](CImgProc& i, unsigned char*) { return i.freeBuffer(); }, RESULT_OK,
     KORVA_BUFFER_INTERNAL, Transition::kNone},
    {"internal setBuffer", kInternalOwn, [](CImgProc& i, unsigned char* f) { return i.setBuffer(f, 8); }, RESULT_OK,
     KORVA_BUFFER_EXTERNAL, Transition::kForeign},
    {"internal setSystemBuffer", kInternalOwn, [](CImgProc& i, unsigned char* f) { return i.setSystemBuffer(f, 8); },
     RESULT_OK, KORVA_BUFFER_SYSTEM, Transition::kForeign},
    {"internal use(false)", kInternalOwn, [](CImgProc& i, unsigned char*) { return i.useExternalBuffer(false); },
     RESULT_OK, KORVA_BUFFER_INTERNAL, Transition::kNone},
    {"external setBuffer", kExternal, [](CImgProc& i, unsigned char* f) { return i.setBuffer(f + 4, 8); }, RESULT_OK,
     KORVA_BUFFER_EXTERNAL, Transition::kForeign},
    {"external setSystemBuffer", kExternal, [](CImgProc& i, unsigned char* f) { return i.setSystemBuffer(f + 4, 8); },
     RESULT_OK, KORVA_BUFFER_SYSTEM, Transition::kForeign},
    {"external back to internal", kExternal, [](CImgProc& i, unsigned char*) { return i.setBuffer(nullptr, 0); },
     RESULT_OK, KORVA_BUFFER_INTERNAL, Transition::kNone},
    {"system back to internal", kSystem, [](CImgProc& i, unsigned char*) { return i.setSystemBuffer(nullptr, 0); },
     RESULT_OK, KORVA_BUFFER_INTERNAL, Transition::kNone},
    {"external free", kExternal, [](CImgProc& i, unsigned char*) { return i.freeBuffer(); }, RESULT_OK,
     KORVA_BUFFER_EXTERNAL, Transition::kNone},
    {"external use(true)", kExternal, [](CImgProc& i, unsigned char*) { return i.useExternalBuffer(true); },
     RESULT_OK, KORVA_BUFFER_EXTERNAL, Transition::kKept},
    {"external use(false)", kExternal, [](CImgProc& i, unsigned char*) { return i.useExternalBuffer(false); },
     RESULT_OK, KORVA_BUFFER_EXTERNAL, Transition::kKept},
    {"external alloc", kExternal, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(8); }, RESULT_ERROR,
     KORVA_BUFFER_EXTERNAL, Transition::kKept},
    {"system alloc", kSystem, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(8); }, RESULT_ERROR,
     KORVA_BUFFER_SYSTEM, Transition::kKept},
    {"external alloc 0", kExternal, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(0); }, RESULT_ERROR,
     KORVA_BUFFER_EXTERNAL, Transition::kKept},
    {"internal alloc 0", kInternalOwn, [](CImgProc& i, unsigned char*) { return i.allocateBuffer(0); },
     RESULT_BAD_PARAM, KORVA_BUFFER_INTERNAL, Transition::kKept},
    {"system setBuffer", kSystem, [](CImgProc& i, unsigned char* f) { return i.setBuffer(f + 4, 8); }, RESULT_OK,
     KORVA_BUFFER_EXTERNAL, Transition::kForeign},
    {"system free", kSystem, [](CImgProc& i, unsigned char*) { return i.freeBuffer(); }, RESULT_OK,
     KORVA_BUFFER_SYSTEM, Transition::kNone},
    {"system use(true)", kSystem, [](CImgProc& i, unsigned char*) { return i.useExternalBuffer(true); }, RESULT_OK,
     KORVA_BUFFER_EXTERNAL, Transition::kKept},
    {"system use(false)", kSystem, [](CImgProc& i, unsigned char*) { return i.useExternalBuffer(false); },
     RESULT_OK, KORVA_BUFFER_INTERNAL, Transition::kNone},
    {"one-sided setBuffer", kInternalOwn, [](CImgProc& i, unsigned char* f) { return i.setBuffer(f, 0); },
     RESULT_BAD_PARAM, KORVA_BUFFER_INTERNAL, Transition::kKept},
    {"one-sided setSystemBuffer", kExternal,
     [](CImgProc& i, unsigned char*) { return i.setSystemBuffer(nullptr, 5); }, RESULT_BAD_PARAM,
     KORVA_BUFFER_EXTERNAL, Transition::kKept},
};

TEST(ImgProcBuffer, StateMachine)
{
    for (const Transition& t : kTransitions) {
        SCOPED_TRACE(t.name);
        unsigned char foreign[64] = {};
        auto image = std::make_unique<CImgProc>();
        unsigned char* before = Prepare(*image, t.start, foreign);
        const int32_t length_before = image->mMemSrc.miBufferLength;
        EXPECT_EQ(t.operation(*image, foreign), t.result);
        EXPECT_EQ(image->miBufferType, t.kind);
        unsigned char* after = image->mMemSrc.mpBasePointer;
        switch (t.buffer) {
        case Transition::kNone:
            EXPECT_EQ(after, nullptr);
            EXPECT_EQ(image->mMemSrc.miBufferLength, 0);
            break;
        case Transition::kOwn:
            EXPECT_NE(after, nullptr);
            EXPECT_TRUE(after < foreign || after >= foreign + sizeof foreign);
            break;
        case Transition::kForeign:
            EXPECT_TRUE(after >= foreign && after < foreign + sizeof foreign);
            break;
        case Transition::kKept:
            EXPECT_EQ(after, before);
            EXPECT_EQ(image->mMemSrc.miBufferLength, length_before);
            break;
        }
    }
}

TEST(ImgProcBuffer, UseExternalAbandonsTheOwnBuffer)
{
    auto image = std::make_unique<CImgProc>();
    ASSERT_EQ(image->allocateBuffer(32), RESULT_OK);
    unsigned char* own = image->mMemSrc.mpBasePointer;
    EXPECT_EQ(image->useExternalBuffer(true), RESULT_OK);
    unsigned char* seen = nullptr;
    EXPECT_EQ(image->getExternalBuffer(&seen), RESULT_OK);
    EXPECT_EQ(seen, own);
    image.reset();
    // Still ours to use after the object is gone.
    own[0] = 1;
    own[31] = 2;
    KvReleaseGuarded(own);
}

TEST(ImgProcBuffer, NegativeSizeFailsWithTheMessageAndNoBuffer)
{
    CImgProc image;
    ASSERT_EQ(image.allocateBuffer(16), RESULT_OK);
    testing::internal::CaptureStdout();
    EXPECT_EQ(image.allocateBuffer(-1), RESULT_ERROR);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("KORVA CImgProc::allocateBuffer throw an exception for size -1, ptr 0x", 0), 0u) << out;
    EXPECT_EQ(out.find("reason bad alloc\n"), out.size() - 17);
    EXPECT_EQ(image.mMemSrc.mpBasePointer, nullptr);
    EXPECT_EQ(image.miBufferType, KORVA_BUFFER_INTERNAL);
}

TEST(ImgProcBuffer, ReportingOperations)
{
    CImgProc image;
    unsigned char* p = reinterpret_cast<unsigned char*>(&image);
    EXPECT_EQ(image.getBuffer(&p), RESULT_ERROR);
    EXPECT_EQ(p, nullptr);
    p = reinterpret_cast<unsigned char*>(&image);
    EXPECT_EQ(image.getExternalBuffer(&p), RESULT_ERROR);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(image.isExternBuffer(nullptr), RESULT_BAD_PARAM);
    EXPECT_EQ(image.freeBuffer(), RESULT_OK);

    // External kind without a buffer: reported as external, null.
    EXPECT_EQ(image.useExternalBuffer(true), RESULT_OK);
    p = reinterpret_cast<unsigned char*>(&image);
    EXPECT_EQ(image.getExternalBuffer(&p), RESULT_OK);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(image.getBuffer(&p), RESULT_ERROR);

    // Length announcements are refused only for the external kind.
    EXPECT_EQ(image.setMaxBufferLength(100), RESULT_ERROR);
    EXPECT_EQ(image.setMinBufferLength(100), RESULT_ERROR);
    unsigned char foreign[8];
    EXPECT_EQ(image.setSystemBuffer(foreign, 8), RESULT_OK);
    EXPECT_EQ(image.setMaxBufferLength(100), RESULT_OK);
    EXPECT_EQ(image.setMinBufferLength(-5), RESULT_OK);
    int maximum = 0, minimum = 0, current = 0;
    EXPECT_EQ(image.getBufferLength(&maximum, nullptr, &current), RESULT_BAD_PARAM);
    EXPECT_EQ(maximum, 0);
    EXPECT_EQ(image.getBufferLength(&maximum, &minimum, &current), RESULT_OK);
    EXPECT_EQ(maximum, 100);
    EXPECT_EQ(minimum, -5);
    EXPECT_EQ(current, 8);
}

TEST(ImgProcBuffer, NewBufferForgetsTheImageChunk)
{
    CImgProc image;
    ASSERT_EQ(image.allocateBuffer(16), RESULT_OK);
    unsigned char* base = image.mMemSrc.mpBasePointer;
    ASSERT_EQ(image.setChunkOfData(KORVA_CHUNK_IMAGE, base, 16, 0, 16), RESULT_OK);
    unsigned char* pixels = nullptr;
    EXPECT_EQ(image.get(&pixels), RESULT_OK);
    EXPECT_EQ(pixels, base);
    // The same length keeps buffer and chunks.
    EXPECT_EQ(image.allocateBuffer(16), RESULT_OK);
    EXPECT_EQ(image.get(&pixels), RESULT_OK);
    ASSERT_EQ(image.allocateBuffer(20), RESULT_OK);
    EXPECT_EQ(image.get(&pixels), RESULT_ERROR);
    EXPECT_EQ(pixels, nullptr);
    EXPECT_EQ(image.getBuffer(&pixels), RESULT_OK);
}

TEST(ImgProcBuffer, GuardZoneKeepsNeighbouringBytesOwned)
{
    // Converters may touch a sample just outside an image; the object's own
    // buffers give them room on both sides while showing only the bytes asked for.
    CImgProc image;
    ASSERT_EQ(image.allocateBuffer(10), RESULT_OK);
    unsigned char* base = image.mMemSrc.mpBasePointer;
    int maximum, minimum, current;
    image.getBufferLength(&maximum, &minimum, &current);
    EXPECT_EQ(current, 10);
    base[-1] = 1;
    base[10] = 2;
    base[10 + 4095] = 3;
    EXPECT_EQ(base[-1] + base[10] + base[10 + 4095], 6);
}

}  // namespace
