// Bilinear demosaic: three source rows make one destination row, in plain
// power-of-two sums, with the tone table applied to the interpolated value.
// The result lies one column to the right of the mosaic. The pixel loop is a
// row function of DemosaicRows; these are its adapters.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_BL_INL
#define IMGPROCCONVDEMOSAIC_BL_INL

#include <cstdint>

#include "DemosaicRows.h"
#include "ImgProcConvDemosaic.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"
#include "SampleIO.h"

namespace bllut {

// The sample just before a row in memory: the last of the row above, or a
// header byte in front of the image. Before the buffer's first byte there is
// nothing that belongs to us; 0 stands in there, which is also what the zero
// guard zone in front of the object's own buffers holds, so both kinds of
// buffer give the same first pixel.
template <typename S>
inline uint32_t SampleBefore(const S* row, const unsigned char* bufferStart)
{
    const uintptr_t at = reinterpret_cast<uintptr_t>(row);
    const uintptr_t start = reinterpret_cast<uintptr_t>(bufferStart);
    if (bufferStart != nullptr && at >= start && at - start >= sizeof(S))
        return SampleIO::Load(row - 1);
    return 0;
}

// Pairs in a row of `columns` (the destination width minus 1); 0 when the
// row is too short for one. Pairs centred on columns 0 to columns - 3.
inline uint32_t Pairs(int columns)
{
    if (columns - 1 < 2)
        return 0;
    return (static_cast<uint32_t>(columns - 3) >> 1) + 1;
}

template <typename S>
DemosaicRowArgs Args(CImgProcConvDemosaic& cv, int rowPhase, uint32_t pairs, S** rows, int step)
{
    DemosaicRowArgs args = {};
    const unsigned char* bufferStart = cv.mpMemSrc->mpBasePointer;
    for (int k = 0; k < 3; ++k) {
        args.rows[k] = reinterpret_cast<const unsigned char*>(rows[k]);
        args.carry[k] = SampleBefore(rows[k], bufferStart);
    }
    args.step = step;
    args.count = pairs;
    args.phase = rowPhase & 1;
    args.lut[0] = cv.mpLUTRed;
    args.lut[1] = cv.mpLUTGreen;
    args.lut[2] = cv.mpLUTBlue;
    args.bytes = &cv.mByteTables;
    return args;
}

// Rows `rows` and `next` (the one below) of 8-bit packed pixels in one call
// of `fn`, with the bytes of two calls of the template.
template <typename S, typename D>
void TwoRows(CImgProcConvDemosaic& cv, DemosaicTwoRowFn fn, int rowPhase, int belowPhase, int columns, S** rows,
             S** next, D* destination, D* below)
{
    const uint32_t pairs = Pairs(columns);
    DemosaicRowArgs first = Args(cv, rowPhase, pairs, rows, 1);
    DemosaicRowArgs second = Args(cv, belowPhase, pairs, next, 1);
    first.out[0] = reinterpret_cast<unsigned char*>(destination);
    second.out[0] = reinterpret_cast<unsigned char*>(below);
    fn(first, second);
}

}  // namespace bllut

// Returns `columns` if nothing was written, else miMatrixSize, like the other
// neighbourhood methods; the caller does not look at it.
template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D* destination, SD, int step)
{
    const uint32_t pairs = bllut::Pairs(columns);
    if (pairs == 0)
        return columns;
    // The red phase flag is not looked at: GR and BG sources are read with
    // the sites of RG and GB.
    DemosaicRowArgs args = bllut::Args(*this, rowPhase, pairs, rows, step);
    args.out[0] = reinterpret_cast<unsigned char*>(destination);
    mpRowSet->bilinear[PixelPath<S, D>::kLayout][PixelPath<S, D>::kWidth](args);
    return miMatrixSize;
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D** destination, SD, int step,
                                                 int redAtOdd)
{
    const uint32_t pairs = bllut::Pairs(columns);
    // Planes are only made for sources with red in an even column; GR and BG
    // leave the interior as it was.
    if (pairs == 0 || redAtOdd != 0)
        return columns;
    DemosaicRowArgs args = bllut::Args(*this, rowPhase, pairs, rows, step);
    // Planes come in the order blue, green, red.
    args.out[0] = reinterpret_cast<unsigned char*>(destination[2]);
    args.out[1] = reinterpret_cast<unsigned char*>(destination[1]);
    args.out[2] = reinterpret_cast<unsigned char*>(destination[0]);
    mpRowSet->bilinear[kLayoutPlanar][PixelPath<S, D>::kWidth](args);
    return miMatrixSize;
}

#endif
