// Brightness from a Bayer mosaic with one symmetric 5 by 5 kernel: every
// site class weighs 8 of 32 at any phase, so no phase is needed.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_MONO_INL
#define IMGPROCCONVDEMOSAIC_MONO_INL

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ImgProcConvDemosaic.h"
#include "KvAssert.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

namespace bayermono {

// 16-bit rows carry no alignment guarantee.
template <typename T>
inline T Load(const T* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
inline void Store(T* p, int32_t value)
{
    const T v = static_cast<T>(value);
    std::memcpy(p, &v, sizeof v);
}

}  // namespace bayermono

// `destination`, `one` and `first` are not used: the start is looked up here,
// and `second` is the pixel step.
template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::BayerToMonoTemplate_LUT(S* source, D*, SD, int, int second)
{
    KV_ASSERT(miMatrixSize == 5, "ImgProcConvDemosaic");

    const int32_t kernel[25] = {
        0,  -1, -2, -1, 0,   //
        -1, 2,  6,  2,  -1,  //
        -2, 6,  16, 6,  -2,  //
        -1, 2,  6,  2,  -1,  //
        0,  -1, -2, -1, 0,
    };

    const int32_t top = mRectSrc.top;
    const int32_t bottom = mRectSrc.bottom;
    const int32_t left = mRectSrc.left;
    const int32_t right = mRectSrc.right;
    // Narrower or lower than the kernel: the bounds below would wrap and the
    // loops run off the image. Write nothing.
    if (bottom < 5 || right < 5) {
        return 1;
    }

    D* rowStart = reinterpret_cast<D*>(
        mpMemDst->GetImagePointer(miStepX * 2 + miDstStartX, (top + 2) * miStepY + miDstStartY, 0));
    if (rowStart == nullptr) {
        return 1;  // a destination chunk too short for even the first row
    }

    // Rows are laid out at the region's width from `source`; the pitch is not
    // consulted. Row r lies in ring entry r % 5.
    const std::ptrdiff_t sourceStride = mRectSrc.Width();
    S* ring[5];
    for (int r = 0; r < 5; ++r) {
        ring[r] = source + r * sourceStride;
    }

    const std::ptrdiff_t pixelStep = second;
    const std::ptrdiff_t rowStep = static_cast<std::ptrdiff_t>(mRectDst.Width()) * miStepY;
    const uint32_t lastY = static_cast<uint32_t>(bottom - 5);
    const uint32_t lastX = static_cast<uint32_t>(right - 5);
    for (uint32_t y = static_cast<uint32_t>(top); y <= lastY; ++y) {
        const S* window[5];
        for (uint32_t k = 0; k < 5; ++k) {
            window[k] = ring[(y + k) % 5];
        }
        D* out = rowStart;
        for (uint32_t x = static_cast<uint32_t>(left); x <= lastX; ++x) {
            int32_t sum = 0;
            for (int k = 0; k < 5; ++k) {
                const S* row = window[k] + x;
                for (int j = 0; j < 5; ++j) {
                    sum += kernel[5 * k + j] * static_cast<int32_t>(bayermono::Load(row + j));
                }
            }
            // No shift to 8 bits first: deeper sources saturate at 255, also
            // into 16-bit destinations.
            int32_t v = sum / 32;
            if (v < 0) {
                v = 0;
            } else if (v >= 256) {
                v = 255;
            }
            bayermono::Store(out, v);
            out += pixelStep;
        }
        rowStart += rowStep;
        ring[y % 5] = source + static_cast<std::ptrdiff_t>(y + 5) * sourceStride;
    }
    return 1;
}

#endif
