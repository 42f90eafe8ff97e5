// Nearest-neighbour demosaic: two source rows make one destination row. Red
// and blue are the table entries of single sites, green the mean of two
// diagonal greens; values carry from one pair of columns into the next. The
// pixel loop is a row function of DemosaicRows; these are its adapters.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_NN_INL
#define IMGPROCCONVDEMOSAIC_NN_INL

#include <cstdint>

#include "DemosaicRows.h"
#include "ImgProc.h"
#include "ImgProcConvDemosaic.h"
#include "KvAssert.h"
#include "PixelTypes.h"

namespace nnlut {

// What the caller hands back; 0 for even and -1 for odd widths. Unsigned so
// that no width can overflow.
inline int Remainder(int columns)
{
    const uint32_t n = static_cast<uint32_t>(columns);
    return static_cast<int>(n - (((n - 1u) | 1u) + 1u));
}

// The row record shared by both forms. The phase flag of red is folded into
// the row choice only: for GR and BG sources this swaps the red and blue
// sites, which hosts rely on. Whole pairs: an odd width writes (and reads)
// one pixel past the row.
template <typename S>
DemosaicRowArgs Args(CImgProcConvDemosaic& cv, int rowPhase, int columns, S** rows, int step, int redAtOdd)
{
    const int flip = (rowPhase & 1) ^ (redAtOdd != 0 ? 1 : 0);
    DemosaicRowArgs args = {};
    args.rows[0] = reinterpret_cast<const unsigned char*>(flip ? rows[1] : rows[0]);
    args.rows[1] = reinterpret_cast<const unsigned char*>(flip ? rows[0] : rows[1]);
    args.step = step;
    args.count = 1u + static_cast<uint32_t>(columns - 1) / 2u;
    // This method reads the tables through the image object.
    for (int t = 0; t < 3; ++t)
        args.lut[t] = cv.mpImgProc->mpLUT[t];
    args.bytes = &cv.mByteTables;
    return args;
}

}  // namespace nnlut

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D* destination, SD, int step,
                                                 int redAtOdd)
{
    KV_ASSERT(miMatrixSize == 2, "ImgProcConvDemosaic");
    if (columns < 1)
        return columns;
    DemosaicRowArgs args = nnlut::Args(*this, rowPhase, columns, rows, step, redAtOdd);
    args.out[0] = reinterpret_cast<unsigned char*>(destination);
    mpRowSet->nearest[PixelPath<S, D>::kLayout][PixelPath<S, D>::kWidth](args);
    return nnlut::Remainder(columns);
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D** destination, SD,
                                                 int step, int redAtOdd)
{
    KV_ASSERT(miMatrixSize == 2, "ImgProcConvDemosaic");
    if (columns < 1)
        return columns;
    DemosaicRowArgs args = nnlut::Args(*this, rowPhase, columns, rows, step, redAtOdd);
    // Planes come in the order blue, green, red.
    args.out[0] = reinterpret_cast<unsigned char*>(destination[2]);
    args.out[1] = reinterpret_cast<unsigned char*>(destination[1]);
    args.out[2] = reinterpret_cast<unsigned char*>(destination[0]);
    mpRowSet->nearest[kLayoutPlanar][PixelPath<S, D>::kWidth](args);
    return nnlut::Remainder(columns);
}

#endif
