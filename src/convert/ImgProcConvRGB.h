// Converters of the packed RGB/BGR source formats and of the planar RGB
// source formats.
#ifndef IMGPROCCONVRGB_H
#define IMGPROCCONVRGB_H

#include "ImgProcConv.h"

class CImgProcConvRGB : public CImgProcConv {
public:
    CImgProcConvRGB();
    ~CImgProcConvRGB() override;

    bool OnConvert() override;
    double OnAverage() override;
};

class CImgProcConvRGBPlanar : public CImgProcConv {
public:
    CImgProcConvRGBPlanar();
    ~CImgProcConvRGBPlanar() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif
