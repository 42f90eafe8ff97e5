// The plug-in as the host sees it: loaded with dlopen, reached through its
// two exported symbols only, and its image objects called by their slot
// index in the raw virtual table. Any reordering or missing entry of the
// image interface makes these tests fail.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "IKVBasicAPI.h"
#include "IKVFeature.h"
#include "IKVImgManager.h"
#include "ImgProcPlugin.h"
#include "KorvaPixelFormats.h"
#include "KorvaTypes.h"

namespace {

struct Plugin {
    void* handle = nullptr;
    PFN_DllGetKORVAPluginAPIVersion version = nullptr;
    PFN_DllGetImgObject object = nullptr;

    Plugin()
    {
        handle = dlopen(IMGPROC_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr)
            return;
        version = reinterpret_cast<PFN_DllGetKORVAPluginAPIVersion>(dlsym(handle, "DllGetKORVAPluginAPIVersion"));
        object = reinterpret_cast<PFN_DllGetImgObject>(dlsym(handle, "DllGetImgObject"));
    }
    ~Plugin() { Close(); }
    void Close()
    {
        if (handle != nullptr)
            dlclose(handle);
        handle = nullptr;
    }

    IKVImgManager* Manager()
    {
        char text[8];
        char* p = text;
        if (version(&p, sizeof text) != RESULT_OK)
            return nullptr;
        void* manager = nullptr;
        object(&manager);
        return static_cast<IKVImgManager*>(manager);
    }
};

// Calls slot `index` of the object's virtual table as a member function
// with the given argument types.
template <typename R, typename... A>
R Slot(void* object, int index, A... args)
{
    using Fn = R (*)(void*, A...);
    void** table = *static_cast<void***>(object);
    return reinterpret_cast<Fn>(table[index])(object, args...);
}

// Slot indices of the image interface, in the host's order.
enum : int {
    kProcessFeature = 2, kRefreshFeature, kValidateFeature, kIsFeatureImplemented, kEnableLogging, kUseExternalBuffer,
    kAllocateBuffer, kFreeBuffer, kIsExternBuffer, kGet, kGetBuffer, kGetExternalBuffer, kSetBuffer, kSetSystemBuffer,
    kSetFromFile, kGetBufferLength, kSetMaxBufferLength, kSetMinBufferLength, kGetImageLength, kGetSize, kSetSize,
    kGetBpp, kGetBppEff, kGetPixelFormat, kSetPixelFormat, kGetDataOffset, kSetDataOffset, kSetNumber, kGetNumber,
    kGetTimeStamp, kSetTimeStamp, kSetHeader, kGetHeader, kGetHeaderLength, kGetCameraIndex, kSetCameraIndex,
    kDoTransformImageObject, kResetTransformSettings, kGetChunkOfData, kSetChunkOfData, kFreeChunkOfData, kGetState,
    kSetState, kGetStateInformation, kSetStateInformation, kGetTransformBufferLength, kDoTransform,
    kSetDestinationPixelFormat, kGetDestinationPixelFormat, kSetDestinationRange, kGetDestinationRange, kDoCopy,
    kSetFilter, kGetFilter, kSetDemosaic, kSetDemosaicColorBalance, kGetDemosaic = 59, kSetScale, kGetScale,
    kGetAverage,
};

class PluginAbi : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_NE(plugin.handle, nullptr) << dlerror();
        ASSERT_NE(plugin.version, nullptr);
        ASSERT_NE(plugin.object, nullptr);
    }
    Plugin plugin;
};

static_assert(kDoCopy == 53 && kSetDemosaicColorBalance == 57 && kGetAverage == 62, "slot numbering");

TEST_F(PluginAbi, HandshakeOpensTheGateAndCutsTheVersion)
{
    void* manager = reinterpret_cast<void*>(1);
    char* null_text = nullptr;
    EXPECT_EQ(plugin.version(nullptr, 6), RESULT_BAD_PARAM);
    EXPECT_EQ(plugin.version(&null_text, 6), RESULT_BAD_PARAM);
    EXPECT_EQ(plugin.object(&manager), RESULT_OK);
    EXPECT_EQ(manager, nullptr);  // a failed handshake leaves the gate closed
    const struct {
        int size;
        const char* expected;
    } cases[] = {{64, "1.7.0"}, {6, "1.7.0"}, {5, "1.7."}, {2, "1"}, {1, ""}};
    for (const auto& c : cases) {
        std::vector<char> buffer(70, 'x');
        char* p = buffer.data() + 1;
        ASSERT_EQ(plugin.version(&p, c.size), RESULT_OK) << c.size;
        EXPECT_STREQ(p, c.expected) << c.size;
        EXPECT_EQ(buffer[0], 'x') << c.size;
        EXPECT_TRUE(c.size >= 6 || buffer[1 + c.size] == 'x') << c.size;  // nothing behind the cut
    }
    EXPECT_EQ(plugin.object(&manager), RESULT_OK);
    ASSERT_NE(manager, nullptr);
    void* again = nullptr;
    plugin.object(&again);
    EXPECT_EQ(again, manager);
}

