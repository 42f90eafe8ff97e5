#include "ImgProcConvMono.h"

CImgProcConvMono::CImgProcConvMono() {}

CImgProcConvMono::~CImgProcConvMono() {}

bool CImgProcConvMono::OnConvert()
{
    return false;
}
