// 5 by 5 high-quality bilinear demosaic: every output sample is a weighted
// sum of the mosaic around it, with a kernel per wanted colour and site.
// Included by ImgProcConvDemosaic.cpp (and by the kernel tables' unit, so
// that their definitions are checked against these declarations).
#ifndef IMGPROCCONVDEMOSAIC_HQBL_INL
#define IMGPROCCONVDEMOSAIC_HQBL_INL

#include <cstdint>

#include "DemosaicRows.h"
#include "ImgProcConvDemosaic.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

// Kernels in row-major order (entry 5 * row + column), each with its divisor.
// They live in another unit so that they are read at run time.
extern const int32_t GreenAtNotGreen[25];
extern const int32_t GreenAtGreen[25];
extern const int32_t RedAtGreenInRed[25];
extern const int32_t RedAtGreenInBlue[25];
extern const int32_t RedAtBlue[25];
extern const int32_t RedAtRed[25];
extern const int32_t BlueAtGreenInBlue[25];
extern const int32_t BlueAtGreenInRed[25];
extern const int32_t BlueAtRedInRed[25];
extern const int32_t BlueAtBlue[25];
extern const int32_t GreenAtNotGreenDiv;
extern const int32_t GreenAtGreenDiv;
extern const int32_t RedAtGreenInRedDiv;
extern const int32_t RedAtGreenInBlueDiv;
extern const int32_t RedAtBlueDiv;
extern const int32_t RedAtRedDiv;
extern const int32_t BlueAtGreenInBlueDiv;
extern const int32_t BlueAtGreenInRedDiv;
extern const int32_t BlueAtRedInRedDiv;
extern const int32_t BlueAtBlueDiv;

namespace hqbl {

// The row record of both forms, or false when no row may be written: a
// source of fewer than five rows lets the caller's row loop run with rows
// beyond the image in the ring, and a truncated frame leaves a row missing;
// nothing of such a window is read.
template <typename S>
bool Args(CImgProcConvDemosaic& cv, int rowPhase, int width, S** rows, int step, DemosaicRowArgs* args)
{
    if (cv.mRectSrc.bottom - cv.mRectSrc.top < 5)
        return false;
    *args = DemosaicRowArgs();
    // Window row k is ring entry (rowPhase + k) % 5. For a blue-first source
    // the last window row wraps round to the oldest row; that is how this
    // method has always looked at such sources.
    for (int k = 0; k < 5; ++k) {
        args->rows[k] = reinterpret_cast<const unsigned char*>(rows[(rowPhase + k) % 5]);
        if (args->rows[k] == nullptr)
            return false;
    }
    // The mask is wanted: a 10-bit source comes out at 0..15, not 0..255.
    args->shift = (16 - cv.mpMemSrc->miBppEff) & 7;
    args->phase = rowPhase & 1;
    args->step = step;
    args->count = static_cast<uint32_t>(width);
    return true;
}

}  // namespace hqbl

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D* destination, SD,
                                                   int step)
{
    const int width = columns - miMatrixSize;
    DemosaicRowArgs args;
    if (width < 1 || !hqbl::Args(*this, rowPhase, width, rows, step, &args))
        return columns;
    args.out[0] = reinterpret_cast<unsigned char*>(destination);
    mpRowSet->hq[PixelPath<S, D>::kLayout][PixelPath<S, D>::kWidth](args);
    return miMatrixSize;
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D** destination, SD,
                                                   int step)
{
    const int width = columns - miMatrixSize;
    DemosaicRowArgs args;
    if (width < 1 || !hqbl::Args(*this, rowPhase, width, rows, step, &args))
        return columns;
    // Planes come in the order blue, green, red.
    args.out[0] = reinterpret_cast<unsigned char*>(destination[2]);
    args.out[1] = reinterpret_cast<unsigned char*>(destination[1]);
    args.out[2] = reinterpret_cast<unsigned char*>(destination[0]);
    mpRowSet->hq[kLayoutPlanar][PixelPath<S, D>::kWidth](args);
    return miMatrixSize;
}

#endif
