#include "ImgProcConvRGB.h"

CImgProcConvRGB::CImgProcConvRGB() {}

CImgProcConvRGB::~CImgProcConvRGB() {}

bool CImgProcConvRGB::OnConvert()
{
    return false;
}

CImgProcConvRGBPlanar::CImgProcConvRGBPlanar() {}

CImgProcConvRGBPlanar::~CImgProcConvRGBPlanar() {}

bool CImgProcConvRGBPlanar::OnConvert()
{
    return false;
}
