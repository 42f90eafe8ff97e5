// The two image objects that frameconv works with, kept for a whole run as
// a camera stream keeps them: the source holds each input frame and is
// transformed with doTransform into a buffer of the tool's; the target
// describes that buffer so that the result can be measured as well.
#ifndef FRAMECONV_FRAME_CONVERTER_H
#define FRAMECONV_FRAME_CONVERTER_H

#include <cstdint>
#include <string>
#include <vector>

#include "InputFrame.h"
#include "KorvaTypes.h"

class IKVImage;
class IKVImgManager;

struct Balance {
    double red = 1.0, green = 1.0, blue = 1.0;
};

struct ConversionResult {
    int code = RESULT_FAIL;       // what doTransform answered
    double seconds = 0.0;         // time spent in doTransform
    std::vector<uint8_t> buffer;  // the transform target, with slack
    long long imageBytes = 0;     // bytes of the result proper
};

class FrameConverter {
public:
    explicit FrameConverter(IKVImgManager* manager);
    ~FrameConverter();
    FrameConverter(const FrameConverter&) = delete;
    FrameConverter& operator=(const FrameConverter&) = delete;

    bool ready() const { return mSource != nullptr && mTarget != nullptr; }

    // Lays the frame into the source object. Returns the first failing
    // result code, or RESULT_OK.
    int Load(const Frame& frame);

    // Runs setDemosaic with the method (the plug-in leaves it at Bayer-to-
    // mono after a mono destination, so it is set before every run), sets the
    // balance, chooses the destination and calls doTransform.
    ConversionResult Convert(uint32_t destination, KORVA_Demosaic method, const Balance* balance);

    int MeasureBalance(Balance& balance);
    int SetBalance(const Balance& balance);
    int SourceAverage(double& value, int left, int top, int right, int bottom);
    // Mean of the last result, read through the target object.
    int ResultAverage(double& value);

    // Format facts as the plug-in reports them, from the target object.
    int Depth(uint32_t code, int& effectiveBits, int& bpp);
    int Destinations(uint32_t code, std::vector<uint32_t>& codes);

private:
    IKVImgManager* mManager;
    IKVImage* mSource = nullptr;
    IKVImage* mTarget = nullptr;
    Frame mShape;  // size and format of the loaded frame, no data
    uint32_t mResultCode = 0;
};

#endif
