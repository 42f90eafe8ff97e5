// Lifecycle and plain accessors of the image object.
#include "ImgProc.h"

#include <cstring>

CImgProc::CImgProc()
    : mpRootFeature(nullptr),
      miBufferType(KORVA_BUFFER_INTERNAL),
      mMemSrc(&mPixelFormatMap),
      mMemDst(&mPixelFormatMap),
      miLutSrcFormat(-1),
      miLutDstFormat(-1),
      miNumber1(-1),
      miNumber2(-1),
      miTimeStamp1(-1),
      miTimeStamp2(-1),
      mbTimeStampSet(false),
      miCameraIndex(-1),
      miMaxBufferLength(0),
      miMinBufferLength(0),
      miState(KORVA_IMAGESTATE_NOT_SET),
      miStateInfoSize(0),
      mStateInfo{},
      mbSpareFlag(true),
      mpLUT{},
      mLutShape{},
      mdBalanceRed(1.0),
      mdBalanceGreen(1.0),
      mdBalanceBlue(1.0),
      mdLutGain{1.0, 1.0, 1.0}
{
    pthread_mutex_init(&mMutexSpare, nullptr);
    pthread_mutex_init(&mTransformMutex, nullptr);

    createFeatureTree();
    msModuleName.Format("%s ", "img_proc.dll");

    CImgProcConv* converters[] = {&mConvCopy, &mConvDemosaic, &mConvFilter, &mConvScale,
                                  &mConvMono, &mConvRGB,      &mConvRGBPlanar, &mConvYUV};
    for (CImgProcConv* conv : converters) {
        conv->mpImgProc = this;
        conv->mpMemSrc = &mMemSrc;
        conv->mpMemDst = &mMemDst;
    }
    mConvFilter.SetParameter(static_cast<KORVA_ImageFilter>(1), nullptr, 0, 0, 0);
    mConvScale.SetParameter(static_cast<KORVA_Scale>(3));

    // Entries above a source's largest value are never built, yet samples
    // are never masked, so an out-of-range word indexes them. Zeroing them
    // once makes that output the same on every object and every run instead
    // of whatever the allocator left.
    std::memset(mLutData, 0, sizeof(mLutData));
    for (int c = 0; c < 3; ++c)
        mpLUT[c] = mLutData[c];

    BuildPixelFormatCatalogue();
}

CImgProc::~CImgProc()
{
    pthread_mutex_lock(&mTransformMutex);
    freeBufferinternal();
    pthread_mutex_unlock(&mTransformMutex);

    DeleteFeatureTree(mpRootFeature);
    mpRootFeature = nullptr;

    pthread_mutex_destroy(&mTransformMutex);
    pthread_mutex_destroy(&mMutexSpare);
}

int CImgProc::isFeatureImplemented(KORVA_FeatureId)
{
    return 0;
}

int CImgProc::enable_logging(bool)
{
    return 0;
}

int CImgProc::setFromFile(char*, int)
{
    return RESULT_FAIL;
}

int CImgProc::get(unsigned char** image)
{
    *image = mMemSrc.GetImagePointer(0, 0, 0);
    return *image ? RESULT_OK : RESULT_ERROR;
}

int CImgProc::getSize(int* width, int* height)
{
    *width = mMemSrc.miWidth;
    *height = mMemSrc.miHeight;
    return RESULT_OK;
}

int CImgProc::setSize(int width, int height)
{
    // Both views take the whole frame as their region; the region's origin
    // stays where it was.
    for (CMemoryAccess* view : {&mMemSrc, &mMemDst}) {
        view->miWidth = width;
        view->miRoiWidth = width;
        view->miHeight = height;
        view->miRoiHeight = height;
    }
    return RESULT_OK;
}

int CImgProc::getBpp(int* bits)
{
    *bits = static_cast<int>((mMemSrc.miPixelFormat >> KORVA_PIX_EFFECTIVE_PIXEL_SIZE_SHIFT) & 0xFF);
    return RESULT_OK;
}

int CImgProc::getBppEff(int* bits)
{
    *bits = mMemSrc.miBppEff;
    return RESULT_OK;
}