TEST_F(PluginAbi, ManagerCreatesIndependentObjectsAndRefusesStrangers)
{
    IKVImgManager* manager = plugin.Manager();
    ASSERT_NE(manager, nullptr);
    IKVImage* first = nullptr;
    IKVImage* second = nullptr;
    ASSERT_EQ(manager->create(&first), RESULT_OK);
    ASSERT_EQ(manager->create(&second), RESULT_OK);
    ASSERT_NE(first, second);
    EXPECT_EQ((Slot<int, int, int>(first, kSetNumber, 1, 2)), RESULT_OK);
    int a = 0, b = 0;
    EXPECT_EQ((Slot<int, int*, int*>(second, kGetNumber, &a, &b)), RESULT_FAIL);
    EXPECT_EQ(manager->destroy(nullptr), RESULT_BAD_PARAM);
    EXPECT_EQ(manager->destroy(reinterpret_cast<IKVImage*>(&a)), RESULT_BAD_PARAM);
    EXPECT_EQ(manager->destroy(first), RESULT_OK);
    EXPECT_EQ(manager->destroy(first), RESULT_BAD_PARAM);
    EXPECT_EQ(manager->destroy(second), RESULT_OK);
}

// Every slot once, with an answer that tells it apart from its neighbours.
TEST_F(PluginAbi, EverySlotAnswersInItsPlace)
{
    IKVImgManager* manager = plugin.Manager();
    ASSERT_NE(manager, nullptr);
    IKVImage* image = nullptr;
    ASSERT_EQ(manager->create(&image), RESULT_OK);

    IKVFeature* root = reinterpret_cast<IKVBasicAPI*>(image)->getRootFeature();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ((Slot<int, IKVFeature*>(image, kProcessFeature, root)), RESULT_NOT_SUPPORTED);
    EXPECT_TRUE((Slot<bool, IKVFeature*, void*>(image, kRefreshFeature, root, nullptr)));
    EXPECT_TRUE((Slot<bool, IKVFeature*>(image, kValidateFeature, root)));
    EXPECT_EQ((Slot<int, KORVA_FeatureId>(image, kIsFeatureImplemented, KORVA_FEATURE_FILE_LOAD)), 0);
    EXPECT_EQ((Slot<int, bool>(image, kEnableLogging, true)), 0);
    char name[] = "frame.raw";
    EXPECT_EQ((Slot<int, char*, int>(image, kSetFromFile, name, 9)), RESULT_FAIL);

    // Buffers, header and chunks.
    ASSERT_EQ((Slot<int, int>(image, kAllocateBuffer, 48)), RESULT_OK);
    unsigned char* buffer = nullptr;
    ASSERT_EQ((Slot<int, unsigned char**>(image, kGetBuffer, &buffer)), RESULT_OK);
    Slot<int, int>(image, kSetMaxBufferLength, 4096);
    Slot<int, int>(image, kSetMinBufferLength, 16);
    int maximum = 0, minimum = 0, current = 0;
    Slot<int, int*, int*, int*>(image, kGetBufferLength, &maximum, &minimum, &current);
    EXPECT_EQ(maximum * 10000 + minimum * 100 + current, 4096 * 10000 + 16 * 100 + 48);
    unsigned char* p = nullptr;
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &p)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetHeader, buffer, 8)), RESULT_OK);
    EXPECT_EQ((Slot<int, KORVA_ChunkId, unsigned char*, int, int, int>(image, kSetChunkOfData, KORVA_CHUNK_IMAGE,
                                                                         buffer + 8, 40, 0, 40)),
              RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &p)), RESULT_OK);
    EXPECT_EQ(p, buffer + 8);
    int length = 0, chunk = 0;
    Slot<int, unsigned char**>(image, kGetHeader, &p);
    EXPECT_EQ(p, buffer);
    Slot<int, int*>(image, kGetHeaderLength, &length);
    Slot<int, KORVA_ChunkId, unsigned char**, int*>(image, kGetChunkOfData, KORVA_CHUNK_IMAGE, &p, &chunk);
    EXPECT_EQ(length * 100 + chunk, 840);
    Slot<void>(image, kFreeChunkOfData);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &p)), RESULT_ERROR);
    bool external = true;
    EXPECT_EQ((Slot<int, bool*>(image, kIsExternBuffer, &external)), RESULT_OK);
    EXPECT_FALSE(external);
    unsigned char foreign[32] = {};
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetSystemBuffer, foreign, 32)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetExternalBuffer, &p)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetBuffer, foreign, 32)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetExternalBuffer, &p)), RESULT_OK);
    EXPECT_EQ(p, foreign);
    EXPECT_EQ((Slot<int, bool>(image, kUseExternalBuffer, false)), RESULT_OK);
    EXPECT_EQ((Slot<int, bool*>(image, kIsExternBuffer, &external)), RESULT_OK);
    EXPECT_TRUE(external);
    EXPECT_EQ((Slot<int>(image, kFreeBuffer)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetBuffer, &p)), RESULT_ERROR);

    // The frame's description.
    int a = 0, b = 0;
    Slot<int, int>(image, kSetDataOffset, 12);
    Slot<int, int*>(image, kGetDataOffset, &a);
    EXPECT_EQ(a, 12);
    Slot<int, int, int>(image, kSetNumber, 7, 8);
    Slot<int, int*, int*>(image, kGetNumber, &a, &b);
    EXPECT_EQ(a * 10 + b, 78);
    EXPECT_EQ((Slot<int, int*, int*>(image, kGetTimeStamp, &a, &b)), RESULT_NOT_SUPPORTED);
    Slot<int, int, int>(image, kSetTimeStamp, 9, 10);
    Slot<int, int*, int*>(image, kGetTimeStamp, &a, &b);
    EXPECT_EQ(a * 100 + b, 910);
    Slot<int, int>(image, kSetCameraIndex, 3);
    Slot<int, int*>(image, kGetCameraIndex, &a);
    EXPECT_EQ(a, 3);
    KORVA_ImageStatus state = KORVA_IMAGESTATE_OK;
    EXPECT_EQ((Slot<int, KORVA_ImageStatus*>(image, kGetState, &state)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ((Slot<int, KORVA_ImageStatus>(image, kSetState, KORVA_IMAGESTATE_TRUNCATED)), RESULT_OK);
    EXPECT_EQ((Slot<int, KORVA_ImageStatus*>(image, kGetState, &state)), RESULT_OK);
    EXPECT_EQ(state, KORVA_IMAGESTATE_TRUNCATED);
    KORVA_ImageInformation information;  // 132 bytes, by value
    information.iSize = KORVA_STATE_INFO_SIZE;
    for (int i = 0; i < 128; ++i)
        information.aInformation[i] = static_cast<unsigned char>(i * 3 + 1);
    EXPECT_EQ((Slot<int, KORVA_ImageInformation>(image, kSetStateInformation, information)), RESULT_OK);
    KORVA_ImageInformation back;
    std::memset(&back, 0, sizeof back);
    back.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ((Slot<int, KORVA_ImageInformation*>(image, kGetStateInformation, &back)), RESULT_OK);
    EXPECT_EQ(std::memcmp(back.aInformation, information.aInformation, 128), 0);

    // Formats, sizes and the transforms.
    const int mono12 = KORVA_PIXTYPE_MONO12;
    int value = 0;
    Slot<int, int, int>(image, kSetSize, 4, 2);
    Slot<int, int*, int*>(image, kGetSize, &a, &b);
    EXPECT_EQ(a * 10 + b, 42);
    Slot<int, int>(image, kSetPixelFormat, mono12);
    Slot<int, int*>(image, kGetPixelFormat, &value);
    EXPECT_EQ(value, mono12);
    Slot<int, int*>(image, kGetBpp, &a);
    Slot<int, int*>(image, kGetBppEff, &b);
    Slot<int, int*>(image, kGetImageLength, &value);
    EXPECT_EQ(a * 10000 + b * 100 + value, 161216);
    EXPECT_EQ((Slot<int, int>(image, kSetDestinationPixelFormat, 0)), RESULT_BAD_PARAM);
    EXPECT_EQ((Slot<int, int>(image, kSetDestinationPixelFormat, KORVA_PIXTYPE_MONO8)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*>(image, kGetTransformBufferLength, &value)), RESULT_OK);
    EXPECT_EQ(value, 8);
    KORVA_FeatureState flags = {8, false, false, true, false};
    KORVAX_TypeListINT list;
    std::memset(&list, 0, sizeof list);
    EXPECT_EQ((Slot<int, int, KORVA_FeatureState*, KORVAX_TypeListINT*>(image, kGetDestinationPixelFormat, mono12,
                                                                         &flags, &list)),
              RESULT_OK);
    EXPECT_EQ(list.iCount * 100 + list.iCurrent * 10, 310);
    EXPECT_EQ((Slot<int, int, int, int, int>(image, kSetDestinationRange, 0, 0, 0, 2)), RESULT_FAIL);
    EXPECT_EQ((Slot<int, int, int, int, int>(image, kSetDestinationRange, 1, 0, 4, 2)), RESULT_OK);
    KORVAX_TypeROI range;
    std::memset(&range, 0, sizeof range);
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeROI*>(image, kGetDestinationRange, &flags, &range)),
              RESULT_OK);
    EXPECT_EQ(range.iLeft * 1000 + range.iRight * 100 + range.iWidth * 10 + range.iHeight, 1442);
    EXPECT_EQ((Slot<int, KORVA_Demosaic>(image, kSetDemosaic, KORVA_DEMOSAIC_HQ_BILINEAR)), RESULT_BAD_PARAM);
    EXPECT_EQ((Slot<int, KORVA_Demosaic>(image, kSetDemosaic, KORVA_DEMOSAIC_MONO)), RESULT_OK);
    std::memset(&list, 0, sizeof list);
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeListINT*>(image, kGetDemosaic, &flags, &list)), RESULT_OK);
    EXPECT_EQ(list.iCount * 10 + list.iCurrent, 42);
    EXPECT_EQ((Slot<int, double, double, double>(image, kSetDemosaicColorBalance, 1.5, 1.0, 2.0)), RESULT_OK);
    EXPECT_EQ((Slot<int, double*, int, int, int, int>(image, kGetAverage, nullptr, 0, 0, 4, 2)), RESULT_BAD_PARAM);
    unsigned char out[16];
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kDoTransform, out, 7)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kDoCopy, out, 15)), RESULT_ERROR);
    EXPECT_EQ((Slot<int>(image, kResetTransformSettings)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kDoTransform, out, 16)), RESULT_FAIL);
    EXPECT_EQ((Slot<int, IKVImage*>(image, kDoTransformImageObject, nullptr)), RESULT_BAD_PARAM);

    // Dead ends at the end of the table; the flags are still written.
    int matrix[9] = {};
    EXPECT_EQ((Slot<int, KORVA_ImageFilter, int*, int, int, int>(image, kSetFilter, static_cast<KORVA_ImageFilter>(1),
                                                                  matrix, 9, 3, 3)),
              RESULT_NOT_SUPPORTED);
    EXPECT_EQ((Slot<int, KORVA_Scale>(image, kSetScale, static_cast<KORVA_Scale>(3))), RESULT_NOT_SUPPORTED);
    for (int slot : {int(kGetFilter), int(kGetScale)}) {
        flags = {8, false, true, true, false};
        EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeListINT*, void*, void*>(image, slot, &flags, nullptr,
                                                                                      nullptr, nullptr)),
                  RESULT_NOT_SUPPORTED);
        EXPECT_TRUE(flags.stateFlag1 && !flags.stateFlag2 && !flags.stateFlag3 && flags.stateFlag4) << slot;
    }
    EXPECT_EQ(manager->destroy(image), RESULT_OK);
}

}  // namespace

