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

enum : int {
    kProcessFeature = 2,
    kRefreshFeature = 3,
    kValidateFeature = 4,
    kIsFeatureImplemented = 5,
    kEnableLogging = 6,
    kUseExternalBuffer = 7,
    kAllocateBuffer = 8,
    kFreeBuffer = 9,
    kIsExternBuffer = 10,
    kGet = 11,
    kGetBuffer = 12,
    kGetExternalBuffer = 13,
    kSetBuffer = 14,
    kSetSystemBuffer = 15,
    kSetFromFile = 16,
    kGetBufferLength = 17,
    kSetMaxBufferLength = 18,
    kSetMinBufferLength = 19,
    kGetImageLength = 20,
    kGetSize = 21,
    kSetSize = 22,
    kGetBpp = 23,
    kGetBppEff = 24,
    kGetPixelFormat = 25,
    kSetPixelFormat = 26,
    kGetDataOffset = 27,
    kSetDataOffset = 28,
    kSetNumber = 29,
    kGetNumber = 30,
    kGetTimeStamp = 31,
    kSetTimeStamp = 32,
    kSetHeader = 33,
    kGetHeader = 34,
    kGetHeaderLength = 35,
    kGetCameraIndex = 36,
    kSetCameraIndex = 37,
    kDoTransformImageObject = 38,
    kResetTransformSettings = 39,
    kGetChunkOfData = 40,
    kSetChunkOfData = 41,
    kFreeChunkOfData = 42,
    kGetState = 43,
    kSetState = 44,
    kGetStateInformation = 45,
    kSetStateInformation = 46,
    kGetTransformBufferLength = 47,
    kDoTransform = 48,
    kSetDestinationPixelFormat = 49,
    kGetDestinationPixelFormat = 50,
    kSetDestinationRange = 51,
    kGetDestinationRange = 52,
    kDoCopy = 53,
    kSetFilter = 54,
    kGetFilter = 55,
    kSetDemosaic = 56,
    kSetDemosaicColorBalance = 57,
    kGetDemosaic = 59,
    kSetScale = 60,
    kGetScale = 61,
    kGetAverage = 62,
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

TEST_F(PluginAbi, GateOpensOnlyAfterHandshake)
{
    void* manager = reinterpret_cast<void*>(1);
    EXPECT_EQ(plugin.object(&manager), RESULT_OK);
    EXPECT_EQ(manager, nullptr);

    // A failed handshake leaves the gate closed.
    char* null_text = nullptr;
    EXPECT_EQ(plugin.version(nullptr, 6), RESULT_BAD_PARAM);
    EXPECT_EQ(plugin.version(&null_text, 6), RESULT_BAD_PARAM);
    EXPECT_EQ(plugin.object(&manager), RESULT_OK);
    EXPECT_EQ(manager, nullptr);

    char text[6];
    char* p = text;
    EXPECT_EQ(plugin.version(&p, sizeof text), RESULT_OK);
    EXPECT_EQ(plugin.object(&manager), RESULT_OK);
    ASSERT_NE(manager, nullptr);
    void* again = nullptr;
    plugin.object(&again);
    EXPECT_EQ(again, manager);
}

TEST_F(PluginAbi, HandshakeCutsAndTerminatesTheVersion)
{
    const struct {
        int size;
        const char* expected;
    } cases[] = {{64, "1.7.0"}, {6, "1.7.0"}, {5, "1.7."}, {3, "1."}, {2, "1"}, {1, ""}};
    for (const auto& c : cases) {
        std::vector<char> buffer(70, 'x');
        char* p = buffer.data() + 1;
        ASSERT_EQ(plugin.version(&p, c.size), RESULT_OK) << c.size;
        EXPECT_STREQ(p, c.expected) << c.size;
        EXPECT_EQ(buffer[0], 'x') << c.size;
        // Nothing is written behind the cut.
        if (c.size < 6) {
            EXPECT_EQ(buffer[1 + c.size], 'x') << c.size;
        }
    }
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
    // The second object is still alive and still in the list.
    EXPECT_EQ((Slot<int, int*, int*>(second, kGetNumber, &a, &b)), RESULT_FAIL);
    EXPECT_EQ(manager->destroy(second), RESULT_OK);
    EXPECT_EQ(manager->destroy(second), RESULT_BAD_PARAM);
}

TEST_F(PluginAbi, SlotsOfTheFeatureAndBufferOperations)
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

