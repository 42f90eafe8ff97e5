// Transform driver of the image object: carries the frame through the one
// converter that the catalogue names for its source format, into another
// image object (with chunks, number, time stamp and status) or into a bare
// buffer (pixels only).
#include <cstring>

#include "ImgProc.h"
#include "KvMath.h"
#include "TransformLock.h"

namespace {

void SetFeatureFlags(KORVA_FeatureState* state, bool offered)
{
    state->stateFlag1 = true;
    state->stateFlag2 = offered;
    state->stateFlag3 = false;
    state->stateFlag4 = true;
}

// How a transform treats a destination buffer of the external or system
// kind that is too short for the result.
enum ShortBufferRule { kRefuseShortBuffer, kCutToShortBuffer };

struct TargetBuffer {
    unsigned char* address = nullptr;
    int need = 0;
    bool cut = false;  // the need was cut to a short foreign buffer
};

// Finds or makes the destination object's buffer for `need` bytes. Returns
// RESULT_OK with the target filled in, or the code that ends the transform.
int AcquireTarget(CImgProc* destination, ShortBufferRule rule, TargetBuffer& target)
{
    int rc = destination->getBuffer(&target.address);
    if (rc != RESULT_OK && rc != RESULT_ERROR)
        return rc;
    int maximum = 0, minimum = 0, length = 0;
    if (destination->miBufferType != KORVA_BUFFER_INTERNAL) {
        if (target.address == nullptr)
            return RESULT_ERROR;
        rc = destination->getBufferLength(&maximum, &minimum, &length);
        if (rc != RESULT_OK)
            return rc;
        if (target.need > length) {
            if (rule == kRefuseShortBuffer)
                return RESULT_ERROR;
            target.need = length;
            target.cut = true;
        }
        return RESULT_OK;
    }
    if (target.address != nullptr) {
        rc = destination->getBufferLength(&maximum, &minimum, &length);
        if (rc != RESULT_OK)
            return rc;
        // A longer buffer is never shrunk.
        if (target.need <= length)
            return RESULT_OK;
    }
    rc = destination->allocateBuffer(target.need);
    if (rc != RESULT_OK)
        return rc;
    return destination->getBuffer(&target.address);
}

}  // namespace

// The end of both object-to-object paths: the destination's frame is now
// what this object's destination view describes.
static void HandOver(CImgProc& source, CImgProc& destination)
{
    destination.mMemSrc = source.mMemDst;
    destination.mMemDst.miWidth = source.mMemDst.miWidth;
    destination.mMemDst.miHeight = source.mMemDst.miHeight;
    destination.mMemDst.miRoiWidth = source.mMemDst.miRoiWidth;
    destination.mMemDst.miRoiHeight = source.mMemDst.miRoiHeight;
    destination.mMemSrc.CopyChunkDataMap(&source.mMemDst);
    destination.miNumber1 = source.miNumber1;
    destination.miNumber2 = source.miNumber2;
    destination.miTimeStamp1 = source.miTimeStamp1;
    destination.miTimeStamp2 = source.miTimeStamp2;
    destination.mbTimeStampSet = source.mbTimeStampSet;
    destination.miCameraIndex = source.miCameraIndex;
    destination.miState = source.miState;
    destination.miStateInfoSize = source.miStateInfoSize;
    std::memcpy(destination.mStateInfo, source.mStateInfo, sizeof destination.mStateInfo);
    destination.mdBalanceRed = source.mdBalanceRed;
    destination.mdBalanceGreen = source.mdBalanceGreen;
    destination.mdBalanceBlue = source.mdBalanceBlue;
}

int CImgProc::getTransformBufferLength(int* length)
{
    const int size = CalculateImageSize(static_cast<int>(mMemDst.miPixelFormat), mMemDst.miWidth, mMemDst.miHeight);
    if (size == -1) {
        *length = 0;
        return RESULT_FAIL;
    }
    // The source's image data is replaced by the result's; every other chunk,
    // and the image chunk's own overhead, is kept.
    *length = KvSub32(KvAdd32(size, mMemSrc.GetLengthOfAllChunks()), mMemSrc.GetChunkDataLength(KORVA_CHUNK_IMAGE));
    return RESULT_OK;
}

int CImgProc::doTransform(unsigned char* buffer, int length)
{
    TransformLock lock(&mTransformMutex);
    const int size = CalculateImageSize(static_cast<int>(mMemDst.miPixelFormat), mMemDst.miWidth, mMemDst.miHeight);
    if (size <= 0)
        return RESULT_FAIL;
    if (size > length)
        return RESULT_ERROR;
    mMemDst.SetBasePointer(buffer, length);
    mMemDst.setChunkOfData(KORVA_CHUNK_IMAGE, buffer, length, 0, length);
    CImgProcConv* converter = mPixelFormatMap[mMemSrc.miPixelFormat].mpFormatConverter;
    if (converter == nullptr)
        return RESULT_FAIL;
    return converter->Convert() ? RESULT_OK : RESULT_FAIL;
}

