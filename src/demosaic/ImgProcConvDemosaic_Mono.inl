// Brightness from a Bayer mosaic with one symmetric 5 by 5 kernel: every
// site class weighs 8 of 32 at any phase, so no phase is needed.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_MONO_INL
#define IMGPROCCONVDEMOSAIC_MONO_INL

#include <cstddef>
#include <cstdint>

#include "DemosaicRows.h"
#include "ImgProcConvDemosaic.h"
#include "KvAssert.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

// `destination`, `one` and `first` are not used: the start is looked up here,
// and `second` is the pixel step.
template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::BayerToMonoTemplate_LUT(S* source, D*, SD, int, int second)
{
    KV_ASSERT(miMatrixSize == 5, "ImgProcConvDemosaic");

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

    // The kernel lives in the row function.
    DemosaicRowArgs args = {};
    args.step = second;
    args.count = static_cast<uint32_t>(left) <= static_cast<uint32_t>(right - 5)
                     ? static_cast<uint32_t>(right - 5 - left) + 1u
                     : 0u;
    const DemosaicRowFn row = mpRowSet->mono[PixelPath<S, D>::kWidth];
    const std::ptrdiff_t rowStep = static_cast<std::ptrdiff_t>(mRectDst.Width()) * miStepY;
    const uint32_t lastY = static_cast<uint32_t>(bottom - 5);
    for (uint32_t y = static_cast<uint32_t>(top); y <= lastY; ++y) {
        for (uint32_t k = 0; k < 5; ++k)
            args.rows[k] = reinterpret_cast<const unsigned char*>(ring[(y + k) % 5] + left);
        args.out[0] = reinterpret_cast<unsigned char*>(rowStart);
        row(args);
        rowStart += rowStep;
        ring[y % 5] = source + static_cast<std::ptrdiff_t>(y + 5) * sourceStride;
    }
    return 1;
}

#endif