    // An own buffer with a header and an image chunk.
    ASSERT_EQ((Slot<int, int>(image, kAllocateBuffer, 48)), RESULT_OK);
    unsigned char* buffer = nullptr;
    ASSERT_EQ((Slot<int, unsigned char**>(image, kGetBuffer, &buffer)), RESULT_OK);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ((Slot<int, int>(image, kSetMaxBufferLength, 4096)), RESULT_OK);
    EXPECT_EQ((Slot<int, int>(image, kSetMinBufferLength, 16)), RESULT_OK);
    int maximum = 0, minimum = 0, current = 0;
    EXPECT_EQ((Slot<int, int*, int*, int*>(image, kGetBufferLength, &maximum, &minimum, &current)), RESULT_OK);
    EXPECT_EQ(maximum, 4096);
    EXPECT_EQ(minimum, 16);
    EXPECT_EQ(current, 48);

    unsigned char* pixels = nullptr;
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &pixels)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetHeader, buffer, 8)), RESULT_OK);
    EXPECT_EQ((Slot<int, KORVA_ChunkId, unsigned char*, int, int, int>(image, kSetChunkOfData, KORVA_CHUNK_IMAGE,
                                                                         buffer + 8, 40, 0, 40)),
              RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &pixels)), RESULT_OK);
    EXPECT_EQ(pixels, buffer + 8);
    unsigned char* header = nullptr;
    int length = 0;
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetHeader, &header)), RESULT_OK);
    EXPECT_EQ(header, buffer);
    EXPECT_EQ((Slot<int, int*>(image, kGetHeaderLength, &length)), RESULT_OK);
    EXPECT_EQ(length, 8);
    unsigned char* chunk = nullptr;
    EXPECT_EQ((Slot<int, KORVA_ChunkId, unsigned char**, int*>(image, kGetChunkOfData, KORVA_CHUNK_IMAGE, &chunk,
                                                                &length)),
              RESULT_OK);
    EXPECT_EQ(chunk, buffer + 8);
    EXPECT_EQ(length, 40);
    Slot<void>(image, kFreeChunkOfData);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGet, &pixels)), RESULT_ERROR);

    // Kinds of buffer.
    bool external = true;
    EXPECT_EQ((Slot<int, bool*>(image, kIsExternBuffer, &external)), RESULT_OK);
    EXPECT_FALSE(external);
    unsigned char foreign[32] = {};
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetSystemBuffer, foreign, 32)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetExternalBuffer, &chunk)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(image, kSetBuffer, foreign, 32)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetExternalBuffer, &chunk)), RESULT_OK);
    EXPECT_EQ(chunk, foreign);
    EXPECT_EQ((Slot<int, bool>(image, kUseExternalBuffer, false)), RESULT_OK);
    EXPECT_EQ((Slot<int, bool*>(image, kIsExternBuffer, &external)), RESULT_OK);
    EXPECT_TRUE(external);
    EXPECT_EQ((Slot<int>(image, kFreeBuffer)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char**>(image, kGetBuffer, &chunk)), RESULT_ERROR);

    EXPECT_EQ(manager->destroy(image), RESULT_OK);
}