int CImgProc::doCopy(unsigned char* buffer, int length)
{
    if (length != mMemDst.miBufferLength)
        return RESULT_ERROR;
    // The new buffer has no image chunk, so the run stops at the converter's
    // own check and the result is RESULT_FAIL; that is the defined outcome.
    mMemDst.SetBasePointer(buffer, length);
    return mConvCopy.CImgProcConv::Convert() ? RESULT_OK : RESULT_FAIL;
}

int CImgProc::doTransformImageObject(IKVImage* destination)
{
    if (destination == nullptr)
        return RESULT_BAD_PARAM;
    // Only image objects of this plug-in can receive a frame.
    CImgProc* target_object = dynamic_cast<CImgProc*>(destination);
    if (target_object == nullptr)
        return RESULT_BAD_PARAM;
    CImgProc& dst = *target_object;

    // Destination first, then this object; released in the same order. A
    // transform of an object into itself blocks here: the host avoids it.
    TransformLock lock(&dst.mTransformMutex, &mTransformMutex);
    return miState != KORVA_IMAGESTATE_OK ? TransformVerbatim(dst) : TransformConverting(dst);
}

int CImgProc::TransformVerbatim(CImgProc& dst)
{
    mMemDst.miPixelFormat = mMemSrc.miPixelFormat;
    int rc = setDestinationPixelFormat(static_cast<int>(mMemSrc.miPixelFormat));
    if (rc != RESULT_OK)
        return rc;
    int maximum = 0, minimum = 0;
    TargetBuffer target;
    rc = getBufferLength(&maximum, &minimum, &target.need);
    if (rc != RESULT_OK)
        return rc;
    rc = AcquireTarget(&dst, kRefuseShortBuffer, target);
    if (rc != RESULT_OK)
        return rc;
    mMemDst.SetBasePointer(target.address, target.need);
    if (!mMemDst.CopyChunkDataMap(&mMemSrc))
        return RESULT_FAIL;
    if (mMemSrc.mpBasePointer != nullptr && mMemSrc.miBufferLength > 0)
        std::memcpy(target.address, mMemSrc.mpBasePointer, static_cast<size_t>(mMemSrc.miBufferLength));
    HandOver(*this, dst);
    return RESULT_OK;
}

int CImgProc::TransformConverting(CImgProc& dst)
{
    int format = static_cast<int>(dst.mMemDst.miPixelFormat);
    mMemDst.miPixelFormat = static_cast<uint32_t>(format);
    if (format == 0) {
        // No wish on the destination: keep the format.
        mMemDst.miPixelFormat = mMemSrc.miPixelFormat;
        format = static_cast<int>(mMemSrc.miPixelFormat);
    }
    int rc = isDestinationPixelFormatSupp(format);
    if (rc != RESULT_NOT_SUPPORTED)
        rc = setDestinationPixelFormat(format);
    if (rc != RESULT_OK) {
        dst.setState(KORVA_IMAGESTATE_CONVERT_FAILED);
        dst.freeBuffer();
        return rc;
    }

    TargetBuffer target;
    rc = getTransformBufferLength(&target.need);
    if (rc != RESULT_OK)
        return rc;
    rc = AcquireTarget(&dst, kCutToShortBuffer, target);
    if (rc != RESULT_OK)
        return rc;
    int pending = RESULT_OK;
    if (target.cut) {
        // The result does not fit: the frame goes over raw, as far as it
        // fits. Only the code falls back; depth and factor of the wished
        // format stay in the view and travel on.
        pending = RESULT_FAIL;
        mMemDst.miPixelFormat = mMemSrc.miPixelFormat;
    }

    mMemDst.SetBasePointer(target.address, target.need);
    // Only `need` bytes are bound, but the converter may touch the whole of
    // the destination's buffer, as the steps say.
    mMemDst.miBoundLength = dst.mMemSrc.miBufferLength;
    if (!mMemDst.CopyChunkDataMap(&mMemSrc))
        return RESULT_FAIL;
    const int32_t image_length =
        KvSub32(KvAdd32(mMemSrc.GetChunkLength(KORVA_CHUNK_IMAGE), target.need), mMemSrc.GetLengthOfAllChunks());
    if (!mMemDst.AdjustChunkDataMap(KORVA_CHUNK_IMAGE, image_length))
        return RESULT_FAIL;

    if (mMemDst.miPixelFormat == mMemSrc.miPixelFormat) {
        CopyImageData();
    } else {
        CImgProcConv* converter = mPixelFormatMap[mMemSrc.miPixelFormat].mpFormatConverter;
        if (converter == nullptr)
            return RESULT_FAIL;
        if (converter->Convert()) {
            pending = RESULT_OK;
        } else {
            // The hand-over still happens, carrying the failure status.
            setState(KORVA_IMAGESTATE_CONVERT_FAILED);
            pending = RESULT_FAIL;
        }
    }

    if (!mMemDst.CopyChunkData(&mMemSrc, KORVA_CHUNK_IMAGE))
        return RESULT_FAIL;
    HandOver(*this, dst);
    return pending;
}

