// Base of all converters: checks the two views, fills the rectangles and
// hands over to the subclass; offers the border repair and the statistics
// reduction that the subclasses share.
#ifndef IMGPROC_CONV_H
#define IMGPROC_CONV_H

#include <cstdint>

#include "KvRect.h"
#include "RowGuard.h"

class CImgProc;

// Largest sample value of a depth, as the tone tables count it.
int32_t LargestSampleValue(int32_t bppEff);
class CMemoryAccess;

class CImgProcConv {
public:
    CImgProcConv();
    virtual ~CImgProcConv();

    virtual bool Convert();
    virtual bool OnConvert() = 0;
    virtual bool Average(int step, int left, int top, int right, int bottom, double* mean, double* dark,
                         double* bright);
    virtual double OnAverage();

    bool Sanity();
    bool RepairDstBorder(int bytesPerPixel, int matrixSize);
    bool RepairDstPlanarBorder(int bytesPerPixel, int matrixSize);

    // Cells of the statistics work block.
    static const int kHistogramCells = 0x40030 / 4;

    CImgProc* mpImgProc;
    CMemoryAccess* mpMemSrc;
    CMemoryAccess* mpMemDst;
    bool mbFlipHorizontal;
    bool mbFlipVertical;
    int32_t miStepY;
    int32_t miStepX;
    int32_t miDstStartX;
    int32_t miDstStartY;
    CKvRect mRectSrc;
    CKvRect mRectDst;
    int32_t miAverageStep;
    CKvRect mRectAverage;
    int32_t* mpHistogram;
    // Scratch rows that keep the row walks inside their buffers.
    CRowGuard mRowGuard;

private:
    CImgProcConv(const CImgProcConv&) = delete;
    CImgProcConv& operator=(const CImgProcConv&) = delete;
};

#endif
