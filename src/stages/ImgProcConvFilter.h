// Square integer convolution over an image of one pixel format.
#ifndef IMGPROCCONVFILTER_H
#define IMGPROCCONVFILTER_H

#include <cstdint>

#include "ImgProcConv.h"
#include "KorvaTypes.h"

// Kernels, row by row, and the divisors applied to their sums.
extern const int32_t Box3x3[9];
extern const int32_t Box3x3Div;
extern const int32_t Box5x5[25];
extern const int32_t Box5x5Div;
extern const int32_t Laplace3x3[9];
extern const int32_t Laplace3x3Div;
extern const int32_t Laplace5x5[25];
extern const int32_t Laplace5x5Div;

class CImgProcConvFilter : public CImgProcConv {
public:
    CImgProcConvFilter();
    ~CImgProcConvFilter() override;

    bool Convert() override;
    bool OnConvert() override;

    // Selects a built-in kernel (1 to 4); matrix and divisor are not read.
    bool SetParameter(KORVA_ImageFilter filter, int* matrix, int divisor, int width, int height);
    void Free();

    int32_t miFilterType;
    int32_t* mpMatrix;
    int32_t miMatrixDiv;
    int32_t miMatrixWidth;
    int32_t miMatrixHeight;
    // Ring of source rows, one pointer per kernel row.
    unsigned char** mpRows;
    int32_t* mpSums;

    // What the three arrays hold: the caller's size may claim more than
    // was copied, and Convert must not walk past it.
    int32_t miMatrixCount;
    int32_t miRowCount;
    int32_t miSumCount;
};

#endif
