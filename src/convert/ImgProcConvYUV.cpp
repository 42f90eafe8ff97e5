#include "ImgProcConvYUV.h"

CImgProcConvYUV::CImgProcConvYUV() {}

CImgProcConvYUV::~CImgProcConvYUV() {}

bool CImgProcConvYUV::OnConvert()
{
    return false;
}