namespace {

void RecordDeletion(IKVFeature* feature, void* context)
{
    static_cast<std::vector<IKVFeature*>*>(context)->push_back(feature);
}

// Images that the host forgets are destroyed when the library goes away,
// in order of creation, once each; not merely at process exit.
TEST(PluginUnload, DestroysForgottenImagesInCreationOrder)
{
    Plugin plugin;
    ASSERT_NE(plugin.handle, nullptr) << dlerror();
    IKVImgManager* manager = plugin.Manager();
    ASSERT_NE(manager, nullptr);
    std::vector<IKVFeature*> roots;
    IKVImage* destroyed_early = nullptr;
    for (int i = 0; i < 4; ++i) {
        IKVImage* image = nullptr;
        ASSERT_EQ(manager->create(&image), RESULT_OK);
        if (i == 1)
            destroyed_early = image;
        else
            roots.push_back(reinterpret_cast<IKVBasicAPI*>(image)->getRootFeature());
    }
    ASSERT_EQ(manager->destroy(destroyed_early), RESULT_OK);

    std::vector<IKVFeature*> deleted;
    IKVFeature::SetDeleteObserver(RecordDeletion, &deleted);
    plugin.Close();
    IKVFeature::SetDeleteObserver(nullptr, nullptr);
    EXPECT_EQ(deleted, roots);
}

}  // namespace
