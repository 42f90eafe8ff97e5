#include "FrameConverter.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "IKVImgManager.h"
#include "PixelFormatNames.h"
#include "ikvimage.h"

FrameConverter::FrameConverter(IKVImgManager* manager) : mManager(manager)
{
    if (mManager->create(&mSource) != RESULT_OK)
        mSource = nullptr;
    if (mManager->create(&mTarget) != RESULT_OK)
        mTarget = nullptr;
}

FrameConverter::~FrameConverter()
{
    if (mTarget != nullptr) {
        // The target only borrowed the tool's buffer; let it forget it.
        mTarget->setBuffer(nullptr, 0);
        mManager->destroy(mTarget);
    }
    if (mSource != nullptr)
        mManager->destroy(mSource);
}

int FrameConverter::Load(const Frame& frame)
{
    const long long imageBytes = static_cast<long long>(frame.data.size());
    const long long bufferBytes = std::max(imageBytes, PixelFormatNames::TransformBytes(frame.code, frame.width,
                                                                                        frame.height)) +
                                  PixelFormatNames::Slack(frame.code, frame.width);
    mSource->setSize(frame.width, frame.height);
    mSource->setPixelFormat(static_cast<int>(frame.code));
    // Same length as the last frame: the object keeps its buffer.
    int rc = mSource->allocateBuffer(static_cast<int>(bufferBytes));
    if (rc != RESULT_OK)
        return rc;
    unsigned char* buffer = nullptr;
    if ((rc = mSource->getBuffer(&buffer)) != RESULT_OK)
        return rc;
    std::memcpy(buffer, frame.data.data(), static_cast<size_t>(imageBytes));
    // Converters may read a little past the image; let them read zeros.
    std::memset(buffer + imageBytes, 0, static_cast<size_t>(bufferBytes - imageBytes));
    rc = mSource->setChunkOfData(KORVA_CHUNK_IMAGE, buffer, static_cast<int>(imageBytes), 0,
                                 static_cast<int>(imageBytes));
    if (rc != RESULT_OK)
        return rc;
    mSource->setState(KORVA_IMAGESTATE_OK);
    mShape.code = frame.code;
    mShape.width = frame.width;
    mShape.height = frame.height;
    return RESULT_OK;
}

ConversionResult FrameConverter::Convert(uint32_t destination, KORVA_Demosaic method, const Balance* balance)
{
    ConversionResult result;
    mResultCode = 0;
    int rc = mSource->setDemosaic(method);
    if (rc != RESULT_OK) {
        result.code = rc;
        return result;
    }
    if (balance != nullptr && (rc = SetBalance(*balance)) != RESULT_OK) {
        result.code = rc;
        return result;
    }
    if ((rc = mSource->setDestinationPixelFormat(static_cast<int>(destination))) != RESULT_OK) {
        result.code = rc;
        return result;
    }
    const long long size = PixelFormatNames::TransformBytes(destination, mShape.width, mShape.height);
    result.imageBytes = PixelFormatNames::FrameBytes(destination, mShape.width, mShape.height);
    result.buffer.assign(static_cast<size_t>(size + PixelFormatNames::Slack(destination, mShape.width)), 0);

    const auto start = std::chrono::steady_clock::now();
    result.code = mSource->doTransform(result.buffer.data(), static_cast<int>(result.buffer.size()));
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    if (result.code == RESULT_OK) {
        mTarget->setBuffer(result.buffer.data(), static_cast<int>(result.buffer.size()));
        mTarget->setSize(mShape.width, mShape.height);
        mTarget->setPixelFormat(static_cast<int>(destination));
        if (mTarget->setChunkOfData(KORVA_CHUNK_IMAGE, result.buffer.data(), static_cast<int>(result.imageBytes), 0,
                                    static_cast<int>(result.imageBytes)) == RESULT_OK)
            mResultCode = destination;
    }
    return result;
}

int FrameConverter::MeasureBalance(Balance& balance)
{
    return mSource->getDemosaicColorBalance(&balance.red, &balance.green, &balance.blue);
}

int FrameConverter::SetBalance(const Balance& balance)
{
    return mSource->setDemosaicColorBalance(balance.red, balance.green, balance.blue);
}

int FrameConverter::SourceAverage(double& value, int left, int top, int right, int bottom)
{
    return mSource->getAverage(&value, left, top, right, bottom);
}

int FrameConverter::ResultAverage(double& value)
{
    if (mResultCode == 0)
        return RESULT_NOT_SUPPORTED;
    return mTarget->getAverage(&value, 0, 0, mShape.width, mShape.height);
}

int FrameConverter::Depth(uint32_t code, int& effectiveBits, int& bpp)
{
    // Asking about a format replaces what the target described.
    mResultCode = 0;
    mTarget->setBuffer(nullptr, 0);
    mTarget->setPixelFormat(static_cast<int>(code));
    const int rc = mTarget->getBppEff(&effectiveBits);
    return rc != RESULT_OK ? rc : mTarget->getBpp(&bpp);
}

int FrameConverter::Destinations(uint32_t code, std::vector<uint32_t>& codes)
{
    KORVA_FeatureState state{};
    state.iSize = sizeof state;
    KORVAX_TypeListINT list{};
    list.iSize = sizeof list;
    const int rc = mTarget->getDestinationPixelFormat(static_cast<int>(code), &state, &list);
    codes.clear();
    if (rc == RESULT_OK)
        for (int i = 0; i < list.iCount && i < 32; ++i)
            codes.push_back(static_cast<uint32_t>(list.aValues[i]));
    return rc;
}
