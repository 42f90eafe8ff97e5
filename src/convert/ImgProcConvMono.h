// Converter of every monochrome source format.
#ifndef IMGPROCCONVMONO_H
#define IMGPROCCONVMONO_H

#include "ImgProcConv.h"

class CImgProcConvMono : public CImgProcConv {
public:
    CImgProcConvMono();
    ~CImgProcConvMono() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif
