#include "ImgProcConvDemosaic.h"

CImgProcConvDemosaic::CImgProcConvDemosaic()
    : miDemosaicType(KORVA_DEMOSAIC_NEAREST),
      miMatrixSize(2),
      mppRows(nullptr),
      mpLUTRed(nullptr),
      mpLUTGreen(nullptr),
      mpLUTBlue(nullptr),
      miReserved256(256)
{
}

CImgProcConvDemosaic::~CImgProcConvDemosaic()
{
    // The last row array is of no use once the converter is gone; releasing
    // it keeps leak checkers quiet.
    delete[] mppRows;
}

bool CImgProcConvDemosaic::OnConvert()
{
    return false;
}

bool CImgProcConvDemosaic::SetType(KORVA_Demosaic type)
{
    int32_t size;
    switch (type) {
    case KORVA_DEMOSAIC_NEAREST:
        size = 2;
        break;
    case KORVA_DEMOSAIC_BILINEAR:
        size = 3;
        break;
    case KORVA_DEMOSAIC_HQ_BILINEAR:
    case KORVA_DEMOSAIC_MONO:
        size = 5;
        break;
    case KORVA_DEMOSAIC_RESERVED_100:
    case KORVA_DEMOSAIC_RESERVED_101:
        // Accepted, but no method stands behind them.
        size = 0;
        break;
    default:
        return false;
    }
    miDemosaicType = type;
    miMatrixSize = size;
    return true;
}

bool CImgProcConvDemosaic::GetBalance(double*, double*, double*)
{
    // The measurement comes with the demosaic pixel work.
    return false;
}