int CImgProc::getPixelFormat(int* format)
{
    *format = static_cast<int>(mMemSrc.miPixelFormat);
    return RESULT_OK;
}

int CImgProc::getDataOffset(int* offset)
{
    *offset = mMemSrc.miDataOffset;
    return RESULT_OK;
}

int CImgProc::setDataOffset(int offset)
{
    mMemSrc.miDataOffset = offset;
    return RESULT_OK;
}

int CImgProc::setNumber(int first, int second)
{
    miNumber1 = first;
    miNumber2 = second;
    return RESULT_OK;
}

int CImgProc::getNumber(int* first, int* second)
{
    // -1 in either word means that no number was set.
    if (miNumber1 == -1 || miNumber2 == -1) {
        *first = -1;
        *second = -1;
        return RESULT_FAIL;
    }
    *first = miNumber1;
    *second = miNumber2;
    return RESULT_OK;
}

int CImgProc::getTimeStamp(int* first, int* second)
{
    if (!mbTimeStampSet)
        return RESULT_NOT_SUPPORTED;
    *first = miTimeStamp1;
    *second = miTimeStamp2;
    return RESULT_OK;
}

int CImgProc::setTimeStamp(int first, int second)
{
    miTimeStamp1 = first;
    miTimeStamp2 = second;
    mbTimeStampSet = true;
    return RESULT_OK;
}

int CImgProc::setHeader(unsigned char* data, int length)
{
    if ((length > 0 && data == nullptr) || (length <= 0 && data != nullptr))
        return RESULT_BAD_PARAM;
    return mMemSrc.setChunkOfData(KORVA_CHUNK_HEADER, data, length, 0, length);
}

int CImgProc::getHeader(unsigned char** data)
{
    if (data == nullptr)
        return RESULT_BAD_PARAM;
    int length = 0;
    return mMemSrc.getChunkOfData(KORVA_CHUNK_HEADER, data, &length);
}

int CImgProc::getHeaderLength(int* length)
{
    if (length == nullptr)
        return RESULT_BAD_PARAM;
    unsigned char* data = nullptr;
    return mMemSrc.getChunkOfData(KORVA_CHUNK_HEADER, &data, length);
}

int CImgProc::getCameraIndex(int* index)
{
    if (index == nullptr)
        return RESULT_BAD_PARAM;
    *index = miCameraIndex;
    return RESULT_OK;
}

int CImgProc::setCameraIndex(int index)
{
    miCameraIndex = index;
    return RESULT_OK;
}

int CImgProc::getChunkOfData(KORVA_ChunkId id, unsigned char** data, int* length)
{
    return mMemSrc.getChunkOfData(id, data, length);
}

int CImgProc::setChunkOfData(KORVA_ChunkId id, unsigned char* data, int length, int dataOffset, int dataLength)
{
    return mMemSrc.setChunkOfData(id, data, length, dataOffset, dataLength);
}

void CImgProc::freeChunkOfData()
{
    mMemSrc.freeChunkOfData();
}

int CImgProc::getState(KORVA_ImageStatus* state)
{
    if (miState == KORVA_IMAGESTATE_NOT_SET)
        return RESULT_NOT_SUPPORTED;
    *state = miState;
    return RESULT_OK;
}

int CImgProc::setState(KORVA_ImageStatus state)
{
    miState = state;
    return RESULT_OK;
}

int CImgProc::getStateInformation(KORVA_ImageInformation* information)
{
    if (miStateInfoSize == 0)
        return RESULT_NOT_SUPPORTED;
    if (miStateInfoSize != information->iSize)
        return RESULT_BAD_PARAM;
    std::memcpy(information->aInformation, mStateInfo, sizeof(mStateInfo));
    return RESULT_OK;
}

int CImgProc::setStateInformation(KORVA_ImageInformation information)
{
    if (information.iSize != KORVA_STATE_INFO_SIZE)
        return RESULT_BAD_PARAM;
    if (miStateInfoSize == 0)
        miStateInfoSize = KORVA_STATE_INFO_SIZE;
    std::memcpy(mStateInfo, information.aInformation, sizeof(mStateInfo));
    return RESULT_OK;
}

double CImgProc::GetDataAverage(int, int, int, int, int, double*, double*)
{
    return 128.0;
}
