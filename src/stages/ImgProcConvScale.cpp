#include "ImgProcConvScale.h"

#include <memory>

#include "ImgProc.h"
#include "KvImageStretch.h"
#include "MemoryAccess.h"

CImgProcConvScale::CImgProcConvScale() : miScale(-1) {}

CImgProcConvScale::~CImgProcConvScale() {}

bool CImgProcConvScale::SetParameter(KORVA_Scale scale)
{
    if (scale < 1 || scale > 6)
        return false;
    miScale = scale;
    return true;
}

bool CImgProcConvScale::Convert()
{
    // One stretch per run, released on every path.
    std::unique_ptr<CKvImageStretch> stretch(new CKvImageStretch());

    char* src = reinterpret_cast<char*>(mpMemSrc->GetImagePointer(0, 0, 0));
    if (src == nullptr)
        return false;
    char* dst = reinterpret_cast<char*>(mpMemDst->GetImagePointer(0, 0, 0));
    if (dst == nullptr)
        return false;
    // Scaling never changes the format.
    if (mpMemSrc->miPixelFormat != mpMemDst->miPixelFormat)
        return false;
    if (mpMemSrc->miCanals == 0)
        return false;

    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);

    // The filter passed is always 0, not miScale.
    const int result = stretch->TransformFixByRoi(
        static_cast<eKVIMGFILTYPE>(0), static_cast<unsigned int>(mpMemSrc->miCanals), mpMemSrc->mdBytePerPixel, src,
        static_cast<unsigned int>(mpMemSrc->miRoiWidth), static_cast<unsigned int>(mpMemSrc->miRoiHeight),
        static_cast<unsigned int>(mpMemSrc->miRoiLeft), static_cast<unsigned int>(mpMemSrc->miRoiTop),
        static_cast<unsigned int>(mpMemSrc->miWidth), static_cast<unsigned int>(mpMemSrc->miHeight), dst,
        static_cast<unsigned int>(mpMemDst->miRoiWidth), static_cast<unsigned int>(mpMemDst->miRoiHeight));
    return result != 0;
}

bool CImgProcConvScale::OnConvert()
{
    return false;
}