void CImgProc::CopyImageData()
{
    unsigned char* to = mMemDst.GetImagePointer(0, 0, 0);
    unsigned char* from = mMemSrc.GetImagePointer(0, 0, 0);
    const int32_t data_length = mMemSrc.GetChunkDataLength(KORVA_CHUNK_IMAGE);
    int64_t count = data_length < mMemDst.miBufferLength ? data_length : mMemDst.miBufferLength;
    // The count is bounded by the target's whole length, while the image may
    // start behind a header; the copy also stops at the end of either buffer
    // so that nothing is written or read outside them. Missing image data
    // copies nothing.
    if (to != nullptr && from != nullptr && mMemDst.mpBasePointer != nullptr && mMemSrc.mpBasePointer != nullptr) {
        const int64_t room_to = static_cast<int64_t>(reinterpret_cast<uintptr_t>(mMemDst.mpBasePointer) +
                                                     static_cast<uint32_t>(mMemDst.miBufferLength) -
                                                     reinterpret_cast<uintptr_t>(to));
        const int64_t room_from = static_cast<int64_t>(reinterpret_cast<uintptr_t>(mMemSrc.mpBasePointer) +
                                                       static_cast<uint32_t>(mMemSrc.miBufferLength) -
                                                       reinterpret_cast<uintptr_t>(from));
        const bool inside = to >= mMemDst.mpBasePointer && from >= mMemSrc.mpBasePointer;
        if (count > room_to)
            count = room_to;
        if (count > room_from)
            count = room_from;
        if (inside && count > 0)
            std::memmove(to, from, static_cast<size_t>(count));
    }
    if (data_length > mMemDst.miBufferLength)
        setState(KORVA_IMAGESTATE_TRUNCATED);
}

int CImgProc::resetTransformSettings()
{
    TransformLock lock(&mTransformMutex);
    mMemDst.miPixelFormat = 0;
    return RESULT_OK;
}

int CImgProc::setDestinationRange(int left, int top, int right, int bottom)
{
    const int32_t width = KvSub32(right, left);
    const int32_t height = KvSub32(bottom, top);
    if (top < 0 || left < 0 || width < 1 || height < 1)
        return RESULT_FAIL;
    // A region that leaves the image is silently not stored.
    mMemDst.SetROI(left, top, width, height);
    return RESULT_OK;
}

int CImgProc::getDestinationRange(KORVA_FeatureState* state, KORVAX_TypeROI* range)
{
    SetFeatureFlags(state, true);
    range->iType = KORVA_TYPE_TAG;
    range->iLeft = mMemDst.miRoiLeft;
    range->iTop = mMemDst.miRoiTop;
    range->iRight = KvAdd32(mMemDst.miRoiLeft, mMemDst.miRoiWidth);
    range->iBottom = KvAdd32(mMemDst.miRoiTop, mMemDst.miRoiHeight);
    static const int32_t kFixed[6] = {0, 0, 4, 4, 0, 0};
    std::memcpy(range->aFixed, kFixed, sizeof kFixed);
    range->iWidth = mMemDst.miWidth;
    range->iHeight = mMemDst.miHeight;
    return RESULT_OK;
}

int CImgProc::setDemosaic(KORVA_Demosaic type)
{
    // The 5x5 method and the reserved values are not offered here.
    if (type != KORVA_DEMOSAIC_NONE && type != KORVA_DEMOSAIC_NEAREST && type != KORVA_DEMOSAIC_BILINEAR &&
        type != KORVA_DEMOSAIC_MONO)
        return RESULT_BAD_PARAM;
    return mConvDemosaic.SetType(type) ? RESULT_OK : RESULT_FAIL;
}

int CImgProc::getDemosaic(KORVA_FeatureState* state, KORVAX_TypeListINT* list)
{
    SetFeatureFlags(state, true);
    list->iCount = 4;
    list->aValues[0] = KORVA_DEMOSAIC_NONE;
    list->aValues[1] = KORVA_DEMOSAIC_NEAREST;
    list->aValues[2] = KORVA_DEMOSAIC_MONO;
    // The fourth value is left as the caller had it, and still takes part in
    // the search for the current entry.
    for (int i = 0; i < 4; ++i) {
        if (list->aValues[i] == mConvDemosaic.miDemosaicType)
            list->iCurrent = i;
    }
    list->iType = KORVA_TYPE_TAG;
    return RESULT_OK;
}

// Filter and scale stages exist but are not offered through this interface.
int CImgProc::setFilter(KORVA_ImageFilter, int*, int, int, int)
{
    return RESULT_NOT_SUPPORTED;
}

int CImgProc::getFilter(KORVA_FeatureState* state, KORVAX_TypeListINT*, KORVAX_TypeMatrixINT*, KORVAX_TypeINT*)
{
    SetFeatureFlags(state, false);
    return RESULT_NOT_SUPPORTED;
}

int CImgProc::setScale(KORVA_Scale)
{
    return RESULT_NOT_SUPPORTED;
}

int CImgProc::getScale(KORVA_FeatureState* state, KORVAX_TypeListINT*)
{
    SetFeatureFlags(state, false);
    return RESULT_NOT_SUPPORTED;
}
