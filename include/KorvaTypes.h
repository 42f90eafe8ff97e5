// Records, enumerations and result codes shared by the host library and the
// image-processing plug-in. These cross the boundary between two separately
// built libraries, so every offset and size is pinned below.
#ifndef KORVA_TYPES_H
#define KORVA_TYPES_H

#include <cstddef>
#include <cstdint>

// Result codes of every operation of IKVImage, IKVImgManager and the entry points.
#define RESULT_OK 1
#define RESULT_FAIL 0
#define RESULT_ERROR (-1)
#define RESULT_BAD_PARAM (-2)
#define RESULT_NOT_SUPPORTED (-3)

// Type tag written into the host's typed records.
#define KORVA_TYPE_TAG 481

// Size word of KORVA_ImageInformation.
#define KORVA_STATE_INFO_SIZE 132

enum KORVA_FeatureId : int32_t {
    KORVA_FEATURE_FILE_LOAD = 480,
};

enum KORVA_ValueId : int32_t {
    KORVA_VALUE_FILE_NAME = 1,
};

enum KORVA_Type : int32_t {
    KORVA_TYPE_STRING = 4,
};

enum KORVA_ValueType : int32_t {
    KORVA_VALUETYPE_PLAIN = 0,
};

// Chunk ids are map keys; the host may use any other value.
enum KORVA_ChunkId : uint32_t {
    KORVA_CHUNK_IMAGE = 1,
    KORVA_CHUNK_HEADER = 2,
};

// Status of a frame. Values other than these travel through unchanged.
enum KORVA_ImageStatus : int32_t {
    KORVA_IMAGESTATE_NOT_SET = -1,
    KORVA_IMAGESTATE_OK = 0,
    KORVA_IMAGESTATE_TRUNCATED = 4,
    KORVA_IMAGESTATE_CONVERT_FAILED = 5,
};

enum KORVA_BufferType : int32_t {
    KORVA_BUFFER_INTERNAL = 0,
    KORVA_BUFFER_EXTERNAL = 1,
    KORVA_BUFFER_SYSTEM = 2,
};

enum KORVA_Demosaic : int32_t {
    KORVA_DEMOSAIC_NONE = 0,
    KORVA_DEMOSAIC_NEAREST = 1,
    KORVA_DEMOSAIC_BILINEAR = 2,
    KORVA_DEMOSAIC_HQ_BILINEAR = 3,
    KORVA_DEMOSAIC_RESERVED_100 = 100,
    KORVA_DEMOSAIC_RESERVED_101 = 101,
    KORVA_DEMOSAIC_MONO = 102,
};

// Only the numbers of these two are known on this side of the boundary.
enum KORVA_ImageFilter : int32_t {
    KORVA_FILTER_NONE = 0,
};

enum KORVA_Scale : int32_t {
    KORVA_SCALE_NONE = 0,
};

struct KORVA_FeatureState {
    int32_t iSize;
    bool stateFlag1;
    bool stateFlag2;
    bool stateFlag3;
    bool stateFlag4;
};

struct KORVAX_TypeListINT {
    int32_t iSize;
    int32_t iType;
    int32_t iCurrent;
    int32_t iCount;
    int32_t aValues[32];
};

struct KORVAX_TypeROI {
    int32_t iSize;
    int32_t iType;
    int32_t iLeft;
    int32_t iTop;
    int32_t iRight;
    int32_t iBottom;
    int32_t aFixed[6];
    int32_t iWidth;
    int32_t iHeight;
};

struct KORVA_ImageInformation {
    int32_t iSize;
    unsigned char aInformation[128];
};

// Passed through getFilter's signature only; never read or written here.
struct KORVAX_TypeMatrixINT;
struct KORVAX_TypeINT;

static_assert(sizeof(KORVA_FeatureState) == 8, "KORVA_FeatureState size");
static_assert(offsetof(KORVA_FeatureState, iSize) == 0, "KORVA_FeatureState.iSize");
static_assert(offsetof(KORVA_FeatureState, stateFlag1) == 4, "KORVA_FeatureState.stateFlag1");
static_assert(offsetof(KORVA_FeatureState, stateFlag2) == 5, "KORVA_FeatureState.stateFlag2");
static_assert(offsetof(KORVA_FeatureState, stateFlag3) == 6, "KORVA_FeatureState.stateFlag3");
static_assert(offsetof(KORVA_FeatureState, stateFlag4) == 7, "KORVA_FeatureState.stateFlag4");

static_assert(sizeof(KORVAX_TypeListINT) == 144, "KORVAX_TypeListINT size");
static_assert(offsetof(KORVAX_TypeListINT, iSize) == 0, "KORVAX_TypeListINT.iSize");
static_assert(offsetof(KORVAX_TypeListINT, iType) == 4, "KORVAX_TypeListINT.iType");
static_assert(offsetof(KORVAX_TypeListINT, iCurrent) == 8, "KORVAX_TypeListINT.iCurrent");
static_assert(offsetof(KORVAX_TypeListINT, iCount) == 12, "KORVAX_TypeListINT.iCount");
static_assert(offsetof(KORVAX_TypeListINT, aValues) == 16, "KORVAX_TypeListINT.aValues");

static_assert(sizeof(KORVAX_TypeROI) == 56, "KORVAX_TypeROI size");
static_assert(offsetof(KORVAX_TypeROI, iSize) == 0, "KORVAX_TypeROI.iSize");
static_assert(offsetof(KORVAX_TypeROI, iType) == 4, "KORVAX_TypeROI.iType");
static_assert(offsetof(KORVAX_TypeROI, iLeft) == 8, "KORVAX_TypeROI.iLeft");
static_assert(offsetof(KORVAX_TypeROI, iTop) == 12, "KORVAX_TypeROI.iTop");
static_assert(offsetof(KORVAX_TypeROI, iRight) == 16, "KORVAX_TypeROI.iRight");
static_assert(offsetof(KORVAX_TypeROI, iBottom) == 20, "KORVAX_TypeROI.iBottom");
static_assert(offsetof(KORVAX_TypeROI, aFixed) == 24, "KORVAX_TypeROI.aFixed");
static_assert(offsetof(KORVAX_TypeROI, iWidth) == 48, "KORVAX_TypeROI.iWidth");
static_assert(offsetof(KORVAX_TypeROI, iHeight) == 52, "KORVAX_TypeROI.iHeight");

static_assert(sizeof(KORVA_ImageInformation) == KORVA_STATE_INFO_SIZE, "KORVA_ImageInformation size");
static_assert(offsetof(KORVA_ImageInformation, iSize) == 0, "KORVA_ImageInformation.iSize");
static_assert(offsetof(KORVA_ImageInformation, aInformation) == 4, "KORVA_ImageInformation.aInformation");

static_assert(sizeof(KORVA_FeatureId) == 4 && sizeof(KORVA_ChunkId) == 4 && sizeof(KORVA_ImageStatus) == 4 &&
                  sizeof(KORVA_Demosaic) == 4 && sizeof(KORVA_ImageFilter) == 4 && sizeof(KORVA_Scale) == 4,
              "boundary enumerations are 32-bit");

#endif