TEST_F(PluginAbi, SlotsOfTheFrameDescription)
{
    IKVImgManager* manager = plugin.Manager();
    ASSERT_NE(manager, nullptr);
    IKVImage* image = nullptr;
    ASSERT_EQ(manager->create(&image), RESULT_OK);

    int a = 0, b = 0;
    EXPECT_EQ((Slot<int, int, int>(image, kSetSize, 640, 480)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*, int*>(image, kGetSize, &a, &b)), RESULT_OK);
    EXPECT_EQ(a, 640);
    EXPECT_EQ(b, 480);
    EXPECT_EQ((Slot<int, int>(image, kSetDataOffset, 12)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*>(image, kGetDataOffset, &a)), RESULT_OK);
    EXPECT_EQ(a, 12);
    EXPECT_EQ((Slot<int, int, int>(image, kSetNumber, 7, 8)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*, int*>(image, kGetNumber, &a, &b)), RESULT_OK);
    EXPECT_EQ(a, 7);
    EXPECT_EQ(b, 8);
    EXPECT_EQ((Slot<int, int*, int*>(image, kGetTimeStamp, &a, &b)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ((Slot<int, int, int>(image, kSetTimeStamp, 9, 10)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*, int*>(image, kGetTimeStamp, &a, &b)), RESULT_OK);
    EXPECT_EQ(a, 9);
    EXPECT_EQ(b, 10);
    EXPECT_EQ((Slot<int, int>(image, kSetCameraIndex, 3)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*>(image, kGetCameraIndex, &a)), RESULT_OK);
    EXPECT_EQ(a, 3);

    KORVA_ImageStatus state = KORVA_IMAGESTATE_OK;
    EXPECT_EQ((Slot<int, KORVA_ImageStatus*>(image, kGetState, &state)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ((Slot<int, KORVA_ImageStatus>(image, kSetState, KORVA_IMAGESTATE_TRUNCATED)), RESULT_OK);
    EXPECT_EQ((Slot<int, KORVA_ImageStatus*>(image, kGetState, &state)), RESULT_OK);
    EXPECT_EQ(state, KORVA_IMAGESTATE_TRUNCATED);

    // The 132-byte record travels by value.
    KORVA_ImageInformation information;
    information.iSize = KORVA_STATE_INFO_SIZE;
    for (int i = 0; i < 128; ++i)
        information.aInformation[i] = static_cast<unsigned char>(i * 3 + 1);
    EXPECT_EQ((Slot<int, KORVA_ImageInformation>(image, kSetStateInformation, information)), RESULT_OK);
    KORVA_ImageInformation back;
    std::memset(&back, 0, sizeof back);
    back.iSize = KORVA_STATE_INFO_SIZE;
    EXPECT_EQ((Slot<int, KORVA_ImageInformation*>(image, kGetStateInformation, &back)), RESULT_OK);
    EXPECT_EQ(std::memcmp(back.aInformation, information.aInformation, 128), 0);
    information.iSize = 131;
    EXPECT_EQ((Slot<int, KORVA_ImageInformation>(image, kSetStateInformation, information)), RESULT_BAD_PARAM);

    // Dead ends at the end of the table.
    int matrix[9] = {};
    EXPECT_EQ((Slot<int, KORVA_ImageFilter, int*, int, int, int>(image, kSetFilter, static_cast<KORVA_ImageFilter>(1),
                                                                  matrix, 9, 3, 3)),
              RESULT_NOT_SUPPORTED);
    EXPECT_EQ((Slot<int, KORVA_Scale>(image, kSetScale, static_cast<KORVA_Scale>(3))), RESULT_NOT_SUPPORTED);
    KORVA_FeatureState flags = {8, false, true, true, false};
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeListINT*, void*, void*>(image, kGetFilter, &flags, nullptr,
                                                                                  nullptr, nullptr)),
              RESULT_NOT_SUPPORTED);
    EXPECT_TRUE(flags.stateFlag1 && !flags.stateFlag2 && !flags.stateFlag3 && flags.stateFlag4);
    flags = {8, false, true, true, false};
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeListINT*>(image, kGetScale, &flags, nullptr)),
              RESULT_NOT_SUPPORTED);
    EXPECT_TRUE(flags.stateFlag1 && !flags.stateFlag2 && !flags.stateFlag3 && flags.stateFlag4);

    EXPECT_EQ(manager->destroy(image), RESULT_OK);
}

