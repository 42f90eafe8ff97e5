// Brightness statistics of the image object: the mean over a grid of 32
// blocks of a region, or over the whole region when it is small.
#include <cmath>

#include "ImgProc.h"

namespace {

int32_t Mul32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

int32_t Add32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

int32_t Sub32(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

class MutexLock {
public:
    explicit MutexLock(pthread_mutex_t* mutex) : mpMutex(mutex) { pthread_mutex_lock(mpMutex); }
    ~MutexLock() { pthread_mutex_unlock(mpMutex); }

private:
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    pthread_mutex_t* mpMutex;
};

}  // namespace

int CImgProc::getAverage(double* average, int left, int top, int right, int bottom)
{
    if (average == nullptr)
        return RESULT_BAD_PARAM;
    const int32_t height = Sub32(bottom, top);
    const int32_t width = Sub32(right, left);
    int bits = 0;
    getBpp(&bits);
    // Reported when nothing is measured: the largest value of the stored bits.
    double mean = std::pow(2.0, bits) - 1.0;
    double dark = 0.0;
    double bright = 0.0;

    const int32_t m = height / 8 < width / 8 ? height / 8 : width / 8;
    int32_t step = m > 5 ? 6 : (m > 1 ? m : 1);
    const int32_t cells = step * step;

    if (height > 8 && width > 8 && Mul32(height, width) / cells >= 592) {
        MutexLock lock(&mTransformMutex);
        double mean_sum = 0.0;
        bool last = false;
        for (int32_t k = 0; k < 4; ++k) {
            for (int32_t j = 0; j < 8; ++j) {
                const int32_t block_top = Add32(top, Mul32(k, height) >> 2);
                const int32_t block_bottom = Add32(Sub32(top, 1), Mul32(k + 1, height) >> 2);
                const int32_t block_left = Add32(left, Mul32(j, width) >> 3);
                const int32_t block_right = Add32(Sub32(left, 1), Mul32(j + 1, width) >> 3);
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
    bool ok;
    {
        MutexLock lock(&mTransformMutex);
        ok = converter->Average(step, left, top, right, bottom, &mean, &dark, &bright);
    }
    *average = mean;
    return ok ? RESULT_OK : RESULT_FAIL;
}
