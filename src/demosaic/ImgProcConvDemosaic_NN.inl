// Nearest-neighbour demosaic: two source rows make one destination row. Red
// and blue are the table entries of single sites, green the mean of two
// diagonal greens; values carry from one pair of columns into the next.
// Included by ImgProcConvDemosaic.cpp.
#ifndef IMGPROCCONVDEMOSAIC_NN_INL
#define IMGPROCCONVDEMOSAIC_NN_INL

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ImgProc.h"
#include "ImgProcConvDemosaic.h"
#include "KvAssert.h"
#include "PixelTypes.h"

namespace nnlut {

// 16-bit rows and planes carry no alignment guarantee (a chunk may start at
// any byte), so samples go through memcpy; it compiles to plain moves.
template <typename T>
inline uint32_t Load(const T* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
inline void Store(T* p, uint32_t value)
{
    const T v = static_cast<T>(value);
    std::memcpy(p, &v, sizeof v);
}

// Packed pixels are byte-aligned records, so member stores are safe. An
// 8-bit sample keeps the table entry's low byte.
template <typename P>
inline void Put(P& pixel, uint32_t red, uint32_t green, uint32_t blue)
{
    pixel.red = static_cast<decltype(pixel.red)>(red);
    pixel.green = static_cast<decltype(pixel.green)>(green);
    pixel.blue = static_cast<decltype(pixel.blue)>(blue);
}

// What the caller hands back; 0 for even and -1 for odd widths. Unsigned so
// that no width can overflow.
inline int Remainder(int columns)
{
    const uint32_t n = static_cast<uint32_t>(columns);
    return static_cast<int>(n - (((n - 1u) | 1u) + 1u));
}

}  // namespace nnlut

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D* destination, SD, int step,
                                                 int redAtOdd)
{
    KV_ASSERT(miMatrixSize == 2, "ImgProcConvDemosaic");
    if (columns < 1)
        return columns;

    const uint16_t* const lutRed = mpImgProc->mpLUT[0];
    const uint16_t* const lutGreen = mpImgProc->mpLUT[1];
    const uint16_t* const lutBlue = mpImgProc->mpLUT[2];

    // The phase flag of red is folded into the row choice only: for GR and
    // BG sources this swaps the red and blue sites, which hosts rely on.
    const int flip = (rowPhase & 1) ^ (redAtOdd != 0 ? 1 : 0);
    const S* const rg = flip ? rows[1] : rows[0];
    const S* const gb = flip ? rows[0] : rows[1];

    // Whole pairs: an odd width writes (and reads) one pixel past the row.
    const int pairs = 1 + (columns - 1) / 2;
    const std::ptrdiff_t pixelStep = step;
    uint32_t previousBlue = 0;   // a finished table entry
    uint32_t previousGreen = 0;  // a raw sample
    for (int p = 0; p < pairs; ++p) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const uint32_t red = lutRed[nnlut::Load(rg + c)];
        const uint32_t green0 = nnlut::Load(gb + c);
        const uint32_t green1 = nnlut::Load(rg + c + 1);
        const uint32_t blue = lutBlue[nnlut::Load(gb + c + 1)];
        nnlut::Put(destination[c * pixelStep], red, lutGreen[(previousGreen + green0) >> 1], previousBlue);
        nnlut::Put(destination[(c + 1) * pixelStep], red, lutGreen[(green0 + green1) >> 1], blue);
        previousBlue = blue;
        previousGreen = green1;
    }
    return nnlut::Remainder(columns);
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D** destination, SD,
                                                 int step, int redAtOdd)
{
    KV_ASSERT(miMatrixSize == 2, "ImgProcConvDemosaic");
    if (columns < 1)
        return columns;

    const uint16_t* const lutRed = mpImgProc->mpLUT[0];
    const uint16_t* const lutGreen = mpImgProc->mpLUT[1];
    const uint16_t* const lutBlue = mpImgProc->mpLUT[2];

    // See the packed form for the row choice and the pairing.
    const int flip = (rowPhase & 1) ^ (redAtOdd != 0 ? 1 : 0);
    const S* const rg = flip ? rows[1] : rows[0];
    const S* const gb = flip ? rows[0] : rows[1];

    // Planes come in the order blue, green, red.
    D* const blueOut = destination[0];
    D* const greenOut = destination[1];
    D* const redOut = destination[2];
    const int pairs = 1 + (columns - 1) / 2;
    const std::ptrdiff_t pixelStep = step;
    uint32_t previousBlue = 0;
    uint32_t previousGreen = 0;
    for (int p = 0; p < pairs; ++p) {
        const std::ptrdiff_t c = 2 * static_cast<std::ptrdiff_t>(p);
        const std::ptrdiff_t at0 = c * pixelStep;
        const std::ptrdiff_t at1 = (c + 1) * pixelStep;
        const uint32_t red = lutRed[nnlut::Load(rg + c)];
        const uint32_t green0 = nnlut::Load(gb + c);
        const uint32_t green1 = nnlut::Load(rg + c + 1);
        const uint32_t blue = lutBlue[nnlut::Load(gb + c + 1)];
        nnlut::Store(redOut + at0, red);
        nnlut::Store(greenOut + at0, lutGreen[(previousGreen + green0) >> 1]);
        nnlut::Store(blueOut + at0, previousBlue);
        nnlut::Store(redOut + at1, red);
        nnlut::Store(greenOut + at1, lutGreen[(green0 + green1) >> 1]);
        nnlut::Store(blueOut + at1, blue);
        previousBlue = blue;
        previousGreen = green1;
    }
    return nnlut::Remainder(columns);
}

#endif
