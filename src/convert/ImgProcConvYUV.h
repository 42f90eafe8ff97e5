// Converter of the YUV source formats.
#ifndef IMGPROCCONVYUV_H
#define IMGPROCCONVYUV_H

#include "ImgProcConv.h"

class CImgProcConvYUV : public CImgProcConv {
public:
    CImgProcConvYUV();
    ~CImgProcConvYUV() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif
