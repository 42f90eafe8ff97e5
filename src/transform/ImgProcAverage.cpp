// Brightness statistics of the image object: the mean over a grid of 32
// blocks of a region, or over the whole region when it is small.
#include <cmath>

#include "ImgProc.h"
#include "KvMath.h"
#include "TransformLock.h"

int CImgProc::getAverage(double* average, int left, int top, int right, int bottom)
{
    if (average == nullptr)
        return RESULT_BAD_PARAM;
    // Everything below reads the object's state (the catalogue lookup even
    // writes), so a transform handing a frame into this object must finish
    // first: one lock for all steps.
    TransformLock lock(&mTransformMutex);
    const int32_t height = KvSub32(bottom, top);
    const int32_t width = KvSub32(right, left);
    int bits = 0;
    getBpp(&bits);
    // Reported when nothing is measured: the largest value of the stored bits.
    double mean = std::pow(2.0, bits) - 1.0;
    double dark = 0.0;
    double bright = 0.0;

    const int32_t m = height / 8 < width / 8 ? height / 8 : width / 8;
    int32_t step = m > 5 ? 6 : (m > 1 ? m : 1);
    const int32_t cells = step * step;

    if (height > 8 && width > 8 && KvMul32(height, width) / cells >= 592) {
        double mean_sum = 0.0;
        bool last = false;
        for (int32_t k = 0; k < 4; ++k) {
            for (int32_t j = 0; j < 8; ++j) {
                const int32_t block_top = KvAdd32(top, KvMul32(k, height) >> 2);
                const int32_t block_bottom = KvAdd32(KvSub32(top, 1), KvMul32(k + 1, height) >> 2);
                const int32_t block_left = KvAdd32(left, KvMul32(j, width) >> 3);
                const int32_t block_right = KvAdd32(KvSub32(left, 1), KvMul32(j + 1, width) >> 3);
                CImgProcConv* converter = mPixelFormatMap[mMemSrc.miPixelFormat].mpFormatConverter;
                if (converter == nullptr)
                    return RESULT_FAIL;
                last = converter->Average(step, block_left, block_top, block_right, block_bottom, &mean, &dark,
                                          &bright);
                mean_sum += mean;
            }
        }
        // Dark and bright figures and the spread of the blocks are not
        // reported through this interface, so they are not folded here.
        *average = mean_sum * 0.03125;
        return last ? RESULT_OK : RESULT_FAIL;
    }

    const int32_t n = height / 2 < width / 2 ? height / 2 : width / 2;
    step = n > 5 ? 6 : (n > 1 ? n : 1);
    if (step == 1)
        return RESULT_FAIL;
    CImgProcConv* converter = mPixelFormatMap[mMemSrc.miPixelFormat].mpFormatConverter;
    if (converter == nullptr)
        return RESULT_FAIL;
    const bool ok = converter->Average(step, left, top, right, bottom, &mean, &dark, &bright);
    *average = mean;
    return ok ? RESULT_OK : RESULT_FAIL;
}