TEST_F(PluginAbi, SlotsOfFormatsAndTransforms)
{
    IKVImgManager* manager = plugin.Manager();
    ASSERT_NE(manager, nullptr);
    IKVImage* source = nullptr;
    IKVImage* target = nullptr;
    ASSERT_EQ(manager->create(&source), RESULT_OK);
    ASSERT_EQ(manager->create(&target), RESULT_OK);

    const int mono12 = KORVA_PIXTYPE_MONO12;
    int value = 0;
    EXPECT_EQ((Slot<int, int, int>(source, kSetSize, 4, 2)), RESULT_OK);
    EXPECT_EQ((Slot<int, int>(source, kSetPixelFormat, mono12)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*>(source, kGetPixelFormat, &value)), RESULT_OK);
    EXPECT_EQ(value, mono12);
    EXPECT_EQ((Slot<int, int*>(source, kGetBpp, &value)), RESULT_OK);
    EXPECT_EQ(value, 16);
    EXPECT_EQ((Slot<int, int*>(source, kGetBppEff, &value)), RESULT_OK);
    EXPECT_EQ(value, 12);
    EXPECT_EQ((Slot<int, int*>(source, kGetImageLength, &value)), RESULT_OK);
    EXPECT_EQ(value, 16);

    EXPECT_EQ((Slot<int, int>(source, kSetDestinationPixelFormat, 0)), RESULT_BAD_PARAM);
    EXPECT_EQ((Slot<int, int>(source, kSetDestinationPixelFormat, KORVA_PIXTYPE_MONO8)), RESULT_OK);
    EXPECT_EQ((Slot<int, int*>(source, kGetTransformBufferLength, &value)), RESULT_OK);
    EXPECT_EQ(value, 8);
    KORVA_FeatureState flags = {8, false, false, true, false};
    KORVAX_TypeListINT list;
    std::memset(&list, 0, sizeof list);
    EXPECT_EQ((Slot<int, int, KORVA_FeatureState*, KORVAX_TypeListINT*>(source, kGetDestinationPixelFormat, mono12,
                                                                         &flags, &list)),
              RESULT_OK);
    EXPECT_EQ(list.iCount, 3);
    EXPECT_EQ(list.iCurrent, 1);
    EXPECT_EQ(list.aValues[1], KORVA_PIXTYPE_MONO8);

    EXPECT_EQ((Slot<int, int, int, int, int>(source, kSetDestinationRange, 0, 0, 0, 2)), RESULT_FAIL);
    EXPECT_EQ((Slot<int, int, int, int, int>(source, kSetDestinationRange, 1, 0, 4, 2)), RESULT_OK);
    KORVAX_TypeROI range;
    std::memset(&range, 0, sizeof range);
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeROI*>(source, kGetDestinationRange, &flags, &range)),
              RESULT_OK);
    EXPECT_EQ(range.iLeft * 1000 + range.iRight * 100 + range.iWidth * 10 + range.iHeight, 1442);

    EXPECT_EQ((Slot<int, KORVA_Demosaic>(source, kSetDemosaic, KORVA_DEMOSAIC_HQ_BILINEAR)), RESULT_BAD_PARAM);
    EXPECT_EQ((Slot<int, KORVA_Demosaic>(source, kSetDemosaic, KORVA_DEMOSAIC_MONO)), RESULT_OK);
    std::memset(&list, 0, sizeof list);
    EXPECT_EQ((Slot<int, KORVA_FeatureState*, KORVAX_TypeListINT*>(source, kGetDemosaic, &flags, &list)), RESULT_OK);
    EXPECT_EQ(list.iCount, 4);
    EXPECT_EQ(list.iCurrent, 2);
    EXPECT_EQ((Slot<int, double, double, double>(source, kSetDemosaicColorBalance, 1.5, 1.0, 2.0)), RESULT_OK);
    EXPECT_EQ((Slot<int, double*, int, int, int, int>(source, kGetAverage, nullptr, 0, 0, 4, 2)), RESULT_BAD_PARAM);
    double average = -1.0;
    EXPECT_EQ((Slot<int, double*, int, int, int, int>(source, kGetAverage, &average, 0, 0, 4, 2)), RESULT_FAIL);
    EXPECT_EQ(average, -1.0);  // a region too small to measure

    unsigned char out[16];
    EXPECT_EQ((Slot<int, unsigned char*, int>(source, kDoTransform, out, 7)), RESULT_ERROR);
    EXPECT_EQ((Slot<int, unsigned char*, int>(source, kDoCopy, out, 15)), RESULT_ERROR);
    EXPECT_EQ((Slot<int>(source, kResetTransformSettings)), RESULT_OK);
    EXPECT_EQ((Slot<int, unsigned char*, int>(source, kDoTransform, out, 16)), RESULT_FAIL);

    // A frame without a buffer cannot be carried over verbatim.
    EXPECT_EQ((Slot<int, IKVImage*>(source, kDoTransformImageObject, nullptr)), RESULT_BAD_PARAM);
    EXPECT_EQ((Slot<int, IKVImage*>(source, kDoTransformImageObject, target)), RESULT_BAD_PARAM);

    EXPECT_EQ(manager->destroy(source), RESULT_OK);
    EXPECT_EQ(manager->destroy(target), RESULT_OK);
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
